// Rounding of sizes and pointers to the grids that contexts are laid out on.
#pragma once

#include <cstddef>
#include <cstdint>

namespace moxac {

template <class T>
constexpr T roundUp(T value, T grid) {
  return (value + grid - 1) / grid * grid;
}

constexpr size_t roundUp16(size_t bytes) { return roundUp<size_t>(bytes, 16); }
constexpr size_t roundUp64(size_t bytes) { return roundUp<size_t>(bytes, 64); }

// The first address at or behind `pointer` that is a multiple of `grid` (a power of two).
template <class T = void>
T* alignUp(const void* pointer, uintptr_t grid) {
  const uintptr_t past = (uintptr_t{0} - reinterpret_cast<uintptr_t>(pointer)) & (grid - 1);
  return reinterpret_cast<T*>(const_cast<char*>(static_cast<const char*>(pointer)) + past);
}

}  // namespace moxac
