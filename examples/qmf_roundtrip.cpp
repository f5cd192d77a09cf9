// Doubles a signal's sampling rate with the SBR filter banks: 32-band analysis at 24 kHz, 64-band synthesis
// at 48 kHz with the upper half of the bands empty. Prints how well the signal came through.
#include <cmath>
#include <cstdio>
#include <vector>

#include "moxac.h"
#include "moxac/tables.h"

namespace {

constexpr int kFrameSlots = 32;  // 1024 samples in, 2048 out
constexpr int kDelay = 578;      // output samples

// The four notes of a chord at time t, in seconds.
double chord(double t) {
  const double notes[] = {220.0, 277.18, 329.63, 2217.46};
  double x = 0;
  for (const double hertz : notes) x += 0.2 * std::sin(2 * M_PI * hertz * t);
  return x;
}

// 1. Ask for the sizes, and give the bank memory; it needs no Free.
struct Banks {
  std::vector<uint8_t> analysisMemory, synthesisMemory, work;
  MoxQmfAnalysisSpec* analysis = nullptr;
  MoxQmfSynthesisSpec* synthesis = nullptr;

  bool create() {
    int32_t bytes = 0, initBytes = 0, workBytes = 0;
    if (moxsAnalysisFilterGetSize_SBR_RToC_32f32fc(&bytes, &initBytes, &workBytes) != moxStatusOk)
      return false;
    analysisMemory.resize(static_cast<size_t>(bytes));
    std::vector<uint8_t> init(static_cast<size_t>(initBytes));
    work.resize(static_cast<size_t>(workBytes));
    if (moxsAnalysisFilterInit_SBR_RToC_32f32fc(&analysis, analysisMemory.data(), init.data()) != moxStatusOk)
      return false;

    if (moxsSynthesisFilterGetSize_SBR_CToR_32fc32f(&bytes, &initBytes, &workBytes) != moxStatusOk)
      return false;
    synthesisMemory.resize(static_cast<size_t>(bytes));
    init.resize(static_cast<size_t>(initBytes));
    if (workBytes > static_cast<int32_t>(work.size())) work.resize(static_cast<size_t>(workBytes));
    return moxsSynthesisFilterInit_SBR_CToR_32fc32f(&synthesis, synthesisMemory.data(), init.data()) ==
           moxStatusOk;
  }
};

}  // namespace

int main() {
  Banks banks;
  if (!banks.create()) return std::fprintf(stderr, "the banks could not be built\n"), 1;

  // 2. The windows are the caller's: the standard's prototype, every second value of it for 32 bands.
  float prototype[640], halfPrototype[320];
  for (int m = 0; m < 640; ++m) prototype[m] = static_cast<float>(moxSbrQmfPrototype[m]);
  for (int m = 0; m < 320; ++m) halfPrototype[m] = prototype[2 * m];

  // 3. One row of sub-band samples for each time slot. Synthesis reads 64 of them; the upper 32 stay 0.
  std::vector<Mox32fc> samples(kFrameSlots * 64);
  Mox32fc* rows[kFrameSlots];
  for (int l = 0; l < kFrameSlots; ++l) rows[l] = samples.data() + 64 * l;

  // 4. Frame after frame; the banks remember what overlaps.
  double signal = 0, error = 0;
  for (int frame = 0; frame < 24; ++frame) {
    float in[kFrameSlots * 32], out[kFrameSlots * 64];
    for (int i = 0; i < kFrameSlots * 32; ++i)
      in[i] = static_cast<float>(chord((frame * kFrameSlots * 32 + i) / 24000.0));
    moxStatus status = moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(in, rows, halfPrototype, kFrameSlots, 0, 32,
                                                               banks.analysis, banks.work.data());
    if (status == moxStatusOk)
      status = moxsSynthesisFilter_SBR_CToR_32fc32f_D2L(rows, out, prototype, kFrameSlots, banks.synthesis,
                                                        banks.work.data());
    if (status != moxStatusOk) return std::fprintf(stderr, "the banks return %d\n", status), 1;

    for (int i = 0; frame > 0 && i < kFrameSlots * 64; ++i) {
      const double want = chord((frame * kFrameSlots * 64 + i - kDelay) / 48000.0);
      signal += want * want;
      error += (out[i] - want) * (out[i] - want);
    }
  }
  const double decibels = 10 * std::log10(signal / error);
  std::printf("one second of a chord, 24 kHz to 48 kHz: delay %d samples, signal to error %.1f dB\n", kDelay,
              decibels);
  return decibels > 58.5 ? 0 : 1;
}
