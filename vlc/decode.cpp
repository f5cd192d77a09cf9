// Specs for decoding the caller's code books, and the decoders of plain values and escape pairs.
#include "frame/export_alias.h"
#include "moxac/vlc.h"
#include "vlc/decode_kernels.h"

using namespace moxac;
using namespace moxac::vlc;

moxStatus moxsVLCDecodeGetSize_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes,
                                   int32_t nSubTables, int32_t* pSize) {
  MOX_REQUIRE(notNull(pInputTable, pSubTableSizes, pSize), moxStatusNullPointer);
  DecodeLayout layout;
  MOX_TRY(layOutDecoder({pInputTable, nRows}, pSubTableSizes, nSubTables, layout));

  *pSize = layout.bytes;
  return moxStatusOk;
}

moxStatus moxsVLCDecodeInit_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes,
                                int32_t nSubTables, MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pInputTable, pSubTableSizes, pSpec), moxStatusNullPointer);
  const InputTable table(pInputTable, nRows);
  DecodeLayout layout;
  MOX_TRY(layOutDecoder(table, pSubTableSizes, nSubTables, layout));

  return buildDecoder(table, layout, *contextRecord<VlcDecoder>(static_cast<void*>(pSpec)));
}

moxStatus moxsVLCDecodeInitAlloc_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes,
                                     int32_t nSubTables, MoxVlcDecodeSpec** ppSpec) {
  MOX_REQUIRE(notNull(pInputTable, pSubTableSizes, ppSpec), moxStatusNullPointer);
  return contextInitAlloc<VlcDecoder>(
      ppSpec,
      [&](ContextSizes& sizes) {
        return moxsVLCDecodeGetSize_32s(pInputTable, nRows, pSubTableSizes, nSubTables, &sizes.context);
      },
      [&](void* block, void*) {
        return moxsVLCDecodeInit_32s(pInputTable, nRows, pSubTableSizes, nSubTables,
                                     static_cast<MoxVlcDecodeSpec*>(block));
      });
}

void moxsVLCDecodeFree_32s(MoxVlcDecodeSpec* pSpec) {
  if (pSpec != nullptr) contextRelease<VlcDecoder>(pSpec);
}

MOX_EXPORT_ALIAS(moxsVLCDecodeUTupleFree_32s, moxsVLCDecodeFree_32s);

moxStatus moxsVLCDecodeOne_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                 const MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDst, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcError);
  MOX_REQUIRE(isContext<VlcDecoder>(pSpec), moxStatusVlcError);

  return decodeBlock(ppBitStream, pBitOffset, pDst, 1, *contextRecord<VlcDecoder>(pSpec), PlainValues{});
}

moxStatus moxsVLCDecodeBlock_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                   int32_t len, const MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDst, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcError);
  MOX_REQUIRE(isContext<VlcDecoder>(pSpec), moxStatusVlcError);
  MOX_REQUIRE(len >= 1, moxStatusBadSize);

  return decodeBlock(ppBitStream, pBitOffset, pDst, len, *contextRecord<VlcDecoder>(pSpec), PlainValues{});
}

moxStatus moxsVLCDecodeEscBlock_AAC_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                          int32_t len, const MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDst, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcBadBitOffset);
  MOX_REQUIRE(isContext<VlcDecoder>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(isPairCount(len), moxStatusBadSize);

  return decodeBlock(ppBitStream, pBitOffset, pDst, len / 2, *contextRecord<VlcDecoder>(pSpec),
                     AacEscapePairs{});
}

moxStatus moxsVLCDecodeEscBlock_MP3_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                          int32_t len, int32_t linBits, const MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDst, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcBadBitOffset);
  MOX_REQUIRE(isContext<VlcDecoder>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(validLinBits(linBits), moxStatusOutOfRange);
  MOX_REQUIRE(isPairCount(len), moxStatusBadSize);

  return decodeBlock(ppBitStream, pBitOffset, pDst, len / 2, *contextRecord<VlcDecoder>(pSpec),
                     Mp3EscapePairs{linBits});
}
