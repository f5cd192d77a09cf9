// What the decode benchmarks of both codecs share: streams in memory, the program's own decoder, libavcodec's. A Codec
// names the Scanner and Frame that find a stream's frames, three bundled streams, and a frame's samples and rate.
#pragma once

#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "codec/decode_bytes.h"
#include "codec/walk.h"
#include "support/source_path.h"

#ifdef HAVE_LIBAVCODEC
extern "C" {
#include <libavcodec/avcodec.h>
}
#endif

namespace moxbench {

// A bundled stream, repeated to some seconds of audio.
template <class Codec>
struct Stream {
  std::vector<uint8_t> bytes;
  std::vector<typename Codec::Frame> frames;
  int64_t samples = 0;  // per channel
  int32_t rate = 0;

  explicit Stream(const std::string& name) {
    std::ifstream file(moxtest::sourcePath("tests/data/streams/" + name), std::ios::binary);
    const std::vector<char> once((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    for (int i = 0; i < 20; ++i) bytes.insert(bytes.end(), once.begin(), once.end());
    frames = moxtest::walk<typename Codec::Syntax>(bytes).frames;
    for (const typename Codec::Frame& frame : frames) {
      samples += Codec::samples(frame);
      rate = Codec::rate(frame);
    }
  }
};

template <class Codec>
const Stream<Codec>& streamOf(const benchmark::State& state) {
  static const Stream<Codec> streams[] = {Stream<Codec>(Codec::kStreams[0]),
                                          Stream<Codec>(Codec::kStreams[1]),
                                          Stream<Codec>(Codec::kStreams[2])};
  return streams[state.range(0)];
}

// Checks that all but a decoder's delay was decoded. Items are samples per channel; "realtime" is how many seconds of
// audio one second decodes.
template <class Codec>
void finish(benchmark::State& state, int64_t decoded) {
  const Stream<Codec>& input = streamOf<Codec>(state);
  if (decoded < input.samples - 3 * Codec::samples(input.frames[0]) || decoded > input.samples)
    state.SkipWithError("not everything was decoded");
  state.SetItemsProcessed(state.iterations() * input.samples);
  state.counters["realtime"] = benchmark::Counter(
      static_cast<double>(state.iterations()) * static_cast<double>(input.samples) / input.rate,
      benchmark::Counter::kIsRate);
}

// Samples per channel.
inline int64_t decodeMemory(const std::vector<uint8_t>& bytes, bool floatSamples) {
  constexpr size_t kFrames = 4096;
  MoxcDecoderOptions options{};
  options.floatSamples = floatSamples;
  options.raw = 1;
  MoxcDecoder* made = nullptr;
  moxcDecoderCreate(&made, &options);
  const moxtest::DecoderHandle decoder(made);
  std::vector<float> samples(8 * kFrames);
  int64_t decoded = 0;
  for (size_t fed = 0;;) {
    size_t got = 0, taken = 0;
    const moxcStatus status =
        floatSamples ? moxcDecoderRead_32f(made, samples.data(), kFrames, &got)
                     : moxcDecoderRead_16s(made, reinterpret_cast<int16_t*>(samples.data()), kFrames, &got);
    decoded += static_cast<int64_t>(got);
    if (status == moxcStatusEnd || status < moxcStatusOk) return decoded;
    if (status != moxcStatusNeedMore) continue;
    moxcDecoderFeed(made, bytes.data() + fed, bytes.size() - fed, &taken);
    fed += taken;
    if (fed == bytes.size()) moxcDecoderEnd(made);
  }
}

template <class Codec>
void benchMox(benchmark::State& state, bool floatSamples) {
  const Stream<Codec>& input = streamOf<Codec>(state);
  int64_t decoded = 0;
  for (auto _ : state) {
    decoded = decodeMemory(input.bytes, floatSamples);
  }
  finish<Codec>(state, decoded);
}

#ifdef HAVE_LIBAVCODEC
// Given the frames one by one, so that no parser's time counts.
template <class Codec>
void benchAvcodec(benchmark::State& state, const char* name) {
  const Stream<Codec>& input = streamOf<Codec>(state);
  int64_t decoded = 0;
  for (auto _ : state) {
    AVCodecContext* context = avcodec_alloc_context3(avcodec_find_decoder_by_name(name));
    avcodec_open2(context, nullptr, nullptr);
    AVFrame* frame = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();
    decoded = 0;
    for (const auto& source : input.frames) {
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
  finish<Codec>(state, decoded);
}
#endif

inline void setUp(benchmark::internal::Benchmark* bench) {
  bench->ArgName("stream")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
}

}  // namespace moxbench
