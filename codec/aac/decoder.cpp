#include "codec/aac/decoder.h"

#include <algorithm>
#include <cstdio>

#include "codec/aac/stream.h"
#include "codec/aac/survey.h"
#include "codec/aac/tools.h"
#include "codec/sbr/decoder.h"
#include "moxac/util.h"

namespace moxc::aac {
namespace {

// A damaged block repeats the one before, each time 6 dB softer; after so many repetitions it is silent.
constexpr int32_t kMaxRepeats = 6;
constexpr int32_t kAotLtp = 4;

class Decoder final : public AudioDecoder {
 public:
  Decoder(const TaggedAudio& tagged, const DecodeOptions& options, std::unique_ptr<Stream> stream)
      : tagged_(tagged),
        options_(options),
        stream_(std::move(stream)),
        layout_(stream_->layout()),
        replication_(findReplication(*stream_)),
        format_(formatOf(stream_->config(), layout_, replication_)),
        blockSamples_(replication_.bands ? 2 * kAacSamples : kAacSamples),
        tools_(stream_->config(), layout_.channels),
        synthesis_(layout_.channels, options.floatSamples || replication_.bands,
                   stream_->config().objectType == kAotLtp) {
    for (auto& spectra : spectra_) spectra.resize(static_cast<size_t>(layout_.channels));
    lastSample_ = stream_->expectedBlocks() * blockSamples_;
    const int64_t delay = stream_->delay(format_.rate), padding = stream_->padding(format_.rate);
    if (!options.raw && delay + padding <= lastSample_) {
      firstSample_ = delay;
      padding_ = padding;
      lastSample_ -= padding_;
    }
    const auto values = static_cast<size_t>(blockSamples_ * format_.channels);
    if (options.floatSamples)
      floats_.resize(values);
    else
      shorts_.resize(values);
    if (replication_.bands) {
      for (const Layout::Element& element : layout_.elements)
        elements_.emplace_back(element.id == ElementId::cpe ? 2 : 1, format_.rate, replication_.stereo);
      payloads_.resize(elements_.size());
      core_.resize(static_cast<size_t>(layout_.channels));
      full_.resize(static_cast<size_t>(format_.channels));
    }
  }

  AudioFormat format() const override { return format_; }
  int64_t expectedSamples() const override { return lastSample_ - firstSample_; }
  double progress() const override { return stream_->progress(); }

  bool decodeBlock(PcmView& block) override;
  DecodeStats stats() const override;
  std::vector<std::pair<std::string, std::string>> describe() const override;

 private:
  static AudioFormat formatOf(const Config& config, const Layout& layout, const Replication& replication) {
    return {kRates[config.rateIndex] * (replication.bands ? 2 : 1),
            layout.channels + (replication.stereo ? 1 : 0), layout.channels > 2 ? layout.mask : 0};
  }

  std::vector<Spectrum>& current() { return spectra_[1 - good_]; }
  void decodeNext(Event event);
  bool trim(PcmView& block);
  bool decodeElements();
  void conceal();
  void readReplication();
  void synthesise(const std::vector<Spectrum>& spectra);
  void synthesiseReplicated(const std::vector<Spectrum>& spectra);

  TaggedAudio tagged_;
  DecodeOptions options_;
  std::unique_ptr<Stream> stream_;
  Layout layout_;
  Replication replication_;
  AudioFormat format_;
  int64_t blockSamples_;  // that a block brings
  Block block_;
  Tools tools_;
  Synthesis synthesis_;

  // The block being decoded and the last good one take turns.
  std::array<std::vector<Spectrum>, 2> spectra_;
  size_t good_ = 0;
  int32_t repeats_ = kMaxRepeats;  // there is nothing to repeat yet

  // Of HE-AAC: the elements of the layout, what the block at hand holds for each, and channels on the 16-bit scale.
  std::vector<sbr::Element> elements_;
  std::vector<Bytes> payloads_;
  std::vector<std::array<float, sbr::kMaxCoreSamples>> core_;
  std::vector<std::array<float, sbr::kMaxSamples>> full_;

