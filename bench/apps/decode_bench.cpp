// Whole MP3 streams decoded from memory to memory, beside other decoders. Items are samples per channel; the
// counter "realtime" is how many seconds of audio one second decodes.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "mox/decoder.h"
#include "mox/mp3_scanner.h"

#ifdef HAVE_LIBMPG123
#include <mpg123.h>
#endif
#ifdef HAVE_LIBAVCODEC
extern "C" {
#include <libavcodec/avcodec.h>
}
#endif
#ifdef HAVE_MAD
#include <mad.h>
#endif

namespace {

// A bundled stream, repeated to some seconds of audio.
struct Stream {
  std::vector<uint8_t> bytes;
  std::vector<mox::Mp3Frame> frames;
  int64_t samples = 0;  // per channel

  explicit Stream(const std::string& name) {
    std::ifstream file(std::string(MOXAC_SOURCE_DIR) + "/tests/data/streams/" + name, std::ios::binary);
    const std::vector<char> once((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    for (int i = 0; i < 20; ++i) bytes.insert(bytes.end(), once.begin(), once.end());
    mox::Mp3Scanner scanner{bytes};
    for (mox::Mp3Frame frame; scanner.next(frame);) {
      frames.push_back(frame);
      samples += frame.header.samples();
    }
  }
};

const Stream& stream(int64_t index) {
  static const Stream kStreams[] = {Stream("mp3_44100_joint128_short.mp3"), Stream("mp3_44100_shine128.mp3"),
                                    Stream("mp3_44100_stereo320.mp3")};
  return kStreams[index];
}

void finish(benchmark::State& state, int64_t decoded) {
  const int64_t expected = stream(state.range(0)).samples;
  if (decoded < expected - 3 * 1152 || decoded > expected) state.SkipWithError("not everything was decoded");
  const auto iterations = static_cast<double>(state.iterations());
  state.SetItemsProcessed(state.iterations() * expected);
  state.counters["realtime"] =
      benchmark::Counter(iterations * static_cast<double>(expected) / 44100, benchmark::Counter::kIsRate);
}

void benchMox(benchmark::State& state, bool floatSamples) {
  const Stream& input = stream(state.range(0));
  int64_t decoded = 0;
  for (auto _ : state) {
    decoded = 0;
    const auto decoder = mox::openDecoder(input.bytes, {floatSamples, true}, "stream");
    for (mox::PcmView block; decoder->decodeBlock(block);)
      decoded += static_cast<int64_t>(block.s16.size() + block.f32.size()) / 2;
  }
  finish(state, decoded);
}

#ifdef HAVE_LIBMPG123
void benchMpg123(benchmark::State& state, int encoding) {
  const Stream& input = stream(state.range(0));
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
  finish(state, decoded);
}
#endif

#ifdef HAVE_LIBAVCODEC
// Given the frames one by one, so that no parser's time counts.
void benchAvcodec(benchmark::State& state, const char* name) {
  const Stream& input = stream(state.range(0));
  int64_t decoded = 0;
  for (auto _ : state) {
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder_by_name(name));
    avcodec_open2(context, nullptr, nullptr);
    AVFrame* frame = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();
    decoded = 0;
    for (const mox::Mp3Frame& source : input.frames) {
      packet->data = const_cast<uint8_t*>(source.bytes.data());
      packet->size = static_cast<int>(source.bytes.size());
      avcodec_send_packet(context, packet);
      while (avcodec_receive_frame(context, frame) == 0) decoded += frame->nb_samples;
    }
    packet->data = nullptr;
    packet->size = 0;
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&context);
  }
  finish(state, decoded);
}
#endif

#ifdef HAVE_MAD
void benchMad(benchmark::State& state) {
  const Stream& input = stream(state.range(0));
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
  finish(state, decoded);
}
#endif

void setUp(benchmark::internal::Benchmark* bench) {
  bench->ArgName("stream")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
}

// Streams: 0 = 128 kbit/s with many short blocks, 1 = 128 kbit/s long blocks, 2 = 320 kbit/s.
BENCHMARK_CAPTURE(benchMox, s16, false)->Apply(setUp);
BENCHMARK_CAPTURE(benchMox, f32, true)->Apply(setUp);
#ifdef HAVE_LIBMPG123
BENCHMARK_CAPTURE(benchMpg123, s16, MPG123_ENC_SIGNED_16)->Apply(setUp);
BENCHMARK_CAPTURE(benchMpg123, f32, MPG123_ENC_FLOAT_32)->Apply(setUp);
#endif
#ifdef HAVE_LIBAVCODEC
BENCHMARK_CAPTURE(benchAvcodec, float, "mp3float")->Apply(setUp);
BENCHMARK_CAPTURE(benchAvcodec, fixed, "mp3")->Apply(setUp);
#endif
#ifdef HAVE_MAD
BENCHMARK(benchMad)->Apply(setUp);
#endif

}  // namespace
