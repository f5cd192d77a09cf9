// The next bits of a stream, kept left-aligned in a 64-bit register.
#pragma once

#include <bit>
#include <cstdint>

#include "frame/big_endian.h"

namespace moxac::vlc {

// Which memory a window may touch.
//   exact: aligned 32-bit words only, each loaded when one of its bits is asked for and not before.
//   ahead: eight bytes at a time, up to kAheadBits beyond the next bit. Allowed while that many bits are
//          certain to follow, which is so when that many code words do.
enum class Reach { exact, ahead };

// A refill happens with at most 63 bits in the window and loads the 64 behind them.
inline constexpr int32_t kAheadBits = 63 + 64;

// Bits that a window of Reach::ahead holds at least after refill().
inline constexpr int32_t kRefilledBits = 56;

inline uintptr_t bytesPastWord(const uint8_t* p) { return reinterpret_cast<uintptr_t>(p) % 4; }

// Refills are either asked for with need(), which looks at what is left, or made for several reads at once
// with refill(), which those reads then rely on with expect().
template <Reach kReach>
class StreamWindow {
 public:
  StreamWindow(const uint8_t* p, int32_t bitOffset) {
    if constexpr (kReach == Reach::exact) {
      const auto skipped = static_cast<int32_t>(8 * bytesPastWord(p)) + bitOffset;  // 0..31
      next_ = p - bytesPastWord(p);
      appendWord();
      skip(skipped);
    } else {
      next_ = p;
      refill();
      skip(bitOffset);
    }
  }

  // Makes at least n bits (0..32) readable.
  void need(int32_t n) {
    if (available_ >= n) return;
    if constexpr (kReach == Reach::exact)
      appendWord();
    else
      appendBytes();
  }

  // The same for an ahead window that was refilled for this read already.
  void expect(int32_t n) {
    if constexpr (kReach == Reach::exact) need(n);
  }

  void refill() {
    if constexpr (kReach == Reach::ahead) appendBytes();
  }

  // The next bit on top; below the available bits, zeros (exact) or bits not yet counted (ahead).
  uint64_t bits() const { return bits_; }

  void skip(int32_t n) {
    bits_ <<= n & 63;
    available_ -= n;
  }

  // The next n bits (1..32), which are available.
  uint32_t take(int32_t n) {
    const auto field = static_cast<uint32_t>(bits_ >> (64 - n));
    skip(n);
    return field;
  }

  // Counts the ones before the next zero, giving up above `limit` (below 31). Consumes nothing.
  int32_t leadingOnes(int32_t limit) {
    need(1);
    int32_t ones = std::countl_one(bits_);
    while (ones >= available_ && available_ <= limit) {  // all that is there is ones: the next bit decides
      need(available_ + 1);
      ones = std::countl_one(bits_);
    }
    return ones;
  }

  // Moves the caller's cursor to the next bit.
  void store(const uint8_t** ppBitStream, int32_t* pBitOffset) const {
    *ppBitStream = next_ - (available_ + 7) / 8;
    *pBitOffset = -available_ & 7;
  }

 private:
  void appendWord() {  // available_ is 0..31
    bits_ |= uint64_t{loadBigEndian32(next_)} << (32 - available_);
    next_ += 4;
    available_ += 32;
  }

  // Bits already there are or-ed with themselves, so the pointer moves by whole bytes without a branch.
  void appendBytes() {  // available_ is 0..63
    bits_ |= loadBigEndian64(next_) >> available_;
    next_ += (63 - available_) >> 3;
    available_ |= kRefilledBits;
  }

  uint64_t bits_ = 0;
  const uint8_t* next_;
  int32_t available_ = 0;
};

}  // namespace moxac::vlc
