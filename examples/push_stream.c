/* Decodes standard input as it comes, in pieces of any size: curl -s RADIO | push_stream | aplay -f cd */
#include <moxcodec.h>
#include <stdio.h>

/* Writes all samples that are there; the status says what is wanted next. */
static moxcStatus drain(MoxcDecoder* decoder, MoxcFormat* format) {
  int16_t samples[4096];
  size_t frames = 0;
  moxcStatus status;
  while ((status = moxcDecoderRead_16s(decoder, samples, 4096 / (size_t)format->channels, &frames)) >= 0) {
    if (status == moxcStatusFormat)
      moxcDecoderGetFormat(decoder, format);
    else if (status != moxcStatusOk)
      return status;
    else if (fwrite(samples, 2 * (size_t)format->channels, frames, stdout) != frames)
      return moxcStatusEnd;
  }
  fprintf(stderr, "standard input: %s\n", moxcDecoderGetMessage(decoder));
  return status;
}

int main(void) {
  MoxcDecoder* decoder = NULL;
  MoxcFormat format = {0, 1, 0};
  uint8_t bytes[512];
  size_t count, taken;
  moxcStatus status = moxcDecoderCreate(&decoder, NULL);

  while (status >= 0 && status != moxcStatusEnd && (count = fread(bytes, 1, sizeof bytes, stdin)) > 0) {
    const uint8_t* rest = bytes;
    for (; count > 0 && status >= 0 && status != moxcStatusEnd; rest += taken, count -= taken) {
      moxcDecoderFeed(decoder, rest, count, &taken);
      status = drain(decoder, &format);
    }
  }
  if (status == moxcStatusNeedMore) {
    moxcDecoderEnd(decoder);
    status = drain(decoder, &format);
  }
  moxcDecoderFree(decoder);
  return status == moxcStatusEnd ? 0 : 1;
}
