#include <gtest/gtest.h>

#include <cmath>

#include "codec/aac/crc.h"
#include "codec/decode_bytes.h"
#include "codec/stream/adts_writer.h"
#include "codec/walk.h"
#include "support/streams.h"

namespace {

using moxtest::append;
using moxtest::appendFrame;
using moxtest::Bits;
using moxtest::decodeBytes;
using moxtest::Decoded;
using moxtest::readFile;
using moxtest::streamPath;
using moxtest::Wav;

// Octave-wide level, dB: differences of neighbouring averages, all channels added. Cheap, and blind to phase.
double level(const std::vector<int16_t>& samples, int32_t channels, size_t width) {
  const size_t block = width * static_cast<size_t>(channels);
  double energy = 0;
  for (size_t i = 0; i + 2 * block <= samples.size(); i += block) {
    double difference = 0;
    for (size_t k = 0; k < block; ++k) difference += samples[i + k] - samples[i + block + k];
    energy += std::pow(difference / static_cast<double>(block), 2);
  }
  return 10 * std::log10(energy * static_cast<double>(block) / static_cast<double>(samples.size()));
}

// A noise substituted band has another waveform in every decoder, but the level of the rest.
TEST(AacDecoder, NoiseSubstitutionKeepsTheLevels) {
  const Wav reference = moxtest::readWav(streamPath("aac_44100_pns32.ref.wav"));
  const auto decoded = decodeBytes(readFile(streamPath("aac_44100_pns32.aac")));
  ASSERT_TRUE(decoded);
  for (size_t width = 2; width <= 64; width *= 2)
    EXPECT_NEAR(level(decoded->s16, 1, width), level(reference.samples, 1, width), 0.25) << width;
}

using Frame = moxtest::Walk<moxc::AdtsSyntax>::Frame;

// The frames of a stream with the places of their elements.
struct Frames {
  std::vector<uint8_t> bytes;
  std::vector<Frame> frames;
  std::vector<std::vector<moxc::aac::ProtectedBits>> protectedBits;

