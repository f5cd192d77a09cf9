// Temporal noise shaping and its inverse against the recursions written out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "aac/band_tables.h"
#include "moxac/aac.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using namespace moxac;
using namespace moxac::aac;
using moxtest::below;
using moxtest::Block;
using moxtest::expectNeedsEveryPointer;

struct Tns {
  int32_t numFilt[8] = {}, length[8] = {}, order[8] = {}, coefRes[8] = {3, 3, 3, 3, 3, 3, 3, 3},
          direction[8] = {};
  int8_t coef[96] = {};
  int32_t maxSfb = 49, mode = 1, rate = 4, windowLen = 1024;

  moxStatus decode(int32_t* x) const {
    return moxsDecodeTNS_AAC_32s_I(x, numFilt, length, order, coefRes, coef, direction, maxSfb, mode, rate,
                                   windowLen);
  }
  moxStatus encode(int32_t* x) const {
    return moxsEncodeTNS_AAC_32s_I(x, numFilt, length, order, coefRes, coef, direction, maxSfb, mode, rate,
                                   windowLen);
  }
};

// The two filters on a copy of the lines, without a history: the past is looked up.
void filterReference(int32_t* x, int64_t n, const int8_t* coef, int32_t order, int32_t res, bool synthesis) {
  int64_t a[13] = {};  // a[i] in Q31
  for (int32_t m = 1; m <= order; ++m) {
    const int32_t c = coef[m - 1];
    const double steps = (std::exp2(res - 1) + (c < 0 ? 0.5 : -0.5)) / (std::numbers::pi / 2);
    const int64_t k = std::llround(std::sin(c / steps) * 2147483648.0);
    int64_t old[13];
    std::copy(a, a + 13, old);
    for (int32_t i = 1; i < m; ++i) a[i] += (((old[m - i] + 512) >> 10) * k) >> 21;
    a[m] = k;
  }
  int64_t largest = 0;
  for (int64_t v : a) largest = std::max(largest, v < 0 ? -v : v);
  int shift = 31;
  while (largest > 67108864) largest /= 2, --shift;
  for (int64_t& v : a) v >>= 31 - shift;

  const std::vector<int32_t> copy(x, x + n);
  const int32_t* const in = copy.data();
  for (int64_t j = 0; j < n; ++j) {
    __int128 acc = static_cast<__int128>(in[j]) << shift;
    for (int32_t i = 1; i <= order && i <= j; ++i)
      synthesis ? acc -= static_cast<__int128>(a[i]) * x[j - i]
                : acc += static_cast<__int128>(a[i]) * in[j - i];
    x[j] = static_cast<int32_t>(static_cast<uint32_t>(acc >> shift));
  }
}

void filterRange(Block<int32_t>& x, int64_t start, int64_t end, int32_t direction, const int8_t* coef,
                 int32_t order, int32_t res, bool synthesis) {
  std::vector<int32_t> lines(x.begin() + start, x.begin() + std::max(start, end));
  if (direction == 1) std::reverse(lines.begin(), lines.end());
  filterReference(lines.data(), std::ssize(lines), coef, order, res, synthesis);
  if (direction == 1) std::reverse(lines.begin(), lines.end());
  std::copy(lines.begin(), lines.end(), x.begin() + start);
}

