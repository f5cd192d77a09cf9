// Tuples of magnitudes with their sign bits behind the code word.
#include "moxac/vlc.h"
#include "vlc/decode_kernels.h"

namespace moxac::vlc {
namespace {

// With 24 bits for the magnitudes, 6 for the length of a code word and 2 more, every row fits an entry.
constexpr int32_t kMaxTupleBits = 24;

bool validTuple(int32_t tupleSize, int32_t valueBits) {
  return (tupleSize == 2 || tupleSize == 4) && inRange(valueBits, 1, kMaxTupleBits / tupleSize);
}

bool valuesArePacked(const InputTable& table, int32_t bits) {
  for (int32_t i = 0; i < table.rows(); ++i)
    if (static_cast<uint32_t>(table.value(i)) > lowBits(bits)) return false;
  return true;
}

moxStatus layOutTuples(const InputTable& table, const int32_t* subTableSizes, int32_t nSubTables,
                       int32_t tupleSize, int32_t valueBits, DecodeLayout& layout) {
  MOX_REQUIRE(validTuple(tupleSize, valueBits), moxStatusOutOfRange);
  MOX_TRY(layOutDecoder(table, subTableSizes, nSubTables, layout));
  MOX_REQUIRE(valuesArePacked(table, tupleSize * valueBits), moxStatusVlcBadTable);
  return moxStatusOk;
}

bool isTupleSpec(const MoxVlcDecodeSpec* pSpec) {
  return isContext<VlcDecoder>(pSpec) && contextRecord<VlcDecoder>(pSpec)->tupleSize != 0;
}

int32_t tupleSizeOf(const MoxVlcDecodeSpec* pSpec) {
  return static_cast<int32_t>(contextRecord<VlcDecoder>(pSpec)->tupleSize);
}

template <TupleEscape kEscape>
moxStatus decodeTuples(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t tuples,
                       int32_t linBits, const MoxVlcDecodeSpec* pSpec) {
  const VlcDecodeRecord& record = *contextRecord<VlcDecoder>(pSpec);
  const auto magnitudeBits = static_cast<int32_t>(record.valueBits);
  if (record.tupleSize == 2)
    return decodeBlock(ppBitStream, pBitOffset, pDst, tuples, record,
                       UnsignedTuples<2, kEscape>{magnitudeBits, linBits});
  return decodeBlock(ppBitStream, pBitOffset, pDst, tuples, record,
                     UnsignedTuples<4, kEscape>{magnitudeBits, linBits});
}

}  // namespace
}  // namespace moxac::vlc

using namespace moxac;
using namespace moxac::vlc;

moxStatus moxsVLCDecodeUTupleGetSize_32s(const int32_t* pInputTable, int32_t nRows,
                                         const int32_t* pSubTableSizes, int32_t nSubTables, int32_t tupleSize,
                                         int32_t valueBits, int32_t* pSize) {
  MOX_REQUIRE(notNull(pInputTable, pSubTableSizes, pSize), moxStatusNullPointer);
  DecodeLayout layout;
  MOX_TRY(layOutTuples({pInputTable, nRows}, pSubTableSizes, nSubTables, tupleSize, valueBits, layout));

  *pSize = layout.bytes;
  return moxStatusOk;
}

moxStatus moxsVLCDecodeUTupleInit_32s(const int32_t* pInputTable, int32_t nRows,
                                      const int32_t* pSubTableSizes, int32_t nSubTables, int32_t tupleSize,
                                      int32_t valueBits, MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pInputTable, pSubTableSizes, pSpec), moxStatusNullPointer);
  const InputTable table(pInputTable, nRows);
  DecodeLayout layout;
  MOX_TRY(layOutTuples(table, pSubTableSizes, nSubTables, tupleSize, valueBits, layout));

  VlcDecodeRecord& record = *contextRecord<VlcDecoder>(static_cast<void*>(pSpec));
  const moxStatus built = buildDecoder(table, layout, record);
  record.tupleSize = static_cast<uint32_t>(tupleSize);
  record.valueBits = static_cast<uint32_t>(valueBits);
  return built;
}

moxStatus moxsVLCDecodeUTupleInitAlloc_32s(const int32_t* pInputTable, int32_t nRows,
                                           const int32_t* pSubTableSizes, int32_t nSubTables,
                                           int32_t tupleSize, int32_t valueBits, MoxVlcDecodeSpec** ppSpec) {
  MOX_REQUIRE(notNull(pInputTable, pSubTableSizes, ppSpec), moxStatusNullPointer);
  return contextInitAlloc<VlcDecoder>(
      ppSpec,
      [&](ContextSizes& sizes) {
        return moxsVLCDecodeUTupleGetSize_32s(pInputTable, nRows, pSubTableSizes, nSubTables, tupleSize,
                                              valueBits, &sizes.context);
      },
      [&](void* block, void*) {
        return moxsVLCDecodeUTupleInit_32s(pInputTable, nRows, pSubTableSizes, nSubTables, tupleSize,
                                           valueBits, static_cast<MoxVlcDecodeSpec*>(block));
      });
}

moxStatus moxsVLCDecodeUTupleOne_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                       const MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDst, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcError);
  MOX_REQUIRE(isTupleSpec(pSpec), moxStatusContextMismatch);

  return decodeTuples<TupleEscape::none>(ppBitStream, pBitOffset, pDst, 1, 0, pSpec);
}

moxStatus moxsVLCDecodeUTupleBlock_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                         int32_t len, const MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDst, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcError);
  MOX_REQUIRE(isTupleSpec(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(len >= 1 && len % tupleSizeOf(pSpec) == 0, moxStatusBadSize);

  return decodeTuples<TupleEscape::none>(ppBitStream, pBitOffset, pDst, len / tupleSizeOf(pSpec), 0, pSpec);
}

moxStatus moxsVLCDecodeUTupleEscBlock_AAC_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                int16_t* pDst, int32_t len, const MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDst, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcBadBitOffset);
  MOX_REQUIRE(isTupleSpec(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(len >= 1 && len % tupleSizeOf(pSpec) == 0, moxStatusBadSize);

  return decodeTuples<TupleEscape::aac>(ppBitStream, pBitOffset, pDst, len / tupleSizeOf(pSpec), 0, pSpec);
}

moxStatus moxsVLCDecodeUTupleEscBlock_MP3_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                int16_t* pDst, int32_t len, int32_t linBits,
                                                const MoxVlcDecodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pDst, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcBadBitOffset);
  MOX_REQUIRE(isTupleSpec(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(validLinBits(linBits), moxStatusOutOfRange);
  MOX_REQUIRE(len >= 1 && len % tupleSizeOf(pSpec) == 0, moxStatusBadSize);

  return decodeTuples<TupleEscape::mp3>(ppBitStream, pBitOffset, pDst, len / tupleSizeOf(pSpec), linBits,
                                        pSpec);
}
