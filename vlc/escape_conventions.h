// What the escape conventions of the two standards share between decoder, encoder and counter.
#pragma once

#include <cstdint>

namespace moxac::vlc {

// AAC, ISO/IEC 14496-3, 4.6.3.3: a row's value is 33 a + b with a and b in -16..16; a magnitude of 16
// announces N ones, a zero and an (N + 4)-bit word, for the magnitude 2^(N + 4) + word. The standard has
// N = 0..8, which ends at 8191. Here up to 12 ones pass, since 16-bit values need 11.
inline constexpr int32_t kAacEscape = 16;
inline constexpr int32_t kAacPairBase = 2 * kAacEscape + 1;
inline constexpr int32_t kMaxEscapeOnes = 12;

// Layer III, ISO/IEC 11172-3, 2.4.2.7: a row's value is 16 |x| + |y|; a magnitude of 15 is followed by
// linBits bits that are added to it, then each magnitude that is not 0 by its sign; all of x before y.
inline constexpr int32_t kMp3Escape = 15;
inline constexpr int32_t kMaxLinBits = 13;

constexpr bool isPairCount(int32_t len) { return len >= 1 && len % 2 == 0; }
constexpr bool validLinBits(int32_t linBits) { return linBits >= 0 && linBits <= kMaxLinBits; }

}  // namespace moxac::vlc
