#include "codec/decoder.h"

#include <algorithm>
#include <cstdio>

#include "codec/aac/adif.h"
#include "codec/aac/decoder.h"
#include "codec/io/text.h"
#include "codec/mp3/decoder.h"
#include "codec/mp3/syntax.h"
#include "codec/stream/adts_syntax.h"
#include "codec/stream/latm.h"
#include "codec/stream/mp4.h"
#include "codec/stream/mpeg_ts.h"
#include "codec/stream/pes.h"

namespace moxc {
namespace {

constexpr size_t kChunk = 16384;
constexpr size_t kHead = 32768;  // three of the longest frames and more

// Files that people take for something that is decoded here, and that might hold bytes that look like it.
const char* foreignFormat(Bytes bytes) {
  if (startsWith(bytes, "RIFF") || startsWith(bytes, "RF64")) return "a WAV or other RIFF file";
  if (startsWith(bytes, "fLaC")) return "a FLAC file";
  if (startsWith(bytes, "OggS")) return "an Ogg file";
  if (startsWith(bytes, "\x1A\x45\xDF\xA3")) return "a Matroska or WebM file";
  if (startsWith(bytes, "FORM")) return "an AIFF file";
  if (startsWith(bytes, "MThd")) return "a MIDI file";
  if (startsWith(bytes, "caff")) return "a CAF file";
  if (startsWith(bytes, "\x30\x26\xB2\x75")) return "a Windows Media file";
  return nullptr;
}

}  // namespace

// Where frames come from: a demuxer, or two where a container carries bytes that are a stream of their own.
struct Decoder::Source : Allocated {
  std::unique_ptr<Demuxer> container;  // MP4, LATM, transport and program streams
  std::unique_ptr<mp3::Demuxer> mp3;
  std::unique_ptr<AdtsDemuxer> adts;
  std::unique_ptr<LatmDemuxer> latm;
  std::unique_ptr<aac::AdifDemuxer> adif;
  Bytes pending;  // of the container's packet, for the demuxer of what is in it

  // Takes the input.
  Demuxer& input() const { return container ? *container : frames(); }
  // Hands out frames.
  Demuxer& frames() const {
    if (mp3) return *mp3;
    if (adts) return *adts;
    if (latm) return *latm;
    if (adif) return *adif;
    return *container;
  }
  bool nested() const { return container && (mp3 || adts || latm); }
  const FrameCounts* counts() const { return mp3 ? &mp3->counts() : adts ? &adts->counts() : nullptr; }
  int64_t skippedBytes() const {
    return frames().skippedBytes() + (nested() ? container->skippedBytes() : 0);
  }

  DemuxEvent next(Packet& packet, Tags& tags) {
    while (nested()) {
      DemuxEvent event = frames().next(packet);
      if (event != DemuxEvent::needMore) return event;
      if (!pending.empty()) {
        pending = slice(pending, frames().feed(pending));
        continue;
      }
      Packet carried;
      event = container->next(carried);
      if (event == DemuxEvent::packet)
        pending = carried.bytes;
      else if (event == DemuxEvent::end)
        frames().finish();
      else if (event == DemuxEvent::config)
        open(tags);
      else if (event != DemuxEvent::lost)
        return event;
    }
    const DemuxEvent event = frames().next(packet);
    if (event != DemuxEvent::config || !open(tags)) return event;
    return latm ? next(packet, tags) : event;  // LATM tells its own
  }

