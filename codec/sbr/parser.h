// The payload of spectral band replication, from bits to what it says about a frame.
// ISO/IEC 14496-3, 4.4.2.8 and 4.6.18.3.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "codec/io/bit_reader.h"
#include "codec/io/bytes.h"
#include "codec/sbr/bands.h"

namespace mox {

constexpr int32_t kSbrTimeSlots = 16;  // of a frame, two QMF slots each
constexpr int32_t kSbrMaxEnvelopes = 5, kSbrMaxNoiseFloors = 2;

// How a frame is divided in time. Borders are time slots; the last may lie up to three behind the frame's end, where
// the next frame then begins.
struct SbrGrid {
  int32_t envelopes = 1, noiseFloors = 1;
  std::array<int32_t, kSbrMaxEnvelopes + 1> border{};
  std::array<int32_t, kSbrMaxNoiseFloors + 1> noiseBorder{};
  std::array<bool, kSbrMaxEnvelopes> highRes{};
  int32_t transient =
      -1;  // l_A, the envelope that begins with a transient; `envelopes` for the next frame's first
  bool coarse = false;  // scale factors in steps of 3 dB, not 1.5

  bool read(BitReader& bits, bool coarseInHeader);
  int32_t end() const { return border[static_cast<size_t>(envelopes)]; }

 private:
  void divideNoise(int32_t frameClass, int32_t pointer);
};

// One channel's frame. Scale factors are those of the stream after delta decoding, balance values already doubled.
struct SbrChannelFrame {
  SbrGrid grid;
  std::array<std::array<int16_t, SbrBands::kMaxBands>, kSbrMaxEnvelopes> envelope{};
  std::array<std::array<int16_t, SbrBands::kMaxNoiseBands>, kSbrMaxNoiseFloors> noise{};
  std::array<uint8_t, SbrBands::kMaxNoiseBands> inverseFilter{};  // bs_invf_mode
  std::array<bool, SbrBands::kMaxBands> harmonic{};
};

struct SbrFrame {
  bool reset = false;    // the bands are others than those of the frame before
  bool coupled = false;  // the second channel holds balances
  std::array<SbrChannelFrame, 2> channel;
  std::optional<BitReader> stereo;  // where parametric stereo data begin, within the payload that was read
};

enum class SbrRead {
  good,
  noHeader,  // cannot be understood without a header, and none has come yet
  damaged,
};

class SbrParser {
 public:
  explicit SbrParser(int32_t outputRate) : rate_(outputRate) {}

  // A fill element's data, which begin with an extension type of 13 or 14. Unless it is good, all that is kept from
  // frame to frame stays as it was.
  SbrRead read(Bytes payload, bool pair, SbrFrame& frame);

  // Of the last good frame.
  const SbrHeader& header() const { return state_.header; }
  const SbrBands& bands() const { return state_.bands; }

 private:
  struct Previous {  // what differences in time refer to
    bool highRes = false;
    std::array<int16_t, SbrBands::kMaxBands> envelope{};
    std::array<int16_t, SbrBands::kMaxNoiseBands> noise{};
  };
  struct State {
    bool hasHeader = false;
    SbrHeader header;
    SbrBands bands;
    std::array<Previous, 2> previous;
  };
  // Which envelopes and noise floors are coded as differences in time.
  struct Directions {
    std::array<bool, kSbrMaxEnvelopes> envelope{};
    std::array<bool, kSbrMaxNoiseFloors> noise{};

    void read(BitReader& bits, const SbrGrid& grid);
  };

  bool readHeader(BitReader& bits, SbrFrame& frame);
  bool readChannels(BitReader& bits, bool pair, SbrFrame& frame);
  void readInverseFilters(BitReader& bits, SbrChannelFrame& channel) const;
  void readHarmonics(BitReader& bits, SbrChannelFrame& channel) const;
  bool readEnvelopes(BitReader& bits, const Directions& directions, bool balance, Previous& previous,
                     SbrChannelFrame& channel) const;
  bool readNoise(BitReader& bits, const Directions& directions, bool balance, Previous& previous,
                 SbrChannelFrame& channel) const;

  int32_t rate_;
  State state_;
};

}  // namespace mox
