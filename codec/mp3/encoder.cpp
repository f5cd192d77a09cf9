// The MP3 encoder: from samples to frames.
#include "codec/mp3/encoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "codec/io/crc.h"
#include "codec/io/failure.h"
#include "moxac/tables.h"

namespace moxc::mp3 {
namespace {

constexpr std::span<const int32_t> kBitRates = std::span(moxMp3BitRates[1]).subspan(1);  // from index 1 on
constexpr int32_t kLargestIndex = 14;
constexpr auto& kRates = moxMp3SampleRates[1];  // by samplingFreq

// Both polyphase banks delay by 481 samples, the hybrid ones by a granule. Decoders take 529 of these on themselves.
constexpr int32_t kCodecDelay = 481 + 576, kDecoderDelay = 529;
constexpr int32_t kEncoderDelay = kCodecDelay - kDecoderDelay;
constexpr int32_t kFrame = 1152;

void check(moxStatus status) {
  if (status < 0) throw Failure("encoding failed with status " + std::to_string(status));
}

// A value between those of a table's rows.
float between(std::span<const float> table, float at) {
  const auto below = std::min(static_cast<size_t>(at), table.size() - 2);
  const float part = std::min(at - static_cast<float>(below), 1.0f);
  return table[below] * (1 - part) + table[below + 1] * part;
}

// By quality: kbit/s of two channels that sounds are expected to take, and how far noise may go above the thresholds,
// dB, when they do. So are sizes those that people know.
constexpr float kQualityRate[] = {220, 188, 163, 145, 128, 108, 94, 85, 74, 60, 50};
constexpr float kQualityDecibels[] = {-11, -7.8f, -5.2f, -3.2f, -1.2f, 1.2f, 2.8f, 3.9f, 4.8f, 6, 7.6f};
constexpr float kQualityLowpass[] = {20000, 19500, 19000, 18500, 18000, 17500,
                                     17000, 16500, 16000, 15500, 14500};

// Up to where the spectrum is coded, by kbit/s for each channel, and by quality.
int32_t lowpassOf(const EncoderSettings& settings) {
  if (settings.vbrQuality >= 0) return static_cast<int32_t>(between(kQualityLowpass, settings.vbrQuality));
  constexpr std::pair<int32_t, int32_t> kByRate[] = {{16, 5500},  {24, 8000},   {32, 11000},  {40, 13500},
                                                     {48, 16500}, {56, 16900},  {64, 17200},  {80, 17600},
                                                     {96, 18600}, {112, 19400}, {128, 19800}, {160, 20300}};
  const int32_t each = settings.bitRate / settings.channels();
  int32_t hertz = 20300;
  for (auto at = std::rbegin(kByRate); at != std::rend(kByRate) && each <= at->first; ++at)
    hertz = at->second;
  return hertz;
}

// Attempts of the quantiser at shaping noise, by effort.
constexpr int32_t kAttempts[10] = {40, 32, 26, 20, 16, 12, 8, 5, 3, 1};

class BigEndianWriter {
 public:
  explicit BigEndianWriter(uint8_t* p) : p_(p) {}
  void put(uint64_t value, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) *p_++ = static_cast<uint8_t>(value >> (8 * i));
  }
  void put(const char* text) {
    while (*text != 0) *p_++ = static_cast<uint8_t>(*text++);
  }
  uint8_t* position() const { return p_; }

 private:
  uint8_t* p_;
};

}  // namespace

std::span<const int32_t> mp3BitRates() { return kBitRates; }

