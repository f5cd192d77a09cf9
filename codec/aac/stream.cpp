#include "codec/aac/stream.h"

#include <algorithm>
#include <utility>

#include "codec/aac/crc.h"
#include "codec/io/failure.h"
#include "codec/io/text.h"
#include "codec/mp3/scanner.h"
#include "codec/stream/audio_specific_config.h"
#include "codec/stream/latm.h"
#include "codec/stream/mp4.h"

namespace moxc::aac {
namespace {

constexpr int32_t kAotSsr = 3;
// How many blocks are looked at for a program configuration element when the headers name no layout.
constexpr int kProgramSearchBlocks = 16;

void refuseSsr(const Config& config) {
  if (config.objectType == kAotSsr)
    throw Failure("the stream is AAC SSR (gain control), which is not decoded");
}

Layout layoutOf(const MoxAacPrgCfgElt& program) {
  std::optional<Layout> layout = Layout::ofProgram(program);
  if (!layout) throw Failure("the AAC stream's program has no channels, or more than eight");
  return *std::move(layout);
}

class AdtsStream final : public Stream {
 public:
  AdtsStream(const AdtsScanner& scanner, const Config& config, Layout layout)
      : Stream(config, std::move(layout)), scanner_(scanner) {
    scanner_.rewind();
    for (AdtsFrame frame; scanner_.next(frame);) {
      blocks_ += frame.header.blocks() + frame.lostBefore;
      bytes_ += static_cast<int64_t>(frame.bytes.size());
      lost_ += frame.lostBefore;
      doubtful_ += frame.lengthDoubtful;
      hasCrc_ |= frame.header.hasCrc();
      end_ = frame.position + frame.bytes.size();
    }
    skipped_ = scanner_.skippedBytes();
    truncated_ = static_cast<int64_t>(scanner_.truncatedBytes());
    rewind();
  }

  Event next(Block& block) override;
  void rewind() override;
  double progress() const override {
    return end_ == 0 ? 1.0
                     : std::min(1.0, static_cast<double>(scanner_.position()) / static_cast<double>(end_));
  }
  const char* container() const override { return "ADTS"; }
  int64_t expectedBlocks() const override { return blocks_; }
  int64_t audioBytes() const override { return bytes_; }
  int64_t skippedBytes() const override { return skipped_; }
  std::vector<std::string> faults() const override;
  std::vector<std::string> notes() const override;

 private:
  bool openFrame();
  bool checkBlock(Bytes data, const Block& block);
  // Some writers leave the check words empty: they count once more of them were right than wrong.
  bool crcBelievable() const { return crcRight_ > crcWrong_; }

  AdtsScanner scanner_;
  // Of the whole stream, known from the start.
  int64_t blocks_ = 0, bytes_ = 0, skipped_ = 0, lost_ = 0, doubtful_ = 0, truncated_ = 0;
  bool hasCrc_ = false;
  size_t end_ = 0;

