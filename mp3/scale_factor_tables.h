// Widths and numbers of scale-factor fields. ISO/IEC 11172-3, 2.4.2.7; ISO/IEC 13818-3, 2.4.3.2.
#pragma once

#include <cstdint>

namespace moxac::mp3 {

// MPEG-1: slen1 and slen2, bits, by scalefac_compress.
extern const int8_t kScaleFactorWidths[16][2];

// MPEG-2: values in each of the four partitions, by case of scalefac_compress and block kind (long, short,
// mixed).
extern const int8_t kScaleFactorCounts[6][3][4];

}  // namespace moxac::mp3
