// The bytes of a fuzzed input, handed out piece by piece, zeros at its end.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace moxfuzz {

class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  std::vector<uint8_t> bytes(size_t n) {
    std::vector<uint8_t> out(n);
    const size_t have = std::min(n, size_);
    if (have > 0) std::memcpy(out.data(), data_, have);
    data_ += have;
    size_ -= have;
    return out;
  }
  template <class Record>
  Record record() {
    Record r;
    std::memcpy(&r, bytes(sizeof r).data(), sizeof r);
    return r;
  }
  int32_t below(int32_t n) {
    if (done()) return 0;
    --size_;
    return *data_++ % n;
  }
  bool done() const { return size_ == 0; }

 private:
  const uint8_t* data_;
  size_t size_;
};

inline void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace moxfuzz
