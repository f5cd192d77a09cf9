// The MP3 encoder: from samples to frames.
#include "codec/mp3/encoder.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "codec/io/failure.h"

namespace moxc::mp3 {
namespace {

constexpr int32_t kBitRates[] = {32,  40,  48,  56,  64,  80,  96,
                                 112, 128, 160, 192, 224, 256, 320};  // from index 1 on
constexpr int32_t kLargestIndex = 14;
constexpr int32_t kRates[] = {44100, 48000, 32000};  // by samplingFreq

// Both polyphase banks delay by 481 samples, the hybrid ones by a granule. Decoders take 529 of these on themselves.
constexpr int32_t kCodecDelay = 481 + 576, kDecoderDelay = 529;
constexpr int32_t kEncoderDelay = kCodecDelay - kDecoderDelay;
constexpr int32_t kFrame = 1152;

void check(moxStatus status) {
  if (status < 0) throw Failure("encoding failed with status " + std::to_string(status));
}

// Up to where the spectrum is coded, by kbit/s for each channel, and by quality.
int32_t lowpassOf(const EncoderSettings& settings) {
  constexpr int32_t kByQuality[10] = {20500, 20000, 19500, 18800, 18200, 17600, 17000, 16000, 14500, 12500};
  if (settings.vbrQuality >= 0) return kByQuality[settings.vbrQuality];
  constexpr std::pair<int32_t, int32_t> kByRate[] = {{16, 5500},  {24, 8000},   {32, 11000},  {40, 13500},
                                                     {48, 15200}, {56, 15800},  {64, 16500},  {80, 17600},
                                                     {96, 18600}, {112, 19400}, {128, 19800}, {160, 20300}};
  const int32_t each = settings.bitRate / settings.channels();
  int32_t hertz = 20300;
  for (auto at = std::rbegin(kByRate); at != std::rend(kByRate) && each <= at->first; ++at)
    hertz = at->second;
  return hertz;
}

// How far noise may go above the thresholds, dB, by quality.
constexpr float kQualityDecibels[10] = {-9, -7, -5, -3, -1, 1, 3, 5, 7, 9};

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
      model_(std::make_unique<MoxMp3PsychoacousticModelTwoState>()) {
  const bool variable = settings.vbrQuality >= 0;
  const auto index = std::find(std::begin(kBitRates), std::end(kBitRates), settings.bitRate) - kBitRates;
  const auto rate = std::find(std::begin(kRates), std::end(kRates), settings.rate) - kRates;
  if (rate == std::ssize(kRates) || (!variable && index == std::ssize(kBitRates)) || settings.vbrQuality > 9)
    throw Failure("no such sampling rate, bit rate or quality");
  header_.id = header_.layer = header_.protectionBit = header_.originalCopy = 1;
  header_.mode = static_cast<int32_t>(settings.mode);
  header_.samplingFreq = static_cast<int32_t>(rate);
  header_.bitRateIndex = variable ? kLargestIndex : static_cast<int32_t>(index) + 1;
  if (!variable) check(moxsBitReservoirInit_MP3(&reservoir_, &header_));
  if (variable) thresholdScale_ = std::pow(10.0f, kQualityDecibels[settings.vbrQuality] / 10);
  const int32_t lowpass = settings.lowpass == 0 ? lowpassOf(settings) : settings.lowpass;
  if (lowpass > 0) subBands_ = std::clamp((64 * lowpass + settings.rate - 1) / settings.rate, 1, 32);
}

int32_t Encoder::frameBytes(int32_t bitRateIndex, int32_t padding) const {
  return 144 * 1000 * kBitRates[bitRateIndex - 1] / settings_.rate + padding;
}

int32_t Encoder::mainBits(int32_t bitRateIndex, int32_t padding) const {
  return 8 * (frameBytes(bitRateIndex, padding) - 4 - sideInfoBytes());
}

int32_t Encoder::maxReservoir(int32_t bitRateIndex) const {
  MoxMp3FrameHeader header = header_;
  header.bitRateIndex = bitRateIndex;
  MoxMp3BitReservoir reservoir;
  check(moxsBitReservoirInit_MP3(&reservoir, &header));
  return reservoir.maxResBits;
}

// At 44.1 kHz frames are not whole bytes long: some have one more, so that the mean is right.
int32_t Encoder::nextPadding() {
  if (settings_.vbrQuality >= 0) return 0;
  paddingRest_ += 144 * 1000 * settings_.bitRate % settings_.rate;
  if (paddingRest_ < settings_.rate) return 0;
  paddingRest_ -= settings_.rate;
  return 1;
}

void Encoder::encode(std::span<const int16_t> samples, std::vector<uint8_t>& out) {
  if (!started_) out.resize(out.size() + infoFrame().size());
  started_ = true;
  const size_t granule = size_t{kGranule} * static_cast<size_t>(channels_);
  samplesTaken_ += std::ssize(samples) / channels_;
  if (!held_.empty()) {
    const size_t missing = std::min(granule - held_.size(), samples.size());
    held_.insert(held_.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(missing));
    samples = samples.subspan(missing);
    if (held_.size() < granule) return;
    takeGranule(held_.data(), out);
    held_.clear();
  }
  for (; samples.size() >= granule; samples = samples.subspan(granule)) takeGranule(samples.data(), out);
  held_.assign(samples.begin(), samples.end());
}

void Encoder::finish(std::vector<uint8_t>& out) {
  const int64_t samples = samplesTaken_;
  const int64_t granules = 2 * ((samples + kCodecDelay + kFrame - 1) / kFrame) + 1;  // one of look-ahead
  const auto missing = static_cast<size_t>((granules * kGranule - samples) * channels_);
  encode(std::vector<int16_t>(missing), out);
  samplesTaken_ = samples;
  queue_.finish(out);
}

void Encoder::takeGranule(const int16_t* samples, std::vector<uint8_t>& out) {
  Granule& granule = granules_[static_cast<size_t>((granulesTaken_ + 1) % 2)];
  check(moxsPsychoacousticModelTwo_MP3_16s(samples, granule.psy.data(), &header_, model_.get()));
  if (granulesTaken_ > 0) {
    transform(before_.data(), granule);
    if (granulesTaken_ % 2 == 0) encodeFrame(out);
  }
  std::copy_n(samples, kGranule * channels_, before_.begin());
  ++granulesTaken_;
}

void Encoder::transform(const int16_t* samples, Granule& granule) {
  for (int32_t ch = 0; ch < channels_; ++ch) {
    Channel& channel = channel_[static_cast<size_t>(ch)];
    int32_t slots[18 * 32];
    for (int32_t slot = 0; slot < 18; ++slot) {
      check(moxsAnalysisPQMF_MP3_16s32s(samples + 32 * slot * channels_ + ch, slots + 32 * slot,
                                        channel.history.data(), &channel.position, channels_));
      std::fill(slots + 32 * slot + subBands_, slots + 32 * slot + 32, 0);
    }
    auto& psy = granule.psy[static_cast<size_t>(ch)];
    check(moxsMDCTFwd_MP3_32s(slots, granule.lines.data() + ch * kGranule, channel.overlap.data(),
                              psy.blockType, 0, &header_));
    if (thresholdScale_ == 1) continue;
    for (float& t : psy.thresholdLong) t *= thresholdScale_;
    for (auto& band : psy.thresholdShort)
      for (float& t : band) t *= thresholdScale_;
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
    check(moxsJointStereoEncode_MP3_32s_I(lines.data(), psy.data(), &header_));

  std::array<int8_t, 4 * 39> scaleFactors;
  std::array<int32_t, 8> scfsi;
  std::array<int32_t, 4> count1Len;
  std::array<MoxMp3SideInfo, 4> side{};
  const bool variable = settings_.vbrQuality >= 0;
  header_.paddingBit = nextPadding();
  const int32_t meanBits = mainBits(variable ? kLargestIndex : header_.bitRateIndex, header_.paddingBit);
  MoxMp3BitReservoir reservoir = variable ? MoxMp3BitReservoir{0, 0} : reservoir_;
  check(moxsQuantize_MP3_32s_I(lines.data(), scaleFactors.data(), scfsi.data(), count1Len.data(), side.data(),
                               &reservoir, meanBits, !variable, psy.data(), &header_));

  int32_t usedBits = 0, before = 0;
  for (int32_t i = 0; i < count; ++i) usedBits += side[static_cast<size_t>(i)].part23Len;
  if (variable) chooseFrame(usedBits, before);
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
  uint8_t start[4 + 32 + 1];  // the writer touches the byte at which it comes to rest
  uint8_t* p = start;
  check(moxsPackFrameHeader_MP3(&header_, &p));
  check(moxsPackSideInfo_MP3(side, &p, mainDataBegin, 0, scfsi, &header_));
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

// A frame of silence whose main data are: marker, numbers of frames and bytes, seek table, quality, then who encoded
// it and with how many samples of delay and padding.
std::vector<uint8_t> Encoder::infoFrame() const {
  constexpr int32_t kTagBytes = 120 + 36;
  const bool variable = settings_.vbrQuality >= 0;
  MoxMp3FrameHeader header = header_;
  header.modeExt = header.paddingBit = 0;
  const auto room = [&](int32_t index) { return frameBytes(index, 0) >= 4 + sideInfoBytes() + kTagBytes; };
  if (variable) header.bitRateIndex = 1;
  while (!room(header.bitRateIndex)) ++header.bitRateIndex;

  std::vector<uint8_t> frame(static_cast<size_t>(frameBytes(header.bitRateIndex, 0)));
  uint8_t* start = frame.data();
  check(moxsPackFrameHeader_MP3(&header, &start));
  const std::vector<uint64_t>& offsets = queue_.offsets();
  const uint64_t bytes = frame.size() + queue_.bytes();

  BigEndianWriter writer(start + sideInfoBytes());
  writer.put(variable ? "Xing" : "Info");
  writer.put(15, 4);  // all four fields follow
  writer.put(offsets.size(), 4);
  writer.put(bytes, 4);
  for (size_t percent = 0; percent < 100; ++percent) {
    const uint64_t offset = offsets.empty() ? 0 : frame.size() + offsets[percent * offsets.size() / 100];
    writer.put(std::min<uint64_t>(255, 256 * offset / bytes), 1);
  }
  writer.put(static_cast<uint64_t>(variable ? 100 - 10 * settings_.vbrQuality : 80), 4);

  const auto frames = static_cast<int64_t>(offsets.size());
  const int64_t padding = std::max<int64_t>(0, frames * kFrame - samplesTaken_ - kEncoderDelay);
  const int32_t lowpass = subBands_ == 32 ? 0 : subBands_ * settings_.rate / 64;
  // Players look for the marker of the format's first writer before they believe delay and padding.
  writer.put("LAMEmoxac");
  writer.put(variable ? 4 : 1, 1);  // method: variable or constant rate
  writer.put(static_cast<uint64_t>(lowpass / 100), 1);
  writer.put(0, 8);  // peak and gains: not measured
  writer.put(0, 1);
  writer.put(static_cast<uint64_t>(variable ? 32 : std::min(settings_.bitRate, 255)), 1);
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
