#include "codec/mp3/loudness.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace moxc::mp3 {
namespace {

constexpr double kQuietest = -70, kRelativeGate = -10, kOffset = -0.691;

double binPower(int32_t bin) { return std::pow(10.0, (kQuietest + (bin + 0.5) / 10 - kOffset) / 10); }

}  // namespace

// The standard's two sections are given at 48 kHz; these are the analogue ones behind them, at any rate.
Loudness::Loudness(int32_t rate, int32_t channels) : channels_(channels), stepLength_(rate / 10) {
  {
    const double q = 0.7071752369554196, high = std::pow(10.0, 3.999843853973347 / 20);
    const double middle = std::pow(high, 0.4996667741545416),
                 k = std::tan(std::numbers::pi * 1681.974450955533 / rate);
    const double a0 = 1 + k / q + k * k;
    shelf_ = {(high + middle * k / q + k * k) / a0,
              2 * (k * k - high) / a0,
              (high - middle * k / q + k * k) / a0,
              2 * (k * k - 1) / a0,
              (1 - k / q + k * k) / a0,
              {},
              {}};
  }
  const double q = 0.5003270373238773, k = std::tan(std::numbers::pi * 38.13547087602444 / rate);
  const double a0 = 1 + k / q + k * k;
  highpass_ = {1, -2, 1, 2 * (k * k - 1) / a0, (1 - k / q + k * k) / a0, {}, {}};
}

void Loudness::add(const float* samples, int32_t count) {
  const auto pass = [](Section& s, double x, int32_t ch) {
    const double y = s.b0 * x + s.z1[ch];
    s.z1[ch] = s.b1 * x - s.a1 * y + s.z2[ch];
    s.z2[ch] = s.b2 * x - s.a2 * y;
    return y;
  };
  for (int32_t i = 0; i < count; ++i) {
    for (int32_t ch = 0; ch < channels_; ++ch) {
      const float x = samples[i * channels_ + ch];
      peak_ = std::max(peak_, std::fabs(x));
      const double y = pass(highpass_, pass(shelf_, static_cast<double>(x), ch), ch);
      stepPower_ += y * y;
    }
    if (++inStep_ == stepLength_) endStep();
  }
}

void Loudness::endStep() {
  steps_[static_cast<size_t>(stepCount_++ % 4)] = stepPower_ / stepLength_;
  stepPower_ = 0;
  inStep_ = 0;
  if (stepCount_ < 4) return;
  const double power = (steps_[0] + steps_[1] + steps_[2] + steps_[3]) / 4;
  const auto bin = static_cast<int32_t>((kOffset + 10 * std::log10(power + 1e-20) - kQuietest) * 10);
  if (bin >= 0) ++histogram_[static_cast<size_t>(std::min(bin, kBins - 1))];
}

double Loudness::decibels() const {
  double gate = 0;
  for (int round = 0; round < 2; ++round) {
    double sum = 0;
    int64_t blocks = 0;
    for (int32_t bin = 0; bin < kBins; ++bin) {
      if (binPower(bin) < gate) continue;
      sum += binPower(bin) * static_cast<double>(histogram_[static_cast<size_t>(bin)]);
      blocks += histogram_[static_cast<size_t>(bin)];
    }
    if (blocks == 0) return kQuietest;
    const double loudness = kOffset + 10 * std::log10(sum / static_cast<double>(blocks));
    if (round == 1) return loudness;
    gate = std::pow(10.0, (loudness + kRelativeGate - kOffset) / 10);
  }
  return kQuietest;
}

}  // namespace moxc::mp3
