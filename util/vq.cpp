// The two-stage conjugate code-book search.
#include <cstring>

#include "frame/checks.h"
#include "util/vq_kernels.h"

namespace moxac::util {
namespace {

using VqFamily = TaggedFamily<ContextId::vqCodeBook, VqRecord>;

bool validBook(int32_t vectorLen, int32_t numVectors) {
  return inRange<int32_t>(vectorLen, 1, moxVqMaxVectorLen) &&
         inRange<int32_t>(numVectors, 1, moxVqMaxVectors);
}

const VqRecord& record(const MoxVqCodeBook* book) { return *contextRecord<VqFamily>(book); }

bool validLengths(const int32_t* lengths, int32_t numDiv, const VqRecord& book0, const VqRecord& book1) {
  for (int32_t d = 0; d < numDiv; ++d)
    if (lengths[d] < 1 || lengths[d] > book0.vectorLen || lengths[d] > book1.vectorLen) return false;
  return true;
}

// Every value in 0 .. limit - 1.
bool allBelow(const int32_t* values, int32_t count, int32_t limit) {
  for (int32_t i = 0; i < count; ++i)
    if (values[i] < 0 || values[i] >= limit) return false;
  return true;
}

}  // namespace
}  // namespace moxac::util

using namespace moxac;
using namespace moxac::util;

moxStatus moxsVQCodeBookGetSize_32f(int32_t vectorLen, int32_t numVectors, int32_t* pSize) {
  MOX_REQUIRE(notNull(pSize), moxStatusNullPointer);
  MOX_REQUIRE(validBook(vectorLen, numVectors), moxStatusBadSize);

  *pSize = VqFamily::withSlack(vqRecordBytes(vectorLen, numVectors));
  return moxStatusOk;
}

moxStatus moxsVQCodeBookInit_32f(const float* pVectors, int32_t vectorLen, int32_t numVectors,
                                 int32_t polarity, MoxVqCodeBook* pCodeBook) {
  MOX_REQUIRE(notNull(pVectors, pCodeBook), moxStatusNullPointer);
  MOX_REQUIRE(inRange(polarity, 0, 1), moxStatusOutOfRange);
  MOX_REQUIRE(validBook(vectorLen, numVectors), moxStatusBadSize);

  VqRecord& book = *contextRecord<VqFamily>(pCodeBook);
  book.identifier = VqFamily::kIdentifier;
  book.allocated = 0;
  book.vectorLen = vectorLen;
  book.numVectors = numVectors;
  book.polarity = polarity;
  const size_t rowBytes = static_cast<size_t>(vectorLen) * sizeof(float);
  const size_t padBytes = static_cast<size_t>(vqRowStride(vectorLen)) * sizeof(float) - rowBytes;
  for (int32_t k = 0; k < numVectors; ++k) {
    std::memcpy(book.row(k), pVectors + int64_t{k} * vectorLen, rowBytes);
    std::memset(book.row(k) + vectorLen, 0, padBytes);
  }
  return moxStatusOk;
}

moxStatus moxsVQCodeBookInitAlloc_32f(const float* pVectors, int32_t vectorLen, int32_t numVectors,
                                      int32_t polarity, MoxVqCodeBook** ppCodeBook) {
  const auto sizes = [&](ContextSizes& s) -> moxStatus {
    MOX_REQUIRE(notNull(pVectors), moxStatusNullPointer);
    MOX_REQUIRE(inRange(polarity, 0, 1), moxStatusOutOfRange);
    return moxsVQCodeBookGetSize_32f(vectorLen, numVectors, &s.context);
  };
  const auto init = [&](void* block, void*) {
    return moxsVQCodeBookInit_32f(pVectors, vectorLen, numVectors, polarity,
                                  static_cast<MoxVqCodeBook*>(block));
  };
  return contextInitAlloc<VqFamily>(ppCodeBook, sizes, init);
}

moxStatus moxsVQCodeBookFree_32f(MoxVqCodeBook* pCodeBook) { return contextFree<VqFamily>(pCodeBook); }

moxStatus moxsVQPreliminarySelect_32f(const float* pSrc, const float* pWeight, int32_t* pDstCand, int32_t len,
                                      int32_t numCand, const MoxVqCodeBook* pCodeBook) {
  MOX_REQUIRE(notNull(pSrc, pWeight, pDstCand, pCodeBook), moxStatusNullPointer);
  MOX_REQUIRE(isContext<VqFamily>(pCodeBook), moxStatusContextMismatch);
  const VqRecord& book = record(pCodeBook);
  MOX_REQUIRE(inRange(numCand, 1, book.numVectors), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(len, 1, book.vectorLen), moxStatusBadSize);

  vqPreliminary(VqTarget(pSrc, pWeight, len), book, numCand, pDstCand);
  return moxStatusOk;
}