Encoder::Encoder(const EncoderSettings& settings)
    : settings_(settings),
      channels_(settings.channels()),
      model_(std::make_unique<MoxMp3PsychoacousticModelTwoState>()),
      loudness_(settings.rate, settings.channels()) {
  const auto index = std::find(kBitRates.begin(), kBitRates.end(), settings.bitRate) - kBitRates.begin();
  const auto rate = std::find(std::begin(kRates), std::end(kRates), settings.rate) - kRates;
  const bool known = settings.vbrQuality >= 0 ? settings.vbrQuality < 10
                     : settings.average       ? settings.bitRate >= 32 && settings.bitRate <= 320
                                              : index < std::ssize(kBitRates);
  if (rate == std::ssize(kRates) || !known || settings.effort < 0 || settings.effort > 9 ||
      settings.highpass > 400)
    throw Failure("no such sampling rate, bit rate, quality, effort or high-pass");
  header_.id = header_.layer = header_.originalCopy = 1;
  header_.protectionBit = settings.checksums ? 0 : 1;
  header_.mode = static_cast<int32_t>(settings.mode);
  header_.samplingFreq = static_cast<int32_t>(rate);
  header_.bitRateIndex = settings.variable() ? kLargestIndex : static_cast<int32_t>(index) + 1;
  if (!settings.variable()) reservoir_.maxResBits = maxReservoir(header_.bitRateIndex);
  if (settings.vbrQuality >= 0) noiseLevel_ = between(kQualityDecibels, settings.vbrQuality);
  settings_.parameters.attempts = kAttempts[settings.effort];
  const int32_t lowpass = settings.lowpass == 0 ? lowpassOf(settings) : settings.lowpass;
  if (lowpass > 0) {
    subBands_ = std::clamp((64 * lowpass + settings.rate - 1) / settings.rate, 1, 32);
    lines_ = std::clamp((2 * kGranule * lowpass + settings.rate - 1) / settings.rate, 1, kGranule);
  }
  firstLine_ = std::max(0, 2 * kGranule * settings.highpass / settings.rate);
  for (int32_t ch = 0; ch < channels_; ++ch) check(moxsAnalysisFilterInit_PQMF_MP3_32f(bankOf(ch)));
}

MoxMp3AnalysisState* Encoder::bankOf(int32_t channel) {
  return reinterpret_cast<MoxMp3AnalysisState*>(channel_[static_cast<size_t>(channel)].bank.data());
}

int32_t Encoder::frameBytes(int32_t bitRateIndex, int32_t padding) const {
  return 144 * 1000 * kBitRates[static_cast<size_t>(bitRateIndex - 1)] / settings_.rate + padding;
}

int32_t Encoder::mainBits(int32_t bitRateIndex, int32_t padding) const {
  return 8 * (frameBytes(bitRateIndex, padding) - headBytes());
}

// The standard's input buffer leaves fast streams no reservoir; what decodes them today holds as much as
// main_data_begin can reach.
int32_t Encoder::maxReservoir(int32_t bitRateIndex) const {
  if (!settings_.strict) return 8 * 511;
  MoxMp3FrameHeader header = header_;
  header.bitRateIndex = bitRateIndex;
  MoxMp3BitReservoir reservoir;
  check(moxsBitReservoirInit_MP3(&reservoir, &header));
  return reservoir.maxResBits;
}

// At 44.1 kHz frames are not whole bytes long: some have one more, so that the mean is right.
int32_t Encoder::nextPadding() {
  if (settings_.variable()) return 0;
  paddingRest_ += 144 * 1000 * settings_.bitRate % settings_.rate;
  if (paddingRest_ < settings_.rate) return 0;
  paddingRest_ -= settings_.rate;
  return 1;
}

template <class Sample>
void Encoder::encodeScaled(std::span<const Sample> samples, float scale, std::vector<uint8_t>& out) {
  if (!started_) out.resize(out.size() + infoFrame().size());
  started_ = true;
  const size_t granule = size_t{kGranule} * static_cast<size_t>(channels_);
  samplesTaken_ += std::ssize(samples) / channels_;
  while (!samples.empty()) {
    const auto part = samples.first(std::min(granule - held_.size(), samples.size()));
    for (const Sample x : part) held_.push_back(static_cast<float>(x) * scale);
    samples = samples.subspan(part.size());
    if (held_.size() < granule) return;
    takeGranule(held_.data(), out);
    held_.clear();
  }
}

