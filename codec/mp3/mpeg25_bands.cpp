// Scale-factor bands of the MPEG-2.5 rates.
#include "codec/mp3/mpeg25_bands.h"

#include <algorithm>

#include "moxac/tables.h"

namespace moxc::mp3 {
namespace {

constexpr int16_t kLongAt8[] = {0,   12,  24,  36,  48,  60,  72,  88,  108, 132, 160, 192,
                                232, 280, 336, 400, 476, 566, 568, 570, 572, 574, 576};
constexpr int16_t kShortAt8[] = {0, 8, 16, 24, 36, 52, 72, 96, 124, 160, 162, 164, 166, 192};

// Rows 0 and 1 (11.025 and 12 kHz) are those of 16 kHz, row 2 is that of 8 kHz.
template <size_t kRow>
constexpr std::array<int16_t, 6 * kRow> rowsOf(const int16_t (&at16)[kRow], const int16_t (&at8)[kRow]) {
  std::array<int16_t, 6 * kRow> bands{};
  for (size_t row = 0; row < 3; ++row) std::copy_n(row < 2 ? at16 : at8, kRow, &bands[row * kRow]);
  return bands;
}

}  // namespace

const std::array<int16_t, 6 * 23> kMpeg25LongBands = rowsOf(moxMp3SfbLong[2], kLongAt8);
const std::array<int16_t, 6 * 14> kMpeg25ShortBands = rowsOf(moxMp3SfbShort[2], kShortAt8);
const int16_t kMpeg25MixedBlockPoints[6 * 2] = {6, 0, 6, 0, 6, 0};

}  // namespace moxc::mp3
