// The matrices that mix the two channels from the mono signal and its diffuse counterpart: from indices to
// factors, and from slot to slot. ISO/IEC 14496-3, 8.6.4.6.
#pragma once

#include <cstdint>

#include "codec/io/array.h"
#include "codec/ps/hybrid_row.h"
#include "codec/ps/payload.h"

namespace moxc::ps {

class Mixing {
 public:
  Mixing();

  // For 34 stereo bands or for 20. At a change the last matrices are converted and the phases' history is
  // forgotten.
  void configure(bool wide);
  // From where the last envelope ended to this one's factors in so many slots, at least 0.
  void aim(const Envelope& envelope, const Header& header, bool phasesOn, int32_t slots);
  // The envelope's slot number `slot`, from 1 on.
  void mix(int32_t slot, const HybridRow& mono, const HybridRow& diffuse, HybridRow& left,
           HybridRow& right) const;

 private:
  enum Factor {
    kH11,
    kH12,
    kH21,
    kH22,
    kFactors
  };  // left = h11*mono + h21*diffuse, right = h12*mono + h22*diffuse
  using Real = Array<float, kFactors>;
  struct Matrices {  // by stereo band
    float re[kFactors][34]{}, im[kFactors][34]{};
  };
  struct Phasor {
    float re = 1, im = 0;
  };
  // The phase of a stereo band in the last two envelopes, as phasors.
  struct PhaseHistory {
    Phasor last, before;
    Phasor next(int8_t index);  // the smoothed phase of one more envelope
  };
  static constexpr int32_t kLevels = 15 + 31;  // coarse, then fine

  void expand(int32_t slots);

  Real mixed_[2][kLevels][8];  // procedure A and B, by level and coherence
  bool wide_ = false;
  Matrices from_, to_;
  Array<PhaseHistory, 17> overall_, inter_;
  // The same by hybrid band: where the envelope starts and what a slot adds.
  bool turns_ = false;  // some factor is not real
  HybridRow start_[kFactors], step_[kFactors];
};

}  // namespace moxc::ps
