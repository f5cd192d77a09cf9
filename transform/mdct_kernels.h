// The arithmetic of the modified discrete cosine transform.
//
// With M = N/2 and L = N/4, the N samples fold into a sequence u of M values whose type-IV cosine transform
// is the spectrum, and that transform is a complex one of L points between two rotations by the angles
// t_m = 2*pi*(m + 1/8)/N:
//
//   z[n] = (u[2n] + i*u[M-1-2n]) * exp(-i*t_n)
//   C[k] = exp(-i*t_k) * sum over n of z[n] * exp(-2*pi*i*n*k/L)
//   X[2k] = re C[k],  X[M-1-2k] = -im C[k]
//
// The inverse runs the same steps on the M coefficients and unfolds at the end.
#pragma once

#include <cstdint>

#include "transform/fft.h"

// The record behind the opaque type of the public header.
struct MoxMdctSpec {
  moxac::ContextId identifier;
  uint32_t length;    // N
  uint32_t workSize;  // bytes, what GetBufSize tells
  uint32_t fftOrder;  // log2(N/4); 0 for 12 and 36
  int32_t allocated;  // 1: made by InitAlloc
  const float* twiddles;
  moxac::transform::FftSpec* fft;  // null for 12 and 36
};
static_assert(sizeof(MoxMdctSpec) == 40);

namespace moxac::transform {

// Floats of the table of a float context.
constexpr int64_t mdctTwiddleCount(int64_t N) { return N / 2; }
// Floats of the table of a 16-bit context.
constexpr int64_t mdctQuarterCount(int64_t N) { return N / 4 + 1; }

// c_m = factor*cos(t_m), s_m = factor*sin(t_m), m = 0..N/4-1: pairs (c, s) for N = 12 and 36; else blocks of
// 16 floats, block b holding c then s for m = 4b..4b+3, then c and s for the mirrored m = L-4b-4..L-4b-1.
void fillMdctTwiddles(float* table, int32_t N, double factor);

// sin(2*pi*m/N), m = 0..N/4.
void fillMdctQuarter(float* table, int32_t N);

// `work`: 64-byte aligned, N/4 complex values, behind them the work area of the FFT.
void mdctForward(const float* src, float* dst, const MoxMdctSpec& spec, float* work);
void mdctInverse(const float* src, float* dst, const MoxMdctSpec& spec, float* work);
void mdctForward16s(const int16_t* src, int16_t* dst, const MoxMdctSpec& spec, int32_t scaleFactor,
                    float* work);

}  // namespace moxac::transform