void Encoder::encode(std::span<const float> samples, std::vector<uint8_t>& out) {
  encodeScaled(samples, 1, out);
}
void Encoder::encode(std::span<const int16_t> samples, std::vector<uint8_t>& out) {
  encodeScaled(samples, 1.0f / 32768, out);
}
void Encoder::encode(std::span<const int32_t> samples, std::vector<uint8_t>& out) {
  encodeScaled(samples, 1.0f / 2147483648.0f, out);
}

void Encoder::finish(std::vector<uint8_t>& out) {
  const int64_t samples = samplesTaken_;
  loudness_.add(held_.data(), static_cast<int32_t>(std::ssize(held_) / channels_));
  // One granule of look-ahead; and never a single frame, which some decoders take for padding altogether.
  const int64_t granules = 2 * std::max<int64_t>(2, (samples + kCodecDelay + kFrame - 1) / kFrame) + 1;
  const auto missing = static_cast<size_t>((granules * kGranule - samples) * channels_);
  finishing_ = true;
  encode(std::vector<float>(missing), out);
  samplesTaken_ = samples;
  queue_.finish(out);
}

void Encoder::takeGranule(const float* samples, std::vector<uint8_t>& out) {
  if (!finishing_) loudness_.add(samples, kGranule);
  std::array<int16_t, 2 * kGranule> heard;
  std::transform(samples, samples + kGranule * channels_, heard.begin(), [](float x) {
    return static_cast<int16_t>(std::lrint(std::clamp(x * 32768.0f, -32768.0f, 32767.0f)));
  });
  Granule& granule = granules_[static_cast<size_t>((granulesTaken_ + 1) % 2)];
  check(moxsPsychoacousticModelTwo_MP3_16s(heard.data(), granule.psy.data(), &header_, &settings_.parameters,
                                           model_.get()));
  if (granulesTaken_ > 0) {
    transform(before_.data(), granule);
    if (granulesTaken_ % 2 == 0) encodeFrame(out);
  }
  std::copy_n(samples, kGranule * channels_, before_.begin());
  ++granulesTaken_;
}

void Encoder::transform(const float* samples, Granule& granule) {
  constexpr float kFullScale = 1 << MOX_MP3_FRAC_BITS;
  const float noise = std::pow(10.0f, noiseLevel_ / 10);
  for (int32_t ch = 0; ch < channels_; ++ch) {
    int32_t slots[18 * 32] = {};
    for (int32_t slot = 0; slot < 18; ++slot) {
      float band[32];
      for (int32_t i = 0; i < 32; ++i) band[i] = samples[(32 * slot + i) * channels_ + ch] * kFullScale;
      check(moxsAnalysisFilter_PQMF_MP3_32f(band, band, bankOf(ch)));
      for (int32_t i = 0; i < subBands_; ++i)  // 2^31 - 128 is the largest float that fits
        slots[32 * slot + i] =
            static_cast<int32_t>(std::lrint(std::clamp(band[i], -2147483648.0f, 2147483520.0f)));
    }
    auto& psy = granule.psy[static_cast<size_t>(ch)];
    int32_t* const lines = granule.lines.data() + ch * kGranule;
    check(moxsMDCTFwd_MP3_32s(slots, lines, channel_[static_cast<size_t>(ch)].overlap.data(), psy.blockType,
                              0, &header_));
    cutOff(lines, psy.blockType);
    for (float& t : psy.thresholdLong) t *= noise;
    for (auto& band : psy.thresholdShort)
      for (float& t : band) t *= noise;
  }
}

