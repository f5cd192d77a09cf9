// Whole streams through the stages behind Huffman decoding, beside the same chain in double precision and
// beside what another decoder made of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/hybrid_reference.h"
#include "mp3/mp3_spectra.h"
#include "mp3/polyphase_reference.h"
#include "mp3/requantize_reference.h"
#include "support/source_path.h"

namespace {

using namespace moxtest;

// The samples of a 16-bit WAV file.
std::vector<int16_t> wavSamples(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  for (size_t at = 12; at + 8 <= bytes.size();) {
    uint32_t size = 0;
    std::memcpy(&size, &bytes[at + 4], 4);
    if (std::memcmp(&bytes[at], "data", 4) == 0) {
      std::vector<int16_t> samples(size / 2);
      std::memcpy(samples.data(), &bytes[at + 8], size);
      return samples;
    }
    at += 8 + size + (size & 1);
  }
  return {};
}

struct Channel {
  int32_t overlap[576] = {}, imdcts = 0, v[512] = {}, position = 0;
  std::vector<uint8_t> bank = std::vector<uint8_t>(2107);
  HybridReference hybrid;
  SynthesisReference synthesis;

  MoxMp3SynthesisState* state() { return reinterpret_cast<MoxMp3SynthesisState*>(bank.data()); }
};

struct Decoded {
  std::vector<int16_t> fixed;
  std::vector<float> floats;
  std::vector<double> exact;  // 1.0 is full scale
};

Decoded decode(const std::vector<CodedGranule>& granules) {
  Decoded out;
  std::vector<Channel> channels(2);
  for (Channel& c : channels) moxsSynthesisFilterInit_PQMF_MP3_32f(c.state());
  for (CodedGranule g : granules) {
    const int32_t row = moxac::mp3::sfbRow(g.header), stride = g.channels();
    const std::array<Lines, 2> lines =
        requantizeReference(g, moxac::mp3::kSfbLong[row], moxac::mp3::kSfbShort[row]);
    int32_t buffer[576], xs[576];
    EXPECT_EQ(moxsReQuantize_MP3_32s_I(g.lines[0], g.bound, g.scaleFactors[0], g.side, &g.header, buffer),
              moxStatusOk);
    const size_t base = out.fixed.size(), more = base + 576 * static_cast<size_t>(stride);
    out.fixed.resize(more);
    out.floats.resize(more);
    out.exact.resize(more);
    for (int32_t ch = 0; ch < stride; ++ch) {
      Channel& c = channels[static_cast<size_t>(ch)];
      const MoxMp3SideInfo& side = g.side[ch];
      EXPECT_EQ(moxsMDCTInv_MP3_32s(g.lines[ch], xs, c.overlap, g.bound[ch], &c.imdcts, side.blockType,
                                    side.mixedBlock),
                moxStatusOk);
      const Slots slots =
          c.hybrid.inverse(lines[static_cast<size_t>(ch)], side.blockType, side.mixedBlock == 1);
      for (size_t slot = 0; slot < 18; ++slot) {
        const size_t at = base + 32 * slot * static_cast<size_t>(stride) + static_cast<size_t>(ch);
        moxsSynthPQMF_MP3_32s16s(xs + 32 * slot, &out.fixed[at], c.v, &c.position, stride);
        float bands[32];
        for (int k = 0; k < 32; ++k)
          bands[k] = static_cast<float>(xs[32 * slot + static_cast<size_t>(k)]) / (1 << 26);
        moxsSynthesisFilter_PQMF_MP3_32f(bands, bands, c.state());
        const Slot exact = c.synthesis.slot(std::to_array(slots[slot].value));
        for (size_t i = 0; i < 32; ++i) {
          out.floats[at + i * static_cast<size_t>(stride)] = bands[i];
          out.exact[at + i * static_cast<size_t>(stride)] = exact[i];
        }
      }
    }
  }
  return out;
}

TEST(DecodeChain, EveryStreamIsAccurateAndAgreesWithAnotherDecoder) {
  double worstFixed = 0, worstFloat = 0;
  for (const Mp3Stream& stream : allMp3Streams()) {
    if (stream.name == "mp3_11025_mono24.mp3") continue;  // its rate needs tables of the caller's
    SCOPED_TRACE(stream.name);
    const Decoded out = decode(codedGranules(stream));
    const std::string stem = stream.name.substr(0, stream.name.size() - 4);
    const std::vector<int16_t> other =
        wavSamples(moxtest::sourcePath("tests/data/streams/") + stem + ".ref.wav");
    ASSERT_EQ(out.fixed.size(), other.size());
    double fixedSquares = 0, floatSquares = 0, otherSquares = 0;
    int32_t worst = 0, worstOther = 0;
    for (size_t i = 0; i < other.size(); ++i) {
      const double exact = std::clamp(out.exact[i] * 32768, -32768.0, 32767.0);
      fixedSquares += std::pow(out.fixed[i] - exact, 2);
      floatSquares += std::pow(out.floats[i] - out.exact[i], 2);
      otherSquares += std::pow(out.fixed[i] - other[i], 2);
      worst = std::max(worst, std::abs(out.fixed[i] - static_cast<int32_t>(std::lrint(exact))));
      worstOther = std::max(worstOther, std::abs(out.fixed[i] - other[i]));
    }
    const auto rms = [&](double squares) { return std::sqrt(squares / static_cast<double>(other.size())); };
    EXPECT_LE(worst, 1);
    EXPECT_LE(worstOther, 1);
    EXPECT_LT(rms(fixedSquares), 0.30) << "units of the last place; rounding alone makes 0.289";
    EXPECT_LT(rms(otherSquares), 0.06) << "only ties may fall to different sides";
    EXPECT_LT(rms(floatSquares), std::exp2(-21)) << "of full scale";
    worstFixed = std::max(worstFixed, rms(fixedSquares));
    worstFloat = std::max(worstFloat, rms(floatSquares));
  }
  RecordProperty("fixedRms", std::to_string(worstFixed));
  RecordProperty("floatRmsLog2", std::to_string(std::log2(worstFloat)));
}

}  // namespace