  AdtsFrame frame_;
  Bytes payload_;           // of the frame's blocks not yet read
  int32_t blocksLeft_ = 0;  // in the frame
  int32_t lostLeft_ = 0;
  int64_t crcRight_ = 0, crcWrong_ = 0;
};

void AdtsStream::rewind() {
  scanner_.rewind();
  blocksLeft_ = lostLeft_ = 0;
  crcRight_ = crcWrong_ = 0;
}

bool AdtsStream::openFrame() {
  if (!scanner_.next(frame_)) return false;
  payload_ = slice(frame_.bytes, frame_.header.headerBytes());
  blocksLeft_ = frame_.header.blocks();
  lostLeft_ = frame_.lostBefore;
  return true;
}

// One block to a frame: a check word in the header for both. Several: one for the header, and one behind each.
bool AdtsStream::checkBlock(Bytes data, const Block& block) {
  AdtsCrc crc;
  uint32_t word;
  if (frame_.header.blocks() == 1) {
    crc.addBits(frame_.bytes, 0, 56);
    word = bigEndian(frame_.bytes, 7, 2);
  } else {
    word = bigEndian(data, block.bytes, 2);
  }
  crc.add(data, block.protectedBits);
  const bool right = crc.value() == word;
  ++(right ? crcRight_ : crcWrong_);
  return right || !crcBelievable();
}

Event AdtsStream::next(Block& block) {
  if (lostLeft_ == 0 && blocksLeft_ == 0 && !openFrame()) return Event::end;
  if (lostLeft_ > 0) {
    --lostLeft_;
    return Event::lost;
  }
  --blocksLeft_;
  const Bytes data = payload_;
  if (!reader_.read(data, block)) {
    payload_ = {};  // where further blocks of the frame begin is not known
    return Event::damaged;
  }
  const bool ownCheck = frame_.header.hasCrc() && frame_.header.blocks() > 1;
  payload_ = slice(data, block.bytes + (ownCheck ? 2 : 0));
  if (frame_.header.hasCrc() && !checkBlock(data, block)) return Event::damaged;
  return Event::block;
}

std::vector<std::string> AdtsStream::faults() const {
  std::vector<std::string> lines;
  if (skipped_ > 0) lines.push_back(counted(skipped_, "byte") + " that belong to no frame skipped");
  if (lost_ > 0) lines.push_back("about " + counted(lost_, "frame") + " missing where bytes were skipped");
  if (doubtful_ > 0) lines.push_back(counted(doubtful_, "frame") + " with a damaged header");
  if (crcWrong_ > 0 && crcBelievable()) lines.push_back(counted(crcWrong_, "block") + " with a wrong CRC");
  if (truncated_ > 0) lines.push_back("the last frame is incomplete: " + counted(truncated_, "byte"));
  return lines;
}

std::vector<std::string> AdtsStream::notes() const {
  std::vector<std::string> lines;
  if (hasCrc_ && crcWrong_ > 0 && !crcBelievable())
    lines.emplace_back("most CRCs are wrong, none is believed");
  if (scanner_.bytesBefore() > 0)
    lines.push_back(counted(static_cast<int64_t>(scanner_.bytesBefore()), "byte") +
                    " before the first frame");
  return lines;
}

// The program that a block's own elements make up, as if all stood in front.
MoxAacPrgCfgElt programOf(const Block& block) {
  MoxAacPrgCfgElt program{};
  for (size_t i = 0; i < block.elements; ++i) {
    const Element& element = block.element(i);
    if (element.id == ElementId::lfe && program.numLfeChanElt < 4) {
      program.lfeEltTagSel[program.numLfeChanElt++] = element.tag;
    } else if (element.id != ElementId::lfe && program.numFrontChanElt < 16) {
      program.frontEltIsCpe[program.numFrontChanElt] = element.id == ElementId::cpe;
      program.frontEltTagSel[program.numFrontChanElt++] = element.tag;
    }
  }
  return program;
}

// The layout stands in the header, or in a program configuration element of the first blocks. Some broadcasters send
// neither and two single channels.
std::unique_ptr<Stream> openAdts(Bytes bytes) {
  AdtsScanner scanner(bytes);
  if (!scanner.found()) return nullptr;
  if (scanner.bytesBefore() > 0) {  // a frame at the very end may be chance within the frames of MPEG audio
    const mp3::Scanner other(bytes);
    if (other.found() && other.bytesBefore() < scanner.bytesBefore()) return nullptr;
  }
  const AdtsHeader& header = scanner.firstHeader();
  const Config config{.objectType = header.objectType(), .rateIndex = header.fields.samplingRateIndex};
  refuseSsr(config);
  std::optional<Layout> layout = Layout::ofConfiguration(header.fields.channelConfig);
  if (!layout) {
    BlockReader reader(config);
    Block block;
    AdtsFrame frame;
    std::optional<MoxAacPrgCfgElt> program;
    for (int i = 0; i < kProgramSearchBlocks && !block.program && scanner.next(frame); ++i) {
      const bool good = reader.read(slice(frame.bytes, frame.header.headerBytes()), block);
      if (block.program)
        program = block.program;
      else if (good && !program)
        program = programOf(block);
    }
    if (!program) throw Failure("the AAC stream names no channel layout");
    layout = layoutOf(*program);
  }
  return std::make_unique<AdtsStream>(scanner, config, *std::move(layout));
}

// One header, then block after block without any mark to resume at after damage.
class AdifStream final : public Stream {
 public:
  AdifStream(Bytes blocks, const MoxAacADIFHeader& header, const Config& config, Layout layout)
      : Stream(config, std::move(layout)), header_(header), blocks_(blocks) {}

