// Made by tools/gen_mp3_tables.py from tools/tables; edit neither by hand.
#include "mp3/scale_factor_tables.h"

#include <cstdint>

namespace moxac::mp3 {

// clang-format off
const int8_t kScaleFactorWidths[16][2] = {
    {0, 0}, {0, 1}, {0, 2}, {0, 3}, {3, 0}, {1, 1}, {1, 2}, {1, 3}, {2, 1}, {2, 2}, {2, 3}, {3, 1}, {3, 2},
    {3, 3}, {4, 2}, {4, 3},
};

const int8_t kScaleFactorCounts[6][3][4] = {
    {{6, 5, 5, 5}, {9, 9, 9, 9}, {6, 9, 9, 9}},
    {{6, 5, 7, 3}, {9, 9, 12, 6}, {6, 9, 12, 6}},
    {{11, 10, 0, 0}, {18, 18, 0, 0}, {15, 18, 0, 0}},
    {{7, 7, 7, 0}, {12, 12, 12, 0}, {6, 15, 12, 0}},
    {{6, 6, 6, 3}, {12, 9, 9, 6}, {6, 12, 9, 6}},
    {{8, 8, 5, 0}, {15, 12, 9, 0}, {6, 18, 9, 0}},
};
// clang-format on

}  // namespace moxac::mp3
