// The filter bank: windows, inverse transforms, overlap.
#include "codec/aac/synthesis.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>

#include "moxac/tables.h"

namespace moxc::aac {
namespace {

constexpr size_t kLong = MOX_AAC_FRAME_LINES, kShort = MOX_AAC_SHORT_LINES;
constexpr float kScale = 1.0f / (32768 << MOX_AAC_SPECTRUM_FRAC_BITS);  // to a full scale of 1
constexpr size_t kFlat =
    (kLong - kShort) / 2;  // what a start or stop window keeps level on each side of its slope

// The slopes of both window shapes (sine, Kaiser-Bessel derived), rising and falling: of long windows, of short ones,
// and of short ones between the level parts that start and stop windows have. ISO/IEC 14496-3, 4.6.11.3.
struct Slopes {
  template <size_t N>
  struct Slope {
    alignas(32) std::array<float, N> rise, fall;
  };
  using Long = std::array<Slope<kLong>, 2>;
  using Short = std::array<Slope<kShort>, 2>;
  Long longSlope, levelledSlope;
  Short shortSlope;

  Slopes() {
    fill(longSlope, moxAacKaiserBesselAlphaLong);
    fill(shortSlope, moxAacKaiserBesselAlphaShort);
    for (size_t shape = 0; shape < 2; ++shape) {
      Slope<kLong>& slope = levelledSlope[shape];
      slope.rise.fill(0);
      std::copy_n(shortSlope[shape].rise.begin(), kShort, slope.rise.begin() + kFlat);
      std::fill_n(slope.rise.begin() + kFlat + kShort, kFlat, 1.0f);
      std::reverse_copy(slope.rise.begin(), slope.rise.end(), slope.fall.begin());
    }
  }

  // Modified Bessel function of the first kind, order 0.
  static double bessel(double x) {
    double sum = 1, term = 1;
    for (int k = 1; term > 1e-18 * sum; ++k) sum += term *= (x / 2 / k) * (x / 2 / k);
    return sum;
  }

