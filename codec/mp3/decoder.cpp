#include "codec/mp3/decoder.h"

#include <cstdio>
#include <map>

#include "codec/mp3/scanner.h"
#include "codec/mp3/spectrum.h"
#include "codec/mp3/survey.h"
#include "codec/mp3/synthesis.h"

namespace moxc::mp3 {
namespace {

// A decoder's own delay: 528 samples of the hybrid and polyphase banks, and one that encoders count from.
constexpr int64_t kDecoderDelay = 529;
// A damaged granule repeats the one before, each time 6 dB softer; after so many repetitions it is silent.
constexpr int32_t kMaxRepeats = 6;

class Decoder : public AudioDecoder {
 public:
  Decoder(const TaggedAudio& tagged, const DecodeOptions& options, Survey survey)
      : tagged_(tagged),
        options_(options),
        survey_(std::move(survey)),
        scanner_(tagged.audio),
        reader_(survey_.crcBelievable()),
        synthesis_(survey_.first.channels) {
    chooseTrim();
    if (survey_.vbrHeader) scanner_.next(frame_);  // holds no audio
    const int32_t values = survey_.first.samples() * survey_.first.channels;
    if (options_.floatSamples)
      floats_.resize(static_cast<size_t>(values));
    else
      shorts_.resize(static_cast<size_t>(values));
  }

  AudioFormat format() const override { return {survey_.first.rate, survey_.first.channels, 0}; }
  int64_t expectedSamples() const override { return lastSample_ - firstSample_; }
  double progress() const override {
    return static_cast<double>(scanner_.position()) / static_cast<double>(tagged_.audio.size());
  }

  bool decodeBlock(PcmView& block) override;
  DecodeStats stats() const override;
  std::vector<std::pair<std::string, std::string>> describe() const override;

 private:
  void chooseTrim();
  void decodeFrame();
  void concealFrame();
  void decodeGranule(int32_t granule, Fault fault);
  void conceal(Spectrum& spectrum) const;
  bool trim(PcmView& block);
  std::string duration() const;
  std::string bitRate() const;

  TaggedAudio tagged_;
  DecodeOptions options_;
  Survey survey_;
  Scanner scanner_;
  SpectrumReader reader_;
  Synthesis synthesis_;

  Frame frame_;
  int32_t lostFrames_ = 0;  // still to be made up for, before frame_
  bool framePending_ = false;
  // The granule being decoded and the last good one take turns.
  std::array<Spectrum, 2> spectra_;
  size_t good_ = 0;
  int32_t repeats_ = kMaxRepeats;  // there is nothing to repeat yet

  std::vector<int16_t> shorts_;
  std::vector<float> floats_;
  int64_t position_ = 0;                      // samples decoded so far, per channel
  int64_t firstSample_ = 0, lastSample_ = 0;  // what is delivered of them

