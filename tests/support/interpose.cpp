// An application that brings its own core services: the shared library must use these.
#include <moxac.h>

#include "moxcore/moxcore.h"

namespace {
int featureCalls = 0;
}

uint64_t moxGetEnabledCpuFeatures() {
  ++featureCalls;
  return 0;
}

int main() {
  // The library asked for the features once, when it was loaded.
  return featureCalls == 1 && moxacGetLibVersion() != nullptr ? 0 : 1;
}
