// Finds LOAS frames and takes the packets out of them.
#include "codec/stream/latm.h"

#include <algorithm>
#include <cstring>

#include "codec/io/text.h"
#include "codec/stream/audio_specific_config.h"

namespace moxc {
namespace {

constexpr size_t kHeaderBytes = 3, kLongestFrame = 8191 + kHeaderBytes;
// A configuration is a few bytes; one with the longest comment is below this.
constexpr size_t kLongestSpecific = 512;

// The frame's length with its header; 0 where there is no sync word. ISO/IEC 14496-3, 1.7.2.
size_t frameBytes(Bytes bytes) {
  if (bytes.size() < kHeaderBytes || bytes[0] != 0x56 || (bytes[1] & 0xE0) != 0xE0) return 0;
  return kHeaderBytes + (bigEndian(bytes, 1, 2) & 0x1FFF);
}

enum class Joins { yes, no, cut };  // cut: the bytes end before it can be told

// Whether `count` more frames follow that one, each where the one before it ends.
Joins framesJoin(Bytes bytes, size_t at, int count) {
  for (; count >= 0; --count) {
    if (at + kHeaderBytes > bytes.size()) return Joins::cut;
    const size_t length = frameBytes(slice(bytes, at));
    if (length == 0) return Joins::no;
    at += length;
  }
  return Joins::yes;
}

// The first place from `from` on that may begin a sync word; the end where there is none.
size_t nextSync(Bytes bytes, size_t from) {
  if (from >= bytes.size()) return bytes.size();
  const void* const found = std::memchr(bytes.data() + from, 0x56, bytes.size() - from);
  return found == nullptr ? bytes.size()
                          : static_cast<size_t>(static_cast<const uint8_t*>(found) - bytes.data());
}

// The end of the input as good as a frame, where the frames end with it.
bool endsWithFrames(Bytes bytes, size_t at) {
  while (at < bytes.size()) {
    const size_t length = frameBytes(slice(bytes, at));
    if (length == 0) return false;
    at += length;
  }
  return at == bytes.size();
}

// LatmGetValue, ISO/IEC 14496-3, 1.7.3.
uint32_t readValue(BitReader& in) {
  const uint32_t bytes = in.bits(2) + 1;
  return in.bits(static_cast<int32_t>(8 * bytes));
}

// `bits` bits from any bit on, to the front of whole bytes.
void copyBits(Bytes from, size_t first, size_t bits, std::vector<uint8_t>& to) {
  to.assign((bits + 7) / 8, 0);
  const size_t shift = first % 8;
  const uint8_t* const in = from.data() + first / 8;
  for (size_t i = 0; i < to.size(); ++i) {
    const uint32_t pair = static_cast<uint32_t>(in[i]) << 8 | (shift + bits > 8 * (i + 1) ? in[i + 1] : 0u);
    to[i] = static_cast<uint8_t>(pair << shift >> 8);
  }
  if (bits % 8 != 0) to.back() &= static_cast<uint8_t>(0xFF00 >> bits % 8);
}

// An AudioSpecificConfig whose end is marked (version 1), or told by its content alone.
bool readSpecific(Bytes frame, BitReader& in, bool marked, StreamMuxConfig& mux) {
  const size_t length = marked ? readValue(in) : std::min(in.left(), 8 * kLongestSpecific);
  const size_t first = in.position();
  if (length > in.left()) return false;
  copyBits(frame, first, std::min(length, 8 * kLongestSpecific), mux.specific);
  const auto config = parseAudioSpecificConfig(mux.specific, static_cast<int64_t>(length), marked);
  if (!config) return false;
  mux.specificBits = marked ? static_cast<int64_t>(length) : config->bits;
  if (!marked) copyBits(frame, first, static_cast<size_t>(mux.specificBits), mux.specific);
  if (config->refusal != nullptr) mux.refusal = std::string(config->refusal) + ", which is not decoded";
  in = BitReader(frame, first + static_cast<size_t>(mux.specificBits),
                 8 * frame.size() - first - static_cast<size_t>(mux.specificBits));
  return true;
}

// StreamMuxConfig, ISO/IEC 14496-3, 1.7.3. False where it cannot be one. What is refused is not read to its end.
bool readMux(Bytes frame, BitReader& in, StreamMuxConfig& mux) {
  mux.refusal.clear();
  mux.fixedBits = 0;
  const bool version1 = in.flag();
  if (version1 && in.flag()) {
    mux.refusal = "LATM of a version to come, which is not decoded";  // audioMuxVersionA
    return true;
  }
  if (version1) readValue(in);  // taraBufferFullness
  const bool sameFraming = in.flag();
  mux.subframes = static_cast<int32_t>(in.bits(6)) + 1;
  const bool oneProgram = in.bits(4) == 0, oneLayer = in.bits(3) == 0;
  if (!oneProgram)
    mux.refusal = "LATM with more than one program, which is not decoded";
  else if (!oneLayer)
    mux.refusal = "LATM with more than one layer, which is not decoded";
  else if (!sameFraming)
    mux.refusal = "LATM with packets in chunks, which is not decoded";
  if (!mux.refusal.empty()) return !in.overrun();

  if (!readSpecific(frame, in, version1, mux)) return false;
  if (!mux.refusal.empty()) return true;
  const uint32_t lengthType = in.bits(3);
  if (lengthType == 0) {
    in.bits(8);  // latmBufferFullness
  } else if (lengthType == 1) {
    mux.fixedBits = 8 * (static_cast<int64_t>(in.bits(9)) + 20);
  } else {
    mux.refusal = "LATM with speech coding, which is not decoded";
    return !in.overrun();
  }
  if (in.flag()) {  // otherDataPresent: it stands behind the packets and is not looked at
    if (version1) {
      readValue(in);
    } else {
      for (bool more = true; more && !in.overrun();) {
        more = in.flag();
        in.bits(8);
      }
    }
  }
  if (in.flag()) in.bits(8);  // crcCheckSum
  return !in.overrun();
}

}  // namespace

size_t findLatm(Bytes head, bool whole) {
  if (whole && frameBytes(head) != 0 && endsWithFrames(head, 0)) return 0;
  for (size_t at = nextSync(head, 0); at < head.size(); at = nextSync(head, at + 1))
    if (framesJoin(head, at, 2) == Joins::yes) return at;
  return kNotFound;
}

LatmDemuxer::LatmDemuxer(int64_t position) : window_(kFindBytes + kLongestFrame), start_(position) {
  window_.jump(position);
  packet_.reserve(kLongestFrame + 8);
}

void LatmDemuxer::skip(size_t count) {
  gapIsZero_ = gapIsZero_ && allZero(window_.bytes().first(count));
  gap_ += static_cast<int64_t>(count);
  window_.drop(count);
}

// A frame begins behind the gap, or the input ends there: zeros are padding then, and a stray byte or two no damage.
void LatmDemuxer::endGap() {
  const bool atEnd = !locked_;
  if (!ever_)
    before_ += gap_;
  else if (atEnd && (gapIsZero_ || gap_ < static_cast<int64_t>(kHeaderBytes)))
    behind_ += gap_;
  else
    skipped_ += gap_;
  lost_ = lost_ || (ever_ && !atEnd && gap_ > 0);
  gap_ = 0;
  gapIsZero_ = true;
}

// Looks for the place where frames join: three at first, two after a gap, none where the input ends with frames.
LatmDemuxer::Sync LatmDemuxer::lock() {
  const Bytes bytes = window_.bytes();
  Joins joins = Joins::no;
  size_t at = nextSync(bytes, 0);
  for (; at < bytes.size(); at = nextSync(bytes, at + 1)) {
    joins = framesJoin(bytes, at, ever_ ? 1 : 2);
    if (joins == Joins::cut && whole_) {
      const bool mayEnd = ever_ || window_.position() + static_cast<int64_t>(at) == start_;
      joins = mayEnd && endsWithFrames(bytes, at) ? Joins::yes : Joins::no;
    }
    if (joins != Joins::no) break;
  }
  skip(at);
  if (joins != Joins::yes) return whole_ ? Sync::again : Sync::more;
  locked_ = true;
  endGap();
  ever_ = true;
  return Sync::frame;
}

// The next frame, whole, to the front of the window.
LatmDemuxer::Sync LatmDemuxer::synchronise() {
  if (!locked_) {
    const Sync sync = lock();
    if (sync != Sync::frame) return sync;
  }
  const Bytes bytes = window_.bytes();
  if (bytes.size() < kHeaderBytes && !whole_) return Sync::more;
  const size_t length = frameBytes(bytes);
  if (length + kHeaderBytes > bytes.size() && length != 0 && !whole_) return Sync::more;
  if (length == 0) {
    locked_ = false;
    return Sync::again;
  }
  if (length > bytes.size()) {
    truncated_ += static_cast<int64_t>(bytes.size());
    window_.drop(bytes.size());
    return Sync::again;
  }
  // Whose fault, when no frame follows: a wrong length here, or damage behind? A pair that begins inside tells.
  if (framesJoin(bytes, length, 0) == Joins::no) {
    if (bytes.size() < 2 * kLongestFrame + kHeaderBytes && !whole_) return Sync::more;
    for (size_t at = nextSync(bytes, 1); at < length; at = nextSync(bytes, at + 1))
      if (framesJoin(bytes, at, 1) == Joins::yes) {
        skip(at);
        endGap();
        return Sync::again;
      }
  }
  frameBytes_ = length;
  return Sync::frame;
}

void LatmDemuxer::dropFrame() {
  window_.drop(frameBytes_);
  frameBytes_ = 0;
  packetsLeft_ = 0;
}

// A configuration that is not decoded may be damage: it counts when two in a row say so before any other was good.
DemuxEvent LatmDemuxer::takeConfig() {
  if (!read_.refusal.empty()) {
    lastRefusal_ = "the stream is " + read_.refusal;
    if (++refused_ >= 2 && !configured_) refusal_ = lastRefusal_;
    return DemuxEvent::lost;
  }
  const bool sameContent =
      configured_ && read_.specific == mux_.specific && read_.specificBits == mux_.specificBits;
  std::swap(mux_, read_);
  configured_ = true;
  if (sameContent) return DemuxEvent::packet;
  config_.specificConfig = mux_.specific;
  config_.specificConfigBits = mux_.specificBits;
  return DemuxEvent::config;
}

// AudioMuxElement with its configuration, up to the first packet.
DemuxEvent LatmDemuxer::openFrame() {
  const Bytes frame = window_.bytes().first(frameBytes_);
  BitReader in(frame, 8 * kHeaderBytes, 8 * (frameBytes_ - kHeaderBytes));
  DemuxEvent event = configured_ ? DemuxEvent::packet : DemuxEvent::lost;
  if (!in.flag()) {  // useSameStreamMux
    const bool sound = readMux(frame, in, read_);
    event = sound ? takeConfig() : DemuxEvent::lost;
    damaged_ += !sound;
  } else if (!configured_) {
    ++unconfigured_;
  }
  at_ = in.position();
  packetsLeft_ = mux_.subframes;
  if (event == DemuxEvent::lost) dropFrame();
  return event;
}

// PayloadLengthInfo and PayloadMux of the frame's next packet.
DemuxEvent LatmDemuxer::takePacket(Packet& packet) {
  const Bytes frame = window_.bytes().first(frameBytes_);
  BitReader in(frame, at_, 8 * frameBytes_ - at_);
  auto bits = static_cast<size_t>(mux_.fixedBits);
  if (bits == 0) {
    uint32_t part = 255;
    for (; part == 255 && !in.overrun(); bits += 8 * size_t{part}) part = in.bits(8);
  }
  if (in.overrun() || bits > in.left()) {
    ++damaged_;
    dropFrame();
    return DemuxEvent::lost;
  }
  copyBits(frame, in.position(), bits, packet_);
  packet_.resize(packet_.size() + 8);
  at_ = in.position() + bits;
  packet.bytes = Bytes(packet_).first(packet_.size() - 8);
  packet.position = window_.position();
  packet.number = -1;
  --packetsLeft_;
  return DemuxEvent::packet;
}

DemuxEvent LatmDemuxer::next(Packet& packet) {
  while (refusal_.empty()) {
    if (packetsLeft_ > 0) return takePacket(packet);
    dropFrame();
    const Sync sync = synchronise();
    if (sync == Sync::more) return DemuxEvent::needMore;
    if (sync == Sync::again && window_.size() == 0 && whole_) {
      endGap();
      if (!configured_) refusal_ = lastRefusal_;
      if (refusal_.empty()) return DemuxEvent::end;
    }
    if (sync == Sync::again) continue;
    if (lost_) {  // what lies before this frame; it is looked at again
      lost_ = false;
      frameBytes_ = 0;
      if (configured_) return DemuxEvent::lost;
      continue;
    }
    const DemuxEvent event = openFrame();
    if (event == DemuxEvent::config || (event == DemuxEvent::lost && configured_)) return event;
  }
  return DemuxEvent::refused;
}

std::vector<std::string> LatmDemuxer::faults() const {
  std::vector<std::string> lines;
  if (skipped_ > 0) lines.push_back(counted(skipped_, "byte") + " that belong to no frame skipped");
  if (damaged_ > 0) lines.push_back(counted(damaged_, "frame") + " damaged");
  if (configured_ && refused_ > 0)
    lines.push_back(counted(refused_, "frame") + " with a configuration that is not decoded");
  if (truncated_ > 0) lines.push_back("the last frame is incomplete: " + counted(truncated_, "byte"));
  return lines;
}

std::vector<std::string> LatmDemuxer::notes() const {
  std::vector<std::string> lines;
  if (before_ > 0) lines.push_back(counted(before_, "byte") + " before the first frame");
  if (unconfigured_ > 0) lines.push_back(counted(unconfigured_, "frame") + " before the first configuration");
  if (behind_ > 0) lines.push_back(counted(behind_, "byte") + " behind the last frame");
  return lines;
}

}  // namespace moxc
