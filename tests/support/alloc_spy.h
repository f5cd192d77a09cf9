// The test programs' own moxMalloc and moxFree: they count, remember and, when asked, fail.
#pragma once

#include <cstdint>
#include <vector>

namespace moxtest {

// While one lives, allocations are recorded. At most one at a time, on one thread.
class AllocSpy {
 public:
  // failAt: the number (from 0) of the allocation that returns null; negative: none fails.
  explicit AllocSpy(int failAt = -1);
  ~AllocSpy();
  AllocSpy(const AllocSpy&) = delete;
  AllocSpy& operator=(const AllocSpy&) = delete;

  const std::vector<int32_t>& sizes() const { return sizes_; }   // every request, in order
  int live() const { return static_cast<int>(blocks_.size()); }  // blocks not yet freed
  void releaseLeft();  // frees what an operation left behind on purpose

 private:
  friend void* spiedMalloc(int32_t bytes);
  friend void spiedFree(void* pointer);
  int failAt_;
  std::vector<void*> blocks_;
  std::vector<int32_t> sizes_;
};

}  // namespace moxtest
