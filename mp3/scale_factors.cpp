// Scale factors of one granule and channel, read and written. ISO/IEC 11172-3, 2.4.2.7; 13818-3, 2.4.3.2.
#include <cstdint>
#include <cstdlib>

#include "frame/bit_cursor.h"
#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/scale_factor_kernels.h"

namespace moxac::mp3 {
namespace {

bool isIntensityChannel(const MoxMp3FrameHeader& header, int32_t channel) {
  return (header.modeExt & 1) != 0 && channel == 1;
}

// Reads `count` values of `width` bits, none when width is 0; returns the place after the last one.
int8_t* readScaleFactors(const uint8_t** ppBitStream, int32_t* pBitOffset, int8_t* dst, int32_t count,
                         int32_t width) {
  for (int32_t i = 0; i < count; ++i)
    *dst++ = width == 0 ? int8_t{0} : static_cast<int8_t>(readBits(ppBitStream, pBitOffset, width));
  return dst;
}

int8_t* appendThreeZeros(int8_t* dst) {
  for (int i = 0; i < 3; ++i) *dst++ = 0;
  return dst;
}

void unpackMpeg1(const uint8_t** ppBitStream, int32_t* pBitOffset, int8_t* dst, const MoxMp3SideInfo& record,
                 const int32_t* scfsi, int32_t granule) {
  const ScaleFactorBlocks blocks = scaleFactorBlocks(record);
  const Mpeg1ScaleFactors layout = mpeg1ScaleFactors(blocks, record.sfCompress);
  const bool mayRepeat = blocks == ScaleFactorBlocks::longBlocks && granule == 1;
  dst[21] = 0;
  for (int32_t g = 0; g < layout.groupCount; ++g) {
    const auto [count, width] = layout.groups[g];
    if (mayRepeat && scfsi[g] == 1)
      dst += count;  // granule 0's values stay
    else
      dst = readScaleFactors(ppBitStream, pBitOffset, dst, count, width);
  }
  if (blocks != ScaleFactorBlocks::longBlocks) appendThreeZeros(dst);
}

void unpackMpeg2(const uint8_t** ppBitStream, int32_t* pBitOffset, int8_t* dst, MoxMp3SideInfo& record,
                 bool intensityChannel) {
  if (record.blockType == 2) record.mixedBlock &= 1;
  const Mpeg2ScaleFactors layout = mpeg2ScaleFactors(record.sfCompress, intensityChannel);
  record.preFlag = layout.preFlag;
  const int8_t* const counts = mpeg2PartitionCounts(layout, scaleFactorBlocks(record));
  for (int k = 0; k < 4; ++k) {
    int8_t* const first = dst;
    dst = readScaleFactors(ppBitStream, pBitOffset, dst, counts[k], layout.widths[k]);
    if (!intensityChannel) continue;
    const int32_t illegal = (1 << layout.widths[k]) - 1;
    for (int8_t* p = first; p < dst; ++p)
      if (*p == illegal) *p = static_cast<int8_t>(-illegal);
  }
  appendThreeZeros(dst);
}

// Writes `count` values of `width` bits; returns the place after the last one.
const int8_t* writeScaleFactors(uint8_t** ppBitStream, int32_t* pBitOffset, const int8_t* src, int32_t count,
                                int32_t width) {
  for (int32_t i = 0; i < count; ++i, ++src)
    writeBits(ppBitStream, pBitOffset, static_cast<uint32_t>(std::abs(*src)), width);
  return src;
}

void packMpeg1(const int8_t* src, uint8_t** ppBitStream, int32_t* pBitOffset, const MoxMp3SideInfo& record,
               const int32_t* scfsi, int32_t granule) {
  const ScaleFactorBlocks blocks = scaleFactorBlocks(record);
  const Mpeg1ScaleFactors layout = mpeg1ScaleFactors(blocks, record.sfCompress);
  const bool mayRepeat = blocks == ScaleFactorBlocks::longBlocks && granule != 0;
  for (int32_t g = 0; g < layout.groupCount; ++g) {
    const auto [count, width] = layout.groups[g];
    if (mayRepeat && scfsi[g] == 1)
      src += count;
    else
      src = writeScaleFactors(ppBitStream, pBitOffset, src, count, width);
  }
}

void packMpeg2(const int8_t* src, uint8_t** ppBitStream, int32_t* pBitOffset, MoxMp3SideInfo& record,
               bool intensityChannel) {
  const Mpeg2ScaleFactors layout = mpeg2ScaleFactors(record.sfCompress, intensityChannel);
  record.preFlag = layout.preFlag;
  const int8_t* const counts = mpeg2PartitionCounts(layout, scaleFactorBlocks(record));
  for (int k = 0; k < 4; ++k)
    src = writeScaleFactors(ppBitStream, pBitOffset, src, counts[k], layout.widths[k]);
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsUnpackScaleFactors_MP3_1u8s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                          int8_t* pDstScaleFactor, MoxMp3SideInfo* pSideInfo,
                                          const int32_t* pScfsi, const MoxMp3FrameHeader* pFrameHeader,
                                          int32_t granule, int32_t channel) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDstScaleFactor, pSideInfo, pScfsi, pFrameHeader) &&
                  notNull(*ppBitStream),
              moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(granule, 0, 1), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(channel, 0, 1), moxStatusOutOfRange);
  const bool mpeg1 = pFrameHeader->id == 1;
  MOX_REQUIRE(inRange(pSideInfo->sfCompress, 0, mpeg1 ? 15 : 511), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(mpeg1 || inRange(pFrameHeader->modeExt, 0, 3), moxStatusMp3FrameHeaderErr);

  if (mpeg1)
    unpackMpeg1(ppBitStream, pBitOffset, pDstScaleFactor, *pSideInfo, pScfsi, granule);
  else
    unpackMpeg2(ppBitStream, pBitOffset, pDstScaleFactor, *pSideInfo,
                isIntensityChannel(*pFrameHeader, channel));
  return moxStatusOk;
}

moxStatus moxsPackScaleFactors_MP3_8s1u(const int8_t* pSrcScaleFactor, uint8_t** ppBitStream,
                                        int32_t* pBitOffset, const MoxMp3FrameHeader* pFrameHeader,
                                        MoxMp3SideInfo* pSideInfo, const int32_t* pScfsi, int32_t granule,
                                        int32_t channel) {
  MOX_REQUIRE(notNull(pSrcScaleFactor, ppBitStream, pBitOffset, pFrameHeader, pSideInfo, pScfsi) &&
                  notNull(*ppBitStream),
              moxStatusNullPointer);
  const bool mpeg1 = pFrameHeader->id == 1;
  MOX_REQUIRE(inRange(pSideInfo->sfCompress, 0, mpeg1 ? 15 : 511), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(mpeg1 || inRange(pFrameHeader->modeExt, 0, 3), moxStatusMp3FrameHeaderErr);

  if (mpeg1)
    packMpeg1(pSrcScaleFactor, ppBitStream, pBitOffset, *pSideInfo, pScfsi, granule);
  else
    packMpeg2(pSrcScaleFactor, ppBitStream, pBitOffset, *pSideInfo,
              isIntensityChannel(*pFrameHeader, channel));
  return moxStatusOk;
}
