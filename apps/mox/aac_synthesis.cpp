#include "mox/aac_synthesis.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>

namespace mox {
namespace {

constexpr int32_t kEightShort = 2, kLongStart = 1, kLongStop = 3;
constexpr size_t kLong = 1024, kShort = 128;
constexpr size_t kFlat =
    (kLong - kShort) / 2;  // what a start or stop window keeps level on each side of its slope

// The rising halves of both window shapes; the falling ones are their mirror images. ISO/IEC 14496-3, 4.6.11.3.2.
struct Windows {
  std::array<std::array<float, kLong>, 2> longRise;
  std::array<std::array<float, kShort>, 2> shortRise;

  Windows() {
    fill(longRise, 4);
    fill(shortRise, 6);
  }

  // Modified Bessel function of the first kind, order 0.
  static double bessel(double x) {
    double sum = 1, term = 1;
    for (int k = 1; term > 1e-18 * sum; ++k) sum += term *= (x / 2 / k) * (x / 2 / k);
    return sum;
  }

  template <size_t N>
  static void fill(std::array<std::array<float, N>, 2>& rise, double alpha) {
    const auto kernel = [alpha](size_t n) {
      const double u = 2 * static_cast<double>(n) / N - 1;
      return bessel(std::numbers::pi * alpha * std::sqrt(1 - u * u));
    };
    double total = 0, sum = 0;
    for (size_t n = 0; n <= N; ++n) total += kernel(n);
    for (size_t n = 0; n < N; ++n) {
      sum += kernel(n);
      rise[0][n] = static_cast<float>(std::sin(std::numbers::pi / (2 * N) * (static_cast<double>(n) + 0.5)));
      rise[1][n] = static_cast<float>(std::sqrt(sum / total));
    }
  }
};
const Windows& windows() {
  static const Windows made;
  return made;
}

template <size_t N>
void rise(const std::array<float, N>& window, float* samples) {
  for (size_t n = 0; n < N; ++n) samples[n] *= window[n];
}
template <size_t N>
void fall(const std::array<float, N>& window, float* samples) {
  for (size_t n = 0; n < N; ++n) samples[n] *= window[N - 1 - n];
}

}  // namespace

AacSynthesis::Transform::Transform(int32_t length) : spec(nullptr, moxsMDCTInvFree_32f) {
  MoxMdctSpec* made = nullptr;
  if (moxsMDCTInvInitAlloc_32f(&made, length) != moxStatusOk) throw std::bad_alloc();
  spec.reset(made);
  int32_t bytes = 0;
  moxsMDCTInvGetBufSize_32f(made, &bytes);
  buffer.resize(static_cast<size_t>(bytes));
}

AacSynthesis::AacSynthesis(int32_t channels, bool floatSamples, bool keepHistory)
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

bool AacSynthesis::predict(size_t ch, const AacSpectrum& windows, const MoxAacLtpInfo& ltp,
                           int32_t* prediction) {
  const Channel& channel = channels_[ch];
  return moxsLongTermPredict_AAC_32s(channel.history.data(), prediction, windows.windowSequence,
                                     windows.windowShape, channel.previousShape, &ltp,
                                     work_.data()) == moxStatusOk;
}

// Long-term prediction looks back at what this filter bank made, whichever one makes the output.
void AacSynthesis::runFixed(Channel& channel, const AacSpectrum& spectrum, int16_t* samples, int32_t stride) {
  moxsMDCTInv_AAC_32s16s(spectrum.lines.data(), samples, channel.overlap.data(), spectrum.windowSequence,
                         spectrum.windowShape, channel.previousShape, stride, work_.data());
  if (keepHistory_) moxsLtpUpdate_AAC_32s(work_.data(), channel.overlap.data(), channel.history.data());
}

void AacSynthesis::run(size_t ch, const AacSpectrum& spectrum, int16_t* samples, int32_t stride) {
  Channel& channel = channels_[ch];
  runFixed(channel, spectrum, samples, stride);
  channel.previousShape = spectrum.windowShape;
}

void AacSynthesis::run(size_t ch, const AacSpectrum& spectrum, float* samples, int32_t stride) {
  Channel& channel = channels_[ch];
  if (keepHistory_) {
    std::array<int16_t, kLong> unused;
    runFixed(channel, spectrum, unused.data(), 1);
  }
  if (spectrum.windowSequence == kEightShort)
    windowShort(spectrum, channel.previousShape);
  else
    windowLong(spectrum, channel.previousShape);
  float* const overlap = channel.floatOverlap.data();
  for (size_t n = 0; n < kLong; ++n) samples[n * static_cast<size_t>(stride)] = overlap[n] + frame_[n];
  std::copy_n(frame_.data() + kLong, kLong, overlap);
  channel.previousShape = spectrum.windowShape;
}

// One transform over the whole frame. Start and stop windows have a short slope on one side.
void AacSynthesis::windowLong(const AacSpectrum& spectrum, int32_t previousShape) {
  constexpr float kScale = 1.0f / (32768 << MOX_AAC_SPECTRUM_FRAC_BITS);
  for (size_t k = 0; k < kLong; ++k) frame_[k] = static_cast<float>(spectrum.lines[k]) * kScale;
  moxsMDCTInv_32f_I(frame_.data(), long_->spec.get(), long_->buffer.data());

  const auto previous = static_cast<size_t>(previousShape), shape = static_cast<size_t>(spectrum.windowShape);
  if (spectrum.windowSequence == kLongStop) {
    std::fill_n(frame_.data(), kFlat, 0.0f);
    rise(windows().shortRise[previous], frame_.data() + kFlat);
  } else {
    rise(windows().longRise[previous], frame_.data());
  }
  float* const second = frame_.data() + kLong;
  if (spectrum.windowSequence == kLongStart) {
    fall(windows().shortRise[shape], second + kFlat);
    std::fill_n(second + kFlat + kShort, kFlat, 0.0f);
  } else {
    fall(windows().longRise[shape], second);
  }
}

// Eight transforms, each beginning 128 samples after the one before. The first rises with the shape that the frame
// before fell with.
void AacSynthesis::windowShort(const AacSpectrum& spectrum, int32_t previousShape) {
  constexpr float kScale = 1.0f / (32768 << MOX_AAC_SPECTRUM_FRAC_BITS);
  frame_.fill(0);
  alignas(32) std::array<float, 2 * kShort> window;
  for (size_t w = 0; w < 8; ++w) {
    for (size_t k = 0; k < kShort; ++k)
      window[k] = static_cast<float>(spectrum.lines[w * kShort + k]) * kScale;
    moxsMDCTInv_32f_I(window.data(), short_->spec.get(), short_->buffer.data());
    rise(windows().shortRise[static_cast<size_t>(w == 0 ? previousShape : spectrum.windowShape)],
         window.data());
    fall(windows().shortRise[static_cast<size_t>(spectrum.windowShape)], window.data() + kShort);
    float* const at = frame_.data() + kFlat + w * kShort;
    for (size_t n = 0; n < 2 * kShort; ++n) at[n] += window[n];
  }
}

}  // namespace mox
