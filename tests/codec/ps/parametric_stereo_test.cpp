// The side information of parametric stereo against a writer, and what happens without or with damaged ones. That the sound
// is right is told by the bundled streams, one of which draws every field of the syntax.
#include "codec/ps/decoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "support/bits.h"
#include "support/code_book.h"

namespace {

using moxc::ps::Envelope;
using moxc::ps::Header;
using moxc::ps::ParametricStereo;
using moxc::ps::Payload;
using Random = std::mt19937;
using moxtest::Bits;

constexpr int32_t kSlots = 32;

int32_t below(Random& random, int32_t bound) {
  return static_cast<int32_t>(random() % static_cast<uint32_t>(bound));
}

// ---- Writing payloads ----------------------------------------------------------------------------------

std::map<std::string, moxtest::CodeBook<>> readBooks() {
  std::map<std::string, moxtest::CodeBook<>> books;  // by difference
  for (const auto& row : moxtest::csvRows("sbr/ps_huffman.csv"))
    books[row[0]].add(std::stoi(row[1]), std::stoi(row[2]),
                      static_cast<uint32_t>(std::stoul(row[3], nullptr, 16)));
  return books;
}

// What a frame says, as the writer sends it.
struct Frame {
  moxc::ps::Header header;
  bool phasesOn = false;
  std::vector<int32_t> borders;               // the last slot of each envelope
  std::vector<moxc::ps::Envelope> envelopes;  // may be none
};

class Writer {
 public:
  // The payload's bits. Differences in time start from the frame before, so `frame` is remembered; the first
  // envelope after a header of other modes does without.
  Bits write(const Frame& frame, bool variable, Random& random) {
    Bits bits;
    const moxc::ps::Header& h = frame.header;
    const bool sameModes = header_.known && h.iidMode == header_.iidMode && h.iccMode == header_.iccMode;
    const bool sendHeader = !sameModes || h.iidOn != header_.iidOn || h.iccOn != header_.iccOn ||
                            h.extensionOn != header_.extensionOn || random() % 4 == 0;
    bits.put(sendHeader, 1);
    if (sendHeader) {
      bits.put(h.iidOn, 1).put(static_cast<uint32_t>(h.iidMode), h.iidOn ? 3 : 0);
      bits.put(h.iccOn, 1).put(static_cast<uint32_t>(h.iccMode), h.iccOn ? 3 : 0);
      bits.put(h.extensionOn, 1);
    }
    const auto count = static_cast<uint32_t>(frame.envelopes.size());
    bits.put(variable, 1).put(variable ? count - 1 : count == 4 ? 3 : count, 2);
    for (size_t e = 0; variable && e < count; ++e) bits.put(static_cast<uint32_t>(frame.borders[e]), 5);

    const auto write = [&](Bits& to, const std::string& kind, const std::string& quantiser, int32_t bands,
                           size_t e, moxc::ps::Envelope::Indices moxc::ps::Envelope::*indices,
                           int32_t modulo) {
      const bool overTime = (e > 0 || sameModes) && random() % 2 != 0;
      to.put(overTime, 1);
      const auto& earlier = (e > 0 ? frame.envelopes[e - 1] : last_).*indices;
      const auto& now = frame.envelopes[e].*indices;
      const moxtest::CodeBook<>& book = books_.at(kind + (overTime ? "_dt" : "_df") + quantiser);
      for (size_t b = 0; b < static_cast<size_t>(bands); ++b) {
        int32_t delta = now[b] - (overTime ? earlier[b] : b > 0 ? now[b - 1] : 0);
        if (modulo != 0) delta = (delta + modulo) % modulo;
        book.put(to, delta);
      }
    };
    for (size_t e = 0; h.iidOn && e < count; ++e)
      write(bits, "iid", h.fineIid() ? "_fine" : "_coarse", h.iidBands(), e, &moxc::ps::Envelope::iid, 0);
    for (size_t e = 0; h.iccOn && e < count; ++e)
      write(bits, "icc", "", h.iccBands(), e, &moxc::ps::Envelope::icc, 0);
    if (h.extensionOn) {
      Bits extension;
      extension.put(0, 2).put(frame.phasesOn, 1);
      for (size_t e = 0; frame.phasesOn && e < count; ++e) {
        write(extension, "ipd", "", h.phaseBands(), e, &moxc::ps::Envelope::ipd, 8);
        write(extension, "opd", "", h.phaseBands(), e, &moxc::ps::Envelope::opd, 8);
      }
      extension.put(0, 1);
      if (random() % 4 == 0) extension.put(1, 2).put(0x155, 14);  // an extension that nobody knows
      const auto bytes = extension.bytes();
      bits.put(std::min<uint32_t>(static_cast<uint32_t>(bytes.size()), 15), 4);
      if (bytes.size() >= 15) bits.put(static_cast<uint32_t>(bytes.size()) - 15, 8);
      bits.copy(bytes, 0, 8 * bytes.size());
    }
    header_ = h;
    if (count > 0) last_ = frame.envelopes.back();
    return bits;
  }

