// Quantisation of a frame: shares bits among granules, runs their loops, shares scale factors.
// ISO/IEC 11172-3, Annex C.1.5.4 and 2.4.2.7.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/encoder_parameters.h"
#include "mp3/header_fields.h"
#include "mp3/quantize_kernels.h"

namespace moxac::mp3 {
namespace {

constexpr int32_t kGranules = 2;
constexpr int32_t kBandGroups = 4;
constexpr int32_t kGroupStart[kBandGroups + 1] = {0, 6, 11, 16, 21};

// The bits that a frame may take and those it must take, lest the reservoir overflow.
struct FrameBudget {
  int32_t most, least;
};

FrameBudget frameBudget(const MoxMp3BitReservoir& reservoir, int32_t meanBits) {
  const int32_t most = reservoir.resBits + meanBits;
  return {most, std::max(0, most - reservoir.maxResBits)};
}

// The bits that a frame should take at a constant rate: what it wants when that is below the mean, and of the
// reservoir the more, the more it wants and the fuller that is; below half of its size it is filled up slowly.
int32_t frameTarget(const MoxMp3BitReservoir& reservoir, int32_t meanBits, int32_t wanted,
                    const MoxMp3EncoderParameters& p) {
  const FrameBudget budget = frameBudget(reservoir, meanBits);
  const auto mean = static_cast<float>(meanBits), held = static_cast<float>(reservoir.resBits);
  const float fullness = held / static_cast<float>(std::max(1, reservoir.maxResBits));
  float target = mean;
  if (fullness < p.reservoirAim) target -= mean * p.reservoirFill * (p.reservoirAim - fullness);
  const float excess = (static_cast<float>(wanted) - mean) / std::max(1.0f, mean);
  if (excess > 0) {
    target += std::min(0.9f, p.reservoirSpend * excess) * fullness * held;
    target = std::min(target, static_cast<float>(wanted));
  } else {
    target = std::max(static_cast<float>(wanted), mean * 0.75f);
  }
  return std::clamp(static_cast<int32_t>(target), budget.least, budget.most);
}

// Granule 1 repeats the scale factors of granule 0 in every band group where they are equal.
void shareScaleFactors(const QuantizedGranule& first, QuantizedGranule& second, int32_t* scfsi) {
  ScaleFactors& f = second.factors;
  int32_t largest[2] = {}, counts[2] = {};
  for (int32_t g = 0; g < kBandGroups; ++g) {
    const auto* const begin = f.value + kGroupStart[g];
    const auto* const end = f.value + kGroupStart[g + 1];
    scfsi[g] = std::equal(begin, end, first.factors.value + kGroupStart[g]);
    if (scfsi[g] == 1) continue;
    int32_t& most = largest[g >= 2];
    most = std::max<int32_t>(most, *std::max_element(begin, end));
    counts[g >= 2] += kGroupStart[g + 1] - kGroupStart[g];
  }
  chooseWidths(largest, counts, f);
}

void fillSideInfo(const QuantizedGranule& granule, int32_t blockType, MoxMp3SideInfo& side) {
  side.part23Len = granule.bits();
  side.bigVals = granule.code.bigVals;
  side.globGain = granule.globGain;
  side.sfCompress = granule.factors.sfCompress;
  side.winSwitch = blockType != 0;
  side.blockType = blockType;
  side.mixedBlock = 0;
  std::copy(granule.code.tableSelect, granule.code.tableSelect + 3, side.tableSelect);
  for (int w = 0; w < 3; ++w) side.subBlockGain[w] = blockType == 2 ? granule.factors.subBlockGain[w] : 0;
  // The counts that decoders take for switched blocks: region 2 is empty.
  side.reg0Cnt = blockType == 0 ? granule.code.reg0Cnt : blockType == 2 ? 8 : 7;
  side.reg1Cnt = blockType == 0 ? granule.code.reg1Cnt : 20 - side.reg0Cnt;
  side.preFlag = granule.factors.preFlag;
  side.sfScale = granule.factors.sfScale;
  side.cnt1TabSel = granule.code.cnt1TabSel;
}

struct FrameSpectra {
  GranuleSpectrum of[2 * kGranules];
  QuantizedGranule quantized[2 * kGranules];
  Attempt attempt;
};

// Quantises granule i with at most `budget` bits.
void quantizeGranule(FrameSpectra& frame, int32_t i, int32_t budget, const MoxMp3EncoderParameters& p) {
  QuantizedGranule& result = frame.quantized[i];
  if (frame.of[i].lines != 0) return quantizeToBudget(frame.of[i], budget, p, frame.attempt, result);
  result = {};  // silence: no bits at all
  result.globGain = kNeutralGain;
}

// Each granule's part in what they share: a power of what it wants, of both channels and of one of them.
void sharesOf(const int32_t* wanted, int32_t count, const MoxMp3EncoderParameters& p, float* share) {
  constexpr float kBase = 30;  // so that a granule that wants next to nothing gets something
  const int32_t channels = count / kGranules;
  for (int32_t first = 0; first < count; first += channels) {
    float ofGranule = 0, ofChannels = 0;
    for (int32_t i = first; i < first + channels; ++i) {
      ofGranule += static_cast<float>(wanted[i]) + kBase;
      ofChannels += share[i] = std::pow(static_cast<float>(wanted[i]) + kBase, p.channelContrast);
    }
    for (int32_t i = first; i < first + channels; ++i)
      share[i] *= std::pow(ofGranule, p.granuleContrast) / ofChannels;
  }
}

// Granules in turn, each with its share of `target`; at a constant rate what one leaves goes to the next. Returns the
// bits of all.
int32_t quantizeFrame(FrameSpectra& frame, int32_t count, int32_t target, bool constantRate,
                      const int32_t* wanted, const MoxMp3EncoderParameters& p) {
  float share[4] = {}, rest = 0;
  sharesOf(wanted, count, p, share);
  for (int32_t i = 0; i < count; ++i) rest += share[i];
  int32_t used = 0, left = target;
  for (int32_t i = 0; i < count; ++i) {
    const auto budget = static_cast<int32_t>(static_cast<float>(left) * std::min(1.0f, share[i] / rest));
    quantizeGranule(frame, i, std::min(budget, kLargestPart23), p);
    used += frame.quantized[i].bits();
    rest -= share[i];
    left = constantRate ? target - used : left - budget;
  }
  return used;
}

bool validBlockTypes(const MoxMp3PsychoacousticModelTwoAnalysis* psy, int32_t count) {
  return std::all_of(psy, psy + count, [](const auto& p) { return inRange(p.blockType, 0, 3); });
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsQuantize_MP3_32s_I(int32_t* pSrcDstXrIx, int8_t* pDstScaleFactor, int32_t* pDstScfsi,
                                 int32_t* pDstCount1Len, MoxMp3SideInfo* pDstSideInfo,
                                 MoxMp3BitReservoir* pReservoir, int32_t meanBits, int32_t constantRate,
                                 const MoxMp3PsychoacousticModelTwoAnalysis* pPsyInfo,
                                 const MoxMp3FrameHeader* pFrameHeader,
                                 const MoxMp3EncoderParameters* pParameters) {
  MOX_REQUIRE(notNull(pSrcDstXrIx, pDstScaleFactor, pDstScfsi, pDstCount1Len, pDstSideInfo, pReservoir,
                      pPsyInfo, pFrameHeader, pParameters),
              moxStatusNullPointer);
  MOX_REQUIRE(pFrameHeader->id == 1 && pFrameHeader->layer == 1, moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pFrameHeader->samplingFreq, 0, 2) && inRange(pFrameHeader->mode, 0, 3),
              moxStatusMp3FrameHeaderErr);
  const int32_t channels = channelCount(*pFrameHeader);
  const int32_t count = kGranules * channels;
  MOX_REQUIRE(inRange(constantRate, 0, 1), moxStatusOutOfRange);
  MOX_REQUIRE(validBlockTypes(pPsyInfo, count) && validParameters(*pParameters), moxStatusOutOfRange);
  MOX_REQUIRE(
      inRange(pReservoir->maxResBits, 0, 8 * 511) && inRange(pReservoir->resBits, 0, pReservoir->maxResBits),
      moxStatusOutOfRange);
  MOX_REQUIRE(inRange(meanBits, 0, 4 * kLargestPart23), moxStatusBadSize);

  FrameSpectra frame;
  int32_t wanted[4], total = 0;
  for (int32_t i = 0; i < count; ++i) {
    alignas(32) float lines[kMp3Lines];
    toFloats(pSrcDstXrIx + i * kMp3Lines, lines);
    GranuleSpectrum& s = frame.of[i];
    takeSpectrum(lines, pPsyInfo[i].blockType, *pFrameHeader, s);
    allowedNoise(pPsyInfo[i], s.bands, s.energy, *pParameters, s.allowed);
    wanted[i] = bitsWanted(s, 1, frame.attempt);
    total += wanted[i];
  }
  const int32_t target = constantRate == 1 ? frameTarget(*pReservoir, meanBits, total, *pParameters)
                                           : std::min(total, frameBudget(*pReservoir, meanBits).most);
  int32_t used = quantizeFrame(frame, count, target, constantRate == 1, wanted, *pParameters);

  std::fill(pDstScfsi, pDstScfsi + kBandGroups * channels, 0);
  for (int32_t ch = 0; ch < channels; ++ch) {
    const int32_t second = channels + ch;
    if (frame.of[ch].blockType == 2 || frame.of[second].blockType == 2) continue;
    used -= frame.quantized[second].bits();
    shareScaleFactors(frame.quantized[ch], frame.quantized[second], pDstScfsi + kBandGroups * ch);
    used += frame.quantized[second].bits();
  }
  for (int32_t i = 0; i < count; ++i) {
    const QuantizedGranule& granule = frame.quantized[i];
    int32_t* const lines = pSrcDstXrIx + i * kMp3Lines;
    for (int32_t k = 0; k < kMp3Lines; k += 4)
      storeInt4(lines + k, withSignOf4(loadInt4(granule.ix + k), loadInt4(lines + k)));
    std::copy(granule.factors.value, granule.factors.value + kScaleFactors,
              pDstScaleFactor + i * kScaleFactors);
    pDstCount1Len[i] = granule.code.count1Len;
    fillSideInfo(granule, frame.of[i].blockType, pDstSideInfo[i]);
  }
  pReservoir->resBits = std::min((pReservoir->resBits + meanBits - used) / 8 * 8, pReservoir->maxResBits);
  return moxStatusOk;
}
