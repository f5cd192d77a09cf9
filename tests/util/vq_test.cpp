// Vector quantisation against exhaustive search.
#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <vector>

#include "frame/context_ids.h"
#include "moxac/util.h"
#include "support/alloc_spy.h"
#include "support/block.h"

namespace {

using moxtest::AllocSpy;
using moxtest::Block;

// Small integers, so that every sum is exact in float and in the reference alike, and ties are real.
void smallIntegers(Block<float>& block, int range) {
  for (float& v : block)
    v = static_cast<float>(static_cast<int>(moxtest::noise()() % static_cast<unsigned>(2 * range + 1)) -
                           range);
}

struct Book {
  int32_t len, count, polarity;
  Block<float> vectors;
  Block<uint8_t> memory;

  static int32_t bytes(int32_t len, int32_t count) {
    int32_t size = 0;
    EXPECT_EQ(moxsVQCodeBookGetSize_32f(len, count, &size), moxStatusOk);
    return size;
  }
  Book(int32_t vectorLen, int32_t numVectors, int32_t signs, int64_t shift)
      : len(vectorLen),
        count(numVectors),
        polarity(signs),
        vectors(int64_t{vectorLen} * numVectors),
        memory(bytes(vectorLen, numVectors), shift) {
    smallIntegers(vectors, 5);
    EXPECT_EQ(moxsVQCodeBookInit_32f(vectors, len, count, polarity, spec()), moxStatusOk);
  }
  MoxVqCodeBook* spec() { return reinterpret_cast<MoxVqCodeBook*>(memory.data()); }
  double value(int32_t word, int32_t j) const {
    return (word < count ? 1.0 : -1.0) * vectors[int64_t{word % count} * len + j];
  }
  int32_t words() const { return count << polarity; }
};

double pairError(const float* x, const float* w, int32_t n, const Book& a, int32_t i, const Book& b,
                 int32_t k) {
  double error = 0;
  for (int32_t j = 0; j < n; ++j) {
    const double d = x[j] - 0.5 * (a.value(i, j) + b.value(k, j));
    error += w[j] * d * d;
  }
  return error;
}

TEST(Vq, WithAllCandidatesTheSearchIsExhaustiveAndTiesTakeTheLowestCodeWords) {
  for (int round = 0; round < 60; ++round) {
    const int32_t len = 1 + round % 21;
    Book a(len + round % 2, 1 + round % 13, round & 1, round % 64),
        b(len + round % 3, 1 + round % 9, (round >> 1) & 1, 64 - round);
    const int32_t lengths[] = {len, (len + 1) / 2};
    Block<float> x(2 * len), w(2 * len);
    smallIntegers(x, 7);
    smallIntegers(w, 2);
    for (float& v : w) v = std::fabs(v);
    int32_t got0[2], got1[2];
    ASSERT_EQ(moxsVQIndexSelect_32f(x, w, lengths, got0, got1, 2, a.count, b.count, a.spec(), b.spec()),
              moxStatusOk);
    for (int d = 0; d < 2; ++d) {
      const float* const xs = x.data() + (d == 0 ? 0 : len);
      const float* const ws = w.data() + (d == 0 ? 0 : len);
      std::tuple<double, int32_t, int32_t> best{1e30, 0, 0};
      for (int32_t i = 0; i < a.words(); ++i)
        for (int32_t k = 0; k < b.words(); ++k)
          best = std::min(best, std::tuple{pairError(xs, ws, lengths[d], a, i, b, k), i, k});
      ASSERT_EQ(got0[d], std::get<1>(best)) << "round " << round;
      ASSERT_EQ(got1[d], std::get<2>(best)) << "round " << round;
    }
    std::vector<float> y(static_cast<size_t>(lengths[0] + lengths[1]));
    ASSERT_EQ(moxsVQReconstruction_32f(got0, got1, lengths, y.data(), 2, a.spec(), b.spec()), moxStatusOk);
    for (int32_t j = 0; j < len; ++j)
      ASSERT_EQ(y[static_cast<size_t>(j)], 0.5 * (a.value(got0[0], j) + b.value(got1[0], j)));
  }
}

TEST(Vq, PreliminaryListsTheNearestFirst) {
  for (const int32_t polarity : {0, 1}) {
    Book book(11, 40, polarity, 3);
    Block<float> x(11), w(11);
    smallIntegers(x, 4);
    w.fill(1.0f);
    std::vector<std::pair<double, int32_t>> order;
    for (int32_t k = 0; k < book.count; ++k) {
      double d[2] = {0, 0};
      for (int32_t j = 0; j < 11; ++j)
        for (int s = 0; s < 2; ++s) d[s] += std::pow(x[j] - (s == 0 ? 1 : -1) * book.value(k, j), 2);
      order.emplace_back(polarity == 1 ? std::min(d[0], d[1]) : d[0], k);
    }
    std::sort(order.begin(), order.end());
    for (const int32_t n : {1, 7, 40}) {
      Block<int32_t> cand(n);
      ASSERT_EQ(moxsVQPreliminarySelect_32f(x, w, cand, 11, n, book.spec()), moxStatusOk);
      for (int32_t i = 0; i < n; ++i) EXPECT_EQ(cand[i], order[static_cast<size_t>(i)].second) << i;
    }
  }
}

// A mean that dwarfs the spread: every distance is a hundred-millionth of the vectors' own energies.
TEST(Vq, FindsTheNearestOfVectorsFarFromTheOrigin) {
  for (int round = 0; round < 100; ++round) {
    const int32_t len = 3 + round % 17;
    Book a(len, 30, round & 1, 0), b(len, 20, round >> 1 & 1, 0);
    Block<float> x(len), w(len);
    const auto farOff = [](Block<float>& values) {
      for (float& v : values) v = 1000.0f + 0.01f * moxtest::noiseValue<float>();
    };
    for (Block<float>* values : {&a.vectors, &b.vectors, &x}) farOff(*values);
    for (float& v : w) v = 1.5f + v;
    for (Book* book : {&a, &b})
      ASSERT_EQ(moxsVQCodeBookInit_32f(book->vectors, len, book->count, book->polarity, book->spec()),
                moxStatusOk);

    int32_t nearest = -1, got[2];
    std::pair<double, int32_t> best{1e30, 0};
    for (int32_t k = 0; k < a.count; ++k) best = std::min(best, {pairError(x, w, len, a, k, a, k), k});
    ASSERT_EQ(moxsVQPreliminarySelect_32f(x, w, &nearest, len, 1, a.spec()), moxStatusOk);
    EXPECT_EQ(nearest, best.second) << "round " << round;

    std::tuple<double, int32_t, int32_t> pair{1e30, 0, 0};
    for (int32_t i = 0; i < a.words(); ++i)
      for (int32_t k = 0; k < b.words(); ++k)
        pair = std::min(pair, std::tuple{pairError(x, w, len, a, i, b, k), i, k});
    ASSERT_EQ(moxsVQIndexSelect_32f(x, w, &len, &got[0], &got[1], 1, a.count, b.count, a.spec(), b.spec()),
              moxStatusOk);
    EXPECT_EQ(std::pair(got[0], got[1]), std::pair(std::get<1>(pair), std::get<2>(pair)))
        << "round " << round;
  }
}

TEST(Vq, LifecycleAndSizes) {
  AllocSpy spy;
  Block<float> vectors(8);
  MoxVqCodeBook* book = nullptr;
  int32_t size = 0;
  ASSERT_EQ(moxsVQCodeBookGetSize_32f(2, 4, &size), moxStatusOk);
  ASSERT_EQ(moxsVQCodeBookInitAlloc_32f(vectors, 2, 4, 1, &book), moxStatusOk);
  EXPECT_EQ(spy.sizes(), std::vector<int32_t>{size});
  EXPECT_EQ(moxsVQCodeBookFree_32f(book), moxStatusOk);
  EXPECT_EQ(spy.live(), 0);
  {
    AllocSpy failing(0);
    EXPECT_EQ(moxsVQCodeBookInitAlloc_32f(vectors, 2, 4, 1, &book), moxStatusOutOfMemory);
    EXPECT_EQ(book, nullptr);
  }
  EXPECT_EQ(moxsVQCodeBookGetSize_32f(0, 1, nullptr), moxStatusNullPointer);
  for (const auto& [len, count] : {std::pair{0, 1}, {257, 1}, {1, 0}, {1, 4097}})
    EXPECT_EQ(moxsVQCodeBookGetSize_32f(len, count, &size), moxStatusBadSize);
  EXPECT_EQ(moxsVQCodeBookInitAlloc_32f(vectors, 2, 4, 2, &book), moxStatusOutOfRange);
  EXPECT_EQ(moxsVQCodeBookInitAlloc_32f(nullptr, 2, 4, 2, &book), moxStatusNullPointer);
  EXPECT_EQ(moxsVQCodeBookFree_32f(nullptr), moxStatusNullPointer);
}

TEST(Vq, RefusalsInOrder) {
  Book a(4, 3, 1, 0), other(4, 3, 0, 0), shorter(3, 3, 0, 0);
  float x[8] = {}, w[8] = {};
  int32_t out[8], out1[8];
  std::fill_n(out, 8, 77);
  std::fill_n(out1, 8, 77);
  EXPECT_EQ(moxsVQPreliminarySelect_32f(x, w, out, 0, 0, nullptr), moxStatusNullPointer);
  EXPECT_EQ(moxsVQPreliminarySelect_32f(x, w, out, 0, 4, a.spec()), moxStatusOutOfRange);
  EXPECT_EQ(moxsVQPreliminarySelect_32f(x, w, out, 5, 3, a.spec()), moxStatusBadSize);
  const int32_t cand[] = {0, 1, 3};
  EXPECT_EQ(moxsVQMainSelect_32f(x, w, cand, cand, out, out1, 9, 2, 3, a.spec(), other.spec()),
            moxStatusOutOfRange);
  EXPECT_EQ(moxsVQMainSelect_32f(x, w, cand, cand, out, out1, 9, 2, 2, a.spec(), other.spec()),
            moxStatusBadSize);
  EXPECT_EQ(moxsVQMainSelect_32f(x, w, cand, cand, out, out1, 4, 2, 2, a.spec(), shorter.spec()),
            moxStatusBadSize);
  const int32_t lengths[] = {4, 5};
  EXPECT_EQ(moxsVQIndexSelect_32f(x, w, lengths, out, out1, 1, 1, 1, a.spec(), shorter.spec()),
            moxStatusBadSize);
  EXPECT_EQ(moxsVQReconstruction_32f(cand, cand, lengths, x, 1, a.spec(), shorter.spec()), moxStatusBadSize);
  EXPECT_EQ(moxsVQIndexSelect_32f(x, w, lengths, out, out1, 0, 0, 1, a.spec(), other.spec()),
            moxStatusOutOfRange);
  EXPECT_EQ(moxsVQIndexSelect_32f(x, w, lengths, out, out1, 0, 1, 1, a.spec(), other.spec()),
            moxStatusBadSize);
  EXPECT_EQ(moxsVQIndexSelect_32f(x, w, lengths, out, out1, 2, 1, 1, a.spec(), other.spec()),
            moxStatusBadSize);
  Book longer(5, 3, 1, 0);  // a vector is no longer than either book's
  const int32_t five = 5;
  for (const bool first : {false, true}) {
    MoxVqCodeBook *const b0 = first ? longer.spec() : a.spec(), *const b1 = first ? a.spec() : longer.spec();
    EXPECT_EQ(moxsVQMainSelect_32f(x, w, cand, cand, out, out1, 5, 2, 2, b0, b1), moxStatusBadSize);
    EXPECT_EQ(moxsVQIndexSelect_32f(x, w, &five, out, out1, 1, 1, 1, b0, b1), moxStatusBadSize);
    EXPECT_EQ(moxsVQReconstruction_32f(cand, cand, &five, x, 1, b0, b1), moxStatusBadSize);
  }
  const int32_t words[] = {5, 3};
  float y[8];
  std::fill_n(y, 8, 5.0f);
  EXPECT_EQ(moxsVQReconstruction_32f(words, words, lengths, y, 1, a.spec(), other.spec()),
            moxStatusOutOfRange);
  EXPECT_EQ(moxsVQReconstruction_32f(words, words, lengths, y, 2, a.spec(), a.spec()), moxStatusBadSize);
  EXPECT_EQ(moxsVQReconstruction_32f(words, words, lengths, y, 0, a.spec(), a.spec()), moxStatusBadSize);
  *reinterpret_cast<moxac::ContextId*>(other.memory.data()) = moxac::ContextId::vlcEncoder;
  EXPECT_EQ(moxsVQReconstruction_32f(words, words, lengths, y, 0, a.spec(), other.spec()),
            moxStatusContextMismatch);
  EXPECT_EQ(moxsVQCodeBookFree_32f(other.spec()), moxStatusContextMismatch);
  for (int i = 0; i < 8; ++i) EXPECT_TRUE(out[i] == 77 && out1[i] == 77 && y[i] == 5.0f);
}

}  // namespace
