// The three Huffman decoders: they differ in checks and in where regions end. ISO/IEC 11172-3, 2.4.2.7.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/bit_window.h"
#include "mp3/huffman_decode_kernels.h"

namespace moxac::mp3 {
namespace {

constexpr int32_t kRegions = 3;

// Region r runs from ends[r - 1] (or 0) to ends[r], with table tableSelect[r].
struct Regions {
  int32_t count;
  int32_t ends[kRegions];
};

Regions twoRegions(int32_t boundary, const MoxMp3SideInfo& record) {
  const int32_t bigLines = 2 * record.bigVals;
  return {2, {std::min(boundary, bigLines), bigLines, bigLines}};
}

Regions threeRegions(const int16_t* sfbLong, const MoxMp3SideInfo& record) {
  const int32_t bigLines = 2 * record.bigVals;
  return {3,
          {std::min<int32_t>(sfbLong[record.reg0Cnt + 1], bigLines),
           std::min<int32_t>(sfbLong[record.reg0Cnt + record.reg1Cnt + 2], bigLines), bigLines}};
}

bool hasRegionCounts(const MoxMp3SideInfo& record) {
  return inRange(record.reg0Cnt, 0, 20) && inRange(record.reg1Cnt, 0, 20) &&
         record.reg0Cnt + record.reg1Cnt < 21;
}

// Region 1 of a switched block by line number.
int32_t fixedBoundary(const MoxMp3SideInfo& record, const MoxMp3FrameHeader& header) {
  return header.id == 1 || record.blockType == 2 ? 36 : 54;
}

// Region 1 of a mixed block: the long part, then `additions` short band-windows. The band moves on after the
// 2nd, 5th, 8th ... addition.
int32_t mixedBoundary(int32_t longPart, int32_t additions, const int16_t* sfbShort) {
  constexpr int32_t kStarts = 14;
  int32_t boundary = longPart;
  int32_t band = 0;
  while (band < kStarts && sfbShort[band] * 3 <= boundary) ++band;
  for (int32_t added = 0; added < additions && inRange(band, 1, kStarts - 1); ++added) {
    boundary += sfbShort[band] - sfbShort[band - 1];
    if (added % 3 == 1) ++band;
  }
  return boundary;
}

int32_t tabledBoundary(const MoxMp3SideInfo& record, const int16_t* sfbLong, const int16_t* sfbShort,
                       const int16_t* mixedBlockPoint) {
  if (record.blockType != 2) return sfbLong[8];
  if (record.mixedBlock == 0) return 3 * (sfbShort[3] - sfbShort[0]);
  const int32_t longBands = std::clamp<int32_t>(mixedBlockPoint[0], 0, 22);
  return mixedBoundary(sfbLong[longBands], mixedBlockPoint[1], sfbShort);
}

struct Cursor {
  const uint8_t** ppBitStream;
  int32_t* pBitOffset;

