// How many bits a quantised spectrum takes, with the best regions and tables: all candidates are counted at once.
// ISO/IEC 11172-3, 2.4.2.7 and Table B.7.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "frame/horizontal.h"
#include "mp3/band_tables.h"
#include "mp3/huffman_code_tables.h"

namespace moxac::mp3 {

// A quantised spectrum and, for counting, its magnitudes cut off at 15.
struct QuantizedLines {
  alignas(32) int32_t ix[kMp3Lines + 16];
  alignas(32) uint8_t clipped[kMp3Lines + 16];
  int32_t largest;
};

// What is to be sent about it.
struct SpectrumCode {
  int32_t bits;
  int32_t bigVals, count1Len;
  int32_t reg0Cnt, reg1Cnt;
  int32_t tableSelect[3];
  int32_t cnt1TabSel;
};

// Sixteen lanes: the lengths of a pair in each code with its signs; the last lane counts magnitudes of 15 and
// more, which tables 16 and 24 follow by linbits.
inline constexpr int kLane16 = 13, kLane24 = 14, kLaneEscapes = 15;
inline constexpr int8_t kTableOfLane[16] = {1, 2, 3, 5, 6, 7, 8, 9, 10, 11, 12, 13, 15, 16, 24, 0};
inline constexpr uint16_t kNoCode = 4096;  // longer than any band of codes; sums of it saturate

struct PairLengths {
  struct alignas(32) Lanes {
    uint16_t of[16];
  };
  std::array<Lanes, 256> pair{};

  constexpr PairLengths() {
    for (int x = 0; x < 16; ++x)
      for (int y = 0; y < 16; ++y) {
        Lanes& lanes = pair[16 * static_cast<size_t>(x) + static_cast<size_t>(y)];
        for (int lane = 0; lane < kLaneEscapes; ++lane) {
          const PairTable& table = kPairTables[kTableOfLane[lane]];
          lanes.of[lane] =
              x < table.width && y < table.width
                  ? static_cast<uint16_t>(table.codes[x * table.width + y].length + (x != 0) + (y != 0))
                  : kNoCode;
        }
        lanes.of[kLaneEscapes] = static_cast<uint16_t>((x == 15) + (y == 15));
      }
  }
};
inline constexpr PairLengths kPairLengths;

// Lengths of the quadruple 8v + 4w + 2x + y with its signs, tables A and B.
struct QuadLengths {
  std::array<uint8_t, 16> a{}, b{};

  constexpr QuadLengths() {
    for (unsigned i = 0; i < 16; ++i) {
      a[i] = static_cast<uint8_t>(kQuadCodesA[i].length + std::popcount(i));
      b[i] = static_cast<uint8_t>(kQuadCodesB[i].length + std::popcount(i));
    }
  }
};
inline constexpr QuadLengths kQuadLengths;

struct LaneSums {
  i16x8 low, high;

