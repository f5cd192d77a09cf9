// The tables of the mid-sized transforms that are built at compile time.
#include "transform/fft_tables.h"

#include <cmath>

namespace moxac::transform {

void fillQuarterWave(float* wave, int64_t points) {
  for (int64_t k = 0; k <= points / 8; ++k) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(k) / static_cast<double>(points);
    wave[k] = static_cast<float>(std::sin(angle));
    wave[points / 4 - k] = static_cast<float>(std::cos(angle));
  }
}

void fillBitReversal(int32_t* table, int bits) {
  const int32_t count = 1 << bits;
  table[0] = table[count] = 0;
  for (int32_t i = 1; i < count; ++i) {
    // One bit is shifted out of the half's reversal, and comes in at the top.
    const int32_t half = table[i / 2] / 2;
    table[i] = 2 * (half / 2 + (i % 2) * count / 2);
  }
}

}  // namespace moxac::transform
