// The context of a fixed-point QMF bank: at the caller's pointer rounded up to 16, a header and the delay
// line in doubles, so that nothing is rounded between the words that come in and those that go out.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/context.h"

namespace moxac::sbr {

struct alignas(16) QmfFixedRecord {
  ContextId identifier;
  uint32_t allocated;
  int32_t position;  // where the next slot goes in
  int32_t bands;     // of the bank that wrote the line

  double* delay() { return reinterpret_cast<double*>(this + 1); }
};

// One family: its identifier, bands, the values of the delay line a slot brings, and how it modulates.
template <ContextId kId, int kBandsT, int kStep, class ModulationT>
struct QmfFixedBank : TaggedFamily<kId, QmfFixedRecord> {
  using Modulation = ModulationT;
  static constexpr int kBands = kBandsT;
  static constexpr int kDelay = 10 * kStep;
  static constexpr int32_t kBytes =
      TaggedFamily<kId, QmfFixedRecord>::withSlack(sizeof(QmfFixedRecord) + kDelay * sizeof(double));

  // Clears the history, which then is this bank's.
  static void start(QmfFixedRecord& record) {
    record.position = 0;
    record.bands = kBands;
    std::fill_n(record.delay(), kDelay, 0.0);
  }
};

}  // namespace moxac::sbr
