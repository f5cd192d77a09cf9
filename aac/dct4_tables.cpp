#include "aac/dct4_tables.h"

namespace moxac {

constinit const Dct4Rotation<1024> kDct4RotationLong;
constinit const Dct4Rotation<128> kDct4RotationShort;
constinit const Radix8Twiddles<512> kTwiddles512;
constinit const Radix8Twiddles<64> kTwiddles64;

}  // namespace moxac
