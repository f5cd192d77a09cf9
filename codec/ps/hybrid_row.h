// One slot's samples in the hybrid domain, the bands in the standard's order.
#pragma once

#include <cstdint>

namespace moxc::ps {

struct HybridRow {
  static constexpr int32_t kWidth = 96;  // 71 or 91 bands, and room up to whole vectors
  alignas(32) float re[kWidth]{}, im[kWidth]{};
};

}  // namespace moxc::ps
