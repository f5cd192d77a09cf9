// The bytes of an input that were fed and are not yet used up: a buffer of fixed size, moved along the input.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "codec/io/bytes.h"

namespace moxc {

class ByteWindow {
 public:
  // `capacity` bytes can be looked at together.
  explicit ByteWindow(size_t capacity) : buffer_(capacity + kReadable) {}

  // Takes as many as there is room for.
  size_t feed(Bytes bytes) {
    const size_t capacity = buffer_.size() - kReadable;
    if (bytes.size() > capacity - end_ && begin_ > 0) {
      std::copy(buffer_.begin() + static_cast<ptrdiff_t>(begin_),
                buffer_.begin() + static_cast<ptrdiff_t>(end_), buffer_.begin());
      end_ -= begin_;
      begin_ = 0;
    }
    const size_t count = std::min(bytes.size(), capacity - end_);
    std::copy_n(bytes.begin(), count, buffer_.begin() + static_cast<ptrdiff_t>(end_));
    end_ += count;
    fed_ += static_cast<int64_t>(count);
    return count;
  }
  // What is there, from the first unused byte on; at least 8 more bytes behind it are readable.
  Bytes bytes() const { return {buffer_.data() + begin_, end_ - begin_}; }
  size_t size() const { return end_ - begin_; }
  void drop(size_t count) { begin_ += std::min(count, size()); }

  // Where in the input the first unused byte stands, and the next to be fed.
  int64_t position() const { return fed_ - static_cast<int64_t>(size()); }
  int64_t inputPosition() const { return fed_; }
  // Forgets everything: what is fed next stands there in the input.
  void jump(int64_t position) {
    begin_ = end_ = 0;
    fed_ = position;
  }

 private:
  static constexpr size_t kReadable = 8;

  std::vector<uint8_t> buffer_;
  size_t begin_ = 0, end_ = 0;
  int64_t fed_ = 0;
};

}  // namespace moxc
