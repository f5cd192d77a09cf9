// Encoding and counting: one table look-up per code word, and what the conventions put behind it.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "frame/big_endian.h"
#include "vlc/bit_window.h"
#include "vlc/encode_spec.h"
#include "vlc/escape_conventions.h"

namespace moxac::vlc {

// The bits of the aligned word that holds the cursor, and of at most one more behind it, left-aligned in a
// register. A word goes to memory when it is full, the last one in store().
class WordWriter {
 public:
  WordWriter(uint8_t* p, int32_t bitOffset) : word_(p - bytesPastWord(p)), itemWord_(word_) {
    used_ = static_cast<int32_t>(8 * bytesPastWord(p)) + bitOffset;  // 0..31
    if (used_ > 0) bits_ = uint64_t{loadBigEndian32(word_) & ~lowBits(32 - used_)} << 32;
  }

  // Starts a code word with what belongs to it.
  void beginItem() { itemWord_ = word_; }

  // Appends the low n bits of `field`, n = 1..32; the bits above them are 0.
  void put(uint32_t field, int32_t n) {
    bits_ |= uint64_t{field} << (64 - used_ - n);
    used_ += n;
    if (used_ < 32) return;
    storeBigEndian32(word_, static_cast<uint32_t>(bits_ >> 32));
    word_ += 4;
    bits_ <<= 32;
    used_ -= 32;
  }

  // Stores the started word, if there is one, and moves the cursor. Behind the last bit stand ones when the
  // last item began in this word; when it spilled into it, the word keeps what it held there.
  void store(uint8_t** ppBitStream, int32_t* pBitOffset) {
    if (used_ > 0) {
      const uint32_t rest = itemWord_ == word_ ? ~0u : loadBigEndian32(word_);
      storeBigEndian32(word_, static_cast<uint32_t>(bits_ >> 32) | (rest & lowBits(32 - used_)));
    }
    *ppBitStream = word_ + used_ / 8;
    *pBitOffset = used_ % 8;
  }

 private:
  uint64_t bits_ = 0;  // zeros below the used ones
  int32_t used_;       // 0..31
  uint8_t* word_;
  uint8_t* itemWord_;
};

class CodeArrays {
 public:
  explicit CodeArrays(const VlcEncodeRecord& record)
      : lengths_(record.lengths),
        codes_(record.lengths + (int64_t{1} << record.bits)),
        offset_(record.offset),
        bits_(record.bits) {}

  // 0 for a value that no row names. The length array holds 2^bits entries, zero behind the range.
  int32_t length(int32_t value) const {
    const uint32_t index = static_cast<uint32_t>(value) + offset_;
    return index >> bits_ == 0 ? static_cast<int32_t>(lengths_[index]) : 0;
  }

  // Of a value that has one.
  uint32_t code(int32_t value) const { return codes_[static_cast<uint32_t>(value) + offset_]; }

 private:
  const uint32_t* lengths_;
  const uint32_t* codes_;
  uint32_t offset_;
  uint32_t bits_;
};

// A convention groups kValues numbers into an item: rowValue() is the value whose code word announces them,
// extraBits() counts what follows the code word (negative: cannot be expressed), and putExtra() writes it.

struct PlainValue {
  static constexpr int32_t kValues = 1;
  int32_t rowValue(const int16_t* src) const { return src[0]; }
  int32_t extraBits(const int16_t*) const { return 0; }
  void putExtra(WordWriter&, const int16_t*) const {}
};

// Magnitudes above 16 are clipped to find the row; the escape's N + 4 bits are those below the magnitude's
// leading one.
struct AacEscapePair {
  static constexpr int32_t kValues = 2;

  int32_t rowValue(const int16_t* src) const { return kAacPairBase * clip(src[0]) + clip(src[1]); }
  int32_t extraBits(const int16_t* src) const { return escapeBits(src[0]) + escapeBits(src[1]); }
  void putExtra(WordWriter& writer, const int16_t* src) const {
    putEscape(writer, src[0]);
    putEscape(writer, src[1]);
  }

 private:
  static int32_t clip(int32_t v) { return std::clamp(v, -kAacEscape, kAacEscape); }
  static int32_t ones(int32_t v) {
    return static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(std::abs(v)))) - 5;
  }
  static int32_t escapeBits(int32_t v) { return std::abs(v) < kAacEscape ? 0 : 2 * ones(v) + 5; }
  static void putEscape(WordWriter& writer, int32_t v) {
    if (std::abs(v) < kAacEscape) return;
    const int32_t n = ones(v);  // 0..11
    const uint32_t prefix = lowBits(n) << 1;
    const uint32_t word = static_cast<uint32_t>(std::abs(v)) & lowBits(n + 4);
    writer.put(prefix << (n + 4) | word, 2 * n + 5);
  }
};

// Magnitudes above 15 are clipped to find the row; the excess goes into linBits.
struct Mp3EscapePair {
  static constexpr int32_t kValues = 2;
  int32_t linBits;

  int32_t rowValue(const int16_t* src) const { return 16 * clip(src[0]) + clip(src[1]); }
  int32_t extraBits(const int16_t* src) const {
    if (std::max(excess(src[0]), excess(src[1])) > lowBits(linBits)) return -1;
    return fieldBits(src[0]) + fieldBits(src[1]);
  }
  void putExtra(WordWriter& writer, const int16_t* src) const {
    putField(writer, src[0]);
    putField(writer, src[1]);
  }

 private:
  static int32_t clip(int32_t v) { return std::min(std::abs(v), kMp3Escape); }
  static uint32_t excess(int32_t v) { return static_cast<uint32_t>(std::max(std::abs(v) - kMp3Escape, 0)); }
  int32_t fieldBits(int32_t v) const { return v == 0 ? 0 : 1 + (std::abs(v) < kMp3Escape ? 0 : linBits); }
  void putField(WordWriter& writer, int32_t v) const {
    if (v != 0) writer.put(excess(v) << 1 | static_cast<uint32_t>(v < 0), fieldBits(v));
  }
};

// The bits that the block takes; -1 when a value has no code word or cannot be expressed.
template <class Convention>
int64_t countBits(const CodeArrays& arrays, const int16_t* src, int32_t len, const Convention& convention) {
  int64_t bits = 0;
  bool missing = false;
  for (int32_t i = 0; i < len; i += Convention::kValues) {
    const int32_t length = arrays.length(convention.rowValue(src + i));
    const int32_t extra = convention.extraBits(src + i);
    missing |= length == 0 || extra < 0;
    bits += length + extra;
  }
  return missing ? -1 : bits;
}

// Every value has a code word.
template <class Convention>
void encodeBlock(const CodeArrays& arrays, const int16_t* src, int32_t len, uint8_t** ppBitStream,
                 int32_t* pBitOffset, const Convention& convention) {
  WordWriter writer(*ppBitStream, *pBitOffset);
  for (int32_t i = 0; i < len; i += Convention::kValues) {
    const int32_t value = convention.rowValue(src + i);
    writer.beginItem();
    writer.put(arrays.code(value), arrays.length(value));
    convention.putExtra(writer, src + i);
  }
  writer.store(ppBitStream, pBitOffset);
}

}  // namespace moxac::vlc
