// What the encoder writes decodes without a fault, to the sample, at every rate and mode.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>

#include "codec/decode_bytes.h"
#include "codec/mp3/encoder.h"
#include "codec/mp3/info_frame.h"
#include "codec/walk.h"
#include "support/streams.h"

using namespace moxc;

namespace {

// Two voices and soft noise, with clicks; interleaved.
std::vector<int16_t> sound(int32_t samples, int32_t channels) {
  std::mt19937 random(1);
  std::normal_distribution<double> gauss;
  std::vector<int16_t> s;
  for (int32_t i = 0; i < samples; ++i)
    for (int32_t ch = 0; ch < channels; ++ch)
      s.push_back(static_cast<int16_t>(6000 * std::sin(0.03 * i) + 3000 * std::sin(0.11 * i + ch) +
                                       30 * gauss(random) + (i % 5000 < 100 ? 4000 * gauss(random) : 0)));
  return s;
}

std::vector<uint8_t> encode(const std::vector<int16_t>& samples, const mp3::EncoderSettings& settings,
                            size_t piece) {
  moxc::mp3::Encoder encoder(settings);
  std::vector<uint8_t> stream;
  const std::span<const int16_t> all(samples);
  const auto values = piece * static_cast<size_t>(settings.channels());
  for (size_t at = 0; at < all.size(); at += values)
    encoder.encode(all.subspan(at, std::min(values, all.size() - at)), stream);
  encoder.finish(stream);
  const std::vector<uint8_t> info = encoder.infoFrame();
  EXPECT_EQ(std::count(stream.begin(), stream.begin() + std::ssize(info), 0), std::ssize(info));  // its place
  std::copy(info.begin(), info.end(), stream.begin());
  return stream;
}

double snr(const std::vector<int16_t>& x, const std::vector<int16_t>& y) {
  double signal = 1, error = 1;
  for (size_t i = 0; i < x.size(); ++i) {
    signal += double{1} * x[i] * x[i];
    error += std::pow(x[i] - y[i], 2);
  }
  return 10 * std::log10(signal / error);
}

void expectSound(const std::vector<int16_t>& samples, const mp3::EncoderSettings& settings, double leastSnr) {
  const auto stream = encode(samples, settings, 1000);
  const auto decoded = moxtest::decodeBytes(stream);
  ASSERT_NE(decoded, nullptr);
  EXPECT_TRUE(decoded->damage.empty()) << decoded->damage.front();
  EXPECT_EQ(decoded->format.rate, settings.rate);
  ASSERT_EQ(decoded->s16.size(), samples.size());
  EXPECT_GT(snr(samples, decoded->s16), leastSnr);
}

TEST(Mp3Encoder, EveryBitRateAndModeDecodesToTheSample) {
  for (const mp3::ChannelMode mode :
       {mp3::ChannelMode::stereo, mp3::ChannelMode::joint, mp3::ChannelMode::mono})
    for (const int32_t rate : {44100, 48000, 32000})
      for (const int32_t bitRate : moxc::mp3::mp3BitRates()) {
        mp3::EncoderSettings settings;
        settings.mode = mode;
        settings.rate = rate;
        settings.bitRate = bitRate;
        SCOPED_TRACE(testing::Message()
                     << "mode " << static_cast<int32_t>(mode) << ", " << rate << " Hz, " << bitRate);
        expectSound(sound(12000, settings.channels()), settings,
                    bitRate / settings.channels() >= 64 ? 12 : 4);
      }
}

TEST(Mp3Encoder, QualityCostsBits) {
  size_t before = SIZE_MAX;
  for (int32_t quality = 0; quality < 10; ++quality) {
    mp3::EncoderSettings settings;
    settings.vbrQuality = static_cast<float>(quality);
    const auto samples = sound(40000, 2);
    expectSound(samples, settings, 13 - quality);
    const size_t bytes = encode(samples, settings, 1152).size();
    EXPECT_LE(bytes, before);
    before = bytes;
  }
}

TEST(Mp3Encoder, AverageRateIsKeptAndChecksumsAre) {
  mp3::EncoderSettings settings;
  settings.average = settings.checksums = true;
  settings.bitRate = 150;
  const auto samples = sound(10 * 44100, 2);
  const auto stream = encode(samples, settings, 1152);
  EXPECT_NEAR(static_cast<double>(stream.size()) * 8 / 10000, 150, 8);
  const moxc::Bytes bytes(stream);
  auto frames = moxtest::walkMp3(bytes).frames;
  ASSERT_FALSE(frames.empty());
  // The information frame: many look for its marker where no checksum moves it.
  EXPECT_FALSE(frames[0].header.hasCrc());
  frames.erase(frames.begin());
  int32_t smallest = 320, largest = 0;
  for (const auto& frame : frames) {
    EXPECT_TRUE(frame.header.hasCrc() && moxc::mp3::crcMatches({frame.header, frame.bytes}));
    smallest = std::min(smallest, frame.header.bitRate);
    largest = std::max(largest, frame.header.bitRate);
  }
  EXPECT_LT(smallest, largest);
  expectSound(samples, settings, 12);
}

// Floats and wide integers are one sound; rounded to 16 bits it is another.
TEST(Mp3Encoder, FinerSamplesThanSixteenBitsAreKept) {
  mp3::EncoderSettings settings;
  settings.mode = mp3::ChannelMode::mono;
  settings.bitRate = 320;
  std::vector<float> tone(20000);
  std::vector<int32_t> wide(tone.size());
  std::vector<int16_t> rounded(tone.size());
  for (size_t i = 0; i < tone.size(); ++i) {
    wide[i] = static_cast<int32_t>(std::lrint(2e7 * std::sin(0.05 * static_cast<double>(i)))) & ~0x1FF;
    tone[i] = static_cast<float>(wide[i]) / 2147483648.0f;
    rounded[i] = static_cast<int16_t>(std::lrint(tone[i] * 32768));
  }
  const auto streamOf = [&](const auto& samples) {
    mp3::Encoder encoder(settings);
    std::vector<uint8_t> stream;
    encoder.encode(std::span(std::as_const(samples)), stream);
    encoder.finish(stream);
    return stream;
  };
  EXPECT_EQ(streamOf(tone), streamOf(wide));
  EXPECT_NE(streamOf(tone), streamOf(rounded));
}

// Peak and gain of a sine of half of full scale at 1 kHz: 9.03 dB below it by K-weighted power, to be raised to -18.
TEST(Mp3Encoder, TellsPeakAndGain) {
  mp3::EncoderSettings settings;
  settings.mode = mp3::ChannelMode::mono;
  mp3::Encoder encoder(settings);
  std::vector<float> tone(2 * 44100);
  for (size_t i = 0; i < tone.size(); ++i)
    tone[i] = 0.5f * static_cast<float>(std::sin(2 * M_PI * 997 * static_cast<double>(i) / 44100));
  std::vector<uint8_t> stream;
  encoder.encode(std::span<const float>(tone), stream);
  encoder.finish(stream);
  const std::vector<uint8_t> info = encoder.infoFrame();
  const size_t at = 4 + 17 + 120 + 11;  // behind header, side information, counts and names
  EXPECT_NEAR(moxc::bigEndian(info, at, 4) / 8388608.0, 0.5, 0.001);
  const uint32_t gain = moxc::bigEndian(info, at + 4, 2);
  EXPECT_EQ(gain >> 10, 1u << 3 | 3u);
  EXPECT_NEAR(((gain & 0x200) != 0 ? -0.1 : 0.1) * static_cast<double>(gain & 0x1FF), -8.97, 0.11);
}

TEST(Mp3Encoder, AnyLengthReturnsWhole) {
  mp3::EncoderSettings settings;
  settings.mode = mp3::ChannelMode::mono;
  for (const int32_t samples : {0, 1, 92, 95, 96, 575, 576, 577, 1152, 1247, 1248, 9999}) {
    const auto x = sound(samples, 1);
    const auto decoded = moxtest::decodeBytes(encode(x, settings, 577));
    ASSERT_NE(decoded, nullptr);
    EXPECT_TRUE(decoded->damage.empty());
    EXPECT_EQ(decoded->samples, samples);
  }
}

TEST(Mp3Encoder, ConstantRateIsTheRateAndPiecesDoNotMatter) {
  mp3::EncoderSettings settings;
  settings.bitRate = 96;
  const auto x = sound(44100, 2);
  const auto stream = encode(x, settings, 1152);
  EXPECT_EQ(stream, encode(x, settings, 77));
  EXPECT_EQ(stream, encode(x, settings, 44100));

  const moxc::Bytes bytes(stream);
  const auto walked = moxtest::walkMp3(bytes);
  ASSERT_TRUE(walked.found);
  const auto info = moxc::mp3::readVbrHeader({walked.frames[0].header, walked.frames[0].bytes});
  ASSERT_TRUE(info);
  EXPECT_EQ(info->kind, "Info");
  EXPECT_EQ(*info->bytes, stream.size());
  uint32_t frames = 0;
  size_t length = walked.frames[0].bytes.size();
  for (const auto& frame : std::span(walked.frames).subspan(1)) {
    EXPECT_EQ(frame.header.bitRate, 96);
    ++frames;
    length += frame.bytes.size();
  }
  EXPECT_EQ(*info->frames, frames);
  EXPECT_EQ(length, stream.size());
  EXPECT_NEAR(static_cast<double>(length) / (frames + 1), 144.0 * 96000 / 44100, 0.5);
}

TEST(Mp3Encoder, SilenceAndFullScaleAreSound) {
  std::mt19937 random(9);
  for (const int32_t bitRate : {32, 128, 320}) {
    mp3::EncoderSettings settings;
    settings.bitRate = bitRate;
    std::vector<int16_t> loud(2 * 20000);
    for (size_t i = 0; i < loud.size(); ++i) loud[i] = random() % 2 == 0 ? 32767 : -32768;
    expectSound(loud, settings, -3);
    for (size_t i = 0; i < loud.size(); ++i) loud[i] = i / 2000 % 2 == 0 ? 32767 : -32768;  // a square wave
    expectSound(loud, settings, bitRate == 32 ? 5 : 15);
    expectSound(std::vector<int16_t>(2 * 20000), settings, -1);
    settings.bitRate = 128;
    settings.vbrQuality = 0;
    for (int16_t& x : loud) x = static_cast<int16_t>(random());
    expectSound(loud, settings, 3);
  }
}

}  // namespace