// Low-pass and high-pass, to a line in long blocks. In short ones, whose lowest band is three windows of four lines,
// the high-pass takes a third as many of each; above, the sub-bands do.
void Encoder::cutOff(int32_t* lines, int32_t blockType) const {
  if (blockType != 2) {
    std::fill(lines, lines + firstLine_, 0);
    std::fill(lines + lines_, lines + kGranule, 0);
  } else {
    for (int32_t window = 0; window < 3; ++window)
      std::fill_n(lines + 4 * window, std::min(4, firstLine_ / 3), 0);
  }
}

// The smallest frame that has room for the bits, with what reservoir its size allows.
void Encoder::chooseFrame(int32_t usedBits, int32_t& stuffing) {
  for (int32_t index = 1; index <= kLargestIndex; ++index) {
    const int32_t reservoir = std::min(reservoir_.resBits, maxReservoir(index));
    if (index < kLargestIndex && reservoir + mainBits(index, 0) < usedBits) continue;
    header_.bitRateIndex = index;
    stuffing = reservoir_.resBits - reservoir;
    reservoir_.resBits = reservoir;
    return;
  }
}

// Sounds of many partials want far more bits than their thresholds make good, short ones far fewer: what the last second
// took over what was expected raises the noise level, 6 dB for twice as much.
void Encoder::followQuality() {
  constexpr float kMemory = 1.0f / 32, kDecibels = 6, kMost = 12;
  const float mono = channels_ == 1 ? 0.58f : 1.0f;
  const float expected =
      144000 * mono * between(kQualityRate, settings_.vbrQuality) / static_cast<float>(settings_.rate);
  recent_ += kMemory * (static_cast<float>(frameBytes(header_.bitRateIndex, 0)) / expected - recent_);
  noiseLevel_ = between(kQualityDecibels, settings_.vbrQuality) +
                std::clamp(kDecibels * std::log2(std::max(recent_, 0.01f)), -kMost, kMost);
}

// The noise level that keeps the bit rate: a decibel for every mean frame that was taken too much.
void Encoder::followAverage() {
  const float mean =
      144.0f * 1000 * static_cast<float>(settings_.bitRate) / static_cast<float>(settings_.rate);
  overdraft_ += static_cast<float>(frameBytes(header_.bitRateIndex, 0)) / mean - 1;
  noiseLevel_ = std::clamp(overdraft_, -30.0f, 30.0f);
}

void Encoder::encodeFrame(std::vector<uint8_t>& out) {
  const int32_t count = 2 * channels_;
  std::array<int32_t, 4 * kGranule> lines;
  std::array<MoxMp3PsychoacousticModelTwoAnalysis, 4> psy;
  for (size_t g = 0; g < 2; ++g) {
    const size_t first = g * static_cast<size_t>(channels_);
    std::copy_n(granules_[g].lines.begin(), kGranule * channels_,
                lines.begin() + static_cast<int64_t>(first) * kGranule);
    std::copy_n(granules_[g].psy.begin(), channels_, psy.begin() + static_cast<int64_t>(first));
  }
  header_.modeExt = 0;
  if (settings_.mode == ChannelMode::joint)
    check(moxsJointStereoEncode_MP3_32s_I(lines.data(), psy.data(), &header_, &settings_.parameters));

  std::array<int8_t, 4 * 39> scaleFactors;
  std::array<int32_t, 8> scfsi;
  std::array<int32_t, 4> count1Len;
  std::array<MoxMp3SideInfo, 4> side{};
  const bool variable = settings_.variable();
  header_.paddingBit = nextPadding();
  const int32_t meanBits = mainBits(variable ? kLargestIndex : header_.bitRateIndex, header_.paddingBit);
  MoxMp3BitReservoir reservoir = variable ? MoxMp3BitReservoir{0, 0} : reservoir_;
  check(moxsQuantize_MP3_32s_I(lines.data(), scaleFactors.data(), scfsi.data(), count1Len.data(), side.data(),
                               &reservoir, meanBits, !variable, psy.data(), &header_, &settings_.parameters));

  int32_t usedBits = 0, before = 0;
  for (int32_t i = 0; i < count; ++i) usedBits += side[static_cast<size_t>(i)].part23Len;
  if (variable) chooseFrame(usedBits, before);
  if (settings_.vbrQuality >= 0)
    followQuality();
  else if (settings_.average)
    followAverage();
  const int32_t mainDataBegin = reservoir_.resBits / 8;
  const int32_t held = reservoir_.resBits + mainBits(header_.bitRateIndex, header_.paddingBit) - usedBits;
  reservoir_.resBits = std::min(held / 8 * 8, variable ? 8 * 511 : reservoir_.maxResBits);

  const std::vector<uint8_t> zeros(static_cast<size_t>(before) / 8);
  queue_.addMainData(zeros);
  writeFrame(scaleFactors.data(), scfsi.data(), count1Len.data(), side.data(), lines.data(),
             (held - reservoir_.resBits) / 8, mainDataBegin);
  queue_.takeFinished(out);
}

