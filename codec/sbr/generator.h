// High-frequency generation: sub-bands of the core, whitened as far as the encoder wants it, as the raw material of
// the high band. ISO/IEC 14496-3, 4.6.18.6.
#pragma once

#include "codec/io/array.h"
#include "codec/sbr/bands.h"
#include "codec/sbr/parser.h"
#include "moxac/sbr.h"

namespace moxc::sbr {

constexpr int32_t kMaxSlots = 2 * kMaxTimeSlots;  // QMF slots of a frame
constexpr int32_t kHistory = 8;                   // and of the low band in front of it
constexpr int32_t kAhead = 2;                     // where the first slot of the output lies in that history
constexpr int32_t kLowRows = kHistory + kMaxSlots;
constexpr int32_t kHighRows = kMaxSlots + 6;  // a frame's last border may lie so much behind its end
using LowRow = Mox32fc[32];
using HighRow = Mox32fc[64];

class Generator {
 public:
  // Makes the rows of `high` between the first and the last border of the frame, from the crossover up; low[2] is the
  // first of the frame's `slots`. Where no patch leads there are zeros.
  void run(const Bands& bands, const ChannelFrame& frame, int32_t slots, const LowRow* low, HighRow* high);

 private:
  void updateChirps(const Bands& bands, const ChannelFrame& frame);

  Array<float, Bands::kMaxNoiseBands> chirp_{};
  Array<uint8_t, Bands::kMaxNoiseBands> mode_{};
  // Of the low sub-bands, and, chirped, of the high ones.
  Array<Mox32fc, 64> alpha0_{}, alpha1_{}, tap1_{}, tap2_{};
};

}  // namespace moxc::sbr
