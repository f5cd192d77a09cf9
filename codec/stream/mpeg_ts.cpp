// Takes one audio stream out of a transport stream.
#include "codec/stream/mpeg_ts.h"

#include <algorithm>
#include <cstring>

#include "codec/io/text.h"

namespace moxc {
namespace {

constexpr uint8_t kSync = 0x47;
constexpr size_t kStrides[] = {188, 192, 204};  // plain; with a time stamp in front; with a checksum behind
constexpr size_t kSyncs = 5, kLongestStride = 204, kWindow = 16384;
constexpr size_t kLongestSection = 3 + 4093;
constexpr size_t kMaxPrograms = 64;
// Tables come every tenth of a second. Where so many packets hold none, none will come.
constexpr int64_t kPacketsWithoutTable = 4096;

enum StreamType : uint32_t {
  mpeg1Audio = 0x03,
  mpeg2Audio = 0x04,
  privateData = 0x06,
  aacAdts = 0x0F,
  aacLatm = 0x11,
  aacRaw = 0x1C,
};
enum DescriptorTag : uint8_t { ac3Dvb = 0x6A, eac3Dvb = 0x7A, dtsDvb = 0x7B, aacDvb = 0x7C };

// CRC-32 of a section; 0 over a whole one. ISO/IEC 13818-1, Annex A.
uint32_t sectionCrc(Bytes bytes) {
  uint32_t crc = ~0u;
  for (const uint8_t byte : bytes) {
    crc ^= static_cast<uint32_t>(byte) << 24;
    for (int i = 0; i < 8; ++i) crc = crc << 1 ^ (crc >> 31 != 0 ? 0x04C11DB7u : 0u);
  }
  return crc;
}

// An entry of a program's table: what it is when it is audio.
struct AudioKind {
  bool isAudio = false, isDecoded = false;
  std::optional<PacketContent> content;  // nothing: its first bytes tell
  const char* name = "";
};

AudioKind kindByDescriptors(Bytes descriptors) {
  for (size_t at = 0; at + 2 <= descriptors.size(); at += size_t{2} + descriptors[at + 1])
    switch (descriptors[at]) {
      case aacDvb:
        return {true, true, std::nullopt, "AAC"};
      case ac3Dvb:
        return {true, false, std::nullopt, "AC-3"};
      case eac3Dvb:
        return {true, false, std::nullopt, "Enhanced AC-3"};
      case dtsDvb:
        return {true, false, std::nullopt, "DTS"};
      default:
        break;
    }
  return {};
}

AudioKind kindOfStream(uint32_t type, Bytes descriptors) {
  switch (type) {
    case mpeg1Audio:
    case mpeg2Audio:
      return {true, true, PacketContent::mpegAudioBytes, "MPEG audio"};
    case aacAdts:
      return {true, true, PacketContent::adtsBytes, "AAC"};
    case aacLatm:
      return {true, true, PacketContent::latmBytes, "AAC"};
    case aacRaw:
      return {true, false, std::nullopt, "MPEG-4 audio without LATM"};
    case privateData:
      return kindByDescriptors(descriptors);
    case 0x80:
      return {true, false, std::nullopt, "PCM"};
    case 0x81:
      return {true, false, std::nullopt, "AC-3"};
    case 0x82:
    case 0x85:
    case 0x86:
      return {true, false, std::nullopt, "DTS"};
    case 0x83:
      return {true, false, std::nullopt, "TrueHD"};
    case 0x84:
    case 0x87:
      return {true, false, std::nullopt, "Enhanced AC-3"};
    default:
      return {};
  }
}

// Whether packets of that stride begin there: five, or as far as the bytes go.
bool packetsJoin(Bytes bytes, size_t at, size_t stride) {
  for (size_t i = 0; i < kSyncs && at < bytes.size(); ++i, at += stride)
    if (bytes[at] != kSync) return false;
  return true;
}

size_t nextSync(Bytes bytes, size_t from) {
  if (from >= bytes.size()) return bytes.size();
  const void* const found = std::memchr(bytes.data() + from, kSync, bytes.size() - from);
  return found == nullptr ? bytes.size()
                          : static_cast<size_t>(static_cast<const uint8_t*>(found) - bytes.data());
}

// The stride of the packets that begin there; 0 for none. At least two must be seen, at the end of the input too.
size_t strideAt(Bytes bytes, size_t at) {
  for (const size_t stride : kStrides)
    if (at + stride < bytes.size() && packetsJoin(bytes, at, stride)) return stride;
  return 0;
}

}  // namespace

size_t findMpegTs(Bytes head, bool whole) {
  for (size_t at = nextSync(head, 0); at < head.size(); at = nextSync(head, at + 1)) {
    const size_t stride = strideAt(head, at);
    if (stride != 0 && (at + (kSyncs - 1) * stride < head.size() || (whole && at == 0))) return at;
  }
  return kNotFound;
}

struct MpegTsDemuxer::Header {
  bool error, begins, jumps, hasPayload, scrambled;
  int32_t pid, counter;
  size_t payloadAt;

