// Tables of the AAC standard that a decoder needs beside the library. Rates by sampling-rate index.
#pragma once

#include <cstdint>

namespace moxc::aac {

extern const int32_t kRates[12];        // Hz
extern const int32_t kPredSfbMax[12];   // bands that Main-profile prediction may use
extern const int32_t kTnsMaxBands[12];  // bands that temporal noise shaping may use, long windows
// First lines of the bands of long windows, filled up with 1024.
extern const int32_t kLongBands[12][52];
// The scale-factor code as the rows of a VLC code book: index, code word, length.
extern const int32_t kScaleFactorRows[121][3];

}  // namespace moxc::aac