// `stuffing` bytes behind the main data bring the reservoir down to what it may hold.
void Encoder::writeFrame(const int8_t* scaleFactors, const int32_t* scfsi, const int32_t* count1Len,
                         const MoxMp3SideInfo* side, const int32_t* lines, int32_t stuffing,
                         int32_t mainDataBegin) {
  uint8_t start[6 + 32 + 1] = {};  // the writer touches the byte at which it comes to rest
  uint8_t* p = start;
  check(moxsPackFrameHeader_MP3(&header_, &p));
  check(moxsPackSideInfo_MP3(side, &p, mainDataBegin, 0, scfsi, &header_));
  if (settings_.checksums) storeCrc(start);
  queue_.addFrame({start, static_cast<size_t>(p - start)},
                  static_cast<size_t>(frameBytes(header_.bitRateIndex, header_.paddingBit)));

  std::array<uint8_t, 4 * 512 + 8> main{};
  uint8_t* at = main.data();
  int32_t bitOffset = 0;
  for (int32_t i = 0; i < 2 * channels_; ++i) {
    MoxMp3SideInfo record = side[i];
    const int32_t granule = i / channels_, channel = i % channels_;
    const uint8_t* const first = at;
    const int32_t firstOffset = bitOffset;
    check(moxsPackScaleFactors_MP3_8s1u(scaleFactors + 39 * i, &at, &bitOffset, &header_, &record,
                                        scfsi + 4 * channel, granule, channel));
    const auto part2 = static_cast<int32_t>(8 * (at - first)) + bitOffset - firstOffset;
    check(moxsHuffmanEncode_MP3_32s1u(lines + kGranule * i, &at, &bitOffset, &header_, &record, count1Len[i],
                                      record.part23Len - part2));
    if (8 * (at - first) + bitOffset - firstOffset != record.part23Len)
      throw Failure("encoding failed: a granule is not as long as its side information says");
  }
  queue_.addMainData({main.data(), static_cast<size_t>(at - main.data()) + (bitOffset > 0)});
  queue_.addMainData(std::vector<uint8_t>(static_cast<size_t>(stuffing)));
}

// Decibels, in tenths, that bring the recording to what players level to: 18 below full scale. Kind and origin of the
// figure stand in front: of a single recording, computed.
uint32_t Encoder::gainField() const {
  const double loudness = loudness_.decibels();
  if (loudness <= -70) return 0;
  const auto gain = static_cast<int32_t>(std::lrint(std::clamp(-18 - loudness, -51.0, 51.0) * 10));
  return 1u << 13 | 3u << 10 | (gain < 0 ? 1u << 9 : 0u) | static_cast<uint32_t>(std::abs(gain));
}

// Behind a header with room for it: over the header's last two bytes and the side information.
void Encoder::storeCrc(uint8_t* frame) const {
  MpegCrc crc;
  crc.add({frame + 2, 2});
  crc.add({frame + 6, static_cast<size_t>(sideInfoBytes())});
  BigEndianWriter(frame + 4).put(crc.value(), 2);
}

