// A walk over a whole AAC stream that decodes nothing but the blocks' syntax: what is in it.
#pragma once

#include "mox/aac_stream.h"

namespace mox {

struct AacSurvey {
  int64_t blocks = 0;  // damaged and lost ones included
  int64_t damaged = 0;
  int64_t sbrBlocks = 0, couplingBlocks = 0;
  bool shortWindows = false, midSide = false, intensity = false, noise = false, tns = false;
  bool prediction = false, longTermPrediction = false;

  std::string tools() const;  // "short windows, mid/side, TNS"; empty for none
};

// Walks from the start of the stream, and leaves it at its end.
AacSurvey surveyAac(AacStream& stream);

}  // namespace mox
