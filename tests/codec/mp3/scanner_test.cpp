#include "codec/mp3/scanner.h"

#include <gtest/gtest.h>

#include <random>

#include "codec/mp3/survey.h"
#include "support/streams.h"

using namespace moxc;

namespace {

using moxtest::readFile;
using moxtest::streamPath;

std::vector<mp3::Frame> allFrames(const std::vector<uint8_t>& bytes) {
  mp3::Scanner scanner{bytes};
  std::vector<mp3::Frame> frames;
  for (mp3::Frame frame; scanner.next(frame);) frames.push_back(frame);
  return frames;
}

const std::vector<uint8_t>& cast() {
  static const std::vector<uint8_t> bytes = readFile(streamPath("mp3_44100_joint128_short.mp3"));
  return bytes;
}

TEST(Mp3Scanner, TellsStreamPropertiesApart) {
  const auto crc = moxc::mp3::takeSurvey(readFile(streamPath("mp3_32000_mono64_crc.mp3")));
  EXPECT_EQ(crc->crcFrames, 32);
  EXPECT_EQ(crc->crcFaults, 0);
  const auto mixed = moxc::mp3::takeSurvey(readFile(streamPath("mp3_44100_random_mixed.mp3")));
  EXPECT_EQ(mixed->crcFrames, 10);
  const auto vbr = moxc::mp3::takeSurvey(readFile(streamPath("mp3_48000_vbr_v3.mp3")));
  EXPECT_EQ(vbr->lowestRate, 128);
  EXPECT_EQ(vbr->highestRate, 320);
  const auto free = moxc::mp3::takeSurvey(readFile(streamPath("mp3_44100_freeformat400.mp3")));
  EXPECT_EQ(free->first.bitRate, 0);
  EXPECT_NEAR(free->averageRate(), 400, 1);
  const auto old = moxc::mp3::takeSurvey(readFile(streamPath("mp3_11025_mono24.mp3")));
  EXPECT_EQ(old->first.version, moxc::mp3::MpegVersion::mpeg25);
}

TEST(Mp3Scanner, FindsTheStreamAgainBehindForeignBytes) {
  std::mt19937 random(1);
  const std::vector<mp3::Frame> whole = allFrames(cast());
  for (int trial = 0; trial < 50; ++trial) {
    // Bytes that look like sync words are the hard case.
    std::vector<uint8_t> junk(1 + random() % 3000);
    for (uint8_t& byte : junk) byte = random() % 3 == 0 ? 0xFF : static_cast<uint8_t>(0xF0 + random() % 16);
    const size_t after = 3 + random() % (whole.size() - 6);
    std::vector<uint8_t> bytes = cast();
    bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(whole[after].position), junk.begin(), junk.end());
    const auto survey = moxc::mp3::takeSurvey(bytes);
    ASSERT_TRUE(survey);
    EXPECT_EQ(survey->skippedBytes, static_cast<int64_t>(junk.size())) << trial;
    EXPECT_EQ(survey->frames - survey->lostFrames, static_cast<int64_t>(whole.size())) << trial;

    bytes = junk;
    bytes.insert(bytes.end(), cast().begin(), cast().end());
    EXPECT_EQ(moxc::mp3::takeSurvey(bytes)->bytesBefore, junk.size()) << trial;
  }
  std::vector<uint8_t> padded = cast();
  padded.resize(padded.size() + 4096);
  EXPECT_TRUE(moxc::mp3::takeSurvey(padded)->faults().empty());  // zeros fill the last sector
}

TEST(Mp3Scanner, KeepsTheNumberOfFramesWhenHeadersAreDamaged) {
  const std::vector<mp3::Frame> whole = allFrames(cast());
  for (size_t frame = 2; frame + 6 < whole.size(); ++frame) {
    for (size_t run = 1; run <= 4; ++run) {  // sync bits gone in a run of frames
      std::vector<uint8_t> bytes = cast();
      for (size_t i = 0; i < run; ++i) bytes[whole[frame + i].position] = 0x12;
      const auto survey = moxc::mp3::takeSurvey(bytes);
      EXPECT_EQ(survey->frames, static_cast<int64_t>(whole.size()));
      EXPECT_EQ(survey->lostFrames, static_cast<int64_t>(run));
    }
    std::vector<uint8_t> bytes = cast();  // a higher bit rate than the frame's: its end lies in the next
    bytes[whole[frame].position + 2] = static_cast<uint8_t>((bytes[whole[frame].position + 2] & 0x0F) | 0xB0);
    const auto survey = moxc::mp3::takeSurvey(bytes);
    EXPECT_EQ(survey->frames, static_cast<int64_t>(whole.size()));
    EXPECT_EQ(survey->doubtfulFrames, 1);
  }
}

