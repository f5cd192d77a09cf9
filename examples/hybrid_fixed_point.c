/* The fixed-point filter banks with parametric stereo's hybrid analysis between them: 32-bit samples to sub-bands, the
 * lowest three of which are split into ten and put together again, and back. Prints how well the signal came through. */
#include <math.h>
#include <moxac.h>
#include <stdio.h>

enum {
  kBands = 32,
  kSlots = 96,
  kSamples = kBands * kSlots,
  kSplit = 3,
  kHybridDelay = 6,
  kDelay = 289 + 32 * kHybridDelay
};

int main(void) {
  static int32_t in[kSamples], out[kSamples];
  static Mox32sc words[kSlots][kBands];
  static Mox32fc low[moxPsHistorySlots + kSlots][kSplit], hybrid[kSlots][moxPsSubBands20];
  const Mox32fc* source[moxPsHistorySlots + kSlots];
  Mox32fc* target[kSlots];

  /* 1. A sweep at half of full scale, in Q31, to sub-bands of MOX_SBR_FIXED_SHIFT fraction bits less. */
  for (int n = 0; n < kSamples; ++n) in[n] = (int32_t)lrint(0x1p30 * sin(3e-4 * n * n));
  MoxQmfFixedAnalysisState* analysis = NULL;
  MoxQmfFixedSynthesisState* synthesis = NULL;
  if (moxsAnalysisFilterInitAlloc_SBRHQ_32s32sc(&analysis) != moxStatusOk ||
      moxsSynthesisDownFilterInitAlloc_SBRHQ_32sc32s(&synthesis) != moxStatusOk ||
      moxsAnalysisFilter_SBRHQ_32s32sc(in, words[0], kSlots, kBands, analysis) != moxStatusOk)
    return 1;

  /* 2. The lowest bands as floats, behind twelve silent slots of history; their ten hybrid bands. */
  for (int l = 0; l < moxPsHistorySlots + kSlots; ++l) {
    source[l] = low[l];
    for (int k = 0; l >= moxPsHistorySlots && k < kSplit; ++k) {
      const Mox32sc w = words[l - moxPsHistorySlots][k];
      low[l][k] = (Mox32fc){(float)w.re, (float)w.im};
    }
  }
  for (int l = 0; l < kSlots; ++l) target[l] = hybrid[l];
  if (moxsAnalysisFilter_PS_32fc_D2(source, target, kSlots, 20) != moxStatusOk) return 1;

  /* 3. Parts of a band add up to the band six slots ago; the other bands wait for them. Last slots first, in place. */
  const int parts[kSplit] = {6, 2, 2};
  for (int l = kSlots - 1; l >= 0; --l)
    for (int k = 0, part = 0; k < kBands; ++k) {
      Mox32fc sum = {0, 0};
      for (int i = 0; k < kSplit && i < parts[k]; ++i, ++part) {
        sum.re += hybrid[l][part].re;
        sum.im += hybrid[l][part].im;
      }
      if (k < kSplit)
        words[l][k] = (Mox32sc){(int32_t)lrintf(sum.re), (int32_t)lrintf(sum.im)};
      else
        words[l][k] = l < kHybridDelay ? (Mox32sc){0, 0} : words[l - kHybridDelay][k];
    }
  if (moxsSynthesisDownFilter_SBRHQ_32sc32s(words[0], out, kSlots, synthesis) != moxStatusOk) return 1;

  double signal = 0, error = 0;
  for (int n = kDelay; n < kSamples; ++n) {
    signal += (double)in[n - kDelay] * in[n - kDelay];
    error += pow((double)out[n] - in[n - kDelay], 2);
  }
  const double decibels = 10 * log10(signal / error);
  printf("delay %d samples, signal to error %.1f dB\n", kDelay, decibels);
  const moxStatus freed =
      moxsAnalysisFilterFree_SBRHQ_32s32sc(analysis) | moxsSynthesisDownFilterFree_SBRHQ_32sc32s(synthesis);
  return freed == moxStatusOk && decibels > 55 ? 0 : 1;
}
