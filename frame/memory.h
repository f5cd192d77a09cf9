// Allocation through the core service library, and the fill and copy routines.
#pragma once

#include <cstdint>

#include "moxac/types.h"

namespace moxac {

// A count below 1 gives null without asking the allocator; so does a byte count above INT32_MAX.
void* allocBytes(int32_t bytes);
void* allocWords32(int32_t words);
void freeBlock(void* block);

// Null: moxStatusNullPointer; a count below 1: moxStatusBadSize.
moxStatus fillZeroBytes(void* dst, int32_t bytes);
moxStatus fillZeroWords32(void* dst, int32_t words);
moxStatus copyBytes(const void* src, void* dst, int32_t bytes);

}  // namespace moxac
