// The arithmetic-free part of the memory routines: kernels by size class. Callers choose; see memory.cpp.
#pragma once

#include <cstddef>
#include <cstdint>

namespace moxac {

// From this many bytes on, clearing asks for the cache size, and streams past a cache that is too small.
inline constexpr int64_t kLargeFillBytes = 0x200001;
// From this many bytes on, copying uses the processor's string move.
inline constexpr int64_t kStringMoveBytes = 32768;

void zeroPlain(uint8_t* dst, size_t bytes);
void zeroStreaming(uint8_t* dst, size_t bytes);  // bytes >= 64
void copyVector(const uint8_t* src, uint8_t* dst, size_t bytes);
void copyStringMove(const uint8_t* src, uint8_t* dst, size_t bytes);  // bytes >= 64

}  // namespace moxac
