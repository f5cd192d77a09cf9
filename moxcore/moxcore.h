/* moxcore: the services that moxac asks of its surroundings.
 *
 * All four functions are bound dynamically: an application that defines one of them itself takes precedence
 * over this library, which is how allocators are replaced (or made to fail in tests). A replacement of
 * moxMalloc must return memory aligned to at least 16 bytes, and moxFree must match it.
 *
 * Thread use: every function may be called by any number of threads at once.
 */
#ifndef MOXCORE_H
#define MOXCORE_H

#include <stdint.h>

#if defined(__GNUC__)
#define MOXCORE_API __attribute__((visibility("default")))
#else
#define MOXCORE_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Bits of moxGetEnabledCpuFeatures. A bit is set when the processor has the feature and, for the vector
 * extensions, the operating system saves the registers it needs. */
enum {
  moxCpuSse2 = 0x01,
  moxCpuSse3 = 0x02,
  moxCpuSsse3 = 0x04,
  moxCpuSse41 = 0x08,
  moxCpuSse42 = 0x10,
  moxCpuAvx = 0x20,
  moxCpuF16c = 0x40,
  moxCpuFma = 0x80,
  moxCpuAvx2 = 0x100,
  moxCpuAvx512f = 0x200
};

/* Allocates `bytes` bytes on a 64-byte boundary; null when bytes is below 1 or memory is short. */
MOXCORE_API void* moxMalloc(int32_t bytes);

/* Releases memory from moxMalloc; null is ignored. */
MOXCORE_API void moxFree(void* pointer);

/* Returns the processor's features as the bits above. */
MOXCORE_API uint64_t moxGetEnabledCpuFeatures(void);

/* Writes the size in bytes of the largest processor cache and returns 0; returns -8 when pSizeByte is null
 * and -1, writing nothing, when neither the system nor the processor reports a cache. */
MOXCORE_API int32_t moxGetMaxCacheSizeB(int32_t* pSizeByte);

#ifdef __cplusplus
}
#endif

#endif
