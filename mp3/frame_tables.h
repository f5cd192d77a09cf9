// Rates of MPEG-1 Layer III frames. ISO/IEC 11172-3, 2.4.2.3.
#pragma once

#include <cstdint>

namespace moxac::mp3 {

extern const int32_t kBitRates[15];      // kbit/s by bitrate_index; 0 is the free format
extern const int32_t kSamplingRates[3];  // Hz by sampling_frequency

}  // namespace moxac::mp3
