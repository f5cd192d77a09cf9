// Specs for writing the caller's code books, block encoders, and bit counting.
#include <limits>

#include "moxac/vlc.h"
#include "vlc/encode_kernels.h"

namespace moxac::vlc {
namespace {

const VlcEncodeRecord& encoderOf(const MoxVlcEncodeSpec* pSpec) { return *contextRecord<VlcEncoder>(pSpec); }

template <class Convention>
moxStatus checkedEncode(const int16_t* pSrc, int32_t len, uint8_t** ppBitStream, int32_t* pBitOffset,
                        const MoxVlcEncodeSpec* pSpec, const Convention& convention) {
  const CodeArrays arrays(encoderOf(pSpec));
  MOX_REQUIRE(countBits(arrays, pSrc, len, convention) >= 0, moxStatusVlcError);

  encodeBlock(arrays, pSrc, len, ppBitStream, pBitOffset, convention);
  return moxStatusOk;
}

template <class Convention>
moxStatus checkedCount(const int16_t* pSrc, int32_t len, int32_t* pCount, const MoxVlcEncodeSpec* pSpec,
                       const Convention& convention) {
  const int64_t bits = countBits(CodeArrays(encoderOf(pSpec)), pSrc, len, convention);
  MOX_REQUIRE(bits >= 0, moxStatusVlcError);
  MOX_REQUIRE(bits <= std::numeric_limits<int32_t>::max(), moxStatusBadSize);

  *pCount = static_cast<int32_t>(bits);
  return moxStatusOk;
}

}  // namespace
}  // namespace moxac::vlc

using namespace moxac;
using namespace moxac::vlc;

moxStatus moxsVLCEncodeGetSize_32s(const int32_t* pInputTable, int32_t nRows, int32_t* pSize) {
  MOX_REQUIRE(notNull(pInputTable, pSize), moxStatusNullPointer);
  EncodeLayout layout;
  MOX_TRY(layOutEncoder({pInputTable, nRows}, layout));

  *pSize = layout.bytes;
  return moxStatusOk;
}

moxStatus moxsVLCEncodeInit_32s(const int32_t* pInputTable, int32_t nRows, MoxVlcEncodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pInputTable, pSpec), moxStatusNullPointer);
  const InputTable table(pInputTable, nRows);
  EncodeLayout layout;
  MOX_TRY(layOutEncoder(table, layout));

  buildEncoder(table, layout, *contextRecord<VlcEncoder>(static_cast<void*>(pSpec)));
  return moxStatusOk;
}

moxStatus moxsVLCEncodeInitAlloc_32s(const int32_t* pInputTable, int32_t nRows, MoxVlcEncodeSpec** ppSpec) {
  MOX_REQUIRE(notNull(pInputTable, ppSpec), moxStatusNullPointer);
  return contextInitAlloc<VlcEncoder>(
      ppSpec,
      [&](ContextSizes& sizes) { return moxsVLCEncodeGetSize_32s(pInputTable, nRows, &sizes.context); },
      [&](void* block, void*) {
        return moxsVLCEncodeInit_32s(pInputTable, nRows, static_cast<MoxVlcEncodeSpec*>(block));
      });
}

void moxsVLCEncodeFree_32s(MoxVlcEncodeSpec* pSpec) {
  if (pSpec != nullptr) contextRelease<VlcEncoder>(pSpec);
}

moxStatus moxsVLCEncodeOne_16s1u(int16_t value, uint8_t** ppBitStream, int32_t* pBitOffset,
                                 const MoxVlcEncodeSpec* pSpec) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcError);
  MOX_REQUIRE(isContext<VlcEncoder>(pSpec), moxStatusVlcError);

  return checkedEncode(&value, 1, ppBitStream, pBitOffset, pSpec, PlainValue{});
}

moxStatus moxsVLCEncodeBlock_16s1u(const int16_t* pSrc, int32_t len, uint8_t** ppBitStream,
                                   int32_t* pBitOffset, const MoxVlcEncodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pSrc, ppBitStream, pBitOffset, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcError);
  MOX_REQUIRE(isContext<VlcEncoder>(pSpec), moxStatusVlcError);
  MOX_REQUIRE(len >= 1, moxStatusBadSize);

  return checkedEncode(pSrc, len, ppBitStream, pBitOffset, pSpec, PlainValue{});
}

moxStatus moxsVLCEncodeEscBlock_AAC_16s1u(const int16_t* pSrc, int32_t len, uint8_t** ppBitStream,
                                          int32_t* pBitOffset, const MoxVlcEncodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pSrc, ppBitStream, pBitOffset, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcBadBitOffset);
  MOX_REQUIRE(isContext<VlcEncoder>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(isPairCount(len), moxStatusBadSize);

  return checkedEncode(pSrc, len, ppBitStream, pBitOffset, pSpec, AacEscapePair{});
}

moxStatus moxsVLCEncodeEscBlock_MP3_16s1u(const int16_t* pSrc, int32_t len, int32_t linBits,
                                          uint8_t** ppBitStream, int32_t* pBitOffset,
                                          const MoxVlcEncodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pSrc, ppBitStream, pBitOffset, pSpec) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusVlcBadBitOffset);
  MOX_REQUIRE(isContext<VlcEncoder>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(validLinBits(linBits), moxStatusOutOfRange);
  MOX_REQUIRE(isPairCount(len), moxStatusBadSize);

  return checkedEncode(pSrc, len, ppBitStream, pBitOffset, pSpec, Mp3EscapePair{linBits});
}

moxStatus moxsVLCCountBits_16s32s(const int16_t* pSrc, int32_t len, int32_t* pCount,
                                  const MoxVlcEncodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pSrc, pCount, pSpec), moxStatusNullPointer);
  MOX_REQUIRE(isContext<VlcEncoder>(pSpec), moxStatusVlcError);
  MOX_REQUIRE(len >= 1, moxStatusVlcError);

  return checkedCount(pSrc, len, pCount, pSpec, PlainValue{});
}

moxStatus moxsVLCCountEscBits_AAC_16s32s(const int16_t* pSrc, int32_t len, int32_t* pCount,
                                         const MoxVlcEncodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pSrc, pCount, pSpec), moxStatusNullPointer);
  MOX_REQUIRE(isContext<VlcEncoder>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(isPairCount(len), moxStatusBadSize);

  return checkedCount(pSrc, len, pCount, pSpec, AacEscapePair{});
}

moxStatus moxsVLCCountEscBits_MP3_16s32s(const int16_t* pSrc, int32_t len, int32_t linBits, int32_t* pCount,
                                         const MoxVlcEncodeSpec* pSpec) {
  MOX_REQUIRE(notNull(pSrc, pCount, pSpec), moxStatusNullPointer);
  MOX_REQUIRE(isContext<VlcEncoder>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(validLinBits(linBits), moxStatusOutOfRange);
  MOX_REQUIRE(isPairCount(len), moxStatusBadSize);

  return checkedCount(pSrc, len, pCount, pSpec, Mp3EscapePair{linBits});
}
