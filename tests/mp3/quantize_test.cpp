// Joint stereo and quantisation: budgets, exact counts, noise below the thresholds, streams that parse back.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/bit_count.h"
#include "mp3/layer3_reference.h"

namespace {

using Analysis = MoxMp3PsychoacousticModelTwoAnalysis;

struct Frame {
  MoxMp3FrameHeader header{};
  std::vector<int32_t> lines = std::vector<int32_t>(4 * 576);
  std::vector<Analysis> psy = std::vector<Analysis>(4);
  // What quantisation gives.
  std::vector<int32_t> ix, scfsi = std::vector<int32_t>(8), count1Len = std::vector<int32_t>(4);
  std::vector<int8_t> scaleFactors = std::vector<int8_t>(4 * 39);
  std::vector<MoxMp3SideInfo> side = std::vector<MoxMp3SideInfo>(4);

  MoxMp3EncoderParameters parameters = MOX_MP3_ENCODER_DEFAULTS;

  explicit Frame(int32_t mode = 0, int32_t samplingFreq = 0) {
    header.id = header.layer = 1;
    header.mode = mode;
    header.samplingFreq = samplingFreq;
  }
  int32_t count() const { return header.mode == 3 ? 2 : 4; }

  // Thresholds `below` dB under each band's energy, in the spectrum's own units.
  void mask(int32_t blockType, float below) {
    const int16_t* const longs = moxMp3SfbLong[3 + header.samplingFreq];
    const int16_t* const shorts = moxMp3SfbShort[3 + header.samplingFreq];
    const float ratio = std::pow(10.0f, -below / 10);
    for (size_t i = 0; i < 4; ++i) {
      Analysis& p = psy[i];
      p = {};
      p.blockType = blockType;
      const auto energy = [&](int32_t first, int32_t last) {
        double sum = 1e-20;
        for (int32_t k = first; k < last; ++k)
          sum += std::pow(lines[i * 576 + static_cast<size_t>(k)] / 67108864.0, 2);
        return static_cast<float>(sum / 1.5e-10);
      };
      for (int32_t b = 0; b < 22; ++b)
        p.thresholdLong[b] = ratio * (p.energyLong[b] = energy(longs[b], longs[b + 1]));
      for (int32_t b = 0; b < 13; ++b)
        for (int32_t w = 0; w < 3; ++w) {
          const int32_t width = shorts[b + 1] - shorts[b], first = 3 * shorts[b] + w * width;
          p.thresholdShort[b][w] = ratio * (p.energyShort[b][w] = energy(first, first + width));
        }
    }
  }

  moxStatus quantize(MoxMp3BitReservoir& reservoir, int32_t meanBits, int32_t constantRate) {
    ix = lines;
    return moxsQuantize_MP3_32s_I(ix.data(), scaleFactors.data(), scfsi.data(), count1Len.data(), side.data(),
                                  &reservoir, meanBits, constantRate, psy.data(), &header, &parameters);
  }

  int32_t bits() const {
    int32_t sum = 0;
    for (int32_t i = 0; i < count(); ++i) sum += side[static_cast<size_t>(i)].part23Len;
    return sum;
  }