  explicit Frames(const std::string& name) : bytes(readFile(streamPath(name))) {
    frames = moxtest::walkAdts(bytes).frames;
    const moxc::AdtsHeader& first = frames[0].header;
    moxc::aac::BlockReader reader({first.objectType(), first.fields.samplingRateIndex});
    moxc::aac::Block block;
    for (const Frame& frame : frames) {
      EXPECT_TRUE(reader.read(payload(frame), block));
      protectedBits.push_back(block.protectedBits);
    }
  }
  static moxc::Bytes payload(const Frame& frame) {
    return moxc::slice(frame.bytes, frame.header.headerBytes());
  }
};

TEST(AacDecoder, SeveralBlocksToAFrameWithAndWithoutCheckWords) {
  const Frames source("aac_44100_stereo128.aac");
  const auto whole = decodeBytes(source.bytes);
  for (const bool crc : {false, true}) {
    std::vector<uint8_t> stream;
    std::vector<size_t> starts;
    for (size_t i = 0; i < source.frames.size();) {
      const size_t blocks = std::min<size_t>(1 + i % 4, source.frames.size() - i);
      std::vector<uint8_t> positions, body;
      for (size_t b = 0; b < blocks; ++b, ++i) {
        const moxc::Bytes data = Frames::payload(source.frames[i]);
        if (b > 0) append(positions, Bits().put(static_cast<uint32_t>(body.size()), 16).bytes());
        append(body, data);
        if (crc && blocks > 1) {
          moxc::aac::AdtsCrc check;
          check.add(data, source.protectedBits[i]);
          append(body, Bits().put(check.value(), 16).bytes());
        }
      }
      const size_t header = crc ? 9 + positions.size() : 7;
      std::vector<uint8_t> head = moxtest::adtsHeader(source.frames[0].header.fields, header + body.size(),
                                                      static_cast<int32_t>(blocks), crc);
      if (crc) {
        append(head, positions);
        moxc::aac::AdtsCrc check;
        check.addBits(head, 0, 8 * head.size());
        if (blocks == 1) check.add(body, source.protectedBits[i - 1]);
        append(head, Bits().put(check.value(), 16).bytes());
      }
      starts.push_back(stream.size());
      append(stream, head);
      append(stream, body);
    }
    const auto decoded = decodeBytes(stream);
    ASSERT_TRUE(decoded);
    EXPECT_TRUE(decoded->damage.empty()) << decoded->damage[0];
    EXPECT_EQ(decoded->s16, whole->s16);

    if (!crc) continue;
    stream[starts[5] + 25] ^= 0x04;  // of the first block's protected bits
    const auto damaged = decodeBytes(stream);
    EXPECT_FALSE(damaged->damage.empty());
    EXPECT_EQ(damaged->samples, whole->samples);
  }
}

TEST(AacDecoder, CheckWordsTellDamageOnlyWhereTheyAreReal) {
  const Frames source("aac_44100_short_crc.aac");
  const auto whole = decodeBytes(source.bytes);
  std::vector<uint8_t> damaged = source.bytes;
  damaged[source.frames[20].position + 7] ^= 0x40;
  EXPECT_EQ(decodeBytes(damaged)->stats.concealed, 1);

  for (const Frame& frame : source.frames) damaged[frame.position + 7] ^= 0x55;
  const auto unreal = decodeBytes(damaged);
  EXPECT_EQ(unreal->s16, whole->s16);
  EXPECT_TRUE(unreal->damage.empty());
}

TEST(AacDecoder, FindsFramesAgainAndConcealsWhatIsMissing) {
  const Frames source("aac_44100_stereo128.aac");
  const auto whole = decodeBytes(source.bytes);
  const auto at = [&](size_t frame) { return source.frames[frame].position; };
  const auto same = [&](const Decoded& other, int first, int last) {
    return std::equal(whole->s16.begin() + first * 2048, whole->s16.begin() + last * 2048,
                      other.s16.begin() + first * 2048);
  };
  std::vector<uint8_t> damaged = source.bytes;  // a header lost: about one frame is made up
  damaged[at(20)] = 0;
  auto decoded = decodeBytes(damaged);
  ASSERT_EQ(decoded->samples, whole->samples);
  EXPECT_EQ(decoded->stats.concealed, 1);
  EXPECT_GT(decoded->stats.skippedBytes, 0);
  EXPECT_TRUE(same(*decoded, 0, 20) && !same(*decoded, 20, 21) && same(*decoded, 22, 50));

  damaged = source.bytes;  // zeros behind are padding
  damaged.resize(damaged.size() + 512);
  EXPECT_TRUE(decodeBytes(damaged)->damage.empty());

  damaged = source.bytes;  // foreign bytes in front and between, the end cut off
  damaged.resize(damaged.size() - 10);
  damaged.insert(damaged.begin() + static_cast<ptrdiff_t>(at(30)), 40, 0x5A);
  damaged.insert(damaged.begin(), {0x12, 0xFF, 0xF1, 0x34});
  decoded = decodeBytes(damaged);
  EXPECT_EQ(decoded->samples, whole->samples - 1024);
  EXPECT_TRUE(same(*decoded, 0, 49));
  EXPECT_EQ(decoded->stats.skippedBytes, 40);
}

std::vector<uint8_t> programElement(bool sidePair) {
  // L R C, side pair, back pair, LFE: the tags that the 5.1 stream uses, in another order than channel configuration 6.
  Bits bits;
  bits.put(5, 3)
      .put(0, 4)
      .put(1, 2)
      .put(3, 4)
      .put(2, 4)
      .put(sidePair, 4)
      .put(!sidePair, 4)
      .put(1, 2)
      .put(0, 3)
      .put(0, 4);
  bits.put(0, 3);                                // no mixdowns
  bits.put(0, 1).put(0, 4).put(1, 1).put(0, 4);  // front: single 0, pair 0
  bits.put(1, 1).put(1, 4);                      // side or back: pair 1
  bits.put(0, 4);                                // LFE 0
  bits.align().put(0, 8);
  return bits.bytes();
}

TEST(AacDecoder, LayoutsOfProgramConfigurationElementsAndOfSevenChannels) {
  const Frames source("aac_48000_51_320.aac");
  const auto whole = decodeBytes(source.bytes);
  EXPECT_EQ(whole->format.channelMask, 0x3Fu);
  MoxAacADTSFrameHeader like = source.frames[0].header.fields;

  for (const bool sidePair : {false, true}) {
    std::vector<uint8_t> stream;
    like.channelConfig = 0;
    for (const Frame& frame : source.frames) {
      const moxc::Bytes data = Frames::payload(frame);
      Bits bits;
      if (&frame == &source.frames[0])
        bits.copy(programElement(sidePair), 0, 8 * programElement(sidePair).size());
      appendFrame(stream, like, bits.copy(data, 0, 8 * data.size()).bytes());
    }
    const auto decoded = decodeBytes(stream);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->format.channelMask, sidePair ? 0x60Fu : 0x3Fu);
    EXPECT_EQ(decoded->s16, whole->s16);
  }

