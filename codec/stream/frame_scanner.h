// Finds the frames of a stream that carries its sync word in every frame: synchronisation and resynchronisation,
// the same for ADTS and MPEG audio.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>

#include "codec/io/bytes.h"

namespace moxc {

// Walks over a stream held in memory. Twelve sync bits prove little, so the first frame must be followed by two more
// of the same stream, each where the one before it ends (or the data must end right there; at the very start of the
// data one will do). After that the walk goes from end to end and trusts what it finds there; where a header is
// missing or misleading, the next place with two joining frames of the same stream is sought.
//
// Scanner derives from this, calls find() when it is made, and tells what its codec alone knows:
//   static constexpr size_t kHeaderBytes
//   static std::optional<Header> parse(Bytes)        a header of any stream at the front of the bytes
//   static size_t lengthOf(const Header&)            of the whole frame in bytes
//   bool begins(size_t position, int followers)      whether first_, found there, begins a stream: that many more
//                                                    frames join on; may complete first_
//   std::optional<Header> headerAt(size_t) const     a header of this stream
//   void restart()                                   back at the first frame
//   void passed(const Frame&)                        a frame was walked over
//   void noteGap(size_t bytes, Frame&) const         the frame stands behind bytes that are no frame
template <class Scanner, class Header, class Frame>
class FrameScanner {
 public:
  bool next(Frame& frame);                // false at the end of the stream
  bool found() const { return locked_; }  // whether there is a stream at all; known from the start
  void rewind() {                         // back to the first frame
    position_ = start_;
    skipped_ = 0;
    truncated_ = 0;
    self().restart();
  }

  size_t position() const { return position_; }
  // Between the first frame and the end; zeros at the end are none.
  int64_t skippedBytes() const { return skipped_; }
  size_t bytesBefore() const { return start_; }         // in front of the first frame
  size_t truncatedBytes() const { return truncated_; }  // of a last frame that is incomplete
  const Header& firstHeader() const { return first_; }

 protected:
  // Up to so many frames lost in a row are made up for; a longer gap is taken as a cut.
  static constexpr size_t kMaxLost = 4;

  explicit FrameScanner(Bytes stream) : stream_(stream) {}

  void find() {
    // Two followers convince; at the very start, or where nothing else is found, one must do.
    locked_ = lock(2) || lock(1);
    rewind();
  }
  bool joins(size_t position, const Header& header, int count) const;

  Bytes stream_;
  Header first_;

 private:
  Scanner& self() { return static_cast<Scanner&>(*this); }
  const Scanner& self() const { return static_cast<const Scanner&>(*this); }
  bool lock(int followers);
  std::optional<size_t> seek(size_t from, size_t end) const;
  size_t nextSync(size_t from, size_t end) const;

  bool locked_ = false;
  size_t start_ = 0, position_ = 0;
  int64_t skipped_ = 0;
  size_t truncated_ = 0;
};

// Whether `count` more frames follow, each where the one before it ends. The end of the data is as good as all of
// them, and a last frame that is cut off counts.
template <class Scanner, class Header, class Frame>
bool FrameScanner<Scanner, Header, Frame>::joins(size_t position, const Header& header, int count) const {
  size_t end = position + Scanner::lengthOf(header);
  for (int i = 0; i < count; ++i) {
    if (end == stream_.size()) return true;
    const std::optional<Header> next = self().headerAt(end);
    if (!next) return false;
    end += Scanner::lengthOf(*next);
  }
  return true;
}

// The first byte in [from, end) that may begin a sync word; end where there is none.
template <class Scanner, class Header, class Frame>
size_t FrameScanner<Scanner, Header, Frame>::nextSync(size_t from, size_t end) const {
  if (from >= end) return end;
  const void* const sync = std::memchr(stream_.data() + from, 0xFF, end - from);
  return sync == nullptr ? end : static_cast<size_t>(static_cast<const uint8_t*>(sync) - stream_.data());
}

template <class Scanner, class Header, class Frame>
bool FrameScanner<Scanner, Header, Frame>::lock(int followers) {
  const size_t end = stream_.size() < Scanner::kHeaderBytes ? 0 : stream_.size() - Scanner::kHeaderBytes + 1;
  for (size_t at = nextSync(0, end); at < end; at = nextSync(at + 1, end)) {
    const std::optional<Header> header = Scanner::parse(slice(stream_, at));
    if (!header) continue;
    first_ = *header;
    if (!self().begins(at, at == 0 ? 1 : followers)) continue;
    start_ = at;
    return true;
  }
  return false;
}

// The first place in [from, end) where two frames of the stream join.
template <class Scanner, class Header, class Frame>
std::optional<size_t> FrameScanner<Scanner, Header, Frame>::seek(size_t from, size_t end) const {
  for (size_t at = nextSync(from, end); at < end; at = nextSync(at + 1, end)) {
    const std::optional<Header> header = self().headerAt(at);
    if (header && at + Scanner::lengthOf(*header) <= stream_.size() && joins(at, *header, 1)) return at;
  }
  return std::nullopt;
}

template <class Scanner, class Header, class Frame>
bool FrameScanner<Scanner, Header, Frame>::next(Frame& frame) {
  if (!locked_ || position_ >= stream_.size()) return false;
  frame = Frame{};

  std::optional<Header> header = self().headerAt(position_);
  if (!header) {
    const std::optional<size_t> found = seek(position_, stream_.size());
    const size_t gap = found.value_or(stream_.size()) - position_;
    if (found || !allZero(slice(stream_, position_))) skipped_ += static_cast<int64_t>(gap);
    position_ += gap;
    if (!found) return false;
    header = self().headerAt(position_);
    self().noteGap(gap, frame);
  }

  size_t end = position_ + Scanner::lengthOf(*header);
  if (end != stream_.size() && !self().headerAt(end)) {
    // Whose fault: a wrong length here, or damage behind? A pair of frames that begins inside tells.
    const std::optional<size_t> inside =
        seek(position_ + Scanner::kHeaderBytes, std::min(end, stream_.size()));
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
  self().passed(frame);
  position_ = end;
  return true;
}

}  // namespace moxc
