// Noiseless decoding of one individual_channel_stream(), ISO/IEC 14496-3, 4.6.3: sections, scale factors,
// pulses and the Huffman-coded spectrum.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "aac/band_walk.h"
#include "aac/bit_reader.h"
#include "aac/bit_window.h"
#include "aac/huffman_tables.h"
#include "aac/syntax_kernels.h"
#include "frame/checks.h"
#include "moxac/aac.h"

namespace moxac::aac {

inline constexpr int32_t kMaxScaleFactorBits = 19;

// The windows of the channel whose stream is decoded.
struct ChannelLayout {
  int32_t windowSequence;
  int32_t maxSfb;
  int32_t numGroups;
  const int32_t* groupLen;
  SwbTable swb;

  bool isShort() const { return windowSequence == MOX_AAC_EIGHT_SHORT; }
};

// What is read from a stream passes, but for maxSfb; a caller's record may hold anything. Rows of mostSfb bands
// fit the outputs.
inline moxStatus enterLayout(const ChannelLayout& layout, int32_t mostSfb, MoxAacChanStream& stream) {
  stream.windowLen = layout.swb.windowLen;
  stream.numWindows = layout.isShort() ? 8 : 1;
  stream.numSwb = layout.swb.numSwb;
  MOX_REQUIRE(inRange<int32_t>(layout.windowSequence, MOX_AAC_ONLY_LONG, MOX_AAC_LONG_STOP),
              moxStatusAacWinSeqError);
  MOX_REQUIRE(countWindows(layout.numGroups, layout.groupLen, layout.swb.windowLen) > 0,
              moxStatusAacWinGrpError);
  MOX_REQUIRE(inRange(layout.maxSfb, 0, mostSfb), moxStatusAacMaxSfbError);
  return moxStatusOk;
}

inline ChannelLayout makeLayout(int32_t windowSequence, int32_t maxSfb, int32_t numGroups,
                                const int32_t* groupLen, int32_t samplingRateIndex) {
  return {windowSequence, maxSfb, numGroups, groupLen,
          windowSequence == MOX_AAC_EIGHT_SHORT ? shortSwbTable(samplingRateIndex)
                                                : longSwbTable(samplingRateIndex)};
}

// section_data(). A length comes in pieces of 3 or 5 bits; one that is all ones adds itself and announces
// another, unless the section would run past maxSfb already.
inline moxStatus readSections(BitReader& in, const ChannelLayout& layout, MoxAacChanStream& stream,
                              uint8_t* sfbCb) {
  const int32_t pieceBits = layout.isShort() ? 3 : 5;
  const int32_t escape = (1 << pieceBits) - 1;
  int32_t section = 0;
  for (int32_t g = 0; g < layout.numGroups; ++g, sfbCb += layout.maxSfb) {
    stream.numSec[g] = 0;
    int32_t end = 0;
    while (end < layout.maxSfb && stream.numSec[g] < layout.maxSfb) {
      const int32_t start = end;
      const int32_t codebook = in.bits(4);
      int32_t piece;
      do {
        piece = in.bits(pieceBits);
        end += piece;
      } while (piece == escape && end <= layout.maxSfb);
      MOX_REQUIRE(end <= layout.maxSfb && section < MOX_AAC_MAX_SECTIONS, moxStatusAacSectionError);
      stream.sectCb[section] = static_cast<uint8_t>(codebook);
      stream.sectEnd[section] = static_cast<uint8_t>(end);
      std::fill(sfbCb + start, sfbCb + end, static_cast<uint8_t>(codebook));
      ++section;
      ++stream.numSec[g];
    }
    MOX_REQUIRE(end == layout.maxSfb, moxStatusAacSectionError);
  }
  return moxStatusOk;
}

// A look-up in the first table and, where that only links, one in the sub-table behind it.
inline int32_t scaleFactorDifference(BitWindow& window) {
  constexpr int32_t kFirstBits = kScaleFactorTable.kIndexBits;
  const auto* entry = &kScaleFactorTable.first[window.peek(kFirstBits)];
  if (entry->bits == 0)
    entry = &kScaleFactorTable.sub[entry->subStart() + window.peekBehind(kFirstBits, entry->subBits)];
  window.skip(entry->bits);
  return entry->value[0];
}

// What one band's value is coded against. Scale factors and noise energies share one accumulator: what
// follows the first noise band continues from its energy.
struct GainState {
  int32_t gain;
  int32_t position = 0;  // of intensity stereo
  bool noiseSeen = false;
};

inline moxStatus readScaleFactor(BitWindow& window, int32_t codebook, bool allowNoise, int32_t globalGain,
                                 GainState& state, int16_t& scaleFactor) {
  if (codebook == MOX_AAC_BOOK_ZERO) {
    scaleFactor = 0;
    return moxStatusOk;
  }
  MOX_REQUIRE(codebook != MOX_AAC_BOOK_RESERVED && (codebook != MOX_AAC_BOOK_NOISE || allowNoise),
              moxStatusAacCodebookError);
  window.ensure(kMaxScaleFactorBits);
  if (codebook >= MOX_AAC_BOOK_INTENSITY_INVERTED) {
    state.position += scaleFactorDifference(window);
    scaleFactor = static_cast<int16_t>(state.position);
    return moxStatusOk;
  }
  if (codebook == MOX_AAC_BOOK_NOISE && !state.noiseSeen) {
    state.noiseSeen = true;
    state.gain = globalGain - 90 + window.take(9) - 256;
  } else {
    state.gain += scaleFactorDifference(window);
  }
  MOX_REQUIRE(state.gain <= 255, moxStatusAacScaleFactorError);
  scaleFactor = static_cast<int16_t>(state.gain);
  return moxStatusOk;
}

// scale_factor_data().
inline moxStatus readScaleFactors(BitReader& in, const ChannelLayout& layout, bool allowNoise,
                                  const MoxAacChanStream& stream, int16_t* scaleFactor) {
  BitWindow window(in.bytePosition(), in.bitOffset());
  GainState state{stream.globalGain};
  moxStatus status = moxStatusOk;
  int32_t section = 0;
  for (int32_t g = 0; g < layout.numGroups && status == moxStatusOk; ++g) {
    int32_t band = 0;
    for (int32_t s = 0; s < stream.numSec[g]; ++s, ++section)
      for (; band < stream.sectEnd[section] && status == moxStatusOk; ++band, ++scaleFactor)
        status = readScaleFactor(window, stream.sectCb[section], allowNoise, stream.globalGain, state,
                                 *scaleFactor);
  }
  in.moveTo(window.bytePosition(), window.bitOffset());
  return status;
}

struct PulseData {
  int32_t count = 0;
  int32_t startSfb = 0;
  int32_t offset[4] = {};
  int32_t amp[4] = {};
};

// pulse_data(), pulse_data_present read before.
inline moxStatus readPulses(BitReader& in, int32_t numSwb, PulseData& pulses) {
  const int32_t count = in.bits(2) + 1;
  pulses.startSfb = in.bits(6);
  MOX_REQUIRE(pulses.startSfb <= MOX_AAC_MAX_SFB_LONG, moxStatusAacPulseError);
  for (int32_t i = 0; i < count; ++i) {
    pulses.offset[i] = in.bits(5);
    pulses.amp[i] = in.bits(4);
  }
  MOX_REQUIRE(pulses.startSfb < numSwb, moxStatusAacPulseError);
  pulses.count = count;
  return moxStatusOk;
}

// A pulse enlarges a magnitude; a line that is zero counts as negative.
inline moxStatus addPulses(const PulseData& pulses, const SwbTable& swb, int32_t* spectrum) {
  int32_t line = swb.offset[pulses.startSfb];
  for (int32_t i = 0; i < pulses.count; ++i) {
    line += pulses.offset[i];
    MOX_REQUIRE(line < swb.windowLen, moxStatusAacPulseError);
    spectrum[line] += spectrum[line] > 0 ? pulses.amp[i] : -pulses.amp[i];
  }
  return moxStatusOk;
}

// One code word with its signs. The window holds maxBits() bits or more.
template <int32_t kBook>
inline void decodeTuple(BitWindow& window, int32_t* dst) {
  constexpr size_t kTuple = kSpectralBooks[kBook].tuple;
  constexpr auto& kTable = kSpectralTable<kBook>;
  const auto& entry = kTable.first[window.peek(kTable.kIndexBits)];
  if (entry.bits != 0) [[likely]] {
    window.skip(entry.bits);
    for (size_t i = 0; i < kTuple; ++i) dst[i] = entry.value[i];
    return;
  }
  const auto& rest = kTable.sub[entry.subStart() + window.peekBehind(kTable.kIndexBits, entry.subBits)];
  window.skip(rest.bits);
  for (size_t i = 0; i < kTuple; ++i) {
    dst[i] = rest.value[i];
    if (kSpectralBooks[kBook].lowest == 0 && dst[i] != 0 && window.take(1) != 0) dst[i] = -dst[i];
  }
}

// Fills dst with `lines` values.
template <int32_t kBook>
inline void decodeLines(BitWindow& shared, int32_t* dst, int32_t lines) {
  constexpr auto kTuple = static_cast<int32_t>(kSpectralBooks[kBook].tuple);
  constexpr int32_t kPerRefill = BitWindow::kAheadBits / maxBits<kBook>();
  static_assert(maxBits<kBook>() <= BitWindow::kRefillBits);
  BitWindow window = shared;
  const int32_t* const end = dst + lines;
  while (end - dst >= kPerRefill * kTuple && window.hasAhead()) {
    window.refillAhead();
    for (int32_t i = 0; i < kPerRefill; ++i, dst += kTuple) decodeTuple<kBook>(window, dst);
  }
  if (dst < end && window.hasAhead()) window.refillAhead();
  for (; dst < end; dst += kTuple) {
    window.ensure(maxBits<kBook>());
    decodeTuple<kBook>(window, dst);
  }
  shared = window;
}

// The escape sequence of a magnitude 16, sign kept: N - 4 ones, a zero, N bits. False for N above 12.
inline bool decodeEscape(BitWindow& window, int32_t& value) {
  window.refill();
  const int32_t ones = window.leadingOnes();
  if (ones > 8) {
    window.skip(9);
    return false;
  }
  window.skip(ones + 1);
  const int32_t magnitude = (16 << ones) + window.take(4 + ones);
  value = value < 0 ? -magnitude : magnitude;
  return true;
}

inline bool decodeEscapeLines(BitWindow& shared, int32_t* dst, int32_t lines) {
  BitWindow window = shared;
  bool good = true;
  for (const int32_t* const end = dst + lines; dst < end && good; dst += 2) {
    window.ensure(maxBits<MOX_AAC_BOOK_ESCAPE>());
    decodeTuple<MOX_AAC_BOOK_ESCAPE>(window, dst);
    for (int32_t i = 0; i < 2 && good; ++i)
      if (dst[i] == 16 || dst[i] == -16) good = decodeEscape(window, dst[i]);
  }
  shared = window;
  return good;
}

struct SpectralSection {
  int32_t codebook;
  int32_t lines;
  int32_t bitsAhead;  // at least this many bits follow its start, up to the next place that may fail
  moxStatus status;   // what stops decoding here
};

// The sections as runs of lines. Code words of books 1 to 10 cannot fail, so the fewest bits of every such
// section add up, from the back, to what is known to follow.
inline int32_t layOutSections(const ChannelLayout& layout, const MoxAacChanStream& stream,
                              SpectralSection* sections) {
  static constexpr int8_t kMinBits[12] = {0,
                                          minBits<1>(),
                                          minBits<2>(),
                                          minBits<3>(),
                                          minBits<4>(),
                                          minBits<5>(),
                                          minBits<6>(),
                                          minBits<7>(),
                                          minBits<8>(),
                                          minBits<9>(),
                                          minBits<10>(),
                                          minBits<11>()};
  int32_t count = 0;
  for (int32_t g = 0; g < layout.numGroups; ++g) {
    int32_t start = 0;
    for (int32_t s = 0; s < stream.numSec[g]; ++s, ++count) {
      const int32_t codebook = stream.sectCb[count];
      const int32_t end = stream.sectEnd[count];
      SpectralSection& section = sections[count];
      section = {codebook, 0, 0, moxStatusOk};
      if (end > layout.swb.numSwb)
        section.status = moxStatusBadData;
      else if (codebook == MOX_AAC_BOOK_RESERVED)
        section.status = moxStatusAacCodebookError;
      else
        section.lines = (layout.swb.offset[end] - layout.swb.offset[start]) * layout.groupLen[g];
      start = std::min(end, layout.swb.numSwb);
    }
  }
  int32_t bitsAhead = 0;
  for (int32_t i = count - 1; i >= 0; --i) {
    SpectralSection& section = sections[i];
    if (section.status != moxStatusOk || section.codebook == MOX_AAC_BOOK_ESCAPE) {
      bitsAhead = 0;
    } else if (section.codebook < MOX_AAC_BOOK_ESCAPE) {
      const int32_t tuple = section.codebook <= 4 ? 4 : 2;
      bitsAhead += section.lines / tuple * kMinBits[section.codebook];
    }
    section.bitsAhead = bitsAhead;
  }
  return count;
}

inline moxStatus readSection(BitWindow& window, const SpectralSection& section, int32_t* dst) {
  MOX_TRY(section.status);
  const int32_t lines = section.lines;
  window.expect(section.bitsAhead);
  switch (section.codebook) {
    case 1:
      decodeLines<1>(window, dst, lines);
      break;
    case 2:
      decodeLines<2>(window, dst, lines);
      break;
    case 3:
      decodeLines<3>(window, dst, lines);
      break;
    case 4:
      decodeLines<4>(window, dst, lines);
      break;
    case 5:
      decodeLines<5>(window, dst, lines);
      break;
    case 6:
      decodeLines<6>(window, dst, lines);
      break;
    case 7:
      decodeLines<7>(window, dst, lines);
      break;
    case 8:
      decodeLines<8>(window, dst, lines);
      break;
    case 9:
      decodeLines<9>(window, dst, lines);
      break;
    case 10:
      decodeLines<10>(window, dst, lines);
      break;
    case MOX_AAC_BOOK_ESCAPE:
      MOX_REQUIRE(decodeEscapeLines(window, dst, lines), moxStatusAacEscapeError);
      break;
    default:
      std::fill_n(dst, lines, 0);
  }
  return moxStatusOk;
}

// spectral_data(): group by group, in each band the lines of the group's windows one after another.
inline moxStatus readSpectrum(BitReader& in, const ChannelLayout& layout, const MoxAacChanStream& stream,
                              int32_t* spectrum) {
  SpectralSection sections[MOX_AAC_MAX_SECTIONS];
  layOutSections(layout, stream, sections);

  BitWindow window(in.bytePosition(), in.bitOffset());
  moxStatus status = moxStatusOk;
  const SpectralSection* section = sections;
  for (int32_t g = 0; g < layout.numGroups && status == moxStatusOk; ++g) {
    int32_t* dst = spectrum;
    spectrum += layout.swb.windowLen * layout.groupLen[g];
    for (int32_t s = 0; s < stream.numSec[g] && status == moxStatusOk; ++s, ++section) {
      status = readSection(window, *section, dst);
      dst += section->lines;
    }
    if (status == moxStatusOk) std::fill(dst, spectrum, 0);
  }
  in.moveTo(window.bytePosition(), window.bitOffset());
  return status;
}

// Where one channel's data go.
struct NoiselessTarget {
  MoxAacChanStream& stream;
  int16_t* scaleFactor;
  int32_t* spectrum;
  uint8_t* sfbCb;
  int8_t* tnsCoef;
};

// Everything behind global_gain and ics_info(). hasTools: pulse, TNS and gain-control fields are present.
inline moxStatus readChannel(BitReader& in, const ChannelLayout& layout, bool hasTools, bool allowNoise,
                             const NoiselessTarget& to) {
  MoxAacChanStream& stream = to.stream;
  MOX_TRY(readSections(in, layout, stream, to.sfbCb));
  MOX_TRY(readScaleFactors(in, layout, allowNoise, stream, to.scaleFactor));

  PulseData pulses;
  if (!hasTools) {
    stream.pulseDataPresent = stream.tnsDataPresent = stream.gainControlDataPresent = 0;
  } else {
    stream.pulseDataPresent = in.bit();
    if (stream.pulseDataPresent != 0) {
      MOX_REQUIRE(!layout.isShort(), moxStatusAacPulseError);
      MOX_TRY(readPulses(in, layout.swb.numSwb, pulses));
    }
    stream.tnsDataPresent = in.bit();
    stream.nFilt[0] = 0;
    if (stream.tnsDataPresent != 0) {
      MOX_TRY(readTnsData(
          in, layout.windowSequence,
          {stream.nFilt, stream.coefRes, stream.length, stream.order, stream.direction, to.tnsCoef}));
    }
    stream.gainControlDataPresent = in.bit();
    MOX_REQUIRE(stream.gainControlDataPresent == 0, moxStatusAacGainControlError);
  }

  MOX_TRY(readSpectrum(in, layout, stream, to.spectrum));
  return addPulses(pulses, layout.swb, to.spectrum);
}

}  // namespace moxac::aac
