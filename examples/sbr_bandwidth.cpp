// Extends the bandwidth of a signal sampled at 24 kHz to 18 kHz at 48 kHz, as spectral band replication does: the
// bands from 6 to 12 kHz, whitened by linear prediction, are copied up and brought to the levels of the original,
// which a transmitter would send along. Prints how near those levels are met.
#include <moxac.h>
#include <moxac/tables.h>

#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

namespace {

constexpr int kSlots = 32, kHistory = 2;          // of a frame; what the prediction looks back
constexpr int kFrom = 16, kBands = 16, kUp = 16;  // source bands and how far they are moved
constexpr int kFrames = 24;

// Harmonics of 230 Hz, falling by 6 dB an octave, up to `top`.
float voice(double t, double top) {
  double x = 0;
  for (int k = 1; 230 * k < top; ++k) x += 0.3 / k * std::sin(2 * M_PI * 230 * k * t + 0.7 * k * k);
  return static_cast<float>(x);
}

struct Analysis {
  std::vector<uint8_t> memory, work;
  MoxQmfAnalysisSpec* spec = nullptr;
  float window[320];
  std::vector<Mox32fc> samples = std::vector<Mox32fc>((kHistory + kSlots) * 64);
  Mox32fc* rows[kHistory + kSlots];

  Analysis() {
    int32_t bytes = 0, initBytes = 0, workBytes = 0;
    moxsAnalysisFilterGetSize_SBR_RToC_32f32fc(&bytes, &initBytes, &workBytes);
    memory.resize(static_cast<size_t>(bytes));
    work.resize(static_cast<size_t>(initBytes + workBytes + 1));
    moxsAnalysisFilterInit_SBR_RToC_32f32fc(&spec, memory.data(), work.data());
    for (int m = 0; m < 320; ++m) window[m] = static_cast<float>(moxSbrQmfPrototype[2 * m]);
    for (int l = 0; l < kHistory + kSlots; ++l) rows[l] = &samples[64 * static_cast<size_t>(l)];
  }

  // The next frame's samples behind the last slots of the frame before.
  bool add(const float* in) {
    for (int l = 0; l < kHistory; ++l) std::swap(rows[l], rows[kSlots + l]);
    return moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(in, rows, window, kSlots, kHistory, 32, spec,
                                                   work.data()) == moxStatusOk;
  }

  double energy(int band) const {
    double sum = 0;
    for (int l = kHistory; l < kHistory + kSlots; ++l)
      sum += rows[l][band].re * rows[l][band].re + rows[l][band].im * rows[l][band].im;
    return sum / kSlots;
  }
};

// Copies the source bands up: each sample less what the two before it, weighted by 0.7 and 0.49, foretell.
bool replicate(Analysis& low) {
  Mox32fc alpha0[32], alpha1[32];
  if (moxsPredictCoef_SBR_C_32fc_D2L(low.rows, alpha0, alpha1, 32, kSlots) != moxStatusOk) return false;
  for (int l = kHistory; l < kHistory + kSlots; ++l)
    for (int k = kFrom; k < kFrom + kBands; ++k) {
      const Mox32fc x0 = low.rows[l][k], x1 = low.rows[l - 1][k], x2 = low.rows[l - 2][k];
      const Mox32fc a = alpha0[k], b = alpha1[k];
      low.rows[l][k + kUp] = {
          x0.re + 0.7f * (a.re * x1.re - a.im * x1.im) + 0.49f * (b.re * x2.re - b.im * x2.im),
          x0.im + 0.7f * (a.re * x1.im + a.im * x1.re) + 0.49f * (b.re * x2.im + b.im * x2.re)};
    }
  return true;
}

}  // namespace

int main() {
  Analysis low, original, result;  // at 24 kHz (375 Hz a band), and twice at 48 kHz (750 Hz a band)
  int32_t bytes = 0, initBytes = 0, workBytes = 0;
  moxsSynthesisFilterGetSize_SBR_CToR_32fc32f(&bytes, &initBytes, &workBytes);
  std::vector<uint8_t> memory(static_cast<size_t>(bytes)),
      work(static_cast<size_t>(initBytes + workBytes + 1));
  MoxQmfSynthesisSpec* synthesis = nullptr;
  if (moxsSynthesisFilterInit_SBR_CToR_32fc32f(&synthesis, memory.data(), work.data()) != moxStatusOk)
    return 1;

  const std::vector<float> prototype(std::begin(moxSbrQmfPrototype), std::end(moxSbrQmfPrototype));
  double deviation = 0;
  int count = 0;
  for (int frame = 0; frame < kFrames; ++frame) {
    float narrow[32 * kSlots], wide[2][32 * kSlots], out[2 * 32 * kSlots];
    double target[kBands / 2] = {}, met[kBands / 2] = {};
    for (int i = 0; i < 32 * kSlots; ++i) narrow[i] = voice((frame * 32 * kSlots + i) / 24000.0, 11900);
    for (int half = 0; half < 2; ++half) {
      for (int i = 0; i < 32 * kSlots; ++i)
        wide[half][i] = voice(((2 * frame + half) * 32 * kSlots + i) / 48000.0, 18000);
      if (!original.add(wide[half])) return 1;
      for (int e = 0; e < kBands / 2; ++e) target[e] += original.energy(16 + e);
    }
    if (!low.add(narrow) || !replicate(low)) return 1;

    // Two bands here are one of the original, with slots half as long: the energies add up.
    for (int e = 0; e < kBands / 2; ++e) {
      const int k = kFrom + kUp + 2 * e;
      const auto gain =
          static_cast<float>(std::sqrt(target[e] / 2 / (low.energy(k) + low.energy(k + 1) + 1e-12)));
      for (int l = kHistory; l < kHistory + kSlots; ++l)
        for (int b = k; b < k + 2; ++b) low.rows[l][b].re *= gain, low.rows[l][b].im *= gain;
    }
    if (moxsSynthesisFilter_SBR_CToR_32fc32f_D2L(low.rows + kHistory, out, prototype.data(), kSlots,
                                                 synthesis, work.data()) != moxStatusOk)
      return 1;
    for (int half = 0; half < 2; ++half) {
      if (!result.add(out + 32 * kSlots * half)) return 1;
      for (int e = 0; e < kBands / 2; ++e) met[e] += result.energy(16 + e);
    }
    for (int e = 0; frame > 1 && e < kBands / 2; ++e, ++count)
      deviation += std::fabs(10 * std::log10((met[e] + 1e-12) / (target[e] + 1e-12)));
  }
  std::printf("12 to 18 kHz: levels off by %.2f dB on average\n", deviation / count);
  return deviation / count < 2 ? 0 : 1;
}
