// Finds the frames of an ADTS stream: synchronisation and resynchronisation.
#pragma once

#include "mox/adts_frame.h"

namespace mox {

// Walks over a stream held in memory. The first frame must be followed by two more of the same stream, each where
// the one before it ends (or the data must end right there; at the very start of the data one will do). After that
// the walk goes from end to end; where a header is missing or misleading, the next place with two joining frames of
// the same stream is sought.
class AdtsScanner {
 public:
  explicit AdtsScanner(Bytes stream);

  bool next(AdtsFrame& frame);            // false at the end of the stream
  bool found() const { return locked_; }  // whether there is a stream at all; known from the start
  void rewind();                          // back to the first frame

  size_t position() const { return position_; }
  int64_t skippedBytes() const {
    return skipped_;
  }  // between the first frame and the end; zeros at the end are none
  size_t bytesBefore() const { return start_; }         // in front of the first frame
  size_t truncatedBytes() const { return truncated_; }  // of a last frame that is incomplete
  const AdtsHeader& firstHeader() const { return first_; }

 private:
  std::optional<AdtsHeader> headerAt(size_t position) const;  // of this stream
  bool joins(size_t position, const AdtsHeader& header, int count) const;
  bool lock(int followers);
  std::optional<size_t> seek(size_t from, size_t end) const;

  Bytes stream_;
  AdtsHeader first_;
  bool locked_ = false;
  size_t start_ = 0, position_ = 0;
  int64_t skipped_ = 0;
  size_t truncated_ = 0;
  size_t frames_ = 0, frameBytes_ = 0;  // walked over, for the average length
};

}  // namespace mox
