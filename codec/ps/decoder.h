// Parametric stereo: two channels from one in the QMF domain and a few numbers a frame that say how their
// levels, coherence and phases differ. ISO/IEC 14496-3, 8.6.4, with 10, 20 or 34 stereo bands, phases and
// both mixing procedures.
#pragma once

#include "codec/io/bit_reader.h"
#include "codec/ps/decorrelator.h"
#include "codec/ps/mixing.h"
#include "codec/ps/payload.h"
#include "moxac/types.h"

namespace moxc::ps {

class ParametricStereo {
 public:
  static constexpr int32_t kMaxSlots = 32;  // of a frame
  // The hybrid analysis looks ahead, and that only in the lowest QMF bands.
  static constexpr int32_t kSlotsAhead = 6, kBandsAhead = 5;

  explicit ParametricStereo(int32_t slots = kMaxSlots)
      : slots_(slots), payload_(slots) {}  // of a frame: 32 or 30

  // Reads one ps_data() payload; false when it is damaged (then the last parameters stay). What follows the
  // payload in `bits` is left there.
  bool read(BitReader& bits) { return payload_.read(bits); }
  bool active() const { return payload_.known(); }  // a header has been read

  // One frame: rows[slot][band] of the mono signal in `left` become the two channels' rows,
  // without delay. `ahead` points to the mono signal's next six slots, bands 0..4 of each: the next frame
  // will bring them again as its first ones, but this far below the bands that SBR makes they are at hand
  // already. A frame whose payload was absent or damaged repeats the last parameters; before the first header
  // both channels get the mono signal.
  void process(Mox32fc (*left)[64], Mox32fc (*right)[64], const Mox32fc* const* ahead);

 private:
  void split(const Mox32fc (*frame)[64], const Mox32fc* const* ahead);

  int32_t slots_;
  Payload payload_;
  Mixing mixing_;
  Decorrelator decorrelator_;
  Mox32fc history_[kSlotsAhead][kBandsAhead]{};  // the lowest bands in the last slots of the frame before
  Mox32fc hybrid_[kMaxSlots][32]{};              // the parts of the split QMF bands
  HybridRow mono_;
};

}  // namespace moxc::ps