 private:
  const std::map<std::string, moxtest::CodeBook<>> books_ = readBooks();
  moxc::ps::Header header_;
  moxc::ps::Envelope last_;
};

// A frame like those before it, or, now and then, with a header of its own.
Frame randomFrame(const moxc::ps::Header& before, bool fresh, bool& variable, Random& random) {
  Frame frame;
  frame.header = before;
  moxc::ps::Header& h = frame.header;
  if (fresh) {
    h.known = true;
    h.iidOn = random() % 8 != 0;
    h.iccOn = random() % 8 != 0;
    h.extensionOn = random() % 3 != 0;
    if (h.iidOn) h.iidMode = below(random, 6);
    if (h.iccOn) h.iccMode = below(random, 6);
  }
  frame.phasesOn = h.extensionOn && random() % 4 != 0;
  variable = random() % 2 != 0;
  const int32_t count = variable ? 1 + below(random, 4) : std::array{1, 2, 4}[random() % 3];
  for (int32_t e = 0; e < count; ++e)
    frame.borders.push_back(variable ? below(random, kSlots) : (e + 1) * kSlots / count - 1);
  std::sort(frame.borders.begin(), frame.borders.end());

  frame.envelopes.resize(static_cast<size_t>(count));
  const int32_t most = h.fineIid() ? 15 : 7;
  for (moxc::ps::Envelope& envelope : frame.envelopes) {
    const auto fill = [&](moxc::ps::Envelope::Indices& indices, bool on, int32_t bands, int32_t least,
                          int32_t values) {
      for (size_t b = 0; on && b < static_cast<size_t>(bands); ++b)
        indices[b] = static_cast<int8_t>(least + below(random, values));
    };
    fill(envelope.iid, h.iidOn, h.iidBands(), -most, 2 * most + 1);
    fill(envelope.icc, h.iccOn, h.iccBands(), 0, 8);
    fill(envelope.ipd, frame.phasesOn, h.phaseBands(), 0, 8);
    fill(envelope.opd, frame.phasesOn, h.phaseBands(), 0, 8);
  }
  return frame;
}

// ---- Signals -------------------------------------------------------------------------------------------

using FloatRows = std::unique_ptr<Mox32fc[][64]>;

// Noise whose bursts die away at another speed in every band.
FloatRows bursts(int32_t slots, Random& random) {
  FloatRows rows(new Mox32fc[static_cast<size_t>(slots)][64]);
  std::normal_distribution<float> noise(0, 1);
  for (size_t b = 0; b < 64; ++b) {
    float level = 1000;
    for (int32_t n = 0; n < slots; ++n) {
      level = random() % 40 == 0 ? 1000 : std::max(1.0f, level * (1 - 0.01f * static_cast<float>(b % 50)));
      rows[n][b] = {level * noise(random), level * noise(random)};
    }
  }
  return rows;
}

// Works on a copy of 32 rows; the six after them follow.
void process(ParametricStereo& stereo, const Mox32fc (*mono)[64], Mox32fc (*left)[64], Mox32fc (*right)[64]) {
  std::copy_n(&mono[0][0], kSlots * 64, &left[0][0]);
  const Mox32fc* ahead[ParametricStereo::kSlotsAhead];
  for (size_t i = 0; i < std::size(ahead); ++i) ahead[i] = mono[kSlots + i];
  stereo.process(left, right, ahead);
}

moxc::BitReader reader(const std::vector<uint8_t>& bytes) {
  return moxc::BitReader(bytes, 0, 8 * bytes.size());
}

bool sameIndices(const moxc::ps::Envelope& a, const moxc::ps::Envelope& b) {
  return a.iid == b.iid && a.icc == b.icc && a.ipd == b.ipd && a.opd == b.opd;
}

// ---- Tests ---------------------------------------------------------------------------------------------

TEST(ParametricStereo, ReadsWhatTheWriterWrote) {
  Random random(1);
  Writer writer;
  moxc::ps::Payload payload;
  moxc::ps::Header header;
  for (int32_t i = 0; i < 4000; ++i) {
    bool variable;
    const Frame frame = randomFrame(header, i % 5 == 0, variable, random);
    header = frame.header;
    const Bits bits = writer.write(frame, variable, random);
    const auto bytes = Bits(bits).put(0xABC, 12).bytes();
    moxc::BitReader in(bytes, 0, 8 * bytes.size());
    ASSERT_TRUE(payload.read(in)) << i;
    EXPECT_EQ(in.bits(12), 0xABCu) << i;  // it reads no further than its end

    const auto sent = static_cast<int32_t>(frame.envelopes.size());
    ASSERT_EQ(payload.count(), sent + (frame.borders.back() < kSlots - 1)) << i;
    EXPECT_EQ(payload.border(payload.count() - 1), kSlots - 1) << i;
    for (int32_t e = 0; e < payload.count(); ++e) {
      const auto source = static_cast<size_t>(std::min(e, sent - 1));
      EXPECT_TRUE(sameIndices(payload.envelope(e), frame.envelopes[source])) << i << " envelope " << e;
      if (e < sent) {
        EXPECT_EQ(payload.border(e), frame.borders[source]) << i;
      }
    }
  }
}

TEST(ParametricStereo, GivesBothChannelsTheMonoSignalBeforeTheFirstHeader) {
  Random random(3);
  const FloatRows mono = bursts(3 * kSlots, random);
  ParametricStereo stereo;
  EXPECT_FALSE(stereo.active());
  Mox32fc left[kSlots][64], right[kSlots][64];
  for (int32_t i = 0; i < 2; ++i) {
    process(stereo, &mono[i * kSlots], left, right);
    for (int32_t n = 0; n < kSlots; ++n)
      for (int32_t b = 0; b < 64; ++b) {
        const Mox32fc& want = mono[i * kSlots + n][b];
        ASSERT_NEAR(left[n][b].re, want.re, 0.01) << n << " " << b;  // of some thousand
        ASSERT_NEAR(left[n][b].im, want.im, 0.01) << n << " " << b;
        ASSERT_EQ(left[n][b].re, right[n][b].re);
        ASSERT_EQ(left[n][b].im, right[n][b].im);
      }
  }
}

TEST(ParametricStereo, AHeaderOfOtherModesKeepsTheMeaningOfWhatWasSent) {
  Random random(4);
  Writer writer;
  moxc::ps::Payload payload;
  Frame frame;
  frame.header = {true, true, true, true, 1, 1};  // 20 bands
  frame.phasesOn = true;
  frame.borders = {kSlots - 1};
  frame.envelopes.resize(1);
  for (size_t b = 0; b < 20; ++b) {
    frame.envelopes[0].iid[b] = 7;
    frame.envelopes[0].icc[b] = static_cast<int8_t>(b / 4);
    frame.envelopes[0].opd[b] = b < 11 ? 5 : 0;
  }
  const auto read = [&](const Bits& bits) {
    const auto bytes = bits.bytes();
    auto in = reader(bytes);
    ASSERT_TRUE(payload.read(in));
  };
  read(writer.write(frame, false, random));
  for (const int32_t mode :
       {4, 5, 1, 2, 3, 0}) {  // no envelopes come with these, and no phases with the last
    const auto bits = static_cast<uint32_t>(mode);
    const bool phases = mode != 0;
    const Bits header = Bits().put(3, 2).put(bits, 3).put(1, 1).put(bits, 3).put(phases, 1);
    read(Bits(header).put(0, 3).put(0x120, phases ? 12 : 0));
    ASSERT_EQ(payload.count(), 1);
    const moxc::ps::Header& modes = payload.header();
    const auto bands = static_cast<size_t>(modes.iidBands());
    const size_t phaseBands = phases ? static_cast<size_t>(modes.phaseBands()) : 0;
    for (size_t b = 0; b < 34; ++b) {
      const moxc::ps::Envelope& envelope = payload.envelope(0);
      EXPECT_EQ(envelope.iid[b], b >= bands ? 0 : mode >= 3 ? 10 : 7) << mode << " " << b;  // 25 dB
      EXPECT_EQ(envelope.opd[b], b < phaseBands ? 5 : 0) << mode << " " << b;
      if (bands != 34 && b < bands) {
        EXPECT_EQ(envelope.icc[b], b * 10 / bands / 2) << mode << " " << b;
      }
    }
    EXPECT_EQ(payload.wide(), bands == 34);
  }
}

TEST(ParametricStereo, DamagedPayloadsChangeNothing) {
  Random random(5);
  Writer writer;
  const auto stereo = std::make_unique<ParametricStereo>();
  moxc::ps::Payload payload;
  const auto refused = [&](const Bits& bits) {
    const auto bytes = bits.bytes();
    auto in = reader(bytes);
    return !payload.read(in);
  };
  const auto header = [](uint32_t iid, uint32_t icc, bool extension) {
    return Bits().put(3, 2).put(iid, 3).put(1, 1).put(icc, 3).put(extension, 1);
  };
  EXPECT_TRUE(refused(Bits().put(0, 16)));  // no header yet
  EXPECT_TRUE(refused(header(6, 0, false).put(0, 3 + 16)));
  EXPECT_TRUE(refused(header(0, 7, false).put(0, 3 + 16)));
  EXPECT_TRUE(refused(header(0, 0, false).put(5, 3).put(9, 5).put(8, 5).put(0, 32)));  // borders run back
  EXPECT_TRUE(refused(header(0, 0, true).put(0, 3).put(0, 4)) == false);               // an empty extension
  EXPECT_TRUE(
      refused(Bits().put(0, 1).put(1, 3).put(0, 11 + 11).put(1, 4).put(1, 3).put(0xFFFF, 16)));  // overruns

  // Any bits at all: read or refused, indices stay in range, and what follows stays finite.
  Mox32fc mono[kSlots + 6][64], left[kSlots][64], right[kSlots][64];
  moxc::ps::Header modes;
  int32_t good = 0, bad = 0;
  for (int32_t i = 0; i < 6000; ++i) {
    bool variable;
    const Frame frame = randomFrame(modes, true, variable, random);
    auto bytes = writer.write(frame, variable, random).bytes();
    for (uint32_t flips = random() % 4; flips > 0; --flips)
      bytes[random() % bytes.size()] ^= static_cast<uint8_t>(1u << random() % 8);
    if (random() % 4 == 0) bytes.resize(random() % bytes.size());
    if (random() % 4 == 0)
      for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    const moxc::ps::Payload before = payload;
    auto in = reader(bytes), again = reader(bytes);
    const bool read = payload.read(in);
    EXPECT_EQ(stereo->read(again), read);
    ++(read ? good : bad);
    EXPECT_LE(payload.count(), moxc::ps::Payload::kMaxEnvelopes);
    for (int32_t e = 0; e < payload.count(); ++e) {
      const moxc::ps::Envelope& envelope = payload.envelope(e);
      EXPECT_TRUE(read || sameIndices(envelope, before.envelope(e)));
      const int32_t most = payload.header().fineIid() ? 15 : 7;
      for (size_t b = 0; b < 34; ++b) {
        EXPECT_LE(std::abs(envelope.iid[b]), most);
        for (const int32_t index : {envelope.icc[b], envelope.ipd[b], envelope.opd[b]})
          EXPECT_EQ(index & 7, index);
      }
    }
    payload.holdLast();
    for (auto& row : mono) std::fill_n(row, 64, i % 100 == 0 ? Mox32fc{1e25f, -1e25f} : Mox32fc{1, -1});
    process(*stereo, mono, left, right);
    bool finite = true;
    for (int32_t n = 0; n < kSlots; ++n)
      for (int32_t b = 0; b < 64; ++b)
        finite = finite && std::isfinite(left[n][b].re + left[n][b].im + right[n][b].re + right[n][b].im);
    ASSERT_TRUE(finite) << i;
  }
  EXPECT_GT(good, 1000);
  EXPECT_GT(bad, 1000);
}

}  // namespace
