// The one thing done when the library is attached to a process.
#include "frame/load.h"

#include "moxcore/moxcore.h"

namespace moxac {

int32_t loadTimeFeatureFlag = 0;

namespace {

__attribute__((constructor)) void onLoad() { loadTimeFeatureFlag = featureFlag(moxGetEnabledCpuFeatures()); }

}  // namespace
}  // namespace moxac