  explicit Header(Bytes packet)
      : error((packet[1] & 0x80) != 0),
        begins((packet[1] & 0x40) != 0),
        jumps((packet[3] & 0x20) != 0 && packet[4] > 0 && (packet[5] & 0x80) != 0),
        hasPayload((packet[3] & 0x10) != 0),
        scrambled((packet[3] & 0xC0) != 0),
        pid(static_cast<int32_t>(bigEndian(packet, 1, 2) & 0x1FFF)),
        counter(packet[3] & 15),
        payloadAt((packet[3] & 0x20) != 0 ? size_t{5} + packet[4] : 4) {}
};

MpegTsDemuxer::MpegTsDemuxer(int32_t track, int64_t position)
    : window_(kWindow), start_(position), track_(track) {
  window_.jump(position);
}

MpegTsDemuxer::Order MpegTsDemuxer::Counter::follow(int32_t counter, bool jumps) {
  const int32_t before = last;
  last = counter;
  if (before < 0 || jumps || counter == ((before + 1) & 15)) return Order::next;
  return counter == before ? Order::repeated : Order::gap;
}

// Looks for packets. False where more bytes are needed, or there are none.
bool MpegTsDemuxer::lock() {
  const Bytes bytes = window_.bytes();
  const size_t enough = (kSyncs - 1) * kLongestStride + 1;
  size_t at = nextSync(bytes, 0), stride = 0;
  for (; at < bytes.size() && (at + enough <= bytes.size() || whole_); at = nextSync(bytes, at + 1))
    if ((stride = strideAt(bytes, at)) != 0) break;
  (packets_ > 0 ? skipped_ : before_) += static_cast<int64_t>(at);
  window_.drop(at);
  if (stride == 0) return false;
  locked_ = true;
  stride_ = stride;
  return true;
}

void MpegTsDemuxer::choose(int32_t pid, std::optional<PacketContent> content) {
  pid_ = pid;
  contentKnown_ = content.has_value();
  configPending_ = contentKnown_;
  if (content) config_.content = *content;
  counter_ = {};
  pes_.stop();
  lastPayloadBytes_ = 0;
}

// Program association section: where the programs' own tables are.
void MpegTsDemuxer::readPrograms(Bytes section) {
  for (size_t at = 8; at + 8 <= section.size(); at += 4) {
    const auto number = static_cast<int32_t>(bigEndian(section, at, 2));
    const auto pid = static_cast<int32_t>(bigEndian(section, at + 2, 2) & 0x1FFF);
    const bool known = std::any_of(programs_.begin(), programs_.end(),
                                   [&](const Program& p) { return p.number == number && p.pid == pid; });
    if (number == 0 || known || programs_.size() == kMaxPrograms) continue;
    Program program;
    program.number = number;
    program.pid = pid;
    programs_.push_back(std::move(program));
  }
}

// Program map section: its elementary streams. A table may replace one that was seen, and the stream may be gone then.
void MpegTsDemuxer::readStreams(Bytes section, Program& program) {
  if (static_cast<int32_t>(bigEndian(section, 3, 2)) != program.number || section.size() < 16) return;
  const bool mine = program.number == chosenProgram_;
  const auto count = program.counted ? int32_t{0} : int32_t{1};
  std::optional<std::pair<int32_t, AudioKind>> first;
  size_t at = 12 + (bigEndian(section, 10, 2) & 0xFFF);
  for (; at + 5 + 4 <= section.size(); at += 5 + (bigEndian(section, at + 3, 2) & 0xFFF)) {
    const auto pid = static_cast<int32_t>(bigEndian(section, at + 1, 2) & 0x1FFF);
    const size_t descriptors = bigEndian(section, at + 3, 2) & 0xFFF;
    const AudioKind kind =
        kindOfStream(section[at], slice(section.first(section.size() - 4), at + 5, descriptors));
    if (!kind.isAudio) continue;
    if (!kind.isDecoded) {
      if (otherAudio_.empty()) otherAudio_ = kind.name;
      continue;
    }
    const bool same = !contentKnown_ || !kind.content || *kind.content == config_.content;
    if (mine && pid == pid_ && same) return;
    if (!first) first = {pid, kind};
    if (pid_ < 0 && count > 0 && audioStreams_ == track_) {
      choose(pid, kind.content);
      chosenProgram_ = program.number;
    }
    audioStreams_ += count;
  }
  program.counted = true;
  if (mine && first) choose(first->first, first->second.content);
}

void MpegTsDemuxer::endSection(Bytes section, Program* program) {
  constexpr uint8_t kPatId = 0, kPmtId = 2;
  const bool current = (section[1] & 0x80) != 0 && section.size() >= 12 && (section[5] & 1) != 0;
  if (!current || section[0] != (program == nullptr ? kPatId : kPmtId)) return;
  if (sectionCrc(section) != 0)
    ++broken_;
  else if (program == nullptr)
    readPrograms(section);
  else
    readStreams(section, *program);
}

// Adds what the section lacks, which is cut off the payload. True when it is whole.
bool MpegTsDemuxer::Section::add(Bytes& payload) {
  while (!payload.empty()) {
    const size_t wanted = bytes.size() < 3 ? 3 : 3 + (bigEndian(bytes, 1, 2) & 0xFFF);
    const size_t count = std::min(payload.size(), wanted - bytes.size());
    bytes.insert(bytes.end(), payload.begin(), payload.begin() + static_cast<ptrdiff_t>(count));
    payload = slice(payload, count);
    if (bytes.size() >= 3 && bytes.size() == 3 + (bigEndian(bytes, 1, 2) & 0xFFF)) return true;
  }
  return false;
}

// Joins the sections of one PID. A pointer tells where the first of a packet begins; more may follow it.
void MpegTsDemuxer::takeSections(Bytes payload, const Header& header, Section& section, Program* program) {
  const Order order = section.counter.follow(header.counter, header.jumps);
  if (order == Order::repeated) return;
  if (order == Order::gap) section.open = false;
  if (header.begins) {
    const size_t pointer = payload[0];
    Bytes rest = slice(payload, 1, pointer);
    if (section.open && section.add(rest)) endSection(section.bytes, program);
    section.open = false;
    payload = slice(payload, 1 + pointer);
  } else if (!section.open) {
    return;
  }
  while (!payload.empty()) {
    if (!section.open) {
      if (!header.begins || payload[0] == 0xFF) return;
      section.bytes.clear();
      section.bytes.reserve(kLongestSection);
      section.open = true;
    }
    if (!section.add(payload)) return;
    section.open = false;
    endSection(section.bytes, program);
  }
}

bool MpegTsDemuxer::takeAudio(Bytes payload, const Header& header, Packet& packet) {
  if (header.scrambled) {
    ++scrambled_;
    pes_.stop();
    return false;
  }
  const Order order = counter_.follow(header.counter, header.jumps);
  const bool same =
      payload.size() == lastPayloadBytes_ && std::equal(payload.begin(), payload.end(), lastPayload_.begin());
  if (order == Order::repeated && same) return false;
  if (order != Order::next) {  // sixteen lost packets look like a repeated counter
    ++gaps_;
    pes_.loseLength();
  }
  std::copy(payload.begin(), payload.end(), lastPayload_.begin());
  lastPayloadBytes_ = payload.size();

  if (header.begins) {
    pes_.begin();
    pesBegins_ = true;
  }
  packet.bytes = pes_.take(payload);
  packet.position = window_.position();
  packet.number = -1;
  if (packet.bytes.empty()) return false;
  if (!contentKnown_ && pesBegins_) {
    if (const std::optional<PacketContent> content = contentOfFrame(packet.bytes))
      choose(pid_, content);  // this packet is taken once more, behind the event
    else if (guess_)
      pid_ = -1;
  }
  pesBegins_ = false;
  const bool audio = contentKnown_ && !configPending_;
  delivered_ += audio;
  return audio;
}

// One packet of 188 bytes. True when it holds audio.
bool MpegTsDemuxer::takePacket(Bytes bytes, Packet& packet) {
  const Header header(bytes);
  if (header.error) {
    ++broken_;
    return false;
  }
  if (!header.hasPayload || header.payloadAt >= bytes.size()) return false;
  const Bytes payload = slice(bytes, header.payloadAt);
  if (guess_ && pid_ < 0 && header.begins && !header.scrambled && payload.size() > 4 &&
      bigEndian(payload, 0, 3) == 1 && payload[3] >= 0xC0 && payload[3] <= 0xDF)
    choose(header.pid, std::nullopt);
  if (header.pid == pid_) return takeAudio(payload, header, packet);
  if (header.scrambled) return false;
  if (header.pid == 0) takeSections(payload, header, table_, nullptr);
  for (Program& program : programs_)
    if (program.pid == header.pid) {
      takeSections(payload, header, program.section, &program);
      break;
    }
  return false;
}

// A short stream without tables, read once more for what its packets hold.
bool MpegTsDemuxer::restartToGuess() {
  if (!programs_.empty() || pid_ >= 0 || guess_ || !seekable_) return false;
  guess_ = true;
  window_.jump(start_);
  whole_ = locked_ = false;
  packets_ = between_ = 0;
  skipped_ = before_ = 0;
  return true;
}

void MpegTsDemuxer::refuseAtEnd() {
  if (scrambled_ > 0 && delivered_ == 0)
    refusal_ = "the transport stream is scrambled";
  else if (pid_ < 0 && audioStreams_ > 0)
    refusal_ = "the transport stream has only " + counted(audioStreams_, "audio stream");
  else if (pid_ < 0 && !otherAudio_.empty())
    refusal_ = "the transport stream's audio is " + otherAudio_ + ", which is not decoded";
  else if (pid_ < 0 && programs_.empty())
    refusal_ = "the transport stream has no table of its programs";
  else if (delivered_ == 0)
    refusal_ = "the transport stream holds no audio";
}

DemuxEvent MpegTsDemuxer::next(Packet& packet) {
  if (!refusal_.empty()) return DemuxEvent::refused;
  for (;;) {
    if (configPending_) {
      configPending_ = false;
      return DemuxEvent::config;
    }
    if (between_ > 0) {
      const size_t count = std::min(between_, window_.size());
      window_.drop(count);
      between_ -= count;
    }
    const bool have = window_.size() >= kPacketBytes && between_ == 0;
    if (locked_ && have && window_.bytes()[0] != kSync) locked_ = false;
    if (!have || (!locked_ && !lock())) {
      if (!whole_) return DemuxEvent::needMore;
      if (!have || window_.size() < kPacketBytes) {
        (locked_ ? behind_ : packets_ > 0 ? skipped_ : before_) += static_cast<int64_t>(window_.size());
        window_.drop(window_.size());
        if (restartToGuess()) return DemuxEvent::needMore;
        refuseAtEnd();
        return refusal_.empty() ? DemuxEvent::end : DemuxEvent::refused;
      }
      continue;
    }
    if (window_.size() < kPacketBytes) continue;
    if (++packets_ == kPacketsWithoutTable && programs_.empty()) guess_ = true;
    const bool audio = takePacket(window_.bytes().first(kPacketBytes), packet);
    if (configPending_) continue;
    window_.drop(kPacketBytes);
    between_ = stride_ - kPacketBytes;
    if (audio) return DemuxEvent::packet;
  }
}

std::vector<std::string> MpegTsDemuxer::faults() const {
  std::vector<std::string> lines;
  if (skipped_ > 0)
    lines.push_back(counted(skipped_, "byte") + " that belong to no transport packet skipped");
  if (gaps_ > 0) lines.push_back("transport packets missing in " + counted(gaps_, "place"));
  if (broken_ > 0) lines.push_back(counted(broken_, "transport packet or table") + " damaged");
  if (scrambled_ > 0) lines.push_back(counted(scrambled_, "transport packet") + " scrambled");
  return lines;
}

std::vector<std::string> MpegTsDemuxer::notes() const {
  std::vector<std::string> lines;
  if (before_ > 0) lines.push_back(counted(before_, "byte") + " before the first transport packet");
  if (behind_ > 0) lines.push_back(counted(behind_, "byte") + " behind the last transport packet");
  if (audioStreams_ > 1)
    lines.push_back("audio stream " + std::to_string(track_ + 1) + " of " + std::to_string(audioStreams_));
  return lines;
}

}  // namespace moxc
