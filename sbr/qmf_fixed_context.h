// The context of a fixed-point QMF bank: at the caller's pointer rounded up to 16, a header and the delay
// line in doubles, so that nothing is rounded between the words that come in and those that go out.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/context.h"

namespace moxac {

struct alignas(16) QmfFixedRecord {
  ContextId identifier;
  uint32_t allocated;
  int32_t position;  // where the next slot goes in
  int32_t bands;     // of the bank that wrote the line

  double* delay() { return reinterpret_cast<double*>(this + 1); }
};

// One family: its identifier, bands, and the values of the delay line a slot brings.
template <ContextId kId, int kBandsT, int kStep>
struct QmfFixedBank {
  using Record = QmfFixedRecord;
  static constexpr ContextId kIdentifier = kId;
  static constexpr uintptr_t kAlignment = 16;
  static constexpr OnFree kOnFree = OnFree::keepIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::leaveBlock;

  static constexpr int kBands = kBandsT;
  static constexpr int kDelay = 10 * kStep;
  static constexpr int32_t kBytes =
      static_cast<int32_t>(sizeof(QmfFixedRecord) + kDelay * sizeof(double) + kAlignment - 1);
};

template <class Bank>
void clearHistory(QmfFixedRecord& record) {
  record.position = 0;
  record.bands = Bank::kBands;
  std::fill_n(record.delay(), Bank::kDelay, 0.0);
}

template <class Bank>
moxStatus qmfFixedGetSize(int32_t* pSize) {
  MOX_REQUIRE(notNull(pSize), moxStatusNullPointer);
  *pSize = Bank::kBytes;
  return moxStatusOk;
}

template <class Bank>
moxStatus qmfFixedInit(void* pState) {
  MOX_REQUIRE(notNull(pState), moxStatusNullPointer);

  QmfFixedRecord& record = *contextRecord<Bank>(pState);
  record.identifier = Bank::kIdentifier;
  record.allocated = 0;
  clearHistory<Bank>(record);
  return moxStatusOk;
}

template <class Bank, class State>
moxStatus qmfFixedInitAlloc(State** ppState) {
  return contextInitAlloc<Bank>(
      ppState, [](ContextSizes& sizes) { return qmfFixedGetSize<Bank>(&sizes.context); },
      [](void* block, void*) { return qmfFixedInit<Bank>(block); });
}

}  // namespace moxac
