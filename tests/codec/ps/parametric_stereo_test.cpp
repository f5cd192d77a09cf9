// Parametric stereo against a double-precision model of all of it, and its side information against a writer.
#include "codec/ps/decoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <fstream>
#include <map>
#include <memory>
#include <numbers>
#include <random>
#include <sstream>
#include <string>

#include "codec/ps/tables.h"
#include "codec/stream/adts_writer.h"
#include "sbr/hybrid_tables.h"
#include "support/source_path.h"

namespace {

using moxc::ps::Envelope;
using moxc::ps::Header;
using moxc::ps::MapTerm;
using moxc::ps::ParametricStereo;
using moxc::ps::Payload;
using Complex = std::complex<double>;
using Random = std::mt19937;
using moxtest::Bits;

constexpr double kPi = std::numbers::pi;
constexpr int32_t kSlots = 32;

int32_t below(Random& random, int32_t bound) {
  return static_cast<int32_t>(random() % static_cast<uint32_t>(bound));
}

// ---- Writing payloads ----------------------------------------------------------------------------------

struct CodeWord {
  int32_t length;
  uint32_t code;
};
using Book = std::map<int32_t, CodeWord>;  // by difference

std::map<std::string, Book> readBooks() {
  std::map<std::string, Book> books;
  std::ifstream file(moxtest::sourcePath("tools/tables/sbr/ps_huffman.csv"));
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    std::istringstream cells(line);
    std::string book, delta, length, code;
    std::getline(std::getline(std::getline(std::getline(cells, book, ','), delta, ','), length, ','), code,
                 ',');
    books[book][std::stoi(delta)] = {std::stoi(length), static_cast<uint32_t>(std::stoul(code, nullptr, 16))};
  }
  return books;
}

