// Arrays for tests: seeded noise between guard words, at a chosen distance from a 64-byte boundary.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "support/random.h"

namespace moxtest {

// len values between guards; `shift` bytes past a 64-byte boundary. Guards are checked on destruction and
// by intact(). Converts to T* where an operation wants a pointer.
template <class T>
class Block {
 public:
  explicit Block(int64_t len, int64_t shift = 0)
      : len_(len),
        shift_(shift),
        bytes_(static_cast<size_t>(len) * sizeof(T) + 2 * kGuard + 128, kGuardByte) {
    for (int64_t i = 0; i < len_; ++i) (*this)[i] = noiseValue<T>();
  }
  Block(const Block& other) : Block(other.len_, other.shift_) {
    std::memcpy(data(), other.data(), static_cast<size_t>(len_) * sizeof(T));
  }
  Block& operator=(const Block&) = delete;
  ~Block() { EXPECT_TRUE(intact()) << "guard bytes around a block were written"; }

  T* data() { return reinterpret_cast<T*>(bytes_.data() + offset()); }
  const T* data() const { return reinterpret_cast<const T*>(bytes_.data() + offset()); }
  operator T*() { return data(); }
  operator const T*() const { return data(); }
  T& operator[](int64_t i) { return data()[i]; }
  const T& operator[](int64_t i) const { return data()[i]; }
  int64_t size() const { return len_; }
  T* begin() { return data(); }
  T* end() { return data() + len_; }
  const T* begin() const { return data(); }
  const T* end() const { return data() + len_; }

  void fill(T value) {
    for (T& v : *this) v = value;
  }

  bool intact() const {
    const size_t first = offset();
    const size_t last = first + static_cast<size_t>(len_) * sizeof(T);
    for (size_t i = 0; i < bytes_.size(); ++i)
      if ((i < first || i >= last) && bytes_[i] != kGuardByte) return false;
    return true;
  }

 private:
  static constexpr size_t kGuard = 64;
  static constexpr uint8_t kGuardByte = 0xA5;

  size_t offset() const {
    const uintptr_t start = reinterpret_cast<uintptr_t>(bytes_.data()) + kGuard;
    return kGuard + static_cast<size_t>(-start & 63u) + static_cast<size_t>(shift_);
  }

  int64_t len_, shift_;  // shift 0..63
  std::vector<uint8_t> bytes_;
};

template <class A, class B>
::testing::AssertionResult sameBits(const A& got, const B& want) {
  using T = std::remove_cv_t<std::remove_reference_t<decltype(got[0])>>;
  if (got.size() != want.size()) return ::testing::AssertionFailure() << "sizes differ";
  for (int64_t i = 0; i < static_cast<int64_t>(got.size()); ++i) {
    const T& g = got[static_cast<decltype(got.size())>(i)];
    const T& w = want[static_cast<decltype(want.size())>(i)];
    if (std::memcmp(&g, &w, sizeof(T)) != 0) {
      if constexpr (std::is_arithmetic_v<T>)
        return ::testing::AssertionFailure() << "element " << i << ": got " << +g << ", want " << +w;
      return ::testing::AssertionFailure() << "element " << i << " differs";
    }
  }
  return ::testing::AssertionSuccess();
}

#define EXPECT_SAME_BITS(got, want) EXPECT_TRUE(::moxtest::sameBits(got, want))

}  // namespace moxtest
