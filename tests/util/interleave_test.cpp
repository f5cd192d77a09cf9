// Interleaving and conversion.
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "moxac/util.h"
#include "support/block.h"
#include "util/interleave_kernels.h"

namespace {

using moxtest::Block;

moxStatus interleave(const int16_t* const* s, int32_t n, int32_t len, int16_t* d) {
  return moxsInterleave_16s(s, n, len, d);
}
moxStatus interleave(const float* const* s, int32_t n, int32_t len, float* d) {
  return moxsInterleave_32f(s, n, len, d);
}
moxStatus deinterleave(const int16_t* s, int32_t n, int32_t len, int16_t* const* d) {
  return moxsDeinterleave_16s(s, n, len, d);
}
moxStatus deinterleave(const float* s, int32_t n, int32_t len, float* const* d) {
  return moxsDeinterleave_32f(s, n, len, d);
}

template <class T>
class Interleave : public ::testing::Test {};
using Samples = ::testing::Types<int16_t, float>;
TYPED_TEST_SUITE(Interleave, Samples);

template <class T>
void roundTrip(int32_t channels, int32_t len, int64_t interleavedShift, int64_t channelShift) {
  std::vector<std::unique_ptr<Block<T>>> in, out;
  std::vector<const T*> src;
  std::vector<T*> dst;
  for (int32_t c = 0; c < channels; ++c) {
    in.push_back(std::make_unique<Block<T>>(len, channelShift));
    out.push_back(std::make_unique<Block<T>>(len, channelShift));
    src.push_back(in.back()->data());
    dst.push_back(out.back()->data());
  }
  Block<T> together(int64_t{channels} * len, interleavedShift);
  const bool aligned = interleavedShift % 16 == 0 && channelShift % 16 == 0;
  const moxStatus want = aligned ? moxStatusOk : moxStatusMisalignedData;
  ASSERT_EQ(interleave(src.data(), channels, len, together.data()), want);
  for (int32_t c = 0; c < channels; ++c)
    for (int32_t i = 0; i < len; ++i)
      ASSERT_EQ(
          std::memcmp(&together[int64_t{i} * channels + c], &(*in[static_cast<size_t>(c)])[i], sizeof(T)), 0)
          << channels << " channels, sample " << i;
  ASSERT_EQ(deinterleave(together.data(), channels, len, dst.data()), want);
  for (size_t c = 0; c < in.size(); ++c) ASSERT_TRUE(moxtest::sameBits(*out[c], *in[c])) << "channel " << c;
}

TYPED_TEST(Interleave, EveryTailAndAlignment) {
  const auto step = static_cast<int64_t>(sizeof(TypeParam));
  for (const int32_t channels : {1, 2, 3, 6})
    for (const int32_t len : {1, 2, 7, 8, 15, 16, 17, 31, 33, 100})
      for (int64_t shift = 0; shift < 32; shift += step) {
        roundTrip<TypeParam>(channels, len, shift, 0);
        roundTrip<TypeParam>(channels, len, 0, shift);
        roundTrip<TypeParam>(channels, len, shift, shift);
      }
}

TYPED_TEST(Interleave, StreamingSizesAtReachableAndUnreachableBoundaries) {
  const auto len =
      static_cast<int32_t>(moxac::util::kStreamBytes / (2 * static_cast<int64_t>(sizeof(TypeParam))) + 13);
  const auto step = static_cast<int64_t>(sizeof(TypeParam));
  for (const auto& [together, channels] : {std::pair<int64_t, int64_t>{0, 0}, {8, 8}, {step, 2 * step}})
    roundTrip<TypeParam>(2, len, together, channels);
}

TYPED_TEST(Interleave, RefusalsInOrder) {
  using T = TypeParam;
  Block<T> a(8), b(8), both(16);
  const Block<T> before = both;
  T* rows[] = {a.data(), nullptr};
  const T* const* src = rows;
  EXPECT_EQ(interleave(nullptr, 0, 0, both.data()), moxStatusNullPointer);
  EXPECT_EQ(interleave(src, 0, 0, static_cast<T*>(nullptr)), moxStatusNullPointer);
  EXPECT_EQ(interleave(src, 0, 0, both.data()), moxStatusBadChannelCount);
  EXPECT_EQ(interleave(src, 2, 0, both.data()), moxStatusBadSize);
  EXPECT_EQ(interleave(src, 2, 8, both.data()), moxStatusNullPointer);
  EXPECT_EQ(deinterleave(static_cast<const T*>(nullptr), 0, 0, rows), moxStatusNullPointer);
  EXPECT_EQ(deinterleave(both.data(), -1, 0, rows), moxStatusBadChannelCount);
  EXPECT_EQ(deinterleave(both.data(), 2, -5, rows), moxStatusBadSize);
  EXPECT_EQ(deinterleave(both.data(), 2, 8, rows), moxStatusNullPointer);
  EXPECT_SAME_BITS(both, before);
}

TEST(Join, RoundsToEvenSaturatesAndAgreesWithItsTwin) {
  const float edge[] = {0.5f,      1.5f, -0.5f,    -2.5f,     32766.5f,    32767.5f, 1e9f, -1e9f,
                        -32768.5f, NAN,  INFINITY, -INFINITY, 0.49999997f, -1.5f,    3.0f, -3.49f};
  const int16_t want[] = {0,      2,      0,     -2,     32766, 32767, 32767, -32768,
                          -32768, -32768, 32767, -32768, 0,     -2,    3,     -3};
  for (const int32_t channels : {1, 2, 3, 6, 8, 11, 16})
    for (const int32_t len : {1, 7, 8, 16, 27}) {
      std::vector<std::unique_ptr<Block<float>>> rows;
      std::vector<const float*> src;
      for (int32_t c = 0; c < channels; ++c) {
        rows.push_back(std::make_unique<Block<float>>(len, 4));
        for (int32_t i = 0; i < len; ++i) (*rows.back())[i] = edge[(i + c) % 16];
        src.push_back(rows.back()->data());
      }
      Block<int16_t> got(int64_t{channels} * len, 2);
      ASSERT_EQ(moxsJoin_32f16s_D2L(src.data(), channels, len, got), moxStatusOk);
      for (int32_t c = 0; c < channels; ++c)
        for (int32_t i = 0; i < len; ++i)
          ASSERT_EQ(got[i * channels + c], want[(i + c) % 16]) << i << ' ' << c;
    }
  const float* none[] = {nullptr};
  int16_t out = 7;
  EXPECT_EQ(moxsJoin_32f16s_D2L(none, 0, 1, &out), moxStatusBadChannelCount);
  EXPECT_EQ(moxsJoin_32f16s_D2L(none, 1, 0, &out), moxStatusBadSize);
  EXPECT_EQ(moxsJoin_32f16s_D2L(none, 1, 1, &out), moxStatusNullPointer);
  EXPECT_EQ(moxsJoin_32f16s_D2L(none, 1, 1, nullptr), moxStatusNullPointer);
  EXPECT_EQ(out, 7);
}

}  // namespace
