// Temporal noise shaping of long windows with filters of up to 20 coefficients, as the Main profile has them; the
// library's filters end at 12. ISO/IEC 14496-3, 4.6.9.
#pragma once

#include <array>
#include <cstdint>

#include "codec/io/bit_reader.h"

namespace moxc::aac {

struct LongTns {
  static constexpr int32_t kMaxOrder = 20;

  struct Filter {
    int32_t length, order, direction;
    std::array<int8_t, kMaxOrder> coef;
  };
  int32_t numFilters = 0;
  int32_t resolution = 0;  // bits of a coefficient, 3 or 4
  std::array<Filter, 3> filters;

  // tns_data(), tns_data_present read before. False for an order above 20.
  bool read(BitReader& bits);

  // Runs the synthesis filters over the 1024 lines of a long window, in place.
  void run(int32_t maxSfb, int32_t numSwb, int32_t rateIndex, int32_t* lines) const;
};

}  // namespace moxc::aac
