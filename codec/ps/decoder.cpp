// Parametric stereo: hybrid analysis, mixing and back.
#include "codec/ps/decoder.h"

#include <algorithm>

#include "codec/ps/tables.h"
#include "moxac/sbr.h"

namespace moxc::ps {
namespace {

struct Layout {
  explicit Layout(bool wide)
      : bands(wide ? kHybridBands34 : kHybridBands20),
        split((wide ? kConfiguration34 : kConfiguration20).splitBands),
        whole(bands[split].qmfBand) {}
  const HybridBand* bands;
  int32_t split;  // hybrid bands that come from splitting QMF bands
  int32_t whole;  // the first QMF band that is not split
};

void gather(const Layout& layout, const Mox32fc* split, const Mox32fc* qmf, HybridRow& row) {
  for (int32_t k = 0; k < layout.split; ++k) {
    row.re[k] = split[k].re;
    row.im[k] = split[k].im;
  }
  float *re = row.re + layout.split - layout.whole, *im = row.im + layout.split - layout.whole;
  for (int32_t q = layout.whole; q < 64; ++q) {
    re[q] = qmf[q].re;
    im[q] = qmf[q].im;
  }
}

// The parts of a split band add up to it.
void scatter(const Layout& layout, const HybridRow& row, Mox32fc* qmf) {
  std::fill(qmf, qmf + layout.whole, Mox32fc{});
  for (int32_t k = 0; k < layout.split; ++k) {
    Mox32fc& sum = qmf[layout.bands[k].qmfBand];
    sum.re += row.re[k];
    sum.im += row.im[k];
  }
  const float *re = row.re + layout.split - layout.whole, *im = row.im + layout.split - layout.whole;
  for (int32_t q = layout.whole; q < 64; ++q) qmf[q] = {re[q], im[q]};
}

}  // namespace

void ParametricStereo::process(Mox32fc (*left)[64], Mox32fc (*right)[64], const Mox32fc* const* ahead) {
  const bool wide = payload_.wide();
  decorrelator_.configure(wide);
  mixing_.configure(wide);
  split(left, ahead);

  const Layout layout(wide);
  HybridRow diffuse, first, second;
  int32_t start = -1;
  for (int32_t e = 0; e < payload_.count(); ++e) {
    const int32_t end = payload_.border(e);
    mixing_.aim(payload_.envelope(e), payload_.header(), payload_.phasesOn(), end - start);
    for (int32_t slot = start + 1; slot <= end; ++slot) {
      gather(layout, hybrid_[slot], left[slot], mono_);
      decorrelator_.run(mono_, diffuse);
      mixing_.mix(slot - start, mono_, diffuse, first, second);
      scatter(layout, first, left[slot]);
      scatter(layout, second, right[slot]);
    }
    start = end;
  }
  payload_.holdLast();
}

// Splits the lowest QMF bands of the frame into hybrid_.
void ParametricStereo::split(const Mox32fc (*frame)[64], const Mox32fc* const* ahead) {
  const Mox32fc* from[moxPsHistorySlots + kMaxSlots];
  Mox32fc* to[kMaxSlots];
  const Mox32fc** row = from;
  for (const auto& old : history_) *row++ = old;
  for (int32_t slot = 0; slot < slots_; ++slot) *row++ = frame[slot];
  for (int32_t slot = 0; slot < kSlotsAhead; ++slot) *row++ = ahead[slot];
  for (int32_t slot = 0; slot < slots_; ++slot) to[slot] = hybrid_[slot];
  moxsAnalysisFilter_PS_32fc_D2(from, to, slots_, payload_.wide() ? 34 : 20);

  for (int32_t slot = 0; slot < kSlotsAhead; ++slot)
    std::copy_n(frame[slots_ - kSlotsAhead + slot], kBandsAhead, history_[slot]);
}

}  // namespace moxc::ps
