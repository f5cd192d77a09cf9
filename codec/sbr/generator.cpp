// The raw material of the high band.
#include "codec/sbr/generator.h"

#include <algorithm>

#include "codec/sbr/tables.h"

namespace moxc::sbr {
namespace {

// By bs_invf_mode of the frame before and of this one.
float targetChirp(int32_t previous, int32_t mode) {
  const bool betweenOffAndLow = previous + mode == 1;
  return betweenOffAndLow ? 0.6f : kChirps[mode];
}

// a + t*b of complex values
inline Mox32fc plus(Mox32fc a, Mox32fc t, Mox32fc b) {
  return {a.re + t.re * b.re - t.im * b.im, a.im + t.re * b.im + t.im * b.re};
}

}  // namespace

void Generator::updateChirps(const Bands& bands, const ChannelFrame& frame) {
  for (int32_t b = 0; b < bands.noise.bands; ++b) {
    const float target = targetChirp(mode_[b], frame.inverseFilter[b]);
    const float moved =
        target < chirp_[b] ? 0.75f * target + 0.25f * chirp_[b] : 0.90625f * target + 0.09375f * chirp_[b];
    chirp_[b] = moved < 0.015625f ? 0.0f : std::min(moved, 0.99609375f);
    mode_[b] = frame.inverseFilter[b];
  }
}

void Generator::run(const Bands& bands, const ChannelFrame& frame, int32_t slots, const LowRow* low,
                    HighRow* high) {
  updateChirps(bands, frame);

  Array<const Mox32fc*, kLowRows> rows;
  for (size_t i = 0; i < rows.size(); ++i) rows[i] = low[i];
  moxsPredictCoef_SBR_C_32fc_D2L(rows.data(), alpha0_.data(), alpha1_.data(), bands.firstBand,
                                 kHistory + slots - 2);

  Array<float, 64> chirps{};
  for (int32_t b = 0; b < bands.noise.bands; ++b)
    std::fill(chirps.begin() + bands.noise[b], chirps.begin() + bands.noise[b + 1], chirp_[b]);
  for (int32_t p = 0; p < bands.numPatches; ++p) {
    const Bands::Patch& patch = bands.patches[p];
    for (int32_t x = 0; x < patch.count; ++x) {
      const int32_t from = patch.from + x, to = patch.to + x;
      const float chirp = chirps[to], squared = chirp * chirp;
      tap1_[to] = {chirp * alpha0_[from].re, chirp * alpha0_[from].im};
      tap2_[to] = {squared * alpha1_[from].re, squared * alpha1_[from].im};
    }
  }

  const Bands::Patch& last = bands.patches[bands.numPatches - 1];
  for (int32_t slot = 2 * frame.grid.border[0]; slot < 2 * frame.grid.end(); ++slot) {
    const LowRow* const at = low + kAhead + slot;
    Mox32fc* const row = high[slot];
    for (int32_t p = 0; p < bands.numPatches; ++p) {
      const Bands::Patch& patch = bands.patches[p];
      const Mox32fc *const x0 = at[0] + patch.from, *const x1 = at[-1] + patch.from,
                           *const x2 = at[-2] + patch.from;
      const Mox32fc *const t1 = tap1_.data() + patch.to, *const t2 = tap2_.data() + patch.to;
      Mox32fc* const out = row + patch.to;
      for (int32_t x = 0; x < patch.count; ++x) out[x] = plus(plus(x0[x], t1[x], x1[x]), t2[x], x2[x]);
    }
    std::fill(row + last.to + last.count, row + bands.high.end(), Mox32fc{0, 0});
  }
}

}  // namespace moxc::sbr
