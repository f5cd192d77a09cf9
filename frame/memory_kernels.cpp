// Fills and copies of memory in 32-byte pieces, past the cache or by string moves when large.
#include "frame/memory_kernels.h"

#include <cstring>
#include <initializer_list>

#include "frame/simd.h"

namespace moxac {
namespace {

constexpr size_t kFromTheEnd = 32768;      // clearing: from here on the blocks run backwards
constexpr size_t kCopyFromTheEnd = 16384;  // copying a misaligned source: likewise

size_t toBoundary(const uint8_t* p, uintptr_t grid) {
  return static_cast<size_t>(-reinterpret_cast<uintptr_t>(p) & (grid - 1));
}

template <size_t n>
void zeroPiece(uint8_t* dst) {
  for (size_t i = 0; i < n; i += 32) storeBytes32(dst + i, zeroBytes32());
}

// Fewer than 32 bytes, as the bits of the length say.
void zeroTail(uint8_t* dst, size_t bytes) {
  for (const size_t piece : {size_t{16}, size_t{8}, size_t{4}, size_t{2}, size_t{1}}) {
    if ((bytes & piece) == 0) continue;
    std::memset(dst, 0, piece);
    dst += piece;
  }
}

void copyTail(const uint8_t* src, uint8_t* dst, size_t bytes) {
  for (const size_t piece : {size_t{16}, size_t{8}, size_t{4}, size_t{2}, size_t{1}}) {
    if ((bytes & piece) == 0) continue;
    std::memcpy(dst, src, piece);
    src += piece;
    dst += piece;
  }
}

}  // namespace

void zeroPlain(uint8_t* dst, size_t bytes) {
  if (bytes >= 256 && toBoundary(dst, 32) != 0) {
    zeroPiece<32>(dst);
    const size_t advance = toBoundary(dst, 32);
    dst += advance;
    bytes -= advance;
  }
  if (bytes >= kFromTheEnd) {
    if (bytes % 64 != 0) {
      zeroPiece<64>(dst + bytes - 64);
      bytes -= bytes % 64;
    }
    for (; bytes > 0; bytes -= 64) zeroPiece<64>(dst + bytes - 64);
    return;
  }
  for (; bytes >= 256; bytes -= 256, dst += 256) zeroPiece<256>(dst);
  if (bytes & 128) zeroPiece<128>(dst), dst += 128;
  if (bytes & 64) zeroPiece<64>(dst), dst += 64;
  if (bytes & 32) zeroPiece<32>(dst), dst += 32;
  zeroTail(dst, bytes & 31);
}

void zeroStreaming(uint8_t* dst, size_t bytes) {
  if (toBoundary(dst, 64) != 0) {
    zeroPiece<64>(dst);
    const size_t advance = toBoundary(dst, 64);
    dst += advance;
    bytes -= advance;
  }
  for (; bytes >= 64; bytes -= 64, dst += 64) {
    streamBytes32(dst, zeroBytes32());
    streamBytes32(dst + 32, zeroBytes32());
  }
  if (bytes & 32) zeroPiece<32>(dst), dst += 32;
  zeroTail(dst, bytes & 31);
  storeFence();
}

void copyVector(const uint8_t* src, uint8_t* dst, size_t bytes) {
  if (bytes >= 64 && toBoundary(dst, 32) != 0) {
    storeBytes32(dst, loadBytes32(src));
    const size_t advance = toBoundary(dst, 32);
    src += advance;
    dst += advance;
    bytes -= advance;
  }
  if (bytes >= kCopyFromTheEnd && toBoundary(src, 32) != 0) {
    for (; bytes >= 64; bytes -= 64) {
      storeBytes32(dst + bytes - 32, loadBytes32(src + bytes - 32));
      storeBytes32(dst + bytes - 64, loadBytes32(src + bytes - 64));
    }
  }
  for (; bytes >= 32; bytes -= 32, src += 32, dst += 32) storeBytes32(dst, loadBytes32(src));
  copyTail(src, dst, bytes);
}

void copyStringMove(const uint8_t* src, uint8_t* dst, size_t bytes) {
  const size_t head = toBoundary(dst, 16);
  for (const size_t piece : {size_t{1}, size_t{2}, size_t{4}, size_t{8}}) {
    if ((head & piece) == 0) continue;
    std::memcpy(dst, src, piece);
    src += piece;
    dst += piece;
  }
  stringMove(src, dst, bytes - head);
}

}  // namespace moxac
