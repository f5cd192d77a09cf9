// Big-value regions and the count1 region of one granule and channel. ISO/IEC 11172-3, 2.4.1.7 and 2.4.2.7.
//
// The chain that limits the speed is window -> look-up -> number of bits -> window. A look-up therefore tells
// at once how many bits its symbol takes, signs included; values and signs are worked out beside the chain.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "frame/sign.h"
#include "frame/simd.h"
#include "mp3/bit_window.h"
#include "mp3/huffman_lookup.h"

namespace moxac::mp3 {

// Four bytes, widened to four lines.
inline void storeQuad(int32_t* dst, const int8_t* values) {
  int32_t packed;
  std::memcpy(&packed, values, sizeof packed);
  storeInt4(dst, widenBytes4(packed));
}

// Value by value: linbits behind a 15, then the sign of a non-zero value. The window holds no promise when
// this begins and, for a BoundedWindow, a full refill when it ends.
template <class Window>
inline void escapePair(Window& window, uint32_t entry, int32_t linBits, int32_t* dst) {
  window.drop(static_cast<int32_t>(entry & 63));
  const uint32_t magnitudes[2] = {entry >> 12, (entry >> 8) & 15};
  for (int i = 0; i < 2; ++i) {
    uint32_t magnitude = magnitudes[i];
    if (magnitude != 0) {
      window.refill();
      if (magnitude == 15) magnitude += window.take(linBits);
      dst[i] = negatedIf(window.take(1), static_cast<int32_t>(magnitude));
    } else {
      dst[i] = 0;
    }
  }
  if constexpr (Window::kLooksAhead) window.refill();  // the batch goes on
}

// One pair of a table with 16-bit entries. kLinks: some codes are longer than the first look-up.
template <bool kLinks, bool kEscapes, class Window>
inline void decodePair(Window& window, const PairLookup& lookup, int32_t* dst) {
  const uint16_t* const entries = lookup.entries;
  const uint64_t bits = window.bits();
  uint32_t entry = entries[bits >> (64 - kPairIndexBits)];
  if ((kLinks || kEscapes) && (entry & kEntryIsNoLeaf) != 0) [[unlikely]] {
    if (kLinks && (entry & kEntryIsLink) != 0)
      entry = entries[(1u << kPairIndexBits) + linkOffset(entry) +
                      ((bits << kPairIndexBits) >> (64 - linkWidth(entry)))];
    if (kEscapes && (entry & kEntryIsNoLeaf) != 0) {
      escapePair(window, entry, lookup.linBits, dst);
      return;
    }
  }
  const int32_t total = static_cast<int32_t>(entry & 63);
  window.drop(total);
  const SignedPair pair = kSignedPairs[entry >> 8][std::rotl(bits, total) & 3];
  dst[0] = pair.x;
  dst[1] = pair.y;
}

// Pairs from `line` until `end` is reached or passed by one (an odd end); returns the line after the last.
// kLongest: bits of the longest symbol, which tells how many fit in one refill.
template <int32_t kLongest, bool kLinks, bool kEscapes, class Window>
int32_t decodePairs(Window& stream, const PairLookup& lookup, int32_t* dst, int32_t line, int32_t end) {
  constexpr int32_t kBatch = Window::kBitsPerRefill / kLongest;
  static_assert(kBatch >= 1);
  Window window = stream;  // a copy that lives in registers
  for (; line + 2 * kBatch <= end; line += 2 * kBatch) {
    window.refill();
#pragma GCC unroll 4
    for (int32_t i = 0; i < kBatch; ++i) decodePair<kLinks, kEscapes>(window, lookup, dst + line + 2 * i);
  }
  for (; line < end; line += 2) {
    window.refill();
    decodePair<kLinks, kEscapes>(window, lookup, dst + line);
  }
  stream = window;
  return line;
}

// Small tables: one or two pairs for each look-up. Each store covers four lines, so the last pair goes alone.
template <class Window>
int32_t decodeSmallPairs(Window& stream, const SmallEntry* entries, int32_t* dst, int32_t line, int32_t end) {
  constexpr int32_t kBatch = Window::kBitsPerRefill / kSmallIndexBits;
  Window window = stream;
  const auto lookUp = [&] { return entries[window.bits() >> (64 - kSmallIndexBits)]; };
  const auto storeEntry = [&](const SmallEntry& entry) {
    storeQuad(dst + line, entry.values);
    window.drop(entry.bits);
    line += entry.lines;
  };
  while (line + 4 * kBatch <= end) {
    window.refill();
    for (int32_t i = 0; i < kBatch; ++i) storeEntry(lookUp());
  }
  while (line + 4 <= end) {
    window.refill();
    storeEntry(lookUp());
  }
  for (; line < end; line += 2) {
    window.refill();
    const SmallEntry entry = lookUp();
    dst[line] = entry.values[0];
    dst[line + 1] = entry.values[1];
    window.drop(entry.firstBits);
  }
  stream = window;
  return line;
}

// One region, table 0..31.
template <class Window>
int32_t decodeRegion(Window& window, int32_t table, int32_t* dst, int32_t line, int32_t end) {
  const PairLookup& lookup = kPairLookups[table];
  switch (lookup.kind) {
    case PairKind::none:
      for (; line < end; line += 2) dst[line] = dst[line + 1] = 0;
      return line;
    case PairKind::small:
      return decodeSmallPairs(window, lookup.small, dst, line, end);
    case PairKind::medium:
      return decodePairs<13, true, false>(window, lookup, dst, line, end);
    case PairKind::wide13:
      return decodePairs<21, true, false>(window, lookup, dst, line, end);
    case PairKind::wide15:
      return decodePairs<15, true, false>(window, lookup, dst, line, end);
    case PairKind::linBits16:
      return decodePairs<19, true, true>(window, lookup, dst, line, end);
    case PairKind::linBits24:
      return decodePairs<14, true, true>(window, lookup, dst, line, end);
  }
  return line;
}

struct Count1End {
  int32_t line;
  int32_t bitsLeft;  // negative when the last quadruple took more than there was
};

// Quadruples while a whole one fits below line 576 and a bit is left. bitsLeft is what the window has left.
inline Count1End decodeQuads(BoundedWindow window, const QuadLookup& lookup, int32_t* dst, int32_t line,
                             int32_t bitsLeft) {
  constexpr int32_t kLongest = 10;
  constexpr int32_t kBatch = BoundedWindow::kBitsPerRefill / kLongest;
  const auto quad = [&](int32_t* out) {
    const uint64_t bits = window.bits();
    const QuadEntry entry = lookup[bits >> (64 - kQuadIndexBits)];
    window.drop(entry.total);
    storeQuad(out, kSignedQuads[entry.magnitude][(bits << entry.length) >> 60].values);
    bitsLeft -= entry.total;
  };
  // Whatever the first ones of a batch take, a bit is left for the last.
  while (line + 4 * kBatch <= 576 && bitsLeft > (kBatch - 1) * kLongest) {
    window.refill();
    for (int32_t i = 0; i < kBatch; ++i) quad(dst + line + 4 * i);
    line += 4 * kBatch;
  }
  for (; line < 574 && bitsLeft > 0; line += 4) {
    window.refill();
    quad(dst + line);
  }
  return {line, bitsLeft};
}

// Index of the last non-zero of dst[0..len) plus one; 0 when all are zero.
inline int32_t nonZeroBound(const int32_t* dst, int32_t len) {
  for (; len >= 4; len -= 4)
    if (!isZeroInt4(loadInt4(dst + len - 4))) break;
  while (len > 0 && dst[len - 1] == 0) --len;
  return len;
}

}  // namespace moxac::mp3
