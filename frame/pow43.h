// x^(4/3), the power law of Layer III and AAC quantisers. ISO/IEC 11172-3, 2.4.3.4.7.1; 14496-3, 4.6.1.
#pragma once

#include <array>
#include <cstddef>

namespace moxac {

// Every magnitude that Layer III can code: 15 plus 13 linbits. AAC stops at 8191.
constexpr int kPow43Count = 8207;

// Rounded once, from double.
extern const std::array<float, kPow43Count> kPow43;

}  // namespace moxac
