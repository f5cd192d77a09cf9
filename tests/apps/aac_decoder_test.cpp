#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

#include "apps/adts_writer.h"
#include "apps/damage.h"
#include "apps/decode_bytes.h"
#include "apps/streams.h"
#include "mox/aac_crc.h"
#include "mox/aac_stream.h"

namespace {

using moxtest::append;
using moxtest::appendFrame;
using moxtest::Bits;
using moxtest::decodeBytes;
using moxtest::Decoded;
using moxtest::readFile;
using moxtest::streamPath;
using moxtest::Wav;

// The references leave out the first frame of ADIF, and of streams that name faac as their encoder.
size_t samplesMissing(const Wav& reference, const Decoded& decoded) {
  return static_cast<size_t>(decoded.samples - reference.info.frames) *
         static_cast<size_t>(reference.info.channels);
}

struct Difference {
  double worst = 0, rms = 0;
};

template <class T>
Difference compare(const std::vector<T>& got, double scale, const Wav& reference, size_t skip) {
  Difference difference;
  for (size_t i = 0; i < reference.samples.size(); ++i) {
    const double value = std::clamp(static_cast<double>(got[skip + i]) * scale, -32768.0, 32767.0);
    const double off = std::abs(value - reference.samples[i]);
    difference.worst = std::max(difference.worst, off);
    difference.rms += off * off;
  }
  difference.rms = std::sqrt(difference.rms / static_cast<double>(reference.samples.size()));
  return difference;
}

std::vector<std::string> aacStreams() {
  std::vector<std::string> paths;
  for (const char* suffix : {".aac", ".adif"})
    for (const std::string& path : moxtest::bundledStreams(suffix))
      if (path.find("heaac") == std::string::npos) paths.push_back(path + suffix);
  return paths;
}

Wav referenceOf(const std::string& path) {
  return moxtest::readWav(path.substr(0, path.rfind('.')) + ".ref.wav");
}

TEST(AacDecoder, EveryBundledStreamEqualsItsReferenceWithinOneBit) {
  for (const std::string& path : aacStreams()) {
    const std::vector<uint8_t> bytes = readFile(path);
    const Wav reference = referenceOf(path);
    const auto fixed = decodeBytes(bytes), floating = decodeBytes(bytes, {.floatSamples = true});
    ASSERT_TRUE(fixed && floating) << path;
    EXPECT_TRUE(fixed->stats.faults.empty()) << path << ": " << fixed->stats.faults[0];
    EXPECT_EQ(fixed->format.rate, reference.info.samplerate) << path;
    ASSERT_EQ(fixed->format.channels, reference.info.channels) << path;
    ASSERT_EQ(fixed->samples, floating->samples) << path;
    const bool firstFrameMissing = path.ends_with(".adif") ||
                                   path.find("44100_main_pred") != std::string::npos ||
                                   path.find("44100_ltp") != std::string::npos;
    ASSERT_EQ(fixed->samples - reference.info.frames, firstFrameMissing ? 1024 : 0) << path;
    if (path.find("pns") != std::string::npos) continue;

    const size_t skip = samplesMissing(reference, *fixed);
    const Difference s16 = compare(fixed->s16, 1, reference, skip);
    const Difference f32 = compare(floating->f32, 32768, reference, skip);
    std::printf("  %-30s 16-bit: max %.0f LSB, rms %.4f LSB; float: max %.4f LSB\n",
                std::filesystem::path(path).filename().c_str(), s16.worst, s16.rms, f32.worst);
    EXPECT_LE(s16.worst, 1) << path;
    EXPECT_LT(s16.rms, 0.5) << path;
    EXPECT_LE(f32.worst, 1) << path;
  }
}

// A noise substituted band has another waveform in every decoder, but the level of the rest.
TEST(AacDecoder, NoiseSubstitutionKeepsTheLevels) {
  const std::string path = streamPath("aac_44100_pns32.aac");
  const Wav reference = referenceOf(path);
  const auto decoded = decodeBytes(readFile(path));
  ASSERT_TRUE(decoded);
  // Octave-wide differences of neighbouring averages stand for bands: cheap, and blind to phase.
  for (size_t width = 2; width <= 64; width *= 2) {
    const auto level = [width](const std::vector<int16_t>& samples) {
      double energy = 0;
      for (size_t i = 0; i + 2 * width <= samples.size(); i += width) {
        double difference = 0;
        for (size_t k = 0; k < width; ++k) difference += samples[i + k] - samples[i + width + k];
        energy += difference * difference;
      }
      return 10 * std::log10(energy);
    };
    EXPECT_NEAR(level(decoded->s16), level(reference.samples), 0.25) << width;
  }
}

// The frames of a stream with the places of their elements.
struct Frames {
  std::vector<uint8_t> bytes;
  std::vector<mox::AdtsFrame> frames;
  std::vector<std::vector<mox::ProtectedBits>> protectedBits;

