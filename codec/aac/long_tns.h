// Temporal noise shaping of long windows with filters of up to 20 coefficients, as the Main profile has them; the
// library's filters end at 12. ISO/IEC 14496-3, 4.6.9.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

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

  // tns_data(), tns_data_present read before; bits(n) gives the next n bits. False for an order above 20.
  template <class Bits>
  bool read(Bits bits) {
    numFilters = bits(2);
    if (numFilters > 0) resolution = bits(1) + 3;
    for (size_t f = 0; f < static_cast<size_t>(numFilters); ++f) {
      Filter& filter = filters[f];
      filter.length = bits(6);
      filter.order = bits(5);
      if (filter.order > kMaxOrder) return false;
      if (filter.order == 0) continue;
      filter.direction = bits(1);
      const int32_t width = resolution - bits(1);
      for (size_t i = 0; i < static_cast<size_t>(filter.order); ++i) {
        const int32_t code = bits(width), sign = 1 << (width - 1);
        filter.coef[i] = static_cast<int8_t>((code ^ sign) - sign);
      }
    }
    return true;
  }

  // Runs the synthesis filters over the 1024 lines of a long window, in place.
  void run(int32_t maxSfb, int32_t numSwb, int32_t rateIndex, int32_t* lines) const;
};

}  // namespace moxc::aac
