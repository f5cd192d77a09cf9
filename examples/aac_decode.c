/* Decodes AAC LC in ADTS frames, one or two channels without noise substitution, to a 16-bit WAV file.
 *
 * usage: aac_decode IN.aac OUT.wav */
#include <moxac/extras.h>
#include <moxac/tables.h>
#include <stdio.h>

#define TRY(call) \
  for (moxStatus status_; (status_ = (call)) != moxStatusOk;) return status_
enum { kSce, kCpe, kCce, kLfe, kDse, kPce, kFil, kEnd }; /* what the three bits before an element say */

typedef struct Channel {
  MoxAacIcsInfo ics;
  MoxAacChanStream stream;
  int16_t scaleFactor[120];
  uint8_t sfbCb[120];
  int8_t tnsCoef[60];
  int32_t spectrum[1024], overlap[1024], previousShape;
} Channel;

typedef struct Decoder {
  MoxAacADTSFrameHeader header;
  MoxAacChanPairElt pair;
  Channel channel[2];
} Decoder;

/* One channel's codes, dequantised. */
static moxStatus readChannel(Decoder* d, Channel* c, const uint8_t** p, int32_t* bit) {
  c->stream.samplingRateIndex = d->header.samplingRateIndex;
  c->stream.pIcsInfo = &c->ics;
  TRY(moxsNoiselessDecoder_LC_AAC(p, bit, d->pair.commonWindow, &c->stream, c->scaleFactor, c->spectrum,
                                  c->sfbCb, c->tnsCoef));
  return moxsQuantInv_AAC_32s_I(c->spectrum, c->scaleFactor, c->ics.numWindowGroups, c->ics.windowGroupLen,
                                c->ics.maxSfb, c->sfbCb, d->header.samplingRateIndex, c->stream.windowLen);
}

/* Mid/side, then intensity; each looks for the bands that concern it. */
static moxStatus stereo(const MoxAacChanPairElt* pair, Channel* l, Channel* r) {
  const int32_t groups = r->ics.numWindowGroups, *lens = r->ics.windowGroupLen, maxSfb = r->ics.maxSfb;
  const int32_t rate = r->stream.samplingRateIndex, len = r->stream.windowLen;
  if (pair->commonWindow && pair->msMaskPresent)
    TRY(moxsDecodeMsStereo_AAC_32s_I(l->spectrum, r->spectrum, pair->msMaskPresent, pair->msUsed[0], r->sfbCb,
                                     groups, lens, maxSfb, rate, len));
  return moxsDecodeIsStereo_AAC_32s(l->spectrum, r->spectrum, r->scaleFactor, r->sfbCb, groups, lens, maxSfb,
                                    rate, len);
}

/* Window order, temporal noise shaping, inverse transform. */
static moxStatus synthesise(Channel* c, int16_t* pcm, int32_t stride) {
  MoxAacChanStream* const s = &c->stream;
  const int32_t rate = s->samplingRateIndex, len = s->windowLen, previousShape = c->previousShape;
  int32_t lines[1024], work[MOX_AAC_MDCT_BUFFER_WORDS];
  TRY(moxsDeinterleaveSpectrum_AAC_32s(c->spectrum, lines, c->ics.numWindowGroups, c->ics.windowGroupLen,
                                       rate, len));
  if (s->tnsDataPresent) {
    for (int w = 0, f = 0; w < s->numWindows; ++w) /* filters may reach below line 0, where they end */
      for (int i = 0, left = s->numSwb; i < s->nFilt[w]; left -= s->length[f++], ++i)
        if (s->length[f] > left) s->length[f] = left;
    TRY(moxsDecodeTNS_AAC_32s_I(lines, s->nFilt, s->length, s->order, s->coefRes, c->tnsCoef, s->direction,
                                c->ics.maxSfb, 0, rate, len));
  }
  c->previousShape = c->ics.windowShape;
  return moxsMDCTInv_AAC_32s16s(lines, pcm, c->overlap, c->ics.windowSequence, c->ics.windowShape,
                                previousShape, stride, work);
}

/* The elements of one block to 1024 samples of each channel. Damage leaves pcm as it is. */
static moxStatus decodeBlock(Decoder* d, const uint8_t* p, const uint8_t* end, int16_t* pcm) {
  int32_t bit = 0, tag, count;
  uint8_t bytes[510];
  while (p < end) {
    const uint32_t id = moxReadBits(&p, &bit, 3);
    const int32_t channels = id == kCpe ? 2 : 1;
    if (id <= kCpe && channels == d->header.channelConfig) {
      moxReadBits(&p, &bit, 4); /* the element's tag */
      Channel* const c = d->channel;
      d->pair.commonWindow = 0;
      if (id == kCpe) TRY(moxsDecodeChanPairElt_AAC(&p, &bit, &c->ics, &d->pair, 0));
      if (d->pair.commonWindow) c[1].ics = c->ics;
      for (int ch = 0; ch < channels; ++ch) TRY(readChannel(d, c + ch, &p, &bit));
      if (id == kCpe) TRY(stereo(&d->pair, c, c + 1));
      for (int ch = 0; ch < channels; ++ch) TRY(synthesise(c + ch, pcm + ch, channels));
    } else if (id == kDse) {
      TRY(moxsDecodeDatStrElt_AAC(&p, &bit, &tag, &count, bytes));
    } else if (id == kFil) {
      TRY(moxsDecodeFillElt_AAC(&p, &bit, &count, bytes));
    } else {
      return id == kEnd ? moxStatusOk : moxStatusBadData;
    }
  }
  return moxStatusBadData;
}

int main(int argc, char** argv) {
  static Decoder d;
  static uint8_t in[64 << 20]; /* a channel may run past its end by less than 4608 bytes before it is told */
  FILE* file = argc == 3 ? fopen(argv[1], "rb") : NULL;
  if (file == NULL) return fprintf(stderr, "usage: aac_decode IN.aac OUT.wav\n"), 2;
  const size_t size = fread(in, 1, sizeof in - 8192, file);
  if (fclose(file) != 0 || (file = fopen(argv[2], "wb")) == NULL) return perror(argv[2]), 1;

  uint32_t wav[11] = {0x46464952, 0, 0x45564157, 0x20746D66, 16, 1, 0, 0, 16 << 16, 0x61746164, 0}, lost = 0;
  fwrite(wav, 1, sizeof wav, file);
  for (size_t at = 0; at + 7 <= size; at += (size_t)d.header.frameLen) {
    const uint8_t* p = in + at;
    int16_t pcm[2 * 1024] = {0};
    moxsUnpackADTSFrameHeader_AAC(&p, &d.header);
    const size_t channels = (size_t)d.header.channelConfig, frame = (size_t)d.header.frameLen;
    if (in[at] != 0xFF || frame < 7 || d.header.samplingRateIndex > 11 || channels < 1 || channels > 2) break;
    lost += at + frame > size || decodeBlock(&d, p, in + at + frame, pcm) != moxStatusOk;
    wav[6] = (uint32_t)moxAacSampleRates[d.header.samplingRateIndex];
    wav[5] = 1 | (uint32_t)channels << 16;
    wav[10] += (uint32_t)fwrite(pcm, 1, 2048 * channels, file);
  }
  wav[8] |= 2 * (wav[5] >> 16), wav[7] = wav[6] * (wav[8] & 0xFFFF), wav[1] = wav[10] + 36;
  rewind(file);
  fwrite(wav, 1, sizeof wav, file);
  printf("%u bytes of samples at %u Hz, %u frames lost\n", wav[10], wav[6], lost);
  return fclose(file) == 0 && wav[10] > 0 ? 0 : 1;
}
