// Reads ps_data().
#include "codec/ps/payload.h"

#include <algorithm>
#include <cstdlib>

#include "codec/ps/tables.h"

namespace moxc::ps {
namespace {

using Indices = Envelope::Indices;

// How one kind of index is coded: differences to the band below or to the same band an envelope earlier.
struct Coding {
  const DifferenceCodeNode *frequency, *time;
  int32_t least, most;
  bool wraps;  // phases count modulo 8
};
constexpr Coding kCoarseLevels = {kIidDfCoarse, kIidDtCoarse, -7, 7, false};
constexpr Coding kFineLevels = {kIidDfFine, kIidDtFine, -15, 15, false};
constexpr Coding kCoherences = {kIccDf, kIccDt, 0, 7, false};
constexpr Coding kInterPhases = {kIpdDf, kIpdDt, 0, 7, true};
constexpr Coding kOverallPhases = {kOpdDf, kOpdDt, 0, 7, true};

bool readIndices(BitReader& bits, const Coding& coding, int32_t bands, const Indices& earlier, Indices& out) {
  const bool overTime = bits.flag();
  int32_t below = 0;
  for (int32_t b = 0; b < bands; ++b) {
    int32_t index = overTime ? earlier[b] + readDifference(bits, coding.time)
                             : below + readDifference(bits, coding.frequency);
    if (coding.wraps) index &= 7;
    if (index < coding.least || index > coding.most) return false;
    out[b] = static_cast<int8_t>(index);
    below = index;
  }
  return true;
}

template <size_t kTerms>
Indices mapped(const Indices& in, const MapTerm (&terms)[kTerms]) {
  Array<int32_t, 34> sums{}, divisors{};
  for (const MapTerm& term : terms) {
    const auto out = static_cast<size_t>(term.out);
    sums[out] += term.weight * in[term.in];
    divisors[out] = term.divisor;
  }
  Indices out{};
  for (size_t b = 0; b < out.size() && divisors[b] != 0; ++b)
    out[b] = static_cast<int8_t>(sums[b] / divisors[b]);
  return out;
}

// The level nearest in dB in the other quantiser.
int8_t otherQuantiser(int8_t index, bool toFine) {
  const auto nearest = [](int32_t level, const int32_t* levels, int32_t most) {
    int32_t best = 0;
    for (int32_t i = -most; i <= most; ++i)
      if (std::abs(levels[most + i] - level) < std::abs(levels[most + best] - level)) best = i;
    return static_cast<int8_t>(best);
  };
  return toFine ? nearest(kIidCoarse[7 + index], kIidFine, 15) : nearest(kIidFine[15 + index], kIidCoarse, 7);
}

}  // namespace

Indices convertBands(const Indices& indices, int32_t from, int32_t to) {
  if (from == to) return indices;
  if (from == 10) return to == 20 ? mapped(indices, k10To20) : mapped(indices, k10To34);
  if (to == 34) return mapped(indices, k20To34);
  const Indices twenty = from == 34 ? mapped(indices, k34To20) : indices;
  if (to == 20) return twenty;
  Indices ten{};  // two of twenty bands make one of ten; the lower one speaks for both
  for (size_t b = 0; b < 10; ++b) ten[b] = twenty[2 * b];
  return ten;
}

int32_t Header::iidBands() const { return kNrIidPar[iidMode]; }
int32_t Header::iccBands() const { return kNrIccPar[iccMode]; }
int32_t Header::phaseBands() const { return kNrIpdopdPar[iidMode]; }

bool Payload::read(BitReader& bits) {
  Payload next = *this;
  next.last_ = envelope(count_ - 1);
  next.envelopes_.fill({});
  if (!next.readHeader(bits) || !next.readBorders(bits) || !next.readLevels(bits) ||
      !next.readCoherences(bits) || !next.readExtension(bits) || bits.overrun())
    return false;
  next.complete();
  *this = next;
  return true;
}

bool Payload::readHeader(BitReader& bits) {
  if (!bits.flag()) return header_.known;
  const Header before = header_;
  header_.known = true;
  header_.iidOn = bits.flag();
  if (header_.iidOn) header_.iidMode = static_cast<int32_t>(bits.bits(3));
  header_.iccOn = bits.flag();
  if (header_.iccOn) header_.iccMode = static_cast<int32_t>(bits.bits(3));
  header_.extensionOn = bits.flag();
  if (header_.iidMode > 5 || header_.iccMode > 5) return false;  // reserved

  recast(before);
  if (header_.iidOn || header_.iccOn)
    wide_ = (header_.iidOn && header_.iidBands() == 34) || (header_.iccOn && header_.iccBands() == 34);
  return true;
}

// Says the last envelope in the terms of the new header, so that its meaning lasts.
void Payload::recast(const Header& before) {
  last_.iid = header_.iidOn ? convertBands(last_.iid, before.iidBands(), header_.iidBands()) : Indices{};
  last_.icc = header_.iccOn ? convertBands(last_.icc, before.iccBands(), header_.iccBands()) : Indices{};
  if (header_.fineIid() != before.fineIid())
    for (int8_t& index : last_.iid) index = otherQuantiser(index, header_.fineIid());
  for (Indices* phases : {&last_.ipd, &last_.opd}) {
    *phases = convertBands(*phases, before.iidBands(), header_.iidBands());
    std::fill(phases->begin() + header_.phaseBands(), phases->end(), int8_t{0});
  }
}

bool Payload::readBorders(BitReader& bits) {
  const bool variable = bits.flag();
  const auto index = bits.bits(2);
  count_ = variable ? kNumEnvVariable[index] : kNumEnvFixed[index];
  for (int32_t e = 0; e < count_; ++e) {
    int32_t& border = borders_[e];
    border = variable ? static_cast<int32_t>(bits.bits(kBorderBits)) : (e + 1) * slots_ / count_ - 1;
    if (border >= slots_ || (e > 0 && border < borders_[e - 1])) return false;
  }
  return true;
}

bool Payload::readLevels(BitReader& bits) {
  if (!header_.iidOn) return true;
  const Coding& coding = header_.fineIid() ? kFineLevels : kCoarseLevels;
  for (int32_t e = 0; e < count_; ++e)
    if (!readIndices(bits, coding, header_.iidBands(), before(e).iid, at(e).iid)) return false;
  return true;
}

bool Payload::readCoherences(BitReader& bits) {
  if (!header_.iccOn) return true;
  for (int32_t e = 0; e < count_; ++e)
    if (!readIndices(bits, kCoherences, header_.iccBands(), before(e).icc, at(e).icc)) return false;
  return true;
}

// The extension counts its bytes, so that what is unknown in it can be skipped.
bool Payload::readExtension(BitReader& bits) {
  phasesOn_ = false;
  if (!header_.extensionOn) return true;
  uint32_t bytes = bits.bits(4);
  if (bytes == 15) bytes += bits.bits(8);
  const size_t end = bits.position() + 8 * size_t{bytes};
  while (bits.position() + 7 < end && bits.bits(2) == 0)
    if (!readPhases(bits)) return false;
  if (bits.position() > end) return false;
  while (bits.position() < end) bits.flag();
  return true;
}

bool Payload::readPhases(BitReader& bits) {
  phasesOn_ = bits.flag();
  for (int32_t e = 0; phasesOn_ && e < count_; ++e)
    if (!readIndices(bits, kInterPhases, header_.phaseBands(), before(e).ipd, at(e).ipd) ||
        !readIndices(bits, kOverallPhases, header_.phaseBands(), before(e).opd, at(e).opd))
      return false;
  bits.flag();  // reserved
  return true;
}

// Without envelopes the last one lasts; where they end early, so does theirs.
void Payload::complete() {
  if (count_ == 0 || borders_[count_ - 1] < slots_ - 1) {
    at(count_) = before(count_);
    borders_[count_++] = slots_ - 1;
  }
  if (!phasesOn_)
    for (Envelope& envelope : envelopes_) envelope.ipd = envelope.opd = {};
}

void Payload::holdLast() {
  at(0) = envelope(count_ - 1);
  borders_[0] = slots_ - 1;
  count_ = 1;
}

}  // namespace moxc::ps
