// The choice between left/right and mid/side coding, frame by frame. ISO/IEC 11172-3, 2.4.3.4.9 and Annex G.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "frame/checks.h"
#include "frame/simd.h"
#include "moxac/mp3.h"
#include "mp3/encoder_parameters.h"
#include "mp3/quantize_kernels.h"

namespace moxac::mp3 {
namespace {

// A granule in both codings: left and right, mid and side.
struct GranulePair {
  alignas(32) float line[2][kMp3Lines];
  GranuleSpectrum spectrum[2];
};

// Orthonormal, its own inverse: M = (L + R) / sqrt 2, S = (L - R) / sqrt 2.
void toMidSide(const GranulePair& leftRight, GranulePair& midSide) {
  const f32x8 root = splat8(0.707106781186547524f);
  for (int32_t k = 0; k < kMp3Lines; k += 8) {
    const f32x8 l = load8(leftRight.line[0] + k), r = load8(leftRight.line[1] + k);
    store8(midSide.line[0] + k, (l + r) * root);
    store8(midSide.line[1] + k, (l - r) * root);
  }
}

// Half of the noise of M and half of that of S reaches each channel. What the channels allow lies between the two
// that each allows alone; what S has less of its own than it might hold, M may have, and the other way round. A silent
// channel allows what the other one's sound masks.
void shareAllowance(const GranulePair& leftRight, float sensitiveShare, GranulePair& midSide) {
  const GranuleSpectrum& left = leftRight.spectrum[0];
  const GranuleSpectrum& right = leftRight.spectrum[1];
  for (int32_t i = 0; i < left.bands.count; ++i) {
    const float low = std::min(left.allowed[i], right.allowed[i]),
                high = std::max(left.allowed[i], right.allowed[i]);
    const float each =
        high >= kAnyNoise || low <= 0
            ? low
            : std::exp2(sensitiveShare * std::log2(low) + (1 - sensitiveShare) * std::log2(high));
    for (int ch = 0; ch < 2; ++ch)
      midSide.spectrum[ch].allowed[i] =
          each >= kAnyNoise ? kAnyNoise : 2 * each - std::min(each, midSide.spectrum[1 - ch].energy[i]);
  }
}

void storeRounded(const GranulePair& pair, int32_t* lines) {
  for (int ch = 0; ch < 2; ++ch)
    for (int32_t k = 0; k < kMp3Lines; k += 8)
      storeInt8(lines + ch * kMp3Lines + k, roundSaturated8(load8(pair.line[ch] + k) * splat8(kMp3One)));
}

void storeThresholds(const GranulePair& pair, MoxMp3PsychoacousticModelTwoAnalysis* psy) {
  for (int ch = 0; ch < 2; ++ch) {
    const GranuleSpectrum& s = pair.spectrum[ch];
    for (int32_t i = 0; i < s.bands.count; ++i) {
      const bool isLong = s.bands.longCount > 0;
      (isLong ? psy[ch].energyLong[i] : psy[ch].energyShort[i / 3][i % 3]) = s.energy[i] / kSpectrumPerModel;
      (isLong ? psy[ch].thresholdLong[i] : psy[ch].thresholdShort[i / 3][i % 3]) =
          s.allowed[i] / kSpectrumPerModel;
    }
  }
}

struct FramePairs {
  GranulePair midSide[2];
  GranulePair leftRight;
  Attempt attempt;
};

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsJointStereoEncode_MP3_32s_I(int32_t* pSrcDstXr,
                                          MoxMp3PsychoacousticModelTwoAnalysis* pSrcDstPsyInfo,
                                          MoxMp3FrameHeader* pFrameHeader,
                                          const MoxMp3EncoderParameters* pParameters) {
  MOX_REQUIRE(notNull(pSrcDstXr, pSrcDstPsyInfo, pFrameHeader, pParameters), moxStatusNullPointer);
  MOX_REQUIRE(pFrameHeader->id == 1 && inRange(pFrameHeader->samplingFreq, 0, 2), moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(pFrameHeader->mode == 1, moxStatusMp3FrameHeaderErr);
  for (int i = 0; i < 4; ++i) MOX_REQUIRE(inRange(pSrcDstPsyInfo[i].blockType, 0, 3), moxStatusOutOfRange);
  MOX_REQUIRE(validParameters(*pParameters), moxStatusOutOfRange);

  pFrameHeader->modeExt = 0;
  for (int g = 0; g < 2; ++g)
    if (pSrcDstPsyInfo[2 * g].blockType != pSrcDstPsyInfo[2 * g + 1].blockType) return moxStatusOk;
  FramePairs frame;
  const float allowance = std::exp2(pParameters->midSideNoise * 0.332192809f);
  int32_t asLeftRight = 0, asMidSide = 0;
  for (int g = 0; g < 2; ++g) {
    const MoxMp3PsychoacousticModelTwoAnalysis* const psy = pSrcDstPsyInfo + 2 * g;
    GranulePair& leftRight = frame.leftRight;
    GranulePair& midSide = frame.midSide[g];
    for (int ch = 0; ch < 2; ++ch) {
      toFloats(pSrcDstXr + (2 * g + ch) * kMp3Lines, leftRight.line[ch]);
      GranuleSpectrum& s = leftRight.spectrum[ch];
      takeSpectrum(leftRight.line[ch], psy[ch].blockType, *pFrameHeader, s);
      allowedNoise(psy[ch], s.bands, s.energy, *pParameters, s.allowed);
    }
    toMidSide(leftRight, midSide);
    for (int ch = 0; ch < 2; ++ch)
      takeSpectrum(midSide.line[ch], psy[ch].blockType, *pFrameHeader, midSide.spectrum[ch]);
    shareAllowance(leftRight, pParameters->sensitiveShare, midSide);
    for (int ch = 0; ch < 2; ++ch) {
      asLeftRight += bitsWanted(leftRight.spectrum[ch], allowance, frame.attempt);
      asMidSide += bitsWanted(midSide.spectrum[ch], allowance, frame.attempt);
    }
  }
  if (static_cast<float>(asMidSide) >= static_cast<float>(asLeftRight) * (1 + pParameters->midSideBonus))
    return moxStatusOk;
  pFrameHeader->modeExt = 2;
  for (int g = 0; g < 2; ++g) {
    storeRounded(frame.midSide[g], pSrcDstXr + 2 * g * kMp3Lines);
    storeThresholds(frame.midSide[g], pSrcDstPsyInfo + 2 * g);
  }
  return moxStatusOk;
}
