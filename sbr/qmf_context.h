// The context of a float QMF bank, the same for all six shapes. From the caller's pointer rounded up to 16:
//
//   embedded transform context | header (64 bytes) | delay line | what the family adds
//
// each part on a 16-byte boundary. Init hands back the header's address, and later calls take that.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/align.h"
#include "frame/checks.h"
#include "frame/context_ids.h"
#include "transform/fft.h"

namespace moxac::sbr {

struct QmfHeader {
  ContextId identifier;
  float* delay;
  int32_t position;  // where the next slot goes in
  void* transform;
};

inline constexpr int32_t kQmfHeaderBytes = 64;
static_assert(sizeof(QmfHeader) <= kQmfHeaderBytes);

struct TransformSizes {
  int32_t spec, init, work;
};

// The complex FFT of 2^kOrder points.
template <int kOrder>
struct QmfFftTransform {
  static constexpr int32_t kHint = 2;

  static TransformSizes sizes() {
    TransformSizes s{};
    transform::FftGetSize_C_32fc(kOrder, transform::FftScaleNone, kHint, &s.spec, &s.init, &s.work);
    return s;
  }
  static void* init(uint8_t* memory, uint8_t* initBuffer) {
    transform::FftSpec* spec = nullptr;
    transform::FftInit_C_32fc(&spec, kOrder, transform::FftScaleNone, kHint, memory, initBuffer);
    return spec;
  }
};

// The cosine transforms of the real banks: their tables are compiled in, so the record only says what it is.
struct QmfCosineSpec {
  ContextId identifier;
  int32_t points;
};

template <ContextId kIdentifier, int kPoints>
struct QmfCosineTransform {
  static TransformSizes sizes() { return {static_cast<int32_t>(sizeof(QmfCosineSpec)), 0, 0}; }
  static void* init(uint8_t* memory, uint8_t*) {
    auto* const spec = reinterpret_cast<QmfCosineSpec*>(memory);
    *spec = {kIdentifier, kPoints};
    return spec;
  }
};

// One bank shape: its identifier, transform, and the floats of its delay line. kSpareFloats lie behind the
// line; Init clears the first of them too.
template <ContextId kId, class TransformT, int kDelay, int kSpare = 0>
struct QmfBank {
  using Transform = TransformT;
  static constexpr ContextId kIdentifier = kId;
  static constexpr int kDelayFloats = kDelay;
  static constexpr int kSpareFloats = kSpare;
};

template <class Bank>
moxStatus qmfGetSize(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize) {
  MOX_REQUIRE(notNull(pSpecSize, pInitBufSize, pWorkSize), moxStatusNullPointer);

  constexpr int32_t kSlack = 15;  // of a caller's pointer off the 16-byte grid
  constexpr int32_t kFloats = (Bank::kDelayFloats + Bank::kSpareFloats) * static_cast<int32_t>(sizeof(float));
  const TransformSizes transform = Bank::Transform::sizes();
  *pSpecSize = roundUp(transform.spec, 16) + kQmfHeaderBytes + kFloats + kSlack;
  *pInitBufSize = transform.init + 4;
  *pWorkSize = transform.work + 4;
  return moxStatusOk;
}

template <class Bank, class Spec>
moxStatus qmfInit(Spec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf) {
  MOX_REQUIRE(notNull(ppSpec, pMem, pInitBuf), moxStatusNullPointer);

  auto* const base = alignUp<uint8_t>(pMem, 16);
  uint8_t* const headerBytes = base + roundUp(Bank::Transform::sizes().spec, 16);
  auto* const delay = reinterpret_cast<float*>(headerBytes + kQmfHeaderBytes);
  auto* const header = reinterpret_cast<QmfHeader*>(headerBytes);
  *header = {Bank::kIdentifier, delay, 0, Bank::Transform::init(base, pInitBuf)};
  std::fill_n(delay, Bank::kDelayFloats + (Bank::kSpareFloats > 0 ? 1 : 0), 0.0f);
  *ppSpec = reinterpret_cast<Spec*>(header);
  return moxStatusOk;
}

// The header behind the pointer that Init handed back.
inline QmfHeader* qmfHeader(void* spec) { return static_cast<QmfHeader*>(spec); }

// A pointer to something else may stand at any address, and is looked at as bytes.
template <class Bank>
bool isQmfContext(const void* spec) {
  static_assert(offsetof(QmfHeader, identifier) == 0);
  ContextId identifier;
  std::memcpy(&identifier, spec, sizeof identifier);
  return identifier == Bank::kIdentifier;
}

}  // namespace moxac::sbr
