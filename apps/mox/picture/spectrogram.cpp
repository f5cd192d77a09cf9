// Levels over time and frequency.
#include "mox/picture/spectrogram.h"

#include <algorithm>
#include <cmath>

#include "mox/files/failure.h"
#include "moxac.h"

namespace mox {
namespace {

constexpr double kSilence = 1e-15;  // -150 dB

// A power of two near 1/24 s.
int frameLength(int32_t rate) {
  int length = 256;
  while (length < 8192 && length < rate / 24) length *= 2;
  return length;
}

// The power spectrum of one frame at a time. The MDCT of a frame changes with the phase of what it holds; its
// sine twin, the MDST, is up to signs the MDCT of the frame read backwards, and both squares together give
// the power.
class PowerSpectrum {
 public:
  explicit PowerSpectrum(int length)
      : length_(static_cast<size_t>(length)), window_(length_), frame_(length_), lines_(length_ / 2) {
    double sum = 0;
    for (size_t n = 0; n < length_; ++n) {
      const double angle = 2 * M_PI * (static_cast<double>(n) + 0.5) / length;
      window_[n] = static_cast<float>(0.5 - 0.5 * std::cos(angle));
      sum += window_[n];
    }
    fullScale_ = sum * sum;  // the power of a sine of amplitude 1 in its line
    int32_t bytes = 0;
    if (moxsMDCTFwdInitAlloc_32f(&spec_, length) != moxStatusOk ||
        moxsMDCTFwdGetBufSize_32f(spec_, &bytes) != moxStatusOk)
      throw Failure("the transform could not be built");
    work_.resize(static_cast<size_t>(bytes));
  }
  ~PowerSpectrum() { moxsMDCTFwdFree_32f(spec_); }
  PowerSpectrum(const PowerSpectrum&) = delete;
  PowerSpectrum& operator=(const PowerSpectrum&) = delete;

  // Adds the power of the frame around sample `centre`; what lies outside the sound is silence.
  void addTo(std::vector<double>& power, const std::vector<float>& samples, int64_t centre) {
    const int64_t first = centre - static_cast<int64_t>(length_ / 2),
                  count = static_cast<int64_t>(samples.size());
    for (size_t n = 0; n < length_; ++n) {
      const int64_t t = first + static_cast<int64_t>(n);
      frame_[n] = t >= 0 && t < count ? window_[n] * samples[static_cast<size_t>(t)] : 0;
    }
    addSquares(power);
    std::reverse(frame_.begin(), frame_.end());
    addSquares(power);
  }

 private:
  void addSquares(std::vector<double>& power) {
    moxsMDCTFwd_32f(frame_.data(), lines_.data(), spec_, work_.data());
    for (size_t k = 0; k < lines_.size(); ++k) power[k] += double{lines_[k]} * lines_[k] / fullScale_;
  }

  size_t length_;
  std::vector<float> window_, frame_, lines_;
  std::vector<uint8_t> work_;
  MoxMdctSpec* spec_ = nullptr;
  double fullScale_ = 1;
};

}  // namespace

LevelMap levelMap(const MonoSound& sound, int columns, int rows) {
  const int length = frameLength(sound.rate), lines = length / 2;
  PowerSpectrum spectrum(length);
  LevelMap map{columns, rows, std::vector<float>(static_cast<size_t>(columns) * static_cast<size_t>(rows))};
  std::vector<double> power(static_cast<size_t>(lines));
  const double span = static_cast<double>(sound.samples.size()) / columns;
  const int frames = std::max(1, static_cast<int>(std::ceil(span / (length / 2.0))));
  for (int column = 0; column < columns; ++column) {
    std::fill(power.begin(), power.end(), 0.0);
    for (int f = 0; f < frames; ++f)
      spectrum.addTo(power, sound.samples, static_cast<int64_t>((column + (f + 0.5) / frames) * span));
    for (int row = 0; row < rows; ++row) {
      const int from = row * lines / rows, to = std::max(from + 1, (row + 1) * lines / rows);
      const double most = *std::max_element(power.begin() + from, power.begin() + to) / frames;
      map.at(column, row) = static_cast<float>(10 * std::log10(std::max(most, kSilence)));
    }
  }
  return map;
}

}  // namespace mox
