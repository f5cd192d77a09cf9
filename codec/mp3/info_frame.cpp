#include "codec/mp3/info_frame.h"

namespace moxc::mp3 {
namespace {

// What encoders leave in the name field when they have nothing to say is not printed.
String printable(Bytes bytes) {
  String text;
  for (const uint8_t byte : bytes) {
    if (byte < 0x20 || byte > 0x7E) break;
    text += static_cast<char>(byte);
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

// Marker, flags, then those of frame count, byte count, 100-byte seek table and quality that the flags name.
VbrHeader readXing(Bytes at) {
  constexpr uint32_t kFrames = 1, kBytes = 2, kSeekTable = 4, kQuality = 8;
  VbrHeader header;
  header.kind = startsWith(at, "Xing") ? "Xing" : "Info";
  const uint32_t flags = bigEndian(at, 4, 4);
  size_t next = 8;
  if ((flags & kFrames) != 0) {
    header.frames = bigEndian(at, next, 4);
    next += 4;
  }
  if ((flags & kBytes) != 0) {
    header.bytes = bigEndian(at, next, 4);
    next += 4;
  }
  if ((flags & kSeekTable) != 0) next += 100;
  if ((flags & kQuality) != 0) next += 4;

  // The extension: the encoder's name in nine characters, and from byte 21 on two 12-bit counts.
  const Bytes extension = slice(at, next);
  if (extension.size() < 24) return header;
  header.encoder = printable(slice(extension, 0, 9));
  if (header.encoder.empty()) return header;
  const uint32_t counts = bigEndian(extension, 21, 3);
  header.hasDelay = true;
  header.delay = static_cast<int32_t>(counts >> 12);
  header.padding = static_cast<int32_t>(counts & 0xFFF);
  return header;
}

// Marker, version, delay, quality (16 bits each), byte count, frame count.
VbrHeader readVbri(Bytes at) {
  VbrHeader header;
  header.kind = "VBRI";
  header.bytes = bigEndian(at, 10, 4);
  header.frames = bigEndian(at, 14, 4);
  return header;
}

}  // namespace

std::optional<VbrHeader> readVbrHeader(const Frame& frame) {
  // Where the main data begin; some encoders place it as if there were no CRC word even if there is one.
  for (const size_t at : {frame.header.mainDataAt(), 4 + frame.header.sideInfoBytes()}) {
    const Bytes xing = slice(frame.bytes, at);
    if (startsWith(xing, "Xing") || startsWith(xing, "Info")) return readXing(xing);
  }
  const Bytes vbri = slice(frame.bytes, 4 + 32);
  if (startsWith(vbri, "VBRI")) return readVbri(vbri);
  return std::nullopt;
}

}  // namespace moxc::mp3