TEST(Mp3Scanner, TruncationCostsOneFrameAndIsReported) {
  const std::vector<mp3::Frame> whole = allFrames(cast());
  for (size_t cut = whole[40].position; cut < whole[41].position; ++cut) {
    const std::vector<uint8_t> bytes(cast().begin(), cast().begin() + static_cast<ptrdiff_t>(cut));
    const auto survey = moxc::mp3::takeSurvey(bytes);
    EXPECT_EQ(survey->frames, 40);
    EXPECT_EQ(survey->truncatedBytes + static_cast<size_t>(survey->skippedBytes), cut - whole[40].position);
  }
}

TEST(Mp3Scanner, NamesAnotherStreamThatFollows) {
  std::vector<uint8_t> bytes = cast();
  const std::vector<uint8_t> other = readFile(streamPath("mp3_22050_joint64.mp3"));
  bytes.insert(bytes.end(), other.begin(), other.end());
  EXPECT_EQ(moxc::mp3::takeSurvey(bytes)->otherStream,
            "MPEG-2 Layer III, 22050 Hz, stereo at byte " + std::to_string(cast().size()));
}

TEST(Mp3Scanner, RandomBytesAreNoStream) {
  std::mt19937 random(7);
  for (int trial = 0; trial < 20; ++trial) {
    std::vector<uint8_t> bytes(random() % 100000);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    EXPECT_FALSE(moxc::mp3::takeSurvey(bytes)) << trial;
  }
  // Sync words without end, none of which leads to another: the search must not go over all pairs.
  std::vector<uint8_t> syncs(4000000);
  const uint8_t freeFormat[] = {0xFF, 0xFB, 0x00, 0x00, 0xFF, 0xFA, 0x04};
  for (size_t i = 0; i < syncs.size(); ++i) syncs[i] = freeFormat[i % 7];
  (void)moxc::mp3::takeSurvey(syncs);
}

TEST(Mp3VbrHeader, ReadsXingWithLameExtensionAndVbri) {
  // An empty MPEG-1 stereo frame of 128 kbit/s, 417 bytes.
  std::vector<uint8_t> bytes(417);
  bytes[0] = 0xFF, bytes[1] = 0xFB, bytes[2] = 0x90;
  const auto put = [&](size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<ptrdiff_t>(at));
  };
  mp3::Frame frame;
  frame.header = *moxc::mp3::parseHeader(bytes);
  frame.bytes = bytes;
  EXPECT_FALSE(moxc::mp3::readVbrHeader(frame));

  put(36, std::string("Info\0\0\0\x0F\0\0\x01\x02\0\x03\0\0", 16));
  put(36 + 16 + 104, "LAME3.100");
  put(36 + 16 + 104 + 21, std::string("\x24\x05\x46", 3));
  const auto info = moxc::mp3::readVbrHeader(frame);
  ASSERT_TRUE(info);
  EXPECT_EQ(info->kind, "Info");
  EXPECT_EQ(info->frames, 258u);
  EXPECT_EQ(info->bytes, 0x30000u);
  EXPECT_EQ(info->encoder, "LAME3.100");
  EXPECT_EQ(info->delay, 0x240);
  EXPECT_EQ(info->padding, 0x546);

  std::fill(bytes.begin() + 36, bytes.end(), uint8_t{0});
  put(36, std::string("VBRI\0\x01\0\0\0\0\0\x05\0\0\0\0\x02\0", 18));
  EXPECT_EQ(moxc::mp3::readVbrHeader(frame)->frames, 512u);
}

}  // namespace