// A frame of silence whose main data are: marker, numbers of frames and bytes, seek table, quality, then who encoded
// it and with how many samples of delay and padding.
std::vector<uint8_t> Encoder::infoFrame() const {
  constexpr int32_t kTagBytes = 120 + 36;
  const bool variable = settings_.variable();
  MoxMp3FrameHeader header = header_;
  header.modeExt = header.paddingBit = 0;
  header.protectionBit = 1;  // readers look for the marker where it stands without a CRC word
  const auto room = [&](int32_t index) { return frameBytes(index, 0) >= headBytes() + kTagBytes; };
  if (variable) header.bitRateIndex = 1;
  while (!room(header.bitRateIndex)) ++header.bitRateIndex;

  std::vector<uint8_t> frame(static_cast<size_t>(frameBytes(header.bitRateIndex, 0)));
  uint8_t* start = frame.data();
  check(moxsPackFrameHeader_MP3(&header, &start));
  const std::vector<uint64_t>& offsets = queue_.offsets();
  const uint64_t bytes = frame.size() + queue_.bytes();

  // Quality and effort as two digits: 100 less ten times the one, less the other.
  const auto quality =
      static_cast<int32_t>(100 - 10 * std::max(0.0f, std::floor(settings_.vbrQuality))) - settings_.effort;
  BigEndianWriter writer(start + sideInfoBytes());
  writer.put(variable ? "Xing" : "Info");
  writer.put(15, 4);  // all four fields follow
  writer.put(offsets.size(), 4);
  writer.put(bytes, 4);
  for (size_t percent = 0; percent < 100; ++percent) {
    const uint64_t offset = offsets.empty() ? 0 : frame.size() + offsets[percent * offsets.size() / 100];
    writer.put(std::min<uint64_t>(255, 256 * offset / bytes), 1);
  }
  writer.put(static_cast<uint64_t>(quality), 4);

  const auto frames = static_cast<int64_t>(offsets.size());
  const int64_t padding = std::max<int64_t>(0, frames * kFrame - samplesTaken_ - kEncoderDelay);
  const int32_t lowpass = lines_ == kGranule ? 0 : lines_ * settings_.rate / (2 * kGranule);
  // Players look for the marker of the format's first writer before they believe delay and padding.
  writer.put("LAMEmoxac");
  writer.put(settings_.vbrQuality >= 0 ? 4
             : settings_.average       ? 2
                                       : 1,
             1);  // method: variable, average, constant
  writer.put(static_cast<uint64_t>(lowpass / 100), 1);
  writer.put(static_cast<uint64_t>(std::lrint(std::min(loudness_.peak(), 255.0f) * (1 << 23))), 4);
  writer.put(gainField(), 2);
  writer.put(0, 2);  // no gain for a whole album
  writer.put(0, 1);
  writer.put(static_cast<uint64_t>(settings_.vbrQuality >= 0 ? 32 : std::min(settings_.bitRate, 255)), 1);
  writer.put(static_cast<uint64_t>(kEncoderDelay) << 12 | static_cast<uint64_t>(padding), 3);
  const uint64_t source = settings_.rate == 32000 ? 0 : settings_.rate == 44100 ? 1 : 2;
  const uint64_t stereo = settings_.mode == ChannelMode::mono    ? 0
                          : settings_.mode == ChannelMode::joint ? 3
                                                                 : 1;
  writer.put(source << 6 | stereo << 2, 1);
  writer.put(0, 3);  // gain change; preset
  writer.put(bytes, 4);
  writer.put(queue_.crc(), 2);
  InfoCrc crc(0);
  crc.add({frame.data(), static_cast<size_t>(writer.position() - frame.data())});
  writer.put(crc.value(), 2);
  return frame;
}

}  // namespace moxc::mp3
