#include "codec/aac/decoder.h"

#include <algorithm>
#include <cstdio>

#include "codec/aac/crc.h"
#include "codec/aac/tables.h"
#include "codec/aac/tools.h"
#include "codec/io/text.h"
#include "codec/sbr/decoder.h"
#include "codec/stream/audio_specific_config.h"
#include "moxac/util.h"

namespace moxc::aac {
namespace {

// A damaged block repeats the one before, each time 6 dB softer; after so many repetitions it is silent.
constexpr int32_t kMaxRepeats = 6;
constexpr int32_t kMaxOutputRate = 96000;
// No block of audio is shorter: a channel's window, gain and sections, and the end mark.
constexpr size_t kLeastBlock = 4;

// The program that a block's own elements make up, as if all stood in front. Some broadcasters send two single channels
// and name no layout.
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

bool sameProgram(const MoxAacPrgCfgElt& a, const MoxAacPrgCfgElt& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

// What the samples of one configuration need, from spectra on.
struct Decoder::Channels : Allocated {
  Channels(const Config& config, const Layout& layout, const DecodeSettings& settings, bool bands,
           bool stereo)
      : tools(config, layout.channels),
        synthesis(layout.channels, settings.floatSamples || bands, config.objectType == MOX_AAC_OBJECT_LTP),
        format{moxAacSampleRates[config.rateIndex] * (bands ? 2 : 1), layout.channels + (stereo ? 1 : 0),
               layout.channels > 2 ? layout.mask : 0},
        samples(bands ? 2 * kAacSamples : kAacSamples) {
    for (auto& made : spectra) made.resize(static_cast<size_t>(layout.channels));
    const auto values = static_cast<size_t>(samples) * static_cast<size_t>(format.channels);
    if (settings.floatSamples)
      floats.resize(values);
    else
      shorts.resize(values);
    if (!bands) return;
    for (const Layout::Element& element : layout.elements)
      elements.emplace_back(element.id == ElementId::cpe ? 2 : 1, format.rate, stereo);
    payloads.resize(elements.size());
    core.resize(static_cast<size_t>(layout.channels));
    full.resize(static_cast<size_t>(format.channels));
  }

  Vector<Spectrum>& current() { return spectra[1 - good]; }

  Tools tools;
  Synthesis synthesis;
  AudioFormat format;
  int32_t samples;  // that a block brings
  // The block being decoded and the last good one take turns.
  std::array<Vector<Spectrum>, 2> spectra;
  size_t good = 0;

  // Of HE-AAC: the elements of the layout, what the block at hand holds for each, and channels on the 16-bit scale.
  Vector<sbr::Element> elements;
  Vector<Bytes> payloads;
  Vector<std::array<float, sbr::kMaxCoreSamples>> core;
  Vector<std::array<float, sbr::kMaxSamples>> full;

  Vector<int16_t> shorts;
  Vector<float> floats;
};

Decoder::Decoder(const DecodeSettings& settings) : settings_(settings) {}
Decoder::~Decoder() = default;

Decoder::Decoder(const DecodeSettings& settings, Bytes specificConfig, int64_t bits, const char* container)
    : settings_(settings), container_(container) {
  const std::optional<AudioSpecificConfig> read = parseAudioSpecificConfig(specificConfig, bits, true);
  if (!read) {
    refusal_ = "AAC whose configuration is damaged";
    return;
  }
  if (read->refusal != nullptr) {
    refusal_ = read->refusal;
    return;
  }
  if (read->frameSamples != kAacSamples) {
    refusal_ = "AAC with frames of 960 samples";
    return;
  }
  Config config{.objectType = read->objectType, .rateIndex = read->rateIndex};
  config.replication = read->sbr == Signalled::present;
  config.parametricStereo = read->ps == Signalled::present;
  std::optional<Layout> layout = Layout::ofConfiguration(read->channelConfiguration);
  if (!layout && read->program) layout = Layout::ofProgram(*read->program);
  configure(config, std::move(layout));
}

Decoder::Decoder(const DecodeSettings& settings, const Config& config, std::optional<Layout> layout,
                 const char* container)
    : settings_(settings), container_(container) {
  configure(config, std::move(layout));
}

size_t Decoder::readAhead(Bytes bytes) {
  readAhead_ = refusal_ == nullptr && reader_->read(bytes, block_);
  return readAhead_ ? block_.bytes : 0;
}

int64_t Decoder::samplesAFrame() const { return channels_ ? channels_->samples : kAacSamples; }

// Without a layout the blocks will tell.
void Decoder::configure(const Config& config, std::optional<Layout> layout) {
  if (config.objectType == MOX_AAC_OBJECT_SSR) {
    refusal_ = "AAC SSR (gain control)";
    return;
  }
  const bool sameReader =
      reader_ && config.objectType == config_.objectType && config.rateIndex == config_.rateIndex;
  config_ = config;
  if (!sameReader) reader_ = std::make_unique<BlockReader>(config);
  programsTell_ = !layout;
  layout_ = std::move(layout);
  program_.reset();
  known_ = true;
  const bool fits = 2 * moxAacSampleRates[config.rateIndex] <= kMaxOutputRate;
  bands_ = config.replication && fits;
  stereo_ = bands_ && config.parametricStereo && layout_ && layout_->channels == 1;
  channels_.reset();
  if (layout_) rebuild();
}

void Decoder::rebuild() {
  channels_ = std::make_unique<Channels>(config_, *layout_, settings_, bands_, stereo_);
  repeats_ = kMaxRepeats;  // there is nothing to repeat yet
}

void Decoder::reset() {
  if (layout_) rebuild();
}

void Decoder::open(const Packet& packet) {
  blocksLeft_ = 0;
  audioBytes_ += static_cast<int64_t>(packet.bytes.size());
  if (container_ == std::string_view("ADTS")) {
    openAdts(packet.bytes);
    return;
  }
  header_.reset();
  payload_ = packet.bytes;
  blocksLeft_ = known_ && refusal_ == nullptr ? 1 : 0;
}

void Decoder::openAdts(Bytes bytes) {
  const std::optional<AdtsHeader> header = parseAdtsHeader(bytes);
  if (!header) return;
  if (!header_ || !header->sameStream(*header_))
    configure({.objectType = header->objectType(), .rateIndex = header->fields.samplingRateIndex},
              Layout::ofConfiguration(header->fields.channelConfig));
  header_ = header;
  if (refusal_ != nullptr) return;
  adtsFrame_ = bytes;
  payload_ = slice(bytes, header->headerBytes());
  // A frame may claim blocks that it has no room for.
  blocksLeft_ = std::min(header->blocks(), static_cast<int32_t>(payload_.size() / kLeastBlock));
  empty_ += blocksLeft_ == 0;
}

bool Decoder::next(PcmFrame& frame) {
  while (blocksLeft_ > 0) {
    --blocksLeft_;
    const bool good = decodeBlock();
    if (!channels_) continue;  // no layout known yet
    if (good) {
      channels_->good = 1 - channels_->good;
      repeats_ = 0;
      if (settings_.synthesise) synthesise(channels_->spectra[channels_->good]);
    } else {
      ++damaged_;
      repeatLast();
    }
    ++blocks_;
    frame = this->frame();
    return true;
  }
  return false;
}

bool Decoder::conceal(PcmFrame& frame) {
  if (!channels_) return false;
  ++blocks_;
  repeatLast();
  frame = this->frame();
  return true;
}

PcmFrame Decoder::frame() const {
  PcmFrame frame{channels_->format, channels_->samples, {}, {}};
  if (settings_.synthesise) {
    frame.s16 = channels_->shorts;
    frame.f32 = channels_->floats;
  }
  return frame;
}

// Reads the next block of the packet and takes its spectra as far as the filter bank.
bool Decoder::decodeBlock() {
  const Bytes data = payload_;
  if (!std::exchange(readAhead_, false) && !reader_->read(data, block_)) {
    payload_ = {};  // where further blocks of the frame begin is not known
    return false;
  }
  const bool crc = header_ && header_->hasCrc(), ownCheck = crc && header_->blocks() > 1;
  payload_ = slice(data, block_.bytes + (ownCheck ? 2 : 0));
  blocksLeft_ = std::min(blocksLeft_, static_cast<int32_t>(payload_.size() / kLeastBlock));
  if (crc && !checkBlock(data)) return false;
  survey_.note(block_, config_.objectType);
  if (!followProgram()) return false;
  followReplication();
  if (!placeElements()) return false;
  damagedBands_ += !readBands();
  return true;
}

// One block to a frame: a check word in the header for both. Several: one for the header, and one behind each.
bool Decoder::checkBlock(Bytes data) {
  AdtsCrc crc;
  uint32_t word;
  if (header_->blocks() == 1) {
    crc.addBits(adtsFrame_, 0, 56);
    word = bigEndian(adtsFrame_, 7, 2);
  } else {
    word = bigEndian(data, block_.bytes, 2);
  }
  crc.add(data, block_.protectedBits);
  const bool right = crc.value() == word;
  ++(right ? crcRight_ : crcWrong_);
  return right || !crcBelievable();
}

// Where the container names no layout, a program configuration element does, or the elements themselves.
bool Decoder::followProgram() {
  if (!programsTell_) return true;
  if (block_.program ? program_ && sameProgram(*program_, *block_.program) : layout_.has_value()) return true;
  const MoxAacPrgCfgElt program = block_.program ? *block_.program : programOf(block_);
  std::optional<Layout> layout = Layout::ofProgram(program);
  if (!layout) {
    if (!layout_) refusal_ = "AAC whose program has no channels, or more than eight";
    return false;
  }
  if (block_.program) program_ = program;
  layout_ = std::move(layout);
  stereo_ = stereo_ && layout_->channels == 1;
  rebuild();
  return true;
}

// Spectral band replication shows in the blocks, and parametric stereo within its data. Once there they stay.
void Decoder::followReplication() {
  if (!bands_ && block_.hasSbr && 2 * moxAacSampleRates[config_.rateIndex] <= kMaxOutputRate) {
    bands_ = true;
    rebuild();
  }
}

bool Decoder::readBands() {
  bool good = true;
  for (size_t place = 0; place < channels_->elements.size(); ++place)
    good = channels_->elements[place].read(channels_->payloads[place]) && good;
  if (!bands_ || stereo_ || layout_->channels != 1 || !channels_->elements[0].hasStereoData()) return good;
  stereo_ = true;
  channels_->format.channels = 2;
  channels_->full.resize(2);
  if (settings_.floatSamples)
    channels_->floats.resize(2 * static_cast<size_t>(channels_->samples));
  else
    channels_->shorts.resize(2 * static_cast<size_t>(channels_->samples));
  return channels_->elements[0].makeStereo() && good;
}

// The block must hold exactly the elements of the layout, in its order where no tags tell them apart.
bool Decoder::placeElements() {
  if (block_.elements != layout_->elements.size()) return false;
  uint32_t done = 0;
  for (size_t i = 0; i < block_.elements; ++i) {
    Element& element = *block_.storage[i];
    size_t place = 0;
    while (place < layout_->elements.size() &&
           ((done >> place & 1u) != 0 || layout_->elements[place].id != element.id ||
            (layout_->elements[place].tag >= 0 && layout_->elements[place].tag != element.tag)))
      ++place;
    if (place == layout_->elements.size()) return false;
    done |= 1u << place;
    if (bands_) channels_->payloads[place] = element.sbr();
    if (settings_.synthesise && !channels_->tools.run(element, layout_->elements[place].output,
                                                      channels_->synthesis, channels_->current()))
      return false;
  }
  return true;
}

// The filter banks go on over the joint, so that repetition and silence fade into their neighbours.
void Decoder::repeatLast() {
  ++concealed_;
  if (!settings_.synthesise) return;
  for (sbr::Element& element : channels_->elements) element.hold();
  repeats_ = std::min(repeats_ + 1, kMaxRepeats);
  Vector<Spectrum>& spectra = channels_->current();
  for (size_t ch = 0; ch < spectra.size(); ++ch) {
    const Spectrum& good = channels_->spectra[channels_->good][ch];
    Spectrum& made = spectra[ch];
    // Long windows follow long and stop windows; a start window is answered by a stop window first; short windows
    // go on as they are.
    made.windowShape = good.windowShape;
    made.windowSequence = good.windowSequence == 2 ? 2 : good.windowSequence == 1 && repeats_ == 1 ? 3 : 0;
    for (size_t k = 0; k < made.lines.size(); ++k)
      made.lines[k] = repeats_ < kMaxRepeats ? good.lines[k] / (1 << repeats_) : 0;
  }
  synthesise(spectra);
}

void Decoder::synthesise(const Vector<Spectrum>& spectra) {
  Channels& to = *channels_;
  if (!bands_) {
    for (size_t ch = 0; ch < spectra.size(); ++ch)
      if (settings_.floatSamples)
        to.synthesis.run(ch, spectra[ch], to.floats.data() + ch, layout_->channels);
      else
        to.synthesis.run(ch, spectra[ch], to.shorts.data() + ch, layout_->channels);
    return;
  }

  for (size_t ch = 0; ch < to.core.size(); ++ch) {
    to.synthesis.run(ch, spectra[ch], to.core[ch].data(), 1);
    for (float& sample : to.core[ch]) sample *= 32768;
  }
  for (size_t place = 0; place < to.elements.size(); ++place) {
    const Layout::Element& element = layout_->elements[place];
    const auto first = static_cast<size_t>(element.output[0]),
               second = static_cast<size_t>(element.output[1]);
    to.elements[place].run({to.core[first].data(), to.core[second].data()},
                           {to.full[first].data(), to.full[stereo_ ? 1 : second].data()});
  }
  std::array<const float*, 8> channels{};
  for (size_t ch = 0; ch < to.full.size(); ++ch) channels[ch] = to.full[ch].data();
  if (!settings_.floatSamples) {
    moxsJoin_32f16s_D2L(channels.data(), to.format.channels, to.samples, to.shorts.data());
    return;
  }
  moxsInterleave_32f(channels.data(), to.format.channels, to.samples, to.floats.data());
  for (float& sample : to.floats) sample /= 32768;
}

void Decoder::faults(const FrameCounts* counts, TextLines& lines) const {
  const auto add = [&](int64_t count, const char* noun, const char* what, const char* front = "") {
    if (count > 0) lines.push_back({"", front + amount(count, noun) + what});
  };
  if (counts != nullptr) {
    add(counts->skipped, "byte", " that belong to no frame skipped");
    add(counts->lost, "frame", " missing where bytes were skipped", "about ");
    add(counts->doubtful, "frame", " with a damaged header");
  }
  if (crcBelievable()) add(crcWrong_, "block", " with a wrong CRC");
  if (counts != nullptr) add(counts->truncated, "byte", "", "the last frame is incomplete: ");
  add(empty_, "frame", " without audio data");
  add(damaged_, "frame", " with damaged audio data");
  if (concealed_ > 0)
    lines.push_back({"", number(concealed_) + " of " + amount(blocks_, "frame") + " concealed"});
  add(damagedBands_, "frame", " with damaged high-band data");
}

void Decoder::notices(TextLines& lines) const {
  if (survey_.sbrBlocks > 0 && !bands_)
    lines.push_back(
        {"", "spectral band replication in " + amount(survey_.sbrBlocks, "frame") + " is left out"});
  if (survey_.couplingBlocks > 0)
    lines.push_back(
        {"", "coupling channels in " + amount(survey_.couplingBlocks, "frame") + " are left out"});
}

void Decoder::describe(const String& duration, double seconds, const FrameCounts*, TextLines& lines) const {
  if (!channels_) return;
  static constexpr const char* kObjectTypes[] = {"", "Main", "LC", "SSR", "LTP"};
  const auto add = [&](const char* name, const String& text) {
    if (!text.empty()) lines.push_back({name, text});
  };
  const AudioFormat& format = channels_->format;
  const String coder = String("AAC ") + kObjectTypes[config_.objectType];
  const String kind = stereo_  ? "HE-AAC v2 (" + coder + ", SBR, parametric stereo)"
                      : bands_ ? "HE-AAC (" + coder + ", SBR)"
                               : coder;
  add("format", kind + " in " + container_);
  add("sample rate",
      number(format.rate) + " Hz" +
          (bands_ ? ", of the core " + number(moxAacSampleRates[config_.rateIndex]) + " Hz" : String()));
  const std::string speakers = layout_->speakers();
  add("channels", stereo_ ? String("2 (L R), of one coded")
                  : layout_->channels == 1
                      ? String("1 (mono)")
                      : number(layout_->channels) + " (" + String(std::string_view(speakers)) + ")");
  char bitRate[64];
  std::snprintf(bitRate, sizeof bitRate, "%.1f kbit/s on average",
                seconds > 0 ? static_cast<double>(audioBytes_) * 8 / 1000 / seconds : 0.0);
  add("bit rate", bitRate);
  add("duration", duration);
  add("frames", number(blocks_) + " of " + number(channels_->samples) + " samples");
  add("tools", survey_.tools());
  if (survey_.sbrBlocks > 0)
    add("SBR", "in " + amount(survey_.sbrBlocks, "frame") + (bands_ ? "" : ", left out"));
  if (crcWrong_ > 0 && !crcBelievable()) add("note", "most CRCs are wrong, none is believed");
}

}  // namespace moxc::aac
