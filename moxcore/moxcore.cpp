// The core services by the C library, the cpuid instruction and sysconf. Every definition is weak: also from the archive
// an application's own takes precedence, function by function.
#include "moxcore.h"

#include <cpuid.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>

namespace {

constexpr size_t kAlignment = 64;

struct CpuidLeaf {
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

CpuidLeaf cpuid(unsigned leaf, unsigned subleaf = 0) {
  CpuidLeaf r;
  __get_cpuid_count(leaf, subleaf, &r.eax, &r.ebx, &r.ecx, &r.edx);
  return r;
}

// The register sets that the operating system saves (extended control register 0).
uint64_t savedRegisterSets(unsigned featuresEcx) {
  constexpr unsigned kOsUsesXsave = 1u << 27;
  if ((featuresEcx & kOsUsesXsave) == 0) return 0;
  uint32_t low = 0;
  uint32_t high = 0;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (uint64_t{high} << 32) | low;
}

// Largest cache by the deterministic cache leaf: 4 on Intel, 0x8000001D on AMD.
int64_t largestCacheByCpuid() {
  int64_t largest = 0;
  for (const unsigned leaf : {4u, 0x8000001Du}) {
    constexpr unsigned kMostCaches = 16;
    for (unsigned i = 0; i < kMostCaches; ++i) {
      const CpuidLeaf c = cpuid(leaf, i);
      if ((c.eax & 31u) == 0) break;  // no more caches
      const int64_t ways = (c.ebx >> 22) + 1;
      const int64_t partitions = ((c.ebx >> 12) & 0x3FFu) + 1;
      const int64_t lineBytes = (c.ebx & 0xFFFu) + 1;
      const int64_t sets = int64_t{c.ecx} + 1;
      largest = std::max(largest, ways * partitions * lineBytes * sets);
    }
  }
  return largest;
}

}  // namespace

[[gnu::weak]] void* moxMalloc(int32_t bytes) {
  if (bytes < 1) return nullptr;
  const size_t rounded = (static_cast<size_t>(bytes) + kAlignment - 1) / kAlignment * kAlignment;
  return std::aligned_alloc(kAlignment, rounded);
}

[[gnu::weak]] void moxFree(void* pointer) { std::free(pointer); }

[[gnu::weak]] uint64_t moxGetEnabledCpuFeatures() {
  const CpuidLeaf basic = cpuid(1);
  const CpuidLeaf extended = cpuid(7);
  const uint64_t saved = savedRegisterSets(basic.ecx);
  const bool ymm = (saved & 0x06) == 0x06;
  const bool zmm = (saved & 0xE6) == 0xE6;
  const auto bit = [](unsigned word, int n) { return ((word >> n) & 1u) != 0; };

  uint64_t features = 0;
  const auto add = [&features](bool present, uint64_t feature) {
    if (present) features |= feature;
  };
  add(bit(basic.edx, 26), moxCpuSse2);
  add(bit(basic.ecx, 0), moxCpuSse3);
  add(bit(basic.ecx, 9), moxCpuSsse3);
  add(bit(basic.ecx, 19), moxCpuSse41);
  add(bit(basic.ecx, 20), moxCpuSse42);
  add(ymm && bit(basic.ecx, 28), moxCpuAvx);
  add(ymm && bit(basic.ecx, 29), moxCpuF16c);
  add(ymm && bit(basic.ecx, 12), moxCpuFma);
  add(ymm && bit(extended.ebx, 5), moxCpuAvx2);
  add(zmm && bit(extended.ebx, 16), moxCpuAvx512f);
  return features;
}

[[gnu::weak]] int32_t moxGetMaxCacheSizeB(int32_t* pSizeByte) {
  if (pSizeByte == nullptr) return -8;
  int64_t largest = largestCacheByCpuid();
  for (const int level : {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE})
    largest = std::max<int64_t>(largest, sysconf(level));
  if (largest < 1) return -1;
  *pSizeByte = static_cast<int32_t>(std::min<int64_t>(largest, INT32_MAX));
  return 0;
}
