// The polyphase banks as the standard writes them, in double precision. ISO/IEC 11172-3, 2.4.3.2.2, Annex C.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "mp3/layer3_reference.h"

namespace moxtest {

using Slot = std::array<double, 32>;

// D[i], read from the table's own file.
inline const std::array<double, 512>& polyphaseWindow() {
  static const std::array<double, 512> window = [] {
    std::array<double, 512> d{};
    const auto rows = csvRows("mp3_synthesis_window.csv");
    for (size_t i = 0; i < d.size(); ++i) d[i] = std::atoi(rows[i][1].c_str()) / 65536.0;
    return d;
  }();
  return window;
}

// cos(numerator pi / 64)
inline double polyphaseCosine(int numerator) {
  static const std::array<double, 128> table = [] {
    std::array<double, 128> t{};
    for (size_t i = 0; i < t.size(); ++i)
      t[i] = std::cos(3.14159265358979323846 * static_cast<double>(i) / 64);
    return t;
  }();
  return table[static_cast<size_t>(numerator & 127)];
}

class SynthesisReference {
 public:
  Slot slot(const Slot& s) {
    for (size_t i = v_.size() - 1; i >= 64; --i) v_[i] = v_[i - 64];
    for (int i = 0; i < 64; ++i) {
      double sum = 0;
      for (int k = 0; k < 32; ++k) sum += polyphaseCosine((16 + i) * (2 * k + 1)) * s[static_cast<size_t>(k)];
      v_[static_cast<size_t>(i)] = sum;
    }
    Slot out{};
    for (size_t i = 0; i < 8; ++i)
      for (size_t j = 0; j < 32; ++j)
        out[j] += v_[128 * i + j] * polyphaseWindow()[64 * i + j] +
                  v_[128 * i + 96 + j] * polyphaseWindow()[64 * i + 32 + j];
    return out;
  }

 private:
  std::array<double, 1024> v_{};
};

class AnalysisReference {
 public:
  Slot slot(const Slot& samples) {
    for (size_t i = x_.size() - 1; i >= 32; --i) x_[i] = x_[i - 32];
    for (size_t i = 0; i < 32; ++i) x_[31 - i] = samples[i];
    Slot out{};
    for (int i = 0; i < 64; ++i) {
      double y = 0;
      for (size_t j = static_cast<size_t>(i); j < 512; j += 64) y += x_[j] * polyphaseWindow()[j] / 32;
      for (int k = 0; k < 32; ++k) out[static_cast<size_t>(k)] += polyphaseCosine((2 * k + 1) * (i - 16)) * y;
    }
    return out;
  }

 private:
  std::array<double, 512> x_{};
};

}  // namespace moxtest
