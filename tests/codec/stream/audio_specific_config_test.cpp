// AudioSpecificConfig in all forms of signalling.
#include "codec/stream/audio_specific_config.h"

#include <gtest/gtest.h>

#include "codec/stream/adts_writer.h"

namespace moxtest {
namespace {

using moxc::AudioSpecificConfig;
using moxc::parseAudioSpecificConfig;
using moxc::Signalled;

std::optional<AudioSpecificConfig> parse(const std::vector<uint8_t>& bytes, bool exactLength = true) {
  return parseAudioSpecificConfig(bytes, static_cast<int64_t>(bytes.size()) * 8, exactLength);
}

TEST(AudioSpecificConfig, SignalsReplicationInEveryForm) {
  constexpr auto unsaid = Signalled::unsaid, absent = Signalled::absent, present = Signalled::present;
  struct Row {
    std::vector<uint8_t> bytes;
    int32_t rate, channels, extensionRate;
    Signalled sbr, ps;
    int64_t bits;
  };
  const Row rows[] = {
      {{0x12, 0x10}, 44100, 2, 0, unsaid, unsaid, 16},
      {{0x13, 0x90}, 22050, 2, 0, unsaid, unsaid, 16},
      {{0x12, 0x10, 0x56, 0xE5, 0x00}, 44100, 2, 0, absent, unsaid, 33},
      {{0x2B, 0x92, 0x08, 0x00}, 22050, 2, 44100, present, unsaid, 25},        // hierarchical
      {{0x13, 0x90, 0x56, 0xE5, 0xA0}, 22050, 2, 44100, present, unsaid, 37},  // backward compatible
      {{0x13, 0x88, 0x56, 0xE5, 0xA5, 0x48, 0x80}, 22050, 1, 44100, present, present, 49},
      {{0x13, 0x88, 0x56, 0xE5, 0xA5, 0x48, 0x00}, 22050, 1, 44100, present, absent, 49},
      {{0xEB, 0x8A, 0x08, 0x00}, 22050, 1, 44100, present, present, 25},             // type 29
      {{0x2B, 0x93, 0x88, 0x00}, 22050, 2, 22050, present, unsaid, 25},              // down-sampled
      {{0x13, 0x90, 0x00, 0x56, 0xE5, 0xA0}, 22050, 2, 44100, present, unsaid, 45},  // aligned by its writer
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    const auto config = parse(row.bytes);
    ASSERT_TRUE(config);
    EXPECT_EQ(config->objectType, 2);
    EXPECT_EQ(config->rate, row.rate);
    EXPECT_EQ(config->channelConfiguration, row.channels);
    EXPECT_EQ(config->extensionRate, row.extensionRate);
    EXPECT_EQ(config->sbr, row.sbr);
    EXPECT_EQ(config->ps, row.ps);
    EXPECT_EQ(config->bits, row.bits);
    EXPECT_EQ(config->refusal, nullptr);
  }
  // What follows a configuration of unknown length is not its own.
  EXPECT_EQ(parse(rows[4].bytes, false)->sbr, unsaid);
  EXPECT_EQ(parse(rows[4].bytes, false)->bits, 16);
}

// Type, rate index 4, channel configuration.
Bits head(uint32_t type, uint32_t channels) {
  Bits bits;
  if (type >= 32)
    bits.put(31, 5).put(type - 32, 6);
  else
    bits.put(type, 5);
  return bits.put(4, 4).put(channels, 4);
}

TEST(AudioSpecificConfig, ReadsWhatStandsInside) {
  const auto short960 = parse(Bits().put(2, 5).put(6, 4).put(2, 4).put(4, 3).bytes());
  EXPECT_EQ(short960->frameSamples, 960);
  const auto anyRate = parse(Bits().put(2, 5).put(15, 4).put(44000, 24).put(12, 4).put(0, 3).bytes());
  EXPECT_EQ(anyRate->rate, 44000);
  EXPECT_EQ(anyRate->rateIndex, 4);
  EXPECT_EQ(anyRate->channelConfiguration, 12);
  EXPECT_EQ(moxc::nearestRateIndex(7350), 11);
  EXPECT_EQ(moxc::nearestRateIndex(96000), 0);
  EXPECT_EQ(moxc::nearestRateIndex(9391), 10);

  // A program of a pair in front and one LFE, with a comment: aligned to the configuration's bytes.
  Bits program = head(2, 0).put(0, 3).put(5, 4).put(1, 2).put(4, 4);
  program.put(1, 4).put(0, 4).put(0, 4).put(1, 2).put(0, 3).put(0, 4).put(0, 3);
  program.put(1, 1).put(3, 4).put(7, 4).align().put(2, 8).put('h', 8).put('i', 8);
  const size_t bytes = program.bytes().size();
  program.put(0x2B7, 11).put(5, 5).put(1, 1).put(3, 4);
  const auto withProgram = parse(program.bytes());
  ASSERT_TRUE(withProgram && withProgram->program);
  EXPECT_EQ(withProgram->program->frontEltTagSel[0], 3);
  EXPECT_EQ(withProgram->program->lfeEltTagSel[0], 7);
  EXPECT_EQ(withProgram->program->commentFieldBytes, 2);
  EXPECT_EQ(withProgram->extensionRate, 48000);
  EXPECT_EQ(parse(program.bytes(), false)->bits, static_cast<int64_t>(8 * bytes));
}

TEST(AudioSpecificConfig, RefusesByNameAndWhatIsCutShort) {
  const std::pair<uint32_t, const char*> types[] = {
      {6, "AAC Scalable"},
      {17, "ER AAC LC"},
      {22, "ER BSAC"},
      {23, "ER AAC LD"},
      {36, "ALS"},
      {39, "ER AAC ELD"},
      {42, "USAC (xHE-AAC)"},
      {90, "MPEG-4 audio of an unknown type"},
  };
  for (const auto& [type, name] : types) EXPECT_STREQ(parse(head(type, 2).put(0, 64).bytes())->refusal, name);
  EXPECT_STREQ(parse(head(2, 2).put(1, 2).put(0, 15).bytes())->refusal, "AAC over a core coder");
  EXPECT_EQ(parse(head(2, 2).put(1, 2).put(0, 15).bytes(), false)->bits, 30);
  EXPECT_EQ(parse(head(23, 2).put(1, 1).put(0, 64).bytes())->frameSamples, 480);

  EXPECT_FALSE(parse({0x12}));
  EXPECT_FALSE(parse({}));
  EXPECT_FALSE(parse({0x16, 0x90}));                             // a reserved rate
  EXPECT_FALSE(parse(head(2, 0).put(0, 3).put(0, 20).bytes()));  // a program without its end
}

}  // namespace
}  // namespace moxtest
