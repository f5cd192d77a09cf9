// All-pass filters and delays that make a second, diffuse signal.
#include "codec/ps/decorrelator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "codec/ps/tables.h"

namespace moxc::ps {
namespace {

const Configuration& configuration(bool wide) { return wide ? kConfiguration34 : kConfiguration20; }
const HybridBand* hybridBands(bool wide) { return wide ? kHybridBands34 : kHybridBands20; }

int32_t wholeVectors(int32_t bands) { return (bands + 7) / 8 * 8; }

float sum(const float* from, const float* to) {
  float parts[4]{};
  for (; to - from >= 4; from += 4)
    for (int32_t i = 0; i < 4; ++i) parts[i] += from[i];
  for (; from < to; ++from) parts[0] += *from;
  return parts[0] + parts[1] + (parts[2] + parts[3]);
}

}  // namespace

void Decorrelator::start(bool wide) {
  const Configuration& config = configuration(wide);
  wide_ = wide;
  slot_ = 0;
  for (HybridRow& row : line_) row = {};
  for (Link& link : links_) link = {};
  turn_ = {};
  peak_ = mean_ = excess_ = {};

  whole_.fill(config.hybridBands);
  for (int32_t k = config.hybridBands; k-- > config.splitBands;)
    std::fill_n(whole_.begin(), hybridBands(wide)[k].stereoBand + 1, k);

  for (int32_t k = 0; k < config.allpassBands; ++k) {
    const auto turnBy = [&](AllpassRow& row, double fraction) {
      const double angle = -std::numbers::pi * fraction * hybridBands(wide)[k].centre;
      row.re[k] = static_cast<float>(std::cos(angle));
      row.im[k] = static_cast<float>(std::sin(angle));
    };
    turnBy(turn_, kFractionPhi);
    const double decay = std::clamp(1 - kDecaySlope * (k - config.decayCutoff), 0.0, 1.0);
    for (int32_t m = 0; m < kLinks; ++m) {
      turnBy(links_[m].turn, kAllpassFraction[m]);
      links_[m].feedback[k] = static_cast<float>(kAllpassCoef[m] * decay);
    }
  }
}

void Decorrelator::run(const HybridRow& mono, HybridRow& diffuse) {
  const Configuration& config = configuration(wide_);
  alignas(32) float gains[HybridRow::kWidth];
  attenuate(mono, gains);

  line_[slot_ % kLineRows] = mono;
  const auto delayed = [&](int32_t slots) -> const HybridRow& {
    return line_[(slot_ - static_cast<uint32_t>(slots)) % kLineRows];
  };
  AllpassRow x;
  const HybridRow& in = delayed(kBaseDelay);
  for (int32_t k = 0; k < kAllpassWidth; ++k) {
    x.re[k] = in.re[k] * turn_.re[k] - in.im[k] * turn_.im[k];
    x.im[k] = in.re[k] * turn_.im[k] + in.im[k] * turn_.re[k];
  }
  allpass(x);

  const auto take = [&](const float* re, const float* im, int32_t first, int32_t end) {
    for (int32_t k = first; k < end; ++k) {
      diffuse.re[k] = re[k] * gains[k];
      diffuse.im[k] = im[k] * gains[k];
    }
  };
  const HybridRow &longAgo = delayed(kLongDelay), &justNow = delayed(kShortDelay);
  take(x.re, x.im, 0, config.allpassBands);
  take(longAgo.re, longAgo.im, config.allpassBands, config.shortDelayBand);
  take(justNow.re, justNow.im, config.shortDelayBand, config.hybridBands);
  ++slot_;
}

// Each link is (Q*z^-d - a) / (1 - a*Q*z^-d), Q the fractional delay: with the state w of the denominator,
//   w(n) = x(n) + a*Q*w(n - d),   y(n) = Q*w(n - d) - a*w(n).
void Decorrelator::allpass(AllpassRow& x) {
  const int32_t width = wholeVectors(configuration(wide_).allpassBands);
  for (int32_t m = 0; m < kLinks; ++m) {
    Link& link = links_[m];
    const AllpassRow& before = link.state[(slot_ - static_cast<uint32_t>(kAllpassDelay[m])) % kLinkRows];
    AllpassRow& now = link.state[slot_ % kLinkRows];
    for (int32_t k = 0; k < width; ++k) {
      const float a = link.feedback[k];
      const float re = link.turn.re[k] * before.re[k] - link.turn.im[k] * before.im[k];
      const float im = link.turn.re[k] * before.im[k] + link.turn.im[k] * before.re[k];
      now.re[k] = x.re[k] + a * re;
      now.im[k] = x.im[k] + a * im;
      x.re[k] = re - a * now.re[k];
      x.im[k] = im - a * now.im[k];
    }
  }
}

// While the power of a stereo band is well below its recent peak, its diffuse signal would smear the transient:
// the gains fall as the mean excess of the peak grows beyond the mean power.
void Decorrelator::attenuate(const HybridRow& mono, float* gains) {
  const int32_t splitBands = configuration(wide_).splitBands;
  const HybridBand* bands = hybridBands(wide_);
  alignas(32) float powers[HybridRow::kWidth];
  for (int32_t k = 0; k < HybridRow::kWidth; ++k)
    powers[k] = mono.re[k] * mono.re[k] + mono.im[k] * mono.im[k];
  BandValues power, gain;
  for (size_t b = 0; b < kBands; ++b) power[b] = sum(powers + whole_[b], powers + whole_[b + 1]);
  for (int32_t k = 0; k < splitBands; ++k) power[bands[k].stereoBand] += powers[k];

  constexpr float kLeast = std::numeric_limits<float>::min(), kMost = 1e30f;  // keep what follows finite
  constexpr auto kDecay = static_cast<float>(kTransientPeakDecay);
  constexpr auto kSmooth = static_cast<float>(kTransientSmooth);
  constexpr auto kImpact = static_cast<float>(kTransientImpact);
  for (size_t b = 0; b < kBands; ++b) {
    const float p = power[b] < kMost ? power[b] : kMost;
    peak_[b] = std::max(kDecay * peak_[b], p);
    mean_[b] += kSmooth * (p - mean_[b]);
    excess_[b] += kSmooth * (peak_[b] - p - excess_[b]);
    gain[b] = mean_[b] / std::max(std::max(mean_[b], kImpact * excess_[b]), kLeast);
  }
  for (int32_t k = 0; k < splitBands; ++k) gains[k] = gain[bands[k].stereoBand];
  for (size_t b = 0; b < kBands; ++b) std::fill(gains + whole_[b], gains + whole_[b + 1], gain[b]);
}

}  // namespace moxc::ps
