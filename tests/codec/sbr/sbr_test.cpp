// Spectral band replication: tables, payloads and what becomes of damaged ones. That its output is right is told by the
// references of the bundled streams and, for every field of the syntax, by aac_peers.py.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "codec/aac/block.h"
#include "codec/decode_bytes.h"
#include "codec/sbr/sbr_payloads.h"
#include "codec/stream/adts_writer.h"
#include "codec/walk.h"
#include "support/streams.h"

namespace {

using moxc::sbr::Bands;
using moxc::sbr::Borders;
using moxc::sbr::Read;
using moxtest::Bits;

constexpr const char* kStereo = "heaac_44100_random.aac";
constexpr int32_t kStereoRate = 44100;

// The payloads of a bundled stream of one element.
std::vector<std::vector<uint8_t>> payloadsOf(const std::string& name) {
  const std::vector<uint8_t> bytes = moxtest::readFile(moxtest::streamPath(name));
  const auto frames = moxtest::walkAdts(bytes).frames;
  const moxc::AdtsHeader& first = frames[0].header;
  moxc::aac::BlockReader reader({first.objectType(), first.fields.samplingRateIndex});
  std::vector<std::vector<uint8_t>> payloads;
  moxc::aac::Block block;
  for (const auto& frame : frames) {
    EXPECT_TRUE(reader.read(moxc::slice(frame.bytes, frame.header.headerBytes()), block));
    const moxc::Bytes payload = block.element(0).sbr();
    EXPECT_FALSE(payload.empty());
    payloads.emplace_back(payload.begin(), payload.end());
  }
  return payloads;
}

void expectRising(const moxc::sbr::Borders& borders, int32_t begin, int32_t end) {
  EXPECT_GE(borders.bands, 1);
  EXPECT_EQ(borders[0], begin);
  EXPECT_EQ(borders.end(), end);
  for (int32_t b = 0; b < borders.bands; ++b) ASSERT_LT(borders[b], borders[b + 1]);
}

void expectWithin(const moxc::sbr::Borders& some, const moxc::sbr::Borders& all) {
  for (int32_t b = 0; b <= some.bands; ++b) ASSERT_TRUE(all.has(some[b])) << some[b];
}

// What holds for every table that is not refused, and how many of all headers lead to one.
TEST(SbrBands, KeepTheirLawsForEveryHeaderAtEveryRate) {
  int made = 0, refused = 0;
  for (const moxc::sbr::Rate& rate : moxc::sbr::kRates)
    for (uint32_t code = 0; code < 1u << 16; ++code) {
      const auto field = [code](int shift, int bits) {
        return static_cast<int32_t>(code >> shift & ((1u << bits) - 1));
      };
      moxc::sbr::Header header;
      header.spectrum = {field(0, 4), field(4, 4), field(8, 3), field(11, 2), field(13, 1), field(14, 2)};
      header.limiterBands = static_cast<int32_t>(code % 7 % 4);
      moxc::sbr::Bands bands;
      if (!bands.make(header, rate.hz)) {
        ++refused;
        continue;
      }
      ++made;
      SCOPED_TRACE(std::to_string(rate.hz) + " Hz, header " + std::to_string(code));
      const int32_t end = header.spectrum.stopFreq < 14
                              ? rate.behindBand[header.spectrum.stopFreq]
                              : std::min(64, (header.spectrum.stopFreq - 12) * bands.firstBand);
      expectRising(bands.master, rate.firstBand[header.spectrum.startFreq], end);
      for (const moxc::sbr::Borders* borders : {&bands.high, &bands.low, &bands.noise, &bands.limiter})
        expectRising(*borders, bands.begin(), end);
      expectWithin(bands.high, bands.master);
      expectWithin(bands.low, bands.high);
      expectWithin(bands.noise, bands.low);
      ASSERT_EQ(bands.low.bands, (bands.high.bands + 1) / 2);

      int32_t done = bands.begin();
      for (int32_t p = 0; p < bands.numPatches; ++p) {
        const moxc::sbr::Bands::Patch& patch = bands.patches[static_cast<size_t>(p)];
        ASSERT_EQ(patch.to, done);
        ASSERT_EQ((patch.to - patch.from) % 2, 0);  // else the spectrum would be turned around
        ASSERT_GE(patch.from, 0);
        ASSERT_LE(patch.from + patch.count, bands.firstBand);
        done += patch.count;
      }
      ASSERT_LE(end - done, 2);
      // A short patch that reached the top is left out.
      ASSERT_TRUE(done < end || bands.numPatches == 1 ||
                  bands.patches[static_cast<size_t>(bands.numPatches) - 1].count >= 3);
      if (field(11, 2) == 0 && header.spectrum.alterScale == 0 && (end - bands.firstBand) % 2 == 0) {
        ASSERT_EQ(bands.master.bands, end - bands.firstBand);
      }
      if (header.limiterBands == 0) {
        ASSERT_EQ(bands.limiter.bands, 1);
      }
    }
  std::printf("  %d tables, %d headers refused\n", made, refused);
  EXPECT_GT(made, 9 * 65536 / 4);
  moxc::sbr::Bands bands;
  EXPECT_FALSE(bands.make({}, 192000));
}

TEST(SbrGrid, BordersNoiseFloorsAndTransientsOfEveryClass) {
  struct Case {
    Bits bits;
    std::vector<int32_t> borders, noiseBorders;
    int32_t transient;
    std::vector<bool> highRes;
    bool coarse;
  };
  const auto grid = [] { return Bits(); };
  const Case cases[] = {
      {grid().put(0, 2).put(0, 2).put(1, 1), {0, 16}, {0, 16}, -1, {true}, false},
      {grid().put(0, 2).put(2, 2).put(1, 1),
       {0, 4, 8, 12, 16},
       {0, 8, 16},
       -1,
       {true, true, true, true},
       true},
      // Trailing border 18, then 4 and 2 down; the pointer counts from behind, as do the resolutions.
      {grid().put(1, 2).put(2, 2).put(2, 2).put(1, 2).put(0, 2).put(2, 2).put(4, 3),
       {0, 12, 14, 18},
       {0, 14, 18},
       2,
       {false, false, true},
       true},
      {grid().put(1, 2).put(0, 2).put(0, 2).put(1, 1).put(1, 1), {0, 16}, {0, 16}, 1, {true}, true},
      // Leading border 3, then 8 and 2 up.
      {grid().put(2, 2).put(3, 2).put(2, 2).put(3, 2).put(0, 2).put(2, 2).put(5, 3),
       {3, 11, 13, 16},
       {3, 11, 16},
       1,
       {true, false, true},
       true},
      {grid().put(2, 2).put(0, 2).put(1, 2).put(0, 2).put(0, 2).put(1, 2),
       {0, 2, 16},
       {0, 2, 16},
       -1,
       {false, true},
       true},
      {grid().put(3, 2).put(1, 2).put(1, 2).put(1, 2).put(2, 2).put(0, 2).put(1, 2).put(2, 2).put(3, 3).put(
           9, 4),
       {1, 3, 7, 13, 17},
       {1, 7, 17},
       2,
       {true, false, false, true},
       true},
  };
  for (const Case& wanted : cases) {
    const std::vector<uint8_t> bytes = wanted.bits.bytes();
    moxc::BitReader reader(bytes, 0, 8 * bytes.size());
    moxc::sbr::Grid read;
    ASSERT_TRUE(read.read(reader, true, 16));
    const size_t index = static_cast<size_t>(&wanted - cases), envelopes = wanted.borders.size() - 1;
    ASSERT_EQ(static_cast<size_t>(read.envelopes), envelopes) << index;
    EXPECT_TRUE(std::equal(wanted.borders.begin(), wanted.borders.end(), read.border.begin())) << index;
    ASSERT_EQ(static_cast<size_t>(read.noiseFloors), wanted.noiseBorders.size() - 1) << index;
    EXPECT_TRUE(std::equal(wanted.noiseBorders.begin(), wanted.noiseBorders.end(), read.noiseBorder.begin()))
        << index;
    EXPECT_EQ(read.transient, wanted.transient) << index;
    EXPECT_TRUE(std::equal(wanted.highRes.begin(), wanted.highRes.end(), read.highRes.begin())) << index;
    EXPECT_EQ(read.coarse, wanted.coarse) << index;
  }

  const Bits refused[] = {
      grid().put(0, 2).put(3, 2),                                   // eight envelopes
      grid().put(3, 2).put(0, 4).put(3, 2).put(2, 2).put(0, 20),    // six
      grid().put(3, 2).put(0, 4).put(2, 2).put(2, 2).put(0xFF, 8),  // borders that cross
      grid().put(2, 2).put(3, 2).put(2, 2).put(0xF, 4),             // one behind the end
      grid().put(1, 2).put(0, 2).put(3, 2).put(0, 6).put(6, 3),     // a pointer to nowhere
  };
  for (const Bits& bits : refused) {
    const std::vector<uint8_t> bytes = bits.bytes();
    moxc::BitReader reader(bytes, 0, 8 * bytes.size());
    EXPECT_FALSE(moxc::sbr::Grid().read(reader, true, 16)) << &bits - refused;
  }

  // Fifteen slots do not divide evenly: all parts but the last are rounded.
  for (const auto& [code, borders] : {std::pair{1, std::vector<int32_t>{0, 8, 15}}, {2, {0, 4, 8, 12, 15}}}) {
    const std::vector<uint8_t> bytes = grid().put(0, 2).put(code, 2).put(0, 1).bytes();
    moxc::BitReader reader(bytes, 0, 8 * bytes.size());
    moxc::sbr::Grid read;
    ASSERT_TRUE(read.read(reader, true, 15));
    EXPECT_TRUE(std::equal(borders.begin(), borders.end(), read.border.begin())) << code;
  }
}

TEST(SbrParser, CheckWordsTellEveryFlippedBit) {
  int checked = 0;
  moxc::sbr::Parser parser(kStereoRate);
  moxc::sbr::Frame frame;
  for (const std::vector<uint8_t>& payload : payloadsOf(kStereo)) {
    if (payload[0] >> 4 == 14)
      for (size_t bit = 4; bit < 8 * payload.size(); ++bit) {
        std::vector<uint8_t> flipped = payload;
        flipped[bit / 8] ^= static_cast<uint8_t>(0x80u >> bit % 8);
        ASSERT_EQ(parser.read(flipped, true, frame), moxc::sbr::Read::damaged) << bit;
        ++checked;
      }
    ASSERT_EQ(parser.read(payload, true, frame), moxc::sbr::Read::good);  // untouched by what was damaged
  }
  EXPECT_GT(checked, 1000);
}

TEST(SbrParser, AHeaderIsWaitedForAndATruncatedPayloadLeavesNoTrace) {
  const auto payloads = payloadsOf("heaac_44100_stereo48.aac");
  moxc::sbr::Frame frame, again;
  size_t first = 1;  // the first frame holds a header; where is the next one without?
  moxc::sbr::Parser late(kStereoRate);
  EXPECT_EQ(late.read(payloads[first], true, frame), moxc::sbr::Read::noHeader);
  moxc::sbr::Parser parser(kStereoRate), other(kStereoRate);
  for (const auto& payload : payloads) {
    for (size_t length = 1; length + 2 < payload.size(); ++length)
      EXPECT_NE(parser.read(moxc::Bytes(payload).first(length), true, frame), moxc::sbr::Read::noHeader);
    ASSERT_EQ(parser.read(payload, true, frame), moxc::sbr::Read::good);
    ASSERT_EQ(other.read(payload, true, again), moxc::sbr::Read::good);
  }
}

// An element with a sine for a core, the same in both channels.
class Element {
 public:
  explicit Element(int32_t channels) : element_(channels, kStereoRate, false) {}

