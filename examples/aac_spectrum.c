/* Prints the coded spectrum of an AAC LC stream of one channel (ADTS): one row of 64 columns a frame, low frequencies
 * first, a character for every 15 dB, then how the strongest frame was coded, band by band.
 *
 * usage: aac_spectrum IN.aac */
#include <moxac/extras.h>
#include <stdio.h>

enum { kSce = 0, kFil = 6, kLc = 2, kColumns = 64 };

typedef struct Channel {
  MoxAacIcsInfo ics;
  MoxAacChanStream stream;
  int16_t scaleFactor[120];
  uint8_t sfbCb[120];
  int8_t tnsCoef[60];
  int32_t spectrum[1024]; /* quantised, then in the format of the spectral tools */
  float energy[1024];     /* in line order, or in window order of eight windows */
} Channel;

/* Reads one block that holds a single channel, up to its dequantised lines. */
static moxStatus readBlock(const uint8_t* p, int32_t rate, uint32_t* noise, Channel* c) {
  static MoxAacMainHeader none;
  static MoxAacLtpInfo ltp;
  int32_t bit = 0, count, lines[1024];
  uint8_t payload[269];
  uint32_t element = moxReadBits(&p, &bit, 3);
  for (; element == kFil; element = moxReadBits(&p, &bit, 3))
    moxsDecodeFillElt_AAC(&p, &bit, &count, payload);
  if (element != kSce) return moxStatusBadData;
  moxReadBits(&p, &bit, 4); /* its tag */
  c->stream = (MoxAacChanStream){.samplingRateIndex = rate, .pIcsInfo = &c->ics};
  moxStatus status = moxsNoiselessDecode_AAC(&p, &bit, &none, c->scaleFactor, c->spectrum, c->sfbCb,
                                             c->tnsCoef, &c->stream, 0, 0, 0, 0, kLc);
  if (status != moxStatusOk) return status;
  const int32_t groups = c->ics.numWindowGroups, *lens = c->ics.windowGroupLen, maxSfb = c->ics.maxSfb;
  const int32_t len = c->stream.windowLen;
  moxSeparateNoiseEnergies(c->scaleFactor, c->sfbCb, groups * maxSfb, c->stream.globalGain);
  status = moxsQuantInv_AAC_32s_I(c->spectrum, c->scaleFactor, groups, lens, maxSfb, c->sfbCb, rate, len);
  if (status == moxStatusOk)
    status = moxsDecodePNS_AAC_32s(c->spectrum, &ltp.longUsedAll, c->sfbCb, c->scaleFactor, maxSfb, groups,
                                   lens, rate, len, noise);
  if (status == moxStatusOk)
    status = moxsDeinterleaveSpectrum_AAC_32s(c->spectrum, lines, groups, lens, rate, len);
  for (int k = 0; k < 1024; ++k) {
    const float line = (float)lines[k] / (1 << MOX_AAC_SPECTRUM_FRAC_BITS);
    c->energy[k] = line * line;
  }
  return status;
}

/* The energies of a frame in columns from 0 Hz to half the sampling rate, all windows of the frame together. */
static float columns(const Channel* c, float* column) {
  float sum = 0;
  for (int i = 0; i < kColumns; ++i) column[i] = 0;
  for (int k = 0; k < 1024; ++k) {
    column[k % c->stream.windowLen * kColumns / c->stream.windowLen] += c->energy[k];
    sum += c->energy[k];
  }
  return sum;
}

int main(int argc, char** argv) {
  static uint8_t in[64 << 20]; /* zeros behind the file, which parsers may run into */
  static Channel channel, loudest;
  FILE* const file = argc == 2 ? fopen(argv[1], "rb") : NULL;
  if (file == NULL) return fprintf(stderr, "usage: aac_spectrum IN.aac\n"), 2;
  const size_t size = fread(in, 1, sizeof in - 8192, file);
  fclose(file);

  float most = 0, column[kColumns], total[kColumns] = {0};
  int frames = 0, loudestFrame = 0;
  uint32_t noise = 1;
  MoxAacADTSFrameHeader header;
  for (size_t at = 0; at + 7 <= size; at += (size_t)header.frameLen) {
    const uint8_t* p = in + at;
    moxsUnpackADTSFrameHeader_AAC(&p, &header);
    if (in[at] != 0xFF || header.frameLen < 7 || at + (size_t)header.frameLen > size) break;
    const moxStatus status = readBlock(p, header.samplingRateIndex, &noise, &channel);
    if (status != moxStatusOk) return fprintf(stderr, "frame %d: %s\n", frames, moxStatusText(status)), 1;
    const float sum = columns(&channel, column);
    if (sum > most) most = sum, loudest = channel, loudestFrame = frames;
    printf("%4d %c ", frames++, "-/S\\"[channel.ics.windowSequence]);
    for (int i = 0; i < kColumns; ++i) {
      const double decibels = 10 * log10(column[i] + 1e-9);
      putchar(" .:-=+*#%@"[decibels < 15 ? 0 : decibels >= 150 ? 9 : (int)(decibels / 15)]);
      total[i] += column[i];
    }
    putchar('\n');
  }
  if (frames == 0) return 1;

  printf("\nframe %d, %d windows of %d lines, global gain %d\n", loudestFrame, loudest.stream.numWindows,
         loudest.stream.windowLen, loudest.stream.globalGain);
  printf("band  code book  scale factor  gain\n");
  for (int b = 0; b < loudest.ics.maxSfb; ++b) {
    float gain; /* 2^((scale factor - 100) / 4), what a quantised value of 1 stands for */
    moxsCalcSF_16s32f(loudest.scaleFactor + b, &gain, 1, 100);
    printf("%4d  %9d  %12d  %g\n", b, loudest.sfbCb[b], loudest.scaleFactor[b],
           loudest.sfbCb[b] >= 1 && loudest.sfbCb[b] <= 11 ? gain : 0);
  }
  int strongest = 0;
  for (int i = 1; i < kColumns; ++i)
    if (total[i] > total[strongest]) strongest = i;
  printf("\n%d frames; most energy in column %d of %d\n", frames, strongest, kColumns);
  return 0;
}