  void advance(int64_t bits) const {
    const int64_t position = *pBitOffset + bits;
    *ppBitStream += position / 8;
    *pBitOffset = static_cast<int32_t>(position % 8);
  }
};

bool isTable(int32_t table) { return inRange(table, 0, 31); }

moxStatus emptyGranule(int32_t* dst, int32_t* pNonZeroBound, const Regions& regions, const int32_t* tables) {
  for (int32_t r = 0; r < regions.count; ++r) MOX_REQUIRE(isTable(tables[r]), moxStatusMp3SideInfoErr);
  std::memset(dst, 0, kMp3Lines * sizeof *dst);
  *pNonZeroBound = 0;
  return moxStatusOk;
}

// The big values take more bits than there are: decodes them from `region` on with the bits that really
// follow, so that output and cursor are those of a decoder that looks at the end only afterwards.
[[gnu::cold, gnu::noinline]] moxStatus overrun(const Cursor& cursor, int64_t consumed, const Regions& regions,
                                               const int32_t* tables, int32_t region, int32_t* dst,
                                               int32_t line) {
  UnboundedWindow window(*cursor.ppBitStream, *cursor.pBitOffset + consumed);
  moxStatus status = moxStatusBadData;
  for (; region < regions.count; ++region) {
    if (!isTable(tables[region])) {
      status = moxStatusMp3SideInfoErr;
      break;
    }
    line = decodeRegion(window, tables[region], dst, line, regions.ends[region]);
  }
  cursor.advance(window.position() - *cursor.pBitOffset);
  return status;
}

moxStatus decodeGranule(const Cursor& cursor, int32_t* dst, int32_t* pNonZeroBound,
                        const MoxMp3SideInfo& record, const Regions& regions, int32_t hufSize) {
  const int32_t* const tables = record.tableSelect;
  if (hufSize == 0) return emptyGranule(dst, pNonZeroBound, regions, tables);

  BoundedWindow window(*cursor.ppBitStream, *cursor.pBitOffset, hufSize);
  int32_t line = 0;
  for (int32_t r = 0; r < regions.count; ++r) {
    const int64_t before = window.consumed();
    if (!isTable(tables[r])) {
      cursor.advance(before);
      return moxStatusMp3SideInfoErr;
    }
    const int32_t first = line;
    line = decodeRegion(window, tables[r], dst, line, regions.ends[r]);
    if (window.consumed() > hufSize) return overrun(cursor, before, regions, tables, r, dst, first);
  }

  const auto bitsLeft = static_cast<int32_t>(hufSize - window.consumed());
  const Count1End end = decodeQuads(window, kQuadLookups[record.cnt1TabSel], dst, line, bitsLeft);
  line = end.bitsLeft < 0 ? end.line - 4 : end.line;
  std::memset(dst + line, 0, static_cast<size_t>(kMp3Lines - line) * sizeof *dst);
  *pNonZeroBound = nonZeroBound(dst, line);
  cursor.advance(hufSize);  // over stuffing, or back over a dropped quadruple
  return moxStatusOk;
}

// What the form with the built-in bands and the one with the caller's long bands share.
moxStatus decodeWithLongBands(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pDstIs,
                              int32_t* pDstNonZeroBound, const MoxMp3SideInfo* pSideInfo,
                              const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize,
                              const int16_t* sfbLong) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDstIs, pDstNonZeroBound, pSideInfo, pFrameHeader, sfbLong) &&
                  notNull(*ppBitStream),
              moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(hufSize, 0, pSideInfo->part23Len), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(pSideInfo->bigVals, 0, kMp3Lines / 2), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pSideInfo->blockType, 0, 3), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pSideInfo->winSwitch, 0, 1), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pSideInfo->cnt1TabSel, 0, 1), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pFrameHeader->id, 0, 1), moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(pFrameHeader->layer == 1, moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pFrameHeader->samplingFreq, 0, 2), moxStatusMp3FrameHeaderErr);
  const bool switched = pSideInfo->winSwitch == 1;
  MOX_REQUIRE(switched ? pSideInfo->blockType != 0 : hasRegionCounts(*pSideInfo), moxStatusMp3SideInfoErr);

  const Regions regions = switched ? twoRegions(fixedBoundary(*pSideInfo, *pFrameHeader), *pSideInfo)
                                   : threeRegions(sfbLong + 23 * sfbRow(*pFrameHeader), *pSideInfo);
  return decodeGranule({ppBitStream, pBitOffset}, pDstIs, pDstNonZeroBound, *pSideInfo, regions, hufSize);
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsHuffmanDecode_MP3_1u32s(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pDstIs,
                                      int32_t* pDstNonZeroBound, const MoxMp3SideInfo* pSideInfo,
                                      const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize) {
  return decodeWithLongBands(ppBitStream, pBitOffset, pDstIs, pDstNonZeroBound, pSideInfo, pFrameHeader,
                             hufSize, moxMp3SfbLong[0]);
}

moxStatus moxsHuffmanDecodeSfb_MP3_1u32s(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pDstIs,
                                         int32_t* pDstNonZeroBound, const MoxMp3SideInfo* pSideInfo,
                                         const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize,
                                         const int16_t* pSfbTableLong) {
  return decodeWithLongBands(ppBitStream, pBitOffset, pDstIs, pDstNonZeroBound, pSideInfo, pFrameHeader,
                             hufSize, pSfbTableLong);
}

moxStatus moxsHuffmanDecodeSfbMbp_MP3_1u32s(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pDstIs,
                                            int32_t* pDstNonZeroBound, const MoxMp3SideInfo* pSideInfo,
                                            const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize,
                                            const int16_t* pSfbTableLong, const int16_t* pSfbTableShort,
                                            const int16_t* pMbpTable) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDstIs, pDstNonZeroBound, pSideInfo, pFrameHeader,
                      pSfbTableLong, pSfbTableShort, pMbpTable) &&
                  notNull(*ppBitStream),
              moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(pFrameHeader->id, 0, 1), moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pSideInfo->bigVals, 0, kMp3Lines / 2), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pSideInfo->blockType, 0, 3), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(pSideInfo->winSwitch, 0, 1), moxStatusMp3SideInfoErr);
  const bool switched = pSideInfo->winSwitch == 1;
  MOX_REQUIRE(!switched || pSideInfo->blockType != 0, moxStatusMp3SideInfoErr);
  MOX_REQUIRE(pFrameHeader->layer == 1, moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pFrameHeader->samplingFreq, 0, 2), moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pSideInfo->cnt1TabSel, 0, 1), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(inRange(hufSize, 0, pSideInfo->part23Len), moxStatusMp3SideInfoErr);
  MOX_REQUIRE(switched || hasRegionCounts(*pSideInfo), moxStatusMp3SideInfoErr);

  const int32_t row = sfbRow(*pFrameHeader);
  const int16_t* const sfbLong = pSfbTableLong + 23 * row;
  const Regions regions =
      switched
          ? twoRegions(tabledBoundary(*pSideInfo, sfbLong, pSfbTableShort + 14 * row, pMbpTable + 2 * row),
                       *pSideInfo)
          : threeRegions(sfbLong, *pSideInfo);
  return decodeGranule({ppBitStream, pBitOffset}, pDstIs, pDstNonZeroBound, *pSideInfo, regions, hufSize);
}
