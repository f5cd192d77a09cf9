// Whole MP3 streams decoded from memory to memory, beside other decoders.
#include <cstdio>
#include <cstdlib>

#include "codec/decode_bench.h"

#ifdef HAVE_LIBMPG123
#include <mpg123.h>
#endif
#ifdef HAVE_MAD
#include <mad.h>
#endif

namespace {

using namespace moxbench;

struct Mp3 {
  using Syntax = moxc::mp3::Syntax;
  using Frame = moxtest::Walk<Syntax>::Frame;
  // 128 kbit/s with many short blocks, 128 kbit/s long blocks, 320 kbit/s.
  static constexpr const char* kStreams[] = {"mp3_44100_joint128_short.mp3", "mp3_44100_shine128.mp3",
                                             "mp3_44100_stereo320.mp3"};
  static int64_t samples(const Frame& frame) { return frame.header.samples(); }
  static int32_t rate(const Frame& frame) { return frame.header.rate; }
};

#ifdef HAVE_LIBMPG123
void benchMpg123(benchmark::State& state, int encoding) {
  const Stream<Mp3>& input = streamOf<Mp3>(state);
  std::vector<unsigned char> out(1152 * 2 * 4);
  mpg123_init();
  int64_t decoded = 0;
  for (auto _ : state) {
    mpg123_handle* const handle = mpg123_new("AVX", nullptr);
    mpg123_param(handle, MPG123_REMOVE_FLAGS, MPG123_GAPLESS, 0);
    mpg123_param(handle, MPG123_ADD_FLAGS, MPG123_QUIET, 0);
    mpg123_format_none(handle);
    mpg123_format(handle, 44100, MPG123_STEREO, encoding);
    mpg123_open_feed(handle);
    mpg123_feed(handle, input.bytes.data(), input.bytes.size());
    decoded = 0;
    for (;;) {
      size_t done = 0;
      const int result = mpg123_read(handle, out.data(), out.size(), &done);
      decoded += static_cast<int64_t>(done) / (encoding == MPG123_ENC_FLOAT_32 ? 8 : 4);
      if (result != MPG123_OK && result != MPG123_NEW_FORMAT) break;
    }
    mpg123_delete(handle);
  }
  finish<Mp3>(state, decoded);
}
#endif

#ifdef HAVE_MAD
void benchMad(benchmark::State& state) {
  const Stream<Mp3>& input = streamOf<Mp3>(state);
  std::vector<unsigned char> padded = input.bytes;
  padded.resize(padded.size() + MAD_BUFFER_GUARD);
  int64_t decoded = 0;
  for (auto _ : state) {
    mad_stream madStream;
    mad_frame frame;
    mad_synth synth;
    mad_stream_init(&madStream);
    mad_frame_init(&frame);
    mad_synth_init(&synth);
    mad_stream_buffer(&madStream, padded.data(), padded.size());
    decoded = 0;
    for (;;) {
      if (mad_frame_decode(&frame, &madStream) != 0) {
        if (MAD_RECOVERABLE(madStream.error)) continue;
        break;
      }
      mad_synth_frame(&synth, &frame);
      decoded += synth.pcm.length;
    }
    mad_synth_finish(&synth);
    mad_frame_finish(&frame);
    mad_stream_finish(&madStream);
  }
  finish<Mp3>(state, decoded);
}
#endif

constexpr auto benchMoxMp3 = benchMox<Mp3>;
BENCHMARK_CAPTURE(benchMoxMp3, s16, false)->Apply(setUp);
BENCHMARK_CAPTURE(benchMoxMp3, f32, true)->Apply(setUp);
#ifdef HAVE_LIBMPG123
BENCHMARK_CAPTURE(benchMpg123, s16, MPG123_ENC_SIGNED_16)->Apply(setUp);
BENCHMARK_CAPTURE(benchMpg123, f32, MPG123_ENC_FLOAT_32)->Apply(setUp);
#endif
#ifdef HAVE_LIBAVCODEC
constexpr auto benchAvcodecMp3 = benchAvcodec<Mp3>;
BENCHMARK_CAPTURE(benchAvcodecMp3, float, "mp3float")->Apply(setUp);
BENCHMARK_CAPTURE(benchAvcodecMp3, fixed, "mp3")->Apply(setUp);
#endif
#ifdef HAVE_MAD
BENCHMARK(benchMad)->Apply(setUp);
#endif

}  // namespace
