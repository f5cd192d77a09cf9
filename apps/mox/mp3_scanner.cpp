#include "mox/mp3_scanner.h"

#include <algorithm>

namespace mox {
namespace {

// The longest free-format frame taken seriously: 640 kbit/s at 8 kHz.
constexpr size_t kMaxFreeFrame = 5760;
// With any distance allowed, one follower would be found by chance too often.
constexpr int kFreeFormatFollowers = 2;
// Up to so many frames lost in a row are made up for; a longer gap is taken as a cut.
constexpr size_t kMaxLost = 4;

}  // namespace

Mp3Scanner::Mp3Scanner(Bytes stream) : stream_(stream), searchBudget_(4 * stream.size() + (size_t{1} << 24)) {
  // Two followers convince; at the very start, or where nothing else is found, one must do.
  locked_ = lock(2) || lock(1);
  rewind();
}

void Mp3Scanner::rewind() {
  position_ = start_;
  skipped_ = 0;
  truncated_ = 0;
  lastBytes_ = 0;
}

// A header of this stream at a position, its frame length filled in for the free format too.
std::optional<Mp3Header> Mp3Scanner::headerAt(size_t position) const {
  std::optional<Mp3Header> header = parseMp3Header(slice(stream_, position));
  if (!header || !header->sameStream(first_)) return std::nullopt;
  if (header->bitRate == 0) header->frameBytes = freeBytes_ + static_cast<size_t>(header->fields.paddingBit);
  return header;
}

// Whether `count` more frames follow, each where the one before it ends. The end of the data is as good as
// all of them, and a last frame that is cut off counts.
bool Mp3Scanner::joins(size_t position, const Mp3Header& header, int count) const {
  size_t end = position + header.frameBytes;
  for (int i = 0; i < count; ++i) {
    if (end == stream_.size()) return true;
    const std::optional<Mp3Header> next = headerAt(end);
    if (!next) return false;
    end += next->frameBytes;
  }
  return true;
}

// Length of a free-format frame without padding: the distance to the next header of the stream that the
// frames after it confirm. 0 when there is none.
size_t Mp3Scanner::freeFormatLength(size_t position, const Mp3Header& header) {
  const size_t padding = static_cast<size_t>(header.fields.paddingBit);
  const size_t limit = std::min(stream_.size() - position, kMaxFreeFrame);
  for (size_t distance = header.mainDataAt(); distance + 4 <= limit; ++distance) {
    if (searchBudget_ == 0) return 0;
    --searchBudget_;
    if (stream_[position + distance] != 0xFF) continue;
    freeBytes_ = distance - padding;
    Mp3Header sized = header;
    sized.frameBytes = distance;
    if (joins(position, sized, kFreeFormatFollowers)) return freeBytes_;
  }
  return 0;
}

bool Mp3Scanner::lock(int followers) {
  const uint8_t* const data = stream_.data();
  for (size_t at = 0; at + 4 <= stream_.size(); ++at) {
    if (data[at] != 0xFF) continue;
    const std::optional<Mp3Header> header = parseMp3Header(slice(stream_, at));
    if (!header) continue;
    first_ = *header;
    freeBytes_ = 0;
    if (header->bitRate == 0) {
      freeBytes_ = freeFormatLength(at, *header);
      if (freeBytes_ == 0) continue;
      first_.frameBytes = freeBytes_ + static_cast<size_t>(header->fields.paddingBit);
    } else if (!joins(at, *header, at == 0 ? 1 : followers) || at + header->frameBytes > stream_.size()) {
      continue;
    }
    start_ = at;
    return true;
  }
  return false;
}

// The first place in [from, end) where two frames of the stream join.
std::optional<size_t> Mp3Scanner::seek(size_t from, size_t end) const {
  for (size_t at = from; at < end; ++at) {
    if (stream_[at] != 0xFF) continue;
    const std::optional<Mp3Header> header = headerAt(at);
    if (header && at + header->frameBytes <= stream_.size() && joins(at, *header, 1)) return at;
  }
  return std::nullopt;
}

bool Mp3Scanner::next(Mp3Frame& frame) {
  if (!locked_ || position_ >= stream_.size()) return false;
  frame = Mp3Frame{};

  std::optional<Mp3Header> header = headerAt(position_);
  if (!header) {
    const std::optional<size_t> found = seek(position_, stream_.size());
    const size_t resumed = found.value_or(stream_.size());
    const size_t gap = resumed - position_;
    if (found || !allZero(slice(stream_, position_))) skipped_ += static_cast<int64_t>(gap);
    position_ = resumed;
    if (!found) return false;
    header = headerAt(position_);
    frame.afterGap = true;
    // A gap of whole frames, give or take their padding, held frames: the listener's clock goes on.
    const size_t lost = lastBytes_ == 0 ? 0 : (gap + lastBytes_ / 2) / lastBytes_;
    const size_t off = gap > lost * lastBytes_ ? gap - lost * lastBytes_ : lost * lastBytes_ - gap;
    if (lost >= 1 && lost <= kMaxLost && off <= lost) frame.lostBefore = static_cast<int32_t>(lost);
  }

  size_t end = position_ + header->frameBytes;
  if (end != stream_.size() && !headerAt(end)) {
    // Whose fault: a wrong length here, or damage behind? A pair of frames that begins inside tells.
    const std::optional<size_t> inside = seek(position_ + 4, std::min(end, stream_.size()));
    if (inside) {
      end = *inside;
      frame.lengthDoubtful = true;
    } else if (end > stream_.size()) {
      truncated_ = stream_.size() - position_;
      position_ = stream_.size();
      return false;
    }
  }
  frame.header = *header;
  frame.position = position_;
  frame.bytes = stream_.subspan(position_, end - position_);
  lastBytes_ = frame.bytes.size();
  position_ = end;
  return true;
}

}  // namespace mox
