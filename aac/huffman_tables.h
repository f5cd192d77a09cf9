// Look-up tables of the AAC Huffman codes, built at compile time from the code lists.
//
// A first table is indexed by the next kFirstBits bits of the stream. Its entry holds the values with their
// signs applied, when the code word and its sign bits fit that index; otherwise it links to a sub-table that
// is indexed by the bits behind and holds the code word without signs. So every code word takes one look-up
// or two.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "aac/huffman_codes.h"

namespace moxac::aac {

template <size_t N>
struct alignas(2 * N) HuffmanEntry {
  uint8_t bits = 0;               // what the entry consumes; 0: a link
  uint8_t subBits = 0;            // link: index width of the sub-table
  std::array<int8_t, N> value{};  // link: the sub-table's start, low byte first

  constexpr size_t subStart() const {
    return static_cast<uint8_t>(value[0]) | (size_t{static_cast<uint8_t>(value[1])} << 8);
  }
  constexpr void link(size_t start, int32_t width) {
    subBits = static_cast<uint8_t>(width);
    value[0] = static_cast<int8_t>(start & 0xFF);
    value[1] = static_cast<int8_t>(start >> 8);
  }
};

// One of the eleven spectral code books, ISO/IEC 14496-3, Table 4.151. A code word's place in the list is its
// values read as digits of the given base, first value most significant, lowest value counting as 0.
struct SpectralBook {
  size_t tuple;       // values per code word
  int32_t base;       // number of different values
  int32_t lowest;     // negative: the values are signed. 0: magnitudes, sign bits follow the code word
  int32_t firstBits;  // index width of the first table, where most of the stream is decoded
};
inline constexpr SpectralBook kSpectralBooks[12] = {
    {},           {4, 3, -1, 9}, {4, 3, -1, 9},  {4, 3, 0, 9},   {4, 3, 0, 10}, {2, 9, -4, 9}, {2, 9, -4, 9},
    {2, 8, 0, 9}, {2, 8, 0, 10}, {2, 13, 0, 10}, {2, 13, 0, 11}, {2, 17, 0, 11}};

template <int32_t kBook>
constexpr auto& spectralCodes() {
  if constexpr (kBook == 1)
    return kSpectralCodes1;
  else if constexpr (kBook == 2)
    return kSpectralCodes2;
  else if constexpr (kBook == 3)
    return kSpectralCodes3;
  else if constexpr (kBook == 4)
    return kSpectralCodes4;
  else if constexpr (kBook == 5)
    return kSpectralCodes5;
  else if constexpr (kBook == 6)
    return kSpectralCodes6;
  else if constexpr (kBook == 7)
    return kSpectralCodes7;
  else if constexpr (kBook == 8)
    return kSpectralCodes8;
  else if constexpr (kBook == 9)
    return kSpectralCodes9;
  else if constexpr (kBook == 10)
    return kSpectralCodes10;
  else
    return kSpectralCodes11;
}

// The values of the code word at `index` of a book's list.
template <int32_t kBook>
constexpr auto tupleAt(size_t index) {
  constexpr SpectralBook kShape = kSpectralBooks[kBook];
  std::array<int8_t, kShape.tuple> value{};
  int32_t digits = static_cast<int32_t>(index);
  for (size_t i = kShape.tuple; i-- > 0; digits /= kShape.base)
    value[i] = static_cast<int8_t>(digits % kShape.base + kShape.lowest);
  return value;
}

// Sign bits behind a code word.
template <int32_t kBook>
constexpr int32_t signBits(size_t index) {
  if (kSpectralBooks[kBook].lowest < 0) return 0;
  const auto value = tupleAt<kBook>(index);
  return static_cast<int32_t>(value.size() -
                              static_cast<size_t>(std::count(value.begin(), value.end(), int8_t{0})));
}

// The fewest and the most bits that a code word takes with its signs, escapes apart.
template <int32_t kBook>
constexpr int32_t minBits() {
  int32_t least = 32;
  for (size_t i = 0; i < std::size(spectralCodes<kBook>()); ++i)
    least = std::min(least, spectralCodes<kBook>()[i].length + signBits<kBook>(i));
  return least;
}
template <int32_t kBook>
constexpr int32_t maxBits() {
  int32_t most = 0;
  for (size_t i = 0; i < std::size(spectralCodes<kBook>()); ++i)
    most = std::max(most, spectralCodes<kBook>()[i].length + signBits<kBook>(i));
  return most;
}

// Calls visit(first, last, width, i) for every code word i that is not decoded by a table of firstBits: it
// owns the first-table entries first .. last - 1 and wants a sub-table of `width` bits behind them.
template <class Signs, class Visit>
constexpr void forEachLongCode(const HuffmanCode* codes, size_t count, int32_t firstBits, Signs signs,
                               Visit visit) {
  for (size_t i = 0; i < count; ++i) {
    const HuffmanCode word = codes[i];
    if (word.length + signs(i) <= firstBits) continue;
    const int32_t width = std::max(word.length - firstBits, 0);
    const int32_t spare = std::max(firstBits - word.length, 0);
    const size_t first = (word.code >> width) << spare;
    visit(first, first + (size_t{1} << spare), width, i);
  }
}

// Index width of the sub-table behind every entry of the first table; -1 where there is none.
template <int32_t kFirstBits, class Signs>
constexpr auto subWidths(const HuffmanCode* codes, size_t count, Signs signs) {
  std::array<int8_t, size_t{1} << kFirstBits> widths{};
  widths.fill(-1);
  forEachLongCode(codes, count, kFirstBits, signs, [&](size_t first, size_t last, int32_t width, size_t) {
    for (size_t i = first; i < last; ++i) widths[i] = std::max(widths[i], static_cast<int8_t>(width));
  });
  return widths;
}

template <size_t N>
constexpr size_t subEntries(const std::array<int8_t, N>& widths) {
  size_t total = 0;
  for (const int8_t width : widths) total += width < 0 ? 0 : size_t{1} << width;
  return total;
}

template <size_t N, int32_t kFirstBits, size_t kSubEntries>
struct HuffmanTable {
  static constexpr int32_t kIndexBits = kFirstBits;
  std::array<HuffmanEntry<N>, size_t{1} << kFirstBits> first;
  std::array<HuffmanEntry<N>, std::max<size_t>(kSubEntries, 1)> sub;
};

// Fills the links and the sub-tables. value(i) gives the values of code word i, without signs.
template <class Table, class Signs, class Value, size_t N>
constexpr void buildSubTables(const HuffmanCode* codes, size_t count, Signs signs, Value value,
                              const std::array<int8_t, N>& widths, Table& table) {
  size_t start = 0;
  for (size_t i = 0; i < N; ++i) {
    if (widths[i] < 0) continue;
    table.first[i].link(start, widths[i]);
    start += size_t{1} << widths[i];
  }
  forEachLongCode(codes, count, Table::kIndexBits, signs,
                  [&](size_t first, size_t last, int32_t width, size_t i) {
                    for (size_t owner = first; owner < last; ++owner) {
                      const int32_t spare = table.first[owner].subBits - width;
                      const size_t tail = (codes[i].code & ((size_t{1} << width) - 1)) << spare;
                      for (size_t k = tail; k < tail + (size_t{1} << spare); ++k) {
                        auto& entry = table.sub[table.first[owner].subStart() + k];
                        entry.bits = codes[i].length;
                        entry.value = value(i);
                      }
                    }
                  });
}

template <int32_t kBook>
constexpr auto buildSpectralTable() {
  constexpr SpectralBook kShape = kSpectralBooks[kBook];
  constexpr auto& codes = spectralCodes<kBook>();
  constexpr auto kWidths = subWidths<kShape.firstBits>(codes, std::size(codes), signBits<kBook>);
  HuffmanTable<kShape.tuple, kShape.firstBits, subEntries(kWidths)> table{};
  for (size_t i = 0; i < std::size(codes); ++i) {
    const int32_t signs = signBits<kBook>(i);
    const int32_t bits = codes[i].length + signs;
    if (bits > kShape.firstBits) continue;
    const int32_t spare = kShape.firstBits - bits;
    for (size_t pattern = 0; pattern < size_t{1} << signs; ++pattern) {
      HuffmanEntry<kShape.tuple> entry{static_cast<uint8_t>(bits), 0, tupleAt<kBook>(i)};
      int32_t left = signs;  // the first nonzero value's sign bit comes first
      for (int8_t& v : entry.value)
        if (left > 0 && v != 0 && ((pattern >> --left) & 1) != 0) v = static_cast<int8_t>(-v);
      const size_t at = ((size_t{codes[i].code} << signs) | pattern) << spare;
      for (size_t k = at; k < at + (size_t{1} << spare); ++k) table.first[k] = entry;
    }
  }
  buildSubTables(codes, std::size(codes), signBits<kBook>, tupleAt<kBook>, kWidths, table);
  return table;
}
template <int32_t kBook>
inline constexpr auto kSpectralTable = buildSpectralTable<kBook>();

// The scale-factor book's entries hold the difference, -60 .. 60.
constexpr auto buildScaleFactorTable() {
  constexpr int32_t kFirstBits = 9;
  constexpr size_t kCount = std::size(kScaleFactorCodes);
  constexpr auto noSigns = [](size_t) { return 0; };
  constexpr auto difference = [](size_t i) {
    return std::array<int8_t, 2>{static_cast<int8_t>(static_cast<int32_t>(i) - 60)};
  };
  constexpr auto kWidths = subWidths<kFirstBits>(kScaleFactorCodes, kCount, noSigns);
  HuffmanTable<2, kFirstBits, subEntries(kWidths)> table{};
  for (size_t i = 0; i < kCount; ++i) {
    const HuffmanCode word = kScaleFactorCodes[i];
    if (word.length > kFirstBits) continue;
    const int32_t spare = kFirstBits - word.length;
    for (size_t k = size_t{word.code} << spare; k < size_t{word.code + 1} << spare; ++k)
      table.first[k] = {word.length, 0, difference(i)};
  }
  buildSubTables(kScaleFactorCodes, kCount, noSigns, difference, kWidths, table);
  return table;
}
inline constexpr auto kScaleFactorTable = buildScaleFactorTable();

}  // namespace moxac::aac
