// The Huffman encoder: checks, regions, stuffing. ISO/IEC 11172-3, 2.4.1.7 and 2.4.2.7.
#include <algorithm>
#include <cstdint>

#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/huffman_code_tables.h"
#include "mp3/huffman_encode_kernels.h"

namespace moxac::mp3 {
namespace {

bool isSwitched(const MoxMp3SideInfo& record) { return record.winSwitch == 1 && record.blockType != 0; }

struct Boundaries {
  int32_t start[4];  // of regions 0, 1, 2 and the count1 region
};

Boundaries regionBoundaries(const MoxMp3SideInfo& record, const MoxMp3FrameHeader& header) {
  const int32_t bigLines = 2 * record.bigVals;
  if (isSwitched(record)) return {{0, std::min(36, bigLines), bigLines, bigLines}};
  const int16_t* const sfbLong = moxMp3SfbLong[sfbRow(header)];
  return {{0, std::min<int32_t>(sfbLong[record.reg0Cnt + 1], bigLines),
           std::min<int32_t>(sfbLong[record.reg0Cnt + record.reg1Cnt + 2], bigLines), bigLines}};
}

moxStatus encodeRegion(BitSink& sink, int32_t table, const int32_t* src, int32_t len) {
  MOX_REQUIRE(inRange(table, 0, 31), moxStatusMp3SideInfoErr);
  if (table == 0) return moxStatusOk;
  const PairTable& pairs = kPairTables[table];
  const uint32_t largest = largestLine(src, len);
  if (pairs.codes == nullptr) return largest == 0 ? moxStatusOk : moxStatusMp3SideInfoErr;
  MOX_REQUIRE(largest <= largestCodable(pairs), moxStatusMp3SideInfoErr);
  if (pairs.linBits == 0)
    encodePairs(sink, pairs, src, len);
  else
    encodeEscapePairs(sink, pairs, src, len);
  return moxStatusOk;
}

moxStatus encodeSpectrum(BitSink& sink, const int32_t* src, const MoxMp3SideInfo& record,
                         const MoxMp3FrameHeader& header, int32_t count1Len) {
  const Boundaries regions = regionBoundaries(record, header);
  for (int32_t r = 0; r < 3; ++r) {
    const int32_t table = record.tableSelect[r];
    if (r == 2 && isSwitched(record) && table > 31) continue;  // empty: only a negative number is a fault
    MOX_TRY(encodeRegion(sink, table, src + regions.start[r], regions.start[r + 1] - regions.start[r]));
  }
  const int32_t* const quads = src + regions.start[3];
  MOX_REQUIRE(largestLine(quads, count1Len) <= 1, moxStatusMp3SideInfoErr);
  encodeQuads(sink, record.cnt1TabSel == 0 ? kQuadCodesA : kQuadCodesB, quads, count1Len);
  return moxStatusOk;
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsHuffmanEncode_MP3_32s1u(const int32_t* pSrcIx, uint8_t** ppBitStream, int32_t* pBitOffset,
                                      const MoxMp3FrameHeader* pFrameHeader, const MoxMp3SideInfo* pSideInfo,
                                      int32_t count1Len, int32_t hufSize) {
  MOX_REQUIRE(notNull(pSrcIx, ppBitStream, pBitOffset, pFrameHeader, pSideInfo) && notNull(*ppBitStream),
              moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(pSideInfo->bigVals, 0, kMp3Lines / 2), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pSideInfo->reg0Cnt, 0, 20), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pSideInfo->reg1Cnt, 0, 20 - pSideInfo->reg0Cnt), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pSideInfo->cnt1TabSel, 0, 1), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(pFrameHeader->id == 1, moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(pFrameHeader->layer == 1, moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pFrameHeader->samplingFreq, 0, 2), moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(count1Len, 0, kMp3Lines), moxStatusOutOfRange);
  const int32_t quadLines = (count1Len + 3) / 4 * 4;
  MOX_REQUIRE(2 * pSideInfo->bigVals + quadLines <= kMp3Lines, moxStatusOutOfRange);

  BitSink sink(*ppBitStream, *pBitOffset);
  const moxStatus status = encodeSpectrum(sink, pSrcIx, *pSideInfo, *pFrameHeader, quadLines);
  if (status == moxStatusOk) sink.putOnes(hufSize - sink.written());
  sink.finish();
  *ppBitStream = sink.position();
  *pBitOffset = sink.bitOffset();
  return status;
}
