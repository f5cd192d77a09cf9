// One element: sub-bands of the core, high band, synthesis.
#include "codec/sbr/decoder.h"

#include <algorithm>

#include "codec/ps/decoder.h"
#include "codec/sbr/tables.h"
#include "moxac/tables.h"

namespace moxc::sbr {
namespace {

constexpr int32_t kMaxHeld = 6;

// The prototype as the banks take it: every kStep-th value, a float.
template <size_t kStep>
constexpr std::array<float, 640 / kStep> kWindow = [] {
  std::array<float, 640 / kStep> window{};
  for (size_t i = 0; i < window.size(); ++i) window[i] = static_cast<float>(moxSbrQmfPrototype[kStep * i]);
  return window;
}();

// A filter bank's context in memory of its own.
template <class Spec>
class Bank {
 public:
  template <class GetSize, class Init>
  Bank(GetSize getSize, Init init) {
    int32_t specBytes = 0, initBytes = 0, workBytes = 0;
    getSize(&specBytes, &initBytes, &workBytes);
    memory_.resize(static_cast<size_t>(specBytes));
    work_.resize(static_cast<size_t>(std::max({initBytes, workBytes, 1})));
    init(&spec_, memory_.data(), work_.data());
  }
  Spec* spec() { return spec_; }
  uint8_t* work() { return work_.data(); }

 private:
  std::vector<uint8_t> memory_, work_;
  Spec* spec_ = nullptr;
};

// The way back from slots to samples: 64 of a slot, or 32 of the lower half of the bands.
class SynthesisBank {
 public:
  explicit SynthesisBank(bool downSampled)
      : downSampled_(downSampled),
        bank_(downSampled ? moxsSynthesisDownFilterGetSize_SBR_CToR_32fc32f
                          : moxsSynthesisFilterGetSize_SBR_CToR_32fc32f,
              downSampled ? moxsSynthesisDownFilterInit_SBR_CToR_32fc32f
                          : moxsSynthesisFilterInit_SBR_CToR_32fc32f) {}

  void run(const HighRow* rows, int32_t slots, float* samples) {
    Array<const Mox32fc*, kMaxSlots> pointers;
    for (int32_t i = 0; i < slots; ++i) pointers[i] = rows[i];
    if (downSampled_)
      moxsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(pointers.data(), samples, kWindow<2>.data(), slots,
                                                   bank_.spec(), bank_.work());
    else
      moxsSynthesisFilter_SBR_CToR_32fc32f_D2L(pointers.data(), samples, kWindow<1>.data(), slots,
                                               bank_.spec(), bank_.work());
  }

 private:
  bool downSampled_;
  Bank<MoxQmfSynthesisSpec> bank_;
};

}  // namespace

// The sub-bands of a channel. The output is what lies six slots back in the low band, and the high band beside it.
struct Element::Channel {
  explicit Channel(bool downSampled) : synthesis(downSampled) {}

  Bank<MoxQmfAnalysisSpec> analysis{moxsAnalysisFilterGetSize_SBR_RToC_32f32fc,
                                    moxsAnalysisFilterInit_SBR_RToC_32f32fc};
  SynthesisBank synthesis;
  Generator generator;
  Adjuster adjuster;
  LowRow low[kLowRows]{};
  HighRow high[kHighRows]{};
  HighRow output[kMaxSlots]{};
  // Of the frame before: where its bands lay, and how many slots of its high band reach into this frame.
  int32_t oldBegin = 32, oldEnd = 32, oldSlots = 0;

  void analyse(const float* core, int32_t slots, int32_t bands);
  // The output of slots `from` to `to` - 1 from the low band and that many rows of the high band, its sub-bands
  // [begin, end).
  void assemble(int32_t from, int32_t to, const HighRow* highRows, int32_t begin, int32_t end);
};

// The second channel that parametric stereo makes.
struct Element::Stereo {
  Stereo(int32_t slots, bool downSampled) : tool(slots), synthesis(downSampled) {}

