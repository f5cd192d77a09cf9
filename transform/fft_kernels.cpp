// The straight-line and table-driven transforms, by order.
#include "transform/fft_kernels.h"

#include <cstring>

#include "frame/align.h"
#include "transform/fft_small.h"
#include "transform/fft_tables.h"

namespace moxac::transform {
namespace {

template <bool kInverse>
void transformTable(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work) {
  const Source<kInverse> from = {src};
  const Destination<kInverse> to = {dst};
  const auto load = [from](int64_t i, bool /*upper*/) MOX_ALWAYS { return from.load8(i); };
  const auto store = [to](int64_t k, Complex8 block) MOX_ALWAYS { to.store8(8 * k, block); };
  transformPoints(spec, work, load, store);
}

template <bool kInverse>
void transform(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work) {
  const Source<kInverse> from = {src};
  const Destination<kInverse> to = {dst};
  switch (spec.order) {
    case 0:
      *dst = *src;
      return;
    case 1:
      return transform2(from, to);
    case 2:
      return transform4(from, to);
    case 3:
      return transform8(from, to);
    case 4:
      return transform16(from, to);
    case 5:
      return transform32(from, to);
    case 6:
      return transform64(from, to);
    default:
      break;
  }
  if (spec.order <= kFftLastTableOrder) return transformTable<kInverse>(src, dst, spec, work);
  transformLarge<kInverse>(src, dst, spec, work);
}

void scale(Mox32fc* dst, const FftSpec& spec) {
  float* const p = &dst->re;
  const int64_t count = int64_t{2} << spec.order;
  for (int64_t i = 0; i < count; ++i) p[i] *= spec.scale;
}

}  // namespace

void buildTables(FftSpec& spec, float* scratch) {
  if (spec.order > kFftLastTableOrder) return buildLargeTables(spec, scratch);
  const int64_t points = int64_t{1} << spec.order;
  const float* wave = kStaticQuarter.data();
  if (spec.order > kStaticQuarterOrder) {
    fillQuarterWave(scratch, points);
    wave = scratch;
  }
  const Twiddles twiddles(wave, spec.order > kStaticQuarterOrder ? points : 1 << kStaticQuarterOrder);

  auto* const reversal = reinterpret_cast<int32_t*>(&spec + 1);
  auto* const table = alignUp<float>(reversal + points / 4 + 1, 64);
  fillBitReversal(reversal, spec.order - 2);
  if (spec.order <= kFftLastMediumOrder)
    fillRowTwiddles(table, twiddles, spec.order);
  else
    fillColumnTwiddles(fillPassTwiddles(table, twiddles, points, 3), twiddles, spec.order - 3);
  spec.bitReversal = reversal;
  spec.twiddles = table;
}

void fftForward(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work) {
  transform<false>(src, dst, spec, work);
  if (spec.scaleForward == 1) scale(dst, spec);
}

void fftInverse(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work) {
  transform<true>(src, dst, spec, work);
  if (spec.scaleInverse == 1) scale(dst, spec);
}

}  // namespace moxac::transform
