// The noiseless decoder over the channels of a bundled stream; each must end where the next element's number stands.
// Items are spectral lines.
#include <benchmark/benchmark.h>

#include <array>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "moxac/aac.h"
#include "support/source_path.h"

namespace {

constexpr int32_t kRate = 3;  // 48 kHz
constexpr int32_t kIdBits = 3, kTagBits = 4;
constexpr uint32_t kFillElement = 6, kEndOfBlock = 7;

struct Decoder {
  MoxAacIcsInfo ics{};
  MoxAacMainHeader ltpHolder{};
  MoxAacChanStream stream{};
  std::array<int16_t, 120> scaleFactor;
  std::array<uint8_t, 120> sfbCb;
  std::array<int8_t, 60> tnsCoef;
  alignas(32) std::array<int32_t, 1024> spectrum;

  // A single channel element; moves past it.
  moxStatus decode(const uint8_t*& block, int32_t& offset) {
    offset = kIdBits + kTagBits;
    stream.samplingRateIndex = kRate;
    stream.pIcsInfo = &ics;
    return moxsNoiselessDecode_AAC(&block, &offset, &ltpHolder, scaleFactor.data(), spectrum.data(),
                                   sfbCb.data(), tnsCoef.data(), &stream, 0, 0, 0, 0, 2);
  }
};

// Where the raw data blocks of the stream begin.
const std::vector<const uint8_t*>& blocks() {
  static std::vector<uint8_t> bytes;
  static const std::vector<const uint8_t*> made = [] {
    std::ifstream file(moxtest::sourcePath("tests/data/streams/aac_48000_mono64_tns.aac"), std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(file), {});
    const size_t end = bytes.size();
    bytes.resize(end + 8);
    std::vector<const uint8_t*> all;
    MoxAacADTSFrameHeader header;
    for (size_t at = 0; at < end; at += static_cast<size_t>(header.frameLen)) {
      const uint8_t* position = bytes.data() + at;
      moxsUnpackADTSFrameHeader_AAC(&position, &header);
      if (*position >> (8 - kIdBits) == 0) all.push_back(position);
    }
    return all;
  }();
  return made;
}

void noiseless(benchmark::State& state) {
  Decoder decoder;
  int32_t offset;
  if (blocks().empty()) state.SkipWithError("no blocks");
  for (const uint8_t* block : blocks()) {
    const moxStatus status = decoder.decode(block, offset);
    const uint32_t next = ((uint32_t{block[0]} << 8 | block[1]) >> (16 - kIdBits - offset)) & 7;
    if (status != moxStatusOk || (next != kFillElement && next != kEndOfBlock))
      state.SkipWithError("a channel does not end where it should");
  }
  for (auto _ : state)
    for (const uint8_t* block : blocks()) benchmark::DoNotOptimize(decoder.decode(block, offset));
  state.SetItemsProcessed(state.iterations() * 1024 * static_cast<int64_t>(blocks().size()));
}
BENCHMARK(noiseless);

}  // namespace
