// Shape of the Layer III code tables. ISO/IEC 11172-3, Table B.7.
#pragma once

#include <cstdint>

namespace moxac::mp3 {

// `length` bits, 1..19, most significant first. Sign bits and linbits come on top.
struct Layer3Code {
  uint16_t code;
  uint8_t length;
};

// A big-value table: codes of the pairs (x, y) at x * width + y. Tables 0, 4 and 14 have none.
struct PairTable {
  const Layer3Code* codes;
  int32_t width;    // largest coded value plus one
  int32_t linBits;  // width of the escape field behind a 15; with 0, 15 is a plain value
};

}  // namespace moxac::mp3
