// From a frame's bytes to the spectra of its granules: side information, main data, scale factors, Huffman
// codes, requantisation and stereo.
#pragma once

#include <array>
#include <cstdint>

#include "codec/mp3/frame.h"
#include "codec/mp3/reservoir.h"

namespace moxc::mp3 {

constexpr int32_t kLines = 576;  // of one granule and channel

// The requantised spectra of one granule, channels one after the other.
struct Spectrum {
  std::array<int32_t, 2 * kLines> lines{};
  std::array<int32_t, 2> nonZeroBound{};  // lines from there on are 0
  std::array<int32_t, 2> blockType{}, mixedBlock{};

  int32_t* channel(int32_t ch) { return lines.data() + ch * kLines; }
  const int32_t* channel(int32_t ch) const { return lines.data() + ch * kLines; }
};

enum class Fault {
  none,
  crc,          // the CRC word does not fit header and side information
  sideInfo,     // the side information contradicts itself
  missingData,  // main data begin in bytes that were not seen
  mainData,     // scale factors or Huffman codes run out of their bits or break a limit
};

class SpectrumReader {
 public:
  // Reads the side information and gathers the main data. After a fault no granule can be read.
  Fault open(const Frame& frame, bool believeCrc);
  // Reads a granule of the frame opened last, both channels; granule 0 first.
  Fault read(int32_t granule, Spectrum& spectrum);
  // The stream was interrupted: bits kept from earlier frames do not join on.
  void interrupt() { reservoir_.clear(); }

 private:
  Fault readCodes(int32_t granule, Spectrum& spectrum);
  moxStatus decodeHuffman(const uint8_t** cursor, int32_t* bitOffset, int32_t* lines, int32_t* bound,
                          const MoxMp3SideInfo& side, int32_t bits) const;
  moxStatus requantise(const MoxMp3SideInfo* side, Spectrum& spectrum);

  BitReservoir reservoir_;
  Header header_;
  Bytes mainData_;
  std::array<MoxMp3SideInfo, 4> sideInfo_{};   // granule by granule, channel by channel
  std::array<int32_t, 8> scfsi_{};             // four per channel
  std::array<int8_t, 2 * 39> scaleFactors_{};  // of the granule before while one is read: scfsi repeats them
  std::array<int32_t, kLines> work_{};
  bool firstGranuleFailed_ = false;
};

}  // namespace moxc::mp3
