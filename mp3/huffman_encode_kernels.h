// Regions of a quantised spectrum to bits. ISO/IEC 11172-3, 2.4.1.7 and Table B.7.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame/big_endian.h"
#include "mp3/huffman_codes.h"

namespace moxac::mp3 {

// Collects bits and stores them four bytes at a time, the rest in finish(). Begins inside a byte whose upper
// bits are kept.
class BitSink {
 public:
  BitSink(uint8_t* p, int32_t bitOffset)
      : p_(p),
        bits_(bitOffset == 0 ? 0 : uint64_t{*p} >> (8 - bitOffset)),
        held_(bitOffset),
        start_(bitOffset) {}

  // The low n bits of value, which has none above; n = 0..32
  void put(uint32_t value, int32_t n) {
    bits_ = (bits_ << n) | value;
    held_ += n;
    if (held_ < 32) return;
    held_ -= 32;
    storeBigEndian32(p_, static_cast<uint32_t>(bits_ >> held_));
    p_ += 4;
    stored_ += 32;
  }

  void putOnes(int64_t n) {
    for (; n > 0 && held_ % 8 != 0; --n) put(1, 1);
    storeWholeBytes();
    if (n >= 8) {
      std::memset(p_, 0xFF, static_cast<size_t>(n / 8));
      p_ += n / 8;
      stored_ += n / 8 * 8;
    }
    if (n > 0 && n % 8 != 0) put((1u << (n % 8)) - 1, static_cast<int32_t>(n % 8));
  }

  // Stores what is held, zeros below the last bit.
  void finish() {
    storeWholeBytes();
    if (held_ != 0) *p_ = static_cast<uint8_t>(bits_ << (8 - held_));
  }

  int64_t written() const { return stored_ + held_ - start_; }

  // After finish()
  uint8_t* position() const { return p_; }
  int32_t bitOffset() const { return held_; }

 private:
  void storeWholeBytes() {
    for (; held_ >= 8; held_ -= 8, stored_ += 8) *p_++ = static_cast<uint8_t>(bits_ >> (held_ - 8));
  }

  uint8_t* p_;
  uint64_t bits_;       // the lowest held_ bits are to be stored
  int32_t held_;        // below 32 between calls
  int64_t stored_ = 0;  // bits behind us, those in front of the start included
  int32_t start_;
};

inline uint32_t magnitude(int32_t value) {
  return value < 0 ? 0u - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
}

inline uint32_t largestLine(const int32_t* src, int32_t len) {
  uint32_t largest = 0;
  for (int32_t i = 0; i < len; ++i) largest = std::max(largest, magnitude(src[i]));
  return largest;
}

inline uint32_t largestCodable(const PairTable& table) {
  return static_cast<uint32_t>(table.width - 1 + (1 << table.linBits) - 1);
}

// `bits` with the sign of a non-zero value appended; n counts them. No branch: signs and zeros are unpredictable.
inline uint32_t appendSign(uint32_t bits, int32_t value, int32_t& n) {
  const int32_t signs = value != 0 ? 1 : 0;
  n += signs;
  return (bits << signs) | (static_cast<uint32_t>(value) >> 31);
}

// len even; magnitudes that the table can code, which has no linbits.
inline void encodePairs(BitSink& sink, const PairTable& table, const int32_t* src, int32_t len) {
  for (int32_t i = 0; i < len; i += 2) {
    const int32_t x = src[i], y = src[i + 1];
    const Layer3Code code = table.codes[magnitude(x) * static_cast<uint32_t>(table.width) + magnitude(y)];
    int32_t n = code.length;
    uint32_t bits = appendSign(code.code, x, n);
    bits = appendSign(bits, y, n);
    sink.put(bits, n);
  }
}

// The same with linbits behind a 15: code, excess of x, sign of x, excess of y, sign of y.
inline void encodeEscapePairs(BitSink& sink, const PairTable& table, const int32_t* src, int32_t len) {
  const auto appendValue = [&](uint32_t bits, int32_t value, int32_t& n) {
    if (magnitude(value) >= 15) {
      bits = (bits << table.linBits) | (magnitude(value) - 15);
      n += table.linBits;
    }
    return appendSign(bits, value, n);
  };
  for (int32_t i = 0; i < len; i += 2) {
    const int32_t x = src[i], y = src[i + 1];
    const Layer3Code code = table.codes[std::min(magnitude(x), 15u) * 16 + std::min(magnitude(y), 15u)];
    int32_t n = code.length;
    const uint32_t withX = appendValue(code.code, x, n);  // 17 + 13 + 1 bits at most
    sink.put(withX, n);
    n = 0;
    const uint32_t onlyY = appendValue(0, y, n);
    sink.put(onlyY, n);
  }
}

// len a multiple of 4, magnitudes 0 or 1
inline void encodeQuads(BitSink& sink, const Layer3Code* codes, const int32_t* src, int32_t len) {
  for (int32_t i = 0; i < len; i += 4) {
    uint32_t index = 0;
    for (int32_t j = 0; j < 4; ++j) index = 2 * index + magnitude(src[i + j]);
    int32_t n = codes[index].length;
    uint32_t bits = codes[index].code;
    for (int32_t j = 0; j < 4; ++j) bits = appendSign(bits, src[i + j], n);
    sink.put(bits, n);
  }
}

}  // namespace moxac::mp3
