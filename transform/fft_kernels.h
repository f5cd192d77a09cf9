// The arithmetic of the FFT engine.
#pragma once

#include "transform/fft.h"

namespace moxac {

// Up to this order the twiddles come from a quarter wave built at compile time.
constexpr int32_t kStaticQuarterOrder = 10;

// Fills the tables behind the header of a context of order 7 and up. `scratch` has room for the quarter
// wave of the order, where the static one does not do.
void buildTables(FftSpec& spec, float* scratch);

void fftForward(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work);
void fftInverse(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work);

}  // namespace moxac
