// The window arguments' checks, in documented order.
#pragma once

#include "aac/mdct_kernels.h"
#include "frame/checks.h"

namespace moxac::aac {

inline moxStatus checkWindow(const FrameWindow& window) {
  MOX_REQUIRE(inRange<int32_t>(window.sequence, MOX_AAC_ONLY_LONG, MOX_AAC_LONG_STOP),
              moxStatusAacWinSeqError);
  MOX_REQUIRE(inRange(window.shape, 0, 1), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(window.prevShape, 0, 1), moxStatusOutOfRange);
  return moxStatusOk;
}

}  // namespace moxac::aac
