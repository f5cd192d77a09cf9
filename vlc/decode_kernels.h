// Decoding: one table look-up per level and code word, and what the conventions put behind a code word.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "frame/sign.h"
#include "vlc/bit_window.h"
#include "vlc/decode_spec.h"
#include "vlc/escape_conventions.h"

namespace moxac::vlc {

struct Symbol {
  int32_t value;
  int32_t length;  // of the code word; 0 when the bits begin no code word
};

// The lookup tables of one entry width. Rows of plain values have a sign where the entry is wide enough to
// keep one; those of tuples, which are never negative, have none.
enum class RowValues { withSign, withoutSign };

template <class Entry, RowValues kValues>
class LookupTables {
 public:
  explicit LookupTables(const VlcDecodeRecord& record)
      : elements_(static_cast<const Entry*>(record.table)),
        maxCodeLength_(static_cast<int32_t>(record.maxCodeLength)),
        firstShift_(64 - static_cast<int32_t>(elements_[0])),
        valueShift_(static_cast<int32_t>(record.lengthBits) + 1),
        lengthMask_(lowBits(static_cast<int32_t>(record.lengthBits))) {}

  int32_t maxCodeLength() const { return maxCodeLength_; }

  // `bits` holds at least maxCodeLength() bits, left-aligned.
  Symbol lookUp(uint64_t bits) const {
    const uint32_t entry = elements_[1 + (bits >> firstShift_)];
    if ((entry & 1) != 0) [[likely]]
      return leaf(entry, 0);
    return followLinks(entry, bits);
  }

 private:
  // Eight-bit tables hold no sign.
  using Value = std::conditional_t<kValues == RowValues::withoutSign || sizeof(Entry) == 1, Entry,
                                   std::make_signed_t<Entry>>;

  static constexpr uint32_t kEmpty = static_cast<Entry>(~Entry{1});

  Symbol leaf(uint32_t entry, int32_t consumed) const {
    const auto length = static_cast<int32_t>(entry >> 1 & lengthMask_);
    if (length == 0) __builtin_unreachable();  // spares the caller's test for no code word
    return {static_cast<int32_t>(static_cast<Value>(entry) >> valueShift_), consumed + length};
  }

  Symbol followLinks(uint32_t entry, uint64_t bits) const {
    int32_t consumed = 64 - firstShift_;
    while (entry != kEmpty) {
      const Entry* const table = elements_ + (entry >> 1);
      const auto width = static_cast<int32_t>(table[0]);
      entry = table[1 + (bits << consumed >> (64 - width))];
      if ((entry & 1) != 0) return leaf(entry, consumed);
      consumed += width;
    }
    return {0, 0};
  }

  const Entry* elements_;
  int32_t maxCodeLength_;
  int32_t firstShift_;
  int32_t valueShift_;
  uint32_t lengthMask_;
};

// A convention says what a code word stands for, and whether its rows' values have a sign: decode() reads one
// code word with what belongs to it and writes values() numbers. It returns false, having consumed and written
// nothing, when the stream holds no such item. It may count on itemBits() bits to be there after a refill.

// The row's value, and no more.
struct PlainValues {
  static constexpr RowValues kRowValues = RowValues::withSign;
  int32_t values() const { return 1; }
  int32_t itemBits(int32_t codeBits) const { return codeBits; }

  template <class Window, class Tables>
  bool decode(Window& window, const Tables& tables, int16_t* dst) const {
    window.expect(tables.maxCodeLength());
    const Symbol symbol = tables.lookUp(window.bits());
    if (symbol.length == 0) [[unlikely]]
      return false;
    window.skip(symbol.length);
    *dst = static_cast<int16_t>(symbol.value);
    return true;
  }
};

// The sign bits behind a code word, one for each magnitude that is not 0, first value first.
template <int32_t kCount, class Window>
void readSigns(Window& window, int32_t (&values)[kCount]) {
  int32_t signs = 0;
  for (const int32_t value : values) signs += value != 0;
  window.expect(signs);
  uint64_t bits = window.bits();
  for (int32_t& value : values) {
    const uint32_t present = value != 0;
    value = negatedIf(static_cast<uint32_t>(bits >> 63) & present, value);
    bits <<= present;
  }
  window.skip(signs);
}

// The sequence behind a magnitude of 16; what does not fit 16 bits saturates.
template <class Window>
bool readAacEscape(Window& window, int32_t& value) {
  const int32_t ones = window.leadingOnes(kMaxEscapeOnes);
  if (ones > kMaxEscapeOnes) return false;
  window.skip(ones + 1);
  window.need(ones + 4);
  const int32_t magnitude = static_cast<int32_t>(window.take(ones + 4)) + (1 << (ones + 4));
  value = value < 0 ? -std::min(magnitude, 32768) : std::min(magnitude, 32767);
  return true;
}

// Replaces each value of +-16 by the escape sequence that follows, first value first.
template <int32_t kCount, class Window>
bool readAacEscapes(Window& window, int32_t (&values)[kCount]) {
  for (int32_t& value : values)
    if ((value == kAacEscape || value == -kAacEscape) && !readAacEscape(window, value)) return false;
  return true;
}

// Each value with its linBits, when it is 15, and its sign, when it is not 0.
template <int32_t kCount, class Window>
void readMp3LinBitsAndSigns(Window& window, int32_t linBits, int32_t (&values)[kCount]) {
  bool escaped = false;
  for (const int32_t value : values) escaped |= value == kMp3Escape;
  if (!escaped || linBits == 0) {
    readSigns(window, values);
    return;
  }
  for (int32_t& value : values) {
    if (value == 0) continue;
    const int32_t extra = value == kMp3Escape ? linBits : 0;
    window.need(extra + 1);
    const uint32_t field = window.take(extra + 1);
    value = negatedIf(field & 1, value + static_cast<int32_t>(field >> 1));
  }
}

template <int32_t kCount>
void storeValues(const int32_t (&values)[kCount], int16_t* dst) {
  for (int32_t i = 0; i < kCount; ++i) dst[i] = static_cast<int16_t>(values[i]);
}

struct AacEscapePairs {
  static constexpr RowValues kRowValues = RowValues::withSign;
  int32_t values() const { return 2; }
  int32_t itemBits(int32_t) const { return kRefilledBits; }