// What a frame says, as the writer sends it and the model understands it.
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
      const Book& book = books_.at(kind + (overTime ? "_dt" : "_df") + quantiser);
      for (size_t b = 0; b < static_cast<size_t>(bands); ++b) {
        int32_t delta = now[b] - (overTime ? earlier[b] : b > 0 ? now[b - 1] : 0);
        if (modulo != 0) delta = (delta + modulo) % modulo;
        to.put(book.at(delta).code, book.at(delta).length);
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
  const std::map<std::string, Book> books_ = readBooks();
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

// ---- The model -----------------------------------------------------------------------------------------

std::array<double, 4> mixingFactors(bool procedureB, double c, double coherence) {
  const double right = std::sqrt(2 / (1 + c * c)), left = c * right;
  if (!procedureB) {
    const double al = std::acos(coherence) / 2, be = al * (right - left) / std::sqrt(2.0);
    return {left * std::cos(be + al), right * std::cos(be - al), left * std::sin(be + al),
            right * std::sin(be - al)};
  }
  // The principal axis of the two channels, and how far they spread around it.
  const double rho = std::max(coherence, 0.05);
  const double covariance = rho * left * right,
               turn = std::atan2(2 * covariance, left * left - right * right) / 2;
  const double main = 1 + std::hypot(covariance, (left * left - right * right) / 2);  // the larger eigenvalue
  const double along = std::sqrt(main), across = std::sqrt(std::max(2 - main, 0.0));
  return {along * std::cos(turn), along * std::sin(turn), -across * std::sin(turn), across * std::cos(turn)};
}

// The tool from its formulas: every signal is kept from the configuration's start on.
class Model {
 public:
  using Rows = std::vector<std::array<Complex, 64>>;

  // `mono` from six slots before the frame on, 44 rows.
  void frame(const Frame& frame, const Rows& mono, Rows& left, Rows& right) {
    const moxc::ps::Header& h = frame.header;
    const bool wide =
        h.iidOn || h.iccOn ? (h.iidOn && h.iidBands() == 34) || (h.iccOn && h.iccBands() == 34) : wide_;
    if (wide != wide_) change(wide);
    std::vector<moxc::ps::Envelope> envelopes = frame.envelopes;
    std::vector<int32_t> borders = frame.borders;
    if (borders.back() < kSlots - 1) {
      envelopes.push_back(envelopes.back());
      borders.push_back(kSlots - 1);
    }
    left.assign(kSlots, {});
    right.assign(kSlots, {});
    int32_t start = -1;
    for (size_t e = 0; e < borders.size(); start = borders[e++]) {
      const auto from = matrices_;
      target(frame, envelopes[e]);
      for (int32_t n = start + 1; n <= borders[e]; ++n)
        slot(mono, static_cast<size_t>(n), from, static_cast<double>(n - start) / (borders[e] - start), left,
             right);
    }
  }

 private:
  struct Band {  // a hybrid band's signals
    std::vector<Complex> mono, stage[4];
  };
  using Matrix = std::array<Complex, 4>;

  static Complex past(const std::vector<Complex>& x, size_t delay) {
    return delay < x.size() ? x[x.size() - 1 - delay] : Complex{};
  }
  const moxc::ps::HybridBand& tableBand(size_t k) const {
    return wide_ ? moxc::ps::kHybridBands34[k] : moxc::ps::kHybridBands20[k];
  }
  size_t stereoBands() const { return wide_ ? 34 : 20; }

  static std::vector<moxc::ps::MapTerm> terms(int32_t from, int32_t to) {
    const auto list = [](const auto& table) {
      return std::vector<moxc::ps::MapTerm>(std::begin(table), std::end(table));
    };
    if (to == 20) return from == 10 ? list(moxc::ps::k10To20) : list(moxc::ps::k34To20);
    return from == 10 ? list(moxc::ps::k10To34) : list(moxc::ps::k20To34);
  }

  void change(bool wide) {
    wide_ = wide;
    bands_.assign(wide ? 91 : 71, {});
    transients_.assign(34, {});
    phases_.assign(34, {});
    std::vector<Matrix> old = matrices_;
    matrices_.assign(34, {});
    for (const moxc::ps::MapTerm& term : wide ? terms(20, 34) : terms(34, 20))
      for (size_t i = 0; i < 4; ++i)
        matrices_[static_cast<size_t>(term.out)][i] +=
            old[static_cast<size_t>(term.in)][i] * (static_cast<double>(term.weight) / term.divisor);
  }

  std::array<int32_t, 34> inBands(const moxc::ps::Envelope::Indices& indices, int32_t count) const {
    std::array<int32_t, 34> out{};
    const auto wanted = static_cast<int32_t>(stereoBands());
    if (count == wanted) {
      std::copy(indices.begin(), indices.end(), out.begin());
      return out;
    }
    std::array<int32_t, 34> sum{};
    for (const moxc::ps::MapTerm& term : terms(count, wanted)) {
      const auto b = static_cast<size_t>(term.out);
      sum[b] += term.weight * indices[static_cast<size_t>(term.in)];
      out[b] = sum[b] / term.divisor;
    }
    return out;
  }

  void target(const Frame& frame, const moxc::ps::Envelope& envelope) {
    const moxc::ps::Header& h = frame.header;
    const auto iid = inBands(envelope.iid, h.iidBands()), icc = inBands(envelope.icc, h.iccBands());
    const auto ipd = inBands(envelope.ipd, h.iidBands()), opd = inBands(envelope.opd, h.iidBands());
    if (!frame.phasesOn) phases_.assign(34, {});
    for (size_t b = 0; b < stereoBands(); ++b) {
      const double dB = h.fineIid() ? moxc::ps::kIidFine[15 + iid[b]] : moxc::ps::kIidCoarse[7 + iid[b]];
      const auto real = mixingFactors(h.mixingB(), std::pow(10, dB / 20), moxc::ps::kIcc[icc[b]]);
      std::copy(real.begin(), real.end(), matrices_[b].begin());
      if (!frame.phasesOn || b >= (wide_ ? 17u : 11u)) continue;
      const auto smooth = [](std::vector<int32_t>& history, int32_t index) {
        history.push_back(index);
        Complex sum;
        for (size_t age = 0; age < 3; ++age)
          sum += std::polar(std::pow(0.5, age), kPi / 4 * history[history.size() - 1 - age]);
        return std::arg(sum);
      };
      const double o = smooth(phases_[b].overall, opd[b]), i = smooth(phases_[b].inter, ipd[b]);
      for (const size_t f : {0u, 1u, 2u, 3u}) matrices_[b][f] *= std::polar(1.0, f % 2 == 0 ? o : o - i);
    }
  }

  // The samples of the split bands, then of the whole ones.
  std::vector<Complex> hybrid(const Model::Rows& mono, size_t n) const {
    std::vector<Complex> out;
    const auto filter = [&](size_t band, const float* g, int32_t q, int32_t of, bool real) {
      Complex sum;
      for (int32_t i = 0; i < 13; ++i) {
        const double angle = 2 * kPi / of * (real ? q : q + 0.5) * (i - 6);
        const Complex turn = real ? Complex(std::cos(angle)) : std::polar(1.0, angle);
        sum += double{g[std::min(i, 12 - i)]} * turn * mono[n + 12 - static_cast<size_t>(i)][band];
      }
      return sum;
    };
    if (wide_) {
      const float* prototypes[] = {moxac::sbr::kHybrid34Band0, moxac::sbr::kHybrid34Band1,
                                   moxac::sbr::kHybrid34Band2, moxac::sbr::kHybrid34Band2,
                                   moxac::sbr::kHybrid34Band2};
      const int32_t parts[] = {12, 8, 4, 4, 4};
      for (size_t b = 0; b < 5; ++b)
        for (int32_t q = 0; q < parts[b]; ++q) out.push_back(filter(b, prototypes[b], q, parts[b], false));
    } else {
      for (const int32_t q : {6, 7, 0, 1}) out.push_back(filter(0, moxac::sbr::kHybrid20Band0, q, 8, false));
      for (const int32_t q : {2, 3})
        out.push_back(filter(0, moxac::sbr::kHybrid20Band0, q, 8, false) +
                      filter(0, moxac::sbr::kHybrid20Band0, 7 - q, 8, false));
      for (const size_t b : {1u, 2u})
        for (const int32_t q : {0, 1})
          out.push_back(filter(b, moxac::sbr::kHybrid20Band1, b == 1 ? 1 - q : q, 2, true));
    }
    for (size_t q = wide_ ? 5 : 3; q < 64; ++q) out.push_back(mono[n + 6][q]);
    return out;
  }

  Complex diffuse(size_t k) {
    Band& band = bands_[k];
    if (k >= (wide_ ? 62u : 42u)) return past(band.mono, 1);
    if (k >= (wide_ ? 50u : 30u)) return past(band.mono, 14);
    const double centre = tableBand(k).centre;
    band.stage[0].push_back(past(band.mono, 2) * std::polar(1.0, -kPi * 0.39 * centre));
    const double over = static_cast<double>(k) - (wide_ ? 32 : 10);
    for (size_t m = 0; m < 3; ++m) {
      const size_t delay = 3 + m;
      const double a = std::exp(-static_cast<double>(delay) / 7) * std::clamp(1 - 0.05 * over, 0.0, 1.0);
      const Complex turn = std::polar(1.0, -kPi * centre * std::array{0.43, 0.75, 0.347}[m]);
      const auto& x = band.stage[m];
      auto& y = band.stage[m + 1];
      const Complex next = turn * (past(x, delay) + a * past(y, delay - 1)) - a * x.back();
      y.push_back(next);
    }
    return band.stage[3].back();
  }

  void slot(const Rows& mono, size_t n, const std::vector<Matrix>& from, double part, Rows& left,
            Rows& right) {
    const auto s = hybrid(mono, n);
    std::vector<double> power(34), gain(34);
    for (size_t k = 0; k < s.size(); ++k)
      power[static_cast<size_t>(tableBand(k).stereoBand)] += std::norm(s[k]);
    for (size_t b = 0; b < 34; ++b) {
      Transient& t = transients_[b];
      t.peak = std::max(moxc::ps::kTransientPeakDecay * t.peak, power[b]);
      t.mean = 0.75 * t.mean + 0.25 * power[b];
      t.excess = 0.75 * t.excess + 0.25 * (t.peak - power[b]);
      gain[b] = t.excess > 0 ? std::min(1.0, t.mean / (1.5 * t.excess)) : 1;
    }
    for (size_t k = 0; k < s.size(); ++k) {
      const auto b = static_cast<size_t>(tableBand(k).stereoBand),
                 q = static_cast<size_t>(tableBand(k).qmfBand);
      bands_[k].mono.push_back(s[k]);
      const Complex d = gain[b] * diffuse(k);
      Matrix h;
      for (size_t i = 0; i < 4; ++i) {
        h[i] = from[b][i] + part * (matrices_[b][i] - from[b][i]);
        if (tableBand(k).conjugate) h[i] = std::conj(h[i]);
      }
      left[n][q] += h[0] * s[k] + h[2] * d;
      right[n][q] += h[1] * s[k] + h[3] * d;
    }
  }

  struct Transient {
    double peak = 0, mean = 0, excess = 0;
  };
  struct Phases {
    std::vector<int32_t> overall{0, 0}, inter{0, 0};
  };
  bool wide_ = false;
  std::vector<Band> bands_ = std::vector<Band>(71);
  std::vector<Transient> transients_ = std::vector<Transient>(34);
  std::vector<Phases> phases_ = std::vector<Phases>(34);
  std::vector<Matrix> matrices_ = std::vector<Matrix>(34, {1, 1, 0, 0});
};

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

TEST(ParametricStereo, EqualsItsModel) {
  constexpr int32_t kFrames = 160;
  Random random(2);
  const FloatRows mono = bursts((kFrames + 1) * kSlots, random);
  Writer writer;
  Model model;
  ParametricStereo stereo;
  Frame frame;
  double worst = 1000;
  int32_t wide = 0;
  Mox32fc left[kSlots][64], right[kSlots][64];
  for (int32_t i = 0; i < kFrames; ++i) {
    if (i % 5 == 4) {  // no payload, or one cut off: the last envelope goes on
      if (i % 2 == 0) {
        const auto cut = Bits().put(0x7FF, 11).bytes();
        auto in = reader(cut);
        EXPECT_FALSE(stereo.read(in));
      }
      frame.envelopes = {frame.envelopes.back()};
      frame.borders = {kSlots - 1};
    } else {
      bool variable;
      frame = randomFrame(frame.header, i % 4 == 0, variable, random);
      const auto bytes = writer.write(frame, variable, random).bytes();
      auto in = reader(bytes);
      ASSERT_TRUE(stereo.read(in));
    }
    process(stereo, &mono[i * kSlots], left, right);

    Model::Rows rows(kSlots + 12), wantLeft, wantRight;
    for (int32_t n = 0; n < kSlots + 12; ++n)
      for (size_t b = 0; b < 64; ++b)
        if (i > 0 || n >= 6) {
          const Mox32fc& sample = mono[i * kSlots + n - 6][b];
          rows[static_cast<size_t>(n)][b] = {sample.re, sample.im};
        }
    model.frame(frame, rows, wantLeft, wantRight);
    wide += frame.header.iidBands() == 34 || frame.header.iccBands() == 34;
    for (const auto& [got, want] : {std::pair(left, &wantLeft), std::pair(right, &wantRight)}) {
      double signal = 0, error = 0;
      for (size_t n = 0; n < kSlots; ++n)
        for (size_t b = 0; b < 64; ++b) {
          signal += std::norm((*want)[n][b]);
          error += std::norm(Complex(got[n][b].re, got[n][b].im) - (*want)[n][b]);
        }
      const double ratio = 10 * std::log10(signal / error);
      worst = std::min(worst, ratio);
      EXPECT_GT(ratio, 110) << "frame " << i;
    }
  }
  EXPECT_GT(wide, kFrames / 4);
  printf("parametric stereo against its model: %.1f dB or more in each of %d frames\n", worst, kFrames);
}

// Either procedure gives the channels the level difference and the coherence that the indices say.
TEST(ParametricStereo, MixingKeepsLevelsAndCoherence) {
  for (const bool procedureB : {false, true})
    for (const int32_t dB : moxc::ps::kIidFine)
      for (const double coherence : moxc::ps::kIcc) {
        const double c = std::pow(10, dB / 20.0), rho = procedureB ? std::max(coherence, 0.05) : coherence;
        const auto h = mixingFactors(procedureB, c, coherence);
        const double left = h[0] * h[0] + h[2] * h[2], right = h[1] * h[1] + h[3] * h[3];
        EXPECT_NEAR(left + right, 2, 1e-12);
        EXPECT_NEAR(left, c * c * right, 1e-9);
        EXPECT_NEAR(h[0] * h[1] + h[2] * h[3], rho * std::sqrt(left * right), 1e-9);
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
