// Small pieces of messages.
#pragma once

#include <cstdint>
#include <string>

namespace moxc {

// "1 byte", "2 bytes"
inline std::string counted(int64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace moxc
