// Streams as transmission errors, bad discs and careless cutting leave them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace moxtest {

// One damaged copy of a stream; the seed makes it again.
inline std::vector<uint8_t> damagedCopy(const std::vector<uint8_t>& stream, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> bytes = stream;
  const auto kind = random() % 6;
  const auto times = 1 + random() % (kind == 0 ? 200 : 8);
  for (auto i = times; i > 0 && !bytes.empty(); --i) {
    const size_t at = random() % bytes.size(),
                 count = std::min(bytes.size() - at, size_t{1 + random() % 1500});
    const auto begin = bytes.begin() + static_cast<ptrdiff_t>(at),
               end = begin + static_cast<ptrdiff_t>(count);
    switch (kind) {
      case 0:
        bytes[at] ^= static_cast<uint8_t>(1u << (random() % 8));
        break;
      case 1:
        bytes.resize(at);
        break;
      case 2:
        bytes.erase(begin, end);
        break;
      case 3:
        std::generate(begin, end, [&] { return static_cast<uint8_t>(random()); });
        break;
      case 4:
        std::fill(begin, end, random() % 2 == 0 ? uint8_t{0} : uint8_t{0xFF});
        break;
      default: {  // a piece of the stream where it does not belong
        const std::vector<uint8_t> piece(begin, end);
        bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(random() % bytes.size()), piece.begin(),
                     piece.end());
      }
    }
  }
  return bytes;
}

}  // namespace moxtest
