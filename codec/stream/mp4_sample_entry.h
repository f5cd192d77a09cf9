// What an MP4 track's packets hold. ISO/IEC 14496-12, 8.5.2; 14496-14, 5.6; 14496-1, 7.2.6.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "codec/stream/demuxer.h"

namespace moxc {

struct Mp4SampleEntry {
  PacketContent content = PacketContent::aacBlock;
  std::vector<uint8_t> specificConfig;  // of aacBlock; made up from rate and channels where the file has none
  int32_t rate = 0, channels = 0;
  std::string refusal;  // "AC-3": what is not decoded; empty for what is
};

// The first entry of a sample description box, whose content this is.
Mp4SampleEntry readSampleDescription(Bytes content);

}  // namespace moxc