  // No layout at all: the elements themselves tell.
  const Frames pairs("aac_44100_stereo128.aac");
  MoxAacADTSFrameHeader unnamed = pairs.frames[0].header.fields;
  unnamed.channelConfig = 0;
  std::vector<uint8_t> bare;
  for (const Frame& frame : pairs.frames) appendFrame(bare, unnamed, Frames::payload(frame));
  EXPECT_EQ(decodeBytes(bare)->s16, decodeBytes(pairs.bytes)->s16);

  // Configuration 7: the front pair twice, as the inner one too.
  std::vector<uint8_t> stream;
  like.channelConfig = 7;
  for (size_t i = 0; i < source.frames.size(); ++i) {
    const moxc::Bytes data = Frames::payload(source.frames[i]);
    std::vector<size_t> starts;  // of the elements' identifiers; a pair has two protected parts
    for (size_t k = 0; k < source.protectedBits[i].size(); ++k)
      if (k == 0 || source.protectedBits[i][k].padTo == 192)
        starts.push_back(source.protectedBits[i][k].first - 3);
    const size_t pair = starts[1], behind = starts[2];
    Bits bits;
    bits.copy(data, 0, behind).copy(data, pair, behind - pair).copy(data, behind, 8 * data.size() - behind);
    appendFrame(stream, like, bits.bytes());
  }
  const auto decoded = decodeBytes(stream);
  ASSERT_TRUE(decoded);
  EXPECT_TRUE(decoded->damage.empty());
  EXPECT_EQ(decoded->format.channels, 8);
  EXPECT_EQ(decoded->format.channelMask, 0xFFu);
  for (size_t i = 0; i < static_cast<size_t>(decoded->samples); ++i)
    for (size_t ch = 0; ch < 8; ++ch)
      ASSERT_EQ(decoded->s16[8 * i + ch], whole->s16[6 * i + (ch < 6 ? ch : ch - 6)]) << i << " " << ch;
}

// A coupling channel of two noisy bands with gains for a pair's two channels stands in front of every block.
TEST(AacDecoder, CouplingChannelsArePassedOverWithANotice) {
  const Frames source("aac_44100_stereo128.aac");
  const auto whole = decodeBytes(source.bytes);
  std::vector<uint8_t> stream;
  for (const Frame& frame : source.frames) {
    const moxc::Bytes data = Frames::payload(frame);
    Bits bits;
    bits.put(2, 3).put(0, 4).put(0, 1).put(0, 3).put(1, 1).put(0, 4).put(3, 2).put(0, 4);
    bits.put(100, 8).put(0, 4).put(2, 6).put(0, 1);  // gain; only long, two bands
    bits.put(1, 4).put(2, 5).put(0, 2).put(0, 3);    // one section of book 1, two differences of 0, no tools
    bits.put(0, 2);                                  // two code words of zeros
    bits.put(0, 1).put(0, 2);                        // gains of the second list, one for each band
    appendFrame(stream, source.frames[0].header.fields, bits.copy(data, 0, 8 * data.size()).bytes());
  }
  const auto decoded = decodeBytes(stream);
  ASSERT_TRUE(decoded);
  EXPECT_TRUE(decoded->damage.empty());
  ASSERT_EQ(decoded->notices.size(), 1u);
  EXPECT_EQ(decoded->s16, whole->s16);
}

}  // namespace
