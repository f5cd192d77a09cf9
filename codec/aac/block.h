// Raw data blocks: from bytes to the coded data of every channel.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "codec/aac/dynamic_range.h"
#include "codec/aac/layout.h"
#include "codec/aac/long_tns.h"
#include "codec/io/bytes.h"
#include "moxac/vlc.h"

namespace moxc::aac {

// What the decoding of a stream depends on besides the blocks.
struct Config {
  int32_t objectType = 2;  // 1 Main, 2 LC, 4 LTP
  int32_t rateIndex = 0;   // 0..11
  // What the container announces; most say nothing, and the blocks tell.
  bool replication = false, parametricStereo = false;
};

// One channel as the noiseless decoder leaves it; spectrum in grouped order.
struct Channel {
  MoxAacIcsInfo ics;
  MoxAacChanStream stream;
  MoxAacLtpInfo ltp;
  std::array<int16_t, 120> scaleFactor;
  std::array<uint8_t, 120> sfbCb;
  std::array<int8_t, 60> tnsCoef;
  LongTns longTns;  // instead of the stream's TNS data, if its numFilters is not 0
  alignas(32) std::array<int32_t, 1024> spectrum;

  // The code books of all bands that are coded.
  std::span<const uint8_t> books() const {
    return std::span(sfbCb).first(static_cast<size_t>(ics.numWindowGroups) * static_cast<size_t>(ics.maxSfb));
  }
};

// A single channel, a low-frequency channel or a pair.
struct Element {
  ElementId id;
  int32_t tag;
  MoxAacChanPairElt pair;  // of pairs
  std::array<Channel, 2> channel;
  // Spectral band replication: the data of the fill element that followed, from its extension type on.
  std::array<uint8_t, 269> replication;
  size_t replicationBytes;

  Bytes sbr() const { return Bytes(replication).first(replicationBytes); }
  size_t channels() const { return id == ElementId::cpe ? 2 : 1; }
};

// Bits that the CRC of a protected frame covers: `count` bits, followed by zeros up to `padTo`.
struct ProtectedBits {
  size_t first, count, padTo;
};

struct Block {
  std::vector<std::unique_ptr<Element>> storage;  // kept from block to block
  size_t elements = 0;                            // of them in use
  std::optional<MoxAacPrgCfgElt> program;         // a program configuration element
  std::optional<DynamicRange> dynamicRange;       // the last dynamic range information
  bool hasSbr = false;                            // some fill element carries spectral band replication
  bool hasCoupling = false;                       // a coupling channel element was passed over
  std::vector<ProtectedBits> protectedBits;
  size_t bytes = 0;  // consumed

  const Element& element(size_t i) const { return *storage[i]; }
};

class BlockReader {
 public:
  explicit BlockReader(const Config& config);

  // Reads one raw data block from the front of the bytes. False when the bytes are no such block or end within it.
  bool read(Bytes bytes, Block& block);

 private:
  bool readElements(Block& block);
  bool readPair(Element& element);
  bool readChannel(bool commonWindow, Channel& channel);
  bool readAroundLongTns(bool commonWindow, Channel& channel);
  bool skipScaleFactors(size_t sectionsAt, const Channel& channel);
  bool readWithout(size_t from, size_t to, size_t gainAt, size_t sectionsAt, bool commonWindow,
                   Channel& channel);
  size_t icsInfoBits(const MoxAacIcsInfo& ics) const;
  bool readCoupling();
  bool readFill(Block& block);
  Element& nextElement(Block& block, ElementId id);

  int32_t bits(int32_t count);   // up to 16
  size_t position() const;       // bits from the start of the block
  void moveTo(size_t position);  // to such a position
  bool within() const { return position() <= end_; }

  Config config_;
  std::unique_ptr<MoxVlcDecodeSpec, void (*)(MoxVlcDecodeSpec*)> scaleFactorCode_;
  std::vector<uint8_t> buffer_;  // the block, with room behind for an operation that runs over its end
  const uint8_t* stream_ = nullptr;
  int32_t offset_ = 0;
  size_t end_ = 0;                            // bits of the block
  MoxAacMainHeader ltpHolder_{};              // where the library puts long-term-prediction data
  std::unique_ptr<Channel> couplingChannel_;  // decoded to get past it
};

}  // namespace moxc::aac
