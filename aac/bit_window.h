// The stream's next bits in a register, for loops that decode one code word after another.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "frame/big_endian.h"

namespace moxac::aac {

// A small value type: loops copy it, keep the copy in registers and assign it back.
//
// No byte more than three past the last byte that bits are consumed from may be loaded. refill() keeps that
// promise on its own, since the caller consumes at least one bit behind it, and gives 25 bits. refillAhead()
// loads eight bytes at once and gives 56 bits, but only while enough bits are known to follow: expect() says
// how many, hasAhead() whether they suffice.
class BitWindow {
 public:
  static constexpr int32_t kRefillBits = 25;
  static constexpr int32_t kAheadBits = 56;

  // At bit `offset` (0..7) of *p. A byte whose first bits are consumed already may be loaded.
  BitWindow(const uint8_t* p, int32_t offset) : next_(p), ahead_(p) {
    if (offset == 0) return;
    window_ = uint64_t{*p} << (56 + offset);
    count_ = 8 - offset;
    next_ = p + 1;
  }
  const uint8_t* bytePosition() const { return next_ - (count_ + 7) / 8; }
  int32_t bitOffset() const { return -count_ & 7; }

  void refill() {
    const uint8_t* const p = bytePosition();
    const int32_t offset = bitOffset();
    window_ = (uint64_t{loadBigEndian32(p)} << 32) << offset;
    count_ = 32 - offset;
    next_ = p + 4;
  }

  // Refills when fewer are left; up to 25.
  void ensure(int32_t bits) {
    if (count_ < bits) refill();
  }

  // At least `bits` bits will be consumed from here on.
  void expect(int64_t bits) { ahead_ = next_ + ((bits - count_ - 1) >> 3) + 4; }
  bool hasAhead() const { return ahead_ - next_ >= 8; }
  // Bits below the valid ones are the stream's own or zero, so the same bits may be loaded over them.
  void refillAhead() {
    window_ |= loadBigEndian64(next_) >> count_;
    next_ += (63 - count_) >> 3;
    count_ |= 56;
  }

  size_t peek(int32_t n) const { return static_cast<size_t>(window_ >> (64 - n)); }  // n = 1..25
  size_t peekBehind(int32_t skipped, int32_t n) const {                              // n = 0..25
    return static_cast<size_t>((window_ << skipped) >> 1 >> (63 - n));
  }
  int32_t leadingOnes() const { return std::countl_one(window_); }
  void skip(int32_t n) {
    window_ <<= n;
    count_ -= n;
  }
  int32_t take(int32_t n) {  // n = 1..25
    const auto value = static_cast<int32_t>(peek(n));
    skip(n);
    return value;
  }

 private:
  uint64_t window_ = 0;   // the next bit on top
  int32_t count_ = 0;     // valid bits, 0..63
  const uint8_t* next_;   // the first byte not loaded (but for the bits below the valid ones)
  const uint8_t* ahead_;  // bytes in front of it may be loaded
};

}  // namespace moxac::aac
