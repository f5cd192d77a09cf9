#include "codec/stream/adts_scanner.h"

namespace moxc {

bool AdtsScanner::begins(size_t position, int followers) {
  return position + first_.frameBytes() <= stream_.size() && joins(position, first_, followers);
}

std::optional<AdtsHeader> AdtsScanner::headerAt(size_t position) const {
  std::optional<AdtsHeader> header = parseAdtsHeader(slice(stream_, position));
  if (header && !header->sameStream(first_)) header.reset();
  return header;
}

void AdtsScanner::passed(const AdtsFrame& frame) {
  ++frames_;
  frameBytes_ += frame.bytes.size();
}

// Frames vary in length, so what stood in a gap can only be estimated; the listener's clock goes on.
void AdtsScanner::noteGap(size_t bytes, AdtsFrame& frame) const {
  const size_t average = frames_ == 0 ? 0 : frameBytes_ / frames_;
  const size_t lost = average == 0 ? 0 : (bytes + average / 2) / average;
  if (lost <= kMaxLost) frame.lostBefore = static_cast<int32_t>(lost);
}

}  // namespace moxc
