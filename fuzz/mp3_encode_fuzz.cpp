// The MP3 encoder over arbitrary input: the program's own on arbitrary sound, and its operations on records that no
// encoder would make.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codec/decode_bytes.h"
#include "codec/mp3/encoder.h"
#include "fuzz/fuzz_input.h"
#include "moxac/mp3.h"

using namespace moxfuzz;

namespace {

// Segments of sound, three bytes each: silence and steps, alternating samples, noise; or the bytes themselves.
std::vector<int16_t> fuzzSound(FuzzInput& in, size_t most) {
  std::vector<int16_t> sound;
  uint32_t noise = 1;
  while (!in.done() && sound.size() < most) {
    const int32_t kind = in.below(256);
    const auto level = in.record<int16_t>();
    for (int32_t i = 0; i <= 8 * (kind / 4); ++i) {
      noise = noise * 1664525 + 1013904223;
      const int32_t sample = kind % 4 == 0   ? level
                             : kind % 4 == 1 ? (i % 2 == 0 ? level : -level)
                             : kind % 4 == 2
                                 ? level * static_cast<int32_t>(noise >> 17 & 0x7FFF) / 0x4000 - level
                                 : in.record<int16_t>();
      sound.push_back(static_cast<int16_t>(std::clamp(sample, -32768, 32767)));
    }
  }
  sound.resize(std::min(sound.size(), most));
  return sound;
}

// What goes in comes out again: as many samples, without a fault in the stream.
void fuzzMp3Encoder(FuzzInput& in) {
  constexpr int32_t kRates[] = {44100, 48000, 32000};
  constexpr moxc::mp3::ChannelMode kModes[] = {moxc::mp3::ChannelMode::stereo, moxc::mp3::ChannelMode::joint,
                                               moxc::mp3::ChannelMode::mono};
  moxc::mp3::EncoderSettings settings;
  settings.rate = kRates[in.below(3)];
  settings.mode = kModes[in.below(3)];
  settings.bitRate = moxc::mp3::mp3BitRates()[static_cast<size_t>(in.below(14))];
  settings.vbrQuality = static_cast<float>(in.below(160) - 80) / 8;
  settings.average = in.below(4) == 0;
  settings.effort = in.below(10);
  settings.highpass = in.below(401);
  settings.checksums = in.below(2) == 1;
  settings.strict = in.below(2) == 1;
  settings.lowpass = in.below(3) - 1;
  const auto channels = static_cast<size_t>(settings.channels());
  const std::vector<int16_t> sound = fuzzSound(in, 9000 * channels);
  const size_t samples = sound.size() / channels;

  moxc::mp3::Encoder encoder(settings);
  std::vector<uint8_t> stream;
  encoder.encode(std::span(sound).first(samples * channels), stream);
  encoder.finish(stream);
  const std::vector<uint8_t> info = encoder.infoFrame();
  std::copy(info.begin(), info.end(), stream.begin());
  const auto decoded = moxtest::decodeBytes(stream);
  require(decoded != nullptr && decoded->damage.empty());
  require(decoded->samples == static_cast<int64_t>(samples));
}

float fuzzEnergy(FuzzInput& in) {
  constexpr float kOdd[] = {0, -1, INFINITY, NAN, 3e38f, -INFINITY};
  const int32_t b = in.below(256);
  return b < 6 ? kOdd[b] : std::exp2(static_cast<float>(b - 130) / 2);
}

void fuzzMasking(FuzzInput& in, MoxMp3PsychoacousticModelTwoAnalysis& p) {
  for (int b = 0; b < 22; ++b) p.energyLong[b] = fuzzEnergy(in), p.thresholdLong[b] = fuzzEnergy(in);
  for (int b = 0; b < 13; ++b)
    for (int w = 0; w < 3; ++w) p.energyShort[b][w] = fuzzEnergy(in), p.thresholdShort[b][w] = fuzzEnergy(in);
}

// Noise, each sub-band at a level of its own.
void fuzzSubBands(FuzzInput& in, std::vector<int32_t>& lines) {
  uint32_t noise = 1;
  for (size_t band = 0; band < 32; ++band) {
    const int32_t shift = in.below(32);
    for (size_t slot = 0; slot < 18; ++slot) {
      noise = noise * 1664525 + 1013904223;
      lines[32 * slot + band] = static_cast<int32_t>(noise) >> shift;
    }
  }
}

// Arbitrary headers, masking records and spectra. What is quantised keeps to its bits and is as long as it says.
void fuzzMp3EncoderRecords(FuzzInput& in) {
  auto header = in.record<MoxMp3FrameHeader>();
  if (in.below(8) != 0) header.id = header.layer = 1;
  if (in.below(8) != 0) header.samplingFreq = in.below(3);
  if (in.below(8) != 0) header.mode = in.below(4);
  const size_t channels = header.mode == 3 ? 1 : 2, count = 2 * channels;

  // The model's own records, then arbitrary ones.
  std::vector<MoxMp3PsychoacousticModelTwoAnalysis> psy(count);
  std::vector<MoxMp3PsychoacousticModelTwoState> state(1);
  const MoxMp3EncoderParameters defaults = MOX_MP3_ENCODER_DEFAULTS, annex = MOX_MP3_ENCODER_ANNEX;
  const MoxMp3EncoderParameters& parameters = in.below(2) == 0 ? defaults : annex;
  const std::vector<int16_t> sound(576 * channels, in.record<int16_t>());
  moxsPsychoacousticModelTwo_MP3_16s(sound.data(), psy.data(), &header, &parameters, state.data());
  std::vector<int32_t> lines(576 * count), subBands(576), overlap(576);
  for (size_t i = 0; i < count; ++i) {
    if (in.below(4) != 0) fuzzMasking(in, psy[i]);
    psy[i].blockType = in.below(16) == 0 ? in.record<int32_t>() : in.below(4);
    fuzzSubBands(in, subBands);
    fuzzSubBands(in, overlap);
    moxsMDCTFwd_MP3_32s(subBands.data(), lines.data() + 576 * i, overlap.data(), psy[i].blockType,
                        in.below(3), &header);
  }
  if (header.mode == 1) moxsJointStereoEncode_MP3_32s_I(lines.data(), psy.data(), &header, &parameters);

  std::vector<int8_t> scaleFactors(39 * count);
  std::vector<int32_t> scfsi(4 * channels), count1Len(count);
  std::vector<MoxMp3SideInfo> side(count);
  MoxMp3BitReservoir reservoir{in.record<uint16_t>() % 4096, in.record<uint16_t>() % 4096};
  const int32_t meanBits = in.record<uint16_t>() % 16384, most = reservoir.resBits + meanBits;
  if (moxsQuantize_MP3_32s_I(lines.data(), scaleFactors.data(), scfsi.data(), count1Len.data(), side.data(),
                             &reservoir, meanBits, in.below(2), psy.data(), &header,
                             &parameters) != moxStatusOk)
    return;
  int32_t used = 0;
  for (size_t i = 0; i < count; ++i) {
    std::vector<uint8_t> main((4095 + 7) / 8 + 1);
    uint8_t* p = main.data();
    int32_t bitOffset = 0;
    const size_t ch = i % channels;
    require(side[i].part23Len >= 0 && side[i].part23Len <= 4095);
    require(moxsPackScaleFactors_MP3_8s1u(scaleFactors.data() + 39 * i, &p, &bitOffset, &header, &side[i],
                                          scfsi.data() + 4 * ch, static_cast<int32_t>(i / channels),
                                          static_cast<int32_t>(ch)) == moxStatusOk);
    require(moxsHuffmanEncode_MP3_32s1u(lines.data() + 576 * i, &p, &bitOffset, &header, &side[i],
                                        count1Len[i], 0) == moxStatusOk);
    require(8 * (p - main.data()) + bitOffset == side[i].part23Len);
    used += side[i].part23Len;
  }
  require(used <= most && reservoir.resBits >= 0);
}

void fuzzMp3Encode(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  if (in.below(2) == 0)
    fuzzMp3Encoder(in);
  else
    fuzzMp3EncoderRecords(in);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzMp3Encode(data, size);
  return 0;
}