  int64_t frames_ = 0, concealed_ = 0;
  std::map<Fault, int64_t> damage_;  // frames by what was wrong first
};

// Encoders tell how much they put in front and behind. The end is cut only when the stream is as long as the
// encoder said: of a cut file it is missing already.
void Decoder::chooseTrim() {
  lastSample_ = survey_.frames * survey_.first.samples();
  if (options_.raw || !survey_.vbrHeader || !survey_.vbrHeader->hasDelay) return;
  const VbrHeader& header = *survey_.vbrHeader;
  const int64_t front = header.delay + kDecoderDelay;
  const bool tooLong = header.frames && *header.frames < survey_.frames;
  const bool complete = !tooLong && survey_.missingFrames() == 0;
  const int64_t back = complete ? std::max<int64_t>(0, header.padding - kDecoderDelay) : 0;
  if (front + back > lastSample_) return;
  firstSample_ = front;
  lastSample_ -= back;
}

bool Decoder::decodeBlock(PcmView& block) {
  do {
    if (!framePending_) {
      if (!scanner_.next(frame_)) return false;
      framePending_ = true;
      lostFrames_ = frame_.lostBefore;
      if (frame_.afterGap) reader_.interrupt();
    }
    if (lostFrames_ > 0) {
      --lostFrames_;
      concealFrame();
    } else {
      framePending_ = false;
      decodeFrame();
    }
    ++frames_;
  } while (!trim(block));
  return true;
}

void Decoder::decodeFrame() {
  Fault fault = reader_.open(frame_);
  Fault firstFault = fault;
  for (int32_t granule = 0; granule < survey_.first.granules(); ++granule) {
    Spectrum& spectrum = spectra_[1 - good_];
    const Fault granuleFault = fault != Fault::none ? fault : reader_.read(granule, spectrum);
    if (firstFault == Fault::none) firstFault = granuleFault;
    decodeGranule(granule, granuleFault);
  }
  if (firstFault != Fault::none) {
    ++concealed_;
    ++damage_[firstFault];
  }
}

void Decoder::concealFrame() {
  ++concealed_;
  for (int32_t granule = 0; granule < survey_.first.granules(); ++granule)
    decodeGranule(granule, Fault::missingData);
}

void Decoder::decodeGranule(int32_t granule, Fault fault) {
  Spectrum& spectrum = spectra_[1 - good_];
  if (fault == Fault::none) {
    good_ = 1 - good_;
    repeats_ = 0;
  } else {
    repeats_ = std::min(repeats_ + 1, kMaxRepeats);
    conceal(spectrum);
  }
  const int32_t at = granule * kLines * survey_.first.channels;
  if (options_.floatSamples)
    synthesis_.run(spectrum, floats_.data() + at);
  else
    synthesis_.run(spectrum, shorts_.data() + at);
}

// The filter banks go on over the joint, so that repetition and silence fade into their neighbours.
void Decoder::conceal(Spectrum& spectrum) const {
  spectrum = repeats_ < kMaxRepeats ? spectra_[good_] : Spectrum{};
  for (int32_t& line : spectrum.lines) line /= 1 << repeats_;
  // Block types follow one another by rule, or windows meet that do not fit: long blocks follow long and stop
  // blocks; after a start block its long lines go on as a stop block first; short blocks go on as they are.
  for (int32_t& type : spectrum.blockType)
    if (type != 2) type = type == 1 && repeats_ == 1 ? 3 : 0;
}

// The part of the frame just decoded that lies between delay and padding; false when there is none.
bool Decoder::trim(PcmView& block) {
  const int64_t samples = survey_.first.samples();
  const int64_t from = std::clamp<int64_t>(firstSample_ - position_, 0, samples);
  const int64_t to = std::clamp<int64_t>(lastSample_ - position_, 0, samples);
  position_ += samples;
  if (from >= to) return false;
  block = PcmView{shorts_, floats_}.part(from, to, survey_.first.channels);
  return true;
}

DecodeStats Decoder::stats() const {
  DecodeStats stats;
  stats.frames = frames_;
  stats.concealed = concealed_;
  stats.skippedBytes = survey_.skippedBytes;
  stats.faults = survey_.faults();
  const auto report = [&](Fault fault, const char* what) {
    if (const auto it = damage_.find(fault); it != damage_.end())
      stats.faults.push_back(std::to_string(it->second) + (it->second == 1 ? " frame" : " frames") + what);
  };
  report(Fault::sideInfo, " with damaged side information");
  report(Fault::missingData, " whose data begin in frames that are missing");
  report(Fault::mainData, " with damaged audio data");
  if (concealed_ > 0)
    stats.faults.push_back(std::to_string(concealed_) + " of " + std::to_string(frames_) +
                           " frames concealed");
  return stats;
}

std::string Decoder::duration() const {
  const int64_t samples = lastSample_ - firstSample_;
  const double seconds = static_cast<double>(samples) / survey_.first.rate;
  const auto minutes = static_cast<long long>(seconds / 60);
  char text[96];
  std::snprintf(text, sizeof text, "%lld:%06.3f (%lld samples)", minutes,
                seconds - 60.0 * static_cast<double>(minutes), static_cast<long long>(samples));
  return text;
}

std::string Decoder::bitRate() const {
  char text[96];
  if (survey_.first.bitRate == 0)
    std::snprintf(text, sizeof text, "free format, %.0f kbit/s", survey_.averageRate());
  else if (survey_.lowestRate == survey_.highestRate)
    std::snprintf(text, sizeof text, "%d kbit/s constant", survey_.lowestRate);
  else
    std::snprintf(text, sizeof text, "%d to %d kbit/s variable, %.1f on average", survey_.lowestRate,
                  survey_.highestRate, survey_.averageRate());
  return text;
}

std::vector<std::pair<std::string, std::string>> Decoder::describe() const {
  const Header& first = survey_.first;
  static constexpr const char* kModes[] = {"stereo", "joint stereo", "dual channel", "mono"};
  static constexpr const char* kEmphasis[] = {"", "50/15 microseconds", "reserved", "CCITT J.17"};
  std::string mode = kModes[first.fields.mode];
  if (survey_.usesMs) mode += ", mid/side";
  if (survey_.usesIntensity) mode += ", intensity";

  std::vector<std::pair<std::string, std::string>> lines = {
      {"format", std::string(versionName(first.version)) + " Layer III"},
      {"sample rate", std::to_string(first.rate) + " Hz"},
      {"channels", std::to_string(first.channels) + " (" + mode + ")"},
      {"bit rate", bitRate()},
      {"duration", duration()},
      {"frames", std::to_string(survey_.frames) + " of " + std::to_string(first.samples()) + " samples"},
  };
  const auto add = [&](const char* key, const std::string& value) {
    if (!value.empty()) lines.emplace_back(key, value);
  };
  if (survey_.crcFrames > 0)
    add("CRC", survey_.crcBelievable() ? "in " + std::to_string(survey_.crcFrames) + " frames"
                                       : "wrong in most frames, not believed");
  add("emphasis", kEmphasis[first.fields.emphasis]);
  if (survey_.vbrHeader) {
    const VbrHeader& header = *survey_.vbrHeader;
    add("header frame", header.kind);
    add("encoder", header.encoder);
    if (header.hasDelay)
      add("delay, padding",
          std::to_string(header.delay) + ", " + std::to_string(header.padding) + " samples");
    if (header.frames && *header.frames < survey_.frames)
      add("note", "the encoder counted " + std::to_string(*header.frames) + " frames");
  }
  if (survey_.bytesBefore > 0)
    add("note", std::to_string(survey_.bytesBefore) + " bytes before the first frame");
  for (const std::string& kind : tagged_.kinds) add("tag", kind);
  for (const auto& [field, value] : tagged_.fields) add(field.c_str(), value);
  return lines;
}

}  // namespace

std::unique_ptr<AudioDecoder> openDecoder(const TaggedAudio& tagged, const DecodeOptions& options) {
  std::optional<Survey> survey = takeSurvey(tagged.audio);
  if (!survey || survey->frames == 0) return nullptr;
  return std::make_unique<Decoder>(tagged, options, std::move(*survey));
}

}  // namespace moxc::mp3
