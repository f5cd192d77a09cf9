// Memory of one object of the library: from the caller's allocator where there is one, else from malloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <vector>

namespace moxc {

struct Allocator {
  void* (*allocate)(void* user, size_t bytes);  // aligned for any C type; null when there is no more
  void (*release)(void* user, void* memory);
  void* user;
};

// While one lives, this thread's allocations come from that allocator. Every block remembers where it came from, so
// that releasing needs none.
class AllocationScope {
 public:
  explicit AllocationScope(const Allocator& allocator);
  ~AllocationScope();
  AllocationScope(const AllocationScope&) = delete;
  AllocationScope& operator=(const AllocationScope&) = delete;

 private:
  const Allocator* outer_;
};

inline constexpr size_t kAlignment = 32;  // of every block
void* allocate(size_t bytes);             // throws std::bad_alloc
void release(void* memory) noexcept;

template <class T>
struct Heap {
  using value_type = T;
  Heap() = default;
  template <class U>
  Heap(const Heap<U>&) {}
  T* allocate(size_t count) {
    if (count > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
    return static_cast<T*>(moxc::allocate(count * sizeof(T)));
  }
  void deallocate(T* memory, size_t) noexcept { moxc::release(memory); }
  friend bool operator==(const Heap&, const Heap&) { return true; }
};

template <class T>
using Vector = std::vector<T, Heap<T>>;
using String = std::basic_string<char, std::char_traits<char>, Heap<char>>;

// Base of what is made with new or std::make_unique.
struct Allocated {
  static void* operator new(size_t bytes) { return moxc::allocate(bytes); }
  static void* operator new(size_t bytes, std::align_val_t) { return moxc::allocate(bytes); }
  static void operator delete(void* memory) noexcept { moxc::release(memory); }
  static void operator delete(void* memory, std::align_val_t) noexcept { moxc::release(memory); }
};

}  // namespace moxc
