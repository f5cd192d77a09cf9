// Parsing, Huffman decoding and packing of real streams. Times are per item: a frame's header or side
// information, one granule and channel's scale factors or spectrum.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/mp3_stream.h"
#include "support/source_path.h"

namespace {

using moxtest::Mp3Granule;
using moxtest::Mp3Stream;

Mp3Stream stream(const char* name) {
  return moxtest::readMp3Stream(moxtest::sourcePath(std::string("tests/data/streams/") + name));
}

// A granule ready for Huffman decoding: the cursor behind its scale factors.
struct Spectrum {
  Mp3Granule granule;
  const uint8_t* p;
  int32_t bitOffset, hufSize;
};

std::vector<Spectrum> spectra(const Mp3Stream& from) {
  std::vector<Spectrum> out;
  for (Mp3Granule g : from.granules) {
    int8_t scaleFactors[39] = {};
    const uint8_t* p = from.mainData.data() + g.firstBit / 8;
    auto k = static_cast<int32_t>(g.firstBit % 8);
    moxsUnpackScaleFactors_MP3_1u8s(&p, &k, scaleFactors, &g.record, g.scfsi, &g.header, g.granule,
                                    g.channel);
    const int64_t used = 8 * (p - from.mainData.data()) + k - g.firstBit;
    out.push_back({g, p, k, g.record.part23Len - static_cast<int32_t>(used)});
  }
  return out;
}

void perItem(benchmark::State& state, size_t itemsPerRound) {
  state.counters["perItem"] =
      benchmark::Counter(static_cast<double>(itemsPerRound),
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void huffmanDecode(benchmark::State& state, const char* name) {
  const Mp3Stream source = stream(name);
  const std::vector<Spectrum> items = spectra(source);
  int32_t lines[576], bound = 0;
  int64_t bits = 0;
  for (const Spectrum& s : items) bits += s.hufSize;
  for (auto _ : state)
    for (const Spectrum& s : items) {
      const uint8_t* p = s.p;
      int32_t k = s.bitOffset;
      if (moxsHuffmanDecode_MP3_1u32s(&p, &k, lines, &bound, &s.granule.record, &s.granule.header,
                                      s.hufSize) != moxStatusOk)
        state.SkipWithError("refused");
      benchmark::DoNotOptimize(lines);
    }
  state.counters["bits"] = static_cast<double>(bits) / static_cast<double>(items.size());
  perItem(state, items.size());
}
BENCHMARK_CAPTURE(huffmanDecode, joint128, "mp3_44100_joint128_short.mp3");
BENCHMARK_CAPTURE(huffmanDecode, shine128, "mp3_44100_shine128.mp3");
BENCHMARK_CAPTURE(huffmanDecode, stereo320, "mp3_44100_stereo320.mp3");
BENCHMARK_CAPTURE(huffmanDecode, free400, "mp3_44100_freeformat400.mp3");
BENCHMARK_CAPTURE(huffmanDecode, vbr, "mp3_48000_vbr_v3.mp3");
BENCHMARK_CAPTURE(huffmanDecode, random320, "mp3_44100_random_mixed.mp3");

void huffmanEncode(benchmark::State& state, const char* name) {
  const Mp3Stream source = stream(name);
  const std::vector<Spectrum> items = spectra(source);
  std::vector<std::vector<int32_t>> decoded;
  std::vector<int32_t> count1;
  for (const Spectrum& s : items) {
    decoded.emplace_back(576);
    const uint8_t* p = s.p;
    int32_t k = s.bitOffset, bound = 0;
    moxsHuffmanDecode_MP3_1u32s(&p, &k, decoded.back().data(), &bound, &s.granule.record, &s.granule.header,
                                s.hufSize);
    const int32_t big = 2 * s.granule.record.bigVals;
    count1.push_back(std::max(0, (bound - big + 3) / 4 * 4));
  }
  std::vector<uint8_t> out(4096);
  for (auto _ : state)
    for (size_t i = 0; i < items.size(); ++i) {
      uint8_t* p = out.data();
      int32_t k = 0;
      const Mp3Granule& g = items[i].granule;
      if (moxsHuffmanEncode_MP3_32s1u(decoded[i].data(), &p, &k, &g.header, &g.record, count1[i],
                                      items[i].hufSize) != moxStatusOk)
        state.SkipWithError("refused");
      benchmark::DoNotOptimize(out.data());
    }
  perItem(state, items.size());
}
BENCHMARK_CAPTURE(huffmanEncode, joint128, "mp3_44100_joint128_short.mp3");
BENCHMARK_CAPTURE(huffmanEncode, stereo320, "mp3_44100_stereo320.mp3");

void scaleFactors(benchmark::State& state, const char* name) {
  const Mp3Stream source = stream(name);
  std::vector<Mp3Granule> granules = source.granules;
  int8_t values[39] = {};
  for (auto _ : state)
    for (Mp3Granule& g : granules) {
      const uint8_t* p = source.mainData.data() + g.firstBit / 8;
      auto k = static_cast<int32_t>(g.firstBit % 8);
      moxsUnpackScaleFactors_MP3_1u8s(&p, &k, values, &g.record, g.scfsi, &g.header, g.granule, g.channel);
      benchmark::DoNotOptimize(values);
    }
  perItem(state, granules.size());
}
BENCHMARK_CAPTURE(scaleFactors, mpeg1, "mp3_44100_stereo320.mp3");
BENCHMARK_CAPTURE(scaleFactors, mpeg2, "mp3_24000_random_mixed.mp3");

void frameHeader(benchmark::State& state) {
  const Mp3Stream source = stream("mp3_44100_stereo320.mp3");
  MoxMp3FrameHeader header{};
  for (auto _ : state)
    for (const auto& frame : source.frames) {
      const uint8_t* p = frame.data();
      moxsUnpackFrameHeader_MP3(&p, &header);
      benchmark::DoNotOptimize(header);
    }
  perItem(state, source.frames.size());
}
BENCHMARK(frameHeader);

void sideInfo(benchmark::State& state, bool pack) {
  const Mp3Stream source = stream("mp3_44100_stereo320.mp3");
  const MoxMp3FrameHeader& header = source.granules.front().header;
  MoxMp3SideInfo records[4] = {};
  int32_t mainDataBegin = 0, privateBits = 0, scfsi[8];
  uint8_t out[40];
  for (auto _ : state)
    for (const auto& frame : source.frames) {
      const uint8_t* p = frame.data() + 4;
      uint8_t* w = out;
      if (pack)
        moxsPackSideInfo_MP3(records, &w, mainDataBegin, privateBits, scfsi, &header);
      else
        moxsUnpackSideInfo_MP3(&p, records, &mainDataBegin, &privateBits, scfsi, &header);
      benchmark::DoNotOptimize(records);
      benchmark::DoNotOptimize(out);
    }
  perItem(state, source.frames.size());
}
BENCHMARK_CAPTURE(sideInfo, unpack, false);
BENCHMARK_CAPTURE(sideInfo, pack, true);

}  // namespace