  ps::ParametricStereo tool;
  SynthesisBank synthesis;
  HighRow output[kMaxSlots]{};
};

// The low band, of which only sub-bands below the crossover count.
void Element::Channel::analyse(const float* core, int32_t slots, int32_t bands) {
  for (int32_t i = 0; i < kHistory; ++i) std::copy_n(low[slots + i], 32, low[i]);
  Array<Mox32fc*, kLowRows> rows;
  for (size_t i = 0; i < rows.size(); ++i) rows[i] = low[i];
  moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(core, rows.data(), kWindow<2>.data(), slots, kHistory, bands,
                                          analysis.spec(), analysis.work());
}

void Element::Channel::assemble(int32_t from, int32_t to, const HighRow* highRows, int32_t begin,
                                int32_t end) {
  for (int32_t slot = from; slot < to; ++slot, ++highRows) {
    Mox32fc* const row = output[slot];
    std::copy_n(low[slot + kAhead], begin, row);
    std::copy(*highRows + begin, *highRows + end, row + begin);
    std::fill(row + end, row + 64, Mox32fc{0, 0});
  }
}

Element::Element(int32_t channels, int32_t fullRate, bool stereo, int32_t coreSamples, bool downSampled)
    : parser_(fullRate, coreSamples / 64),
      slots_(coreSamples / 32),
      downSampled_(downSampled),
      stereo_(stereo ? std::make_unique<Stereo>(slots_, downSampled) : nullptr) {
  for (int32_t ch = 0; ch < channels; ++ch) channels_.push_back(std::make_unique<Channel>(downSampled));
}
Element::~Element() = default;
Element::Element(Element&&) noexcept = default;

bool Element::read(Bytes payload) {
  const Read found = payload.empty() ? Read::noHeader : parser_.read(payload, channels_.size() == 2, next_);
  if (found == Read::damaged) {
    hold();
    return false;
  }
  if (found == Read::good) {
    frame_ = next_;
    frame_.reset |= !active_;
  }
  active_ = found == Read::good;
  held_ = 0;
  return !active_ || !stereo_ || !frame_.stereo || stereo_->tool.read(*frame_.stereo);
}

bool Element::makeStereo() {
  stereo_ = std::make_unique<Stereo>(slots_, downSampled_);
  return !hasStereoData() || stereo_->tool.read(*frame_.stereo);
}

// The last envelope and noise floor for all of the frame.
void Element::hold() {
  if (!active_) return;
  active_ = ++held_ <= kMaxHeld;
  frame_.reset = false;
  for (ChannelFrame& channel : frame_.channel) {
    const Grid last = channel.grid;
    const int32_t envelope = last.envelopes - 1;
    channel.envelope[0] = channel.envelope[envelope];
    channel.noise[0] = channel.noise[last.noiseFloors - 1];
    channel.grid = {};
    channel.grid.border = {last.end() - slots_ / 2, slots_ / 2};
    channel.grid.noiseBorder = {channel.grid.border[0], slots_ / 2};
    channel.grid.highRes[0] = last.highRes[envelope];
    channel.grid.coarse = last.coarse;
  }
}

void Element::run(const Array<const float*, 2>& core, const Array<float*, 2>& samples) {
  const Bands& bands = parser_.bands();
  const int32_t begin = active_ ? bands.begin() : 32, end = active_ ? bands.high.end() : 32;
  Array<Levels, 2> levels;
  if (active_) dequantise(frame_, bands, static_cast<int32_t>(channels_.size()), held_, levels.data());

  for (size_t ch = 0; ch < channels_.size(); ++ch) {
    Channel& channel = *channels_[ch];
    channel.analyse(core[ch], slots_, begin);
    channel.assemble(0, channel.oldSlots, channel.high + slots_, channel.oldBegin, channel.oldEnd);
    if (active_) {
      const ChannelFrame& frame = frame_.channel[ch];
      for (int32_t slot = 0; slot < 2 * frame.grid.border[0]; ++slot)
        std::fill_n(channel.high[slot], 64, Mox32fc{0, 0});
      channel.generator.run(bands, frame, slots_, channel.low, channel.high);
      channel.adjuster.run(parser_.header(), bands, frame, levels[ch], frame_.reset, channel.high);
    }
    channel.assemble(channel.oldSlots, slots_, channel.high + channel.oldSlots, begin, end);
    channel.oldBegin = begin;
    channel.oldEnd = end;
    channel.oldSlots = active_ ? 2 * frame_.channel[ch].grid.end() - slots_ : 0;
    if (stereo_) {
      Array<const Mox32fc*, ps::ParametricStereo::kSlotsAhead> ahead;  // which the low band has already
      for (int32_t i = 0; i < ps::ParametricStereo::kSlotsAhead; ++i)
        ahead[i] = channel.low[slots_ + kAhead + i];
      stereo_->tool.process(channel.output, stereo_->output, ahead.data());
      stereo_->synthesis.run(stereo_->output, slots_, samples[1]);
    }
    channel.synthesis.run(channel.output, slots_, samples[ch]);
  }
}

}  // namespace moxc::sbr
