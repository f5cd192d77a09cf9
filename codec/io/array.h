// Arrays that bands and slots index: their numbers are int32_t, as in the library's interface.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>

namespace moxc {

template <class T, size_t kSize>
struct Array : std::array<T, kSize> {
  constexpr T& operator[](std::integral auto i) {
    return std::array<T, kSize>::operator[](static_cast<size_t>(i));
  }
  constexpr const T& operator[](std::integral auto i) const {
    return std::array<T, kSize>::operator[](static_cast<size_t>(i));
  }
};

}  // namespace moxc
