// The payload of spectral band replication, from bits to what it says about a frame.
// ISO/IEC 14496-3, 4.4.2.8 and 4.6.18.3.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/io/array.h"
#include "codec/io/bit_reader.h"
#include "codec/io/bytes.h"
#include "codec/sbr/bands.h"

namespace moxc::sbr {

// Time slots of a frame, two QMF slots each: 16 of 1024 core samples, 15 of 960.
constexpr int32_t kMaxTimeSlots = 16;
constexpr int32_t kMaxEnvelopes = 5, kMaxNoiseFloors = 2;

// How a frame is divided in time. Borders are time slots; the last may lie up to three behind the frame's end, where
// the next frame then begins.
struct Grid {
  int32_t envelopes = 1, noiseFloors = 1;
  Array<int32_t, kMaxEnvelopes + 1> border{};
  Array<int32_t, kMaxNoiseFloors + 1> noiseBorder{};
  Array<bool, kMaxEnvelopes> highRes{};
  int32_t transient =
      -1;  // l_A, the envelope that begins with a transient; `envelopes` for the next frame's first
  bool coarse = false;  // scale factors in steps of 3 dB, not 1.5

  bool read(BitReader& bits, bool coarseInHeader, int32_t timeSlots);
  int32_t end() const { return border[envelopes]; }

 private:
  void divideNoise(int32_t frameClass, int32_t pointer);
};

// One channel's frame. Scale factors are those of the stream after delta decoding, balance values already doubled.
struct ChannelFrame {
  Grid grid;
  Array<Array<int16_t, Bands::kMaxBands>, kMaxEnvelopes> envelope{};
  Array<Array<int16_t, Bands::kMaxNoiseBands>, kMaxNoiseFloors> noise{};
  Array<uint8_t, Bands::kMaxNoiseBands> inverseFilter{};  // bs_invf_mode
  Array<bool, Bands::kMaxBands> harmonic{};
};

struct Frame {
  bool reset = false;    // the bands are others than those of the frame before
  bool coupled = false;  // the second channel holds balances
  Array<ChannelFrame, 2> channel;
  std::optional<BitReader> stereo;  // where parametric stereo data begin, within the payload that was read
};

enum class Read {
  good,
  noHeader,  // cannot be understood without a header, and none has come yet
  damaged,
};

class Parser {
 public:
  explicit Parser(int32_t fullRate, int32_t timeSlots = kMaxTimeSlots)
      : rate_(fullRate), timeSlots_(timeSlots) {}

  // A fill element's data, which begin with an extension type of 13 or 14. Unless it is good, all that is kept from
  // frame to frame stays as it was.
  Read read(Bytes payload, bool pair, Frame& frame);

  // Of the last good frame.
  const Header& header() const { return state_.header; }
  const Bands& bands() const { return state_.bands; }

 private:
  struct Previous {  // what differences in time refer to
    bool highRes = false;
    Array<int16_t, Bands::kMaxBands> envelope{};
    Array<int16_t, Bands::kMaxNoiseBands> noise{};
  };
  struct State {
    bool hasHeader = false;
    Header header;
    Bands bands;
    Array<Previous, 2> previous;
  };
  // Which envelopes and noise floors are coded as differences in time.
  struct Directions {
    Array<bool, kMaxEnvelopes> envelope{};
    Array<bool, kMaxNoiseFloors> noise{};

    void read(BitReader& bits, const Grid& grid);
  };

  bool readHeader(BitReader& bits, Frame& frame);
  bool readChannels(BitReader& bits, bool pair, Frame& frame);
  void readInverseFilters(BitReader& bits, ChannelFrame& channel) const;
  void readHarmonics(BitReader& bits, ChannelFrame& channel) const;
  bool readEnvelopes(BitReader& bits, const Directions& directions, bool balance, Previous& previous,
                     ChannelFrame& channel) const;
  bool readNoise(BitReader& bits, const Directions& directions, bool balance, Previous& previous,
                 ChannelFrame& channel) const;

  int32_t rate_;  // of the full band, twice the core's
  int32_t timeSlots_;
  State state_;
};

}  // namespace moxc::sbr
