#include "frame/pow43.h"

namespace moxac {
namespace {

// The cube root of n by Newton's iteration from that of n - 1, which lies within a factor of 1.26.
constexpr std::array<float, kPow43Count> makePow43() {
  std::array<float, kPow43Count> table{};
  double root = 1;
  for (int n = 1; n < kPow43Count; ++n) {
    for (int step = 0; step < (n < 8 ? 8 : 3); ++step) root -= (root * root * root - n) / (3 * root * root);
    table[static_cast<size_t>(n)] = static_cast<float>(n * root);
  }
  return table;
}

}  // namespace

constexpr std::array<float, kPow43Count> kPow43 = makePow43();

}  // namespace moxac
