// Small pieces of messages.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "codec/io/memory.h"

namespace moxc {

// "1 byte", "2 bytes"
inline std::string counted(int64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// The same from the object's memory.
inline String number(int64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "%lld", static_cast<long long>(value));
  return text;
}
inline String amount(int64_t count, const char* noun) {
  return number(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace moxc