TEST(Tns, EqualsTheWrittenOutRecursionForRandomSideData) {
  for (int round = 0; round < 3000; ++round) {
    Tns t;
    const bool isShort = round % 2 == 1;
    t.windowLen = isShort ? 128 : 1024;
    t.rate = below(12);
    const SwbTable swb = swbTable(t.rate, t.windowLen);
    t.maxSfb = below(8) == 0 ? below(swb.numSwb + 1) : swb.numSwb;
    for (int8_t& c : t.coef) c = static_cast<int8_t>(below(16) - 8);
    if (round % 8 == 6) std::fill_n(t.coef, 96, int8_t{0});  // M <= 2^26: the shift stays 31

    Block<int32_t> x(1024, 4 * below(4)), y(x);
    const int headroom = below(3) == 0 ? 0 : 8;  // without headroom the outputs wrap
    for (int i = 0; i < 1024; ++i) x[i] = y[i] = x[i] >> headroom;
    Block<int32_t> wantX(x), wantY(y);
    const int32_t limit =
        std::min<int32_t>(t.maxSfb, isShort ? moxAacTnsMaxBandsShort[t.rate] : moxAacTnsMaxBandsLong[t.rate]);
    int filters = 0, directions = 0;
    const int8_t* coef = t.coef;
    for (int w = 0; w < (isShort ? 8 : 1); ++w) {
      t.numFilt[w] = below(isShort ? 2 : 4);
      t.coefRes[w] = 3 + below(2);
      int32_t top = swb.numSwb;
      for (int i = 0; i < t.numFilt[w]; ++i, ++filters) {
        t.length[filters] = below(top + 1);
        t.order[filters] = below(isShort ? 8 : 13);
        const int32_t bottom = top - t.length[filters];
        if (const int32_t order = t.order[filters]; order > 0) {
          t.direction[directions] = below(2);
          const int64_t start = 128 * w + swb.offset[std::min(limit, bottom)];
          const int64_t end = 128 * w + swb.offset[std::min(limit, top)];
          filterRange(wantX, start, end, t.direction[directions], coef, order, t.coefRes[w], true);
          filterRange(wantY, start, end, t.direction[directions], coef, order, t.coefRes[w], false);
          coef += order;
          ++directions;
        }
        top = bottom;
      }
    }
    ASSERT_EQ(t.decode(x), moxStatusOk);
    ASSERT_EQ(t.encode(y), moxStatusOk);
    ASSERT_TRUE(moxtest::sameBits(x, wantX)) << "decode, round " << round;
    ASSERT_TRUE(moxtest::sameBits(y, wantY)) << "encode, round " << round;
  }
}

TEST(Tns, RefusesInTheDocumentedOrder) {
  Tns t;
  Block<int32_t> x(1024), before(x);
  const auto refused = [&](auto& field, std::initializer_list<int32_t> values, moxStatus want) {
    for (const int32_t value : values) {
      field = static_cast<std::decay_t<decltype(field)>>(value);
      EXPECT_EQ(t.decode(x), want) << value;
    }
  };
  t.numFilt[0] = 1, t.length[0] = 10, t.order[0] = 2, t.coef[0] = 3;
  refused(t.direction[0], {-1, 2}, moxStatusAacTnsDirectionError);
  refused(t.coef[1], {-9, 8}, moxStatusAacTnsCoefError);
  refused(t.coefRes[0], {2, 5}, moxStatusAacTnsCoefResError);
  refused(t.order[0], {-1, 13}, moxStatusAacTnsOrderError);
  refused(t.length[0], {-1, 50}, moxStatusAacTnsLengthError);
  refused(t.numFilt[0], {-1, 4}, moxStatusAacTnsNumFiltError);
  refused(t.maxSfb, {-1, 50, 52}, moxStatusAacMaxSfbError);
  refused(t.rate, {-1, 12}, moxStatusAacSampleRateError);
  refused(t.mode, {0}, moxStatusAacSampleRateError);  // which the decoder ignores
  EXPECT_EQ(t.encode(x), moxStatusAacTnsModeError);
  t.windowLen = 512;
  EXPECT_EQ(t.encode(x), moxStatusAacWinLenError);
  for (auto* op : {moxsDecodeTNS_AAC_32s_I, moxsEncodeTNS_AAC_32s_I})
    expectNeedsEveryPointer(op, x, t.numFilt, t.length, t.order, t.coefRes, t.coef, t.direction, 99, 0, 12,
                            512);
  EXPECT_SAME_BITS(x, before);

  // Filters ahead of a bad one stay applied; order 0 needs neither resolution nor direction.
  t = Tns();
  t.numFilt[0] = 3, t.coefRes[0] = 9;
  t.length[0] = t.length[1] = 0;
  t.length[2] = 50;
  EXPECT_EQ(t.decode(x), moxStatusAacTnsLengthError);
  t.length[0] = 20, t.order[0] = 1, t.coefRes[0] = 4, t.coef[0] = 7;
  EXPECT_EQ(t.decode(x), moxStatusAacTnsLengthError);
  EXPECT_FALSE(moxtest::sameBits(x, before));
  // Eight short windows: one filter each, of order 7 at the most.
  t = Tns();
  t.windowLen = 128, t.maxSfb = 14, t.numFilt[7] = 1, t.order[0] = 8;
  EXPECT_EQ(t.encode(x), moxStatusAacTnsOrderError);
  t.numFilt[7] = 2;
  EXPECT_EQ(t.encode(x), moxStatusAacTnsNumFiltError);
}

}  // namespace
