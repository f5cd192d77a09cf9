// Boxes, of which MP4 files are made. ISO/IEC 14496-12, 4.2.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/io/bytes.h"

namespace moxc {

constexpr uint32_t fourcc(const char (&name)[5]) {
  uint32_t type = 0;
  for (int i = 0; i < 4; ++i) type = type << 8 | static_cast<uint8_t>(name[i]);
  return type;
}

inline uint64_t bigEndian64(Bytes bytes, size_t at) {
  return uint64_t{bigEndian(bytes, at, 4)} << 32 | bigEndian(bytes, at + 4, 4);
}

// A box whose size stands in four bytes, in memory.
struct Box {
  uint32_t type = 0;
  Bytes content;
};

// Cuts the first box off; what runs past the bytes ends with them. Nothing when none begins there.
inline std::optional<Box> takeBox(Bytes& bytes) {
  if (bytes.size() < 8) return std::nullopt;
  const uint32_t size = bigEndian(bytes, 0, 4);
  if (size < 8 && size != 0) return std::nullopt;
  const Bytes whole = slice(bytes, 0, size == 0 ? SIZE_MAX : size);
  bytes = slice(bytes, whole.size());
  return Box{bigEndian(whole, 4, 4), slice(whole, 8)};
}

}  // namespace moxc
