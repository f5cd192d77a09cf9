// Made by tools/gen_sbr_tables.py from tools/tables/sbr/ps_hybrid_filters.csv; not edited by hand.
// The 13-tap prototypes of the hybrid analysis, g[0..6]; g[12 - n] = g[n]. ISO/IEC 14496-3, 8.6.4.3.
#pragma once

namespace moxac::sbr {

// clang-format off
inline constexpr float kHybrid20Band0[7] = {0.0074608293f, 0.02270421f, 0.04546866f, 0.07266114f, 0.098851085f, 0.1179371f, 0.125f};
inline constexpr float kHybrid20Band1[7] = {0.0f, 0.018994875f, 0.0f, -0.072931394f, 0.0f, 0.30596632f, 0.5f};
inline constexpr float kHybrid34Band0[7] = {0.0408118f, 0.03812811f, 0.051449083f, 0.06399831f, 0.07428314f, 0.08100348f, 0.083333336f};
inline constexpr float kHybrid34Band1[7] = {0.015656756f, 0.037527163f, 0.054178912f, 0.08417044f, 0.10307344f, 0.122224525f, 0.125f};
inline constexpr float kHybrid34Band2[7] = {-0.059082113f, -0.048714984f, 0.0f, 0.07778724f, 0.16486304f, 0.23279856f, 0.25f};
// clang-format on

}  // namespace moxac::sbr