  template <class Window, class Tables>
  bool decode(Window& window, const Tables& tables, int16_t* dst) const {
    Window ahead = window;
    ahead.expect(tables.maxCodeLength());
    const Symbol symbol = tables.lookUp(ahead.bits());
    if (symbol.length == 0) return false;
    ahead.skip(symbol.length);
    const auto shifted = static_cast<uint32_t>(symbol.value + kAacEscape * (kAacPairBase + 1));
    int32_t pair[2] = {static_cast<int32_t>(shifted / kAacPairBase) - kAacEscape,
                       static_cast<int32_t>(shifted % kAacPairBase) - kAacEscape};
    if (!readAacEscapes(ahead, pair)) return false;
    storeValues(pair, dst);
    window = ahead;
    return true;
  }
};

struct Mp3EscapePairs {
  static constexpr RowValues kRowValues = RowValues::withoutSign;
  int32_t linBits;

  int32_t values() const { return 2; }
  int32_t itemBits(int32_t) const { return kRefilledBits; }

  template <class Window, class Tables>
  bool decode(Window& window, const Tables& tables, int16_t* dst) const {
    window.expect(tables.maxCodeLength());
    const Symbol symbol = tables.lookUp(window.bits());
    if (symbol.length == 0) return false;
    window.skip(symbol.length);
    int32_t pair[2] = {symbol.value >> 4 & 15, symbol.value & 15};
    readMp3LinBitsAndSigns(window, linBits, pair);
    storeValues(pair, dst);
    return true;
  }
};

// kCount magnitudes a row, the first in the lowest bits, and a sign bit for each that is not 0.
enum class TupleEscape { none, aac, mp3 };

template <int32_t kCount, TupleEscape kEscape>
struct UnsignedTuples {
  static constexpr RowValues kRowValues = RowValues::withoutSign;
  int32_t magnitudeBits;
  int32_t linBits;  // kEscape mp3 only

  int32_t values() const { return kCount; }
  int32_t itemBits(int32_t codeBits) const {
    return kEscape == TupleEscape::none ? codeBits + kCount : kRefilledBits;
  }

  template <class Window, class Tables>
  bool decode(Window& window, const Tables& tables, int16_t* dst) const {
    Window ahead = window;
    ahead.expect(tables.maxCodeLength());
    const Symbol symbol = tables.lookUp(ahead.bits());
    if (symbol.length == 0) return false;
    ahead.skip(symbol.length);
    int32_t tuple[kCount];
    for (int32_t i = 0; i < kCount; ++i)
      tuple[i] = symbol.value >> (i * magnitudeBits) & static_cast<int32_t>(lowBits(magnitudeBits));
    if constexpr (kEscape == TupleEscape::mp3) {
      readMp3LinBitsAndSigns(ahead, linBits, tuple);
    } else {
      readSigns(ahead, tuple);
      if (kEscape == TupleEscape::aac && !readAacEscapes(ahead, tuple)) return false;
    }
    storeValues(tuple, dst);
    window = ahead;
    return true;
  }
};

// Decodes items until `items` are done or one does not decode; returns how many did. Every item has a bit at
// least, so while kAheadBits + 1 items are wanted, an ahead window stays in words that hold bits of theirs.
template <class Entry, class Convention>
int32_t decodeItems(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* dst, int32_t items,
                    const VlcDecodeRecord& record, const Convention& convention) {
  const LookupTables<Entry, Convention::kRowValues> tables(record);
  const int32_t values = convention.values();
  int32_t left = items;
  bool decoded = true;

  if (left > kAheadBits) {
    const int32_t perRefill = kRefilledBits / convention.itemBits(tables.maxCodeLength());
    StreamWindow<Reach::ahead> window(*ppBitStream, *pBitOffset);
    while (decoded && left > kAheadBits) {
      window.refill();
      for (int32_t i = 0; i < perRefill; ++i) {
        decoded = convention.decode(window, tables, dst);
        if (!decoded) [[unlikely]]
          break;
        dst += values;
        --left;
      }
    }
    window.store(ppBitStream, pBitOffset);
  }
  if (decoded) {
    StreamWindow<Reach::exact> window(*ppBitStream, *pBitOffset);
    for (; left > 0 && convention.decode(window, tables, dst); --left) dst += values;
    window.store(ppBitStream, pBitOffset);
  }
  return items - left;
}

// One path for each width of the entries. moxStatusVlcError when the stream holds fewer items.
template <class Convention>
moxStatus decodeBlock(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* dst, int32_t items,
                      const VlcDecodeRecord& record, const Convention& convention) {
  const auto decode = [&](auto entry) {
    return decodeItems<decltype(entry)>(ppBitStream, pBitOffset, dst, items, record, convention);
  };
  const int32_t decoded = record.entryBits == 8    ? decode(uint8_t{})
                          : record.entryBits == 16 ? decode(uint16_t{})
                                                   : decode(uint32_t{});
  return decoded == items ? moxStatusOk : moxStatusVlcError;
}

}  // namespace moxac::vlc
