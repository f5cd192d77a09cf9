// Numbers of the bitstream that several stages know.
#pragma once

#include <cstdint>

namespace moxac::aac {

enum WindowSequence : int32_t { kOnlyLong = 0, kLongStart = 1, kEightShort = 2, kLongStop = 3 };

// Code books that are not Huffman books of the spectrum.
inline constexpr int32_t kZeroBook = 0;
inline constexpr int32_t kReservedBook = 12;
inline constexpr int32_t kNoiseBook = 13;
inline constexpr int32_t kIntensityBookInverted = 14;
inline constexpr int32_t kIntensityBook = 15;

inline constexpr int32_t kMsRow = 60;  // bytes of one window group's row in an M/S mask

}  // namespace moxac::aac
