// The contexts of the float QMF banks and what their operations refuse; what they compute is told in
// tests/frame/banks_test.cpp.
#include <algorithm>
#include <cstring>

#include "moxac/sbr.h"
#include "sbr/qmf_context.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using namespace moxtest;

// The statuses at one alignment of the header's layout: transform, identifier and delay line, nothing in the line.
template <class Spec>
void expectContext(uint32_t identifier, int32_t bytes, int32_t lineFloats, uint32_t transformId,
                   moxStatus (*getSize)(int32_t*, int32_t*, int32_t*),
                   moxStatus (*init)(Spec**, uint8_t*, uint8_t*)) {
  SCOPED_TRACE(testing::Message() << "identifier " << std::hex << identifier);
  int32_t size = 0, initBytes = 0, work = 0;
  expectNeedsEveryPointer(getSize, &size, &initBytes, &work);
  ASSERT_EQ(getSize(&size, &initBytes, &work), moxStatusOk);
  EXPECT_EQ(size, bytes);
  EXPECT_TRUE(initBytes == 4 && work == 4);
  uint8_t buffer[4];
  Spec* spec = nullptr;
  for (int shift = 0; shift < 64; ++shift) {
    Block<uint8_t> memory(size, shift);
    ASSERT_EQ(init(&spec, memory, buffer), moxStatusOk);
    const auto base = (reinterpret_cast<uintptr_t>(memory.data()) + 15) & ~uintptr_t{15};
    const uintptr_t transformBytes = transformId == 4 ? 208 : 16;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(spec), base + transformBytes);
    const auto& h = *reinterpret_cast<const moxac::sbr::QmfHeader*>(spec);
    uint32_t ids[2];
    std::memcpy(&ids[0], spec, 4);
    std::memcpy(&ids[1], h.transform, 4);
    EXPECT_TRUE(ids[0] == identifier && ids[1] == transformId && h.position == 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(h.delay), base + transformBytes + 64);
    EXPECT_GE(reinterpret_cast<uintptr_t>(h.transform), base);
    EXPECT_TRUE(std::all_of(h.delay, h.delay + lineFloats, [](float v) { return v == 0.0f; }));
  }
  uint8_t memory[8192];
  spec = nullptr;
  expectNeedsEveryPointer(init, &spec, memory, buffer);
  EXPECT_EQ(spec, nullptr);
}

TEST(QmfContext, StatedSizesAndLayout) {
#define MOX_LIFE(stem, variant) moxs##stem##GetSize_SBR_##variant, moxs##stem##Init_SBR_##variant
  expectContext(0x434D4157, 208 + 1359, 320, 4, MOX_LIFE(AnalysisFilter, RToC_32f));
  expectContext(0x434D4156, 208 + 1359, 320, 4, MOX_LIFE(AnalysisFilter, RToC_32f32fc));
  expectContext(0x434D4158, 16 + 1359, 320, 22, MOX_LIFE(AnalysisFilter, RToR_32f));
  expectContext(0x434D415A, 208 + 5199, 1280, 4, MOX_LIFE(SynthesisFilter, CToR_32f));
  expectContext(0x434D4159, 208 + 5199, 1280, 4, MOX_LIFE(SynthesisFilter, CToR_32fc32f));
  expectContext(0x434D415B, 16 + 5215, 1281, 21, MOX_LIFE(SynthesisFilter, RToR_32f));
  expectContext(0x434D415D, 208 + 2639, 640, 4, MOX_LIFE(SynthesisDownFilter, CToR_32f));
  expectContext(0x434D415C, 208 + 2639, 640, 4, MOX_LIFE(SynthesisDownFilter, CToR_32fc32f));
  expectContext(0x434D415E, 16 + 2639, 640, 21, MOX_LIFE(SynthesisDownFilter, RToR_32f));
#undef MOX_LIFE
}

