// Takes the audio out of PES packets.
#include "codec/stream/pes.h"

#include <algorithm>

#include "codec/io/text.h"

namespace moxc {
namespace {

constexpr size_t kWindow = 4096, kPackHeader = 14;
constexpr uint32_t kEndCode = 0xB9, kPackCode = 0xBA, kFirstCode = 0xB9;
// After so many packets that begin in the midst of a frame the stream is taken for what it mostly is.
constexpr int32_t kUnknownPackets = 16;

// stream_id of MPEG audio, AAC among it.
constexpr bool isAudio(uint32_t streamId) { return streamId >= 0xC0 && streamId <= 0xDF; }

// Bytes of a PES packet's header; 0 where more are needed to tell, or -1 where it is none.
int pesHeaderBytes(Bytes have) {
  if (have.size() < 7) return 0;
  if (bigEndian(have, 0, 3) != 1) return -1;
  if (have[6] >> 6 == 2) return have.size() < 9 ? 0 : 9 + have[8];
  size_t at = 6;  // MPEG-1: stuffing, buffer size, time stamps
  while (at < have.size() && at < 6 + 16 && have[at] == 0xFF) ++at;
  if (at < have.size() && have[at] >> 6 == 1) at += 2;
  if (at >= have.size()) return 0;
  switch (have[at] >> 4) {
    case 2:
      return static_cast<int>(at) + 5;
    case 3:
      return static_cast<int>(at) + 10;
    default:
      return have[at] == 0x0F ? static_cast<int>(at) + 1 : -1;
  }
}

// Bytes of what begins with a start code, or of the header that tells where it ends: 0 for none, SIZE_MAX where more
// are needed.
size_t unitBytes(Bytes bytes) {
  if (bytes.size() < 4) return SIZE_MAX;
  if (bigEndian(bytes, 0, 3) != 1 || bytes[3] < kFirstCode) return 0;
  if (bytes[3] == kEndCode) return 4;
  if (bytes[3] != kPackCode) return bytes.size() < 6 ? SIZE_MAX : 6 + bigEndian(bytes, 4, 2);
  if (bytes.size() < kPackHeader) return SIZE_MAX;
  if (bytes[4] >> 4 == 2) return 12;
  return bytes[4] >> 6 == 1 ? kPackHeader + (bytes[13] & 7) : 0;
}

}  // namespace

std::optional<PacketContent> contentOfFrame(Bytes frame) {
  if (frame.size() < 4) return std::nullopt;
  if (frame[0] == 0x56 && frame[1] >> 5 == 7) return PacketContent::latmBytes;
  if (frame[0] != 0xFF || frame[1] >> 5 != 7) return std::nullopt;
  const int version = frame[1] >> 3 & 3, layer = frame[1] >> 1 & 3;
  if (layer == 0) return version >= 2 ? std::optional(PacketContent::adtsBytes) : std::nullopt;
  const bool sound = version != 1 && frame[2] >> 4 != 15 && (frame[2] >> 2 & 3) != 3;
  return sound ? std::optional(PacketContent::mpegAudioBytes) : std::nullopt;
}

Bytes PesReader::take(Bytes bytes) {
  while (state_ == State::header && !bytes.empty()) {
    header_[headerBytes_++] = bytes[0];
    bytes = slice(bytes, 1);
    const Bytes header(header_.data(), headerBytes_);
    const int size = pesHeaderBytes(header);
    if (size < 0 || headerBytes_ == header_.size()) state_ = State::none;
    if (size <= 0 || headerBytes_ < static_cast<size_t>(size)) continue;
    state_ = State::payload;
    const auto length = static_cast<int64_t>(bigEndian(header, 4, 2));  // behind these six bytes; 0: not told
    left_ = length == 0 ? kUnbounded : std::max<int64_t>(0, length + 6 - size);
  }
  if (state_ != State::payload) return {};
  const Bytes payload = slice(bytes, 0, static_cast<size_t>(left_));
  if (left_ != kUnbounded) left_ -= static_cast<int64_t>(payload.size());
  return payload;
}

size_t findPes(Bytes head, bool whole) {
  for (size_t first = 0; first + 4 <= head.size(); ++first) {
    if (bigEndian(head, first, 3) != 1) continue;
    size_t at = first, units = 0;
    for (; units < 3; ++units) {
      const size_t bytes = at < head.size() ? unitBytes(slice(head, at)) : 0;
      if (bytes == 0 || bytes == SIZE_MAX) break;
      at += bytes;
    }
    if (units == 3 || (whole && first == 0 && units > 0 && at == head.size())) return first;
  }
  return kNotFound;
}

PesDemuxer::PesDemuxer(int64_t position) : window_(kWindow) { window_.jump(position); }

// The next start code to the front of the window, and what it begins. False where more is needed.
bool PesDemuxer::openUnit() {
  const Bytes bytes = window_.bytes();
  size_t at = 0;
  while (at + 4 <= bytes.size() && unitBytes(slice(bytes, at)) == 0) ++at;
  const size_t unit = unitBytes(slice(bytes, at));
  if (unit == SIZE_MAX && whole_) at = bytes.size();
  for (const uint8_t byte : bytes.first(at)) skipped_ += byte != 0;  // zeros between packets are padding
  window_.drop(at);
  if (unit == SIZE_MAX) return false;
  const uint32_t code = bytes[at + 3];
  if (stream_ == 0 && isAudio(code)) stream_ = code;
  unitLeft_ = unit;
  unitIsAudio_ = isAudio(code) && code == stream_;
  unitBegins_ = true;
  if (unitIsAudio_) pes_.begin();
  return true;
}

// Whether the stream's content is known, now that a packet begins with these bytes.
bool PesDemuxer::recognise(Bytes payload) {
  const std::optional<PacketContent> content = contentOfFrame(payload);
  if (!content && ++unknown_ < kUnknownPackets) {
    pes_.stop();  // nothing of this packet is of use
    return false;
  }
  config_.content = content.value_or(PacketContent::mpegAudioBytes);
  told_ = true;
  return true;
}

DemuxEvent PesDemuxer::next(Packet& packet) {
  if (!refusal_.empty()) return DemuxEvent::refused;
  for (;;) {
    if (unitLeft_ == 0 && !openUnit()) {
      if (!whole_) return DemuxEvent::needMore;
      if (!told_) refusal_ = "the program stream holds no MPEG audio";
      return told_ ? DemuxEvent::end : DemuxEvent::refused;
    }
    const Bytes part = slice(window_.bytes(), 0, unitLeft_);
    if (part.empty()) {
      if (!whole_) return DemuxEvent::needMore;
      unitLeft_ = 0;
      continue;
    }
    // A packet that begins is looked at when its header and the first bytes of its payload are there.
    constexpr size_t kBeginning = 9 + 255 + 4;
    if (unitBegins_ && unitIsAudio_ && part.size() < std::min(unitLeft_, kBeginning) && !whole_)
      return DemuxEvent::needMore;
    Bytes payload;
    if (unitIsAudio_) {
      PesReader tried = pes_;
      payload = tried.take(part);
      if (!told_ && !payload.empty() && recognise(payload))
        return DemuxEvent::config;  // the payload then comes again
      if (told_) pes_ = tried;
      if (!told_) payload = {};
    }
    packet.position = window_.position();
    packet.number = -1;
    unitBegins_ = false;
    unitLeft_ -= part.size();
    window_.drop(part.size());
    packet.bytes = payload;
    if (!payload.empty()) return DemuxEvent::packet;
  }
}

std::vector<std::string> PesDemuxer::faults() const {
  std::vector<std::string> lines;
  if (skipped_ > 0) lines.push_back(counted(skipped_, "byte") + " that belong to no packet skipped");
  return lines;
}

}  // namespace moxc
