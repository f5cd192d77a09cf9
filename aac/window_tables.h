// The rising slopes of the AAC windows; a falling slope is a rising one backwards.
#pragma once

#include <cstdint>

namespace moxac::aac {

// Index: window shape, 0 sine, 1 Kaiser-Bessel derived (alpha 4 for 2048, 6 for 256 samples).
struct LongSlopes {
  float shape[2][1024];
};
struct ShortSlopes {
  float shape[2][128];
};

extern const LongSlopes kLongSlopes;
extern const ShortSlopes kShortSlopes;
// A short slope in the middle of a long half, as behind and before eight short windows: 448 zeros, 128
// values, 448 ones.
extern const LongSlopes kStepSlopes;

}  // namespace moxac::aac
