// The fixed-point polyphase banks. ISO/IEC 11172-3, 2.4.3.2.2 and Annex C.
#include <cstdint>

#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/fixed_point.h"
#include "mp3/polyphase_kernels.h"

namespace moxac::mp3 {
namespace {

// From Q26 to units of a 16-bit sample, and back.
constexpr float kSamplePerUnit = 32768 / kMp3One;
constexpr float kUnitPerSample = kMp3One / 32768;

// The caller's 32-bit words hold the bit patterns of the history's floats. Vector loads and stores may alias.
float* historyFloats(int32_t* words) { return reinterpret_cast<float*>(words); }

int32_t nextPosition(int32_t position) { return (position - 1) & (kHistorySlots - 1); }

// Samples 8i .. 8i+7 at the stride; kStride 0: any, told at run time.
template <int kStride>
void scatter(int16_t* dst, const i16x8 (&samples)[4], ptrdiff_t anyStride) {
  const ptrdiff_t stride = kStride == 0 ? anyStride : kStride;
  for (const i16x8& v : samples) {
    dst[0] = static_cast<int16_t>(laneShort8<0>(v));
    dst[stride] = static_cast<int16_t>(laneShort8<1>(v));
    dst[2 * stride] = static_cast<int16_t>(laneShort8<2>(v));
    dst[3 * stride] = static_cast<int16_t>(laneShort8<3>(v));
    dst[4 * stride] = static_cast<int16_t>(laneShort8<4>(v));
    dst[5 * stride] = static_cast<int16_t>(laneShort8<5>(v));
    dst[6 * stride] = static_cast<int16_t>(laneShort8<6>(v));
    dst[7 * stride] = static_cast<int16_t>(laneShort8<7>(v));
    dst += 8 * stride;
  }
}

void storeSamples(int16_t* dst, const i16x8 (&samples)[4], int32_t stride) {
  if (stride == 1)
    for (int i = 0; i < 4; ++i) storeShort8(dst + 8 * i, samples[i]);
  else if (stride == 2)
    scatter<2>(dst, samples, 2);
  else
    scatter<0>(dst, samples, stride);
}

i16x8 loadSamples(const int16_t* src, ptrdiff_t stride) {
  if (stride == 1) return loadShort8(src);
  return gatherShort8(src, stride);
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsSynthPQMF_MP3_32s16s(const int32_t* pSrcXs, int16_t* pDstAudioOut, int32_t* pVBuffer,
                                   int32_t* pVPosition, int32_t stride) {
  MOX_REQUIRE(notNull(pSrcXs, pDstAudioOut, pVBuffer, pVPosition), moxStatusNullPointer);
  MOX_REQUIRE(inRange(*pVPosition, 0, kHistorySlots - 1), moxStatusOutOfRange);
  MOX_REQUIRE(stride >= 1, moxStatusBadSize);

  const auto input = [&](int i) { return toFloat8(loadInt8(pSrcXs + i)) * splat8(kSamplePerUnit); };
  const OutputVectors out =
      synthesizeSlot(input(0), input(8), input(16), input(24), historyFloats(pVBuffer), *pVPosition);
  *pVPosition = nextPosition(*pVPosition);
  i16x8 samples[4];
  roundOutputs(samples, out);
  storeSamples(pDstAudioOut, samples, stride);
  return moxStatusOk;
}

moxStatus moxsAnalysisPQMF_MP3_16s32s(const int16_t* pSrcAudioIn, int32_t* pDstXs, int32_t* pXBuffer,
                                      int32_t* pXPosition, int32_t stride) {
  MOX_REQUIRE(notNull(pSrcAudioIn, pDstXs, pXBuffer, pXPosition), moxStatusNullPointer);
  MOX_REQUIRE(inRange(*pXPosition, 0, kHistorySlots - 1), moxStatusOutOfRange);
  MOX_REQUIRE(stride >= 1, moxStatusBadSize);

  const auto input = [&](int i) {
    return shortsToFloat8(loadSamples(pSrcAudioIn + static_cast<ptrdiff_t>(stride) * i, stride)) *
           splat8(kUnitPerSample);
  };
  f32x8 s[4];
  analyzeSlot(input(0), input(8), input(16), input(24), historyFloats(pXBuffer), *pXPosition, s);
  *pXPosition = nextPosition(*pXPosition);
  for (int i = 0; i < 4; ++i) storeInt8(pDstXs + 8 * i, roundSaturated8(s[i]));
  return moxStatusOk;
}
