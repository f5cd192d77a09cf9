// Bits from the front of a byte string, the most significant first. Reading past the end gives zeros and is
// remembered, so that a parser may ask once, at its end, whether everything it read was there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "codec/io/bytes.h"

namespace moxc {

class BitReader {
 public:
  // `count` bits from bit `first` of the bytes on.
  BitReader(Bytes bytes, size_t first, size_t count) : bytes_(bytes), position_(first), end_(first + count) {}

  uint32_t bits(int32_t count) {  // up to 32
    const size_t byte = position_ / 8, last = position_ + static_cast<size_t>(count);
    if (count > 0 && last <= end_ && byte + 8 <= bytes_.size()) {
      uint64_t window;
      std::memcpy(&window, bytes_.data() + byte, sizeof window);
      window = __builtin_bswap64(window) << position_ % 8;
      position_ = last;
      return static_cast<uint32_t>(window >> (64 - count));
    }
    uint32_t value = 0;
    for (; count > 0; --count) value = value << 1 | bit();
    return value;
  }
  bool flag() { return bit() != 0; }

  size_t position() const { return position_; }
  size_t left() const { return position_ < end_ ? end_ - position_ : 0; }
  bool overrun() const { return position_ > end_; }

 private:
  uint32_t bit() {
    const size_t at = position_++;
    return at < end_ ? bytes_[at / 8] >> (7 - at % 8) & 1u : 0u;
  }

  Bytes bytes_;
  size_t position_, end_;
};

}  // namespace moxc