  explicit Frames(const std::string& name) : bytes(readFile(streamPath(name))) {
    mox::AdtsScanner scanner(bytes);
    mox::AacBlockReader reader(
        {scanner.firstHeader().objectType(), scanner.firstHeader().fields.samplingRateIndex});
    mox::AacBlock block;
    for (mox::AdtsFrame frame; scanner.next(frame);) {
      EXPECT_TRUE(reader.read(payload(frame), block));
      frames.push_back(frame);
      protectedBits.push_back(block.protectedBits);
    }
  }
  static mox::Bytes payload(const mox::AdtsFrame& frame) {
    return mox::slice(frame.bytes, frame.header.headerBytes());
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
        const mox::Bytes data = Frames::payload(source.frames[i]);
        if (b > 0) append(positions, Bits().put(static_cast<uint32_t>(body.size()), 16).bytes());
        append(body, data);
        if (crc && blocks > 1) {
          mox::AdtsCrc check;
          check.add(data, source.protectedBits[i]);
          append(body, Bits().put(check.value(), 16).bytes());
        }
      }
      const size_t header = crc ? 9 + positions.size() : 7;
      std::vector<uint8_t> head = moxtest::adtsHeader(source.frames[0].header.fields, header + body.size(),
                                                      static_cast<int32_t>(blocks), crc);
      if (crc) {
        append(head, positions);
        mox::AdtsCrc check;
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
    EXPECT_TRUE(decoded->stats.faults.empty()) << decoded->stats.faults[0];
    EXPECT_EQ(decoded->s16, whole->s16);

    if (!crc) continue;
    stream[starts[5] + 25] ^= 0x04;  // of the first block's protected bits
    const auto damaged = decodeBytes(stream);
    EXPECT_FALSE(damaged->stats.faults.empty());
    EXPECT_EQ(damaged->samples, whole->samples);
  }
}

TEST(AacDecoder, CheckWordsTellDamageOnlyWhereTheyAreReal) {
  const Frames source("aac_44100_short_crc.aac");
  const auto whole = decodeBytes(source.bytes);
  std::vector<uint8_t> damaged = source.bytes;
  damaged[source.frames[20].position + 7] ^= 0x40;
  EXPECT_EQ(decodeBytes(damaged)->stats.concealed, 1);

  for (const mox::AdtsFrame& frame : source.frames) damaged[frame.position + 7] ^= 0x55;
  const auto unreal = decodeBytes(damaged);
  EXPECT_EQ(unreal->s16, whole->s16);
  EXPECT_TRUE(unreal->stats.faults.empty());
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
  EXPECT_TRUE(decodeBytes(damaged)->stats.faults.empty());

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
    for (const mox::AdtsFrame& frame : source.frames) {
      const mox::Bytes data = Frames::payload(frame);
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
  for (const mox::AdtsFrame& frame : pairs.frames) appendFrame(bare, unnamed, Frames::payload(frame));
  EXPECT_EQ(decodeBytes(bare)->s16, decodeBytes(pairs.bytes)->s16);

  // Configuration 7: the front pair twice, as the inner one too.
  std::vector<uint8_t> stream;
  like.channelConfig = 7;
  for (size_t i = 0; i < source.frames.size(); ++i) {
    const mox::Bytes data = Frames::payload(source.frames[i]);
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
  EXPECT_TRUE(decoded->stats.faults.empty());
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
  for (const mox::AdtsFrame& frame : source.frames) {
    const mox::Bytes data = Frames::payload(frame);
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
  EXPECT_TRUE(decoded->stats.faults.empty());
  ASSERT_EQ(decoded->stats.notices.size(), 1u);
  EXPECT_EQ(decoded->s16, whole->s16);
}

// Without replication the core must still be what lies below the crossover, at half the rate.
TEST(AacDecoder, TheCoreOfHeAacIsTheLowBandOfItsReference) {
  for (const char* name : {"heaac_44100_stereo48", "heaac_48000_mono24", "heaacv2_44100_32"}) {
    const auto decoded = decodeBytes(readFile(streamPath(std::string(name) + ".aac")));
    const Wav reference = moxtest::readWav(streamPath(std::string(name) + ".ref.wav"));
    ASSERT_TRUE(decoded) << name;
    ASSERT_EQ(decoded->format.rate * 2, reference.info.samplerate) << name;
    ASSERT_EQ(decoded->samples * 2, reference.info.frames) << name;
    EXPECT_EQ(decoded->stats.notices.size(), 1u);
    // Channels added, averages over 16 samples of the core rate.
    const auto smooth = [](const std::vector<int16_t>& samples, int32_t channels, size_t width) {
      std::vector<double> sums;
      const auto step = static_cast<size_t>(channels);
      for (size_t i = 0; (i + width) * step <= samples.size(); i += width / 16) {
        double sum = 0;
        for (size_t k = i * step; k < (i + width) * step; ++k) sum += samples[k];
        sums.push_back(sum);
      }
      return sums;
    };
    const std::vector<double> core = smooth(decoded->s16, decoded->format.channels, 16);
    const std::vector<double> full = smooth(reference.samples, reference.info.channels, 32);
    double best = 0;
    for (size_t delay = 0; delay < 1024; ++delay) {
      double both = 0, a = 0, b = 0;
      for (size_t i = 0; i + delay < std::min(core.size(), full.size()); ++i) {
        both += core[i] * full[i + delay];
        a += core[i] * core[i];
        b += full[i + delay] * full[i + delay];
      }
      best = std::max(best, both / std::sqrt(a * b));
    }
    EXPECT_GT(best, 0.98) << name;
  }
}

TEST(AacDecoder, DamagedStreamsAreDecodedOrRefused) {
  std::vector<std::string> paths = aacStreams();
  const char* const chosen = std::getenv("MOX_DAMAGE_SEED");
  const uint32_t first = chosen != nullptr ? static_cast<uint32_t>(std::strtoul(chosen, nullptr, 10)) : 1;
  int refused = 0, decoded = 0;
  for (uint32_t seed = first; seed < first + 300; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const std::vector<uint8_t> bytes = moxtest::damagedCopy(readFile(paths[seed % paths.size()]), seed);
    const auto result =
        decodeBytes(seed % 10 == 0 ? moxtest::wrapInAdts(bytes) : bytes, {seed % 2 == 0, false});
    (result ? decoded : refused)++;
  }
  std::printf("  %d decoded, %d refused\n", decoded, refused);
  EXPECT_GT(decoded, 200);
}

}  // namespace
