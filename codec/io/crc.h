// Cyclic redundancy checks, over bytes by table and over single bits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "codec/io/bytes.h"

namespace moxc {

// A register of kWidth bits (8 to 16) that starts at a given value. kPolynomial leaves out the highest power; bits go
// in the most significant first, or, reflected, the least significant first (the polynomial is reflected then too).
template <int kWidth, uint32_t kPolynomial, bool kReflected = false>
class Crc {
 public:
  explicit constexpr Crc(uint32_t start) : value_(start) {}
  constexpr uint32_t value() const { return value_; }

  constexpr void add(Bytes bytes) {
    for (const uint8_t byte : bytes) addByte(byte);
  }
  constexpr void addByte(uint32_t byte) {
    if constexpr (kReflected)
      value_ = value_ >> 8 ^ kOfByte[(value_ ^ byte) & 0xFF];
    else
      value_ = (value_ << 8 & kMask) ^ kOfByte[(value_ >> (kWidth - 8) ^ byte) & 0xFF];
  }

  // `count` bits from bit `first` of the bytes on; bits beyond them count as 0.
  void addBits(Bytes bytes, size_t first, size_t count) requires(!kReflected) {
    for (; count >= 8; first += 8, count -= 8)
      addByte(bigEndian(bytes, first / 8, 2) >> (8 - first % 8) & 0xFF);
    for (size_t i = first; i < first + count; ++i) addBit(bigEndian(bytes, i / 8, 1) >> (7 - i % 8) & 1u);
  }
  void addZeros(size_t count) requires(!kReflected) {
    for (; count >= 8; count -= 8) addByte(0);
    for (; count > 0; --count) addBit(0);
  }

 private:
  static constexpr uint32_t kMask = (1u << kWidth) - 1;

  static constexpr uint32_t step(uint32_t value) {
    if (kReflected) return value >> 1 ^ ((value & 1u) != 0 ? kPolynomial : 0);
    return (value << 1 & kMask) ^ ((value >> (kWidth - 1) & 1u) != 0 ? kPolynomial : 0);
  }
  constexpr void addBit(uint32_t bit) { value_ = step(value_ ^ bit << (kWidth - 1)); }

  // What a byte in front of an empty register leaves in it.
  static constexpr std::array<uint16_t, 256> kOfByte = [] {
    std::array<uint16_t, 256> table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
      uint32_t value = kReflected ? byte : byte << (kWidth - 8);
      for (int bit = 0; bit < 8; ++bit) value = step(value);
      table[byte] = static_cast<uint16_t>(value);
    }
    return table;
  }();

  uint32_t value_;
};

// x^16 + x^15 + x^2 + 1 from all ones on: the check word of MPEG audio frames and of ADTS. ISO/IEC 11172-3, 2.4.3.1.
struct MpegCrc : Crc<16, 0x8005> {
  constexpr MpegCrc() : Crc(0xFFFF) {}
};

}  // namespace moxc
