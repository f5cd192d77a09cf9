// The granules of a stream after Huffman decoding: what requantisation starts from.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/mp3_stream.h"
#include "support/source_path.h"

namespace moxtest {

struct CodedGranule {
  MoxMp3FrameHeader header{};
  MoxMp3SideInfo side[2]{};
  int8_t scaleFactors[2][39] = {};
  int32_t lines[2][576] = {};
  int32_t bound[2] = {};

  int32_t channels() const { return header.mode == 3 ? 1 : 2; }
};

inline std::vector<CodedGranule> codedGranules(const Mp3Stream& stream) {
  std::vector<CodedGranule> out;
  CodedGranule now;  // goes on from granule to granule: scale factors may be shared
  for (const Mp3Granule& g : stream.granules) {
    const int32_t ch = g.channel;
    now.header = g.header;
    now.side[ch] = g.record;
    const uint8_t* p = stream.mainData.data() + g.firstBit / 8;
    auto bitOffset = static_cast<int32_t>(g.firstBit % 8);
    moxStatus status = moxsUnpackScaleFactors_MP3_1u8s(&p, &bitOffset, now.scaleFactors[ch], &now.side[ch],
                                                       g.scfsi, &g.header, g.granule, ch);
    const int64_t used = 8 * (p - stream.mainData.data()) + bitOffset - g.firstBit;
    if (status == moxStatusOk)
      status = moxsHuffmanDecode_MP3_1u32s(&p, &bitOffset, now.lines[ch], &now.bound[ch], &now.side[ch],
                                           &g.header, g.record.part23Len - static_cast<int32_t>(used));
    if (status != moxStatusOk) throw std::runtime_error(stream.name + ": status " + std::to_string(status));
    if (ch == now.channels() - 1) out.push_back(now);
  }
  return out;
}

inline Mp3Stream namedMp3Stream(const std::string& name) {
  return readMp3Stream(moxtest::sourcePath("tests/data/streams/") + name + ".mp3");
}

}  // namespace moxtest
