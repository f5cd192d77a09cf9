// Checks of a code book and construction of the decoder's look-up tables.
#include "vlc/decode_spec.h"

#include <cstdlib>
#include <functional>
#include <limits>

namespace moxac::vlc {
namespace {

// The header, 63 bytes of slack for aligning it, and a reserve of 33 bytes.
constexpr int64_t kBytesBesideTables = 160;

// Widths are taken until they reach the longest code; the last one taken is cut to reach it exactly.
bool takeWidths(const int32_t* sizes, int32_t count, DecodeLayout& layout) {
  int32_t left = layout.maxCodeLength;
  for (int32_t k = 0; left > 0; ++k) {
    if (k >= count || sizes[k] < 1) return false;
    layout.widths[layout.levels] = std::min(sizes[k], left);
    left -= layout.widths[layout.levels++];
  }
  return true;
}

uint32_t largestMagnitude(const InputTable& table) {
  int64_t largest = 0;
  for (int32_t i = 0; i < table.rows(); ++i) largest = std::max(largest, std::abs(int64_t{table.value(i)}));
  return static_cast<uint32_t>(largest);
}

// The fields of an entry decide its width. A value field of valueBits + 1 bits holds -2^valueBits up to
// 2^valueBits - 1: of the values +-2^valueBits only the negative one survives.
void chooseEntries(uint32_t magnitude, DecodeLayout& layout) {
  const int32_t widest = *std::max_element(layout.widths, layout.widths + layout.levels);
  int32_t valueBits = 0, lengthBits = 0, indexBits = 0;
  while ((uint64_t{1} << valueBits) < magnitude) ++valueBits;
  while ((1 << lengthBits) <= widest) ++lengthBits;
  while ((int64_t{1} << indexBits) - 1 < layout.elements + 1) ++indexBits;
  const int32_t need = std::max(lengthBits + valueBits + 2, indexBits + 1);
  layout.lengthBits = static_cast<uint32_t>(lengthBits);
  layout.entryBits = need <= 8 ? 8 : need <= 16 ? 16 : 32;
}

// Fills the lookup tables of one entry width.
template <class Entry>
class TableBuilder {
 public:
  TableBuilder(Entry* elements, const DecodeLayout& layout) : elements_(elements), layout_(layout) {
    std::fill_n(elements_, layout_.elements, kEmpty);
    elements_[0] = static_cast<Entry>(layout_.widths[0]);
    end_ = layout_.tableElements(0);
  }

  // False when the code word meets another one on its way, or its place is taken.
  bool add(const CodeRow& row) {
    int64_t table = 0;
    int32_t consumed = 0;
    for (int32_t level = 0;; ++level) {
      const int32_t width = layout_.widths[level];
      const int32_t left = row.length - consumed;
      if (left <= width) return addLeaf(elements_ + table + 1, width, row, left);

      const uint32_t slot = row.prefix(consumed + width) & lowBits(width);
      Entry& entry = elements_[table + 1 + slot];
      if (entry == kEmpty && !openTable(level + 1, entry)) return false;
      if ((entry & 1) != 0) return false;
      table = entry >> 1;
      consumed += width;
    }
  }

 private:
  static constexpr Entry kEmpty = static_cast<Entry>(~Entry{1});

  // All slots whose index begins with the last `left` bits of the code word.
  bool addLeaf(Entry* slots, int32_t width, const CodeRow& row, int32_t left) {
    const auto leaf = static_cast<Entry>(static_cast<uint32_t>(row.value) << (layout_.lengthBits + 1) |
                                         static_cast<uint32_t>(left) << 1 | 1);
    const int64_t run = int64_t{1} << (width - left);
    Entry* const first = slots + (row.code & lowBits(left)) * run;
    if (!std::all_of(first, first + run, [](Entry entry) { return entry == kEmpty; })) return false;
    std::fill_n(first, run, leaf);
    return true;
  }

  bool openTable(int32_t level, Entry& link) {
    if (end_ + layout_.tableElements(level) > layout_.elements) return false;
    link = static_cast<Entry>(end_ << 1);
    elements_[end_] = static_cast<Entry>(layout_.widths[level]);
    end_ += layout_.tableElements(level);
    return true;
  }

  Entry* elements_;
  const DecodeLayout& layout_;
  int64_t end_ = 0;  // of the lookup tables placed so far
};

template <class Entry>
moxStatus fillTables(const InputTable& table, const DecodeLayout& layout, void* area) {
  TableBuilder<Entry> builder(static_cast<Entry*>(area), layout);
  for (int32_t i = 0; i < table.rows(); ++i) MOX_REQUIRE(builder.add(table[i]), moxStatusVlcBadTable);
  return moxStatusOk;
}

}  // namespace

moxStatus layOutDecoder(const InputTable& table, const int32_t* subTableSizes, int32_t nSubTables,
                        DecodeLayout& layout) {
  MOX_REQUIRE(table.rows() >= 1, moxStatusVlcError);
  MOX_REQUIRE(table.lengthsAreValid(), moxStatusVlcBadTable);
  layout.maxCodeLength = table.longestCode();
  MOX_REQUIRE(takeWidths(subTableSizes, nSubTables, layout), moxStatusVlcBadTable);

  layout.elements = layout.tableElements(0);
  int32_t consumed = layout.widths[0];
  for (int32_t level = 1; level < layout.levels; ++level) {
    layout.elements += countPrefixes(table, consumed, std::less<>()) * layout.tableElements(level);
    consumed += layout.widths[level];
  }
  chooseEntries(largestMagnitude(table), layout);
  const int64_t bytes = layout.elements * (layout.entryBits / 8) + kBytesBesideTables;
  MOX_REQUIRE(bytes <= std::numeric_limits<int32_t>::max(), moxStatusVlcBadTable);
  layout.bytes = static_cast<int32_t>(bytes);
  return moxStatusOk;
}

moxStatus buildDecoder(const InputTable& table, const DecodeLayout& layout, VlcDecodeRecord& record) {
  void* const area = reinterpret_cast<uint8_t*>(&record) + 64;
  record = {VlcDecoder::kIdentifier,
            0,
            static_cast<uint32_t>(layout.maxCodeLength),
            area,
            layout.entryBits,
            layout.lengthBits,
            0,
            0};
  switch (layout.entryBits) {
    case 8:
      return fillTables<uint8_t>(table, layout, area);
    case 16:
      return fillTables<uint16_t>(table, layout, area);
    default:
      return fillTables<uint32_t>(table, layout, area);
  }
}

}  // namespace moxac::vlc