moxStatus moxsVQMainSelect_32f(const float* pSrc, const float* pWeight, const int32_t* pCand0,
                               const int32_t* pCand1, int32_t* pDstIndex0, int32_t* pDstIndex1, int32_t len,
                               int32_t numCand0, int32_t numCand1, const MoxVqCodeBook* pCodeBook0,
                               const MoxVqCodeBook* pCodeBook1) {
  MOX_REQUIRE(notNull(pSrc, pWeight, pCand0, pCand1, pDstIndex0, pDstIndex1, pCodeBook0, pCodeBook1),
              moxStatusNullPointer);
  MOX_REQUIRE(isContext<VqFamily>(pCodeBook0) && isContext<VqFamily>(pCodeBook1), moxStatusContextMismatch);
  const VqRecord& book0 = record(pCodeBook0);
  const VqRecord& book1 = record(pCodeBook1);
  MOX_REQUIRE(inRange(numCand0, 1, book0.numVectors), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(numCand1, 1, book1.numVectors), moxStatusOutOfRange);
  MOX_REQUIRE(allBelow(pCand0, numCand0, book0.numVectors), moxStatusOutOfRange);
  MOX_REQUIRE(allBelow(pCand1, numCand1, book1.numVectors), moxStatusOutOfRange);
  MOX_REQUIRE(validLengths(&len, 1, book0, book1), moxStatusBadSize);

  const VqPair pair = vqMain(VqTarget(pSrc, pWeight, len), book0, pCand0, numCand0, book1, pCand1, numCand1);
  *pDstIndex0 = pair.codeWord0;
  *pDstIndex1 = pair.codeWord1;
  return moxStatusOk;
}

moxStatus moxsVQIndexSelect_32f(const float* pSrc, const float* pWeight, const int32_t* pLength,
                                int32_t* pDstIndex0, int32_t* pDstIndex1, int32_t numDiv, int32_t numCand0,
                                int32_t numCand1, const MoxVqCodeBook* pCodeBook0,
                                const MoxVqCodeBook* pCodeBook1) {
  MOX_REQUIRE(notNull(pSrc, pWeight, pLength, pDstIndex0, pDstIndex1, pCodeBook0, pCodeBook1),
              moxStatusNullPointer);
  MOX_REQUIRE(isContext<VqFamily>(pCodeBook0) && isContext<VqFamily>(pCodeBook1), moxStatusContextMismatch);
  const VqRecord& book0 = record(pCodeBook0);
  const VqRecord& book1 = record(pCodeBook1);
  MOX_REQUIRE(inRange(numCand0, 1, book0.numVectors), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(numCand1, 1, book1.numVectors), moxStatusOutOfRange);
  MOX_REQUIRE(numDiv >= 1, moxStatusBadSize);
  MOX_REQUIRE(validLengths(pLength, numDiv, book0, book1), moxStatusBadSize);

  int32_t cand0[moxVqMaxVectors];
  int32_t cand1[moxVqMaxVectors];
  for (int32_t d = 0; d < numDiv; ++d) {
    const VqTarget target(pSrc, pWeight, pLength[d]);
    vqPreliminary(target, book0, numCand0, cand0);
    vqPreliminary(target, book1, numCand1, cand1);
    const VqPair pair = vqMain(target, book0, cand0, numCand0, book1, cand1, numCand1);
    pDstIndex0[d] = pair.codeWord0;
    pDstIndex1[d] = pair.codeWord1;
    pSrc += pLength[d];
    pWeight += pLength[d];
  }
  return moxStatusOk;
}

moxStatus moxsVQReconstruction_32f(const int32_t* pIndex0, const int32_t* pIndex1, const int32_t* pLength,
                                   float* pDst, int32_t numDiv, const MoxVqCodeBook* pCodeBook0,
                                   const MoxVqCodeBook* pCodeBook1) {
  MOX_REQUIRE(notNull(pIndex0, pIndex1, pLength, pDst, pCodeBook0, pCodeBook1), moxStatusNullPointer);
  MOX_REQUIRE(isContext<VqFamily>(pCodeBook0) && isContext<VqFamily>(pCodeBook1), moxStatusContextMismatch);
  const VqRecord& book0 = record(pCodeBook0);
  const VqRecord& book1 = record(pCodeBook1);
  MOX_REQUIRE(allBelow(pIndex0, numDiv, book0.codeWords()), moxStatusOutOfRange);
  MOX_REQUIRE(allBelow(pIndex1, numDiv, book1.codeWords()), moxStatusOutOfRange);
  MOX_REQUIRE(numDiv >= 1, moxStatusBadSize);
  MOX_REQUIRE(validLengths(pLength, numDiv, book0, book1), moxStatusBadSize);

  for (int32_t d = 0; d < numDiv; ++d) {
    const float* const c0 = book0.vectorOf(pIndex0[d]);
    const float* const c1 = book1.vectorOf(pIndex1[d]);
    const float half0 = 0.5f * book0.signOf(pIndex0[d]);
    const float half1 = 0.5f * book1.signOf(pIndex1[d]);
    for (int32_t j = 0; j < pLength[d]; ++j) pDst[j] = half0 * c0[j] + half1 * c1[j];
    pDst += pLength[d];
  }
  return moxStatusOk;
}
