// Walks over the boxes of an MP4 file and hands out the packets of its audio.
#include "codec/stream/mp4.h"

#include <algorithm>
#include <cmath>

#include "codec/io/text.h"
#include "codec/stream/mp4_box.h"

namespace moxc {
namespace {

constexpr size_t kWindow = 128 * 1024;
constexpr size_t kLongestLeaf = 48 * 1024;  // of a box that is looked at as a whole
constexpr size_t kMostReserved = 1 << 20;   // entries that a table is believed to have before they are seen
constexpr uint32_t kMostUnsized = 1 << 16;  // packets of a fragment whose size only a default tells
constexpr uint64_t kFarthest = (uint64_t{1} << 56) - 1;  // no place or time lies beyond
constexpr size_t kMostTracks = 64, kMostPictures = 16;

constexpr uint32_t kContainers[] = {
    fourcc("moov"), fourcc("trak"), fourcc("edts"), fourcc("mdia"), fourcc("minf"), fourcc("stbl"),
    fourcc("mvex"), fourcc("moof"), fourcc("traf"), fourcc("udta"), fourcc("meta"), fourcc("ilst"),
};
constexpr uint32_t kTables[] = {
    fourcc("stts"), fourcc("stsc"), fourcc("stsz"), fourcc("stz2"), fourcc("stco"), fourcc("co64"),
};
constexpr uint32_t kLeaves[] = {
    fourcc("mvhd"), fourcc("trex"), fourcc("tkhd"), fourcc("elst"),
    fourcc("mdhd"), fourcc("stsd"), fourcc("tfhd"),
};
constexpr uint32_t kTexts[] = {fourcc("titl"), fourcc("perf"), fourcc("albm"), fourcc("auth"),
                               fourcc("cprt")};
constexpr uint32_t kFirstBoxes[] = {
    fourcc("ftyp"), fourcc("styp"), fourcc("moov"), fourcc("moof"), fourcc("mdat"),
    fourcc("sidx"), fourcc("free"), fourcc("skip"), fourcc("wide"), fourcc("pnot"),
};

constexpr uint32_t kEssentialBoxes[] = {fourcc("moov"), fourcc("moof"), fourcc("mdat")};

constexpr const char* kIncomplete = "the MP4 file is cut short: its index (moov) is incomplete";

template <size_t n>
bool isOneOf(uint32_t type, const uint32_t (&types)[n]) {
  return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

// Fields that have 4 bytes in version 0 of a box and 8 in version 1.
uint64_t wideField(Bytes content, size_t at, bool wide) {
  return wide ? bigEndian64(content, at) : bigEndian(content, at, 4);
}

// A time in another timescale; -1 where that is beyond all measure.
int64_t rescaled(uint64_t time, uint32_t from, uint32_t to) {
  const double value = static_cast<double>(time) * to / std::max(from, 1u);
  return value < 4e15 ? std::llround(value) : -1;
}

}  // namespace

size_t findMp4(Bytes head, bool /*whole*/) {
  const uint32_t size = bigEndian(head, 0, 4);
  const bool begins = head.size() >= 8 && (size == 1 || size >= 8 || size == 0);
  return begins && isOneOf(bigEndian(head, 4, 4), kFirstBoxes) ? 0 : kNotFound;
}

Mp4Demuxer::Mp4Demuxer(int32_t track, int64_t position)
    : window_(kWindow), wantedTrack_(track), at_(position) {
  window_.jump(position);
}

// ---- the walk over the boxes

// Makes the window begin there. over: there is no such place, or it lies behind.
Mp4Demuxer::Step Mp4Demuxer::reach(int64_t position) {
  const int64_t ahead = position - window_.position();
  if (ahead >= 0 && ahead <= static_cast<int64_t>(window_.size())) {
    window_.drop(static_cast<size_t>(ahead));
    return Step::on;
  }
  if (seekable_) {
    if (position > inputBytes_) return Step::over;
    window_.jump(position);
    whole_ = false;
    return Step::on;
  }
  if (ahead < 0) return Step::over;
  window_.drop(window_.size());
  return whole_ ? Step::over : Step::more;
}

bool Mp4Demuxer::passedOver() const {
  return current_.isOther ||
         (current_.isAudio && (chosen_ || (wantedTrack_ >= 0 && audioTracks_ != wantedTrack_)));
}

bool Mp4Demuxer::isContainer(uint32_t type) const {
  if (type == fourcc("covr")) return inside(fourcc("ilst"));
  if (type == fourcc("moov")) return depth_ == 0 && !sawMoov_;
  if (type == fourcc("moof")) return depth_ == 0;
  if (type == fourcc("trak") || type == fourcc("mvex")) return inside(fourcc("moov"));
  if (type == fourcc("minf") && passedOver()) return false;
  return isOneOf(type, kContainers);
}

bool Mp4Demuxer::isTable(uint32_t type) const {
  if (inside(fourcc("traf"))) return type == fourcc("trun");
  return inside(fourcc("stbl")) && isOneOf(type, kTables);
}

bool Mp4Demuxer::isLeaf(uint32_t type) const {
  if (inside(fourcc("ilst"))) return true;
  if (inside(fourcc("udta"))) return type >> 24 == 0xA9 || isOneOf(type, kTexts);
  return isOneOf(type, kLeaves) || (type == fourcc("hdlr") && inside(fourcc("mdia")));
}

Mp4Demuxer::Step Mp4Demuxer::walk() {
  if (table_.type != 0) return readTable();
  if (depth_ == 0 || at_ < open_[depth_ - 1].end) return openBox();
  const OpenBox box = open_[--depth_];
  at_ = box.end;
  leave(box.type);
  return Step::on;
}

// The box that begins at at_. What runs past the box around it ends with that.
Mp4Demuxer::Step Mp4Demuxer::openBox() {
  const int64_t parentEnd = depth_ > 0 ? open_[depth_ - 1].end : inputBytes_;
  if (depth_ > 0 && parentEnd - at_ < 8) {
    at_ = parentEnd;  // QuickTime closes a list by a zero
    return Step::on;
  }
  if (const Step step = reach(at_); step != Step::on) return step;
  const Bytes bytes = window_.bytes();
  uint64_t size = bigEndian(bytes, 0, 4);
  const size_t header = size == 1 ? 16 : 8;
  if (bytes.size() < header) return whole_ ? Step::over : Step::more;
  if (size == 1) size = bigEndian64(bytes, 8);
  const uint32_t type = bigEndian(bytes, 4, 4);
  if (size < header && size != 0) {
    ++damagedBoxes_;
    if (depth_ == 0) return Step::over;
    at_ = parentEnd;
    return Step::on;
  }
  const bool fits = size <= static_cast<uint64_t>(parentEnd - at_);
  const int64_t end = size == 0 || !fits ? parentEnd : at_ + static_cast<int64_t>(size);
  if (!fits && depth_ == 0 && isOneOf(type, kEssentialBoxes)) cutShort_ = true;
  const int64_t content = at_ + static_cast<int64_t>(header);
  if (type == fourcc("mdat") && !sawMoov_ && !seekable_ && end - content > 8) {
    refusal_ =
        "the MP4 file has its index (moov) behind the media: it can be read from a file, not from a pipe";
    return Step::over;
  }
  Step step = Step::on;
  if (isContainer(type))
    step = openContainer(type, content, end);
  else if (isTable(type))
    step = openTable(type, content, end);
  else if (isLeaf(type) || inside(fourcc("covr")))
    step = openLeaf(type, content, end);
  else
    at_ = end;
  damagedBoxes_ += step == Step::on && !fits && parentEnd != inputBytes_;
  return step;
}

Mp4Demuxer::Step Mp4Demuxer::openContainer(uint32_t type, int64_t content, int64_t end) {
  if (type == fourcc("meta") && end - content >= 8) {  // a version in front, but not in QuickTime's
    const Bytes bytes = ahead(content, 8);
    if (bytes.size() < 8) return whole_ ? Step::over : Step::more;
    if (bigEndian(bytes, 4, 4) != fourcc("hdlr")) content += 4;
  }
  if (type == fourcc("trak")) current_ = {};
  if (type == fourcc("mvex")) fragmented_ = true;
  if (type == fourcc("moof")) {
    fragment_.clear();
    fragmentChunks_ = unsized_ = 0;
    moofAt_ = fragmentAt_ = at_;
  }
  if (depth_ == open_.size()) {
    ++damagedBoxes_;
    at_ = end;
    return Step::on;
  }
  open_[depth_++] = {type, end};
  at_ = content;
  return Step::on;
}

// A box that is looked at as a whole, or, of a picture, its head.
Mp4Demuxer::Step Mp4Demuxer::openLeaf(uint32_t type, int64_t content, int64_t end) {
  const bool picture = inside(fourcc("covr"));
  const auto length = static_cast<size_t>(picture ? std::min<int64_t>(8, end - content) : end - content);
  if (length <= kLongestLeaf) {
    const Bytes bytes = ahead(content, length);
    if (bytes.size() < length) return whole_ ? Step::over : Step::more;
    if (!picture)
      readLeaf(type, bytes);
    else if (type == fourcc("data") && length == 8 && pictures_.size() < kMostPictures)
      pictures_.push_back(
          {content + 8, end - content - 8, bigEndian(bytes, 0, 4) == 14 ? "image/png" : "image/jpeg"});
  }
  at_ = end;
  return Step::on;
}

// A table is read entry by entry; here what stands in front of them.
Mp4Demuxer::Step Mp4Demuxer::openTable(uint32_t type, int64_t content, int64_t end) {
  const bool run = type == fourcc("trun"), sizes = type == fourcc("stsz") || type == fourcc("stz2");
  const Bytes head = ahead(content, static_cast<size_t>(std::min<int64_t>(16, end - content)));
  if (head.size() < 16 && static_cast<int64_t>(head.size()) < end - content)
    return whole_ ? Step::over : Step::more;
  const uint32_t flags = bigEndian(head, 0, 4) & 0xFFFFFF;
  uint32_t count = bigEndian(head, sizes ? 8 : 4, 4);
  size_t before = sizes ? 12 : 8, entry = 4;
  if (type == fourcc("stts") || type == fourcc("co64")) entry = 8;
  if (type == fourcc("stsc")) entry = 12;
  if (type == fourcc("stz2")) {
    const uint32_t bits = head.size() > 7 ? head[7] : 0;
    entry = bits == 16 ? 2 : 1;
    if (bits == 4) count = count / 2 + count % 2;
    halves_ = bits == 4;
  }
  if (run) {
    before += ((flags & 1) != 0 ? 4u : 0u) + ((flags & 4) != 0 ? 4u : 0u);
    entry = 0;
    for (const uint32_t field : {0x100u, 0x200u, 0x400u, 0x800u}) entry += (flags & field) != 0 ? 4 : 0;
  }
  at_ = std::min(content + static_cast<int64_t>(before), end);
  const int64_t room = end - at_;
  if (entry != 0) count = static_cast<uint32_t>(std::min<int64_t>(count, room / static_cast<int64_t>(entry)));
  table_ = {type, entry, count, flags, end};
  const size_t believed = std::min<size_t>(count, seekable_ ? SIZE_MAX : kMostReserved);
  if (run) {
    openRun(head, count);
  } else if (type == fourcc("stsz") && bigEndian(head, 4, 4) != 0) {
    current_.index.setConstantSize(bigEndian(head, 4, 4), bigEndian(head, 8, 4));
    table_.left = 0;
  } else if (sizes) {
    current_.index.reserve(halves_ ? 2 * believed : believed, 0);
  } else if (entry == 4 || type == fourcc("co64")) {
    current_.index.reserve(0, believed);
  }
  return Step::on;
}

Mp4Demuxer::Step Mp4Demuxer::readTable() {
  while (table_.left > 0) {
    if (const Step step = reach(at_); step != Step::on) return step;
    const size_t entries = std::min<size_t>(table_.left, window_.size() / table_.entryBytes);
    if (entries == 0) return whole_ ? Step::over : Step::more;
    for (size_t i = 0; i < entries; ++i)
      readEntry(window_.bytes().subspan(i * table_.entryBytes, table_.entryBytes));
    at_ += static_cast<int64_t>(entries * table_.entryBytes);
    table_.left -= static_cast<uint32_t>(entries);
  }
  at_ = table_.end;
  table_.type = 0;
  return Step::on;
}

void Mp4Demuxer::Track::addDurations(uint32_t count, uint32_t each) {
  if (count == 0) return;
  const uint64_t together = std::min(uint64_t{count} * each, kFarthest);
  duration = std::min(duration + static_cast<int64_t>(together), static_cast<int64_t>(kFarthest));
  if (packetDuration == 0) packetDuration = each;
  even = even && !odd && (each == packetDuration || count == 1);
  odd = odd || each != packetDuration;
  lastDuration = each;
}

void Mp4Demuxer::readEntry(Bytes entry) {
  const uint32_t first = bigEndian(entry, 0, 4);
  switch (table_.type) {
    case fourcc("stts"):
      current_.addDurations(first, bigEndian(entry, 4, 4));
      break;
    case fourcc("stsc"):
      if (first > 0) current_.index.addRun(first - 1, bigEndian(entry, 4, 4));
      break;
    case fourcc("stco"):
      current_.index.addChunk(first);
      break;
    case fourcc("co64"):
      current_.index.addChunk(static_cast<int64_t>(bigEndian64(entry, 0) & kFarthest));
      break;
    case fourcc("stsz"):
      current_.index.addSize(first);
      break;
    case fourcc("stz2"):
      if (halves_) current_.index.addSize(entry[0] >> 4);
      current_.index.addSize(halves_ ? entry[0] & 15u : bigEndian(entry, 0, static_cast<int>(entry.size())));
      break;
    default: {  // trun
      size_t at = 0;
      if ((table_.flags & 0x100) != 0) at += 4;
      const uint32_t size = (table_.flags & 0x200) != 0 ? bigEndian(entry, at, 4) : runDefaults_.size;
      if ((table_.flags & 0x100) != 0 && mine_ && track_.packetDuration == 0) track_.packetDuration = first;
      if (mine_) fragment_.addSize(size);
      fragmentAt_ += size;
    }
  }
}

void Mp4Demuxer::readLeaf(uint32_t type, Bytes content) {
  const bool wide = !content.empty() && content[0] == 1;
  if (inside(fourcc("ilst"))) return tags_.readItem(type, content);
  if (inside(fourcc("udta"))) return tags_.readText(type, content);
  switch (type) {
    case fourcc("mvhd"):
      movieTimescale_ = bigEndian(content, wide ? 20 : 12, 4);
      break;
    case fourcc("tkhd"):
      current_.id = bigEndian(content, wide ? 20 : 12, 4);
      break;
    case fourcc("mdhd"):
      current_.timescale = bigEndian(content, wide ? 20 : 12, 4);
      break;
    case fourcc("hdlr"):
      current_.isAudio = bigEndian(content, 8, 4) == fourcc("soun");
      current_.isOther = !current_.isAudio;
      break;
    case fourcc("elst"):
      readEdits(content);
      break;
    case fourcc("stsd"):
      if (passedOver()) break;
      current_.entry = readSampleDescription(content);
      current_.described = true;
      break;
    case fourcc("trex"):
      if (defaults_.size() < kMostTracks)
        defaults_.push_back({bigEndian(content, 4, 4), bigEndian(content, 12, 4), bigEndian(content, 16, 4)});
      break;
    default:
      readTrackFragment(content);  // tfhd
  }
}

// Which part of the media is to be played: the first edit that is not empty, joined by those behind it if any.
void Mp4Demuxer::readEdits(Bytes content) {
  const bool wide = !content.empty() && content[0] == 1;
  const size_t entry = wide ? 20 : 12;
  Edits& edits = current_.edits;
  for (size_t at = 8; at + entry <= content.size(); at += entry) {
    const uint64_t length = wideField(content, at, wide);
    const auto from = wide ? static_cast<int64_t>(bigEndian64(content, at + 8))
                           : int64_t{static_cast<int32_t>(bigEndian(content, at + 4, 4))};
    if (from < 0) {
      edits.silence = true;
    } else if (edits.any) {
      edits.leaps = true;
    } else {
      edits.any = true;
      edits.delay = std::min(from, static_cast<int64_t>(kFarthest));
      edits.length = length;
    }
  }
}

// tfhd: whose packets these are, and where their places count from.
void Mp4Demuxer::readTrackFragment(Bytes content) {
  const uint32_t flags = bigEndian(content, 0, 4), id = bigEndian(content, 4, 4);
  mine_ = chosen_ && id == track_.id;
  runDefaults_ = {};
  for (const Defaults& defaults : defaults_)
    if (defaults.track == id) runDefaults_ = defaults;
  size_t at = 8;
  if ((flags & 1) != 0) {
    fragmentAt_ = static_cast<int64_t>(bigEndian64(content, at) & kFarthest);
    at += 8;
  } else if ((flags & 0x20000) != 0) {
    fragmentAt_ = moofAt_;
  }
  fragmentBase_ = fragmentAt_;
  if ((flags & 2) != 0) at += 4;
  if ((flags & 8) != 0) {
    runDefaults_.duration = bigEndian(content, at, 4);
    at += 4;
  }
  if ((flags & 0x10) != 0) runDefaults_.size = bigEndian(content, at, 4);
}

// trun: packets that lie behind each other.
void Mp4Demuxer::openRun(Bytes head, uint32_t count) {
  if ((table_.flags & 1) != 0) fragmentAt_ = fragmentBase_ + static_cast<int32_t>(bigEndian(head, 8, 4));
  if (table_.entryBytes == 0) {  // all alike; a number in a header is no proof that they are there
    count = std::min(count, kMostUnsized - unsized_);
    table_.left = 0;
  }
  if (mine_ && count > 0) {
    fragment_.addRun(fragmentChunks_, count);
    fragment_.addChunk(fragmentAt_);
    ++fragmentChunks_;
    if (track_.packetDuration == 0) track_.packetDuration = runDefaults_.duration;
  }
  if (table_.entryBytes != 0) return;
  for (uint32_t i = 0; mine_ && i < count; ++i) fragment_.addSize(runDefaults_.size);
  unsized_ += mine_ ? count : 0;
  fragmentAt_ += int64_t{count} * runDefaults_.size;
}

void Mp4Demuxer::leave(uint32_t type) {
  if (type == fourcc("trak")) endTrack();
  if (type == fourcc("moov")) endMoov();
  if (type == fourcc("moof")) endMoof();
}

void Mp4Demuxer::endTrack() {
  if (!current_.isAudio) return;
  const int32_t number = audioTracks_++;
  if (chosen_ || (wantedTrack_ >= 0 && number != wantedTrack_)) return;
  if (!current_.described || !current_.entry.refusal.empty()) {
    if (otherAudio_.empty())
      otherAudio_ = current_.described ? current_.entry.refusal : "without a description";
    return;
  }
  current_.index.finish(inputBytes_);
  track_ = std::move(current_);
  chosen_ = true;
  chosenTrack_ = number;
}

void Mp4Demuxer::endMoov() {
  sawMoov_ = true;
  moovEnd_ = at_;
  if (!chosen_ || (cutShort_ && track_.index.empty() && !fragmented_)) {
    if (cutShort_)
      refusal_ = kIncomplete;
    else if (audioTracks_ == 0)
      refusal_ = "the MP4 file has no audio track";
    else if (wantedTrack_ >= audioTracks_)
      refusal_ = "the MP4 file has only " + counted(audioTracks_, "audio track");
    else
      refusal_ = "the audio of the MP4 file is " + otherAudio_ + ", which is not decoded";
    return;
  }
  const Mp4SampleEntry& entry = track_.entry;
  config_.content = entry.content;
  config_.specificConfig = entry.specificConfig;
  config_.specificConfigBits = 8 * static_cast<int64_t>(entry.specificConfig.size());
  config_.rate = entry.rate;
  config_.channels = entry.channels;
  config_.packets = fragmented_ ? -1 : track_.index.packets();
  trim();
  configured_ = true;
  knownPackets_ = nextNumber_ = track_.index.packets();
  startReading(false, 0);
}

// What is to be cut off and played, by edit list, iTunSMPB and the last packet's duration. An edit's length is exact to
// the movie's ticks only: where one of the others agrees with it so far, that is taken.
void Mp4Demuxer::trim() {
  const int64_t packets = track_.index.packets();
  uint32_t timescale = track_.timescale, packetDuration = track_.even ? track_.packetDuration : 0;
  int64_t whole = track_.duration, delay = track_.edits.delay;
  std::optional<GaplessInfo> gapless = tags_.gapless();
  const double all = static_cast<double>(packets) * packetDuration;
  if (gapless && all > 0 && !fragmented_ &&
      static_cast<double>(gapless->delay + gapless->length + gapless->padding) > 1.5 * all) {
    timescale *= 2;  // it counts samples of replicated bands, the file those of the core
    packetDuration *= 2;
    whole *= 2;
    delay *= 2;
  }
  config_.timescale = static_cast<int32_t>(std::min<uint32_t>(timescale, INT32_MAX));
  config_.packetDuration = static_cast<int32_t>(std::min<uint32_t>(packetDuration, INT32_MAX));
  if (fragmented_) whole = 0;  // not known

  const Edits& edits = track_.edits;
  if (edits.any) {
    config_.delay = whole > 0 ? std::min(delay, whole) : delay;
    const int64_t rest = whole > 0 ? whole - config_.delay : -1;
    const int64_t length =
        edits.length == 0 || edits.leaps ? -1 : rescaled(edits.length, movieTimescale_, timescale);
    const int64_t tick = timescale / std::max(movieTimescale_, 1u) + 1;
    const auto near = [&](int64_t other) { return other >= 0 && std::abs(other - length) <= tick; };
    config_.length = length < 0 || near(rest)           ? rest
                     : gapless && near(gapless->length) ? gapless->length
                                                        : length;
    if (rest >= 0) config_.length = std::min(config_.length, rest);
  } else if (gapless) {
    config_.delay = gapless->delay;
    config_.length = gapless->length;
  } else if (whole > 0 && track_.even && track_.lastDuration < track_.packetDuration) {
    config_.delay = 0;
    config_.length = whole;
  }
}

void Mp4Demuxer::endMoof() {
  if (!configured_) return;
  fragment_.finish(inputBytes_);
  const int64_t packets = fragment_.packets(), first = nextNumber_;
  if (packets == 0) return;
  fragmented_ = true;  // whatever the index said
  config_.packets = -1;
  if (first >= knownPackets_ && (fragments_.empty() || first - fragments_.back().firstNumber >= 2))
    fragments_.push_back({moofAt_, first});
  nextNumber_ = first + packets;
  knownPackets_ = std::max(knownPackets_, nextNumber_);
  if (config_.packetDuration == 0 && track_.even)
    config_.packetDuration = static_cast<int32_t>(std::min<uint32_t>(track_.packetDuration, INT32_MAX));
  startReading(true, first);
}

// ---- handing out

void Mp4Demuxer::startReading(bool inFragment, int64_t firstNumber) {
  reading_ = true;
  inFragment_ = inFragment;
  firstNumber_ = firstNumber;
  cursor_.seek(index(), std::clamp<int64_t>(target_ - firstNumber, 0, index().packets()));
}

// Boxes between at_ and a packet's place are passed over, so that the walk can go on behind it.
Mp4Demuxer::Step Mp4Demuxer::passBoxes(int64_t position) {
  while (at_ <= position) {
    if (const Step step = reach(at_); step != Step::on) return step;
    const Bytes bytes = window_.bytes();
    const uint32_t size = bigEndian(bytes, 0, 4);
    if (bytes.size() < (size == 1 ? 16 : 8)) return whole_ ? Step::over : Step::more;
    const uint64_t length = size == 1 ? bigEndian64(bytes, 8) : size;
    const bool sound = length >= 8 && length < static_cast<uint64_t>(inputBytes_ - at_);
    at_ = sound ? at_ + static_cast<int64_t>(length) : inputBytes_;
    if (at_ == inputBytes_) break;
  }
  return Step::on;
}

// What remains of the index lies beyond the end of the input.
void Mp4Demuxer::cutShort() {
  missing_ = index().packets() - cursor_.packet();
  reading_ = false;
  ended_ = true;
}

Mp4Demuxer::Step Mp4Demuxer::takePacket(Packet& packet, DemuxEvent& event) {
  if (cursor_.packet() == index().packets()) {
    reading_ = false;
    return Step::on;
  }
  const PacketIndex::Entry entry = cursor_.entry();
  if (entry.bytes == 0 || entry.bytes == PacketIndex::kTooLong) {
    ++(entry.bytes == 0 ? empty_ : tooLong_);
    if (entry.bytes != 0 && configTold_) event = DemuxEvent::lost;
    cursor_.step(index());
    return Step::on;
  }
  Step step = fragmented_ ? passBoxes(entry.position) : Step::on;
  if (step == Step::on) step = reach(entry.position);
  if (step == Step::on && window_.size() < entry.bytes) step = whole_ ? Step::over : Step::more;
  if (step == Step::over) {
    if (!seekable_ && entry.position < window_.position())
      refusal_ = "the packets of the MP4 file are not in order: it can be read from a file, not from a pipe";
    else
      cutShort();
    return Step::on;
  }
  if (step == Step::more) return step;
  if (!configTold_) {  // now that there are media; the packet comes next
    configTold_ = true;
    event = DemuxEvent::config;
    return Step::on;
  }
  packet.bytes = window_.bytes().first(entry.bytes);
  packet.position = entry.position;
  packet.number = firstNumber_ + cursor_.packet();
  event = DemuxEvent::packet;
  ++delivered_;
  cursor_.step(index());
  return Step::on;
}

DemuxEvent Mp4Demuxer::next(Packet& packet) {
  for (;;) {
    if (!refusal_.empty()) return DemuxEvent::refused;
    if (ended_) return endOfInput();
    const bool walks = !configured_ || fragmented_ || track_.index.empty();
    DemuxEvent event = DemuxEvent::end;
    const Step step = reading_ ? takePacket(packet, event) : walks ? walk() : Step::over;
    if (step == Step::more) return DemuxEvent::needMore;
    if (step == Step::over && !closeOpenEnds()) ended_ = true;
    if (event != DemuxEvent::end) return event;
  }
}

// A last box of unknown length, at the end of a pipe. False where there is none.
bool Mp4Demuxer::closeOpenEnds() {
  if (depth_ == 0 || !whole_ || window_.size() > 0) return false;
  bool any = false;
  for (size_t i = 0; i < depth_; ++i)
    if (open_[i].end == INT64_MAX && at_ < INT64_MAX) {
      open_[i].end = at_;
      any = true;
    }
  return any;
}

DemuxEvent Mp4Demuxer::endOfInput() {
  if (!configured_)
    refusal_ = depth_ > 0 ? kIncomplete : "the MP4 file has no index (moov), as if cut short";
  else if (knownPackets_ == 0)
    refusal_ = "the audio track of the MP4 file is empty";
  else if (delivered_ == 0)
    refusal_ = "the MP4 file is cut short: its media are missing";
  return refusal_.empty() ? DemuxEvent::end : DemuxEvent::refused;
}

bool Mp4Demuxer::seek(int64_t packet) {
  const int64_t indexed = track_.index.packets();
  if (!configured_ || !seekable_ || !refusal_.empty() || packet < 0) return false;
  if (packet >= indexed && !fragmented_) return false;
  at_ = moovEnd_;
  nextNumber_ = indexed;
  for (const Fragment& fragment : fragments_)
    if (fragment.firstNumber <= packet) {
      at_ = fragment.at;
      nextNumber_ = fragment.firstNumber;
    }
  depth_ = 0;
  table_.type = 0;
  target_ = packet;
  ended_ = reading_ = false;
  if (packet < indexed) startReading(false, 0);
  return true;
}

std::vector<std::string> Mp4Demuxer::faults() const {
  std::vector<std::string> lines;
  if (missing_ > 0)
    lines.push_back("the file is cut short: " + counted(missing_, "packet") + " missing");
  else if (cutShort_)
    lines.emplace_back("the file is cut short");
  if (tooLong_ > 0) lines.push_back(counted(tooLong_, "packet") + " too long to be audio");
  if (empty_ > 0) lines.push_back(counted(empty_, "empty packet"));
  if (damagedBoxes_ > 0)
    lines.push_back("the file's structure is damaged in " + counted(damagedBoxes_, "place"));
  return lines;
}

std::vector<std::string> Mp4Demuxer::notes() const {
  std::vector<std::string> lines;
  if (audioTracks_ > 1)
    lines.push_back("audio track " + std::to_string(chosenTrack_ + 1) + " of " +
                    std::to_string(audioTracks_));
  if (track_.edits.silence) lines.emplace_back("silence that the edit list puts in front is left out");
  if (track_.edits.leaps) lines.emplace_back("the edit list leaps, which is not followed");
  return lines;
}

}  // namespace moxc
