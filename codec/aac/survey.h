// A walk over a whole AAC stream that decodes nothing but the blocks' syntax: what is in it.
#pragma once

#include "codec/aac/stream.h"

namespace moxc::aac {

struct Survey {
  int64_t blocks = 0;  // damaged and lost ones included
  int64_t damaged = 0;
  int64_t sbrBlocks = 0, couplingBlocks = 0;
  bool shortWindows = false, midSide = false, intensity = false, noise = false, tns = false;
  bool prediction = false, longTermPrediction = false;

  std::string tools() const;  // "short windows, mid/side, TNS"; empty for none
};

// Walks from the start of the stream, and leaves it at its end.
Survey takeSurvey(Stream& stream);

// What doubles a stream's sample rate, and makes two channels of one.
struct Replication {
  bool bands = false;   // spectral band replication: HE-AAC
  bool stereo = false;  // with parametric stereo: HE-AAC v2
};

// What the container announces or most of the first blocks hold. Leaves the stream at its start.
Replication findReplication(Stream& stream);

}  // namespace moxc::aac
