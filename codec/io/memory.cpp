#include "codec/io/memory.h"

#include <cstdlib>

namespace moxc {
namespace {

constexpr Allocator kMalloc = {[](void*, size_t bytes) { return std::malloc(bytes); },
                               [](void*, void* memory) { std::free(memory); }, nullptr};
thread_local const Allocator* current = &kMalloc;

// In front of every block.
struct Origin {
  Allocator allocator;
  void* memory;
};

}  // namespace

AllocationScope::AllocationScope(const Allocator& allocator) : outer_(current) {
  current = allocator.allocate != nullptr ? &allocator : &kMalloc;
}
AllocationScope::~AllocationScope() { current = outer_; }

void* allocate(size_t bytes) {
  constexpr size_t kExtra = sizeof(Origin) + kAlignment;
  if (bytes > SIZE_MAX - kExtra) throw std::bad_alloc();
  void* const memory = current->allocate(current->user, bytes + kExtra);
  if (memory == nullptr) throw std::bad_alloc();
  auto* const first = static_cast<uint8_t*>(memory) + sizeof(Origin);
  auto* const block =
      reinterpret_cast<Origin*>(first + (0 - reinterpret_cast<uintptr_t>(first)) % kAlignment);
  block[-1] = {*current, memory};
  return block;
}

void release(void* block) noexcept {
  if (block == nullptr) return;
  const Origin origin = static_cast<Origin*>(block)[-1];
  origin.allocator.release(origin.allocator.user, origin.memory);
}

}  // namespace moxc
