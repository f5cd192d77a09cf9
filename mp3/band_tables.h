// Scale-factor bands of Layer III. ISO/IEC 11172-3, Table B.8; ISO/IEC 13818-3, Table B.2.
#pragma once

#include <cstdint>

#include "moxac/tables.h"

namespace moxac::mp3 {

inline constexpr int32_t kMp3Lines = MOX_MP3_LINES;  // spectral lines of one granule and channel

// The row of the band tables; id 0..1, samplingFreq 0..2
inline int32_t sfbRow(const MoxMp3FrameHeader& header) { return header.id * 3 + header.samplingFreq; }

}  // namespace moxac::mp3
