// Made by tools/gen_ps_tables.py from tools/tables/sbr; do not edit.
// The constants of parametric stereo. ISO/IEC 14496-3, 8.6.4.
// clang-format off
#pragma once

#include <cstdint>

#include "codec/io/difference_code.h"

namespace moxc::ps {

inline constexpr int32_t kAllpassDelay[3] = {3, 4, 5};  // slots
inline constexpr int32_t kBaseDelay = 2;  // slots; in front of the links
inline constexpr int32_t kLongDelay = 14;  // slots; from allpass_bands on
inline constexpr int32_t kShortDelay = 1;  // slots; from short_delay_band on
inline constexpr int32_t kHybridDelay = 6;  // slots
inline constexpr int32_t kNrIidPar[6] = {10, 20, 34, 10, 20, 34};  // by iid_mode
inline constexpr int32_t kNrIccPar[6] = {10, 20, 34, 10, 20, 34};  // by icc_mode
inline constexpr int32_t kNrIpdopdPar[6] = {5, 11, 17, 5, 11, 17};  // by iid_mode
inline constexpr int32_t kBorderBits = 5;
inline constexpr int32_t kNumEnvFixed[4] = {0, 1, 2, 4};  // by num_env_idx
inline constexpr int32_t kNumEnvVariable[4] = {1, 2, 3, 4};  // by num_env_idx
// coefficient of each all-pass link
inline constexpr double kAllpassCoef[3] = {0.65143905753106, 0.56471812200776, 0.48954165955695};
inline constexpr double kAllpassFraction[3] = {0.43, 0.75, 0.347};  // fractional delay of each link
inline constexpr double kFractionPhi = 0.39;  // and of the delay in front of the links
// by which the links' coefficients shrink a band, above the cutoff
inline constexpr double kDecaySlope = 0.05;
inline constexpr double kTransientPeakDecay = 0.76592833836465;  // of the peak power, a slot
inline constexpr double kTransientSmooth = 0.25;  // of the powers
inline constexpr double kTransientImpact = 1.5;
inline constexpr double kPhaseSmoothPrevious = 0.5;  // weight of the phasor one envelope ago
inline constexpr double kPhaseSmoothBeforePrevious = 0.25;  // and two envelopes ago
inline constexpr double kMixBRhoMin = 0.05;  // the least coherence in mixing procedure B

// What the two configurations of the hybrid filter bank differ in.
struct Configuration {
  int32_t decayCutoff;  // the all-pass links' coefficients shrink above this band
  int32_t allpassBands;  // all-pass links below, delays from here on
  int32_t shortDelayBand;  // from here on the short delay
  int32_t hybridBands;  // in all
  int32_t splitBands;  // of these, parts of QMF bands
  int32_t stereoBands;
  int32_t phaseBands;  // of these, with phases
};
inline constexpr Configuration kConfiguration20 = {10, 30, 42, 71, 10, 20, 11};
inline constexpr Configuration kConfiguration34 = {32, 50, 62, 91, 32, 34, 17};

// The hybrid bands in their order: the QMF band each is part of, its stereo band, whether it
// lies at negative frequencies, where phases turn the other way, and its centre in QMF bands.
struct HybridBand {
  int8_t qmfBand, stereoBand;
  bool conjugate;
  double centre;
};
extern const HybridBand kHybridBands20[71];
extern const HybridBand kHybridBands34[91];

// Terms of the conversions between numbers of stereo bands: out = sum of weight * in / divisor.
struct MapTerm {
  int8_t out, in, weight, divisor;
};
extern const MapTerm k10To20[20];
extern const MapTerm k20To34[36];
extern const MapTerm k34To20[36];
extern const MapTerm k10To34[34];

// level difference in dB, from -7 on
inline constexpr int32_t kIidCoarse[15] = {-25, -18, -14, -10, -7, -4, -2, 0, 2, 4, 7, 10, 14, 18, 25};
// level difference in dB, from -15 on
inline constexpr int32_t kIidFine[31] = {
    -50, -45, -40, -35, -30, -25, -22, -19, -16, -13, -10, -8, -6, -4, -2, 0, 2, 4, 6, 8, 10, 13, 16, 19, 22,
    25, 30, 35, 40, 45, 50,
};
// coherence by index
inline constexpr double kIcc[8] = {1.0, 0.937, 0.84118, 0.60092, 0.36764, 0.0, -0.589, -1.0};

extern const DifferenceCodeNode kIidDfCoarse[28];
extern const DifferenceCodeNode kIidDtCoarse[28];
extern const DifferenceCodeNode kIidDfFine[60];
extern const DifferenceCodeNode kIidDtFine[60];
extern const DifferenceCodeNode kIccDf[14];
extern const DifferenceCodeNode kIccDt[14];
extern const DifferenceCodeNode kIpdDf[7];
extern const DifferenceCodeNode kIpdDt[7];
extern const DifferenceCodeNode kOpdDf[7];
extern const DifferenceCodeNode kOpdDt[7];

}  // namespace moxc::ps
