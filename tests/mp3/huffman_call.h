// Calls of the Huffman coders with everything drawn at random, and spectra in bits by the codes' own files.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/layer3_reference.h"

namespace moxtest {

enum class Form { builtIn, sfb, mbp };

struct HuffmanCall {
  Form form = Form::builtIn;
  MoxMp3FrameHeader header{};
  MoxMp3SideInfo record{};
  std::vector<int16_t> longBands, shortBands, mixedPoints;
  int32_t bitOffset = 0, hufSize = 0;
};

// Where regions end, by the words of the header comment.
inline std::vector<int32_t> regionEnds(const HuffmanCall& call) {
  const int32_t row = call.header.id * 3 + call.header.samplingFreq;
  const int16_t* const longRow =
      call.form == Form::builtIn ? moxac::kSfbLong[row] : call.longBands.data() + 23 * row;
  const MoxMp3SideInfo& r = call.record;
  const int32_t big = 2 * r.bigVals;
  if (r.winSwitch == 0)
    return {std::min<int32_t>(longRow[r.reg0Cnt + 1], big),
            std::min<int32_t>(longRow[r.reg0Cnt + r.reg1Cnt + 2], big), big};
  int32_t boundary = call.header.id == 1 || r.blockType == 2 ? 36 : 54;
  if (call.form == Form::mbp) {
    const int16_t* const s = call.shortBands.data() + 14 * row;
    const int16_t* const point = call.mixedPoints.data() + 2 * row;
    if (r.blockType != 2) {
      boundary = longRow[8];
    } else if (r.mixedBlock == 0) {
      boundary = 3 * (s[3] - s[0]);
    } else {
      boundary = longRow[point[0]];
      int32_t j = 0;
      while (j < 14 && 3 * s[j] <= boundary) ++j;
      int32_t count = 2;
      for (int32_t i = 0; i < point[1] && j < 14; ++i) {
        boundary += s[j] - s[j - 1];
        if (count++ % 3 == 0) ++j;
      }
    }
  }
  return {std::min(boundary, big), big};
}

inline HuffmanCall randomHuffmanCall(Form form, int32_t id) {
  HuffmanCall call;
  call.form = form;
  call.header.id = id;
  call.header.layer = 1;
  call.header.samplingFreq = draw(0, 2);
  MoxMp3SideInfo& r = call.record;
  r.bigVals = draw(0, 3) == 0 ? 288 : draw(0, 288);
  r.winSwitch = draw(0, 1);
  r.blockType = r.winSwitch == 1 ? draw(1, 3) : 0;
  r.mixedBlock = draw(0, 1);
  r.reg0Cnt = draw(0, 15);
  r.reg1Cnt = draw(0, std::min(7, 20 - r.reg0Cnt));
  for (int32_t& t : r.tableSelect) t = draw(0, 31);
  if (r.winSwitch == 1) r.tableSelect[2] = 99;  // of an empty region
  r.cnt1TabSel = draw(0, 1);
  call.bitOffset = draw(0, 7);
  const int16_t *const ownLong = moxac::kSfbLong[0], *const ownShort = moxac::kSfbShort[0];
  call.longBands.assign(ownLong, ownLong + 6 * 23);
  call.shortBands.assign(ownShort, ownShort + 6 * 14);
  for (int row = 0; row < 6; ++row) {
    call.mixedPoints.push_back(static_cast<int16_t>(draw(0, 10)));
    call.mixedPoints.push_back(static_cast<int16_t>(draw(0, 45)));
  }
  if (draw(0, 1) == 1) {  // bands of the caller's own, odd ones among them
    for (size_t i = 0; i < call.longBands.size(); ++i)
      if (i % 23 != 0 && i % 23 != 22)
        call.longBands[i] = static_cast<int16_t>(call.longBands[i] - draw(0, 3));
    for (size_t i = 0; i < call.shortBands.size(); ++i)
      if (i % 14 != 0) call.shortBands[i] = static_cast<int16_t>(call.shortBands[i] - draw(0, 1));
  }
  return call;
}

struct Spectrum {
  std::vector<int32_t> lines = std::vector<int32_t>(576);
  int32_t count1Len = 0;
};

// What the call's tables can code, small and large values alike, escapes of every width.
inline Spectrum randomSpectrum(const HuffmanCall& call) {
  Spectrum s;
  const std::vector<int32_t> ends = regionEnds(call);
  size_t line = 0;
  for (size_t r = 0; r < ends.size(); ++r)
    for (; line < static_cast<size_t>(ends[r] + ends[r] % 2); ++line) {
      const auto& t = layer3Codes().tables[static_cast<size_t>(call.record.tableSelect[r])];
      if (t.book == nullptr) continue;
      int32_t magnitude = draw(0, t.width - 1);
      if (magnitude == 15 && t.linBits > 0) magnitude += draw(0, (1 << draw(0, t.linBits)) - 1);
      s.lines[line] = draw(0, 1) == 1 ? -magnitude : magnitude;
    }
  s.count1Len = 4 * draw(0, (576 - 2 * call.record.bigVals) / 4);
  for (int32_t i = 0; i < s.count1Len; ++i) s.lines[line++] = draw(-1, 1);
  return s;
}

// The first regions of a spectrum in bits; with more than there are, its quadruples too.
inline BitString codedBits(const HuffmanCall& call, const Spectrum& s, size_t regions) {
  BitString bits;
  const std::vector<int32_t> ends = regionEnds(call);
  int32_t line = 0;
  for (size_t r = 0; r < std::min(regions, ends.size()); ++r)
    for (; line < ends[r]; line += 2)
      layer3Codes().putPair(bits, call.record.tableSelect[r], s.lines[static_cast<size_t>(line)],
                            s.lines[static_cast<size_t>(line + 1)]);
  for (int32_t i = 0; regions > ends.size() && i < s.count1Len; i += 4)
    layer3Codes().putQuad(bits, call.record.cnt1TabSel, &s.lines[static_cast<size_t>(line + i)]);
  return bits;
}

}  // namespace moxtest
