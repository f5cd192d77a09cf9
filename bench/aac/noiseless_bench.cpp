// The noiseless decoder over the channels of a bundled stream, beside the one-bit-at-a-time decoder of the tests. Items
// are spectral lines.
#include <benchmark/benchmark.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "aac/noiseless_reference.h"
#include "moxac/aac.h"

namespace {

constexpr int32_t kRate = 3;  // 48 kHz
constexpr int32_t kIdBits = 3, kTagBits = 4;

struct Channel {
  const uint8_t* block;  // begins with a single channel element
  MoxAacIcsInfo ics;
  std::vector<int32_t> spectrum;
};

struct Outputs {
  MoxAacIcsInfo ics{};
  MoxAacMainHeader ltpHolder{};
  MoxAacChanStream stream{};
  moxtest::NoiselessOutput out;

  moxStatus decode(const uint8_t* block) {
    int32_t offset = kIdBits + kTagBits;
    stream.samplingRateIndex = kRate;
    stream.pIcsInfo = &ics;
    return moxsNoiselessDecode_AAC(&block, &offset, &ltpHolder, out.scaleFactor.data(), out.spectrum.data(),
                                   out.sfbCb.data(), out.tnsCoef.data(), &stream, 0, 0, 0, 0, 2);
  }
  moxStatus decodeByReference(const Channel& channel) {
    const int32_t headBits = kIdBits + kTagBits + 8 + (channel.ics.windowSequence == 2 ? 15 : 11);
    stream.samplingRateIndex = kRate;
    return moxtest::NoiselessReference(channel.block, headBits)
        .decode({true, false, channel.ics.windowSequence, channel.ics.maxSfb, channel.ics.numWindowGroups,
                 channel.ics.windowGroupLen},
                stream, out);
  }
};

const std::vector<Channel>& channels() {
  static std::vector<uint8_t> bytes;
  static const std::vector<Channel> made = [] {
    std::ifstream file(std::string(MOXAC_SOURCE_DIR) + "/tests/data/streams/aac_48000_mono64_tns.aac",
                       std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), {});
    const size_t end = bytes.size();
    bytes.resize(end + 8);
    std::vector<Channel> all;
    MoxAacADTSFrameHeader header;
    for (size_t at = 0; at < end; at += static_cast<size_t>(header.frameLen)) {
      const uint8_t* position = bytes.data() + at;
      moxsUnpackADTSFrameHeader_AAC(&position, &header);
      Outputs outputs;
      if (*position >> 5 == 0 && outputs.decode(position) == moxStatusOk)
        all.push_back({position, outputs.ics, outputs.out.spectrum});
    }
    return all;
  }();
  return made;
}

void benchNoiseless(benchmark::State& state, bool reference) {
  Outputs outputs;
  for (const Channel& channel : channels()) {
    const moxStatus status = reference ? outputs.decodeByReference(channel) : outputs.decode(channel.block);
    if (status != moxStatusOk || outputs.out.spectrum != channel.spectrum)
      state.SkipWithError("the spectra differ");
  }
  for (auto _ : state)
    for (const Channel& channel : channels())
      benchmark::DoNotOptimize(reference ? outputs.decodeByReference(channel)
                                         : outputs.decode(channel.block));
  state.SetItemsProcessed(state.iterations() * 1024 * static_cast<int64_t>(channels().size()));
}

BENCHMARK_CAPTURE(benchNoiseless, moxac, false);
BENCHMARK_CAPTURE(benchNoiseless, bitByBit, true);

}  // namespace