// Two contexts, the operation's own and another's, and whatever else a call needs.
template <class Spec>
struct Contexts {
  Block<uint8_t> ownMemory{8192}, foreignMemory{8192};
  Spec *own = nullptr, *foreign = nullptr;
  uint8_t work[4] = {};
  float window[640] = {}, x[64] = {};
  float* row[1] = {x};
  Mox32fc pairs[64] = {};
  Mox32fc* pairRow[1] = {pairs};

  Contexts(moxStatus (*initOwn)(Spec**, uint8_t*, uint8_t*),
           moxStatus (*initForeign)(Spec**, uint8_t*, uint8_t*)) {
    initOwn(&own, ownMemory, work);
    initForeign(&foreign, foreignMemory, work);
  }
};

// The context and the window are looked at first, the sub-bands kept next, the samples last: each call spoils one argument
// less than the one before it. With nothing to do nothing is done.
template <class Op, class... Row>
void expectAnalysisRefusals(Op op, Contexts<MoxQmfAnalysisSpec>& c, Row... rows) {
  const Block<uint8_t> before = c.ownMemory;
  const float* const w = c.window;
  const auto spoilt = [&](const float* window, int kx, MoxQmfAnalysisSpec* spec, uint8_t* work) {
    return op(nullptr, Row{}..., window, 0, 0, kx, spec, work);
  };
  EXPECT_EQ(spoilt(w, 33, nullptr, c.work), moxStatusNullPointer);
  EXPECT_EQ(spoilt(nullptr, 33, c.foreign, c.work), moxStatusNullPointer);
  EXPECT_EQ(spoilt(w, 33, c.foreign, nullptr), moxStatusNullPointer);
  EXPECT_EQ(spoilt(w, 33, c.foreign, c.work), moxStatusContextMismatch);
  for (const int kx : {33, -1}) EXPECT_EQ(spoilt(w, kx, c.own, c.work), moxStatusBadSize);
  expectNeedsEveryPointer(op, c.x, rows..., w, 0, 0, 32, c.own, c.work);
  for (const int slots : {0, -5}) EXPECT_EQ(op(c.x, rows..., w, slots, 0, 32, c.own, c.work), moxStatusOk);
  EXPECT_SAME_BITS(c.ownMemory, before);
}

template <class Op, class... Row>
void expectSynthesisRefusals(Op op, Contexts<MoxQmfSynthesisSpec>& c, Row... rows) {
  const Block<uint8_t> before = c.ownMemory;
  const float* const w = c.window;
  const auto spoilt = [&](const float* window, MoxQmfSynthesisSpec* spec, uint8_t* work) {
    return op(Row{}..., nullptr, window, 0, spec, work);
  };
  EXPECT_EQ(spoilt(w, nullptr, c.work), moxStatusNullPointer);
  EXPECT_EQ(spoilt(nullptr, c.foreign, c.work), moxStatusNullPointer);
  EXPECT_EQ(spoilt(w, c.foreign, nullptr), moxStatusNullPointer);
  EXPECT_EQ(spoilt(w, c.foreign, c.work), moxStatusContextMismatch);
  expectNeedsEveryPointer(op, rows..., c.x, w, 0, c.own, c.work);
  EXPECT_EQ(op(rows..., c.x, w, -5, c.own, c.work), moxStatusOk);
  EXPECT_SAME_BITS(c.ownMemory, before);
}

