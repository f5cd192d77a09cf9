// Finds the frames of an MPEG audio Layer III stream: synchronisation, resynchronisation, free format.
#pragma once

#include "mox/mp3_frame.h"

namespace mox {

// Walks over a stream held in memory. Twelve sync bits prove little, so the first frame must be followed by
// two more of the same stream, each where the one before it ends (or the data must end right there; at the
// very start of the data one will do). After that the walk goes from end to end and trusts what it finds
// there; when a header is missing or misleading, the next place with two joining frames of the same stream is
// sought.
class Mp3Scanner {
 public:
  explicit Mp3Scanner(Bytes stream);

  bool next(Mp3Frame& frame);             // false at the end of the stream
  bool found() const { return locked_; }  // whether there is a stream at all; known from the start
  void rewind();                          // back to the first frame

  size_t position() const { return position_; }
  int64_t skippedBytes() const {
    return skipped_;
  }  // between the first frame and the end; zeros at the end are none
  size_t bytesBefore() const { return start_; }          // in front of the first frame
  size_t truncatedBytes() const { return truncated_; }   // of a last frame that is incomplete
  size_t freeFormatBytes() const { return freeBytes_; }  // frame length without padding; 0: not free format
  const Mp3Header& firstHeader() const { return first_; }

 private:
  std::optional<Mp3Header> headerAt(size_t position) const;  // of this stream, with its frame length
  bool joins(size_t position, const Mp3Header& header, int count) const;
  bool lock(int followers);
  size_t freeFormatLength(size_t position, const Mp3Header& header);
  std::optional<size_t> seek(size_t from, size_t end) const;

  Bytes stream_;
  Mp3Header first_;
  bool locked_ = false;
  size_t start_ = 0, position_ = 0;
  size_t freeBytes_ = 0;
  size_t lastBytes_ = 0;     // length of the frame before
  size_t searchBudget_ = 0;  // bytes that looking for free-format lengths may still examine
  int64_t skipped_ = 0;
  size_t truncated_ = 0;
};

}  // namespace mox
