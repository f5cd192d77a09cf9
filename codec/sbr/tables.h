// Constant tables of spectral band replication. ISO/IEC 14496-3, 4.6.18 and 4.A.6.
#pragma once

#include <cstdint>

#include "codec/io/difference_code.h"
#include "moxac/sbr.h"

namespace moxc::sbr {

extern const DifferenceCodeNode* const kEnvelopeCodes[2][2][2];  // [balance][3 dB steps][time direction]
extern const DifferenceCodeNode* const kNoiseCodes[2][2];        // [balance][time direction]

// What depends on the rate of the output.
struct Rate {
  int32_t hz;
  int32_t goalBand;        // the sub-band that patches aim at: 16 kHz
  int32_t maxBands;        // from start to stop
  int32_t firstBand[16];   // by bs_start_freq
  int32_t behindBand[14];  // by bs_stop_freq; 14 and 15 stand for two and three times the first band
};
extern const Rate kRates[9];

extern const float kChirps[4];        // by bs_invf_mode: off, low, intermediate, strong
extern const float kLimiterGains[4];  // by bs_limiter_gains
extern const float kSmoothing[5];     // of gains, the newest slot's share first
extern const Mox32fc kNoiseVectors[512];

}  // namespace moxc::sbr
