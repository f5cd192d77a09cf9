// Shape of the psychoacoustic model's tables. ISO/IEC 11172-3, Annex C.1.5.3 and Annex D.
//
// Energies are in units in which a sine of half a 16-bit step has energy 1 in the line that it falls on: the unit
// of the thresholds in quiet, whose lowest lie a little above the noise of 16-bit rounding.
#pragma once

#include <cstdint>

namespace moxac::mp3 {

// Neighbouring lines of the 1024-point spectrum, a third of a critical band wide.
struct LongPartition {
  int32_t lines;
  float minval;  // dB: the least distance of the masking threshold
  float qthr;    // threshold in quiet, energy of all lines
  float norm;    // makes the spreading function's sum 1
  float bval;    // Bark
};

// The same of the 256-point spectrum.
struct ShortPartition {
  int32_t lines;
  float qthr, norm;
  float snr;  // dB, negative: level of the masking threshold above the masker
  float bval;
};

// The partitions of a scale-factor band: w1 times partition `first`, the whole ones between, w2 times `last`.
struct PartitionSpan {
  int32_t first, last;
  float w1, w2;
};

}  // namespace moxac::mp3