  // Packs the main data and parses them back: every bit that the side information claims is there, every value
  // returns.
  void expectRoundTrip() const {
    std::vector<uint8_t> stream(8192);
    uint8_t* to = stream.data();
    const uint8_t* from = stream.data();
    int32_t toOffset = 0, fromOffset = 0;
    const int32_t channels = header.mode == 3 ? 1 : 2;
    int8_t parsed[2][39] = {};
    for (int32_t i = 0; i < count(); ++i) {
      const auto at = static_cast<size_t>(i);
      MoxMp3SideInfo record = side[at];
      ASSERT_LE(record.part23Len, 4095);
      const int32_t ch = i % channels, granule = i / channels;
      const auto position = [&] { return 8 * static_cast<int32_t>(to - stream.data()) + toOffset; };
      const int32_t start = position();
      ASSERT_EQ(moxsPackScaleFactors_MP3_8s1u(scaleFactors.data() + 39 * at, &to, &toOffset, &header, &record,
                                              scfsi.data() + 4 * ch, granule, ch),
                moxStatusOk);
      const int32_t part2 = position() - start;
      ASSERT_EQ(moxsHuffmanEncode_MP3_32s1u(ix.data() + 576 * at, &to, &toOffset, &header, &record,
                                            count1Len[at], 0),
                moxStatusOk);
      ASSERT_EQ(position() - start, record.part23Len) << "granule and channel " << i;

      ASSERT_EQ(moxsUnpackScaleFactors_MP3_1u8s(&from, &fromOffset, parsed[ch], &record,
                                                scfsi.data() + 4 * ch, &header, granule, ch),
                moxStatusOk);
      const int32_t scaled = record.blockType == 2 ? 36 : 21;
      EXPECT_TRUE(std::equal(parsed[ch], parsed[ch] + scaled, scaleFactors.data() + 39 * at));
      int32_t decoded[576], bound;
      ASSERT_EQ(moxsHuffmanDecode_MP3_1u32s(&from, &fromOffset, decoded, &bound, &record, &header,
                                            record.part23Len - part2),
                moxStatusOk);
      EXPECT_TRUE(std::equal(decoded, decoded + 576, ix.data() + 576 * at));
    }
  }
};

// Spectra of many kinds, from nothing to full scale.
void fill(Frame& frame, int kind, std::mt19937& random) {
  std::uniform_real_distribution<double> unit(-1, 1);
  for (size_t i = 0; i < frame.lines.size(); ++i) {
    const double k = static_cast<double>(i % 576);
    double x = 0;
    if (kind == 1) x = unit(random) * std::exp(-k / 60) * 0.3;  // music-like
    if (kind == 2) x = unit(random) * 0.02;                     // white
    if (kind == 3) x = unit(random) > 0 ? 1.9 : -1.9;           // clipped, everything at its limit
    if (kind == 4) x = i % 97 == 0 ? unit(random) : 0;          // impulses
    if (kind == 5) x = unit(random) * 3e-7;                     // around one step of 16 bits
    if (kind == 6) x = i % 576 < 2 ? 31 * unit(random) : 1e-6;  // far beyond full scale at the lowest lines
    if (kind == 7) x = unit(random);
    frame.lines[i] = static_cast<int32_t>(std::lrint(x * 67108864.0));
  }
}

TEST(Quantize, NeverTakesMoreThanItsBitsAndParsesBack) {
  std::mt19937 random(3);
  for (int kind = 0; kind < 8; ++kind)
    for (const int32_t blockType : {0, 1, 2, 3})
      for (const int32_t mode : {0, 3})
        for (const int32_t meanBits : {0, 100, 250, 1000, 3000, 8000, 16380})
          for (const int32_t constantRate : {0, 1}) {
            Frame frame(mode, kind % 3);
            fill(frame, kind, random);
            frame.mask(blockType, 15);
            if (kind == 7)  // thresholds so unlike that the coarsest step is still fine for some runs
              for (Analysis& psy : frame.psy)
                for (int b = 0; b < 21; ++b) {
                  psy.thresholdLong[b] *= std::pow(1e-5f, static_cast<float>(b % 3));
                  for (int w = 0; w < 3 && b < 12; ++w)
                    psy.thresholdShort[b][w] *= std::pow(1e-5f, static_cast<float>(w));
                }
            MoxMp3BitReservoir reservoir{meanBits % 3 * 160, 2000};
            const int32_t before = reservoir.resBits;
            ASSERT_EQ(frame.quantize(reservoir, meanBits, constantRate), moxStatusOk);
            SCOPED_TRACE(testing::Message()
                         << kind << " type " << blockType << " mode " << mode << " bits " << meanBits);
            EXPECT_LE(frame.bits(), before + meanBits);
            EXPECT_EQ(reservoir.resBits, std::min((before + meanBits - frame.bits()) / 8 * 8, 2000));
            frame.expectRoundTrip();
            if (kind == 0) {
              EXPECT_EQ(frame.bits(), 0);
            }
          }
}

// The loudest noise of any band beside what its record allows, in dB, for each granule and channel.
std::vector<double> worstNoise(const Frame& frame, int32_t blockType) {
  const int16_t* const start = blockType == 2 ? moxMp3SfbShort[3] : moxMp3SfbLong[3];
  const int32_t windows = blockType == 2 ? 3 : 1;
  std::vector<double> all;
  for (int32_t g = 0; g < 2; ++g) {
    std::vector<int32_t> decoded(frame.ix.begin() + g * 1152, frame.ix.begin() + (g + 1) * 1152), buffer(576);
    int32_t bounds[2] = {576, 576};
    EXPECT_EQ(moxsReQuantize_MP3_32s_I(decoded.data(), bounds, frame.scaleFactors.data() + g * 78,
                                       frame.side.data() + 2 * g, &frame.header, buffer.data()),
              moxStatusOk);
    for (int32_t ch = 0; ch < 2; ++ch) {
      double worst = 0;
      for (int32_t b = 0; b < (blockType == 2 ? 12 : 21); ++b)
        for (int32_t w = 0; w < windows; ++w) {
          double noise = 1e-20;
          for (int32_t k = start[b]; k < start[b + 1]; ++k) {
            // Requantisation interleaves the windows that the spectrum has side by side.
            const int32_t coded = windows * start[b] + w * (start[b + 1] - start[b]) + k - start[b];
            noise += std::pow((frame.lines[static_cast<size_t>(1152 * g + 576 * ch + coded)] -
                               decoded[static_cast<size_t>(576 * ch + windows * k + w)]) /
                                  67108864.0,
                              2);
          }
          const Analysis& psy = frame.psy[static_cast<size_t>(2 * g + ch)];
          worst = std::max(worst, noise / 1.5e-10 /
                                      static_cast<double>(blockType == 2 ? psy.thresholdShort[b][w]
                                                                         : psy.thresholdLong[b]));
        }
      all.push_back(10 * std::log10(worst));
    }
  }
  return all;
}

// Bits that noise at the thresholds costs, and nowhere far above; a constant rate is used.
TEST(Quantize, NoiseComesToTheThresholds) {
  std::mt19937 random(8);
  for (const int32_t blockType : {0, 2})
    for (const float below : {6.0f, 12.0f, 20.0f}) {
      Frame frame;
      fill(frame, 2, random);
      frame.parameters = MOX_MP3_ENCODER_ANNEX;
      frame.mask(blockType, below);
      MoxMp3BitReservoir reservoir{0, 0};
      ASSERT_EQ(frame.quantize(reservoir, 16380, 0), moxStatusOk);
      for (const double loudest : worstNoise(frame, blockType)) EXPECT_LE(loudest, 6);
      const int32_t wanted = frame.bits();
      Frame more = frame;
      ASSERT_EQ(more.quantize(reservoir = {0, 0}, wanted + 1500, 1), moxStatusOk);
      EXPECT_GT(more.bits(), wanted + 1000);  // nothing may be kept: the bits are used
    }
}

// With too few bits for every band the outer loop spreads the pain: the first attempt leaves 17 dB in some band of a long
// block, 21 in a short one.
TEST(Quantize, TheLoudestNoiseIsBroughtDownWhenBitsAreShort) {
  for (const auto& [blockType, most] : {std::pair{0, 10.0}, {2, 14.0}}) {
    std::mt19937 random(21);
    double mean = 0;
    for (int round = 0; round < 10; ++round) {
      Frame frame;
      fill(frame, 1, random);
      frame.parameters = MOX_MP3_ENCODER_ANNEX;
      frame.mask(blockType, 15);
      const auto uneven = [&] { return std::exp2(static_cast<float>(random() % 7) - 3); };
      for (Analysis& psy : frame.psy)
        for (int b = 0; b < 21; ++b) {
          psy.thresholdLong[b] *= uneven();
          for (int w = 0; w < 3 && b < 12; ++w) psy.thresholdShort[b][w] *= uneven();
        }
      MoxMp3BitReservoir reservoir{0, 0};
      ASSERT_EQ(frame.quantize(reservoir, 4500, 1), moxStatusOk);
      for (const double loudest : worstNoise(frame, blockType)) mean += loudest / 40;
    }
    EXPECT_LT(mean, most) << "type " << blockType;
  }
}

// Infinite or no numbers on either side ask for nothing, or for all that there is: never for a stream that breaks.
TEST(Quantize, AnyMixOfInfinitiesGivesADefinedFrame) {
  const float odd[] = {0, -1, INFINITY, -INFINITY, NAN};
  std::mt19937 random(5);
  for (int round = 0; round < 25; ++round)
    for (const int32_t blockType : {0, 2}) {
      Frame frame;
      fill(frame, 1, random);
      for (Analysis& p : frame.psy) {
        p.blockType = blockType;
        std::fill(p.energyLong, p.energyLong + 22, odd[round / 5]);
        std::fill(p.thresholdLong, p.thresholdLong + 22, odd[round % 5]);
        std::fill(p.energyShort[0], p.energyShort[0] + 39, odd[round / 5]);
        std::fill(p.thresholdShort[0], p.thresholdShort[0] + 39, odd[round % 5]);
      }
      MoxMp3BitReservoir reservoir{0, 0};
      ASSERT_EQ(frame.quantize(reservoir, 3000, round % 2), moxStatusOk);
      EXPECT_LE(frame.bits(), 3000);
      frame.expectRoundTrip();
    }
}

// Bands that ask for more than their neighbours get it by scale factors: finer steps for everything cost more.
TEST(Quantize, BandsThatAskForMoreGetItByScaleFactors) {
  std::mt19937 random(12);
  for (const int32_t blockType : {0, 2}) {
    Frame uneven;
    fill(uneven, 2, random);
    uneven.mask(blockType, 6);
    Frame fine = uneven;
    fine.mask(blockType, 24);
    const auto asksForMore = [](int32_t b) { return b % 4 == 1; };
    for (size_t i = 0; i < 4; ++i)
      for (int32_t b = 0; b < 21; ++b) {
        if (!asksForMore(b)) continue;
        uneven.psy[i].thresholdLong[b] = fine.psy[i].thresholdLong[b];
        for (int32_t w = 0; w < 3 && b < 12; ++w)
          uneven.psy[i].thresholdShort[b][w] = fine.psy[i].thresholdShort[b][w];
      }
    MoxMp3BitReservoir reservoir{0, 0};
    ASSERT_EQ(uneven.quantize(reservoir, 16380, 0), moxStatusOk);
    ASSERT_EQ(fine.quantize(reservoir = {0, 0}, 16380, 0), moxStatusOk);
    EXPECT_LT(uneven.bits(), 0.75 * fine.bits()) << "type " << blockType;
    double more = 0, less = 0;
    for (size_t i = 0; i < 4; ++i)
      for (int32_t b = 0; b < (blockType == 2 ? 12 : 21); ++b)
        (asksForMore(b) ? more : less) +=
            uneven.scaleFactors[39 * i + static_cast<size_t>(blockType == 2 ? 3 * b : b)];
    EXPECT_GT(more / (blockType == 2 ? 3 : 5), less / (blockType == 2 ? 9 : 16) + 1) << "type " << blockType;
  }
}

// The count of every split into regions and every table, by the codes' own files.
int32_t fewestBits(const std::vector<int32_t>& ix, int32_t bigVals, bool switched) {
  const auto& codes = moxtest::layer3Codes();
  std::vector<std::vector<int32_t>> sums(32, std::vector<int32_t>(577, 0));  // bits in front of a line
  for (int32_t t = 0; t < 32; ++t) {
    const auto& table = codes.tables[static_cast<size_t>(t)];
    for (size_t k = 0; k < static_cast<size_t>(2 * bigVals); k += 2) {
      int32_t bits = 0;
      if (std::max(ix[k], ix[k + 1]) > table.largest() || t == 4 || t == 14) {
        bits = 100000;
      } else if (table.book != nullptr) {
        moxtest::Bits string;
        codes.putPair(string, t, ix[k], ix[k + 1]);
        bits = string.size();
      }
      sums[static_cast<size_t>(t)][k + 2] = sums[static_cast<size_t>(t)][k] + bits;
    }
  }
  const auto region = [&](int32_t first, int32_t last) {
    int32_t best = INT32_MAX;
    for (const auto& s : sums)
      best = std::min(best, s[static_cast<size_t>(last)] - s[static_cast<size_t>(first)]);
    return best;
  };
  const int32_t end = 2 * bigVals;
  if (switched) return region(0, std::min(36, end)) + region(std::min(36, end), end);
  int32_t best = INT32_MAX;
  for (int32_t r0 = 0; r0 < 16; ++r0)
    for (int32_t r1 = 0; r1 < 8 && r0 + r1 <= 20; ++r1) {
      const int32_t a = std::min<int32_t>(moxMp3SfbLong[3][r0 + 1], end);
      const int32_t b = std::min<int32_t>(moxMp3SfbLong[3][r0 + r1 + 2], end);
      best = std::min(best, region(0, a) + region(a, b) + region(b, end));
    }
  return best;
}

TEST(Quantize, RegionsAndTablesAreTheCheapestOfAll) {
  std::mt19937 random(4);
  for (int round = 0; round < 60; ++round) {
    moxac::mp3::QuantizedLines lines{};
    std::vector<int32_t> ix(576);
    const double largest = std::exp2(round % 14), decay = 20 + 10 * (round % 7);
    for (size_t k = 0; k < 576; ++k) {
      ix[k] = static_cast<int32_t>(largest * std::exp(-static_cast<double>(k) / decay) *
                                       std::uniform_real_distribution<double>(0, 1)(random) +
                                   (k < 400 && round % 3 == 0 ? static_cast<double>(random() % 2) : 0));
      lines.ix[k] = ix[k];
      lines.clipped[k] = static_cast<uint8_t>(std::min(ix[k], 15));
      lines.largest = std::max(lines.largest, ix[k]);
    }
    for (const bool switched : {false, true}) {
      moxac::mp3::SpectrumCode quads{};
      moxac::mp3::splitLines(lines, quads);
      const moxac::mp3::SpectrumCode code = moxac::mp3::countSpectrum(lines, switched, moxMp3SfbLong[3]);
      EXPECT_EQ(code.bits - quads.bits, fewestBits(ix, code.bigVals, switched)) << round << " " << switched;
    }
  }
}

TEST(Quantize, EqualGranulesShareTheirScaleFactors) {
  std::mt19937 random(2);
  Frame frame(3);
  fill(frame, 1, random);
  std::copy_n(frame.lines.begin(), 576, frame.lines.begin() + 576);
  frame.mask(0, 18);
  MoxMp3BitReservoir reservoir{0, 0};
  ASSERT_EQ(frame.quantize(reservoir, 8000, 0), moxStatusOk);
  EXPECT_EQ(std::accumulate(frame.scfsi.begin(), frame.scfsi.begin() + 4, 0), 4);
  EXPECT_LE(frame.side[1].part23Len, frame.side[0].part23Len);
  frame.expectRoundTrip();
}

TEST(Quantize, RefusesInOrderAndWritesNothing) {
  Frame frame;
  std::mt19937 random(1);
  fill(frame, 1, random);
  frame.mask(0, 10);
  MoxMp3BitReservoir reservoir{0, 100};
  const auto expect = [&](moxStatus status, int32_t meanBits, int32_t constantRate) {
    EXPECT_EQ(frame.quantize(reservoir, meanBits, constantRate), status);
    EXPECT_EQ(frame.ix, frame.lines);
  };
  EXPECT_EQ(moxsQuantize_MP3_32s_I(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, -1, 2, nullptr,
                                   nullptr, nullptr),
            moxStatusNullPointer);
  expect(moxStatusBadSize, -1, 0);
  expect(moxStatusBadSize, 16381, 0);
  reservoir.resBits = 101;
  expect(moxStatusOutOfRange, -1, 0);
  frame.psy[3].blockType = 4;
  expect(moxStatusOutOfRange, 100, 0);
  frame.psy[3].blockType = 0;
  reservoir.resBits = 0;
  expect(moxStatusOutOfRange, 100, 2);
  for (const auto field :
       {&MoxMp3FrameHeader::samplingFreq, &MoxMp3FrameHeader::mode, &MoxMp3FrameHeader::layer}) {
    const MoxMp3FrameHeader good = frame.header;
    frame.header.*field = 4;
    expect(moxStatusMp3FrameHeaderErr, 100, 2);
    frame.header = good;
  }
}

TEST(JointStereo, TakesMidAndSideWhereChannelsAreAlike) {
  std::mt19937 random(6);
  for (const int32_t blockType : {0, 2}) {
    Frame alike(1);
    fill(alike, 1, random);
    for (size_t g = 0; g < 2; ++g)
      for (size_t k = 0; k < 576; ++k) alike.lines[g * 1152 + 576 + k] = alike.lines[g * 1152 + k];
    alike.mask(blockType, 15);
    const std::vector<int32_t> left = alike.lines;
    ASSERT_EQ(moxsJointStereoEncode_MP3_32s_I(alike.lines.data(), alike.psy.data(), &alike.header,
                                              &alike.parameters),
              moxStatusOk);
    EXPECT_EQ(alike.header.modeExt, 2);
    for (size_t k = 0; k < 576; ++k) {
      EXPECT_NEAR(alike.lines[k], left[k] * std::sqrt(2.0), 4 + std::abs(left[k]) * 1e-7);  // orthonormal
      EXPECT_EQ(alike.lines[576 + k], 0);
    }
    // Half of M's noise reaches each channel: M may have as much as one channel.
    MoxMp3BitReservoir reservoir{0, 0};
    ASSERT_EQ(alike.quantize(reservoir, 8000, 0), moxStatusOk);
    EXPECT_EQ(alike.side[1].part23Len, 0);
    alike.expectRoundTrip();
  }

  Frame apart(1);
  fill(apart, 2, random);
  for (size_t i = 0; i < apart.lines.size(); ++i)
    if (i / 576 % 2 == 1) apart.lines[i] /= 8;
  apart.mask(0, 15);
  const std::vector<int32_t> untouched = apart.lines;
  ASSERT_EQ(
      moxsJointStereoEncode_MP3_32s_I(apart.lines.data(), apart.psy.data(), &apart.header, &apart.parameters),
      moxStatusOk);
  EXPECT_EQ(apart.header.modeExt, 0);
  EXPECT_EQ(apart.lines, untouched);

  Frame mixedTypes(1);  // alike again, but for the windows of one granule: nothing to add up
  fill(mixedTypes, 1, random);
  for (size_t g = 0; g < 2; ++g)
    for (size_t k = 0; k < 576; ++k) mixedTypes.lines[g * 1152 + 576 + k] = mixedTypes.lines[g * 1152 + k];
  const std::vector<int32_t> asTheyWere = mixedTypes.lines;
  for (const size_t differing : {1u, 2u, 3u}) {
    mixedTypes.mask(0, 15);
    mixedTypes.psy[differing].blockType = 3;
    mixedTypes.header.modeExt = 2;
    ASSERT_EQ(moxsJointStereoEncode_MP3_32s_I(mixedTypes.lines.data(), mixedTypes.psy.data(),
                                              &mixedTypes.header, &mixedTypes.parameters),
              moxStatusOk);
    EXPECT_EQ(mixedTypes.header.modeExt, 0);
    EXPECT_EQ(mixedTypes.lines, asTheyWere);
  }
  mixedTypes.psy[1].blockType = -1;
  EXPECT_EQ(moxsJointStereoEncode_MP3_32s_I(mixedTypes.lines.data(), mixedTypes.psy.data(),
                                            &mixedTypes.header, &mixedTypes.parameters),
            moxStatusOutOfRange);
  mixedTypes.header.mode = 0;
  EXPECT_EQ(moxsJointStereoEncode_MP3_32s_I(mixedTypes.lines.data(), mixedTypes.psy.data(),
                                            &mixedTypes.header, &mixedTypes.parameters),
            moxStatusMp3FrameHeaderErr);
  EXPECT_EQ(moxsJointStereoEncode_MP3_32s_I(mixedTypes.lines.data(), nullptr, &mixedTypes.header,
                                            &mixedTypes.parameters),
            moxStatusNullPointer);
}

}  // namespace
