// Scale-factor bands of the MPEG-2.5 rates, which no standard tables: 11.025 and 12 kHz use those of MPEG-2
// at 16 kHz, 8 kHz its own. In the layout of the library's Sfb operations: rows by id * 3 + samplingFreq. An
// MPEG-2.5 header has id 0, so rows 0 to 2 serve; the others are left zero.
#pragma once

#include <array>
#include <cstdint>

namespace moxc::mp3 {

// 23 band starts a row, in lines.
extern const std::array<int16_t, 6 * 23> kMpeg25LongBands;
// 14 band starts a row, in lines of one window.
extern const std::array<int16_t, 6 * 14> kMpeg25ShortBands;
// Long bands in the long part of a mixed block, and short band-windows that region 0 covers beyond it.
extern const int16_t kMpeg25MixedBlockPoints[6 * 2];

}  // namespace moxc::mp3
