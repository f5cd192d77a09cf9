// Whole AAC streams decoded from memory to memory, beside other decoders. Items are samples per channel; the counter
// "realtime" is how many seconds of audio one second decodes.
#include <benchmark/benchmark.h>

#ifdef HAVE_MOX
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "mox/aac_stream.h"
#include "mox/decoder.h"

#ifdef HAVE_LIBAVCODEC
extern "C" {
#include <libavcodec/avcodec.h>
}
#endif
#ifdef HAVE_FAAD2
#include <neaacdec.h>
#endif

namespace {

// A bundled stream, repeated to some seconds of audio.
struct Stream {
  std::vector<uint8_t> bytes;
  std::vector<mox::AdtsFrame> frames;
  int64_t samples = 0;  // per channel

  explicit Stream(const std::string& name) {
    std::ifstream file(std::string(MOXAC_SOURCE_DIR) + "/tests/data/streams/" + name, std::ios::binary);
    const std::vector<char> once((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    for (int i = 0; i < 20; ++i) bytes.insert(bytes.end(), once.begin(), once.end());
    mox::AdtsScanner scanner{bytes};
    for (mox::AdtsFrame frame; scanner.next(frame);) {
      frames.push_back(frame);
      samples += mox::kAacSamples;
    }
  }
  int32_t rate() const { return frames[0].header.rate(); }
};

const Stream& stream(int64_t index) {
  static const Stream kStreams[] = {Stream("aac_44100_stereo128.aac"), Stream("aac_44100_short_crc.aac"),
                                    Stream("aac_48000_51_320.aac")};
  return kStreams[index];
}

void finish(benchmark::State& state, int64_t decoded) {
  const Stream& input = stream(state.range(0));
  if (decoded < input.samples - 3 * mox::kAacSamples || decoded > input.samples)
    state.SkipWithError("not everything was decoded");
  state.SetItemsProcessed(state.iterations() * input.samples);
  state.counters["realtime"] = benchmark::Counter(
      static_cast<double>(state.iterations()) * static_cast<double>(input.samples) / input.rate(),
      benchmark::Counter::kIsRate);
}

void benchMox(benchmark::State& state, bool floatSamples) {
  const Stream& input = stream(state.range(0));
  int64_t decoded = 0;
  for (auto _ : state) {
    decoded = 0;
    const auto decoder = mox::openDecoder(input.bytes, {floatSamples, true}, "stream");
    for (mox::PcmView block; decoder->decodeBlock(block);)
      decoded += static_cast<int64_t>(block.s16.size() + block.f32.size()) / decoder->format().channels;
  }
  finish(state, decoded);
}

// Syntax and noiseless decoding only.
void benchMoxBlocks(benchmark::State& state) {
  const Stream& input = stream(state.range(0));
  int64_t decoded = 0;
  mox::AacBlock block;
  for (auto _ : state) {
    decoded = 0;
    const auto blocks = mox::AacStream::open(input.bytes);
    while (blocks->next(block) == mox::AacEvent::block) decoded += mox::kAacSamples;
  }
  finish(state, decoded);
}

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
    for (const mox::AdtsFrame& source : input.frames) {
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

#ifdef HAVE_FAAD2
void benchFaad(benchmark::State& state, unsigned char format) {
  const Stream& input = stream(state.range(0));
  int64_t decoded = 0;
  for (auto _ : state) {
    const NeAACDecHandle decoder = NeAACDecOpen();
    NeAACDecConfigurationPtr config = NeAACDecGetCurrentConfiguration(decoder);
    config->outputFormat = format;
    NeAACDecSetConfiguration(decoder, config);
    unsigned long rate;
    unsigned char channels;
    NeAACDecInit(decoder, const_cast<uint8_t*>(input.frames[0].bytes.data()), input.frames[0].bytes.size(),
                 &rate, &channels);
    decoded = 0;
    NeAACDecFrameInfo info;
    for (const mox::AdtsFrame& source : input.frames) {
      benchmark::DoNotOptimize(
          NeAACDecDecode(decoder, &info, const_cast<uint8_t*>(source.bytes.data()), source.bytes.size()));
      if (info.channels != 0) decoded += static_cast<int64_t>(info.samples) / info.channels;
    }
    NeAACDecClose(decoder);
  }
  finish(state, decoded);
}
#endif

void setUp(benchmark::internal::Benchmark* bench) {
  bench->ArgName("stream")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
}

// Streams: 0 = 128 kbit/s stereo, 1 = 144 kbit/s stereo with many short windows, 2 = 320 kbit/s 5.1.
BENCHMARK_CAPTURE(benchMox, s16, false)->Apply(setUp);
BENCHMARK_CAPTURE(benchMox, f32, true)->Apply(setUp);
BENCHMARK(benchMoxBlocks)->Apply(setUp);
#ifdef HAVE_LIBAVCODEC
BENCHMARK_CAPTURE(benchAvcodec, float, "aac")->Apply(setUp);
BENCHMARK_CAPTURE(benchAvcodec, fixed, "aac_fixed")->Apply(setUp);
#endif
#ifdef HAVE_FAAD2
BENCHMARK_CAPTURE(benchFaad, s16, FAAD_FMT_16BIT)->Apply(setUp);
BENCHMARK_CAPTURE(benchFaad, f32, FAAD_FMT_FLOAT)->Apply(setUp);
#endif

}  // namespace
#endif
