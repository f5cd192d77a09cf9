// The walk over the frames of a stream, with MPEG audio as its example.
#include <gtest/gtest.h>

#include <random>

#include "codec/decode_bytes.h"
#include "codec/mp3/info_frame.h"
#include "codec/walk.h"
#include "support/streams.h"

namespace {

using moxtest::decodeBytes;
using moxtest::readFile;
using moxtest::streamPath;
using moxtest::walkMp3;

const std::vector<uint8_t>& cast() {
  static const std::vector<uint8_t> bytes = readFile(streamPath("mp3_44100_joint128_short.mp3"));
  return bytes;
}
const std::vector<moxtest::Walk<moxc::mp3::Syntax>::Frame>& castFrames() {
  static const auto frames = walkMp3(cast()).frames;
  return frames;
}

TEST(FrameDemuxer, FindsTheStreamAgainBehindForeignBytes) {
  std::mt19937 random(1);
  for (int trial = 0; trial < 50; ++trial) {
    // Bytes that look like sync words are the hard case.
    std::vector<uint8_t> junk(1 + random() % 3000);
    for (uint8_t& byte : junk) byte = random() % 3 == 0 ? 0xFF : static_cast<uint8_t>(0xF0 + random() % 16);
    const size_t after = 3 + random() % (castFrames().size() - 6);
    std::vector<uint8_t> bytes = cast();
    bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(castFrames()[after].position), junk.begin(),
                 junk.end());
    const auto walked = walkMp3(bytes);
    EXPECT_EQ(walked.counts.skipped, static_cast<int64_t>(junk.size())) << trial;
    EXPECT_EQ(walked.frames.size(), castFrames().size()) << trial;

    bytes = junk;
    bytes.insert(bytes.end(), cast().begin(), cast().end());
    EXPECT_EQ(walkMp3(bytes).bytesBefore, junk.size()) << trial;
  }
  std::vector<uint8_t> padded = cast();
  padded.resize(padded.size() + 4096);
  EXPECT_EQ(walkMp3(padded).counts.skipped, 0);  // zeros fill the last sector
  padded = cast();
  padded.push_back(0x0A);
  EXPECT_TRUE(decodeBytes(padded)->damage.empty());
}

TEST(FrameDemuxer, KeepsTheNumberOfFramesWhenHeadersAreDamaged) {
  const auto& whole = castFrames();
  for (size_t frame = 2; frame + 6 < whole.size(); ++frame) {
    for (size_t run = 1; run <= 4; ++run) {  // sync bits gone in a run of frames
      std::vector<uint8_t> bytes = cast();
      for (size_t i = 0; i < run; ++i) bytes[whole[frame + i].position] = 0x12;
      const auto walked = walkMp3(bytes);
      EXPECT_EQ(walked.frames.size() + run, whole.size());
      EXPECT_EQ(walked.counts.lost, static_cast<int64_t>(run));
    }
    std::vector<uint8_t> bytes = cast();  // a higher bit rate than the frame's: its end lies in the next
    bytes[whole[frame].position + 2] = static_cast<uint8_t>((bytes[whole[frame].position + 2] & 0x0F) | 0xB0);
    auto walked = walkMp3(bytes);
    EXPECT_EQ(walked.frames.size(), whole.size());
    EXPECT_EQ(walked.counts.doubtful, 1);
    bytes = cast();  // mono, by one bit: no other stream begins there
    bytes[whole[frame].position + 3] |= 0xC0;
    walked = walkMp3(bytes);
    EXPECT_EQ(walked.frames.size() + 1, whole.size());
    EXPECT_EQ(walked.counts.lost, 1);
  }
}

TEST(FrameDemuxer, TruncationCostsOneFrameAndIsReported) {
  const auto& whole = castFrames();
  for (size_t cut = whole[40].position + 2; cut < whole[41].position; ++cut) {
    const auto walked = walkMp3(moxc::Bytes(cast()).first(cut));
    EXPECT_EQ(walked.frames.size(), 40u);
    EXPECT_EQ(walked.counts.truncated + walked.counts.skipped,
              static_cast<int64_t>(cut - whole[40].position));
  }
}

TEST(FrameDemuxer, NothingIsTakenForAStreamByChance) {
  std::mt19937 random(7);
  for (int trial = 0; trial < 20; ++trial) {
    std::vector<uint8_t> bytes(random() % 100000);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    EXPECT_FALSE(walkMp3(bytes).found) << trial;
    // Behind foreign bytes the end of the data convinces of nothing.
    const auto two = moxc::Bytes(cast()).first(castFrames()[2].position);
    bytes.insert(bytes.end(), two.begin(), two.end());
    EXPECT_FALSE(walkMp3(bytes).found) << trial;
  }
  // Sync words without end, none of which leads to another: the search must not go over all pairs.
  std::vector<uint8_t> syncs(4000000);
  const uint8_t freeFormat[] = {0xFF, 0xFB, 0x00, 0x00, 0xFF, 0xFA, 0x04};
  for (size_t i = 0; i < syncs.size(); ++i) syncs[i] = freeFormat[i % 7];
  (void)walkMp3(syncs);
}

TEST(VbrHeader, ReadsXingWithLameExtensionAndVbri) {
  // An empty MPEG-1 stereo frame of 128 kbit/s, 417 bytes.
  std::vector<uint8_t> bytes(417);
  bytes[0] = 0xFF, bytes[1] = 0xFB, bytes[2] = 0x90;
  const auto put = [&](size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<ptrdiff_t>(at));
  };
  moxc::mp3::Frame frame;
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
