#include "codec/aac/stream.h"

#include <algorithm>
#include <utility>

#include "codec/aac/crc.h"
#include "codec/io/failure.h"
#include "codec/mp3/scanner.h"
#include "codec/stream/mp4_audio.h"

namespace moxc::aac {
namespace {

constexpr int32_t kAotSsr = 3;
// How many blocks are looked at for a program configuration element when the headers name no layout.
constexpr int kProgramSearchBlocks = 16;

std::string counted(int64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void refuseSsr(const Config& config) {
  if (config.objectType == kAotSsr)
    throw Failure("the stream is AAC SSR (gain control), which is not decoded");
}

Layout layoutOf(const MoxAacPrgCfgElt& program) {
  std::optional<Layout> layout = Layout::ofProgram(program);
  if (!layout) throw Failure("the AAC stream's program has no channels, or more than eight");
  return *std::move(layout);
}

struct SpecificConfig {
  Config config;
  Layout layout;
};

// AudioSpecificConfig(), ISO/IEC 14496-3, 1.6.2.1. In front of the core's configuration that of spectral band
// replication may stand.
SpecificConfig parseAudioSpecificConfig(Bytes bytes) {
  constexpr int32_t kAotSbr = 5, kAotPs = 29;
  size_t at = 0;
  const auto bits = [&](size_t count) {
    const auto value = (uint64_t{bigEndian(bytes, at / 8, 4)} << 32 | bigEndian(bytes, at / 8 + 4, 4))
                       << (at % 8);
    at += count;
    return static_cast<int32_t>(value >> (64 - count));
  };
  const auto rateIndex = [&] {
    int32_t index = bits(4);
    if (index == 15) {
      const auto rate = std::find(std::begin(kRates), std::end(kRates), bits(24));
      index = static_cast<int32_t>(rate - std::begin(kRates));
    }
    return index;
  };
  SpecificConfig result;
  result.config.objectType = bits(5);
  result.config.rateIndex = rateIndex();
  const int32_t configuration = bits(4);
  if (result.config.objectType == kAotSbr || result.config.objectType == kAotPs) {
    result.config.replication = true;
    result.config.parametricStereo = result.config.objectType == kAotPs;
    rateIndex();  // of the replicated band
    result.config.objectType = bits(5);
  }
  refuseSsr(result.config);
  if (result.config.objectType < 1 || result.config.objectType > 4)
    throw Failure("the MP4 file holds MPEG-4 audio object type " + std::to_string(result.config.objectType) +
                  ", which is not decoded");
  if (result.config.rateIndex > 11) throw Failure("the AAC stream names no usable sample rate");
  if (bits(1) != 0) throw Failure("the AAC stream has frames of 960 samples, which are not decoded");
  if (bits(1) != 0) bits(14);  // coreCoderDelay
  bits(1);                     // extensionFlag

  std::optional<Layout> layout = Layout::ofConfiguration(configuration);
  if (!layout) {
    std::vector<uint8_t> padded(bytes.begin(), bytes.end());
    padded.resize(bytes.size() + 1024);
    const uint8_t* position = padded.data() + at / 8;
    auto offset = static_cast<int32_t>(at % 8);
    MoxAacPrgCfgElt program{};
    moxsDecodePrgCfgElt_AAC(&position, &offset, &program);
    layout = layoutOf(program);
  }
  result.layout = *std::move(layout);
  return result;
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

// Blocks from the packets of an MP4 file.
class Mp4Stream final : public Stream {
 public:
  Mp4Stream(Mp4Audio audio, const Config& config, Layout layout)
      : Stream(config, std::move(layout)), audio_(std::move(audio)) {}

  Event next(Block& block) override {
    if (next_ == audio_.packets.size()) return Event::end;
    return reader_.read(audio_.packets[next_++], block) ? Event::block : Event::damaged;
  }
  void rewind() override { next_ = 0; }
  double progress() const override {
    return audio_.packets.empty() ? 1.0
                                  : static_cast<double>(next_) / static_cast<double>(audio_.packets.size());
  }
  const char* container() const override { return "MP4"; }
  int64_t expectedBlocks() const override { return static_cast<int64_t>(audio_.packets.size()); }
  int64_t audioBytes() const override {
    int64_t bytes = 0;
    for (const auto& packet : audio_.packets) bytes += static_cast<int64_t>(packet.size());
    return bytes;
  }
  int64_t skippedBytes() const override { return 0; }
  int64_t delay(int32_t rate) const override { return atRate(audio_.delay, rate); }
  int64_t padding(int32_t rate) const override { return atRate(audio_.padding, rate); }
  std::vector<std::string> faults() const override { return {}; }
  std::vector<std::string> notes() const override { return {}; }

 private:
  // Of HE-AAC some files count samples at the rate of the core, some at twice that.
  int64_t atRate(int64_t samples, int32_t rate) const {
    return audio_.rate > 0 ? samples * rate / audio_.rate : samples;
  }

  Mp4Audio audio_;
  size_t next_ = 0;
};

std::unique_ptr<Stream> openMp4(Bytes bytes) {
  Mp4Audio audio = readMp4(bytes);
  auto [config, layout] = parseAudioSpecificConfig(audio.config);
  return std::make_unique<Mp4Stream>(std::move(audio), config, std::move(layout));
}

}  // namespace

std::unique_ptr<Stream> Stream::open(Bytes bytes) {
  if (isMp4(bytes) && canReadMp4()) return openMp4(bytes);
  if (std::unique_ptr<Stream> stream = openAdif(bytes)) return stream;
  return openAdts(bytes);
}

}  // namespace moxc::aac
