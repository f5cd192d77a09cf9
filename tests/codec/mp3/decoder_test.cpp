#include <gtest/gtest.h>

#include "codec/decode_bytes.h"
#include "codec/walk.h"
#include "support/streams.h"

namespace {

using moxtest::decodeBytes;
using moxtest::readFile;
using moxtest::streamPath;

// An Info frame in front of a bundled stream, telling its frame count, delay and padding.
std::vector<uint8_t> withInfoFrame(const std::vector<uint8_t>& stream, uint32_t frames, uint32_t delay,
                                   uint32_t padding) {
  constexpr ptrdiff_t kInfoBytes = 417;
  std::vector<uint8_t> info(kInfoBytes + stream.size());
  std::copy(stream.begin(), stream.end(), info.begin() + kInfoBytes);
  info[0] = 0xFF, info[1] = 0xFB, info[2] = 0x90;
  const auto put = [&](size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), info.begin() + static_cast<ptrdiff_t>(at));
  };
  put(36, "Info");
  info[43] = 1;
  info[46] = static_cast<uint8_t>(frames >> 8), info[47] = static_cast<uint8_t>(frames);
  put(48, "LAME3.100");
  info[69] = static_cast<uint8_t>(delay >> 4);
  info[70] = static_cast<uint8_t>((delay << 4) | (padding >> 8));
  info[71] = static_cast<uint8_t>(padding);
  return info;
}

TEST(Mp3Decoder, TrimsWhatTheEncoderAddedUnlessToldNotTo) {
  const std::vector<uint8_t> stream = readFile(streamPath("mp3_44100_joint128_short.mp3"));
  const auto whole = decodeBytes(stream);
  const auto cut = decodeBytes(withInfoFrame(stream, 44, 576, 1000));
  ASSERT_TRUE(whole && cut);
  const int64_t front = 576 + 529, back = 1000 - 529;
  ASSERT_EQ(cut->samples, 44 * 1152 - front - back);
  EXPECT_TRUE(std::equal(cut->s16.begin(), cut->s16.end(), whole->s16.begin() + 2 * front));

  EXPECT_EQ(decodeBytes(withInfoFrame(stream, 44, 576, 1000), {false, true})->s16, whole->s16);
  // A count that does not fit: the end was cut off or added to, so only the front is known.
  EXPECT_EQ(decodeBytes(withInfoFrame(stream, 50, 576, 1000))->samples, 44 * 1152 - front);
  // More than there is: not believed.
  const std::vector<uint8_t> brief(stream.begin(), stream.begin() + 2 * 418);
  EXPECT_GT(decodeBytes(withInfoFrame(brief, 2, 4095, 4095))->samples, 0);
}

TEST(Mp3Decoder, DamageIsCountedConcealedAndLocal) {
  const std::vector<uint8_t> stream = readFile(streamPath("mp3_32000_mono64_crc.mp3"));
  const auto whole = decodeBytes(stream);
  const auto frames = moxtest::walkMp3(stream).frames;

  std::vector<uint8_t> damaged = stream;  // a bit of the side information: the CRC tells
  damaged[frames[10].position + 6 + 5] ^= 0x10;
  const auto decoded = decodeBytes(damaged);
  ASSERT_EQ(decoded->samples, whole->samples);
  EXPECT_EQ(decoded->stats.concealed, 1);
  EXPECT_FALSE(decoded->damage.empty());
  // Frame 10 itself differs; frame 11 starts from its overlap; from frame 12 on nothing is left of it.
  const auto same = [&](int first, int last) {
    return std::equal(decoded->s16.begin() + first * 1152, decoded->s16.begin() + last * 1152,
                      whole->s16.begin() + first * 1152);
  };
  EXPECT_TRUE(same(0, 10));
  EXPECT_FALSE(same(10, 11));
  EXPECT_TRUE(same(13, 32));

  // An encoder that writes no real CRC words: nothing is concealed for it.
  damaged = stream;
  for (const auto& frame : frames) damaged[frame.position + 4] ^= 0xFF;
  EXPECT_EQ(decodeBytes(damaged)->s16, whole->s16);

  // Without its beginning a stream lacks the reservoir at first, and nothing else.
  const std::vector<uint8_t> late(stream.begin() + 1000, stream.end());
  const auto rest = decodeBytes(late);
  EXPECT_GT(rest->stats.concealed, 0);
  EXPECT_LT(rest->stats.concealed, 4);
  EXPECT_TRUE(std::equal(rest->s16.end() - 10 * 1152, rest->s16.end(), whole->s16.end() - 10 * 1152));
}

}  // namespace
