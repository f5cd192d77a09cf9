// The fuzzer's driver over chance inputs, in the ordinary run.
#include <gtest/gtest.h>

#include "fuzz/vlc_driver.h"
#include "support/block.h"

namespace {

TEST(VlcFuzz, ChanceInputs) {
  for (int64_t size = 0; size < 1500; ++size) {
    const moxtest::Block<uint8_t> input(size);
    moxac::fuzzVlc(input.data(), static_cast<size_t>(size));
  }
}

}  // namespace
