// The frames of the bundled ADTS streams, which the container streams were made of.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "codec/io/bytes.h"
#include "support/streams.h"

namespace moxtest {

inline std::vector<uint8_t> bundled(const std::string& name) { return readFile(streamPath(name)); }

// Frames `first` to `first + count` of a bundled ADTS stream of one block a frame, or the raw data blocks in them.
inline std::vector<std::vector<uint8_t>> adtsFrames(const std::string& name, size_t first, size_t count,
                                                    bool blocks) {
  const std::vector<uint8_t> bytes = bundled(name);
  std::vector<std::vector<uint8_t>> frames;
  for (size_t at = 0, i = 0; at + 7 <= bytes.size(); ++i) {
    const size_t length = moxc::bigEndian(bytes, at + 3, 3) >> 5 & 0x1FFF;
    const size_t header = (bytes[at + 1] & 1) != 0 ? 7 : 9;
    const moxc::Bytes part = moxc::slice(bytes, at + (blocks ? header : 0), length - (blocks ? header : 0));
    if (i >= first && i < first + count) frames.emplace_back(part.begin(), part.end());
    at += length;
  }
  EXPECT_EQ(frames.size(), count);
  return frames;
}

inline std::vector<uint8_t> joined(const std::vector<std::vector<uint8_t>>& frames) {
  std::vector<uint8_t> all;
  for (const auto& frame : frames) all.insert(all.end(), frame.begin(), frame.end());
  return all;
}

}  // namespace moxtest
