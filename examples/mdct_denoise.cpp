// Takes white noise off a signal: MDCT frames with half overlap, a gain for every line from its smoothed energy, and
// back. Prints the signal-to-noise ratio before and after.
#include <moxac/extras.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

namespace {

constexpr int kWindow = 2048, kHop = kWindow / 2, kFrames = 100, kTaps = 3;

// A plucked chord, again and again.
float chord(int n) {
  double x = 0;
  for (const double hertz : {220.0, 277.18, 329.63, 1318.5}) x += std::sin(2 * M_PI * hertz * n / 48000.0);
  return static_cast<float>(0.2 * x * std::exp(-(n % 24000) / 9000.0));
}

double decibels(const std::vector<float>& clean, const std::vector<float>& other) {
  double signal = 0, error = 0;
  for (size_t i = kWindow; i < clean.size() - kWindow; ++i) {  // but the ends, which only one frame covers
    signal += clean[i] * clean[i];
    error += (clean[i] - other[i]) * (clean[i] - other[i]);
  }
  return 10 * std::log10(signal / error);
}

}  // namespace

int main() {
  // 1. A context for each direction; these owners free them.
  MoxMdctSpec *forwardSpec = nullptr, *inverseSpec = nullptr;
  MoxFirBlockState* smoothingState = nullptr;
  if (moxsMDCTFwdInitAlloc_32f(&forwardSpec, kWindow) != moxStatusOk) return 1;
  const moxac::MdctForward32f forward(forwardSpec);
  if (moxsMDCTInvInitAlloc_32f(&inverseSpec, kWindow) != moxStatusOk) return 1;
  const moxac::MdctInverse32f inverse(inverseSpec);
  if (moxsFIRBlockInitAlloc_32f(&smoothingState, kTaps, kHop) != moxStatusOk) return 1;
  const moxac::FirBlock smoothing(smoothingState);
  int32_t bytes = 0;
  moxsMDCTFwdGetBufSize_32f(forward.get(), &bytes);
  std::vector<uint8_t> work(static_cast<size_t>(bytes));

  // 2. The signal with noise 23 dB below full scale.
  constexpr float kSigma = 0.07f;
  std::mt19937 generator(1);
  std::normal_distribution<float> noise(0, kSigma);
  std::vector<float> clean((kFrames + 1) * kHop), noisy(clean.size()), out(clean.size());
  for (size_t i = 0; i < clean.size(); ++i) {
    clean[i] = chord(static_cast<int>(i));
    noisy[i] = clean[i] + noise(generator);
  }

  // 3. Every frame: window, transform, weigh, transform back, window, add to the half before.
  float window[kWindow], frame[kWindow], lines[kHop], energy[kHop], smooth[kHop];
  moxSineWindow(window, kWindow);
  const float taps[kTaps] = {0.5f, 0.2f, 0.3f};       // of this frame, of two before, of the one before
  const float floor = 2 * kWindow * kSigma * kSigma;  // of a line's energy: the transform's gain is 2
  for (size_t t = 0; t < kFrames; ++t) {
    for (size_t n = 0; n < kWindow; ++n) frame[n] = noisy[t * kHop + n] * window[n];
    if (moxsMDCTFwd_32f(frame, lines, forward.get(), work.data()) != moxStatusOk) return 1;
    for (size_t k = 0; k < kHop; ++k) energy[k] = lines[k] * lines[k];
    if (moxsFIRBlockOne_32f(energy, smooth, smoothing.get(), taps) < moxStatusOk)
      return 1;  // a warning is fine
    for (size_t k = 0; k < kHop; ++k)
      lines[k] *= std::max(0.05f, 1 - 2.5f * floor / std::max(smooth[k], 1e-9f));
    if (moxsMDCTInv_32f(lines, frame, inverse.get(), work.data()) != moxStatusOk) return 1;
    for (size_t n = 0; n < kWindow; ++n) out[t * kHop + n] += frame[n] * window[n];
  }

  const double before = decibels(clean, noisy), after = decibels(clean, out);
  std::printf("signal to noise: %.1f dB before, %.1f dB after\n", before, after);
  return after > before + 8 ? 0 : 1;
}
