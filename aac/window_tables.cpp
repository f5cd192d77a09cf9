// Sine and Kaiser-Bessel slopes, built at compile time.
#include "aac/window_tables.h"

#include "frame/trig.h"
#include "moxac/tables.h"

namespace moxac::aac {
namespace {

// sum of ((x/2)^k / k!)^2
constexpr double besselI0(double x) {
  double term = 1, sum = 1;
  for (int k = 1; term > 1e-17 * sum; ++k) {
    term *= x / 2 / k * (x / 2 / k);
    sum += term;
  }
  return sum;
}

template <int n>
constexpr void sineSlope(float (&w)[n]) {
  for (int i = 0; i < n; ++i) w[i] = static_cast<float>(sinPi(2 * i + 1, 4 * n));
}

// w[i]^2 is the share of the kernel's points 0..i in all its n + 1.
template <int n>
constexpr void kaiserBesselSlope(float (&w)[n], double alpha) {
  double kernel[n + 1] = {}, all = 0;
  for (int p = 0; p <= n; ++p) {
    const double x = 2.0 * p / n - 1;
    const double square = 1 - x * x;
    kernel[p] = besselI0(kPi * alpha * (square > 0 ? squareRoot(square) : 0));
    all += kernel[p];
  }
  double sum = 0;
  for (int i = 0; i < n; ++i) {
    sum += kernel[i];
    w[i] = static_cast<float>(squareRoot(sum / all));
  }
}

constexpr LongSlopes longSlopes() {
  LongSlopes slopes{};
  sineSlope(slopes.shape[MOX_AAC_SINE]);
  kaiserBesselSlope(slopes.shape[MOX_AAC_KAISER_BESSEL], moxAacKaiserBesselAlphaLong);
  return slopes;
}

constexpr ShortSlopes shortSlopes() {
  ShortSlopes slopes{};
  sineSlope(slopes.shape[MOX_AAC_SINE]);
  kaiserBesselSlope(slopes.shape[MOX_AAC_KAISER_BESSEL], moxAacKaiserBesselAlphaShort);
  return slopes;
}

constexpr LongSlopes stepSlopes() {
  constexpr ShortSlopes kShort = shortSlopes();
  LongSlopes slopes{};
  for (int s = 0; s < 2; ++s)
    for (int i = 448; i < 1024; ++i) slopes.shape[s][i] = i < 576 ? kShort.shape[s][i - 448] : 1.0f;
  return slopes;
}

}  // namespace

constinit const LongSlopes kLongSlopes = longSlopes();
constinit const ShortSlopes kShortSlopes = shortSlopes();
constinit const LongSlopes kStepSlopes = stepSlopes();

}  // namespace moxac::aac
