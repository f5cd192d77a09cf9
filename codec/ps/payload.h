// The side information of parametric stereo: what a payload says about a frame, and what stays from frame to
// frame. ISO/IEC 14496-3, 8.6.4.2 to 8.6.4.4.
#pragma once

#include <cstdint>

#include "codec/io/array.h"
#include "codec/io/bit_reader.h"

namespace moxc::ps {

// The indices of one envelope, as many of each kind as the header says; 0 where a kind is switched off.
struct Envelope {
  using Indices = Array<int8_t, 34>;
  Indices iid{}, icc{}, ipd{}, opd{};  // -7..7 or -15..15; 0..7 each
};

// What a header says; it holds until the next one.
struct Header {
  bool known = false;  // there has been one
  bool iidOn = false, iccOn = false, extensionOn = false;
  int32_t iidMode = 0, iccMode = 0;  // 0..5

  int32_t iidBands() const;
  int32_t iccBands() const;
  int32_t phaseBands() const;
  bool fineIid() const { return iidMode >= 3; }
  bool mixingB() const { return iccMode >= 3; }
};

class Payload {
 public:
  static constexpr int32_t kMaxEnvelopes = 5;  // four sent, one that holds the last to the frame's end

  explicit Payload(int32_t slots = 32) : slots_(slots), borders_{slots - 1} {}  // of a frame, at most 32

  // Reads one payload; false, and nothing has changed, when it is damaged.
  bool read(BitReader& bits);
  // The frame is over: unless a payload says otherwise, the next one keeps its last envelope.
  void holdLast();

  bool known() const { return header_.known; }
  const Header& header() const { return header_; }
  bool phasesOn() const { return phasesOn_; }
  bool wide() const { return wide_; }  // 34 stereo bands in the hybrid domain instead of 20
  // The envelopes of the frame, and the slot that each ends with; the last one's is the frame's last.
  int32_t count() const { return count_; }
  const Envelope& envelope(int32_t e) const { return envelopes_[e]; }
  int32_t border(int32_t e) const { return borders_[e]; }

 private:
  bool readHeader(BitReader& bits);
  bool readBorders(BitReader& bits);
  bool readLevels(BitReader& bits);
  bool readCoherences(BitReader& bits);
  bool readExtension(BitReader& bits);
  bool readPhases(BitReader& bits);
  void recast(const Header& before);
  void complete();
  Envelope& at(int32_t e) { return envelopes_[e]; }
  const Envelope& before(int32_t e) const { return e == 0 ? last_ : envelope(e - 1); }

  int32_t slots_;
  Header header_;
  bool phasesOn_ = false, wide_ = false;
  int32_t count_ = 1;
  Array<int32_t, kMaxEnvelopes> borders_;
  Array<Envelope, kMaxEnvelopes> envelopes_{};
  Envelope last_;  // of the frame before, in the terms of this header: what time differences start from
};

// Indices for `to` bands from those for `from`: 10, 20 or 34 bands each. For phases, 5, 11 and 17 bands are
// known.
Envelope::Indices convertBands(const Envelope::Indices& indices, int32_t from, int32_t to);

}  // namespace moxc::ps
