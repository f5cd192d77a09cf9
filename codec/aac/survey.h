// A walk over a whole AAC stream that decodes nothing but the blocks' syntax: what is in it.
#pragma once

#include "codec/aac/stream.h"

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

// What doubles a stream's sample rate, and makes two channels of one.
struct AacReplication {
  bool bands = false;   // spectral band replication: HE-AAC
  bool stereo = false;  // with parametric stereo: HE-AAC v2
};

// What the container announces or most of the first blocks hold. Leaves the stream at its start.
AacReplication findReplication(AacStream& stream);

}  // namespace mox
