// The choice between left/right and mid/side coding, frame by frame. ISO/IEC 11172-3, 2.4.3.4.9 and Annex G.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "frame/checks.h"
#include "frame/simd.h"
#include "moxac/mp3.h"
#include "mp3/masking.h"

namespace moxac::mp3 {
namespace {

// One granule of both channels, as left and right or as mid and side.
struct ChannelPair {
  alignas(32) float line[2][kMp3Lines];
};

// Orthonormal, its own inverse: M = (L + R) / sqrt 2, S = (L - R) / sqrt 2.
void toMidSide(const ChannelPair& leftRight, ChannelPair& midSide) {
  const f32x8 root = splat8(0.707106781186547524f);
  for (int32_t k = 0; k < kMp3Lines; k += 8) {
    const f32x8 l = load8(leftRight.line[0] + k), r = load8(leftRight.line[1] + k);
    store8(midSide.line[0] + k, (l + r) * root);
    store8(midSide.line[1] + k, (l - r) * root);
  }
}

// Bits for a run of lines of this energy with this noise: half log2 of the ratio for each line.
float runBits(float energy, float allowed, int32_t lines) {
  return energy <= 0 ? 0 : 0.5f * static_cast<float>(lines) * std::log2(1 + energy / allowed);
}

struct RunThresholds {
  float energy[2][kScaleFactors], allowed[kScaleFactors];
};

// What mid/side saves in one granule, in bits. Noise of M and of S reaches both channels: each may hold what the more
// sensitive channel allows.
float midSideGain(const ChannelPair& leftRight, const ChannelPair& midSide, const SpectrumBands& bands,
                  const MoxMp3PsychoacousticModelTwoAnalysis* psy, RunThresholds& ms) {
  float gain = 0;
  for (int32_t i = 0; i < scaledRuns(bands); ++i) {
    const int32_t first = bands.start[i], last = bands.start[i + 1];
    float allowed[2], energy[2];
    for (int ch = 0; ch < 2; ++ch) {
      energy[ch] = runEnergy(leftRight.line[ch], first, last);
      ms.energy[ch][i] = runEnergy(midSide.line[ch], first, last);
      allowed[ch] = energy[ch] > 0 ? runAllowance(psy[ch], bands, i, energy[ch]) : kAnyNoise;
    }
    // A silent channel allows no noise that the other one's does not mask: take it at the other's threshold.
    ms.allowed[i] = std::min(allowed[0], allowed[1]);
    for (int ch = 0; ch < 2; ++ch)
      gain += runBits(energy[ch], allowed[ch], last - first) -
              runBits(ms.energy[ch][i], ms.allowed[i], last - first);
  }
  return gain;
}

void storeRounded(const ChannelPair& pair, int32_t* lines) {
  for (int ch = 0; ch < 2; ++ch)
    for (int32_t k = 0; k < kMp3Lines; k += 8)
      storeInt8(lines + ch * kMp3Lines + k, roundSaturated8(load8(pair.line[ch] + k) * splat8(kMp3One)));
}

void storeThresholds(const RunThresholds& ms, const SpectrumBands& bands,
                     MoxMp3PsychoacousticModelTwoAnalysis* psy) {
  for (int ch = 0; ch < 2; ++ch)
    for (int32_t i = 0; i < scaledRuns(bands); ++i) {
      const bool isLong = bands.longCount > 0;
      (isLong ? psy[ch].energyLong[i] : psy[ch].energyShort[i / 3][i % 3]) =
          ms.energy[ch][i] / kSpectrumPerModel;
      (isLong ? psy[ch].thresholdLong[i] : psy[ch].thresholdShort[i / 3][i % 3]) =
          ms.allowed[i] / kSpectrumPerModel;
    }
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsJointStereoEncode_MP3_32s_I(int32_t* pSrcDstXr,
                                          MoxMp3PsychoacousticModelTwoAnalysis* pSrcDstPsyInfo,
                                          MoxMp3FrameHeader* pFrameHeader) {
  MOX_REQUIRE(notNull(pSrcDstXr, pSrcDstPsyInfo, pFrameHeader), moxStatusNullPointer);
  MOX_REQUIRE(pFrameHeader->id == 1 && inRange(pFrameHeader->samplingFreq, 0, 2), moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(pFrameHeader->mode == 1, moxStatusMp3FrameHeaderErr);
  for (int i = 0; i < 4; ++i) MOX_REQUIRE(inRange(pSrcDstPsyInfo[i].blockType, 0, 3), moxStatusOutOfRange);

  pFrameHeader->modeExt = 0;
  ChannelPair midSide[2];
  RunThresholds thresholds[2];
  float gain = 0;
  for (int g = 0; g < 2; ++g) {
    const MoxMp3PsychoacousticModelTwoAnalysis* const psy = pSrcDstPsyInfo + 2 * g;
    if (psy[0].blockType != psy[1].blockType) return moxStatusOk;
    ChannelPair leftRight;
    for (int ch = 0; ch < 2; ++ch) toFloats(pSrcDstXr + (2 * g + ch) * kMp3Lines, leftRight.line[ch]);
    toMidSide(leftRight, midSide[g]);
    gain +=
        midSideGain(leftRight, midSide[g], granuleBands(*pFrameHeader, psy[0].blockType), psy, thresholds[g]);
  }
  if (gain <= 0) return moxStatusOk;
  pFrameHeader->modeExt = 2;
  for (int g = 0; g < 2; ++g) {
    storeRounded(midSide[g], pSrcDstXr + 2 * g * kMp3Lines);
    storeThresholds(thresholds[g], granuleBands(*pFrameHeader, pSrcDstPsyInfo[2 * g].blockType),
                    pSrcDstPsyInfo + 2 * g);
  }
  return moxStatusOk;
}
