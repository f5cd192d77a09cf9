// Chance for the tests: one generator a thread, one fixed seed, so that every run sees the same data.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>

namespace moxtest {

inline std::mt19937_64& noise() {
  static thread_local std::mt19937_64 generator(20261122);
  return generator;
}

// -1 to 1, or any integer.
template <class T>
T noiseValue() {
  if constexpr (std::is_floating_point_v<T>)
    return std::uniform_real_distribution<T>(T(-1), T(1))(noise());
  else
    return static_cast<T>(noise()());
}

// first..last, both included.
inline int32_t draw(int32_t first, int32_t last) {
  return std::uniform_int_distribution<int32_t>(first, last)(noise());
}
inline int32_t below(int64_t n) { return static_cast<int32_t>(noise()() % static_cast<uint64_t>(n)); }

inline float gaussian() {
  static std::normal_distribution<float> normal;
  return normal(noise());
}

// A record of noise, padding and all, to show what an operation leaves alone.
template <class Record>
Record noiseRecord() {
  uint64_t words[(sizeof(Record) + 7) / 8];
  for (uint64_t& word : words) word = noise()();
  Record record;
  std::memcpy(static_cast<void*>(&record), words, sizeof record);
  return record;
}

template <class Record>
bool same(const Record& a, const Record& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace moxtest
