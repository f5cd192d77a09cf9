// Made by tools/gen_aac_tables.py from tools/tables; do not edit.
// The gains of long-term prediction by their 3-bit code. ISO/IEC 14496-3, 4.6.7.
#pragma once

namespace moxac::aac {

// clang-format off
inline constexpr double kLtpGains[8] = {0.570829, 0.696616, 0.813004, 0.911304, 0.984900, 1.067894, 1.194601, 1.369533};
// clang-format on

}  // namespace moxac::aac
