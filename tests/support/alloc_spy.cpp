// Counts allocations, and lets one fail.
#include "support/alloc_spy.h"

#include <atomic>
#include <cstdlib>

#include "moxcore/moxcore.h"

namespace moxtest {
namespace {
std::atomic<AllocSpy*> current{nullptr};
}

AllocSpy::AllocSpy(int failAt) : failAt_(failAt) { current = this; }
AllocSpy::~AllocSpy() { current = nullptr; }

void* spiedMalloc(int32_t bytes) {
  if (AllocSpy* const spy = current) {
    spy->sizes_.push_back(bytes);
    if (static_cast<int>(spy->sizes_.size()) - 1 == spy->failAt_) return nullptr;
  }
  if (bytes < 1) return nullptr;
  // Exactly 16-byte aligned, the least that moxac may count on.
  const size_t rounded = (static_cast<size_t>(bytes) + 16 + 31) / 32 * 32;
  uint8_t* const block = static_cast<uint8_t*>(std::aligned_alloc(32, rounded + 32));
  if (block == nullptr) return nullptr;
  if (AllocSpy* const spy = current) spy->blocks_.push_back(block + 16);
  return block + 16;
}

void spiedFree(void* pointer) {
  if (pointer == nullptr) return;
  if (AllocSpy* const spy = current) std::erase(spy->blocks_, pointer);
  std::free(static_cast<uint8_t*>(pointer) - 16);
}

void AllocSpy::releaseLeft() {
  while (!blocks_.empty()) spiedFree(blocks_.back());
}

}  // namespace moxtest

void* moxMalloc(int32_t bytes) { return moxtest::spiedMalloc(bytes); }
void moxFree(void* pointer) { moxtest::spiedFree(pointer); }