  template <size_t N>
  static void fill(std::array<Slope<N>, 2>& slopes, double alpha) {
    const auto kernel = [alpha](size_t n) {
      const double u = 2 * static_cast<double>(n) / N - 1;
      return bessel(std::numbers::pi * alpha * std::sqrt(1 - u * u));
    };
    double total = 0, sum = 0;
    for (size_t n = 0; n <= N; ++n) total += kernel(n);
    for (size_t n = 0; n < N; ++n) {
      sum += kernel(n);
      const double angle = std::numbers::pi / (2 * N) * (static_cast<double>(n) + 0.5);
      slopes[0].rise[n] = slopes[0].fall[N - 1 - n] = static_cast<float>(std::sin(angle));
      slopes[1].rise[n] = slopes[1].fall[N - 1 - n] = static_cast<float>(std::sqrt(sum / total));
    }
  }
};
const Slopes& slopes() {
  static const Slopes made;
  return made;
}

}  // namespace

Synthesis::Transform::Transform(int32_t length) : spec(nullptr, moxsMDCTInvFree_32f) {
  MoxMdctSpec* made = nullptr;
  if (moxsMDCTInvInitAlloc_32f(&made, length) != moxStatusOk) throw std::bad_alloc();
  spec.reset(made);
  int32_t bytes = 0;
  moxsMDCTInvGetBufSize_32f(made, &bytes);
  buffer.resize(static_cast<size_t>(bytes));
}

Synthesis::Synthesis(int32_t channels, bool floatSamples, bool keepHistory)
    : channels_(static_cast<size_t>(channels)), keepHistory_(keepHistory), work_(MOX_AAC_MDCT_BUFFER_WORDS) {
  for (Channel& channel : channels_) {
    if (keepHistory) channel.history.resize(MOX_AAC_LTP_HISTORY);
    if (floatSamples) channel.floatOverlap.resize(kLong);
  }
  if (floatSamples) {
    long_ = std::make_unique<Transform>(2 * kLong);
    short_ = std::make_unique<Transform>(2 * kShort);
  }
}

bool Synthesis::predict(size_t ch, const Spectrum& windows, const MoxAacLtpInfo& ltp, int32_t* prediction) {
  const Channel& channel = channels_[ch];
  return moxsLongTermPredict_AAC_32s(channel.history.data(), prediction, windows.windowSequence,
                                     windows.windowShape, channel.previousShape, &ltp,
                                     work_.data()) == moxStatusOk;
}

// Long-term prediction looks back at what this filter bank made, whichever one makes the output.
void Synthesis::runFixed(Channel& channel, const Spectrum& spectrum, int16_t* samples, int32_t stride) {
  moxsMDCTInv_AAC_32s16s(spectrum.lines.data(), samples, channel.overlap.data(), spectrum.windowSequence,
                         spectrum.windowShape, channel.previousShape, stride, work_.data());
  if (keepHistory_) moxsLtpUpdate_AAC_32s(work_.data(), channel.overlap.data(), channel.history.data());
}

void Synthesis::run(size_t ch, const Spectrum& spectrum, int16_t* samples, int32_t stride) {
  Channel& channel = channels_[ch];
  runFixed(channel, spectrum, samples, stride);
  channel.previousShape = spectrum.windowShape;
}

void Synthesis::run(size_t ch, const Spectrum& spectrum, float* samples, int32_t stride) {
  Channel& channel = channels_[ch];
  if (keepHistory_) {
    std::array<int16_t, kLong> unused;
    runFixed(channel, spectrum, unused.data(), 1);
  }
  if (spectrum.windowSequence == MOX_AAC_EIGHT_SHORT)
    runShort(channel, spectrum, samples, static_cast<size_t>(stride));
  else
    runLong(channel, spectrum, samples, static_cast<size_t>(stride));
  channel.previousShape = spectrum.windowShape;
}

// One transform over the whole frame. Start and stop windows have a short slope on one side.
void Synthesis::runLong(Channel& channel, const Spectrum& spectrum, float* samples, size_t stride) {
  for (size_t k = 0; k < kLong; ++k) frame_[k] = static_cast<float>(spectrum.lines[k]) * kScale;
  moxsMDCTInv_32f_I(frame_.data(), long_->spec.get(), long_->buffer.data());

  const auto previous = static_cast<size_t>(channel.previousShape),
             shape = static_cast<size_t>(spectrum.windowShape);
  const Slopes& all = slopes();
  const float* const rise =
      (spectrum.windowSequence == MOX_AAC_LONG_STOP ? all.levelledSlope : all.longSlope)[previous]
          .rise.data();
  const float* const fall =
      (spectrum.windowSequence == MOX_AAC_LONG_START ? all.levelledSlope : all.longSlope)[shape].fall.data();
  float* const overlap = channel.floatOverlap.data();
  const float* const frame = frame_.data();
  for (size_t n = 0; n < kLong; ++n) samples[n * stride] = overlap[n] + frame[n] * rise[n];
  for (size_t n = 0; n < kLong; ++n) overlap[n] = frame[kLong + n] * fall[n];
}

// Eight transforms, each beginning 128 samples after the one before. The first rises with the shape that the frame
// before fell with.
void Synthesis::runShort(Channel& channel, const Spectrum& spectrum, float* samples, size_t stride) {
  const auto shape = static_cast<size_t>(spectrum.windowShape);
  frame_.fill(0);
  alignas(32) std::array<float, 2 * kShort> window;
  for (size_t w = 0; w < 8; ++w) {
    for (size_t k = 0; k < kShort; ++k)
      window[k] = static_cast<float>(spectrum.lines[w * kShort + k]) * kScale;
    moxsMDCTInv_32f_I(window.data(), short_->spec.get(), short_->buffer.data());
    const auto& rise = slopes().shortSlope[w == 0 ? static_cast<size_t>(channel.previousShape) : shape].rise;
    const auto& fall = slopes().shortSlope[shape].fall;
    float* const at = frame_.data() + kFlat + w * kShort;
    for (size_t n = 0; n < kShort; ++n) at[n] += window[n] * rise[n];
    for (size_t n = 0; n < kShort; ++n) at[kShort + n] += window[kShort + n] * fall[n];
  }
  float* const overlap = channel.floatOverlap.data();
  for (size_t n = 0; n < kLong; ++n) samples[n * stride] = overlap[n] + frame_[n];
  std::copy_n(frame_.data() + kLong, kLong, overlap);
}

}  // namespace moxc::aac
