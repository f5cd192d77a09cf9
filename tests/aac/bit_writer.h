// Writes streams for the parser tests: fields most significant bit first, at any bit offset of the first
// byte.
#pragma once

#include <cstdint>
#include <cstring>
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
  bool bitAt(size_t i) const { return bits_[static_cast<size_t>(start_) + i]; }

  // Lays the stream against an unreadable page with `slack` noise bytes behind the last byte that holds bits.
  // The returned cursor lives until the next call.
  void lay(size_t slack = 3) {
    const size_t used = (bits_.size() + 7) / 8;
    page_ = std::make_unique<GuardPage>(used + slack);
    std::memset(page_->data(), 0xB7, used + slack);
    for (size_t i = 0; i < bits_.size(); ++i) {
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
