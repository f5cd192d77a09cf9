// The band tables against the tables of the standard.
#include "aac/band_tables.h"

#include <gtest/gtest.h>

namespace {

using namespace moxac;
using namespace moxac::aac;

TEST(AacBandTables, BandsRiseInStepsOfFourAndEndWithTheWindow) {
  for (int32_t index = 0; index < MOX_AAC_SAMPLE_RATES; ++index)
    for (const SwbTable& table : {longSwbTable(index), shortSwbTable(index)}) {
      EXPECT_EQ(table.offset[0], 0);
      EXPECT_EQ(table.offset[table.numSwb], table.windowLen) << "index " << index;
      for (int32_t band = 0; band < table.numSwb; ++band) {
        const int32_t width = table.offset[band + 1] - table.offset[band];
        EXPECT_GT(width, 0) << "index " << index << " band " << band;
        EXPECT_EQ(width % 4, 0) << "index " << index << " band " << band;
      }
      EXPECT_LE(table.windowLen == 1024 ? moxAacTnsMaxBandsLong[index] : moxAacTnsMaxBandsShort[index],
                table.numSwb);
    }
}

}  // namespace
