/* Decodes an MP3 file (MPEG-1 and MPEG-2 Layer III) to a 16-bit WAV file: frames, bit reservoir, spectra, samples.
 *
 * usage: mp3_decode IN.mp3 OUT.wav */
#include <moxac.h>
#include <moxac/tables.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { kLines = 576, kSlots = 18, kBands = 32, kReservoir = 511, kMaxFrame = 1441 };

typedef struct Channel { /* kept from granule to granule; silence is all zero */
  int32_t overlap[kLines], imdcts, history[512], position;
} Channel;

typedef struct Decoder {
  MoxMp3FrameHeader header;
  int32_t rate, channels, granules, frameBytes;
  uint8_t
      main[kReservoir + kMaxFrame + 1536]; /* the last 511 bytes of main data, the frame's, room to overrun */
  int32_t held;                            /* bytes in it */
  int8_t scaleFactors[2][39];              /* granule 1 may repeat those of granule 0 */
  Channel channel[2];
} Decoder;

/* Looks for a header at p. */
static int openFrame(Decoder* d, const uint8_t* p) {
  const MoxMp3FrameHeader* const h = &d->header;
  if (p[0] != 0xFF || (p[1] & 0xF6) != 0xF2) return 0; /* twelve ones, any id, Layer III */
  moxsUnpackFrameHeader_MP3(&p, &d->header);
  if (h->bitRateIndex == 0 || h->bitRateIndex == 15 || h->samplingFreq == 3) return 0;
  d->rate = moxMp3SampleRates[h->id][h->samplingFreq];
  d->channels = h->mode == 3 ? 1 : 2;
  d->granules = 1 + h->id;
  d->frameBytes = 72000 * d->granules * moxMp3BitRates[h->id][h->bitRateIndex] / d->rate + h->paddingBit;
  if (h->mode != 1) d->header.modeExt = 0;
  return 1;
}

/* Scale factors and quantised lines of one granule of one channel; *pBit is where in the main data it begins. */
static moxStatus readSpectrum(Decoder* d, MoxMp3SideInfo* side, const int32_t* scfsi, int g, int ch,
                              int32_t* pBit, int32_t* lines, int32_t* bound) {
  const uint8_t* p = d->main + *pBit / 8;
  int32_t offset = *pBit % 8, start = *pBit;
  *pBit += side->part23Len;
  if (*pBit > 8 * d->held) return moxStatusBadData;
  if (side->winSwitch == 0 && side->reg0Cnt + side->reg1Cnt > 20) side->reg1Cnt = 20 - side->reg0Cnt;
  moxStatus status =
      moxsUnpackScaleFactors_MP3_1u8s(&p, &offset, d->scaleFactors[ch], side, scfsi, &d->header, g, ch);
  if (status != moxStatusOk) return status;
  const int32_t used = (int32_t)(p - d->main) * 8 + offset - start;
  return moxsHuffmanDecode_MP3_1u32s(&p, &offset, lines, bound, side, &d->header, side->part23Len - used);
}

/* One frame to interleaved samples. A frame whose data are damaged or not there leaves pcm as it is. */
static moxStatus decodeFrame(Decoder* d, const uint8_t* frame, int16_t* pcm) {
  MoxMp3SideInfo side[4];
  int32_t mainDataBegin, privateBits, scfsi[8];
  const uint8_t* p = frame + (d->header.protectionBit ? 4 : 6);
  const moxStatus status = moxsUnpackSideInfo_MP3(&p, side, &mainDataBegin, &privateBits, scfsi, &d->header);
  const int32_t own = d->frameBytes - (int32_t)(p - frame);
  if (status != moxStatusOk || own < 0) return moxStatusBadData;

  /* Main data begin that many bytes before this frame's own: drop what is older. */
  const int32_t kept = mainDataBegin < d->held ? mainDataBegin : d->held;
  memmove(d->main, d->main + d->held - kept, (size_t)kept);
  memcpy(d->main + kept, p, (size_t)own);
  d->held = kept + own;
  if (kept < mainDataBegin) return moxStatusBadData; /* the stream was joined in its middle */

  int32_t bit = 0;
  for (int g = 0; g < d->granules; ++g) {
    int32_t lines[2 * kLines], bound[2], work[kLines], slots[kSlots * kBands];
    MoxMp3SideInfo* const now = side + g * d->channels;
    for (int ch = 0; ch < d->channels; ++ch)
      if (readSpectrum(d, now + ch, scfsi + 4 * ch, g, ch, &bit, lines + kLines * ch, bound + ch) !=
          moxStatusOk)
        return moxStatusBadData;
    if (moxsReQuantize_MP3_32s_I(lines, bound, d->scaleFactors[0], now, &d->header, work) != moxStatusOk)
      return moxStatusBadData;
    for (int ch = 0; ch < d->channels; ++ch) {
      Channel* const c = &d->channel[ch];
      moxsMDCTInv_MP3_32s(lines + kLines * ch, slots, c->overlap, bound[ch], &c->imdcts, now[ch].blockType,
                          now[ch].mixedBlock);
      int16_t* out = pcm + kLines * g * d->channels + ch;
      for (int t = 0; t < kSlots; ++t, out += kBands * d->channels)
        moxsSynthPQMF_MP3_32s16s(slots + kBands * t, out, c->history, &c->position, d->channels);
    }
  }
  return moxStatusOk;
}

int main(int argc, char** argv) {
  static Decoder d;
  static uint8_t in[64 << 20]; /* zeros behind the file: parsers look a few bytes ahead */
  FILE* file = argc == 3 ? fopen(argv[1], "rb") : NULL;
  if (file == NULL) return fprintf(stderr, "usage: mp3_decode IN.mp3 OUT.wav\n"), 2;
  const size_t size = fread(in, 1, sizeof in - 64, file);
  if (fclose(file) != 0 || (file = fopen(argv[2], "wb")) == NULL) return perror(argv[2]), 1;

  uint32_t wav[11] = {0x46464952, 0, 0x45564157, 0x20746D66, 16, 1, 0, 0, 16 << 16, 0x61746164, 0}, lost = 0;
  fwrite(wav, 1, sizeof wav, file);
  for (size_t at = 0; at + 4 <= size;) {
    const int found = openFrame(&d, in + at) && at + (size_t)d.frameBytes <= size;
    const size_t bytes = found ? (size_t)(2 * d.channels * d.granules * kLines) : 0;
    int16_t pcm[2 * 2 * kLines] = {0};
    lost += found && decodeFrame(&d, in + at, pcm) != moxStatusOk;
    wav[10] += (uint32_t)fwrite(pcm, 1, bytes, file);
    if (found) wav[5] = 1 | (uint32_t)d.channels << 16, wav[6] = (uint32_t)d.rate;
    at += found ? (size_t)d.frameBytes : 1;
  }
  wav[8] |= 2 * (wav[5] >> 16), wav[7] = wav[6] * (wav[8] & 0xFFFF), wav[1] = wav[10] + 36;
  rewind(file);
  fwrite(wav, 1, sizeof wav, file);
  printf("%u bytes of samples at %u Hz, %u frames lost\n", wav[10], wav[6], lost);
  return fclose(file) == 0 && wav[10] > 0 ? 0 : 1;
}
