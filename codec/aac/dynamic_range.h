// Dynamic range control: gains that an encoder sends along for listeners who want quiet passages louder and loud ones
// softer. ISO/IEC 14496-3, 4.5.2.7.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>

#include "codec/aac/synthesis.h"
#include "codec/io/bytes.h"

namespace moxc::aac {

// What a listener asks for.
struct DynamicRangeChoice {
  float cut = 0, boost = 0;  // how much of the gains below and above 1 is applied, 0 to 1
  // Loudness wanted at the output in dB below full scale, in steps of 0.25 dB (0..127); -1: as the program is.
  int32_t targetLevel = -1;

  bool active() const { return cut > 0 || boost > 0 || targetLevel >= 0; }
};

// dynamic_range_info()
struct DynamicRange {
  static constexpr size_t kMaxBands = 16;

  int32_t programTag = -1;   // of the program that is meant; -1: any
  std::bitset<64> excluded;  // channels in the order of the program, front, side, back, low frequency
  size_t bands = 1;
  std::array<int32_t, kMaxBands> end{
      1024};                              // the line behind each band; lines of eight short windows count on
  std::array<int8_t, kMaxBands> steps{};  // of 0.25 dB, below 0 softer
  int32_t referenceLevel = -1;            // of the program, as DynamicRangeChoice::targetLevel; -1: not told

  // Reads an extension from its type on, and gives its length in bytes; 0 when it does not fit.
  size_t read(Bytes bytes);

  // Gains for the lines of one channel's frame, in window order.
  void apply(const DynamicRangeChoice& choice, size_t channel, Spectrum& spectrum) const;
};

}  // namespace moxc::aac
