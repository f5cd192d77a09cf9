// Streams for the parser tests: fields most significant bit first, at any bit offset of the first byte.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "support/bits.h"
#include "support/block.h"
#include "support/guard_page.h"

namespace moxtest {

inline uint32_t drawBits(int32_t n) { return static_cast<uint32_t>(noise()() & ((uint64_t{1} << n) - 1)); }

// A stream that is drawn field by field, or one that is replayed: then the fields are what its bits say.
class BitWriter {
 public:
  explicit BitWriter(int32_t startOffset = 0) : start_(startOffset) {
    bits_.put(0x55u >> (8 - startOffset), startOffset);
  }

  BitWriter& put(uint32_t value, int32_t n) { return bits_.put(value, n), *this; }
  BitWriter& align() { return bits_.align(true), *this; }
  // The next field: `value` is appended; in a replay n bits are read.
  int32_t field(int32_t n, int32_t value) {
    if (!replayed_) return put(static_cast<uint32_t>(value), n), value;
    for (value = 0; n > 0; --n) value = 2 * value + bitAt(static_cast<size_t>(start_ + replayedBits_++));
    return value;
  }
  int32_t size() const { return replayed_ ? replayedBits_ : bits_.size() - start_; }  // bits put or replayed

  // The same bits, `flips` of those behind `from` flipped, to be read from there.
  BitWriter replay(int32_t from, int32_t flips) const {
    BitWriter other(start_);
    other.bits_ = bits_;
    for (int32_t i = 0; i < flips; ++i)
      other.bits_.flip(static_cast<size_t>(start_ + from + below(size() - from)));
    other.replayed_ = true;
    other.replayedBits_ = from;
    return other;
  }

  // Lays the stream so that three bytes follow the last one that holds bits, and then an unreadable page.
  void lay() {
    const size_t bytes = static_cast<size_t>(start_ + size() + 7) / 8 + 3;
    page_ = std::make_unique<GuardPage>(bytes);
    std::fill_n(page_->data(), bytes, uint8_t{0});
    for (size_t i = 0; i < 8 * bytes; ++i)
      page_->data()[i / 8] = static_cast<uint8_t>(page_->data()[i / 8] | bitAt(i) << (7 - i % 8));
    stream = page_->data();
    offset = start_;
  }
  // Bits between the laid stream's start and the cursor.
  int32_t consumed() const { return static_cast<int32_t>(8 * (stream - page_->data())) + offset - start_; }

  const uint8_t* stream = nullptr;  // the cursor
  int32_t offset = 0;

 private:
  int32_t bitAt(size_t i) const {  // some pattern behind the bits put
    return i < static_cast<size_t>(bits_.size())
               ? bits_[i]
               : static_cast<uint8_t>(i / 8 * 167 + 0xB7) >> (7 - i % 8) & 1;
  }

  int32_t start_;
  bool replayed_ = false;
  int32_t replayedBits_ = 0;
  Bits bits_;
  std::unique_ptr<GuardPage> page_;
};

}  // namespace moxtest
