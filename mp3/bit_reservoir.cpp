// The limits of an encoder's bit reservoir.
#include <algorithm>
#include <cstdint>

#include "frame/checks.h"
#include "moxac/tables.h"

namespace moxac::mp3 {
namespace {

constexpr int32_t kDecoderBufferBits = 7680;
constexpr int32_t kFarthestMainDataBits = 8 * 511;  // main_data_begin counts bytes in nine bits

// A granule pair of 1152 samples: 144 bytes for each bit per sample. Without padding.
int32_t frameBits(int32_t bitRateIndex, int32_t samplingFreq) {
  return 144 * 1000 * moxMp3BitRates[1][bitRateIndex] / moxMp3SampleRates[1][samplingFreq] * 8;
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsBitReservoirInit_MP3(MoxMp3BitReservoir* pReservoir, const MoxMp3FrameHeader* pFrameHeader) {
  MOX_REQUIRE(notNull(pReservoir, pFrameHeader), moxStatusNullPointer);
  MOX_REQUIRE(pFrameHeader->id == 1, moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pFrameHeader->bitRateIndex, 0, 14), moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pFrameHeader->samplingFreq, 0, 2), moxStatusMp3FrameHeaderErr);

  const int32_t frame = frameBits(pFrameHeader->bitRateIndex, pFrameHeader->samplingFreq);
  pReservoir->resBits = 0;
  pReservoir->maxResBits =
      std::min(kDecoderBufferBits - std::min(frame, kDecoderBufferBits), kFarthestMainDataBits);
  return moxStatusOk;
}
