// Words of a stream, first byte most significant. Pointers may have any alignment.
#pragma once

#include <cstdint>
#include <cstring>

namespace moxac {

inline uint32_t loadBigEndian32(const uint8_t* p) {
  uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return __builtin_bswap32(word);
}

inline uint64_t loadBigEndian64(const uint8_t* p) {
  uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return __builtin_bswap64(word);
}

inline void storeBigEndian32(uint8_t* p, uint32_t word) {
  word = __builtin_bswap32(word);
  std::memcpy(p, &word, sizeof word);
}

}  // namespace moxac
