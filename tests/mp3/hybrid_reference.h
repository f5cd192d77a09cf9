// The hybrid bank as the standard writes it, in double precision. ISO/IEC 11172-3, 2.4.3.4.10.
#pragma once

#include <cmath>
#include <cstdint>

#include "support/direct_forms.h"

namespace moxtest {

// std::array indexed by any integer type.
template <class T, int N>
struct Values {
  T value[N]{};
  template <class I>
  T& operator[](I i) {
    return value[i];
  }
  template <class I>
  const T& operator[](I i) const {
    return value[i];
  }
  T* begin() { return value; }
};
using Lines = Values<double, 576>;             // by frequency
using Slots = Values<Values<double, 32>, 18>;  // [time slot][sub-band]

inline double hybridWindow(int blockType, int i) {
  const auto sine = [](int k, int n) { return std::sin(kPi / n * (k + 0.5)); };
  switch (blockType) {
    case 0:
      return sine(i, 36);
    case 1:
      if (i < 18) return sine(i, 36);
      return i < 24 ? 1 : i < 30 ? sine(i - 18, 12) : 0;
    case 2:
      return i < 12 ? sine(i, 12) : 0;
    default:
      if (i >= 18) return sine(i, 36);
      return i < 6 ? 0 : i < 12 ? sine(i - 6, 12) : 1;
  }
}

inline double hybridCosine(int n, int i, int k) { return MdctBasis::of(n)(i, k); }

// Which window a sub-band of a block takes.
inline int bandBlockType(int blockType, bool mixed, int band) { return mixed && band < 2 ? 0 : blockType; }

inline int aliasBoundaries(int blockType, bool mixed) { return blockType != 2 ? 31 : mixed ? 1 : 0; }

class HybridReference {
 public:
  Slots inverse(Lines x, int blockType, bool mixed) {
    for (int b = 1; b <= aliasBoundaries(blockType, mixed); ++b) butterfly(x, 18 * b, 1);
    Slots out;
    for (int band = 0; band < 32; ++band) {
      const int type = bandBlockType(blockType, mixed, band);
      double z[36] = {};
      if (type == 2)
        for (int w = 0; w < 3; ++w)
          for (int i = 0; i < 12; ++i)
            for (int k = 0; k < 6; ++k)
              z[6 + 6 * w + i] += hybridWindow(2, i) * x[18 * band + 3 * k + w] * hybridCosine(12, i, k);
      else
        for (int i = 0; i < 36; ++i)
          for (int k = 0; k < 18; ++k)
            z[i] += hybridWindow(type, i) * x[18 * band + k] * hybridCosine(36, i, k);
      for (int i = 0; i < 18; ++i) {
        out[i][band] = (z[i] + overlap_[i][band]) * (i % 2 == 1 && band % 2 == 1 ? -1 : 1);
        overlap_[i][band] = z[18 + i];
      }
    }
    return out;
  }

  Lines forward(const Slots& in, int blockType, bool mixed) {
    Lines x{};
    for (int band = 0; band < 32; ++band) {
      const int type = bandBlockType(blockType, mixed, band);
      double z[36];
      for (int i = 0; i < 36; ++i)
        z[i] = (i < 18 ? overlap_[i][band] : in[i - 18][band]) * (i % 2 == 1 && band % 2 == 1 ? -1 : 1);
      if (type == 2)
        for (int w = 0; w < 3; ++w)
          for (int k = 0; k < 6; ++k)
            for (int i = 0; i < 12; ++i)
              x[18 * band + 3 * k + w] += hybridWindow(2, i) * z[6 + 6 * w + i] * hybridCosine(12, i, k) / 3;
      else
        for (int k = 0; k < 18; ++k)
          for (int i = 0; i < 36; ++i)
            x[18 * band + k] += hybridWindow(type, i) * z[i] * hybridCosine(36, i, k) / 9;
    }
    overlap_ = in;
    for (int b = 1; b <= aliasBoundaries(blockType, mixed); ++b) butterfly(x, 18 * b, -1);
    return x;
  }

 private:
  static void butterfly(Lines& x, int boundary, int direction) {
    static constexpr double kC[8] = {-0.6, -0.535, -0.33, -0.185, -0.095, -0.041, -0.0142, -0.0037};
    for (int i = 0; i < 8; ++i) {
      const double cs = 1 / std::sqrt(1 + kC[i] * kC[i]),
                   ca = direction * kC[i] / std::sqrt(1 + kC[i] * kC[i]);
      double &below = x[boundary - 1 - i], &above = x[boundary + i];
      const double b = below, a = above;
      below = b * cs - a * ca;
      above = a * cs + b * ca;
    }
  }

  Slots overlap_{};
};

}  // namespace moxtest
