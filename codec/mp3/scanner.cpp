#include "codec/mp3/scanner.h"

#include <algorithm>

namespace moxc::mp3 {
namespace {

// The longest free-format frame taken seriously: 640 kbit/s at 8 kHz.
constexpr size_t kMaxFreeFrame = 5760;
// With any distance allowed, one follower would be found by chance too often.
constexpr int kFreeFormatFollowers = 2;

}  // namespace

// A header of this stream at a position, its frame length filled in for the free format too.
std::optional<Header> Scanner::headerAt(size_t position) const {
  std::optional<Header> header = parseHeader(slice(stream_, position));
  if (!header || !header->sameStream(first_)) return std::nullopt;
  if (header->bitRate == 0) header->frameBytes = freeBytes_ + static_cast<size_t>(header->fields.paddingBit);
  return header;
}

// Length of a free-format frame without padding: the distance to the next header of the stream that the
// frames after it confirm. 0 when there is none.
size_t Scanner::freeFormatLength(size_t position, const Header& header) {
  const size_t padding = static_cast<size_t>(header.fields.paddingBit);
  const size_t limit = std::min(stream_.size() - position, kMaxFreeFrame);
  for (size_t distance = header.mainDataAt(); distance + 4 <= limit; ++distance) {
    if (searchBudget_ == 0) return 0;
    --searchBudget_;
    if (stream_[position + distance] != 0xFF) continue;
    freeBytes_ = distance - padding;
    Header sized = header;
    sized.frameBytes = distance;
    if (joins(position, sized, kFreeFormatFollowers)) return freeBytes_;
  }
  return 0;
}

bool Scanner::begins(size_t position, int followers) {
  freeBytes_ = 0;
  if (first_.bitRate != 0)
    return position + first_.frameBytes <= stream_.size() && joins(position, first_, followers);
  freeBytes_ = freeFormatLength(position, first_);
  first_.frameBytes = freeBytes_ + static_cast<size_t>(first_.fields.paddingBit);
  return freeBytes_ != 0;
}

// A gap of whole frames, give or take their padding, held frames: the listener's clock goes on.
void Scanner::noteGap(size_t bytes, Frame& frame) const {
  frame.afterGap = true;
  const size_t lost = lastBytes_ == 0 ? 0 : (bytes + lastBytes_ / 2) / lastBytes_;
  const size_t off = bytes > lost * lastBytes_ ? bytes - lost * lastBytes_ : lost * lastBytes_ - bytes;
  if (lost >= 1 && lost <= kMaxLost && off <= lost) frame.lostBefore = static_cast<int32_t>(lost);
}

}  // namespace moxc::mp3
