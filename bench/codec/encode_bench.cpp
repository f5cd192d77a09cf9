// Whole MP3 streams encoded from memory to memory, 128 kbit/s, beside libmp3lame at its default quality. Items are
// samples per channel; the counter "realtime" is how many seconds of audio one second encodes.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "codec/mp3/encoder.h"

#ifdef HAVE_LAME
#include <lame/lame.h>
#endif

namespace {

constexpr int32_t kRate = 44100, kSamples = 10 * kRate;

// Decaying chords over soft noise, with a click now and then; two channels, interleaved.
const std::vector<int16_t>& sound() {
  static const std::vector<int16_t> samples = [] {
    std::mt19937 random(1);
    std::normal_distribution<double> gauss;
    std::vector<int16_t> s;
    for (int32_t i = 0; i < kSamples; ++i) {
      const double t = static_cast<double>(i % 15000) / kRate, click = std::exp(-(i % 22050) / 200.0);
      double x = 0;
      for (int h = 1; h <= 8; ++h) x += std::sin(6.283185307 * 220 * h * t) / h * std::exp(-3 * h * t);
      for (const double pan : {0.7, 0.4})
        s.push_back(
            static_cast<int16_t>(6000 * pan * x + 300 * gauss(random) + 6000 * click * gauss(random) * pan));
    }
    return s;
  }();
  return samples;
}

void finish(benchmark::State& state, size_t bytes, double kilobits) {
  const double expected = kilobits * 1000 / 8 * kSamples / kRate;
  if (static_cast<double>(bytes) < 0.98 * expected || static_cast<double>(bytes) > 1.05 * expected)
    state.SkipWithError("not the bit rate that was asked for");
  state.SetItemsProcessed(state.iterations() * kSamples);
  state.counters["realtime"] = benchmark::Counter(static_cast<double>(state.iterations()) * kSamples / kRate,
                                                  benchmark::Counter::kIsRate);
}

void benchEncode(benchmark::State& state) {
  std::vector<uint8_t> stream;
  for (auto _ : state) {
    stream.clear();
    moxc::mp3::Encoder encoder({});
    encoder.encode(sound(), stream);
    encoder.finish(stream);
  }
  finish(state, stream.size(), 128);
}
BENCHMARK(benchEncode)->Unit(benchmark::kMillisecond);

#ifdef HAVE_LAME
void benchLame(benchmark::State& state) {
  std::vector<unsigned char> stream(1 << 20);
  size_t bytes = 0;
  std::vector<int16_t> input = sound();  // the interface wants it writable
  for (auto _ : state) {
    lame_t lame = lame_init();
    lame_set_in_samplerate(lame, kRate);
    lame_set_num_channels(lame, 2);
    lame_set_brate(lame, 128);
    lame_init_params(lame);
    const int most = static_cast<int>(stream.size());
    int n = lame_encode_buffer_interleaved(lame, input.data(), kSamples, stream.data(), most);
    n += lame_encode_flush(lame, stream.data() + n, most - n);
    bytes = static_cast<size_t>(n);
    lame_close(lame);
  }
  finish(state, bytes, 128);
}
BENCHMARK(benchLame)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
