// The Huffman codes of differences in side data, walked bit by bit.
#pragma once

#include <cstdint>

#include "codec/io/bit_reader.h"

namespace moxc {

// A node of a code's tree: by the next bit, the index of the next node, or (below 0) a difference less 256.
using DifferenceCodeNode = int16_t[2];

inline int32_t readDifference(BitReader& bits, const DifferenceCodeNode* tree) {
  int32_t node = 0;
  do node = tree[node][bits.flag() ? 1 : 0];
  while (node > 0);
  return node + 256;
}

}  // namespace moxc