  moxc::sbr::Element& operator*() { return element_; }
  const std::array<float, moxc::sbr::kMaxSamples>& run() {
    for (float& sample : core_) sample = static_cast<float>(1000 * std::sin(kStep * time_++));
    element_.run({core_.data(), core_.data()}, {samples_[0].data(), samples_[1].data()});
    return samples_[0];
  }
  static constexpr double kStep = 0.37;

 private:
  moxc::sbr::Element element_;
  double time_ = 0;
  std::array<float, moxc::sbr::kMaxCoreSamples> core_{};
  std::array<std::array<float, moxc::sbr::kMaxSamples>, 2> samples_{};
};

TEST(SbrElement, WithoutAHighBandItDoublesTheRate) {
  Element element(1);
  constexpr double kDelay = 578 + 6 * 64;  // of the filter banks, and of the envelope adjuster's look-ahead
  double error = 0, power = 0;
  for (size_t frame = 0; frame < 8; ++frame) {
    EXPECT_TRUE((*element).read({}));
    const auto& samples = element.run();
    for (size_t i = 0; frame > 1 && i < samples.size(); ++i) {
      const double time = static_cast<double>(frame * samples.size() + i) - kDelay;
      const double wanted = 1000 * std::sin(Element::kStep / 2 * time);
      error += std::pow(samples[i] - wanted, 2);
      power += wanted * wanted;
    }
  }
  EXPECT_GT(10 * std::log10(power / error), 55);
}

// Frames are a matter of counting: cut into 960 samples instead of 1024 the same core gives the same output, and its
// lower half alone, at the core's rate, is the core again.
TEST(SbrElement, FramesOf960AndDownSampledOutput) {
  constexpr size_t kTotal = 15 * 1024;  // 16 * 960
  std::vector<float> core(kTotal);
  for (size_t n = 0; n < kTotal; ++n)
    core[n] = 1000 * std::sin(0.2f * static_cast<float>(n)) + 500 * std::sin(1.9f * static_cast<float>(n));
  const auto run = [&core](int32_t frame, bool downSampled) {
    moxc::sbr::Element element(1, kStereoRate, false, frame, downSampled);
    std::vector<float> out(downSampled ? kTotal : 2 * kTotal);
    const auto step = static_cast<size_t>(frame);
    for (size_t at = 0; at < kTotal; at += step) {
      element.read({});
      element.run({core.data() + at, nullptr}, {out.data() + at * out.size() / kTotal, nullptr});
    }
    return out;
  };
  EXPECT_EQ(run(960, false), run(1024, false));
  const std::vector<float> lower = run(960, true);
  EXPECT_EQ(lower, run(1024, true));

  // Six slots in the sub-bands, and what the two banks of 32 bands take.
  constexpr size_t kDelay = 6 * 32 + 320 - 31;
  double error = 0, power = 0;
  for (size_t n = 2048; n + kDelay < kTotal; ++n) {
    error += std::pow(lower[n + kDelay] - core[n], 2);
    power += std::pow(core[n], 2);
  }
  EXPECT_LT(error, 1e-6 * power);
}

TEST(SbrElement, AHeldHighBandFadesAndComesBack) {
  const auto payloads = payloadsOf("heaac_44100_stereo48.aac");
  Element element(2), bare(2);
  const auto highBand = [&] {
    const auto &samples = element.run(), &core = bare.run();
    double energy = 0;
    for (size_t i = 0; i < samples.size(); ++i) energy += std::pow(samples[i] - core[i], 2);
    return 10 * std::log10(energy + 1e-9);
  };
  double before = 0;
  for (size_t i = 0; i < 6; ++i) {
    EXPECT_TRUE((*element).read(payloads[i]));
    before = highBand();
  }
  EXPECT_GT(before, 40);
  for (int held = 1; held <= 6; ++held) {
    EXPECT_FALSE((*element).read(moxc::Bytes(payloads[6]).first(3)));
    const double level = highBand();
    if (held > 2) {
      EXPECT_NEAR(before - level, 6, 1) << held;
    }
    before = level;
  }
  for (int held = 0; held < 3; ++held) {
    (*element).hold();
    before = highBand();
  }
  EXPECT_LT(before, 0);
  EXPECT_TRUE((*element).read(payloads[6]));
  EXPECT_GT(highBand(), 40);
}

TEST(SbrElement, ArbitraryPayloadsGiveFiniteSamples) {
  std::mt19937 random(7);
  std::vector<std::vector<uint8_t>> sources;
  const struct {
    const char* name;
    uint8_t choice;  // of the rate by its place in moxc::sbr::kRates, and channels
  } kSources[] = {
      {kStereo, 4 * 4 + 1}, {"heaac_24000_random_mono.aac", 6 * 4}, {"heaacv2_44100_32.aac", 4 * 4 + 2}};
  for (const auto& [name, choice] : kSources) {
    std::vector<uint8_t>& source = sources.emplace_back(1, choice);
    for (const auto& payload : payloadsOf(name)) {
      source.push_back(static_cast<uint8_t>(payload.size()));
      moxtest::append(source, payload);
    }
    EXPECT_GT(moxtest::runPayloads(source), 10) << name;  // those without a check word
  }
  int good = 0;
  for (int round = 0; round < 400; ++round) {
    std::vector<uint8_t> bytes = sources[random() % sources.size()];
    for (auto flips = 1 + random() % 40; flips > 0; --flips)
      bytes[random() % bytes.size()] ^= static_cast<uint8_t>(1u << random() % 8);
    if (round % 8 == 0)
      for (size_t i = 1; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(random());
    good += moxtest::runPayloads(bytes);
  }
  EXPECT_GT(good, 1000);
}

TEST(HeAac, ADamagedHighBandIsReportedAndLeavesTheCore) {
  std::vector<uint8_t> bytes = moxtest::readFile(moxtest::streamPath(kStereo));
  const auto whole = moxtest::decodeBytes(bytes);
  const auto payloads = payloadsOf(kStereo);
  size_t damaged = 10;
  while (payloads[damaged][0] >> 4 != 14) ++damaged;
  const auto frame = moxtest::walkAdts(bytes).frames[damaged];
  bytes[frame.position + frame.bytes.size() - 4] ^= 0x10;  // the fill element is a block's last
  const auto decoded = moxtest::decodeBytes(bytes);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->samples, whole->samples);
  EXPECT_EQ(decoded->stats.concealed, 0);
  ASSERT_EQ(decoded->damage.size(), 1u);
  EXPECT_NE(decoded->damage[0].find("high-band"), std::string::npos);
  const auto same = static_cast<ptrdiff_t>(damaged * moxc::sbr::kMaxSamples * 2);
  EXPECT_TRUE(std::equal(whole->s16.begin(), whole->s16.begin() + same, decoded->s16.begin()));
  EXPECT_NE(whole->s16, decoded->s16);
}

// Also where the first frames, with the header, are cut off: until the next header the core is brought to the rate.
TEST(HeAac, ItsKindIsKnownBeforeTheFirstSample) {
  const struct {
    const char *name, *kind;
    int32_t rate, channels;
  } kStreams[] = {{"heaac_44100_stereo48.aac", "HE-AAC (AAC LC, SBR) in ADTS", 44100, 2},
                  {"heaac_48000_mono24.aac", "HE-AAC (AAC LC, SBR) in ADTS", 48000, 1},
                  {"heaacv2_44100_32.aac", "HE-AAC v2 (AAC LC, SBR, parametric stereo) in ADTS", 44100, 2}};
  for (const auto& [name, kind, rate, channels] : kStreams) {
    const std::vector<uint8_t> bytes = moxtest::readFile(moxtest::streamPath(name));
    const auto frames = moxtest::walkAdts(bytes).frames;
    for (size_t first = 0; first < 4; ++first) {
      const auto decoded = moxtest::decodeBytes(moxc::Bytes(bytes).subspan(frames[first].position));
      ASSERT_TRUE(decoded);
      // Parametric stereo shows with the first header: until then it is mono.
      EXPECT_EQ(decoded->description[0], std::string("format: ") + kind);
      EXPECT_EQ(decoded->format.rate, rate) << name;
      EXPECT_EQ(decoded->formats.back().channels, channels) << name;
      EXPECT_EQ(decoded->samples, static_cast<int64_t>((frames.size() - first) * 2048)) << name;
      EXPECT_TRUE(decoded->damage.empty()) << name;
    }
  }
}

}  // namespace
