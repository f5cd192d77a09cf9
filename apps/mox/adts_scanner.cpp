#include "mox/adts_scanner.h"

#include <algorithm>
#include <cstring>

namespace mox {
namespace {

// Up to so many frames lost in a row are made up for; a longer gap is taken as a cut.
constexpr size_t kMaxLost = 4;

}  // namespace

AdtsScanner::AdtsScanner(Bytes stream) : stream_(stream) {
  // Two followers convince; at the very start, or where nothing else is found, one must do.
  locked_ = lock(2) || lock(1);
  rewind();
}

void AdtsScanner::rewind() {
  position_ = start_;
  skipped_ = 0;
  truncated_ = 0;
  frames_ = frameBytes_ = 0;
}

std::optional<AdtsHeader> AdtsScanner::headerAt(size_t position) const {
  std::optional<AdtsHeader> header = parseAdtsHeader(slice(stream_, position));
  if (header && !header->sameStream(first_)) header.reset();
  return header;
}

// Whether `count` more frames follow, each where the one before it ends. The end of the data is as good as all of
// them, and a last frame that is cut off counts.
bool AdtsScanner::joins(size_t position, const AdtsHeader& header, int count) const {
  size_t end = position + header.frameBytes();
  for (int i = 0; i < count; ++i) {
    if (end == stream_.size()) return true;
    const std::optional<AdtsHeader> next = headerAt(end);
    if (!next) return false;
    end += next->frameBytes();
  }
  return true;
}

bool AdtsScanner::lock(int followers) {
  for (size_t at = 0; at + 7 <= stream_.size(); ++at) {
    if (stream_[at] != 0xFF) continue;
    const std::optional<AdtsHeader> header = parseAdtsHeader(slice(stream_, at));
    if (!header) continue;
    first_ = *header;
    if (at + header->frameBytes() > stream_.size() || !joins(at, *header, at == 0 ? 1 : followers)) continue;
    start_ = at;
    return true;
  }
  return false;
}

// The first place in [from, end) where two frames of the stream join.
std::optional<size_t> AdtsScanner::seek(size_t from, size_t end) const {
  for (size_t at = from; at < end; ++at) {
    const void* const sync = std::memchr(stream_.data() + at, 0xFF, end - at);
    if (sync == nullptr) break;
    at = static_cast<size_t>(static_cast<const uint8_t*>(sync) - stream_.data());
    const std::optional<AdtsHeader> header = headerAt(at);
    if (header && at + header->frameBytes() <= stream_.size() && joins(at, *header, 1)) return at;
  }
  return std::nullopt;
}

bool AdtsScanner::next(AdtsFrame& frame) {
  if (!locked_ || position_ >= stream_.size()) return false;
  frame = AdtsFrame{};

  std::optional<AdtsHeader> header = headerAt(position_);
  if (!header) {
    const std::optional<size_t> found = seek(position_, stream_.size());
    const size_t gap = found.value_or(stream_.size()) - position_;
    if (found || !allZero(slice(stream_, position_))) skipped_ += static_cast<int64_t>(gap);
    position_ += gap;
    if (!found) return false;
    header = headerAt(position_);
    // Frames vary in length, so what stood in a gap can only be estimated; the listener's clock goes on.
    const size_t average = frames_ == 0 ? 0 : frameBytes_ / frames_;
    const size_t lost = average == 0 ? 0 : (gap + average / 2) / average;
    if (lost <= kMaxLost) frame.lostBefore = static_cast<int32_t>(lost);
  }

  size_t end = position_ + header->frameBytes();
  if (end != stream_.size() && !headerAt(end)) {
    // Whose fault: a wrong length here, or damage behind? A pair of frames that begins inside tells.
    const std::optional<size_t> inside = seek(position_ + 7, std::min(end, stream_.size()));
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
  ++frames_;
  frameBytes_ += frame.bytes.size();
  position_ = end;
  return true;
}

}  // namespace mox
