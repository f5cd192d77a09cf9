#include "codec/mp3/decoder.h"

#include <cstdio>

#include "codec/io/text.h"

namespace moxc::mp3 {
namespace {

// A decoder's own delay: 528 samples of the hybrid and polyphase banks, and one that encoders count from.
constexpr int64_t kDecoderDelay = 529;
// A damaged granule repeats the one before, each time 6 dB softer; after so many repetitions it is silent.
constexpr int32_t kMaxRepeats = 6;

}  // namespace

void Decoder::open(const Packet& packet) {
  frame_.bytes = packet.bytes;
  pending_ = began_ = false;
  const std::optional<Header> header = parseHeader(packet.bytes);
  if (!header) return;
  frame_.header = *header;
  if (!known_ || !header->sameStream(first_)) beginStream(*header);
  if (packet.afterGap) reader_.interrupt();
  if (openInfoFrame()) return;
  pending_ = true;
  note();
}

void Decoder::beginStream(const Header& header) {
  const bool channelsChange = !known_ || header.channels != first_.channels;
  missing_ += missingFrames(true);
  known_ = began_ = true;
  first_ = header;
  vbrHeader_.reset();
  gapless_ = {};
  partFrames_ = 0;
  if (channelsChange) synthesis_.emplace(header.channels, settings_.floatSamples);
  reset();
}

// Such a frame holds no audio, but begins a stream.
bool Decoder::openInfoFrame() {
  std::optional<VbrHeader> info = readVbrHeader(frame_);
  if (!info) return false;
  beginStream(frame_.header);
  if (info->frames) gapless_.frames = *info->frames;
  if (info->hasDelay) {
    gapless_.front = info->delay + kDecoderDelay;
    gapless_.back = std::max<int64_t>(0, info->padding - kDecoderDelay);
  }
  vbrHeader_ = std::move(info);
  return true;
}

void Decoder::reset() {
  reader_.interrupt();
  if (synthesis_) synthesis_->reset();
  spectra_.fill({});
  repeats_ = kMaxRepeats;  // there is nothing to repeat yet
}

void Decoder::note() {
  const Header& header = frame_.header;
  ++coded_;
  audioBytes_ += static_cast<int64_t>(frame_.bytes.size());
  seconds_ += static_cast<double>(header.samples()) / header.rate;
  usesMs_ |= (header.fields.modeExt & 2) != 0;
  usesIntensity_ |= (header.fields.modeExt & 1) != 0;
  if (header.hasCrc()) ++(crcMatches(frame_) ? crcRight_ : crcWrong_);
  lowestRate_ = lowestRate_ == 0 ? header.bitRate : std::min(lowestRate_, header.bitRate);
  highestRate_ = std::max(highestRate_, header.bitRate);
}

PcmFrame Decoder::frame() const {
  PcmFrame frame{{first_.rate, first_.channels, 0}, first_.samples(), {}, {}};
  const auto values = static_cast<size_t>(first_.samples()) * static_cast<size_t>(first_.channels);
  if (settings_.synthesise && settings_.floatSamples) frame.f32 = std::span(floats_).first(values);
  if (settings_.synthesise && !settings_.floatSamples) frame.s16 = std::span(shorts_).first(values);
  return frame;
}

bool Decoder::next(PcmFrame& frame) {
  if (!std::exchange(pending_, false)) return false;
  ++frames_;
  ++partFrames_;
  frame = this->frame();
  const Fault fault = reader_.open(frame_, crcBelievable());
  Fault firstFault = fault;
  for (int32_t granule = 0; settings_.synthesise && granule < first_.granules(); ++granule) {
    const Fault granuleFault = fault != Fault::none ? fault : reader_.read(granule, spectra_[1 - good_]);
    if (firstFault == Fault::none) firstFault = granuleFault;
    decodeGranule(granule, granuleFault);
  }
  concealed_ += firstFault != Fault::none;
  ++damage_[static_cast<size_t>(firstFault)];
  return true;
}

bool Decoder::conceal(PcmFrame& frame) {
  if (!known_) return false;
  ++frames_;
  ++partFrames_;
  ++concealed_;
  frame = this->frame();
  for (int32_t granule = 0; settings_.synthesise && granule < first_.granules(); ++granule)
    decodeGranule(granule, Fault::missingData);
  return true;
}

void Decoder::decodeGranule(int32_t granule, Fault fault) {
  Spectrum& spectrum = spectra_[1 - good_];
  if (fault == Fault::none) {
    good_ = 1 - good_;
    repeats_ = 0;
  } else {
    repeats_ = std::min(repeats_ + 1, kMaxRepeats);
    repeatLast(spectrum);
  }
  const auto at = static_cast<size_t>(granule) * kLines * static_cast<size_t>(first_.channels);
  if (settings_.floatSamples)
    synthesis_->run(spectrum, floats_.data() + at);
  else
    synthesis_->run(spectrum, shorts_.data() + at);
}

// The filter banks go on over the joint, so that repetition and silence fade into their neighbours.
void Decoder::repeatLast(Spectrum& spectrum) const {
  spectrum = repeats_ < kMaxRepeats ? spectra_[good_] : Spectrum{};
  for (int32_t& line : spectrum.lines) line /= 1 << repeats_;
  // Block types follow one another by rule, or windows meet that do not fit: long blocks follow long and stop
  // blocks; after a start block its long lines go on as a stop block first; short blocks go on as they are.
  for (int32_t& type : spectrum.blockType)
    if (type != 2) type = type == 1 && repeats_ == 1 ? 3 : 0;
}

// Some encoders count the header frame too.
int64_t Decoder::missingFrames(bool complete) const {
  if (gapless_.frames < 0) return 0;
  const int64_t fewer = gapless_.frames - partFrames_;
  return fewer == 1 && complete ? 0 : std::max<int64_t>(fewer, 0);
}

double Decoder::averageRate() const {
  return seconds_ > 0 ? static_cast<double>(audioBytes_) * 8 / 1000 / seconds_ : 0;
}

void Decoder::faults(const FrameCounts* counts, TextLines& lines) const {
  const auto add = [&](int64_t count, const char* noun, const char* what) {
    if (count > 0) lines.push_back({"", amount(count, noun) + what});
  };
  if (counts != nullptr) {
    add(counts->skipped, "byte", " that belong to no frame skipped");
    add(counts->lost, "frame", " missing where bytes were skipped");
    add(counts->doubtful, "frame", " with a damaged header");
  }
  if (crcBelievable()) add(crcWrong_, "frame", " with a wrong CRC");
  if (counts != nullptr && counts->ended) {
    add(missing_ + missingFrames(counts->truncated == 0), "frame", " fewer than the encoder counted");
    if (counts->truncated > 0)
      lines.push_back({"", "the last frame is incomplete: " + amount(counts->truncated, "byte")});
  }
  const auto damaged = [&](Fault fault, const char* what) {
    add(damage_[static_cast<size_t>(fault)], "frame", what);
  };
  damaged(Fault::sideInfo, " with damaged side information");
  damaged(Fault::missingData, " whose data begin in frames that are missing");
  damaged(Fault::mainData, " with damaged audio data");
  if (concealed_ > 0)
    lines.push_back({"", number(concealed_) + " of " + amount(frames_, "frame") + " concealed"});
}

String Decoder::bitRateText() const {
  char text[96];
  if (first_.bitRate == 0)
    std::snprintf(text, sizeof text, "free format, %.0f kbit/s", averageRate());
  else if (lowestRate_ == highestRate_)
    std::snprintf(text, sizeof text, "%d kbit/s constant", lowestRate_);
  else
    std::snprintf(text, sizeof text, "%d to %d kbit/s variable, %.1f on average", lowestRate_, highestRate_,
                  averageRate());
  return text;
}

void Decoder::describe(const String& duration, double, const FrameCounts*, TextLines& lines) const {
  static constexpr const char* kModes[] = {"stereo", "joint stereo", "dual channel", "mono"};
  static constexpr const char* kEmphasis[] = {"", "50/15 microseconds", "reserved", "CCITT J.17"};
  String mode = kModes[first_.fields.mode];
  if (usesMs_) mode += ", mid/side";
  if (usesIntensity_) mode += ", intensity";

  const auto add = [&](const char* name, const String& text) {
    if (!text.empty()) lines.push_back({name, text});
  };
  add("format", String(versionName(first_.version)) + " Layer III");
  add("sample rate", number(first_.rate) + " Hz");
  add("channels", number(first_.channels) + " (" + mode + ")");
  add("bit rate", bitRateText());
  add("duration", duration);
  add("frames", number(frames_) + " of " + number(first_.samples()) + " samples");
  if (crcRight_ + crcWrong_ > 0)
    add("CRC", crcBelievable() ? String("in ") + amount(crcRight_ + crcWrong_, "frame")
                               : "wrong in most frames, not believed");
  add("emphasis", kEmphasis[first_.fields.emphasis]);
  if (!vbrHeader_) return;
  add("header frame", vbrHeader_->kind);
  add("encoder", vbrHeader_->encoder);
  if (vbrHeader_->hasDelay)
    add("delay, padding", number(vbrHeader_->delay) + ", " + number(vbrHeader_->padding) + " samples");
  if (gapless_.frames >= 0 && gapless_.frames < partFrames_)
    add("note", "the encoder counted " + amount(gapless_.frames, "frame"));
}

}  // namespace moxc::mp3
