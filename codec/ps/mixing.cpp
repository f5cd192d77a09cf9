// Levels, coherence and phases as a mixing matrix that moves from envelope to envelope.
#include "codec/ps/mixing.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "codec/ps/tables.h"

namespace moxc::ps {
namespace {

constexpr double kSqrt2 = std::numbers::sqrt2;

// c is the ratio of the channels' amplitudes, rho their coherence.
Array<double, 4> mixingA(double c, double rho) {
  const double c1 = std::sqrt(2 / (1 + c * c)), c2 = c * c1;
  const double alpha = std::acos(rho) / 2, beta = alpha * (c1 - c2) / kSqrt2;
  return {c2 * std::cos(beta + alpha), c1 * std::cos(beta - alpha), c2 * std::sin(beta + alpha),
          c1 * std::sin(beta - alpha)};
}

Array<double, 4> mixingB(double c, double coherence) {
  const double rho = std::max(coherence, kMixBRhoMin), spread = c + 1 / c;
  const double alpha = std::atan2(2 * c * rho, c * c - 1) / 2;
  const double mu = std::sqrt(1 + (4 * rho * rho - 4) / (spread * spread));
  const double gamma = std::atan(std::sqrt((1 - mu) / (1 + mu)));
  return {kSqrt2 * std::cos(alpha) * std::cos(gamma), kSqrt2 * std::sin(alpha) * std::cos(gamma),
          -kSqrt2 * std::sin(alpha) * std::sin(gamma), kSqrt2 * std::cos(alpha) * std::sin(gamma)};
}

template <size_t kTerms>
void convert(float (&values)[34], const MapTerm (&terms)[kTerms]) {
  float sums[34]{};
  for (const MapTerm& term : terms)
    sums[term.out] += values[term.in] * static_cast<float>(term.weight) / static_cast<float>(term.divisor);
  std::copy(std::begin(sums), std::end(sums), values);
}

}  // namespace

Mixing::Mixing() {
  for (size_t level = 0; level < kLevels; ++level) {
    const double c = std::pow(10.0, (level < 15 ? kIidCoarse[level] : kIidFine[level - 15]) / 20.0);
    for (size_t i = 0; i < 8; ++i) {
      const auto a = mixingA(c, kIcc[i]), b = mixingB(c, kIcc[i]);
      std::transform(a.begin(), a.end(), mixed_[0][level][i].begin(),
                     [](double h) { return static_cast<float>(h); });
      std::transform(b.begin(), b.end(), mixed_[1][level][i].begin(),
                     [](double h) { return static_cast<float>(h); });
    }
  }
  // Before the first envelope both channels are the mono signal.
  std::fill(std::begin(to_.re[kH11]), std::end(to_.re[kH11]), 1.0f);
  std::fill(std::begin(to_.re[kH12]), std::end(to_.re[kH12]), 1.0f);
}

void Mixing::configure(bool wide) {
  if (wide == wide_) return;
  wide_ = wide;
  for (auto* part : {&to_.re, &to_.im})
    for (auto& factors : *part) wide ? convert(factors, k20To34) : convert(factors, k34To20);
  overall_.fill({});
  inter_.fill({});
}

Mixing::Phasor Mixing::PhaseHistory::next(int8_t index) {
  constexpr auto kLast = static_cast<float>(kPhaseSmoothPrevious);
  constexpr auto kBefore = static_cast<float>(kPhaseSmoothBeforePrevious);
  const float angle = static_cast<float>(index) * std::numbers::pi_v<float> / 4;
  const Phasor now{std::cos(angle), std::sin(angle)};
  const Phasor sum{now.re + kLast * last.re + kBefore * before.re,
                   now.im + kLast * last.im + kBefore * before.im};
  before = last;
  last = now;
  const float length = std::sqrt(sum.re * sum.re + sum.im * sum.im);  // 1/4 or more
  return {sum.re / length, sum.im / length};
}

void Mixing::aim(const Envelope& envelope, const Header& header, bool phasesOn, int32_t slots) {
  const Configuration& config = wide_ ? kConfiguration34 : kConfiguration20;
  const auto iid = convertBands(envelope.iid, header.iidBands(), config.stereoBands);
  const auto icc = convertBands(envelope.icc, header.iccBands(), config.stereoBands);
  from_ = to_;
  to_ = {};
  for (int32_t b = 0; b < config.stereoBands; ++b) {
    const int32_t level = iid[b] + (header.fineIid() ? 15 + 15 : 7);
    const Real& real = mixed_[header.mixingB()][level][icc[b]];
    for (size_t h = 0; h < kFactors; ++h) to_.re[h][b] = real[h];
  }

  if (phasesOn) {
    const auto ipd = convertBands(envelope.ipd, header.iidBands(), config.stereoBands);
    const auto opd = convertBands(envelope.opd, header.iidBands(), config.stereoBands);
    for (int32_t b = 0; b < config.phaseBands; ++b) {
      // The left channel turns by the overall phase, the right one by that less the difference.
      const Phasor o = overall_[b].next(opd[b]), i = inter_[b].next(ipd[b]);
      const Phasor other{o.re * i.re + o.im * i.im, o.im * i.re - o.re * i.im};
      for (const Factor h : {kH11, kH12, kH21, kH22}) {
        const Phasor& phase = h == kH11 || h == kH21 ? o : other;
        to_.im[h][b] = to_.re[h][b] * phase.im;
        to_.re[h][b] *= phase.re;
      }
    }
  } else {
    overall_.fill({});
    inter_.fill({});
  }
  expand(std::max(slots, 1));
}

// From stereo bands to hybrid bands; at negative frequencies phases turn the other way.
void Mixing::expand(int32_t slots) {
  const HybridBand* bands = wide_ ? kHybridBands34 : kHybridBands20;
  const int32_t count = (wide_ ? kConfiguration34 : kConfiguration20).hybridBands;
  const float part = 1.0f / static_cast<float>(slots);
  turns_ = false;
  for (size_t h = 0; h < kFactors; ++h) {
    for (int32_t k = 0; k < count; ++k) {
      const auto b = static_cast<size_t>(bands[k].stereoBand);
      const float sign = bands[k].conjugate ? -1.0f : 1.0f;
      start_[h].re[k] = from_.re[h][b];
      start_[h].im[k] = sign * from_.im[h][b];
      step_[h].re[k] = part * (to_.re[h][b] - from_.re[h][b]);
      step_[h].im[k] = part * sign * (to_.im[h][b] - from_.im[h][b]);
      turns_ = turns_ || from_.im[h][b] != 0 || to_.im[h][b] != 0;
    }
  }
}

void Mixing::mix(int32_t slot, const HybridRow& mono, const HybridRow& diffuse, HybridRow& left,
                 HybridRow& right) const {
  const auto t = static_cast<float>(slot);
  const auto channel = [&](Factor direct, Factor spread, HybridRow& out) {
    const HybridRow &g0 = start_[direct], &g1 = step_[direct], &h0 = start_[spread], &h1 = step_[spread];
    for (int32_t k = 0; k < HybridRow::kWidth; ++k) {
      const float g = g0.re[k] + t * g1.re[k], h = h0.re[k] + t * h1.re[k];
      out.re[k] = g * mono.re[k] + h * diffuse.re[k];
      out.im[k] = g * mono.im[k] + h * diffuse.im[k];
    }
    if (!turns_) return;
    for (int32_t k = 0; k < HybridRow::kWidth; ++k) {
      const float g = g0.im[k] + t * g1.im[k], h = h0.im[k] + t * h1.im[k];
      out.re[k] -= g * mono.im[k] + h * diffuse.im[k];
      out.im[k] += g * mono.re[k] + h * diffuse.re[k];
    }
  };
  channel(kH11, kH21, left);
  channel(kH12, kH22, right);
}

}  // namespace moxc::ps