  Event next(Block& block) override;
  void rewind() override {
    position_ = 0;
    broken_ = false;
  }
  double progress() const override {
    return blocks_.empty() ? 1.0 : static_cast<double>(position_) / static_cast<double>(blocks_.size());
  }
  const char* container() const override { return "ADIF"; }
  int64_t expectedBlocks() const override {
    if (header_.bitRate == 0) return 0;
    const double seconds = static_cast<double>(blocks_.size()) * 8 / header_.bitRate;
    return static_cast<int64_t>(seconds * kRates[config_.rateIndex] / kAacSamples);
  }
  int64_t audioBytes() const override { return static_cast<int64_t>(blocks_.size()); }
  int64_t skippedBytes() const override {
    return broken_ ? static_cast<int64_t>(blocks_.size() - position_) : 0;
  }
  std::vector<std::string> faults() const override {
    std::vector<std::string> lines;
    if (broken_)
      lines.push_back("damage ends the stream: " + counted(skippedBytes(), "byte") + " left undecoded");
    return lines;
  }
  std::vector<std::string> notes() const override {
    std::vector<std::string> lines;
    if (header_.numPrgCfgElt > 1)
      lines.push_back("the first of " + counted(header_.numPrgCfgElt, "program") + " is decoded");
    return lines;
  }

 private:
  MoxAacADIFHeader header_;
  Bytes blocks_;
  size_t position_ = 0;
  bool broken_ = false;
};

Event AdifStream::next(Block& block) {
  const Bytes rest = slice(blocks_, position_);
  if (broken_ || allZero(rest)) return Event::end;
  broken_ = !reader_.read(rest, block);
  if (broken_) return Event::damaged;
  position_ += block.bytes;
  return Event::block;
}

std::unique_ptr<Stream> openAdif(Bytes bytes) {
  if (!startsWith(bytes, "ADIF")) return nullptr;
  // Sixteen elements of at most 9 + 75 + 257 bytes fit well in this, whatever the data say.
  std::vector<uint8_t> padded(8192);
  std::copy_n(bytes.begin(), std::min(bytes.size(), padded.size() - 8), padded.begin());
  MoxAacADIFHeader header{};
  std::vector<MoxAacPrgCfgElt> programs(16);
  const uint8_t* at = padded.data();
  if (moxsUnpackADIFHeader_AAC(&at, &header, programs.data(), 16) != moxStatusOk) return nullptr;
  const auto headerBytes = static_cast<size_t>(at - padded.data());
  if (headerBytes >= bytes.size()) throw Failure("the ADIF header is incomplete");
  const Config config{.objectType = programs[0].objectType + 1, .rateIndex = programs[0].samplingRateIndex};
  if (config.rateIndex > 11) throw Failure("the ADIF header names no usable sample rate");
  refuseSsr(config);
  return std::make_unique<AdifStream>(slice(bytes, headerBytes), header, config, layoutOf(programs[0]));
}

// The packets of a container in memory.
class PacketReader {
 public:
  using Make = std::unique_ptr<Demuxer> (*)();
  PacketReader(Bytes bytes, Make make) : bytes_(bytes), make_(make) { rewind(); }

  void rewind() {
    demuxer_ = make_();
    demuxer_->setSeekable(static_cast<int64_t>(bytes_.size()));
  }
  DemuxEvent next(Packet& packet) {
    for (;;) {
      const DemuxEvent event = demuxer_->next(packet);
      if (event != DemuxEvent::needMore) return event;
      const Bytes rest = slice(bytes_, static_cast<size_t>(demuxer_->inputPosition()));
      if (rest.empty())
        demuxer_->finish();
      else
        demuxer_->feed(rest);
    }
  }
  const Demuxer& demuxer() const { return *demuxer_; }

 private:
  Bytes bytes_;
  Make make_;
  std::unique_ptr<Demuxer> demuxer_;
};

// Blocks from the packets of a container that says by an AudioSpecificConfig what they are, up to where it says
// something else.
class PacketStream final : public Stream {
 public:
  PacketStream(PacketReader packets, const Config& config, Layout layout)
      : Stream(config, std::move(layout)), packets_(std::move(packets)) {
    packets_.rewind();
    Packet packet;
    for (Event event = nextPacket(packet); event != Event::end; event = nextPacket(packet)) {
      ++blocks_;
      if (event == Event::block) bytes_ += static_cast<int64_t>(packet.bytes.size());
    }
    track_ = packets_.demuxer().config();
    faults_ = packets_.demuxer().faults();
    notes_ = packets_.demuxer().notes();
    if (changes_) notes_.emplace_back("what follows a change of configuration is left out");
    skipped_ = packets_.demuxer().skippedBytes();
    rewind();
  }

