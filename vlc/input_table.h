// A caller's code book: rows of value, code word and code length.
#pragma once

#include <algorithm>
#include <cstdint>

namespace moxac::vlc {

inline constexpr int32_t kMaxCodeLength = 32;

// The low n bits, n = 0..32.
constexpr uint32_t lowBits(int32_t n) { return static_cast<uint32_t>((uint64_t{1} << n) - 1); }

struct CodeRow {
  int32_t value;
  uint32_t code;   // right-aligned, bits above the length cleared
  int32_t length;  // 1..32 once lengthsAreValid() said so

  // The first n bits of the code word, 1 <= n <= length.
  uint32_t prefix(int32_t n) const { return code >> (length - n); }
};

class InputTable {
 public:
  InputTable(const int32_t* words, int32_t rows) : words_(words), rows_(rows) {}

  int32_t rows() const { return rows_; }
  int32_t value(int32_t i) const { return words_[3 * int64_t{i}]; }
  int32_t length(int32_t i) const { return words_[3 * int64_t{i} + 2]; }

  CodeRow operator[](int32_t i) const {
    const auto code = static_cast<uint32_t>(words_[3 * int64_t{i} + 1]);
    return {value(i), code & lowBits(length(i)), length(i)};
  }

  bool lengthsAreValid() const {
    for (int32_t i = 0; i < rows_; ++i)
      if (length(i) < 1 || length(i) > kMaxCodeLength) return false;
    return true;
  }

  int32_t longestCode() const {
    int32_t longest = 0;
    for (int32_t i = 0; i < rows_; ++i) longest = std::max(longest, length(i));
    return longest;
  }

 private:
  const int32_t* words_;
  int32_t rows_;
};

}  // namespace moxac::vlc
