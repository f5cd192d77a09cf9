// Twiddles of the type-IV cosine transforms, built at compile time.
#include "aac/dct4_tables.h"

namespace moxac::aac {

constinit const Dct4Rotation<1024> kDct4RotationLong;
constinit const Dct4Rotation<128> kDct4RotationShort;
constinit const Radix8Twiddles<512> kDct4Twiddles512;
constinit const Radix8Twiddles<64> kDct4Twiddles64;

}  // namespace moxac::aac
