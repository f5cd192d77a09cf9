// Allocation by the core library, fills and copies of memory blocks.
#include "frame/memory.h"

#include <cstdint>

#include "frame/checks.h"
#include "frame/memory_kernels.h"
#include "moxcore/moxcore.h"

namespace moxac {
namespace {

// Large fills stream past the cache when the block does not fit into it anyway.
void zeroLarge(uint8_t* dst, int64_t bytes) {
  int32_t cacheBytes = 0;
  const bool known = moxGetMaxCacheSizeB(&cacheBytes) == 0 && cacheBytes > 0;
  if (known && bytes > cacheBytes)
    zeroStreaming(dst, static_cast<size_t>(bytes));
  else
    zeroPlain(dst, static_cast<size_t>(bytes));
}

moxStatus fillZero(void* dst, int32_t count, int64_t elementBytes) {
  MOX_REQUIRE(notNull(dst), moxStatusNullPointer);
  MOX_REQUIRE(count >= 1, moxStatusBadSize);

  uint8_t* const p = static_cast<uint8_t*>(dst);
  const int64_t bytes = count * elementBytes;
  if (bytes < kLargeFillBytes)
    zeroPlain(p, static_cast<size_t>(bytes));
  else
    zeroLarge(p, bytes);
  return moxStatusOk;
}

}  // namespace

void* allocBytes(int32_t bytes) { return bytes < 1 ? nullptr : moxMalloc(bytes); }

void* allocWords32(int32_t words) {
  const int64_t bytes = int64_t{words} * 4;
  return words < 1 || bytes > INT32_MAX ? nullptr : moxMalloc(static_cast<int32_t>(bytes));
}

void freeBlock(void* block) { moxFree(block); }

moxStatus fillZeroBytes(void* dst, int32_t bytes) { return fillZero(dst, bytes, 1); }

moxStatus fillZeroWords32(void* dst, int32_t words) { return fillZero(dst, words, 4); }

moxStatus copyBytes(const void* src, void* dst, int32_t bytes) {
  MOX_REQUIRE(notNull(src, dst), moxStatusNullPointer);
  MOX_REQUIRE(bytes >= 1, moxStatusBadSize);

  const uint8_t* const from = static_cast<const uint8_t*>(src);
  uint8_t* const to = static_cast<uint8_t*>(dst);
  if (bytes >= kStringMoveBytes)
    copyStringMove(from, to, static_cast<size_t>(bytes));
  else
    copyVector(from, to, static_cast<size_t>(bytes));
  return moxStatusOk;
}

}  // namespace moxac
