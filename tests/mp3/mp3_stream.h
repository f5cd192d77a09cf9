// The granules of an MP3 file with their main data put together: what a program does around the parsers.
#pragma once

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "moxac/mp3.h"
#include "support/source_path.h"

namespace moxtest {

struct Mp3Granule {
  MoxMp3FrameHeader header{};
  MoxMp3SideInfo record{};
  int32_t scfsi[4] = {};
  int32_t granule = 0, channel = 0;
  int64_t firstBit = 0;  // in mainData of the stream: where its scale factors begin
};

struct Mp3Stream {
  std::string name;
  std::vector<std::vector<uint8_t>> frames;  // header to end
  std::vector<uint8_t> mainData;             // of all frames, one behind the other, and some zeros
  std::vector<Mp3Granule> granules;          // those whose main data are there
};

inline int32_t mp3SideInfoBytes(const MoxMp3FrameHeader& h) {
  return h.id == 1 ? (h.mode == 3 ? 17 : 32) : (h.mode == 3 ? 9 : 17);
}

// Bytes of the frame at p; 0 when there is no header. Free format: up to the next header of the same kind.
inline size_t mp3FrameBytes(const uint8_t* p, size_t left) {
  static constexpr int32_t kRates[2][15] = {
      {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
      {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}};
  static constexpr int32_t kHertz[3] = {44100, 48000, 32000};
  if (left < 4 || p[0] != 0xFF || (p[1] & 0xE6) != 0xE2) return 0;
  const int32_t id = p[1] >> 3 & 1, rate = p[2] >> 4, freq = p[2] >> 2 & 3;
  if (rate == 15 || freq == 3) return 0;
  if (rate == 0) {
    for (size_t i = 24; i + 4 <= left; ++i)
      if (p[i] == p[0] && p[i + 1] == p[1] && (p[i + 2] & 0xFC) == (p[2] & 0xFC)) return i;
    return left;
  }
  const int32_t hertz = kHertz[freq] >> (id == 1 ? 0 : (p[1] & 0x10) != 0 ? 1 : 2);
  return static_cast<size_t>((id == 1 ? 144 : 72) * 1000 * kRates[id][rate] / hertz + (p[2] >> 1 & 1));
}

inline Mp3Stream readMp3Stream(const std::string& path) {
  Mp3Stream stream;
  stream.name = std::filesystem::path(path).filename().string();
  std::ifstream file(path, std::ios::binary);
  const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  for (size_t at = 0; at + 4 <= bytes.size();) {
    const size_t n = mp3FrameBytes(&bytes[at], bytes.size() - at);
    if (n == 0) {
      ++at;
      continue;
    }
    if (at + n > bytes.size()) break;
    std::vector<uint8_t> frame(bytes.begin() + static_cast<int64_t>(at),
                               bytes.begin() + static_cast<int64_t>(at + n));
    at += n;
    stream.frames.push_back(frame);

    const uint8_t* p = frame.data();
    Mp3Granule g;
    MoxMp3SideInfo records[4] = {};
    int32_t mainDataBegin = 0, privateBits = 0, scfsi[8] = {};
    moxsUnpackFrameHeader_MP3(&p, &g.header);
    moxsUnpackSideInfo_MP3(&p, records, &mainDataBegin, &privateBits, scfsi, &g.header);
    const auto start = static_cast<int64_t>(stream.mainData.size()) - mainDataBegin;
    stream.mainData.insert(stream.mainData.end(), frame.begin() + (p - frame.data()), frame.end());
    const int32_t channels = g.header.mode == 3 ? 1 : 2, granules = g.header.id == 1 ? 2 : 1;
    int64_t bit = 8 * start;
    for (int32_t i = 0; i < channels * granules; ++i) {
      g.record = records[i];
      g.granule = i / channels;
      g.channel = i % channels;
      std::memcpy(g.scfsi, scfsi + 4 * g.channel, sizeof g.scfsi);
      g.firstBit = bit;
      bit += g.record.part23Len;
      if (start >= 0) stream.granules.push_back(g);
    }
  }
  stream.mainData.insert(stream.mainData.end(), 2048, 0);
  return stream;
}

inline std::vector<Mp3Stream> allMp3Streams() {
  std::vector<Mp3Stream> streams;
  for (const auto& entry : std::filesystem::directory_iterator(moxtest::sourcePath("tests/data/streams")))
    if (entry.path().extension() == ".mp3") streams.push_back(readMp3Stream(entry.path().string()));
  return streams;
}

}  // namespace moxtest
