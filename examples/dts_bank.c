/* The DTS synthesis bank and its mirror: the bank's 32 impulse responses, reversed in time, are the encoder's analysis
 * filters. Analyses a sweep with them, synthesises it again and prints gain, delay and what is left as error. */
#include <math.h>
#include <moxac.h>
#include <stdio.h>

enum { kBands = 32, kTaps = 512, kSlots = 256, kSamples = kBands * kSlots, kDelay = 480, kGain = 32 };

int main(void) {
  static float response[kBands][kTaps], input[kTaps], samples[kSamples], bands[kSamples], out[kSamples];
  MoxDtsSynthesisState* state = NULL;
  if (moxsSynthesisFilterInitAlloc_DTS_32f(&state) != moxStatusOk) return 1;
  int good = 1;
  for (int32_t filter = moxDtsNonPerfect; filter <= moxDtsPerfect; ++filter) {
    /* 1. One sample in one band, then silence: the band's response, 16 slots long. Init forgets the band before. */
    for (int k = 0; k < kBands; ++k) {
      input[k] = 1;
      moxsSynthesisFilterInit_DTS_32f(state);
      if (moxsSynthesisFilter_DTS_32f(input, response[k], kTaps / kBands, filter, state) != moxStatusOk)
        return 1;
      input[k] = 0;
    }

    /* 2. The analysis: each band's response reversed, at every 32nd sample. */
    for (int n = 0; n < kSamples; ++n) samples[n] = 0.5f * (float)sin(1.3e-4 * n * n);
    for (int t = 0; t < kSlots; ++t)
      for (int k = 0; k < kBands; ++k) {
        double sum = 0;
        for (int i = 0; i < kTaps; ++i) {
          const int n = kBands * t + kBands - 1 - i; /* the slot's newest sample first */
          if (n >= 0) sum += response[k][kTaps - 1 - i] * samples[n];
        }
        bands[kBands * t + k] = (float)sum;
      }

    /* 3. Back, in two calls that give what one would. */
    const int32_t half = kSlots / 2;
    moxsSynthesisFilterInit_DTS_32f(state);
    if (moxsSynthesisFilter_DTS_32f(bands, out, half, filter, state) != moxStatusOk ||
        moxsSynthesisFilter_DTS_32f(bands + kBands * half, out + kBands * half, half, filter, state) !=
            moxStatusOk)
      return 1;

    double signal = 0, error = 0;
    for (int n = kTaps; n < kSamples; ++n) {
      const double want = kGain * samples[n - kDelay];
      signal += want * want;
      error += (out[n] - want) * (out[n] - want);
    }
    const double decibels = 10 * log10(signal / error);
    printf("%-11s reconstruction: gain %d, delay %d samples, signal to error %.1f dB\n",
           filter == moxDtsPerfect ? "perfect" : "non-perfect", kGain, kDelay, decibels);
    good = good && decibels > 60;
  }
  return moxsSynthesisFilterFree_DTS_32f(state) == moxStatusOk && good ? 0 : 1;
}