  Event next(Block& block) override {
    Packet packet;
    const Event event = nextPacket(packet);
    if (event != Event::end) ++next_;
    if (event != Event::block) return event;
    return reader_.read(packet.bytes, block) ? Event::block : Event::damaged;
  }
  void rewind() override {
    packets_.rewind();
    next_ = 0;
    configured_ = false;
  }
  double progress() const override {
    return blocks_ == 0 ? 1.0 : static_cast<double>(next_) / static_cast<double>(blocks_);
  }
  const char* container() const override { return packets_.demuxer().container(); }
  int64_t expectedBlocks() const override { return blocks_; }
  int64_t audioBytes() const override { return bytes_; }
  int64_t skippedBytes() const override { return skipped_; }
  int64_t delay(int32_t rate) const override { return atRate(std::max<int64_t>(track_.delay, 0), rate); }
  int64_t padding(int32_t rate) const override {
    if (track_.length < 0 || track_.packetDuration == 0) return 0;
    return atRate(std::max<int64_t>(blocks_ * track_.packetDuration - track_.delay - track_.length, 0), rate);
  }
  std::vector<std::string> faults() const override { return faults_; }
  std::vector<std::string> notes() const override { return notes_; }

 private:
  Event nextPacket(Packet& packet) {
    for (;;) switch (packets_.next(packet)) {
        case DemuxEvent::config:
          changes_ = std::exchange(configured_, true);
          if (changes_) return Event::end;
          break;
        case DemuxEvent::packet:
          return Event::block;
        case DemuxEvent::lost:
          return Event::lost;
        default:
          return Event::end;
      }
  }
  // Of HE-AAC some files count samples at the rate of the core, some at twice that.
  int64_t atRate(int64_t samples, int32_t rate) const {
    return track_.timescale > 0 ? samples * rate / track_.timescale : samples;
  }

  PacketReader packets_;
  bool configured_ = false, changes_ = false;
  int64_t blocks_ = 0, bytes_ = 0, next_ = 0, skipped_ = 0;
  TrackConfig track_;
  std::vector<std::string> faults_, notes_;
};

std::unique_ptr<Stream> openPackets(Bytes bytes, PacketReader::Make make) {
  PacketReader packets(bytes, make);
  Packet packet;
  DemuxEvent event = packets.next(packet);
  while (event == DemuxEvent::lost) event = packets.next(packet);
  if (event == DemuxEvent::refused) throw Failure(packets.demuxer().refusal());
  const TrackConfig& track = packets.demuxer().config();
  if (track.content != PacketContent::aacBlock)
    throw Failure("the MP4 file holds MPEG audio, which is not decoded");
  const auto specific = parseAudioSpecificConfig(track.specificConfig, track.specificConfigBits, true);
  if (event != DemuxEvent::config || !specific) throw Failure("the AAC stream has no usable configuration");
  if (specific->refusal != nullptr)
    throw Failure(std::string("the stream is ") + specific->refusal + ", which is not decoded");
  if (specific->frameSamples != kAacSamples)
    throw Failure("the AAC stream has frames of 960 samples, which are not decoded");
  const Config config{.objectType = specific->objectType,
                      .rateIndex = specific->rateIndex,
                      .replication = specific->sbr == Signalled::present,
                      .parametricStereo = specific->ps == Signalled::present};
  refuseSsr(config);
  std::optional<Layout> layout = specific->program ? Layout::ofProgram(*specific->program)
                                                   : Layout::ofConfiguration(specific->channelConfiguration);
  if (!layout) throw Failure("the AAC stream has no channels, or a layout that is not decoded");
  return std::make_unique<PacketStream>(std::move(packets), config, *std::move(layout));
}

}  // namespace

std::unique_ptr<Stream> Stream::open(Bytes bytes) {
  if (findMp4(bytes, true) == 0)
    return openPackets(bytes, []() -> std::unique_ptr<Demuxer> { return std::make_unique<Mp4Demuxer>(); });
  if (findLatm(bytes, true) == 0)
    return openPackets(bytes, []() -> std::unique_ptr<Demuxer> { return std::make_unique<LatmDemuxer>(); });
  if (std::unique_ptr<Stream> stream = openAdif(bytes)) return stream;
  return openAdts(bytes);
}

}  // namespace moxc::aac
