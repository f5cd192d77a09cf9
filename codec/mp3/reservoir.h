// The bit reservoir: main data of a frame may begin up to 511 bytes before the frame itself, in the space
// that earlier frames left over.
#pragma once

#include <optional>

#include "codec/io/bytes.h"
#include "codec/io/memory.h"

namespace moxc::mp3 {

class BitReservoir {
 public:
  BitReservoir() : buffer_(kMaxBegin + kPad) {}

  // What earlier frames left over does not join on: the stream was interrupted.
  void clear() { held_ = 0; }

  // Appends a frame's own bytes and gives its main data: the last `mainDataBegin` bytes held before, and all
  // of the new ones. Nothing when fewer are held; the new bytes are then kept for later frames all the same.
  // At least kPad readable bytes follow the view. Valid until the next call.
  std::optional<Bytes> assemble(Bytes own, size_t mainDataBegin);

  // A Huffman decoder notices only at the end of the big values that its data ran out: 288 pairs of at most
  // 36 bits (code word, 13 linbits and a sign each), and what its bit window looks ahead.
  static constexpr size_t kPad = 288 * 36 / 8 + 64;

 private:
  static constexpr size_t kMaxBegin = 511;

  Vector<uint8_t> buffer_;  // the last kMaxBegin bytes at most, then the frame's own, then zeros
  size_t held_ = 0;
};

}  // namespace moxc::mp3
