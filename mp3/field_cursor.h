// One walk over a record's fields serves both directions: a reader stores each field, a writer appends it.
// Both start on a byte boundary.
#pragma once

#include <cstdint>

#include "frame/bit_cursor.h"

namespace moxac::mp3 {

class FieldReader {
 public:
  explicit FieldReader(const uint8_t* p) : p_(p) {}

  static constexpr bool kReads = true;

  // width 1..25
  void operator()(int32_t& field, int32_t width) {
    field = static_cast<int32_t>(readBits(&p_, &bitOffset_, width));
  }

  const uint8_t* position() const { return p_; }  // the byte that holds the next bit

 private:
  const uint8_t* p_;
  int32_t bitOffset_ = 0;
};

class FieldWriter {
 public:
  explicit FieldWriter(uint8_t* p) : p_(p) {}

  static constexpr bool kReads = false;

  // width 0..31; the field's low bits are written, whatever stands above them
  void operator()(int32_t field, int32_t width) {
    writeBits(&p_, &bitOffset_, static_cast<uint32_t>(field), width);
  }

  uint8_t* position() const { return p_; }
  uint8_t* positionAfterLastByte() const { return p_ + (bitOffset_ != 0); }

 private:
  uint8_t* p_;
  int32_t bitOffset_ = 0;
};

}  // namespace moxac::mp3
