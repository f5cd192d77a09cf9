// The frame header, read and written. ISO/IEC 11172-3, 2.4.1.3 and 2.4.2.3.
#include <cstdint>

#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/field_cursor.h"

namespace moxac::mp3 {
namespace {

template <class Bits, class Header>
void frameHeaderFields(Bits& bits, Header& header) {
  int32_t syncword = 0xFFF;
  bits(syncword, 12);
  bits(header.id, 1);
  bits(header.layer, 2);
  bits(header.protectionBit, 1);
  bits(header.bitRateIndex, 4);
  bits(header.samplingFreq, 2);
  bits(header.paddingBit, 1);
  bits(header.privateBit, 1);
  bits(header.mode, 2);
  bits(header.modeExt, 2);
  bits(header.rightsBit, 1);
  bits(header.originalCopy, 1);
  bits(header.emphasis, 2);
  if (header.protectionBit == 0) bits(header.crcWord, 16);
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsUnpackFrameHeader_MP3(const uint8_t** ppBitStream, MoxMp3FrameHeader* pFrameHeader) {
  MOX_REQUIRE(notNull(ppBitStream, pFrameHeader) && notNull(*ppBitStream), moxStatusNullPointer);

  FieldReader reader(*ppBitStream);
  frameHeaderFields(reader, *pFrameHeader);
  *ppBitStream = reader.position();
  return moxStatusOk;
}

moxStatus moxsPackFrameHeader_MP3(const MoxMp3FrameHeader* pSrcFrameHeader, uint8_t** ppBitStream) {
  MOX_REQUIRE(notNull(pSrcFrameHeader, ppBitStream) && notNull(*ppBitStream), moxStatusNullPointer);

  FieldWriter writer(*ppBitStream);
  frameHeaderFields(writer, *pSrcFrameHeader);
  *ppBitStream = writer.position();
  return moxStatusOk;
}
