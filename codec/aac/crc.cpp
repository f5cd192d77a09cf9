#include "codec/aac/crc.h"

#include <array>

namespace moxc::aac {
namespace {

constexpr uint32_t kPolynomial = 0x8005;

// What eight bits in front of an empty register leave in it.
constexpr std::array<uint16_t, 256> kOfByte = [] {
  std::array<uint16_t, 256> table{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t crc = byte << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc << 1) ^ ((crc & 0x8000) != 0 ? kPolynomial : 0);
    table[byte] = static_cast<uint16_t>(crc);
  }
  return table;
}();

}  // namespace

void AdtsCrc::addBit(bool bit) {
  const bool carry = ((crc_ >> 15) & 1u) != static_cast<uint32_t>(bit);
  crc_ = ((crc_ << 1) & 0xFFFF) ^ (carry ? kPolynomial : 0u);
}

void AdtsCrc::addByte(uint32_t byte) { crc_ = ((crc_ << 8) & 0xFFFF) ^ kOfByte[(crc_ >> 8) ^ byte]; }

void AdtsCrc::addBits(Bytes bytes, size_t first, size_t count) {
  for (; count >= 8; first += 8, count -= 8)
    addByte((bigEndian(bytes, first / 8, 2) >> (8 - first % 8)) & 0xFF);
  for (size_t i = first; i < first + count; ++i)
    addBit(i / 8 < bytes.size() && ((bytes[i / 8] >> (7 - i % 8)) & 1) != 0);
}

void AdtsCrc::addZeros(size_t count) {
  for (; count >= 8; count -= 8) addByte(0);
  for (; count > 0; --count) addBit(false);
}

void AdtsCrc::add(Bytes block, const std::vector<ProtectedBits>& bits) {
  for (const ProtectedBits& part : bits) {
    addBits(block, part.first, part.count);
    addZeros(part.padTo - part.count);
  }
}

}  // namespace moxc::aac
