// Finds the frames of an MPEG audio Layer III stream, those of the free format too.
#pragma once

#include "codec/mp3/frame.h"
#include "codec/stream/frame_scanner.h"

namespace moxc::mp3 {

class Scanner : public FrameScanner<Scanner, Header, Frame> {
 public:
  explicit Scanner(Bytes stream)
      : FrameScanner(stream), searchBudget_(4 * stream.size() + (size_t{1} << 24)) {
    find();
  }

  size_t freeFormatBytes() const { return freeBytes_; }  // frame length without padding; 0: not free format

 private:
  friend FrameScanner;
  static constexpr size_t kHeaderBytes = 4;
  static std::optional<Header> parse(Bytes bytes) { return parseHeader(bytes); }
  static size_t lengthOf(const Header& header) { return header.frameBytes; }
  bool begins(size_t position, int followers);
  std::optional<Header> headerAt(size_t position) const;  // with its frame length
  void restart() { lastBytes_ = 0; }
  void passed(const Frame& frame) { lastBytes_ = frame.bytes.size(); }
  void noteGap(size_t bytes, Frame& frame) const;
  size_t freeFormatLength(size_t position, const Header& header);

  size_t freeBytes_ = 0;
  size_t lastBytes_ = 0;     // length of the frame before
  size_t searchBudget_ = 0;  // bytes that looking for free-format lengths may still examine
};

}  // namespace moxc::mp3
