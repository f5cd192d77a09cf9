// Whole AAC streams decoded from memory to memory, beside other decoders.
#include "codec/aac/block.h"
#include "codec/decode_bench.h"

#ifdef HAVE_FAAD2
#include <neaacdec.h>
#endif

namespace {

using namespace moxbench;

struct Aac {
  using Syntax = moxc::AdtsSyntax;
  using Frame = moxtest::Walk<Syntax>::Frame;
  // 128 kbit/s stereo, 144 kbit/s stereo with many short windows, 320 kbit/s 5.1.
  static constexpr const char* kStreams[] = {"aac_44100_stereo128.aac", "aac_44100_short_crc.aac",
                                             "aac_48000_51_320.aac"};
  static int64_t samples(const Frame&) { return moxc::kAacSamples; }
  static int32_t rate(const Frame& frame) { return frame.header.rate(); }
};

// With spectral band replication: 48 kbit/s stereo, 24 kbit/s mono, and 32 kbit/s with parametric stereo.
struct HeAac : Aac {
  static constexpr const char* kStreams[] = {"heaac_44100_stereo48.aac", "heaac_48000_mono24.aac",
                                             "heaacv2_44100_32.aac"};
  static int64_t samples(const Frame&) { return 2 * moxc::kAacSamples; }
  static int32_t rate(const Frame& frame) { return 2 * frame.header.rate(); }
};

// Syntax and noiseless decoding only.
void benchMoxBlocks(benchmark::State& state) {
  const Stream<Aac>& input = streamOf<Aac>(state);
  int64_t decoded = 0;
  moxc::aac::Block block;
  for (auto _ : state) {
    decoded = 0;
    const moxc::AdtsHeader& first = input.frames[0].header;
    moxc::aac::BlockReader reader({first.objectType(), first.fields.samplingRateIndex});
    for (const Aac::Frame& frame : input.frames)
      if (reader.read(moxc::slice(frame.bytes, frame.header.headerBytes()), block))
        decoded += moxc::kAacSamples;
  }
  finish<Aac>(state, decoded);
}

#ifdef HAVE_FAAD2
template <class Codec>
void benchFaad(benchmark::State& state, unsigned char format) {
  const Stream<Codec>& input = streamOf<Codec>(state);
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
    for (const typename Codec::Frame& source : input.frames) {
      benchmark::DoNotOptimize(
          NeAACDecDecode(decoder, &info, const_cast<uint8_t*>(source.bytes.data()), source.bytes.size()));
      if (info.channels != 0) decoded += static_cast<int64_t>(info.samples) / info.channels;
    }
    NeAACDecClose(decoder);
  }
  finish<Codec>(state, decoded);
}
#endif

constexpr auto benchMoxAac = benchMox<Aac>, benchMoxHeAac = benchMox<HeAac>;
BENCHMARK_CAPTURE(benchMoxAac, s16, false)->Apply(setUp);
BENCHMARK_CAPTURE(benchMoxAac, f32, true)->Apply(setUp);
BENCHMARK_CAPTURE(benchMoxHeAac, s16, false)->Apply(setUp);
BENCHMARK_CAPTURE(benchMoxHeAac, f32, true)->Apply(setUp);
BENCHMARK(benchMoxBlocks)->Apply(setUp);
#ifdef HAVE_LIBAVCODEC
constexpr auto benchAvcodecAac = benchAvcodec<Aac>, benchAvcodecHeAac = benchAvcodec<HeAac>;
BENCHMARK_CAPTURE(benchAvcodecAac, float, "aac")->Apply(setUp);
BENCHMARK_CAPTURE(benchAvcodecAac, fixed, "aac_fixed")->Apply(setUp);
BENCHMARK_CAPTURE(benchAvcodecHeAac, float, "aac")->Apply(setUp);
BENCHMARK_CAPTURE(benchAvcodecHeAac, fixed, "aac_fixed")->Apply(setUp);
#endif
#ifdef HAVE_FAAD2
constexpr auto benchFaadAac = benchFaad<Aac>, benchFaadHeAac = benchFaad<HeAac>;
BENCHMARK_CAPTURE(benchFaadAac, s16, FAAD_FMT_16BIT)->Apply(setUp);
BENCHMARK_CAPTURE(benchFaadAac, f32, FAAD_FMT_FLOAT)->Apply(setUp);
BENCHMARK_CAPTURE(benchFaadHeAac, s16, FAAD_FMT_16BIT)->Apply(setUp);
BENCHMARK_CAPTURE(benchFaadHeAac, f32, FAAD_FMT_FLOAT)->Apply(setUp);
#endif

}  // namespace
