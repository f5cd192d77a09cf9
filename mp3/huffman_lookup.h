// Decoding tables of the Layer III codes: several bits at a time, whole pairs or quadruples with their signs.
// All are computed from the code lists at compile time. ISO/IEC 11172-3, Table B.7 and 2.4.2.7.
#pragma once

#include <array>
#include <cstdint>

namespace moxac::mp3 {

// Tables 1, 2, 3, 5 and 6 (magnitudes up to 3): the next kSmallIndexBits bits hold at least one pair with its
// signs, often two.
inline constexpr int32_t kSmallIndexBits = 10;

struct alignas(8) SmallEntry {
  int8_t values[4];   // x, y of the first pair, then of the second or zeros
  uint8_t bits;       // of all pairs in the entry
  uint8_t lines;      // 2 or 4
  uint8_t firstBits;  // of the first pair alone
};

// The other tables: one pair per look-up of 10 bits, without its sign bits, in 16 bits each.
//   leaf    x:4 y:4 0:1 -:1 total:6        total = bits of the code and its signs
//   escape  x:4 y:4 1:1 0:1 length:6       x or y is 15 and linbits follow; length = bits of the code
//   link    offset:8 1:1 1:1 offset:2 width:4
//           a longer code: `width` more bits index the entries that start `offset` behind the first look-up
inline constexpr int32_t kPairIndexBits = 10;
inline constexpr uint32_t kEntryIsNoLeaf = 0x80;
inline constexpr uint32_t kEntryIsLink = 0x40;

constexpr uint16_t pairLeaf(uint32_t x, uint32_t y, uint32_t length) {
  return static_cast<uint16_t>((x << 12) | (y << 8) | (length + (x != 0) + (y != 0)));
}
constexpr uint16_t pairEscape(uint32_t x, uint32_t y, uint32_t length) {
  return static_cast<uint16_t>((x << 12) | (y << 8) | kEntryIsNoLeaf | length);
}
constexpr uint16_t pairLink(uint32_t offset, uint32_t width) {
  return static_cast<uint16_t>(((offset >> 2) << 8) | kEntryIsNoLeaf | kEntryIsLink | ((offset & 3) << 4) |
                               width);
}
constexpr uint32_t linkOffset(uint32_t entry) { return ((entry >> 8) << 2) | ((entry >> 4) & 3); }
constexpr uint32_t linkWidth(uint32_t entry) { return entry & 15; }

// The values of a pair, by its magnitudes (16x + y) and the last two bits that it took: with two signs they
// are x's and y's, with one the lower is that one and the upper belongs to the code.
struct alignas(8) SignedPair {
  int32_t x, y;
};
using SignedPairs = std::array<std::array<SignedPair, 4>, 256>;
extern const SignedPairs kSignedPairs;

// How a table's entries are to be walked: see decodeRegion.
enum class PairKind : int32_t { none, small, medium, wide13, wide15, linBits16, linBits24 };

struct PairLookup {
  PairKind kind;
  int32_t linBits;
  const SmallEntry* small;  // kind small
  const uint16_t* entries;  // kinds beyond
};

extern const PairLookup kPairLookups[32];

// Quadruples, by the next 6 bits: the longest code of table A; table B's four bits are repeated.
inline constexpr int32_t kQuadIndexBits = 6;

struct QuadEntry {
  uint8_t total;      // bits of the code and its signs
  uint8_t length;     // bits of the code
  uint8_t magnitude;  // 8v + 4w + 2x + y
};

using QuadLookup = std::array<QuadEntry, 1 << kQuadIndexBits>;
extern const QuadLookup kQuadLookups[2];  // tables A, B

// The four values of a quadruple, by its magnitudes and the four bits behind its code, of which each non-zero
// value takes one as its sign.
struct alignas(4) SignedQuad {
  int8_t values[4];
};
using SignedQuads = std::array<std::array<SignedQuad, 16>, 16>;
extern const SignedQuads kSignedQuads;

}  // namespace moxac::mp3
