// Sixty-four bits of look-ahead for the Huffman decoders: the next bit of the stream is the top bit of
// bits().
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/big_endian.h"

namespace moxac::mp3 {

// Reads `bitCount` bits from bit `bitOffset` of p on, and zeros behind them. No byte is touched but those
// that hold these bits.
class BoundedWindow {
 public:
  static constexpr int32_t kBitsPerRefill = 56;
  static constexpr bool kLooksAhead = true;

  BoundedWindow(const uint8_t* p, int32_t bitOffset, int32_t bitCount)
      : p_(p), size_((int64_t{bitOffset} + bitCount + 7) / 8), bitOffset_(bitOffset) {
    refill();
    drop(bitOffset);
  }

  // Makes at least kBitsPerRefill bits valid. The bits below them are the stream's own, partly, so that
  // merging the same byte again does no harm.
  void refill() {
    const uint64_t word = next_ + 8 <= size_ ? loadBigEndian64(p_ + next_) : lastBytes(p_, next_, size_);
    bits_ |= word >> valid_;
    next_ += (63 - valid_) >> 3;
    valid_ |= 56;
  }

  uint64_t bits() const { return bits_; }

  // n of the valid bits, 0..56
  void drop(int32_t n) {
    bits_ <<= n & 63;
    valid_ -= n;
  }

  // n = 1..32 of the valid bits
  uint32_t take(int32_t n) {
    const uint64_t field = bits_ >> (64 - n);
    drop(n);
    return static_cast<uint32_t>(field);
  }

  // Bits dropped since the start; more than bitCount when zeros behind the end were taken for bits.
  int64_t consumed() const { return 8 * next_ - valid_ - bitOffset_; }

 private:
  // Out of line and by value, so that windows live in registers.
  [[gnu::noinline]] static uint64_t lastBytes(const uint8_t* p, int64_t first, int64_t size) {
    uint64_t word = 0;
    for (int64_t i = first; i < first + 8; ++i) word = (word << 8) | (i < size ? p[i] : 0u);
    return word;
  }

  const uint8_t* p_;
  int64_t size_;      // bytes that hold the bits
  int64_t next_ = 0;  // the next byte to merge
  uint64_t bits_ = 0;
  int32_t valid_ = 0;  // 0..63
  int32_t bitOffset_;
};

// The same interface without an end: each refill gathers the four bytes at the cursor, 25 bits at least, so
// that decoding may run past what was promised and still touch no more than three bytes past those used.
class UnboundedWindow {
 public:
  static constexpr int32_t kBitsPerRefill = 25;
  static constexpr bool kLooksAhead = false;  // refills only when bits are about to be dropped

  UnboundedWindow(const uint8_t* p, int64_t bitPosition) : p_(p), position_(bitPosition) {}

  void refill() {
    const uint8_t* const p = p_ + position_ / 8;
    const uint32_t word =
        (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
    bits_ = uint64_t{word} << (32 + position_ % 8);
  }

  uint64_t bits() const { return bits_; }

  void drop(int32_t n) {
    bits_ <<= n & 63;
    position_ += n;
  }

  uint32_t take(int32_t n) {
    const uint64_t field = bits_ >> (64 - n);
    drop(n);
    return static_cast<uint32_t>(field);
  }

  int64_t position() const { return position_; }  // bits from p

 private:
  const uint8_t* p_;
  int64_t position_;
  uint64_t bits_ = 0;
};

}  // namespace moxac::mp3
