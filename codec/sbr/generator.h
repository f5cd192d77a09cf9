// High-frequency generation: sub-bands of the core, whitened as far as the encoder wants it, as the raw material of
// the high band. ISO/IEC 14496-3, 4.6.18.6.
#pragma once

#include <array>

#include "codec/sbr/bands.h"
#include "codec/sbr/parser.h"
#include "moxac/sbr.h"

namespace mox {

constexpr int32_t kSbrSlots = 2 * kSbrTimeSlots;  // QMF slots of a frame
constexpr int32_t kSbrHistory = 8;                // and of the low band in front of it
constexpr int32_t kSbrAhead = 2;                  // where the first slot of the output lies in that history
constexpr int32_t kSbrLowRows = kSbrHistory + kSbrSlots;
constexpr int32_t kSbrHighRows = kSbrSlots + 6;  // a frame's last border may lie so much behind its end
using SbrLowRow = Mox32fc[32];
using SbrHighRow = Mox32fc[64];

class SbrGenerator {
 public:
  // Makes rows firstSlot to endSlot - 1 of `high`, from the crossover up; low[2] is the frame's slot 0. Where no patch
  // leads there are zeros.
  void run(const SbrBands& bands, const SbrChannelFrame& frame, const SbrLowRow* low, SbrHighRow* high);

 private:
  void updateChirps(const SbrBands& bands, const SbrChannelFrame& frame);

  std::array<float, SbrBands::kMaxNoiseBands> chirp_{};
  std::array<uint8_t, SbrBands::kMaxNoiseBands> mode_{};
  // Of the low sub-bands, and, chirped, of the high ones.
  std::array<Mox32fc, 64> alpha0_{}, alpha1_{}, tap1_{}, tap2_{};
};

}  // namespace mox
