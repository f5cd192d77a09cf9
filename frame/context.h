// The life of a context: GetSize, Init, InitAlloc, Free, and the identifier check of every later call.
//
// A family says what it is in a traits struct and gets the four operations from here:
//
//   struct Family {
//     using Record = ...;                       // has .identifier (ContextId) and .allocated (32-bit)
//     static constexpr ContextId kIdentifier;
//     static constexpr uintptr_t kAlignment;    // 16, 64; 1 when the caller's pointer is used as it is
//     static constexpr OnFree kOnFree;
//     static constexpr OnLateFailure kOnLateFailure;
//   };
//
// The layout of the record is computed by one function per family that feeds both GetSize and Init.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/align.h"
#include "frame/checks.h"
#include "frame/context_ids.h"
#include "frame/memory.h"

namespace moxac {

// Tagged contexts keep their identifier after Free; numbered and VLC contexts have it cleared, so that a
// second Free (or any other call) meets a mismatch.
enum class OnFree { keepIdentifier, clearIdentifier };

// When InitAlloc fails after the context's block was obtained: most families leave the unfinished block in
// the caller's pointer, neither freed nor marked allocated; some release it.
enum class OnLateFailure { leaveBlock, releaseBlock };

// What the tagged contexts on a 16-byte grid have in common, that is most of them.
template <ContextId kId, class RecordT>
struct TaggedFamily {
  using Record = RecordT;
  static constexpr ContextId kIdentifier = kId;
  static constexpr uintptr_t kAlignment = 16;
  static constexpr OnFree kOnFree = OnFree::keepIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::leaveBlock;

  // A block of `bytes` at any alignment of the caller's pointer.
  static constexpr int32_t withSlack(size_t bytes) { return static_cast<int32_t>(bytes + kAlignment - 1); }
};

// Bytes that GetSize reports.
struct ContextSizes {
  int32_t context = 0;
  int32_t work = 0;  // 0: the family's Init takes no work buffer
};

template <class Family>
typename Family::Record* contextRecord(void* pointer) {
  return alignUp<typename Family::Record>(pointer, Family::kAlignment);
}

template <class Family>
const typename Family::Record* contextRecord(const void* pointer) {
  return alignUp<const typename Family::Record>(pointer, Family::kAlignment);
}

template <class Family>
bool isContext(const void* pointer) {
  return contextRecord<Family>(pointer)->identifier == Family::kIdentifier;
}

// sizes() -> moxStatus fills ContextSizes; init(block, work) -> moxStatus builds the context in the block.
// The pointer handed back is the raw allocation, not the aligned base.
template <class Family, class Spec, class GetSizes, class Init>
moxStatus contextInitAlloc(Spec** ppSpec, GetSizes&& getSizes, Init&& init) {
  MOX_REQUIRE(notNull(ppSpec), moxStatusNullPointer);
  ContextSizes sizes;
  MOX_TRY(getSizes(sizes));

  *ppSpec = nullptr;
  void* const block = allocBytes(sizes.context);
  MOX_REQUIRE(notNull(block), moxStatusOutOfMemory);
  *ppSpec = static_cast<Spec*>(block);
  const auto lateFailure = [&](moxStatus status) {
    if (Family::kOnLateFailure == OnLateFailure::releaseBlock) {
      freeBlock(block);
      *ppSpec = nullptr;
    }
    return status;
  };

  void* work = nullptr;
  if (sizes.work > 0) {
    work = allocBytes(sizes.work);
    if (work == nullptr) return lateFailure(moxStatusOutOfMemory);
  }
  const moxStatus status = init(block, work);
  const bool keepWork = status != moxStatusOk && Family::kOnLateFailure == OnLateFailure::leaveBlock;
  if (work != nullptr && !keepWork) freeBlock(work);
  if (status != moxStatusOk) return lateFailure(status);

  contextRecord<Family>(block)->allocated = 1;
  return moxStatusOk;
}

// The part of Free behind the checks: the identifier, then the block when InitAlloc made it.
template <class Family>
void contextRelease(void* pointer) {
  auto* const record = contextRecord<Family>(pointer);
  if (Family::kOnFree == OnFree::clearIdentifier) record->identifier = ContextId::cleared;
  if (record->allocated == 1) freeBlock(pointer);
}

template <class Family>
moxStatus contextFree(void* pointer) {
  MOX_REQUIRE(notNull(pointer), moxStatusNullPointer);
  MOX_REQUIRE(isContext<Family>(pointer), moxStatusContextMismatch);

  contextRelease<Family>(pointer);
  return moxStatusOk;
}

// A plain state is one block whose size nothing changes and that holds no pointers. Its family adds to the traits
//
//   static constexpr int32_t kBytes;      // of the block, the slack of its alignment included
//   static void start(Record& record);    // all that stands behind the identifier and the flag
template <class Family>
moxStatus plainStateGetSize(int32_t* pSize) {
  MOX_REQUIRE(notNull(pSize), moxStatusNullPointer);
  *pSize = Family::kBytes;
  return moxStatusOk;
}

template <class Family>
moxStatus plainStateInit(void* pState) {
  MOX_REQUIRE(notNull(pState), moxStatusNullPointer);

  auto& record = *contextRecord<Family>(pState);
  record.identifier = Family::kIdentifier;
  record.allocated = 0;
  Family::start(record);
  return moxStatusOk;
}

template <class Family, class State>
moxStatus plainStateInitAlloc(State** ppState) {
  return contextInitAlloc<Family>(
      ppState, [](ContextSizes& sizes) { return plainStateGetSize<Family>(&sizes.context); },
      [](void* block, void*) { return plainStateInit<Family>(block); });
}

}  // namespace moxac
