// The frame without audio that encoders put first: Xing or Info, with LAME's extension, or VBRI.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/io/memory.h"
#include "codec/mp3/frame.h"

namespace moxc::mp3 {

struct VbrHeader {
  String kind;     // "Xing" (variable bit rate), "Info" (constant) or "VBRI"
  String encoder;  // as the encoder wrote it, for example "LAME3.100"; may be empty
  std::optional<uint32_t> frames, bytes;
  // Samples that the encoder put in front and behind; only where it says so.
  bool hasDelay = false;
  int32_t delay = 0, padding = 0;
};

// Reads the header from the first frame of a stream, if it is one.
std::optional<VbrHeader> readVbrHeader(const Frame& frame);

}  // namespace moxc::mp3
