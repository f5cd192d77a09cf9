// The look-up tables of the Layer III code books, built at compile time.
#include "mp3/huffman_lookup.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "mp3/huffman_code_tables.h"

namespace moxac::mp3 {
namespace {

constexpr int32_t signedValue(int32_t magnitude, uint32_t signBit) {
  return signBit != 0 ? -magnitude : magnitude;
}

// The pair that starts at the top of the lowest `available` bits of `window`; bits 0 when it is not whole.
struct WholePair {
  int32_t bits = 0, x = 0, y = 0;
};

template <size_t N>
constexpr WholePair wholePair(const Layer3Code (&codes)[N], int32_t width, uint32_t window,
                              int32_t available) {
  for (int32_t i = 0; i < static_cast<int32_t>(N); ++i) {
    const int32_t x = i / width, y = i % width;
    const int32_t length = codes[i].length;
    const int32_t bits = length + (x != 0) + (y != 0);
    if (bits > available || ((window >> (available - length)) & ((1u << length) - 1)) != codes[i].code)
      continue;
    const auto signAt = [&](int32_t position) { return (window >> (available - position - 1)) & 1; };
    return {bits, x == 0 ? 0 : signedValue(x, signAt(length)), y == 0 ? 0 : signedValue(y, signAt(bits - 1))};
  }
  return {};
}

template <size_t N>
constexpr std::array<SmallEntry, 1 << kSmallIndexBits> smallEntries(const Layer3Code (&codes)[N],
                                                                    int32_t width) {
  std::array<SmallEntry, 1 << kSmallIndexBits> entries{};
  for (uint32_t window = 0; window < entries.size(); ++window) {
    const WholePair first = wholePair(codes, width, window, kSmallIndexBits);
    const WholePair second = wholePair(codes, width, window, kSmallIndexBits - first.bits);
    entries[window] = {{static_cast<int8_t>(first.x), static_cast<int8_t>(first.y),
                        static_cast<int8_t>(second.x), static_cast<int8_t>(second.y)},
                       static_cast<uint8_t>(first.bits + second.bits),
                       static_cast<uint8_t>(second.bits != 0 ? 4 : 2),
                       static_cast<uint8_t>(first.bits)};
  }
  return entries;
}

constexpr uint32_t kPairPrimary = 1u << kPairIndexBits;

// Bits beyond the first look-up that the longest code under each prefix needs.
template <size_t N>
constexpr std::array<uint32_t, kPairPrimary> linkWidths(const Layer3Code (&codes)[N]) {
  std::array<uint32_t, kPairPrimary> widths{};
  for (const Layer3Code& c : codes) {
    if (c.length <= kPairIndexBits) continue;
    const uint32_t beyond = c.length - uint32_t{kPairIndexBits};
    uint32_t& width = widths[c.code >> beyond];
    width = beyond > width ? beyond : width;
  }
  return widths;
}

template <size_t N>
constexpr size_t pairEntryCount(const Layer3Code (&codes)[N]) {
  size_t count = kPairPrimary;
  for (const uint32_t width : linkWidths(codes)) count += width != 0 ? size_t{1} << width : 0;
  return count;
}

// escapes: a value 15 is followed by linbits.
template <size_t Count, size_t N>
constexpr std::array<uint16_t, Count> pairEntries(const Layer3Code (&codes)[N], uint32_t width,
                                                  bool escapes) {
  std::array<uint16_t, Count> entries{};
  const auto widths = linkWidths(codes);
  std::array<uint32_t, kPairPrimary> offsets{};
  uint32_t offset = 0;
  for (uint32_t prefix = 0; prefix < kPairPrimary; ++prefix) {
    if (widths[prefix] == 0) continue;
    offsets[prefix] = offset;
    entries[prefix] = pairLink(offset, widths[prefix]);
    offset += 1u << widths[prefix];
  }
  for (uint32_t i = 0; i < N; ++i) {
    const uint32_t x = i / width, y = i % width, length = codes[i].length;
    const bool escape = escapes && (x == 15 || y == 15);
    const uint16_t entry = escape ? pairEscape(x, y, length) : pairLeaf(x, y, length);
    uint32_t first = 0, spare = 0;  // the entry is repeated for all values of the spare index bits
    if (length <= kPairIndexBits) {
      spare = kPairIndexBits - length;
      first = uint32_t{codes[i].code} << spare;
    } else {
      const uint32_t beyond = length - kPairIndexBits;
      const uint32_t prefix = codes[i].code >> beyond;
      spare = widths[prefix] - beyond;
      first = kPairPrimary + offsets[prefix] + ((codes[i].code & ((1u << beyond) - 1)) << spare);
    }
    for (uint32_t k = 0; k < 1u << spare; ++k) entries[first + k] = entry;
  }
  return entries;
}

template <auto& codes, uint32_t width, bool escapes = false>
constexpr auto kPairEntries = pairEntries<pairEntryCount(codes)>(codes, width, escapes);

template <auto& codes, int32_t width>
constexpr auto kSmallEntries = smallEntries(codes, width);

constexpr SignedPairs signedPairs() {
  SignedPairs pairs{};
  for (uint32_t magnitudes = 0; magnitudes < 256; ++magnitudes)
    for (uint32_t bits = 0; bits < 4; ++bits) {
      const auto x = static_cast<int32_t>(magnitudes / 16), y = static_cast<int32_t>(magnitudes % 16);
      const uint32_t xSign = y != 0 ? bits >> 1 : bits & 1;
      pairs[magnitudes][bits] = {signedValue(x, xSign), signedValue(y, bits & 1)};
    }
  return pairs;
}

constexpr QuadLookup quadEntries(const Layer3Code (&codes)[16]) {
  QuadLookup entries{};
  for (uint32_t i = 0; i < 16; ++i) {
    const uint32_t length = codes[i].length, spare = kQuadIndexBits - length;
    const uint32_t signs = (i & 1) + (i >> 1 & 1) + (i >> 2 & 1) + (i >> 3);
    for (uint32_t k = 0; k < 1u << spare; ++k)
      entries[(uint32_t{codes[i].code} << spare) + k] = {
          static_cast<uint8_t>(length + signs), static_cast<uint8_t>(length), static_cast<uint8_t>(i)};
  }
  return entries;
}

constexpr SignedQuads signedQuads() {
  SignedQuads quads{};
  for (uint32_t magnitudes = 0; magnitudes < 16; ++magnitudes)
    for (uint32_t signs = 0; signs < 16; ++signs) {
      uint32_t next = 8;  // the sign bit that the next non-zero value takes
      for (uint32_t i = 0; i < 4; ++i) {
        if ((magnitudes & (8u >> i)) == 0) continue;
        quads[magnitudes][signs].values[i] = (signs & next) != 0 ? -1 : 1;
        next >>= 1;
      }
    }
  return quads;
}

template <auto& codes, int32_t width>
constexpr PairLookup small() {
  return {PairKind::small, 0, kSmallEntries<codes, width>.data(), nullptr};
}

template <auto& codes, uint32_t width>
constexpr PairLookup plain(PairKind kind) {
  return {kind, 0, nullptr, kPairEntries<codes, width>.data()};
}

constexpr PairLookup linBits16(int32_t linBits) {
  return {PairKind::linBits16, linBits, nullptr, kPairEntries<kPairCodes16, 16, true>.data()};
}

constexpr PairLookup linBits24(int32_t linBits) {
  return {PairKind::linBits24, linBits, nullptr, kPairEntries<kPairCodes24, 16, true>.data()};
}

constexpr PairLookup kNoCode = {PairKind::none, 0, nullptr, nullptr};

}  // namespace

constinit const PairLookup kPairLookups[32] = {
    kNoCode,
    small<kPairCodes1, 2>(),
    small<kPairCodes2, 3>(),
    small<kPairCodes3, 3>(),
    kNoCode,
    small<kPairCodes5, 4>(),
    small<kPairCodes6, 4>(),
    plain<kPairCodes7, 6>(PairKind::medium),
    plain<kPairCodes8, 6>(PairKind::medium),
    plain<kPairCodes9, 6>(PairKind::medium),
    plain<kPairCodes10, 8>(PairKind::medium),
    plain<kPairCodes11, 8>(PairKind::medium),
    plain<kPairCodes12, 8>(PairKind::medium),
    plain<kPairCodes13, 16>(PairKind::wide13),
    kNoCode,
    plain<kPairCodes15, 16>(PairKind::wide15),
    linBits16(kPairTables[16].linBits),
    linBits16(kPairTables[17].linBits),
    linBits16(kPairTables[18].linBits),
    linBits16(kPairTables[19].linBits),
    linBits16(kPairTables[20].linBits),
    linBits16(kPairTables[21].linBits),
    linBits16(kPairTables[22].linBits),
    linBits16(kPairTables[23].linBits),
    linBits24(kPairTables[24].linBits),
    linBits24(kPairTables[25].linBits),
    linBits24(kPairTables[26].linBits),
    linBits24(kPairTables[27].linBits),
    linBits24(kPairTables[28].linBits),
    linBits24(kPairTables[29].linBits),
    linBits24(kPairTables[30].linBits),
    linBits24(kPairTables[31].linBits),
};

constinit const SignedPairs kSignedPairs = signedPairs();
constinit const QuadLookup kQuadLookups[2] = {quadEntries(kQuadCodesA), quadEntries(kQuadCodesB)};
constinit const SignedQuads kSignedQuads = signedQuads();

}  // namespace moxac::mp3
