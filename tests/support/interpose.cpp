// An application that brings its own core services: the shared library must use these.
#include <moxac.h>

#include <cstdlib>

#include "moxcore/moxcore.h"

namespace {
int featureCalls = 0;
int allocations = 0, releases = 0;
bool fails = false;
}  // namespace

uint64_t moxGetEnabledCpuFeatures() {
  ++featureCalls;
  return 0;
}

void* moxMalloc(int32_t bytes) {
  ++allocations;
  return fails ? nullptr : std::malloc(static_cast<size_t>(bytes));
}

void moxFree(void* pointer) {
  ++releases;
  std::free(pointer);
}

int main() {
  // The library asked for the features once, when it was loaded.
  if (featureCalls != 1 || moxacGetLibVersion() == nullptr) return 1;

  const int32_t book[] = {0, 0, 1, 1, 1, 1};
  MoxVlcEncodeSpec* spec = nullptr;
  if (moxsVLCEncodeInitAlloc_32s(book, 2, &spec) != moxStatusOk || allocations != 1) return 2;
  moxsVLCEncodeFree_32s(spec);
  if (releases != 1) return 3;
  fails = true;
  return moxsVLCEncodeInitAlloc_32s(book, 2, &spec) == moxStatusOutOfMemory && spec == nullptr ? 0 : 4;
}
