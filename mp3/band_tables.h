// Scale-factor bands of Layer III. ISO/IEC 11172-3, Table B.8; ISO/IEC 13818-3, Table B.2.
#pragma once

#include <cstdint>

#include "moxac/mp3.h"

namespace moxac::mp3 {

inline constexpr int32_t kMp3Lines = 576;  // spectral lines of one granule and channel

// Band starts in lines, the end last. Rows: MPEG-2 at 22.05, 24, 16 kHz, MPEG-1 at 44.1, 48, 32 kHz.
extern const int16_t kSfbLong[6][23];   // ends at 576
extern const int16_t kSfbShort[6][14];  // lines of one window, ends at 192

// id 0..1, samplingFreq 0..2
inline int32_t sfbRow(const MoxMp3FrameHeader& header) { return header.id * 3 + header.samplingFreq; }

}  // namespace moxac::mp3
