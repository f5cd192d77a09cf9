// Makes the diffuse counterpart of the mono signal: all-pass chains in the lower hybrid bands, delays above,
// less of it while a transient dies away. ISO/IEC 14496-3, 8.6.4.5.
#pragma once

#include <cstddef>
#include <cstdint>

#include "codec/io/array.h"
#include "codec/ps/hybrid_row.h"

namespace moxc::ps {

class Decorrelator {
 public:
  Decorrelator() { start(false); }

  // For 34 stereo bands or for 20. A change empties the delay lines: their bands are others then.
  void configure(bool wide) {
    if (wide != wide_) start(wide);
  }
  // The next slot.
  void run(const HybridRow& mono, HybridRow& diffuse);

 private:
  static constexpr int32_t kLinks = 3, kAllpassWidth = 56;  // 30 or 50 bands, and room up to whole vectors
  static constexpr uint32_t kLineRows = 16, kLinkRows = 8;  // powers of two above the delays

  struct AllpassRow {
    alignas(32) float re[kAllpassWidth]{}, im[kAllpassWidth]{};
  };
  struct Link {
    AllpassRow turn;                              // fractional delay, as a factor
    alignas(32) float feedback[kAllpassWidth]{};  // coefficient
    AllpassRow state[kLinkRows];
  };
  static constexpr size_t kBands = 34;  // stereo bands, or 20 of them
  using BandValues = Array<float, kBands>;

  void start(bool wide);
  void attenuate(const HybridRow& mono, float* gains);
  void allpass(AllpassRow& x);

  bool wide_ = false;
  uint32_t slot_ = 0;
  HybridRow line_[kLineRows];  // the mono signal's last slots
  AllpassRow turn_;
  Link links_[kLinks];
  // Of the hybrid bands that are whole QMF bands, whole_[b] up to whole_[b + 1] belong to stereo band b.
  Array<int32_t, kBands + 1> whole_{};
  BandValues peak_{}, mean_{}, excess_{};  // decaying peak of the power; smoothed: power, and peak above it
};

}  // namespace moxc::ps
