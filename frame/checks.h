// The argument checks that open every exported operation: one line, one status, in documented order.
#pragma once

#include <cstdint>
#include <type_traits>

#include "moxac/types.h"

// Returns `status` from the enclosing function when `condition` fails. Lines stand in the order that the
// header comment promises, because callers see the first failure.
#define MOX_REQUIRE(condition, status) \
  do {                                 \
    if (!(condition)) return (status); \
  } while (false)

// Passes on what `expression` returns unless that is moxStatusOk.
#define MOX_TRY(expression)                                                       \
  do {                                                                            \
    if (const moxStatus tried = (expression); tried != moxStatusOk) return tried; \
  } while (false)

namespace moxac {

template <class... T>
constexpr bool notNull(const T*... pointers) {
  return ((pointers != nullptr) && ...);
}

template <class T>
constexpr bool inRange(T value, std::type_identity_t<T> first, std::type_identity_t<T> last) {
  return value >= first && value <= last;
}

inline bool isAligned(const void* pointer, uintptr_t alignment) {
  return (reinterpret_cast<uintptr_t>(pointer) & (alignment - 1)) == 0;
}

// The warning of operations that tell their caller when some array was off the 16-byte grid.
template <class... T>
moxStatus alignmentStatus(const T*... arrays) {
  return (isAligned(arrays, 16) && ...) ? moxStatusOk : moxStatusMisalignedData;
}

// A bit cursor's offset counts the bits of the current byte already consumed: 0..7.
constexpr bool validBitOffset(int32_t bitOffset) { return inRange(bitOffset, 0, 7); }

}  // namespace moxac
