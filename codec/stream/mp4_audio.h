// The AAC track of an MP4 file, by way of libavformat in builds that have it (CMake option MOXAC_MP4).
#pragma once

#include <cstdint>
#include <vector>

#include "codec/io/bytes.h"

namespace moxc {

struct Mp4Audio {
  std::vector<uint8_t> config;                // AudioSpecificConfig
  std::vector<std::vector<uint8_t>> packets;  // one raw data block each
  // Samples that the encoder put in front and behind, as the file tells, at its own rate.
  int32_t rate = 0;
  int64_t delay = 0, padding = 0;
};

bool canReadMp4();
bool isMp4(Bytes bytes);

// Throws Failure when the file holds no AAC, or this build cannot tell.
Mp4Audio readMp4(Bytes bytes);

}  // namespace moxc
