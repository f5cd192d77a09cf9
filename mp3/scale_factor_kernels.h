// How scale factors are laid out in the main data: which fields, how wide. The parser and the packer share
// it.
#pragma once

#include <cstdint>

#include "moxac/mp3.h"
#include "mp3/scale_factor_tables.h"

namespace moxac::mp3 {

enum class ScaleFactorBlocks { longBlocks, shortBlocks, mixedBlocks };

// MPEG-1 and the MPEG-2 packer: a mixedBlock that is no flag does not make a short block.
inline ScaleFactorBlocks scaleFactorBlocks(const MoxMp3SideInfo& record) {
  if (record.blockType != 2) return ScaleFactorBlocks::longBlocks;
  if (record.mixedBlock == 0) return ScaleFactorBlocks::shortBlocks;
  return record.mixedBlock == 1 ? ScaleFactorBlocks::mixedBlocks : ScaleFactorBlocks::longBlocks;
}

// MPEG-1: a run of equally wide values under one scfsi bit.
struct ScaleFactorGroup {
  int32_t count, width;
};

struct Mpeg1ScaleFactors {
  int32_t groupCount;
  ScaleFactorGroup groups[4];
};

// sfCompress 0..15. Long blocks have the four band groups of scfsi; in the others the first run takes
// slen1 (mixed: 8 long bands, then short bands 3-5; short: bands 0-5), the second slen2 (bands 6-11).
inline Mpeg1ScaleFactors mpeg1ScaleFactors(ScaleFactorBlocks blocks, int32_t sfCompress) {
  const int32_t slen1 = kScaleFactorWidths[sfCompress][0];
  const int32_t slen2 = kScaleFactorWidths[sfCompress][1];
  switch (blocks) {
    case ScaleFactorBlocks::shortBlocks:
      return {2, {{6 * 3, slen1}, {6 * 3, slen2}}};
    case ScaleFactorBlocks::mixedBlocks:
      return {2, {{8 + 3 * 3, slen1}, {6 * 3, slen2}}};
    default:
      return {4, {{6, slen1}, {5, slen1}, {5, slen2}, {5, slen2}}};
  }
}

// MPEG-2: four partitions, each with its width. ISO/IEC 13818-3, 2.4.3.2.
struct Mpeg2ScaleFactors {
  int32_t widths[4];
  int32_t row;  // of the table that counts each partition's values
  int32_t preFlag;
};

// sfCompress 0..511; intensityChannel: the right channel of an intensity-stereo frame, which holds positions.
inline Mpeg2ScaleFactors mpeg2ScaleFactors(int32_t sfCompress, bool intensityChannel) {
  const int32_t c = sfCompress;
  if (!intensityChannel) {
    if (c < 400) return {{(c >> 4) / 5, (c >> 4) % 5, (c % 16) >> 2, c % 4}, 0, 0};
    if (c < 500) return {{((c - 400) >> 2) / 5, ((c - 400) >> 2) % 5, (c - 400) % 4, 0}, 1, 0};
    return {{(c - 500) / 3, (c - 500) % 3, 0, 0}, 2, 1};
  }
  const int32_t i = c >> 1;  // the low bit tells the intensity scale
  if (i < 180) return {{i / 36, (i % 36) / 6, i % 36 % 6, 0}, 3, 0};
  if (i < 244) return {{(i - 180) >> 4, (i - 180) % 16 >> 2, (i - 180) % 4, 0}, 4, 0};
  return {{(i - 244) / 3, (i - 244) % 3, 0, 0}, 5, 0};
}

inline const int8_t* mpeg2PartitionCounts(const Mpeg2ScaleFactors& layout, ScaleFactorBlocks blocks) {
  return kScaleFactorCounts[layout.row][static_cast<int32_t>(blocks)];
}

}  // namespace moxac::mp3