  // The demuxer of what the container carries, if it needs one.
  bool open(Tags& tags) {
    if (!container) return false;
    const PacketContent content = container->config().content;
    if (content == PacketContent::mpegAudioBytes && !mp3) mp3 = std::make_unique<mp3::Demuxer>(tags);
    if (content == PacketContent::adtsBytes && !adts) adts = std::make_unique<AdtsDemuxer>(tags);
    if (content == PacketContent::latmBytes && !latm) latm = std::make_unique<LatmDemuxer>();
    return nested();
  }
};

Decoder::Decoder(Settings settings, const MoxcInput* input)
    : settings_(std::move(settings)), head_(kHead), tagReader_(tags_) {
  if (input != nullptr) {
    input_ = *input;
    chunk_.resize(kChunk);
  }
  startStream();
}

Decoder::~Decoder() = default;

// Decoders that are told the codec need no source.
void Decoder::startStream() {
  switch (settings_.codec) {
    case moxcCodecMp3Frame:
      frames_ = std::make_unique<mp3::Decoder>(settings_.decode);
      break;
    case moxcCodecAacBlock: {
      Vector<uint8_t> padded = settings_.specificConfig;
      padded.resize(padded.size() + 1024);
      const auto bits = static_cast<int64_t>(settings_.specificConfig.size() * 8);
      frames_ = std::make_unique<aac::Decoder>(settings_.decode, padded, bits, "packets");
      if (frames_->refusal() != nullptr)
        refuse(moxcStatusUnsupported, String("is ") + frames_->refusal() + ", which is not decoded");
      break;
    }
    default:
      break;
  }
}

// Back to the first byte, with nothing known but the format that was announced and the duration.
void Decoder::rewind() {
  head_.jump(0);
  chunkAt_ = chunkEnd_ = 0;
  whole_ = finished_ = false;
  tagReader_.abandon();
  atStart_ = true;
  tagSeen_ = false;
  std::fill(std::begin(sought_), std::end(sought_), 0);
  bytesBefore_ = 0;
  source_.reset();
  frames_.reset();
  packetOpen_ = false;
  next_.reset();
  view_ = {};
  position_ = 0;
  ended_ = false;
  gapless_ = {};
  front_ = partSamples_ = partFrames_ = heldSamples_ = 0;
  limit_ = -1;
  edits_ = {};
  held_.clear();
  eventCount_ = 0;
  concealedTold_ = skippedTold_ = 0;
  failed_ = moxcStatusOk;
  message_.clear();
  startStream();
}

moxcStatus Decoder::refuse(moxcStatus status, String message) {
  message_ = std::move(message);
  return failed_ = status;
}

// ---- The input

size_t Decoder::feedSource(Bytes bytes) {
  budget_ = std::min(budget_ + kGuesses * bytes.size(), kMostGuesses);
  if (!source_ || head_.size() > 0) return head_.feed(bytes);
  return source_->input().feed(bytes);
}

moxcStatus Decoder::feed(Bytes bytes, size_t& taken) {
  taken = 0;
  if (reads() || settings_.codec != moxcCodecFind || whole_) return moxcStatusWrongState;
  taken = feedSource(bytes);
  inputAt_ += static_cast<int64_t>(taken);
  return moxcStatusOk;
}

moxcStatus Decoder::feedPacket(const uint8_t* bytes, size_t count) {
  if (settings_.codec == moxcCodecFind || packetOpen_ || whole_ || view_.samples > 0)
    return moxcStatusWrongState;
  if (failed_ != moxcStatusOk) return failed_;
  inputAt_ += static_cast<int64_t>(count);
  if (bytes == nullptr) {
    PcmFrame frame;
    if (frames_->conceal(frame)) deliver(frame);
    noteFrame();
    return moxcStatusOk;
  }
  ownPacket_.resize(std::max(ownPacket_.size(), count + 16));
  std::copy_n(bytes, count, ownPacket_.begin());
  std::fill_n(ownPacket_.begin() + static_cast<ptrdiff_t>(count), 16, uint8_t{0});
  Packet packet;
  packet.bytes = Bytes(ownPacket_).first(count);
  frames_->open(packet);
  if (const Gapless* gapless = frames_->began()) beginPart(*gapless);
  packetOpen_ = true;
  return moxcStatusOk;
}

moxcStatus Decoder::end() {
  if (reads()) return moxcStatusWrongState;
  whole_ = true;
  return moxcStatusOk;
}

moxcStatus Decoder::flush() {
  if (reads()) return moxcStatusWrongState;
  rewind();
  inputAt_ = 0;
  return moxcStatusOk;
}

// More of the input, or the word that there is no more.
moxcStatus Decoder::fill() {
  if (!reads()) {
    if (!whole_) return moxcStatusNeedMore;
    if (!source_) return moxcStatusOk;
    if (std::exchange(finished_, true)) return moxcStatusEnd;
    source_->input().finish();
    return moxcStatusOk;
  }
  // Demuxers that can seek say where they want to go on.
  const int64_t wanted = source_ && input_.seek != nullptr ? source_->input().inputPosition() : inputAt_;
  if (wanted != inputAt_) {
    if (input_.seek(input_.user, wanted) < 0) return failed_ = moxcStatusReadFailed;
    inputAt_ = wanted;
    chunkAt_ = chunkEnd_ = 0;
    whole_ = finished_ = false;
  }
  if (whole_ && finished_) return moxcStatusEnd;
  if (chunkAt_ == chunkEnd_) {
    const int64_t got = input_.read(input_.user, chunk_.data(), chunk_.size());
    if (got < 0 || got > static_cast<int64_t>(chunk_.size())) return failed_ = moxcStatusReadFailed;
    chunkAt_ = 0;
    chunkEnd_ = static_cast<size_t>(got);
    if (got == 0) {
      whole_ = true;
      if (source_ && !std::exchange(finished_, true)) source_->input().finish();
      return moxcStatusOk;
    }
  }
  const size_t taken = feedSource(Bytes(chunk_).subspan(chunkAt_, chunkEnd_ - chunkAt_));
  chunkAt_ += taken;
  inputAt_ += static_cast<int64_t>(taken);
  return moxcStatusOk;
}

// ---- Finding out what it is

// Ok: the stream was found. At the start of the input tags are passed over; then every kind of stream is asked where its
// first frame lies, and the earliest is taken.
moxcStatus Decoder::probe() {
  for (;;) {
    const Bytes bytes = head_.bytes();
    if (tagReader_.inside() || (atStart_ && tagsAllowed_)) {
      const auto begins = tagReader_.inside() ? TagReader::Begins::yes : TagReader::begins(bytes, whole_);
      if (begins == TagReader::Begins::needMore) return moxcStatusNeedMore;
      if (begins == TagReader::Begins::yes && (!bytes.empty() || !whole_)) {
        if (bytes.empty()) return moxcStatusNeedMore;
        tagSeen_ = true;
        head_.drop(tagReader_.feed(bytes, whole_));
        continue;
      }
    }
    constexpr size_t kLeast = 12;
    if (bytes.size() < kLeast && !whole_) return moxcStatusNeedMore;
    if (atStart_) {
      if (const char* const foreign = foreignFormat(bytes))
        return refuse(moxcStatusUnsupported, String("is ") + foreign + ", which is not decoded");
      if (aac::isAdif(bytes) || findMp4(bytes, whole_) == 0) return lockOn(kOther, 0);
    }

    const FoundFrames found[] = {
        findFrames<mp3::Syntax>(bytes, whole_, sought_[0], atStart_, budget_),
        findFrames<AdtsSyntax>(bytes, whole_, sought_[1], atStart_, budget_),
        findFrames<mp3::OtherLayerSyntax>(bytes, whole_, sought_[2], atStart_, budget_)};
    // The earliest that is sure. What may yet begin somewhere is waited for only at the very start: behind it three frames
    // that join say more than a header by chance.
    const auto later = [&](size_t one, size_t other) {
      const auto rank = [&](const FoundFrames& f) {
        return f.answer == Answer::no ? 3 : atStart_ && f.at == 0 ? 0 : f.answer == Answer::yes ? 1 : 2;
      };
      return std::pair(rank(found[one]), found[one].at) > std::pair(rank(found[other]), found[other].at);
    };
    size_t first = 0;
    for (size_t kind = 0; kind < std::size(found); ++kind) {
      sought_[kind] = found[kind].at;
      if (later(first, kind)) first = kind;
    }
    // Containers, whose payload may look like a stream of frames that begins further behind.
    size_t at = found[first].at;
    const size_t container =
        std::min({findLatm(bytes, whole_), findMpegTs(bytes, whole_), findPes(bytes, whole_)});
    if (container != kNotFound && (found[first].answer != Answer::yes || container <= at))
      return lockOn(kOther, container);
    const bool mayBeContainer = startsWith(bytes, "\x47") || startsWith(bytes, "\x56") ||
                                startsWith(bytes, std::string_view("\0\0\1", 3));
    if (found[first].answer == Answer::yes && at > 0 && mayBeContainer && bytes.size() < kHead / 2 && !whole_)
      return moxcStatusNeedMore;
    if (found[first].answer == Answer::no)
      return refuse(moxcStatusNoStream,
                    inputAt_ == 0 ? "is empty" : "holds no MPEG audio Layer III or AAC stream");
    if (found[first].answer == Answer::unknown) {
      if (bytes.size() < kHead) return moxcStatusNeedMore;
      at = std::min(at, kHead / 2);
      atStart_ = false;  // what is passed over is foreign
      bytesBefore_ += static_cast<int64_t>(at);
      head_.drop(at);
      for (size_t& sought : sought_) sought -= at;
      continue;
    }
    if (first == kOtherLayer) {
      const int32_t layer = mp3::OtherLayerSyntax::parse(slice(bytes, at))->layer;
      return refuse(moxcStatusUnsupported, String("is an MPEG audio Layer ") + (layer == 1 ? "I" : "II") +
                                               " stream, which is not decoded");
    }
    return lockOn(first, at);
  }
}

// The stream begins with that byte of head_.
moxcStatus Decoder::lockOn(size_t kind, size_t at) {
  bytesBefore_ += static_cast<int64_t>(at);
  head_.drop(at);
  const Bytes bytes = head_.bytes();
  source_ = std::make_unique<Source>();
  if (kind == kMp3) {
    source_->mp3 = std::make_unique<mp3::Demuxer>(tags_, head_.position());
    frames_ = std::make_unique<mp3::Decoder>(settings_.decode);
  } else if (kind == kAdts) {
    source_->adts = std::make_unique<AdtsDemuxer>(tags_, head_.position());
    frames_ = std::make_unique<aac::Decoder>(settings_.decode);
  } else if (aac::isAdif(bytes)) {
    source_->adif = std::make_unique<aac::AdifDemuxer>(head_.position());
  } else if (findMp4(bytes, whole_) == 0) {
    source_->container = std::make_unique<Mp4Demuxer>(-1, head_.position());
  } else if (findMpegTs(bytes, whole_) == 0) {
    source_->container = std::make_unique<MpegTsDemuxer>();
  } else if (findLatm(bytes, whole_) == 0) {
    source_->container = std::make_unique<LatmDemuxer>();
  } else {
    source_->container = std::make_unique<PesDemuxer>();
  }
  if (input_.seek != nullptr && input_.size >= 0) source_->input().setSeekable(input_.size);
  setSynthesis(!counting_);
  return moxcStatusOk;
}

// ---- From packets to samples

// What the frames are, as their container tells.
moxcStatus Decoder::takeConfig() {
  const TrackConfig& config = source_->frames().config();
  if (frames_) {
    if (config.specificConfig == std::vector<uint8_t>(lastConfig_.begin(), lastConfig_.end()))
      return moxcStatusOk;
    endPart();
  }
  if (!settings_.raw && config.timescale > 0 && config.delay >= 0)
    edits_ = {config.delay, config.length, config.timescale};
  lastConfig_.assign(config.specificConfig.begin(), config.specificConfig.end());
  concealedTold_ = 0;
  if (source_->adif)
    frames_ = source_->adif->makeDecoder(settings_.decode);
  else if (config.content == PacketContent::mpegAudioFrame)
    frames_ = std::make_unique<mp3::Decoder>(settings_.decode);
  else if (config.content == PacketContent::aacBlock)
    frames_ = std::make_unique<aac::Decoder>(settings_.decode, config.specificConfig,
                                             config.specificConfigBits, source_->frames().container());
  else
    frames_ = std::make_unique<aac::Decoder>(settings_.decode);
  if (frames_->refusal() != nullptr)
    return refuse(moxcStatusUnsupported, String("is ") + frames_->refusal() + ", which is not decoded");
  setSynthesis(!counting_);
  return moxcStatusOk;
}

// Ok: a packet was opened, or something was delivered, or the input moved on.
moxcStatus Decoder::nextPacket() {
  if (settings_.codec != moxcCodecFind) {
    if (!whole_) return moxcStatusNeedMore;
    return moxcStatusEnd;
  }
  if (!source_) {
    const moxcStatus status = probe();
    return status == moxcStatusNeedMore ? fill() : status;
  }
  Packet packet;
  const bool knownBefore = source_->nested();
  const DemuxEvent event = source_->next(packet, tags_);
  if (source_->nested() && !knownBefore && !source_->latm) {
    const moxcStatus status = takeConfig();
    if (status != moxcStatusOk || event == DemuxEvent::config) return status;
  }
  switch (event) {
    case DemuxEvent::needMore:
      if (head_.size() > 0 && source_->input().inputPosition() == head_.position()) {
        head_.drop(source_->input().feed(head_.bytes()));
        return moxcStatusOk;
      }
      head_.jump(inputAt_);
      return fill();
    case DemuxEvent::config:
      return takeConfig();
    case DemuxEvent::packet:
      frames_->open(packet);
      if (frames_->refusal() != nullptr)
        return refuse(moxcStatusUnsupported, String("is ") + frames_->refusal() + ", which is not decoded");
      if (const Gapless* gapless = frames_->began()) beginPart(*gapless);
      packetOpen_ = true;
      return moxcStatusOk;
    case DemuxEvent::lost: {
      PcmFrame frame;
      if (frames_ && frames_->conceal(frame)) deliver(frame);
      noteFrame();
      return moxcStatusOk;
    }
    case DemuxEvent::refused:
      return refuse(moxcStatusUnsupported, String(std::string_view(source_->input().refusal())));
    default:
      return moxcStatusEnd;
  }
}

// Decodes until there are samples to be read.
moxcStatus Decoder::produce() {
  while (view_.samples == 0) {
    if (failed_ != moxcStatusOk) return failed_;
    if (ended_) return moxcStatusEnd;
    if (packetOpen_) {
      PcmFrame frame;
      packetOpen_ = frames_->next(frame);
      if (packetOpen_) deliver(frame);
      noteFrame();
      continue;
    }
    const moxcStatus status = nextPacket();
    if (status == moxcStatusEnd) {
      endPart();
      ended_ = true;
      if (position_ + view_.samples == 0 && formats_ == 0)
        return refuse(moxcStatusNoStream, "holds no frame that can be decoded");
      exact_ = position_ + view_.samples;
      noteFrame();
    } else if (status != moxcStatusOk) {
      return status;
    }
  }
  return moxcStatusOk;
}

void Decoder::noteFrame() {
  if (frames_ && frames_->concealed() != concealedTold_) {
    const int64_t count = frames_->concealed() - std::exchange(concealedTold_, frames_->concealed());
    addEvent(moxcEventConcealed, count * frames_->samplesAFrame());
  }
  if (source_ && source_->skippedBytes() != skippedTold_) {
    const int64_t skipped = source_->skippedBytes();
    addEvent(moxcEventSkipped, skipped - std::exchange(skippedTold_, skipped));
  }
  if (tags_.fields.size() != tagsTold_) {
    tagsTold_ = tags_.fields.size();
    addEvent(moxcEventTag, static_cast<int64_t>(tagsTold_));
  }
}

// A stream of its own begins, or the first: what was held back of the one before is padding or not.
void Decoder::beginPart(const Gapless& gapless) {
  if (partSamples_ > 0) {
    endPart();
    addEvent(moxcEventPart, 0);
  }
  gapless_ = {};
  partSamples_ = partFrames_ = 0;
  front_ = 0;
  if (settings_.raw) return;
  gapless_ = gapless;
  if (gapless_.frames >= 0) {
    // More than there is: not believed.
    const int64_t all = gapless_.frames * frames_->samplesAFrame();
    if (gapless_.front + gapless_.back > all) gapless_ = {};
    if (told_ < 0 && position_ == 0) told_ = all - gapless_.front - gapless_.back;
  }
  front_ = gapless_.front;
}

// Ends cut off: only when the stream is as long as its encoder said, since of a cut file they are missing already. Some
// encoders count one frame more than they write.
void Decoder::endPart() {
  if (heldSamples_ == 0) return;
  const FrameCounts* const counts = source_ ? source_->counts() : nullptr;
  const bool cut = counts != nullptr && counts->truncated > 0;
  const int64_t fewer = gapless_.frames < 0 ? 0 : gapless_.frames - partFrames_;
  const bool complete = fewer == 0 || (fewer == 1 && !cut);
  const int64_t kept = complete ? std::max<int64_t>(heldSamples_ - gapless_.back, 0) : heldSamples_;
  std::swap(held_, released_);
  held_.clear();
  heldSamples_ = 0;
  view_ = {released_.data(), kept};
}

size_t Decoder::frameBytes() const {
  return static_cast<size_t>(next_->channels) * (settings_.decode.floatSamples ? 4 : 2);
}

void Decoder::hold(View view) {
  if (view.samples == 0) return;
  if (view.values != nullptr)
    held_.insert(held_.end(), view.values, view.values + static_cast<size_t>(view.samples) * frameBytes());
  heldSamples_ += view.samples;
}

// The part of a frame that is sound. Near the announced end of its stream it may yet prove to be padding.
void Decoder::deliver(const PcmFrame& frame) {
  if (!next_ || *next_ != frame.format) {
    next_ = frame.format;
    ++formats_;
    mostChannels_ = std::max(mostChannels_, frame.format.channels);
    addEvent(moxcEventFormat, frame.format.channels);
  }
  const auto* const values = frame.s16.empty() ? reinterpret_cast<const uint8_t*>(frame.f32.data())
                                               : reinterpret_cast<const uint8_t*>(frame.s16.data());
  const auto part = [&](int64_t from, int64_t to) {
    return View{values == nullptr ? nullptr : values + static_cast<size_t>(from) * frameBytes(), to - from};
  };
  if (const Edits edits = std::exchange(edits_, {}); edits.timescale > 0) {
    const auto atRate = [&](int64_t units) { return units * frame.format.rate / edits.timescale; };
    front_ = atRate(edits.delay);
    if (edits.length >= 0) told_ = limit_ = atRate(edits.length);
  }
  const int64_t cut = std::min(front_, frame.samples);
  front_ -= cut;
  int64_t end = frame.samples;
  if (limit_ >= 0) {
    end = std::min(end, cut + limit_);
    limit_ -= end - cut;
  }
  const int64_t start = partSamples_;
  partSamples_ += frame.samples;
  ++partFrames_;
  if (gapless_.back == 0) {
    view_ = part(cut, end);
    return;
  }
  if (gapless_.frames >= 0 && partFrames_ > gapless_.frames) {  // longer than announced: nothing is padding
    hold(part(cut, end));
    std::swap(held_, released_);
    view_ = {released_.data(), std::exchange(heldSamples_, 0)};
    held_.clear();
    gapless_.back = 0;
    return;
  }
  const int64_t announced = gapless_.frames < 0 ? 0 : (gapless_.frames - 1) * frame.samples - gapless_.back;
  end = std::clamp(announced - start, cut, frame.samples);
  view_ = part(cut, end);
  hold(part(end, frame.samples));
  if (gapless_.frames >= 0 || heldSamples_ <= gapless_.back) return;

  // The end may be anywhere: what is older than the padding goes.
  const int64_t ready = heldSamples_ - gapless_.back;
  const auto bytes = static_cast<ptrdiff_t>(static_cast<size_t>(ready) * frameBytes());
  if (values != nullptr) {
    released_.assign(held_.begin(), held_.begin() + bytes);
    held_.erase(held_.begin(), held_.begin() + bytes);
  }
  heldSamples_ = gapless_.back;
  view_ = {released_.data(), ready};
}

// ---- What callers ask for

moxcStatus Decoder::read(void* samples, size_t frames, size_t& got) {
  got = 0;
  auto* to = static_cast<uint8_t*>(samples);
  while (got < frames) {
    const moxcStatus status = produce();
    if (status != moxcStatusOk) return got > 0 ? moxcStatusOk : status;
    if (!format_ || *format_ != *next_) {
      if (got > 0) return moxcStatusOk;
      format_ = next_;
      return moxcStatusFormat;
    }
    const size_t count = std::min(frames - got, static_cast<size_t>(view_.samples)),
                 bytes = count * frameBytes();
    std::copy_n(view_.values, bytes, to);
    to += bytes;
    view_.values += bytes;
    view_.samples -= static_cast<int64_t>(count);
    position_ += static_cast<int64_t>(count);
    got += count;
  }
  return moxcStatusOk;
}

moxcStatus Decoder::start() {
  moxcStatus status = produce();
  if (status == moxcStatusNoStream && tagSeen_ && input_.seek != nullptr) {
    // A tag of damaged length may have swallowed the stream.
    tagsAllowed_ = false;
    if (input_.seek(input_.user, 0) < 0) return failed_ = moxcStatusReadFailed;
    inputAt_ = 0;
    rewind();
    status = produce();
  }
  return status == moxcStatusEnd ? moxcStatusOk : status;
}

void Decoder::setSynthesis(bool wanted) {
  counting_ = !wanted;
  if (frames_) frames_->setSynthesis(wanted);
}

// Passes over samples up to that position, or to the end.
moxcStatus Decoder::skipTo(int64_t position) {
  while (position_ < position) {
    const moxcStatus status = produce();
    if (status == moxcStatusEnd) return moxcStatusOk;
    if (status != moxcStatusOk) return status;
    const int64_t count = std::min(view_.samples, position - position_);
    if (view_.values != nullptr) view_.values += static_cast<size_t>(count) * frameBytes();
    view_.samples -= count;
    position_ += count;
  }
  return moxcStatusOk;
}

moxcStatus Decoder::seek(int64_t position) {
  if (position < 0) return moxcStatusBadArgument;
  if (!reads() || input_.seek == nullptr) return moxcStatusCannotSeek;
  if (position < position_ || counting_ || failed_ != moxcStatusOk) {
    counting_ = false;
    if (input_.seek(input_.user, 0) < 0) return failed_ = moxcStatusReadFailed;
    inputAt_ = 0;
    rewind();
  }
  return skipTo(position);
}

moxcStatus Decoder::scan() {
  if (!reads()) return moxcStatusWrongState;
  setSynthesis(false);
  view_.values = nullptr;
  held_.clear();
  return skipTo(INT64_MAX);
}

MoxcDuration Decoder::duration(int64_t& samples) const {
  samples = 0;
  if (exact_) {
    samples = *exact_;
    return moxcDurationExact;
  }
  if (told_ >= 0) {
    samples = told_;
    return moxcDurationTold;
  }
  const int64_t decoded = position_ + view_.samples;
  const FrameCounts* const counts = source_ ? source_->counts() : nullptr;
  if (input_.size <= 0 || !reads() || decoded == 0 || counts == nullptr || counts->bytes == 0)
    return moxcDurationUnknown;
  const double bytes = static_cast<double>(std::max(counts->bytes, input_.size - bytesBefore_));
  samples = static_cast<int64_t>(static_cast<double>(decoded) * bytes / static_cast<double>(counts->bytes));
  return moxcDurationEstimated;
}

MoxcStats Decoder::stats() const {
  MoxcStats stats{};
  if (frames_) {
    stats.frames = frames_->frames();
    stats.concealed = frames_->concealed();
  }
  if (source_) stats.skippedBytes = source_->skippedBytes();
  stats.bytes = inputAt_;
  stats.formats = formats_;
  stats.mostChannels = mostChannels_;
  stats.damaged = !texts(moxcTextDamage).empty();
  return stats;
}

TextLines Decoder::texts(MoxcTexts kind) const {
  TextLines lines;
  const FrameCounts* const counts = source_ ? source_->counts() : nullptr;
  const auto addAll = [&](const char* name, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) lines.push_back({name, String(std::string_view(text))});
  };
  switch (kind) {
    case moxcTextDescription: {
      if (!frames_ || !next_) break;
      int64_t samples = 0;
      const MoxcDuration known = duration(samples);
      const double seconds = static_cast<double>(samples) / next_->rate;
      const auto minutes = static_cast<long long>(seconds / 60);
      char text[96];
      std::snprintf(text, sizeof text, "%s%lld:%06.3f (%lld samples)",
                    known == moxcDurationEstimated ? "about " : "", minutes,
                    seconds - 60.0 * static_cast<double>(minutes), static_cast<long long>(samples));
      frames_->describe(known == moxcDurationUnknown ? "unknown" : text, seconds, counts, lines);
      if (source_) addAll("note", source_->input().notes());
      if (bytesBefore_ > 0)
        lines.push_back({"note", amount(bytesBefore_, "byte") + " before the first frame"});
      break;
    }
    case moxcTextTag:
      for (const char* tag : tags_.kinds) lines.push_back({"tag", tag});
      for (const Tags::Field& field : tags_.fields) lines.push_back({field.name, field.value});
      if (source_)
        for (const Tag& tag : source_->input().tags())
          lines.push_back({String(std::string_view(tag.first)), String(std::string_view(tag.second))});
      break;
    case moxcTextDamage:
      if (source_) addAll("", source_->input().faults());
      if (source_ && source_->nested()) addAll("", source_->frames().faults());
      if (frames_) frames_->faults(counts, lines);
      break;
    case moxcTextNotice:
      if (frames_) frames_->notices(lines);
      break;
  }
  return lines;
}

void Decoder::addEvent(MoxcEventKind kind, int64_t count) {
  if (eventCount_ == kMaxEvents) {
    firstEvent_ = (firstEvent_ + 1) % kMaxEvents;
    --eventCount_;
  }
  events_[(firstEvent_ + eventCount_++) % kMaxEvents] = {kind, position_ + heldSamples_, inputAt_, count};
}

bool Decoder::nextEvent(MoxcEvent& event) {
  if (eventCount_ == 0) return false;
  event = events_[firstEvent_];
  firstEvent_ = (firstEvent_ + 1) % kMaxEvents;
  --eventCount_;
  return true;
}

}  // namespace moxc
