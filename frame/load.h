// What the library notes once, when it is attached to a process.
#pragma once

#include <cstdint>

namespace moxac {

// 1 when the features reported at load include both bit 0x10 and bit 0x20 (vector string compare and AVX
// in moxcore's assignment), else 0. Written at load only; no operation reads it, since every kernel uses
// AVX without asking.
extern int32_t loadTimeFeatureFlag;

// The rule itself.
constexpr int32_t featureFlag(uint64_t features) {
  constexpr uint64_t kNeeded = 0x10 | 0x20;
  return (features & kNeeded) == kNeeded ? 1 : 0;
}

}  // namespace moxac
