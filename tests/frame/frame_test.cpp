// The load-time rule, moxcore, and the life of a context.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/context.h"
#include "frame/load.h"
#include "moxcore/moxcore.h"
#include "support/alloc_spy.h"
#include "support/block.h"

namespace {

using namespace moxac;
using moxtest::AllocSpy;

TEST(Frame, LoadTimeFlagWantsBothBits) {
  EXPECT_EQ(featureFlag(0x00), 0);
  EXPECT_EQ(featureFlag(0x10), 0);
  EXPECT_EQ(featureFlag(0x20), 0);
  EXPECT_EQ(featureFlag(0x30), 1);
  EXPECT_EQ(featureFlag(~uint64_t{0x20}), 0);
  EXPECT_EQ(loadTimeFeatureFlag, featureFlag(moxGetEnabledCpuFeatures()));
}

TEST(Frame, CoreServices) {
  EXPECT_TRUE(moxGetEnabledCpuFeatures() & moxCpuAvx) << "these tests run AVX kernels";
  int32_t cache = 0;
  EXPECT_EQ(moxGetMaxCacheSizeB(nullptr), -8);
  ASSERT_EQ(moxGetMaxCacheSizeB(&cache), 0);
  EXPECT_GE(cache, 16384);
}

// A family with a work buffer whose Init can be made to fail.
struct Record {
  int32_t value;
  ContextId identifier;
  uint32_t allocated;
};
struct Tagged {
  using Record = ::Record;
  static constexpr ContextId kIdentifier = ContextId::vqCodeBook;
  static constexpr uintptr_t kAlignment = 64;
  static constexpr OnFree kOnFree = OnFree::keepIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::leaveBlock;
};
struct Numbered : Tagged {
  static constexpr uintptr_t kAlignment = 1;
  static constexpr OnFree kOnFree = OnFree::clearIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::releaseBlock;
};

constexpr int32_t kBlockBytes = static_cast<int32_t>(sizeof(Record)) + 63;

template <class Family>
moxStatus initAlloc(Record** ppSpec, moxStatus sizing, moxStatus building) {
  const auto sizes = [&](ContextSizes& s) {
    s = {kBlockBytes, 40};
    return sizing;
  };
  const auto init = [&](void* block, void*) {
    *contextRecord<Family>(block) = {7, Family::kIdentifier, 0};
    return building;
  };
  return contextInitAlloc<Family>(ppSpec, sizes, init);
}

TEST(Frame, InitAllocSucceedsAndFreeReleasesOnce) {
  AllocSpy spy;
  Record* spec = nullptr;
  EXPECT_EQ(initAlloc<Tagged>(nullptr, moxStatusOk, moxStatusOk), moxStatusNullPointer);
  EXPECT_TRUE(spy.sizes().empty());
  ASSERT_EQ(initAlloc<Tagged>(&spec, moxStatusOk, moxStatusOk), moxStatusOk);
  EXPECT_EQ(spy.sizes(), (std::vector<int32_t>{kBlockBytes, 40}));
  EXPECT_EQ(spy.live(), 1) << "the work buffer is gone";
  EXPECT_TRUE(isContext<Tagged>(spec));
  EXPECT_EQ(contextRecord<Tagged>(spec)->allocated, 1u);
  EXPECT_EQ(contextFree<Tagged>(spec), moxStatusOk);
  EXPECT_EQ(spy.live(), 0);
  EXPECT_EQ(contextFree<Tagged>(nullptr), moxStatusNullPointer);
}

TEST(Frame, InitAllocFailuresKeepTheDocumentedPointer) {
  Record mark{};
  for (const bool release : {false, true}) {
    const auto run = release ? initAlloc<Numbered> : initAlloc<Tagged>;
    {
      AllocSpy spy;
      Record* spec = &mark;
      EXPECT_EQ(run(&spec, moxStatusBadSize, moxStatusOk), moxStatusBadSize);
      EXPECT_EQ(spec, &mark) << "sizing failed: untouched";
      EXPECT_TRUE(spy.sizes().empty());
    }
    for (const int failAt : {0, 1}) {
      AllocSpy spy(failAt);
      Record* spec = &mark;
      EXPECT_EQ(run(&spec, moxStatusOk, moxStatusOk), moxStatusOutOfMemory);
      EXPECT_EQ(spy.live(), failAt == 1 && !release ? 1 : 0);
      EXPECT_EQ(spec != nullptr, failAt == 1 && !release);
      spy.releaseLeft();
    }
    AllocSpy spy;
    Record* spec = &mark;
    EXPECT_EQ(run(&spec, moxStatusOk, moxStatusVlcBadTable), moxStatusVlcBadTable);
    EXPECT_EQ(spy.live(), release ? 0 : 2);
    if (release) {
      EXPECT_EQ(spec, nullptr);
    } else {
      ASSERT_NE(spec, nullptr);
      EXPECT_EQ(contextRecord<Tagged>(spec)->allocated, 0u) << "not marked allocated";
    }
    spy.releaseLeft();
  }
}

TEST(Frame, FreeOfCallerMemoryAndOfOtherFamilies) {
  moxtest::Block<uint8_t> memory(kBlockBytes + 64, 5);
  *contextRecord<Tagged>(memory.data()) = {1, ContextId::vqCodeBook, 0};
  AllocSpy spy;
  EXPECT_EQ(contextFree<Tagged>(memory.data()), moxStatusOk);
  EXPECT_EQ(contextFree<Tagged>(memory.data()), moxStatusOk) << "tagged: the identifier stays";
  contextRecord<Tagged>(memory.data())->identifier = ContextId::vlcDecoder;
  EXPECT_EQ(contextFree<Tagged>(memory.data()), moxStatusContextMismatch);

  Record record{1, ContextId::vqCodeBook, 0};
  EXPECT_EQ(contextFree<Numbered>(&record), moxStatusOk);
  EXPECT_EQ(contextFree<Numbered>(&record), moxStatusContextMismatch) << "numbered: cleared";
  EXPECT_EQ(spy.live(), 0);
}

}  // namespace
