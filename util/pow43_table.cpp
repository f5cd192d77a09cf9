// The table of k^(4/3), built at compile time.
#include "util/pow43_table.h"

namespace moxac::util {
namespace {

// Whether m * 2^-shift <= k^(4/3), decided in integers: m^3 <= k^4 * 2^(3 * shift).
constexpr bool notAbove(uint64_t m, int32_t shift, uint64_t fourthPower) {
  return static_cast<unsigned __int128>(m) * m * m <= static_cast<unsigned __int128>(fourthPower)
                                                          << (3 * shift);
}

// Exact rounding: the 24-bit significand bit by bit, then the midpoint to its successor decides.
constexpr std::array<float, kPow43Count> makePow43() {
  std::array<float, kPow43Count> table{};
  int32_t shift = 23;  // the significand's unit is 2^-shift; 8206^(4/3) is below 2^18
  for (uint64_t k = 1; k < kPow43Count; ++k) {
    const uint64_t fourthPower = k * k * k * k;
    while (notAbove(uint64_t{1} << 24, shift, fourthPower)) --shift;
    uint64_t m = uint64_t{1} << 23;
    for (uint64_t bit = m >> 1; bit != 0; bit >>= 1)
      if (notAbove(m | bit, shift, fourthPower)) m |= bit;
    if (notAbove(2 * m + 1, shift + 1, fourthPower)) ++m;
    table[k] = static_cast<float>(m) / static_cast<float>(1 << shift);
  }
  return table;
}

constexpr std::array<float, kPow43Count> kValues = makePow43();

}  // namespace

const std::array<float, kPow43Count> kPow43 = kValues;

}  // namespace moxac::util
