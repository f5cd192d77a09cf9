/* What psychoacoustic model two hears: prints the energy and the masking threshold of every scale-factor band for a
 * tone in quiet noise, then the block types around a click. */
#include <math.h>
#include <moxac.h>
#include <stdio.h>
#include <stdlib.h>

enum { kGranule = 576, kRate = 44100 };

/* A tone of 1 kHz, 12 dB below full scale, over noise of a few units; a click at the start of granule 20. */
static int16_t sample(int n) {
  const double tone = 8192 * sin(6.283185307179586 * 1000 * n / kRate);
  const double noise = 40.0 * rand() / RAND_MAX - 20;
  const double click = n >= 20 * kGranule && n < 20 * kGranule + 40 ? 20000 : 0;
  return (int16_t)lrint(tone + noise + click);
}

int main(void) {
  static const int kFirstLines[22] = {0,  4,  8,  12,  16,  20,  24,  30,  36,  44,  52,
                                      62, 74, 90, 110, 134, 162, 196, 238, 288, 342, 418};
  const MoxMp3FrameHeader header = {.id = 1, .layer = 1, .samplingFreq = 0, .mode = 3};
  const MoxMp3EncoderParameters parameters = MOX_MP3_ENCODER_ANNEX;
  static MoxMp3PsychoacousticModelTwoState state; /* all zero at the start */
  MoxMp3PsychoacousticModelTwoAnalysis psy;
  int16_t pcm[kGranule];
  char types[24 + 1] = {0};
  int good = 1;

  for (int g = 0; g < 24; ++g) {
    for (int i = 0; i < kGranule; ++i) pcm[i] = sample(kGranule * g + i);
    if (moxsPsychoacousticModelTwo_MP3_16s(pcm, &psy, &header, &parameters, &state) != moxStatusOk) return 1;
    if (g > 0) types[g - 1] = "-/S\\"[psy.blockType]; /* the records are of the granule before */
    if (g != 12) continue;

    printf("band  from Hz  energy dB  threshold dB  signal to mask dB\n");
    double masked = 0, tone = 0;
    for (int b = 0; b < 21; ++b) {
      const double energy = 10 * log10(psy.energyLong[b] + 1e-9),
                   threshold = 10 * log10(psy.thresholdLong[b]);
      printf("%4d  %7d  %9.1f  %12.1f  %17.1f\n", b, kFirstLines[b] * kRate / 1152, energy, threshold,
             energy - threshold);
      if (b == 6)
        tone = energy -
               threshold; /* 919 to 1148 Hz: the tone, which noise 17 dB and more below it may hide in */
      if (b == 7) masked = energy - threshold; /* the band above lies in the tone's shadow */
    }
    printf("perceptual entropy %.0f bits\n\n", psy.perceptualEntropy);
    good = tone > 10 && masked < 0;
  }
  printf("block types, - long, / start, S short, \\ stop:\n%s\n", types);
  return good && types[19] == '/' && types[20] == 'S' ? 0 : 1;
}
