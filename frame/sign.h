// A magnitude and a sign bit to a signed value, without a branch.
#pragma once

#include <cstdint>

namespace moxac {

// -magnitude for 1, magnitude for 0.
constexpr int32_t negatedIf(uint32_t negative, int32_t magnitude) {
  const auto mask = -static_cast<int32_t>(negative);
  return (magnitude ^ mask) - mask;
}

}  // namespace moxac