TEST(Qmf, RefusesInOrder) {
  using A = Contexts<MoxQmfAnalysisSpec>;
  const auto initSplit = moxsAnalysisFilterInit_SBR_RToC_32f;
  const auto initReal = moxsAnalysisFilterInit_SBR_RToR_32f;
  A split(initSplit, initReal), pairs(moxsAnalysisFilterInit_SBR_RToC_32f32fc, initReal),
      real(initReal, initSplit);
  expectAnalysisRefusals(moxsAnalysisFilter_SBR_RToC_32f_D2L, split, split.row, split.row);
  expectAnalysisRefusals(moxsAnalysisFilter_SBR_RToC_32f32fc_D2L, pairs, pairs.pairRow);
  expectAnalysisRefusals(moxsAnalysisFilter_SBR_RToR_32f_D2L, real, real.row);

  using S = Contexts<MoxQmfSynthesisSpec>;
  const auto full = moxsSynthesisFilterInit_SBR_CToR_32f;
  const auto down = moxsSynthesisDownFilterInit_SBR_CToR_32f;
  S split64(full, down), pairs64(moxsSynthesisFilterInit_SBR_CToR_32fc32f, full),
      real64(moxsSynthesisFilterInit_SBR_RToR_32f, full), split32(down, full),
      pairs32(moxsSynthesisDownFilterInit_SBR_CToR_32fc32f, full),
      real32(moxsSynthesisDownFilterInit_SBR_RToR_32f, full);
  expectSynthesisRefusals(moxsSynthesisFilter_SBR_CToR_32f_D2L, split64, split64.row, split64.row);
  expectSynthesisRefusals(moxsSynthesisFilter_SBR_CToR_32fc32f_D2L, pairs64, pairs64.pairRow);
  expectSynthesisRefusals(moxsSynthesisFilter_SBR_RToR_32f_D2L, real64, real64.row);
  expectSynthesisRefusals(moxsSynthesisDownFilter_SBR_CToR_32f_D2L, split32, split32.row, split32.row);
  expectSynthesisRefusals(moxsSynthesisDownFilter_SBR_CToR_32fc32f_D2L, pairs32, pairs32.pairRow);
  expectSynthesisRefusals(moxsSynthesisDownFilter_SBR_RToR_32f_D2L, real32, real32.row);
}

// The fixed-point banks: nulls, whose state, sub-bands kept, slots.
template <class Op, class State, class Src, class Dst, class... Kx>
void expectFixedRefusals(Op op, moxStatus (*init)(State*), moxStatus (*initForeign)(State*), Src src, Dst dst,
                         Kx... kx) {
  Block<uint8_t> own(10271), other(10271);
  auto* const state = reinterpret_cast<State*>(own.data());
  auto* const foreign = reinterpret_cast<State*>(other.data());
  init(state), initForeign(foreign);
  const Block<uint8_t> before = own;
  expectNeedsEveryPointer(op, src, dst, 0, kx..., foreign);
  EXPECT_EQ(op(src, dst, 0, kx..., foreign), moxStatusContextMismatch);
  if constexpr (sizeof...(Kx) > 0) {
    for (const int bad : {33, -1, INT32_MIN}) EXPECT_EQ(op(src, dst, 0, bad, state), moxStatusOutOfRange);
  }
  for (const int slots : {0, -1, INT32_MIN})
    EXPECT_EQ(op(src, dst, slots, (kx - 1)..., state), moxStatusBadSize);
  EXPECT_SAME_BITS(own, before);
}

TEST(QmfFixed, RefusesInOrder) {
  int32_t x[128] = {}, y[128] = {};
  Mox32sc pairs[64] = {};
  const auto hq = moxsAnalysisFilterInit_SBRHQ_32s32sc, lp = moxsAnalysisFilterInit_SBRLP_32s;
  expectFixedRefusals(moxsAnalysisFilter_SBRHQ_32s32sc, hq, lp, x, pairs, 33);
  expectFixedRefusals(moxsAnalysisFilter_SBRLP_32s, lp, hq, x, y, 33);
  const auto fullHq = moxsSynthesisFilterInit_SBRHQ_32sc32s, fullLp = moxsSynthesisFilterInit_SBRLP_32s;
  expectFixedRefusals(moxsSynthesisFilter_SBRHQ_32sc32s, fullHq, fullLp, pairs, y);
  expectFixedRefusals(moxsSynthesisFilter_SBRLP_32s, fullLp, fullHq, x, y);
  expectFixedRefusals(moxsSynthesisDownFilter_SBRHQ_32sc32s, moxsSynthesisDownFilterInit_SBRHQ_32sc32s,
                      fullLp, pairs, y);
  expectFixedRefusals(moxsSynthesisDownFilter_SBRLP_32s, moxsSynthesisDownFilterInit_SBRLP_32s, fullHq, x, y);
  for (const int32_t v : y) EXPECT_EQ(v, 0);
}

}  // namespace
