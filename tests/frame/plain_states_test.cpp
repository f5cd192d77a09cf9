// The states without pointers, all families in one table: sizes, lives, whose state is whose.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/context_ids.h"
#include "moxac/mp3.h"
#include "moxac/sbr.h"
#include "moxac/transform.h"
#include "support/alloc_spy.h"
#include "support/block.h"

namespace {

using moxac::ContextId;
using moxtest::AllocSpy;
using moxtest::Block;

struct Family {
  const char* name;
  ContextId identifier;
  int32_t bytes;
  moxStatus (*getSize)(int32_t*);
  moxStatus (*init)(void*);
  moxStatus (*initAlloc)(void**);
  moxStatus (*free)(void*);
};

// clang-format off
#define MOX_FAMILY(id, bytes, Filter, Variant, State)                                       \
  {#Filter "_" #Variant, ContextId::id, bytes, moxs##Filter##GetSize_##Variant,             \
   [](void* p) { return moxs##Filter##Init_##Variant(static_cast<State*>(p)); },            \
   [](void** p) { return moxs##Filter##InitAlloc_##Variant(reinterpret_cast<State**>(p)); }, \
   [](void* p) { return moxs##Filter##Free_##Variant(static_cast<State*>(p)); }}
// clang-format on
const Family kFamilies[] = {
    MOX_FAMILY(sbrFixedAnalysisHq, 2591, AnalysisFilter, SBRHQ_32s32sc, MoxQmfFixedAnalysisState),
    MOX_FAMILY(sbrFixedAnalysisLp, 2591, AnalysisFilter, SBRLP_32s, MoxQmfFixedAnalysisState),
    MOX_FAMILY(sbrFixedSynthesisHq, 10271, SynthesisFilter, SBRHQ_32sc32s, MoxQmfFixedSynthesisState),
    MOX_FAMILY(sbrFixedSynthesisLp, 10271, SynthesisFilter, SBRLP_32s, MoxQmfFixedSynthesisState),
    MOX_FAMILY(sbrFixedSynthesisDownHq, 5151, SynthesisDownFilter, SBRHQ_32sc32s, MoxQmfFixedSynthesisState),
    MOX_FAMILY(sbrFixedSynthesisDownLp, 5151, SynthesisDownFilter, SBRLP_32s, MoxQmfFixedSynthesisState),
    MOX_FAMILY(sbrEncoderAnalysis, 2591, AnalysisFilterEnc, SBR_32f, MoxQmfEncoderState),
    MOX_FAMILY(dtsSynthesis, 2079, SynthesisFilter, DTS_32f, MoxDtsSynthesisState),
    MOX_FAMILY(mp3Synthesis, 2107, SynthesisFilter, PQMF_MP3_32f, MoxMp3SynthesisState),
    MOX_FAMILY(mp3Analysis, 2107, AnalysisFilter, PQMF_MP3_32f, MoxMp3AnalysisState),
};
#undef MOX_FAMILY

TEST(PlainStates, InitAllocTakesTheReportedBytesAndFreeReleasesThem) {
  for (const Family& family : kFamilies) {
    int32_t bytes = 0;
    EXPECT_EQ(family.getSize(nullptr), moxStatusNullPointer);
    ASSERT_EQ(family.getSize(&bytes), moxStatusOk);
    EXPECT_EQ(bytes, family.bytes) << family.name;
    {
      AllocSpy spy;
      EXPECT_EQ(family.initAlloc(nullptr), moxStatusNullPointer);
      void* state = nullptr;
      ASSERT_EQ(family.initAlloc(&state), moxStatusOk);
      EXPECT_EQ(spy.sizes(), std::vector<int32_t>{bytes}) << family.name;
      EXPECT_EQ(family.free(state), moxStatusOk);
      EXPECT_EQ(spy.live(), 0) << family.name;
    }
    AllocSpy spy(0);
    void* state = &spy;
    EXPECT_EQ(family.initAlloc(&state), moxStatusOutOfMemory);
    EXPECT_EQ(state, nullptr);
  }
}

TEST(PlainStates, InCallerMemoryTheyStayWithinTheirBytesAndAnswerToTheirOwnFreeOnly) {
  AllocSpy spy;
  for (const Family& family : kFamilies) {
    EXPECT_EQ(family.init(nullptr), moxStatusNullPointer);
    EXPECT_EQ(family.free(nullptr), moxStatusNullPointer);
    for (int64_t shift = 0; shift < 64; ++shift) {
      Block<uint8_t> memory(family.bytes, shift);  // of noise, between guards
      ASSERT_EQ(family.init(memory.data()), moxStatusOk);
      ContextId identifier;
      std::memcpy(&identifier, memory.data() + (-shift & 15), sizeof identifier);
      EXPECT_EQ(identifier, family.identifier) << family.name;
      if (shift % 16 != 7) continue;
      const Block<uint8_t> before = memory;
      for (const Family& other : kFamilies)
        EXPECT_EQ(other.free(memory.data()),
                  other.identifier == family.identifier ? moxStatusOk : moxStatusContextMismatch);
      EXPECT_EQ(family.free(memory.data()), moxStatusOk) << "the identifier stays";
      EXPECT_SAME_BITS(memory, before);
    }
  }
  EXPECT_TRUE(spy.sizes().empty());
}

}  // namespace
