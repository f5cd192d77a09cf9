// The check word of protected ADTS frames, over a selection of bits. ISO/IEC 13818-7, 6.2.3.
#pragma once

#include <vector>

#include "codec/aac/block.h"
#include "codec/io/crc.h"

namespace moxc::aac {

struct AdtsCrc : MpegCrc {
  using MpegCrc::add;
  void add(Bytes block, const std::vector<ProtectedBits>& bits) {
    for (const ProtectedBits& part : bits) {
      addBits(block, part.first, part.count);
      addZeros(part.padTo - part.count);
    }
  }
};

}  // namespace moxc::aac
