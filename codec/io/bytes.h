// Views of bytes in memory and the integers in them. Every access is bounded by the view.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace moxc {

using Bytes = std::span<const uint8_t>;

// The part [at, at + count) as far as it exists.
inline Bytes slice(Bytes bytes, size_t at, size_t count = SIZE_MAX) {
  at = std::min(at, bytes.size());
  return bytes.subspan(at, std::min(count, bytes.size() - at));
}

inline bool startsWith(Bytes bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0;
}

// Zeros behind a stream are padding, not damage.
inline bool allZero(Bytes bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte == 0; });
}

inline std::string asText(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

// `count` bytes (at most 4) from `at`, most significant first; bytes beyond the view count as 0.
inline uint32_t bigEndian(Bytes bytes, size_t at, int count) {
  uint32_t value = 0;
  for (int i = 0; i < count; ++i, ++at) value = (value << 8) | (at < bytes.size() ? bytes[at] : 0u);
  return value;
}

// Four bytes from `at`, least significant first.
inline uint32_t littleEndian32(Bytes bytes, size_t at) {
  const uint32_t v = bigEndian(bytes, at, 4);
  return (v >> 24) | ((v >> 8) & 0xFF00u) | ((v << 8) & 0xFF0000u) | (v << 24);
}

}  // namespace moxc
