// Frames on their way out: headers at fixed distances, main data flowing through the room between them.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "codec/io/bytes.h"
#include "codec/io/crc.h"

namespace moxc::mp3 {

// x^16 + x^15 + x^2 + 1, lowest bit first, as the information frame carries it.
using InfoCrc = Crc<16, 0xA001, true>;

// A frame's main data may begin in the room that earlier frames left (ISO/IEC 11172-3, 2.4.2.7): frames wait until
// their room is full.
class FrameQueue {
 public:
  // Appends a frame that begins with `start` (header and side information) and has `bytes` bytes.
  void addFrame(Bytes start, size_t bytes);
  // Fills the room of waiting frames; there must be enough.
  void addMainData(Bytes data);
  // Moves full frames to out.
  void takeFinished(std::vector<uint8_t>& out);
  // Fills what room is left with zeros.
  void finish(std::vector<uint8_t>& out);

  const std::vector<uint64_t>& offsets() const { return offsets_; }  // of every frame taken
  uint64_t bytes() const { return bytes_; }                          // of all of them
  uint32_t crc() const { return crc_.value(); }                      // of them

 private:
  struct Frame {
    std::vector<uint8_t> bytes;
    size_t filled;
  };

  std::deque<Frame> frames_;
  std::vector<uint64_t> offsets_;
  uint64_t bytes_ = 0;
  InfoCrc crc_{0};
};

}  // namespace moxc::mp3
