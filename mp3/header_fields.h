// What fields of a frame header mean.
#pragma once

#include <cstdint>

#include "moxac/mp3.h"

namespace moxac::mp3 {

inline int32_t channelCount(const MoxMp3FrameHeader& header) {
  return header.mode == MOX_MP3_SINGLE_CHANNEL ? 1 : 2;
}
inline int32_t granuleCount(const MoxMp3FrameHeader& header) { return header.id == 1 ? 2 : 1; }

}  // namespace moxac::mp3
