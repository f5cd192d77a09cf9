// Bits as they stand in a stream, most significant first: put together field by field, and read one by one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace moxtest {

inline bool bitAt(const uint8_t* bytes, int64_t position) {
  return (bytes[position / 8] >> (7 - position % 8) & 1) != 0;
}

class Bits {
 public:
  Bits& put(uint32_t value, int32_t count) {
    while (count-- > 0) bits_.push_back(count < 32 && (value >> count & 1) != 0);
    return *this;
  }
  Bits& copy(std::span<const uint8_t> bytes, size_t first, size_t count) {
    for (size_t i = first; i < first + count; ++i)
      bits_.push_back(bitAt(bytes.data(), static_cast<int64_t>(i)));
    return *this;
  }
  Bits& align(bool filler = false) {
    bits_.resize((bits_.size() + 7) / 8 * 8, filler);
    return *this;
  }
  void flip(size_t i) { bits_[i].flip(); }
  bool operator[](size_t i) const { return bits_[i]; }
  int32_t size() const { return static_cast<int32_t>(bits_.size()); }

  // Whole bytes, `bitOffset` zeros in front and zeros behind.
  std::vector<uint8_t> bytes(int32_t bitOffset = 0) const {
    std::vector<uint8_t> out((bits_.size() + static_cast<size_t>(bitOffset) + 7) / 8);
    for (size_t i = 0; i < bits_.size(); ++i) {
      const size_t at = i + static_cast<size_t>(bitOffset);
      if (bits_[i]) out[at / 8] = static_cast<uint8_t>(out[at / 8] | (0x80 >> at % 8));
    }
    return out;
  }

 private:
  std::vector<bool> bits_;
};

class BitReader {
 public:
  BitReader(const uint8_t* p, int64_t position) : p_(p), position_(position) {}
  uint32_t bit() { return bitAt(p_, position_++); }
  uint32_t take(int32_t n) {
    uint32_t value = 0;
    for (int32_t i = 0; i < n; ++i) value = value << 1 | bit();
    return value;
  }
  int64_t position() const { return position_; }

 private:
  const uint8_t* p_;
  int64_t position_;
};

}  // namespace moxtest
