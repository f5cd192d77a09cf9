#include "mox/aac_crc.h"

namespace mox {

void AdtsCrc::addBit(bool bit) {
  const bool carry = ((crc_ >> 15) & 1u) != static_cast<uint32_t>(bit);
  crc_ = ((crc_ << 1) & 0xFFFF) ^ (carry ? 0x8005u : 0u);
}

void AdtsCrc::addBits(Bytes bytes, size_t first, size_t count) {
  for (size_t i = first; i < first + count; ++i)
    addBit(i / 8 < bytes.size() && ((bytes[i / 8] >> (7 - i % 8)) & 1) != 0);
}

void AdtsCrc::addZeros(size_t count) {
  for (size_t i = 0; i < count; ++i) addBit(false);
}

void AdtsCrc::add(Bytes block, const std::vector<ProtectedBits>& bits) {
  for (const ProtectedBits& part : bits) {
    addBits(block, part.first, part.count);
    addZeros(part.padTo - part.count);
  }
}

}  // namespace mox
