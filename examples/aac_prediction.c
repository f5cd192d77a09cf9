/* The two predictions of AAC on a steady chord, frame by frame: the Main profile's, which foretells each spectral line
 * from the lines before it, and long-term prediction, which foretells the samples from those one lag ago. Prints how
 * much of the spectrum's energy is left to code. */
#include <math.h>
#include <moxac.h>
#include <stdio.h>

enum { kLines = 1024, kFrames = 24, kLag = 1470, kGain = 16384 }; /* 30 Hz at 44.1 kHz, gain 1 in Q14 */

/* Harmonics of 30 Hz in 16-bit units. */
static double chord(int n) {
  double x = 0;
  for (int k = 4; k < 64; k += 3) x += 900 * cos(6.283185307179586 * k * n / kLag + k * k);
  return x;
}

static double decibels(double left, double energy) { return 10 * log10(left / energy + 1e-12); }

int main(void) {
  static int32_t time[2 * kLines], lines[kLines], prediction[kLines], kept[kLines],
      work[MOX_AAC_MDCT_BUFFER_WORDS];
  static int32_t overlap[kLines], history[MOX_AAC_LTP_HISTORY];
  static float spectrum[kLines], residual[kLines];
  static int16_t pcm[kLines];
  MoxAacLtpInfo ltp = {.ltpDataPresent = 1, .ltpLag = kLag, .ltpCoef = kGain, .longUsedAll = 1};
  for (int b = 0; b < 40; ++b) ltp.longUsed[b] = 1;
  const int32_t bands[2] = {0, kLines};
  const uint8_t used[1] = {1};
  MoxAacFdpState *encoder = NULL, *decoder = NULL;
  if (moxsFDPInitAlloc_32f(&encoder, kLines) != moxStatusOk ||
      moxsFDPInitAlloc_32f(&decoder, kLines) != moxStatusOk)
    return 1;

  double mainLeft = 0, longLeft = 0, error = 0;
  for (int f = 0; f < kFrames; ++f) {
    for (int n = 0; n < 2 * kLines; ++n)
      time[n] = (int32_t)lrint(chord(f * kLines + n) * (1 << MOX_AAC_TIME_FRAC_BITS));
    if (moxsMDCTFwd_AAC_32s(time, lines, 0, 0, 0, work) != moxStatusOk) return 1;
    double energy = 0, left = 0;
    for (int k = 0; k < kLines; ++k) energy += (double)lines[k] * lines[k];

    /* Main profile: the encoder's residual, and what the decoder makes of it. A warning (alignment) is fine. */
    for (int k = 0; k < kLines; ++k) spectrum[k] = (float)lines[k] / (1 << MOX_AAC_SPECTRUM_FRAC_BITS);
    if (moxsFDPFwd_32f(spectrum, residual, encoder) < moxStatusOk) return 1;
    for (int k = 0; k < kLines; ++k) left += 256.0 * residual[k] * residual[k];
    mainLeft = decibels(left, energy);
    if (moxsFDPInv_32f_I(residual, bands, 1, used, decoder) < moxStatusOk) return 1;
    for (int k = 0; k < kLines; ++k)
      error = fmax(error, fabs(residual[k] - spectrum[k]) / sqrt(energy / 256));

    /* Long-term: predict the frame's lines from the history, see what remains, add the prediction again. */
    if (moxsLongTermPredict_AAC_32s(history, prediction, 0, 0, 0, &ltp, work) != moxStatusOk) return 1;
    left = 0;
    for (int k = 0; k < kLines; ++k) {
      kept[k] = lines[k] - prediction[k];
      left += (double)kept[k] * kept[k];
    }
    longLeft = decibels(left, energy);
    if (moxsLongTermReconstruct_AAC_32s(prediction, kept, 0, 40, 4, &ltp, NULL) != moxStatusOk ||
        moxsMDCTInv_AAC_32s16s(lines, pcm, overlap, 0, 0, 0, 1, work) != moxStatusOk ||
        moxsLtpUpdate_AAC_32s(work, overlap, history) != moxStatusOk)
      return 1;
    if (f % 6 == 5)
      printf("frame %2d: left by the Main profile %6.1f dB, by long-term prediction %6.1f dB\n", f, mainLeft,
             longLeft);
  }
  printf("decoder and encoder of the Main profile differ by %.1e of the spectrum\n", error);
  const moxStatus freed = moxsFDPFree_32f(encoder) | moxsFDPFree_32f(decoder);
  return freed == moxStatusOk && mainLeft < -10 && longLeft < -10 && error < 1e-3 ? 0 : 1;
}
