// The caller's bit cursor while a parser runs: read through a local copy, handed back when the parser
// returns, by whatever path it does, so that the cursor always stands where reading stopped.
#pragma once

#include <cstdint>

#include "frame/bit_cursor.h"

namespace moxac::aac {

class BitReader {
 public:
  // pBitOffset null: reading starts at bit 0 and hands back the whole bytes consumed.
  BitReader(const uint8_t** ppBitStream, int32_t* pBitOffset)
      : ppBitStream_(ppBitStream),
        pBitOffset_(pBitOffset),
        p_(*ppBitStream),
        offset_(pBitOffset != nullptr ? *pBitOffset : 0) {}
  ~BitReader() {
    *ppBitStream_ = p_;
    if (pBitOffset_ != nullptr) *pBitOffset_ = offset_;
  }
  BitReader(const BitReader&) = delete;
  BitReader& operator=(const BitReader&) = delete;

  // The next n bits, n = 1..25.
  int32_t bits(int32_t n) { return static_cast<int32_t>(readBits(&p_, &offset_, n)); }
  int32_t bit() { return bits(1); }
  // The next n bits as a two's complement number.
  int32_t signedBits(int32_t n) {
    const int32_t sign = 1 << (n - 1);
    return (bits(n) ^ sign) - sign;
  }
  // The next 32 bits, in two reads because one may span 25 bits only.
  int32_t word() {
    const uint32_t high = readBits(&p_, &offset_, 16);
    return static_cast<int32_t>((high << 16) | readBits(&p_, &offset_, 16));
  }
  // count bytes, from wherever the cursor stands.
  void bytes(uint8_t* dst, int32_t count) {
    for (int32_t i = 0; i < count; ++i) dst[i] = static_cast<uint8_t>(bits(8));
  }
  void align() { alignToByte(&p_, &offset_); }

  // For loops that read on their own.
  const uint8_t* bytePosition() const { return p_; }
  int32_t bitOffset() const { return offset_; }
  void moveTo(const uint8_t* p, int32_t offset) {
    p_ = p;
    offset_ = offset;
  }

 private:
  const uint8_t** ppBitStream_;
  int32_t* pBitOffset_;
  const uint8_t* p_;
  int32_t offset_;
};

}  // namespace moxac::aac
