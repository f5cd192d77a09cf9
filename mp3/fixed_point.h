// The fixed-point format that joins the Layer III stages: spectral lines, sub-band samples and overlap are
// Q26 integers. Full scale (1.0, a 16-bit sample of 32768) is 2^26, so that stages saturate only 30 dB above
// full scale, and the rounding of all stages together stays near 2^-23 of full scale at the output.
#pragma once

#include "moxac/mp3.h"

namespace moxac::mp3 {

inline constexpr int kMp3FractionBits = MOX_MP3_FRAC_BITS;
inline constexpr float kMp3One = 1 << kMp3FractionBits;

}  // namespace moxac::mp3
