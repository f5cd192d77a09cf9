// The decoder spec: its record, the layout of its lookup tables, and how they are filled.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "frame/context.h"
#include "vlc/input_table.h"

namespace moxac::vlc {

// Followed, from the 64th byte on, by the table area: lookup tables of entries of entryBits bits. Each is a
// width w and then 2^w entries, which are
//   leaf   value << (lengthBits + 1) | bits of the code word in this table << 1 | 1
//   link   element index of the next level's width << 1
//   empty  all ones but the last bit
struct VlcDecodeRecord {
  ContextId identifier;
  uint32_t allocated;
  uint32_t maxCodeLength;
  const void* table;
  uint32_t entryBits;   // 8, 16 or 32
  uint32_t lengthBits;  // of the length field of a leaf
  uint32_t tupleSize;   // 2 or 4; 0 in a spec of plain values
  uint32_t valueBits;   // of each magnitude of a tuple
};
static_assert(offsetof(VlcDecodeRecord, table) == 16 && offsetof(VlcDecodeRecord, lengthBits) == 28);
static_assert(sizeof(VlcDecodeRecord) <= 64);

struct VlcDecoder {
  using Record = VlcDecodeRecord;
  static constexpr ContextId kIdentifier = ContextId::vlcDecoder;
  static constexpr uintptr_t kAlignment = 64;
  static constexpr OnFree kOnFree = OnFree::clearIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::leaveBlock;
};

struct DecodeLayout {
  int32_t maxCodeLength = 0;
  int32_t levels = 0;
  int32_t widths[kMaxCodeLength] = {};  // each at least 1; their sum is maxCodeLength
  int64_t elements = 0;                 // widths and entries of all lookup tables
  uint32_t entryBits = 0;
  uint32_t lengthBits = 0;
  int32_t bytes = 0;  // of the spec, with the slack for its alignment

  int64_t tableElements(int32_t level) const { return (int64_t{1} << widths[level]) + 1; }
};

// moxStatusVlcError without rows; moxStatusVlcBadTable for a length outside 1..32, a sub-table list that is
// too short or holds a width below 1, or a size beyond int32.
moxStatus layOutDecoder(const InputTable& table, const int32_t* subTableSizes, int32_t nSubTables,
                        DecodeLayout& layout);

// Writes the record and the table area. moxStatusVlcBadTable when one code word is a prefix of another, or
// the same; the table area is then unfinished.
moxStatus buildDecoder(const InputTable& table, const DecodeLayout& layout, VlcDecodeRecord& record);

// How many different prefixes of `prefixBits` (1..31) bits the longer code words have. No heap and no
// copy of the caller's rows: a piece of them at a time is sorted on the stack, and what an earlier row has
// in common with it is struck off. That takes n log n + (n * n / 16384) * 14 comparisons, each of which
// `less` makes.
template <class Less>
int64_t countPrefixes(const InputTable& table, int32_t prefixBits, Less&& less) {
  constexpr int32_t kPiece = 8192;
  uint32_t keys[kPiece];
  uint64_t repeated[kPiece / 64];
  int64_t distinct = 0;
  int32_t row = 0;
  while (row < table.rows()) {
    const int32_t firstRow = row;
    uint32_t* end = keys;
    for (; row < table.rows() && end != keys + kPiece; ++row)
      if (table.length(row) > prefixBits) *end++ = table[row].prefix(prefixBits);
    std::sort(keys, end, less);
    end = std::unique(keys, end);

    std::fill(std::begin(repeated), std::end(repeated), 0);
    for (int32_t earlier = 0; earlier < firstRow; ++earlier) {
      if (table.length(earlier) <= prefixBits) continue;
      const uint32_t key = table[earlier].prefix(prefixBits);
      const uint32_t* const found = std::lower_bound(keys, end, key, less);
      if (found != end && *found == key) repeated[(found - keys) / 64] |= uint64_t{1} << (found - keys) % 64;
    }
    distinct += end - keys;
    for (const uint64_t word : repeated) distinct -= std::popcount(word);
  }
  return distinct;
}

}  // namespace moxac::vlc