  std::vector<int16_t> shorts_;
  std::vector<float> floats_;
  int64_t firstSample_ = 0, lastSample_ = 0, padding_ = 0;  // what is delivered
  int64_t blocks_ = 0, concealed_ = 0, damaged_ = 0, coupling_ = 0;
  int64_t replicated_ = 0, damagedBands_ = 0;
};

bool Decoder::decodeBlock(PcmView& block) {
  do {
    const Event event = stream_->next(block_);
    if (event == Event::end) return false;
    decodeNext(event);
  } while (!trim(block));
  return true;
}

void Decoder::decodeNext(Event event) {
  ++blocks_;
  if (event == Event::block && decodeElements()) {
    good_ = 1 - good_;
    repeats_ = 0;
    readReplication();
    synthesise(spectra_[good_]);
  } else {
    damaged_ += event != Event::lost;
    for (sbr::Element& element : elements_) element.hold();
    conceal();
  }
}

// The part of the block just decoded that lies between delay and padding; false when there is none. Without padding
// the end is where the blocks end, whatever was expected.
bool Decoder::trim(PcmView& block) {
  const int64_t position = (blocks_ - 1) * blockSamples_;
  const int64_t from = std::clamp<int64_t>(firstSample_ - position, 0, blockSamples_);
  const int64_t to =
      padding_ == 0 ? blockSamples_ : std::clamp<int64_t>(lastSample_ - position, 0, blockSamples_);
  if (from >= to) return false;
  block = PcmView{shorts_, floats_}.part(from, to, format_.channels);
  return true;
}

// The block must hold exactly the elements of the layout, in its order where no tags tell them apart.
bool Decoder::decodeElements() {
  coupling_ += block_.hasCoupling;
  replicated_ += block_.hasSbr;
  if (block_.elements != layout_.elements.size()) return false;
  uint32_t done = 0;
  for (size_t i = 0; i < block_.elements; ++i) {
    Element& element = *block_.storage[i];
    size_t place = 0;
    while (place < layout_.elements.size() &&
           ((done >> place & 1u) != 0 || layout_.elements[place].id != element.id ||
            (layout_.elements[place].tag >= 0 && layout_.elements[place].tag != element.tag)))
      ++place;
    if (place == layout_.elements.size()) return false;
    done |= 1u << place;
    if (replication_.bands) payloads_[place] = element.sbr();
    if (!tools_.run(element, layout_.elements[place].output, synthesis_, current())) return false;
  }
  return true;
}

// The filter banks go on over the joint, so that repetition and silence fade into their neighbours.
void Decoder::conceal() {
  ++concealed_;
  repeats_ = std::min(repeats_ + 1, kMaxRepeats);
  std::vector<Spectrum>& spectra = current();
  for (size_t ch = 0; ch < spectra.size(); ++ch) {
    const Spectrum& good = spectra_[good_][ch];
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

void Decoder::readReplication() {
  bool good = true;
  for (size_t place = 0; place < elements_.size(); ++place)
    good = elements_[place].read(payloads_[place]) && good;
  damagedBands_ += !good;
}

void Decoder::synthesiseReplicated(const std::vector<Spectrum>& spectra) {
  for (size_t ch = 0; ch < core_.size(); ++ch) {
    synthesis_.run(ch, spectra[ch], core_[ch].data(), 1);
    for (float& sample : core_[ch]) sample *= 32768;
  }
  for (size_t place = 0; place < elements_.size(); ++place) {
    const Layout::Element& element = layout_.elements[place];
    const auto first = static_cast<size_t>(element.output[0]),
               second = static_cast<size_t>(element.output[1]);
    elements_[place].run({core_[first].data(), core_[second].data()},
                         {full_[first].data(), full_[replication_.stereo ? 1 : second].data()});
  }

  std::array<const float*, 8> channels{};
  for (size_t ch = 0; ch < full_.size(); ++ch) channels[ch] = full_[ch].data();
  if (!options_.floatSamples) {
    moxsJoin_32f16s_D2L(channels.data(), format_.channels, sbr::kMaxSamples, shorts_.data());
    return;
  }
  moxsInterleave_32f(channels.data(), format_.channels, sbr::kMaxSamples, floats_.data());
  for (float& sample : floats_) sample /= 32768;
}

void Decoder::synthesise(const std::vector<Spectrum>& spectra) {
  if (replication_.bands) {
    synthesiseReplicated(spectra);
    return;
  }
  for (size_t ch = 0; ch < spectra.size(); ++ch)
    if (options_.floatSamples)
      synthesis_.run(ch, spectra[ch], floats_.data() + ch, layout_.channels);
    else
      synthesis_.run(ch, spectra[ch], shorts_.data() + ch, layout_.channels);
}

DecodeStats Decoder::stats() const {
  DecodeStats stats;
  stats.frames = blocks_;
  stats.concealed = concealed_;
  stats.skippedBytes = stream_->skippedBytes();
  stats.faults = stream_->faults();
  const auto counted = [](int64_t count) {
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
  };
  if (damaged_ > 0) stats.faults.push_back(counted(damaged_) + " with damaged audio data");
  if (concealed_ > 0)
    stats.faults.push_back(std::to_string(concealed_) + " of " + counted(blocks_) + " concealed");
  if (damagedBands_ > 0) stats.faults.push_back(counted(damagedBands_) + " with damaged high-band data");
  if (replicated_ > 0 && !replication_.bands)
    stats.notices.push_back("spectral band replication in " + counted(replicated_) + " is left out");
  if (coupling_ > 0) stats.notices.push_back("coupling channels in " + counted(coupling_) + " are left out");
  return stats;
}

std::vector<std::pair<std::string, std::string>> Decoder::describe() const {
  const std::unique_ptr<Stream> stream = Stream::open(tagged_.audio);
  const Survey survey = takeSurvey(*stream);
  const Config& config = stream->config();
  const int32_t rate = format_.rate;
  const int64_t samples = survey.blocks * blockSamples_ - firstSample_ - padding_;
  const double seconds = static_cast<double>(samples) / rate;
  const auto minutes = static_cast<long long>(seconds / 60);
  static constexpr const char* kObjectTypes[] = {"", "Main", "LC", "SSR", "LTP"};
  char duration[96], bitRate[64];
  std::snprintf(duration, sizeof duration, "%lld:%06.3f (%lld samples)", minutes,
                seconds - 60.0 * static_cast<double>(minutes), static_cast<long long>(samples));
  std::snprintf(bitRate, sizeof bitRate, "%.1f kbit/s on average",
                seconds > 0 ? static_cast<double>(stream->audioBytes()) * 8 / 1000 / seconds : 0.0);

  const std::string coder = std::string("AAC ") + kObjectTypes[config.objectType];
  const std::string kind = replication_.stereo  ? "HE-AAC v2 (" + coder + ", SBR, parametric stereo)"
                           : replication_.bands ? "HE-AAC (" + coder + ", SBR)"
                                                : coder;
  const std::string coreRate =
      replication_.bands ? ", of the core " + std::to_string(kRates[config.rateIndex]) + " Hz" : "";
  const std::string channels = replication_.stereo ? "2 (L R), of one coded"
                               : layout_.channels == 1
                                   ? "1 (mono)"
                                   : std::to_string(layout_.channels) + " (" + layout_.speakers() + ")";
  std::vector<std::pair<std::string, std::string>> lines = {
      {"format", kind + " in " + stream->container()},
      {"sample rate", std::to_string(rate) + " Hz" + coreRate},
      {"channels", channels},
      {"bit rate", bitRate},
      {"duration", duration},
      {"frames", std::to_string(survey.blocks) + " of " + std::to_string(blockSamples_) + " samples"},
  };
  if (const std::string tools = survey.tools(); !tools.empty()) lines.emplace_back("tools", tools);
  if (survey.sbrBlocks > 0)
    lines.emplace_back("SBR", "in " + std::to_string(survey.sbrBlocks) + " frames" +
                                  (replication_.bands ? "" : ", left out"));
  if (survey.couplingBlocks > 0)
    lines.emplace_back(
        "note", "coupling channels in " + std::to_string(survey.couplingBlocks) + " frames are left out");
  if (survey.damaged > 0)
    lines.emplace_back("note", std::to_string(survey.damaged) + " frames cannot be parsed");
  if (const int64_t delay = stream->delay(rate), padding = stream->padding(rate); delay + padding > 0)
    lines.emplace_back("delay, padding", std::to_string(delay) + ", " + std::to_string(padding) + " samples");
  for (const std::string& note : stream->notes()) lines.emplace_back("note", note);
  for (const std::string& tag : tagged_.kinds) lines.emplace_back("tag", tag);
  for (const auto& [field, value] : tagged_.fields) lines.emplace_back(field, value);
  return lines;
}

}  // namespace

std::unique_ptr<AudioDecoder> openDecoder(const TaggedAudio& tagged, const DecodeOptions& options) {
  std::unique_ptr<Stream> stream = Stream::open(tagged.audio);
  if (stream == nullptr) return nullptr;
  return std::make_unique<Decoder>(tagged, options, std::move(stream));
}

}  // namespace moxc::aac
