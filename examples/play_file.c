/* Plays a file of MP3 or AAC to standard output, as 16-bit samples: play_file song.mp3 | aplay -f cd */
#include <inttypes.h>
#include <moxcodec.h>
#include <stdio.h>

int main(int argc, char** argv) {
  MoxcDecoder* decoder = NULL;
  int16_t samples[4096];
  size_t frames = 0;
  MoxcFormat format = {0, 1, 0};
  moxcStatus status;

  if (argc != 2) {
    fprintf(stderr, "usage: play_file FILE\n");
    return 2;
  }
  status = moxcDecoderOpenFile(&decoder, argv[1], NULL);
  if (status != moxcStatusOk) {
    const char* message = moxcDecoderGetMessage(decoder);
    fprintf(stderr, "%s: %s\n", argv[1], *message != 0 ? message : moxcStatusText(status));
    moxcDecoderFree(decoder);
    return 1;
  }

  while ((status = moxcDecoderRead_16s(decoder, samples, 4096 / (size_t)format.channels, &frames)) >= 0) {
    if (status == moxcStatusEnd) break;
    if (status == moxcStatusFormat) { /* in front of the first sample, and wherever it changes */
      moxcDecoderGetFormat(decoder, &format);
      fprintf(stderr, "%" PRId32 " Hz, %" PRId32 " channels\n", format.rate, format.channels);
      continue;
    }
    if (fwrite(samples, 2 * (size_t)format.channels, frames, stdout) != frames) break;
  }
  moxcDecoderFree(decoder);
  return status == moxcStatusEnd ? 0 : 1;
}
