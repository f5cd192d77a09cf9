#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <numeric>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/hybrid_kernels.h"
#include "mp3/hybrid_reference.h"
#include "support/block.h"

namespace {

using moxtest::Block;
using moxtest::HybridReference;
using moxtest::Lines;
using moxtest::Slots;

constexpr double kUnit = 1 << 26;

struct Granule {
  int blockType;
  bool mixed;
};

// Every block type after every other that the standard allows, plain and mixed.
std::vector<Granule> allSequences() {
  const int next[4][2] = {{0, 1}, {2, 2}, {2, 3}, {0, 1}};
  std::vector<Granule> sequence;
  int type = 0;
  for (int i = 0; i < 120; ++i) {
    sequence.push_back({type, moxtest::noise()() % 3 == 0});
    type = next[type][moxtest::noise()() % 2];
  }
  return sequence;
}

void fillLines(Block<int32_t>& x, int32_t bound, double amplitude) {
  for (int32_t i = 0; i < 576; ++i)
    x[i] = i < bound ? static_cast<int32_t>(moxtest::noiseValue<double>() * amplitude * kUnit) : 0;
}

TEST(HybridInverse, EqualsTheFormulaForEveryBlockSequenceAndBound) {
  HybridReference reference;
  Block<int32_t> overlap(576, 4);
  overlap.fill(0);
  int32_t previous = 0;
  double worst = 0;
  for (const Granule& g : allSequences()) {
    const auto bound = static_cast<int32_t>(moxtest::noise()() % 4 == 0 ? 576 : moxtest::noise()() % 577);
    Block<int32_t> x(576, 4 * (bound % 8)), xs(576, 4 * (bound % 5));
    fillLines(x, bound, 1);
    Lines lines{};
    std::transform(x.begin(), x.end(), lines.begin(), [](int32_t v) { return v / kUnit; });
    for (int32_t i = bound; i < 576; ++i) x[i] = INT_MAX;  // not to be looked at
    ASSERT_EQ(moxsMDCTInv_MP3_32s(x, xs, overlap, bound, &previous, g.blockType, g.mixed), moxStatusOk);
    const Slots want = reference.inverse(lines, g.blockType, g.mixed && g.blockType != 0);
    for (int i = 0; i < 576; ++i) worst = std::max(worst, std::fabs(xs[i] / kUnit - want[i / 32][i % 32]));
  }
  EXPECT_LT(worst, 1.2e-5) << "of full scale; the sums of 18 lines reach about 10";
  RecordProperty("worst", std::to_string(worst));
}

}  // namespace
