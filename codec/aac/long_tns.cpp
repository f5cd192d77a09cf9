// Temporal noise shaping with long filters.
#include "codec/aac/long_tns.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "codec/aac/tables.h"

namespace moxc::aac {
namespace {

using Coefficients = std::array<double, LongTns::kMaxOrder + 1>;

// From coded reflection coefficients to the direct form, a[0] = 1.
Coefficients directForm(const LongTns::Filter& filter, int32_t resolution) {
  Coefficients a{1};
  for (size_t m = 1; m <= static_cast<size_t>(filter.order); ++m) {
    const double code = filter.coef[m - 1];
    const double steps = (1 << resolution) + (code < 0 ? 1 : -1);
    const double reflection = std::sin(code * std::numbers::pi / steps);
    Coefficients next = a;
    for (size_t i = 1; i < m; ++i) next[i] = a[i] + reflection * a[m - i];
    next[m] = reflection;
    a = next;
  }
  return a;
}

}  // namespace

bool LongTns::read(BitReader& bits) {
  const auto field = [&bits](int32_t count) { return static_cast<int32_t>(bits.bits(count)); };
  numFilters = field(2);
  if (numFilters > 0) resolution = field(1) + 3;
  for (size_t f = 0; f < static_cast<size_t>(numFilters); ++f) {
    Filter& filter = filters[f];
    filter.length = field(6);
    filter.order = field(5);
    if (filter.order > kMaxOrder) return false;
    if (filter.order == 0) continue;
    filter.direction = field(1);
    const int32_t width = resolution - field(1);
    for (size_t i = 0; i < static_cast<size_t>(filter.order); ++i) {
      const int32_t code = field(width), sign = 1 << (width - 1);
      filter.coef[i] = static_cast<int8_t>((code ^ sign) - sign);
    }
  }
  return true;
}

void LongTns::run(int32_t maxSfb, int32_t numSwb, int32_t rateIndex, int32_t* lines) const {
  const int32_t* const bands = moxAacSwbOffsetLong[rateIndex];
  const int32_t highest = std::min(moxAacTnsMaxBandsLong[rateIndex], maxSfb);
  int32_t top = numSwb;
  for (int32_t f = 0; f < numFilters; ++f) {
    const Filter& filter = filters[static_cast<size_t>(f)];
    const int32_t bottom = std::max(top - filter.length, 0);
    const int32_t start = bands[std::min(bottom, highest)], end = bands[std::min(top, highest)];
    top = bottom;
    if (filter.order == 0) continue;
    const Coefficients a = directForm(filter, resolution);
    const int32_t step = filter.direction == 0 ? 1 : -1;
    int32_t* line = filter.direction == 0 ? lines + start : lines + end - 1;
    Coefficients past{};  // the latest output first
    for (int32_t n = start; n < end; ++n, line += step) {
      double y = *line;
      for (size_t i = 1; i <= static_cast<size_t>(filter.order); ++i) y -= a[i] * past[i - 1];
      y = std::clamp(y, -0x1p30, 0x1p30);
      std::copy_backward(past.begin(), past.end() - 1, past.end());
      past[0] = y;
      *line = static_cast<int32_t>(std::lrint(y));
    }
  }
}

}  // namespace moxc::aac
