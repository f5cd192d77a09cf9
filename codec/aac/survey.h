// What was met in the blocks of an AAC stream.
#pragma once

#include "codec/aac/block.h"
#include "codec/io/memory.h"

namespace moxc::aac {

struct Survey {
  int64_t sbrBlocks = 0, couplingBlocks = 0;
  bool shortWindows = false, midSide = false, intensity = false, noise = false, tns = false;
  bool prediction = false, longTermPrediction = false;

  void note(const Block& block, int32_t objectType);
  String tools() const;  // "short windows, mid/side, TNS"; empty for none
};

}  // namespace moxc::aac
