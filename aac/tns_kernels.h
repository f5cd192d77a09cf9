// Temporal noise shaping: coefficient conversion and the two filters.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "aac/tns_tables.h"

namespace moxac::aac {

// Direct-form coefficients of one filter: a[i] in Q(shift), -2^26 - 1 .. 2^26.
struct TnsFilter {
  int32_t order;
  int32_t shift;
  int32_t a[MOX_AAC_MAX_TNS_ORDER_LONG];  // a[0] belongs to the line before
};

// Step-up recursion from the coded reflection coefficients; coefficients lie in -8..7, resolution is 3 or 4.
inline TnsFilter tnsFilter(const int8_t* coef, int32_t order, int32_t resolution) {
  int64_t a[MOX_AAC_MAX_TNS_ORDER_LONG] = {};  // Q31
  for (int32_t m = 0; m < order; ++m) {
    const int64_t k = kTnsReflection(resolution, coef[m]);
    int64_t stepped[MOX_AAC_MAX_TNS_ORDER_LONG];
    for (int32_t i = 0; i < m; ++i) stepped[i] = a[i] + ((((a[m - 1 - i] + 512) >> 10) * k) >> 21);
    std::copy_n(stepped, m, a);
    a[m] = k;
  }
  int64_t largest = 0;
  for (const int64_t v : a) largest = std::max(largest, std::abs(v));

  TnsFilter filter{order, 31, {}};
  for (; largest > (1 << 26); largest /= 2) --filter.shift;
  for (int32_t i = 0; i < order; ++i) filter.a[i] = static_cast<int32_t>(a[i] >> (31 - filter.shift));
  return filter;
}

enum class TnsMode { synthesis, analysis };

// Filters n lines from x on, `step` (+1 or -1) apart. Order is a constant so that the history stays in
// registers: history[0] is the line before. The products are below 2^58 and there are at most 12.
template <TnsMode mode, int32_t order>
void tnsLines(int32_t* x, int32_t n, int32_t step, const TnsFilter& filter) {
  int64_t a[order], history[order] = {};
  std::copy_n(filter.a, order, a);
  for (; n > 0; --n, x += step) {
    const int64_t in = *x;
    int64_t acc = in << filter.shift;
    for (int32_t i = 0; i < order; ++i) {
      const int64_t product = a[i] * history[i];
      acc += mode == TnsMode::synthesis ? -product : product;
    }
    const auto out = static_cast<int32_t>(acc >> filter.shift);
    for (int32_t i = order - 1; i > 0; --i) history[i] = history[i - 1];
    history[0] = mode == TnsMode::synthesis ? out : in;
    *x = out;
  }
}

// The lines of [start, end) upward (direction 0) or downward (1).
template <TnsMode mode>
void runTnsFilter(int32_t* spectrum, int32_t start, int32_t end, int32_t direction, const TnsFilter& filter) {
  using Lines = void (*)(int32_t*, int32_t, int32_t, const TnsFilter&);
  static constexpr Lines kByOrder[MOX_AAC_MAX_TNS_ORDER_LONG] = {
      tnsLines<mode, 1>, tnsLines<mode, 2>,  tnsLines<mode, 3>,  tnsLines<mode, 4>,
      tnsLines<mode, 5>, tnsLines<mode, 6>,  tnsLines<mode, 7>,  tnsLines<mode, 8>,
      tnsLines<mode, 9>, tnsLines<mode, 10>, tnsLines<mode, 11>, tnsLines<mode, 12>};
  if (end <= start) return;
  int32_t* const first = direction == 0 ? spectrum + start : spectrum + end - 1;
  kByOrder[filter.order - 1](first, end - start, direction == 0 ? 1 : -1, filter);
}

}  // namespace moxac::aac
