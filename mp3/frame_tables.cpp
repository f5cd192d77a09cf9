// Made by tools/gen_mp3_tables.py from tools/tables; edit neither by hand.
#include "mp3/frame_tables.h"

#include <cstdint>

namespace moxac::mp3 {

const int32_t kBitRates[15] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
const int32_t kSamplingRates[3] = {44100, 48000, 32000};

}  // namespace moxac::mp3
