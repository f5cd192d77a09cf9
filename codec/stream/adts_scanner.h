// Finds the frames of an ADTS stream.
#pragma once

#include "codec/stream/adts_frame.h"
#include "codec/stream/frame_scanner.h"

namespace moxc {

class AdtsScanner : public FrameScanner<AdtsScanner, AdtsHeader, AdtsFrame> {
 public:
  explicit AdtsScanner(Bytes stream) : FrameScanner(stream) { find(); }

 private:
  friend FrameScanner;
  static constexpr size_t kHeaderBytes = 7;
  static std::optional<AdtsHeader> parse(Bytes bytes) { return parseAdtsHeader(bytes); }
  static size_t lengthOf(const AdtsHeader& header) { return header.frameBytes(); }
  bool begins(size_t position, int followers);
  std::optional<AdtsHeader> headerAt(size_t position) const;
  void restart() { frames_ = frameBytes_ = 0; }
  void passed(const AdtsFrame& frame);
  void noteGap(size_t bytes, AdtsFrame& frame) const;

  size_t frames_ = 0, frameBytes_ = 0;  // walked over, for the average length
};

}  // namespace moxc