  static LaneSums zero() { return {splatShort8(0), splatShort8(0)}; }
  LaneSums operator+(const LaneSums& other) const {
    return {addSaturatedUnsignedShort8(low, other.low), addSaturatedUnsignedShort8(high, other.high)};
  }
};

inline LaneSums pairSums(const uint8_t* clipped, int32_t pairs) {
  LaneSums sum = LaneSums::zero();
  const auto add = [&](uint32_t index) {
    const uint16_t* const lanes = kPairLengths.pair[index].of;
    sum = sum + LaneSums{loadShort8(lanes), loadShort8(lanes + 8)};
  };
  for (int32_t i = 0; i < pairs; ++i) add(16u * clipped[2 * i] + clipped[2 * i + 1]);
  return sum;
}

struct TableChoice {
  int32_t bits, table;
};

// The first of tables 16-23 (or 24-31) whose linbits hold the excess over 15.
inline int32_t escapeTable(int32_t first, int32_t largest) {
  int32_t table = first;
  while (15 + (1 << kPairTables[table].linBits) - 1 < largest) ++table;
  return table;
}

// The cheapest table for pairs with these sums. `largest` is looked at only when there are escapes.
template <class Largest>
TableChoice cheapestTable(const LaneSums& sums, int32_t pairs, Largest&& largest) {
  // Table 1 spends one bit on a pair of zeros and more on every other.
  if (laneShort8<0>(sums.low) == pairs) return {0, 0};
  const int32_t escapes = laneShort8<kLaneEscapes - 8>(sums.high);
  if (escapes == 0) {
    const LeastLane low = minUnsignedShortLane(sums.low);
    const LeastLane high = minUnsignedShortLane(withLaneShort8<kLaneEscapes - 8>(sums.high, -1));
    return low.value <= high.value ? TableChoice{low.value, kTableOfLane[low.place]}
                                   : TableChoice{high.value, kTableOfLane[8 + high.place]};
  }
  const int32_t most = largest();
  const int32_t table16 = escapeTable(16, most), table24 = escapeTable(24, most);
  TableChoice best{laneShort8<kLane16 - 8>(sums.high) + escapes * kPairTables[table16].linBits, table16};
  const auto offer = [&](int32_t bits, int32_t table) {
    if (bits < best.bits) best = {bits, table};
  };
  offer(laneShort8<kLane24 - 8>(sums.high) + escapes * kPairTables[table24].linBits, table24);
  if (most == 15) {
    offer(laneShort8<3>(sums.high), 13);
    offer(laneShort8<4>(sums.high), 15);
  }
  return best;
}

// Where the big values and the quadruples behind them end.
inline void splitLines(const QuantizedLines& lines, SpectrumCode& code) {
  int32_t end = kMp3Lines;
  while (end >= 16 && isZeroInt4(loadBytes16(lines.clipped + end - 16))) end -= 16;
  const auto pairIsZero = [&](int32_t i) { return (lines.clipped[i] | lines.clipped[i + 1]) == 0; };
  while (end > 0 && pairIsZero(end - 2)) end -= 2;
  int32_t begin = end, a = 0, b = 0;
  for (; begin >= 4; begin -= 4) {
    const uint8_t* const q = lines.clipped + begin - 4;
    if ((q[0] | q[1] | q[2] | q[3]) > 1) break;
    const auto index = static_cast<size_t>(8 * q[0] + 4 * q[1] + 2 * q[2] + q[3]);
    a += kQuadLengths.a[index];
    b += kQuadLengths.b[index];
  }
  code.bigVals = begin / 2;
  code.count1Len = end - begin;
  code.cnt1TabSel = b < a;
  code.bits = std::min(a, b);
}

// Regions of a block with window switching: the border is line 36, the third is empty.
inline void countSwitched(const QuantizedLines& lines, SpectrumCode& code) {
  const int32_t border = std::min(36, 2 * code.bigVals), end = 2 * code.bigVals;
  const auto region = [&](int32_t first, int32_t last) {
    return cheapestTable(pairSums(lines.clipped + first, (last - first) / 2), (last - first) / 2,
                         [&] { return *std::max_element(lines.ix + first, lines.ix + last); });
  };
  const TableChoice low = region(0, border), high = region(border, end);
  code.tableSelect[0] = low.table;
  code.tableSelect[1] = high.table;
  code.tableSelect[2] = 0;
  code.bits += low.bits + high.bits;
}

// Regions of a long block: every pair of borders that the side information can name.
inline void countLong(const QuantizedLines& lines, const int16_t* sfb, SpectrumCode& code) {
  const int32_t end = 2 * code.bigVals;
  code.reg0Cnt = code.reg1Cnt = 0;
  std::fill(code.tableSelect, code.tableSelect + 3, 0);
  if (end == 0) return;

  LaneSums band[22], behind[23];  // of each band; of it and all above
  int32_t largest[22] = {}, border[23], count = 0;
  for (; sfb[count] < end; ++count) {
    border[count] = sfb[count];
    const int32_t last = std::min<int32_t>(sfb[count + 1], end);
    band[count] = pairSums(lines.clipped + sfb[count], (last - sfb[count]) / 2);
    if (lines.largest >= 15) largest[count] = *std::max_element(lines.ix + sfb[count], lines.ix + last);
  }
  border[count] = end;
  behind[count] = LaneSums::zero();
  for (int32_t i = count - 1; i >= 0; --i) behind[i] = behind[i + 1] + band[i];
  const auto cheapest = [&](const LaneSums& sums, int32_t first, int32_t last) {
    return cheapestTable(sums, (border[last] - border[first]) / 2,
                         [&] { return *std::max_element(largest + first, largest + last); });
  };

  TableChoice upper[23];  // the third region, from each band on
  for (int32_t i = 2; i < count; ++i) upper[i] = cheapest(behind[i], i, count);
  upper[count] = {0, 0};
  int32_t best = INT32_MAX;
  LaneSums low = LaneSums::zero();
  for (int32_t i = 1; i <= std::min(count, 16); ++i) {  // the second region begins at band i
    low = low + band[i - 1];
    const TableChoice first = cheapest(low, 0, i);
    const auto offer = [&](int32_t j, TableChoice second, TableChoice third) {
      const int32_t bits = first.bits + second.bits + third.bits;
      if (bits >= best) return;
      best = bits;
      code.reg0Cnt = i - 1;
      code.reg1Cnt = j - i - 1;
      code.tableSelect[0] = first.table;
      code.tableSelect[1] = second.table;
      code.tableSelect[2] = third.table;
    };
    if (first.bits >= best) break;  // lower regions only get dearer
    if (i == count) offer(i + 1, {0, 0}, {0, 0});
    LaneSums middle = LaneSums::zero();
    for (int32_t j = i + 1; j <= std::min(count, i + 8); ++j) {  // the third one at band j
      middle = middle + band[j - 1];
      if (first.bits + upper[j].bits < best) offer(j, cheapest(middle, i, j), upper[j]);
    }
  }
  code.bits += best;
}

// Regions of a long block with these borders: what the best ones take, or somewhat more.
inline void countLongAt(const QuantizedLines& lines, const int16_t* sfb, int32_t reg0Cnt, int32_t reg1Cnt,
                        SpectrumCode& code) {
  const int32_t end = 2 * code.bigVals;
  const int32_t border[4] = {0, std::min<int32_t>(sfb[reg0Cnt + 1], end),
                             std::min<int32_t>(sfb[reg0Cnt + reg1Cnt + 2], end), end};
  code.reg0Cnt = reg0Cnt;
  code.reg1Cnt = reg1Cnt;
  for (int r = 0; r < 3; ++r) {
    const int32_t first = border[r], last = border[r + 1], pairs = (last - first) / 2;
    const TableChoice choice =
        pairs == 0 ? TableChoice{0, 0} : cheapestTable(pairSums(lines.clipped + first, pairs), pairs, [&] {
          return *std::max_element(lines.ix + first, lines.ix + last);
        });
    code.tableSelect[r] = choice.table;
    code.bits += choice.bits;
  }
}

inline SpectrumCode countSpectrum(const QuantizedLines& lines, bool switched, const int16_t* sfbLong) {
  SpectrumCode code{};
  splitLines(lines, code);
  if (switched)
    countSwitched(lines, code);
  else
    countLong(lines, sfbLong, code);
  return code;
}

// Not less than that, and much sooner: with the regions that were best for a spectrum like it.
inline SpectrumCode estimateSpectrum(const QuantizedLines& lines, bool switched, const int16_t* sfbLong,
                                     const SpectrumCode& alike) {
  SpectrumCode code{};
  splitLines(lines, code);
  if (switched)
    countSwitched(lines, code);
  else
    countLongAt(lines, sfbLong, alike.reg0Cnt, alike.reg1Cnt, code);
  return code;
}

}  // namespace moxac::mp3
