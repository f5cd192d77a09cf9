// The check word of protected ADTS frames.
#pragma once

#include "codec/aac/block.h"
#include "codec/stream/adts_frame.h"

namespace moxc::aac {

// x^16 + x^15 + x^2 + 1 over a selection of bits, starting at all ones. ISO/IEC 13818-7, 6.2.3.
class AdtsCrc {
 public:
  void addBits(Bytes bytes, size_t first, size_t count);  // bits beyond the bytes count as 0
  void addZeros(size_t count);
  void add(Bytes block, const std::vector<ProtectedBits>& bits);
  uint32_t value() const { return crc_; }

 private:
  void addBit(bool bit);
  void addByte(uint32_t byte);
  uint32_t crc_ = 0xFFFF;
};

}  // namespace moxc::aac
