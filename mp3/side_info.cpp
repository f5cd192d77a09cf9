// The side information of a frame, read and written. ISO/IEC 11172-3 and 13818-3, 2.4.1.7 and 2.4.2.7.
#include <cstdint>

#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/field_cursor.h"
#include "mp3/header_fields.h"

namespace moxac::mp3 {
namespace {

bool hasSideInfo(const MoxMp3FrameHeader& header) {
  return inRange(header.id, 0, 1) && header.layer == MOX_MP3_LAYER_III &&
         inRange(header.mode, 0, MOX_MP3_SINGLE_CHANNEL);
}

// Switched blocks do not code their region counts. They always sum to 20: region 2 is empty.
void setSwitchedRegionCounts(MoxMp3SideInfo& record) {
  const bool wholeShort = record.blockType == MOX_MP3_SHORT && record.mixedBlock == 0;
  record.reg0Cnt = wholeShort ? 8 : 7;
  record.reg1Cnt = 20 - record.reg0Cnt;
}

// One record; false when it claims a switched window of the normal type, which ends the walk there.
template <class Bits, class Record>
bool recordFields(Bits& bits, Record& record, bool mpeg1) {
  bits(record.part23Len, 12);
  bits(record.bigVals, 9);
  bits(record.globGain, 8);
  bits(record.sfCompress, mpeg1 ? 4 : 9);
  bits(record.winSwitch, 1);
  if (record.winSwitch == 1) {
    // The writer stops ahead of the group, the reader has taken all of it before it judges the type.
    if (!Bits::kReads && record.blockType == 0) return false;
    bits(record.blockType, 2);
    bits(record.mixedBlock, 1);
    for (int i = 0; i < 2; ++i) bits(record.tableSelect[i], 5);
    for (int i = 0; i < 3; ++i) bits(record.subBlockGain[i], 3);
    if constexpr (Bits::kReads) {
      if (record.blockType == 0) return false;
      setSwitchedRegionCounts(record);
    }
  } else {
    for (int i = 0; i < 3; ++i) bits(record.tableSelect[i], 5);
    bits(record.reg0Cnt, 4);
    bits(record.reg1Cnt, 3);
    if constexpr (Bits::kReads) record.blockType = record.mixedBlock = 0;
  }
  if (mpeg1) bits(record.preFlag, 1);
  bits(record.sfScale, 1);
  bits(record.cnt1TabSel, 1);
  return true;
}

template <class Bits, class Record, class Value, class Scfsi>
bool sideInfoFields(Bits& bits, Record* records, Value& mainDataBegin, Value& privateBits, Scfsi* scfsi,
                    const MoxMp3FrameHeader& header) {
  const bool mpeg1 = header.id == 1;
  const int32_t channels = channelCount(header), granules = granuleCount(header);

  bits(mainDataBegin, mpeg1 ? 9 : 8);
  bits(privateBits, mpeg1 ? (channels == 1 ? 5 : 3) : channels);
  if (mpeg1)
    for (int32_t i = 0; i < 4 * channels; ++i) bits(scfsi[i], 1);
  for (int32_t i = 0; i < granules * channels; ++i)
    if (!recordFields(bits, records[i], mpeg1)) return false;
  return true;
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsUnpackSideInfo_MP3(const uint8_t** ppBitStream, MoxMp3SideInfo* pDstSideInfo,
                                 int32_t* pDstMainDataBegin, int32_t* pDstPrivateBits, int32_t* pDstScfsi,
                                 const MoxMp3FrameHeader* pFrameHeader) {
  MOX_REQUIRE(
      notNull(ppBitStream, pDstSideInfo, pDstMainDataBegin, pDstPrivateBits, pDstScfsi, pFrameHeader) &&
          notNull(*ppBitStream),
      moxStatusNullPointer);
  MOX_REQUIRE(hasSideInfo(*pFrameHeader), moxStatusMp3FrameHeaderErr);

  FieldReader reader(*ppBitStream);
  const bool complete =
      sideInfoFields(reader, pDstSideInfo, *pDstMainDataBegin, *pDstPrivateBits, pDstScfsi, *pFrameHeader);
  *ppBitStream = reader.position();
  return complete ? moxStatusOk : moxStatusMp3SideInfoErr;
}

moxStatus moxsPackSideInfo_MP3(const MoxMp3SideInfo* pSrcSideInfo, uint8_t** ppBitStream,
                               int32_t mainDataBegin, int32_t privateBits, const int32_t* pSrcScfsi,
                               const MoxMp3FrameHeader* pFrameHeader) {
  MOX_REQUIRE(notNull(pSrcSideInfo, ppBitStream, pSrcScfsi, pFrameHeader) && notNull(*ppBitStream),
              moxStatusNullPointer);
  MOX_REQUIRE(hasSideInfo(*pFrameHeader), moxStatusMp3FrameHeaderErr);

  FieldWriter writer(*ppBitStream);
  sideInfoFields(writer, pSrcSideInfo, mainDataBegin, privateBits, pSrcScfsi, *pFrameHeader);
  *ppBitStream = writer.positionAfterLastByte();  // on a byte boundary but after an early stop
  return moxStatusOk;
}
