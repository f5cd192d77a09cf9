// The hybrid analysis of parametric stereo.
#include "frame/checks.h"
#include "moxac/sbr.h"
#include "sbr/hybrid_kernels.h"

using namespace moxac;
using namespace moxac::sbr;

static_assert(moxPsHistorySlots == kHybridTaps - 1);

moxStatus moxsAnalysisFilter_PS_32fc_D2(const Mox32fc* const* ppSrc, Mox32fc* const* ppDst,
                                        int32_t numTimeSlots, int32_t configuration) {
  MOX_REQUIRE(notNull(ppSrc, ppDst), moxStatusNullPointer);
  MOX_REQUIRE(configuration == 20 || configuration == 34, moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  for (int32_t l = 0; l < numTimeSlots; ++l)
    configuration == 20 ? hybrid20(ppSrc + l, ppDst[l]) : hybrid34(ppSrc + l, ppDst[l]);
  return moxStatusOk;
}
