// Writes streams for the parser tests: fields most significant bit first, at any bit offset of the first
// byte.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "support/guard_page.h"

namespace moxtest {

class BitWriter {
 public:
  explicit BitWriter(int32_t startOffset = 0) : start_(startOffset) {
    put(0x55u >> (8 - startOffset), startOffset);
  }

  BitWriter& put(uint32_t value, int32_t bits) {
    for (int32_t i = bits - 1; i >= 0; --i) bits_.push_back(((value >> i) & 1u) != 0);
    return *this;
  }
  BitWriter& align(bool fill = true) {
    while (bits_.size() % 8 != 0) bits_.push_back(fill);
    return *this;
  }
  int32_t size() const { return static_cast<int32_t>(bits_.size()) - start_; }  // bits put

  BitWriter copy() const {  // of the bits; not laid
    BitWriter other(start_);
    other.bits_ = bits_;
    return other;
  }
  void flip(int32_t i) { bits_[static_cast<size_t>(start_ + i)].flip(); }

  // Lays the stream in `bytes` bytes that end at an unreadable page, cut or filled up as needed; by default
  // three bytes follow the last one that holds bits. The cursor lives until the next call.
  void lay() { lay((bits_.size() + 7) / 8 + 3); }
  void lay(size_t bytes) {
    page_ = std::make_unique<GuardPage>(bytes);
    for (size_t i = 0; i < bytes; ++i) page_->data()[i] = static_cast<uint8_t>(i * 167 + 0xB7);
    for (size_t i = 0; i < std::min(bits_.size(), 8 * bytes); ++i) {
      uint8_t& byte = page_->data()[i / 8];
      const auto mask = static_cast<uint8_t>(0x80 >> (i % 8));
      byte = static_cast<uint8_t>(bits_[i] ? byte | mask : byte & ~mask);
    }
    stream = page_->data();
    offset = start_;
  }
  // Bits between the laid stream's start and the cursor.
  int32_t consumed() const { return static_cast<int32_t>(8 * (stream - page_->data())) + offset - start_; }

  const uint8_t* stream = nullptr;  // the cursor
  int32_t offset = 0;

 private:
  int32_t start_;
  std::vector<bool> bits_;
  std::unique_ptr<GuardPage> page_;
};

}  // namespace moxtest
