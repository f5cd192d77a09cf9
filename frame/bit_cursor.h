// The bitstream cursor: a byte pointer plus the number of bits of that byte already consumed (0..7).
// Fields are stored most significant bit first. None of the three primitives checks its arguments;
// the exported operations do, before the first call.
#pragma once

#include <cstdint>

namespace moxac {

// Reads the next n bits, right-aligned, and advances. Valid while bitOffset + n <= 32, so every n from 1
// to 25 is. One four-byte gather, no loop, no branch: up to three bytes past the field's last byte are
// touched. n = 0 at offset 0 yields the next 32 bits, because the shift is taken modulo 32.
inline uint32_t readBits(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t n) {
  const uint8_t* const p = *ppBitStream;
  const uint32_t k = static_cast<uint32_t>(*pBitOffset);
  const uint32_t end = k + static_cast<uint32_t>(n);
  const uint32_t word =
      (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | uint32_t{p[3]};
  *ppBitStream = p + end / 8;
  *pBitOffset = static_cast<int32_t>(end % 8);
  return (word & (0xFFFFFFFFu >> k)) >> ((32u - end) & 31u);
}

// Moves to the next byte boundary; does nothing when already on one.
inline void alignToByte(const uint8_t** ppBitStream, int32_t* pBitOffset) {
  if (*pBitOffset != 0) {
    ++*ppBitStream;
    *pBitOffset = 0;
  }
}

// Appends the low n bits of value, n = 0..31 (32 would write zeros: the mask shift is taken modulo 32).
// A byte entered at offset 0 starts afresh and every byte is stored whole with zeros below the cursor, so
// the buffer needs no clearing. When the field ends on a byte boundary the following byte is read and
// written back unchanged: the buffer holds one byte beyond the written bits.
inline void writeBits(uint8_t** ppBitStream, int32_t* pBitOffset, uint32_t value, int32_t n) {
  if (n == 0) return;
  uint8_t* p = *ppBitStream;
  const uint32_t k = static_cast<uint32_t>(*pBitOffset);
  const uint32_t mask = ~(0xFFFFFFFFu << (static_cast<uint32_t>(n) & 31u));
  const uint32_t field = value & mask;
  uint32_t left = k + static_cast<uint32_t>(n);
  const uint32_t current = k == 0 ? 0u : *p;  // a byte entered at its start is begun afresh
  if (left <= 7) {
    *p = static_cast<uint8_t>(current | (field << (8 - left)));
    *pBitOffset = static_cast<int32_t>(left);
    return;
  }
  // The bits above the cursor, then the field: at most 7 + 32 bits.
  const uint64_t bits = (static_cast<uint64_t>(current >> (8 - k)) << n) | field;
  while (left > 7) {
    left -= 8;
    *p++ = static_cast<uint8_t>(bits >> left);
  }
  // At a byte boundary the next byte is read and written back unchanged, deliberately.
  *p = left == 0 ? *p : static_cast<uint8_t>(bits << (8 - left));
  *ppBitStream = p;
  *pBitOffset = static_cast<int32_t>(left);
}

}  // namespace moxac
