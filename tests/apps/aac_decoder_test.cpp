#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>

#include "apps/decode_bytes.h"
#include "apps/streams.h"
#include "mox/aac_stream.h"

namespace {

using moxtest::decodeBytes;
using moxtest::Decoded;
using moxtest::readFile;
using moxtest::streamPath;
using moxtest::Wav;

// The references leave out the first frame of ADIF, and of streams that name faac as their encoder.
size_t samplesMissing(const Wav& reference, const Decoded& decoded) {
  return static_cast<size_t>(decoded.samples - reference.info.frames) *
         static_cast<size_t>(reference.info.channels);
}

struct Difference {
  double worst = 0, rms = 0;
};

template <class T>
Difference compare(const std::vector<T>& got, double scale, const Wav& reference, size_t skip) {
  Difference difference;
  for (size_t i = 0; i < reference.samples.size(); ++i) {
    const double value = std::clamp(static_cast<double>(got[skip + i]) * scale, -32768.0, 32767.0);
    const double off = std::abs(value - reference.samples[i]);
    difference.worst = std::max(difference.worst, off);
    difference.rms += off * off;
  }
  difference.rms = std::sqrt(difference.rms / static_cast<double>(reference.samples.size()));
  return difference;
}

std::vector<std::string> aacStreams() {
  std::vector<std::string> paths;
  for (const char* suffix : {".aac", ".adif"})
    for (const std::string& path : moxtest::bundledStreams(suffix))
      if (path.find("heaac") == std::string::npos) paths.push_back(path + suffix);
  return paths;
}

Wav referenceOf(const std::string& path) {
  return moxtest::readWav(path.substr(0, path.rfind('.')) + ".ref.wav");
}

TEST(AacDecoder, EveryBundledStreamEqualsItsReferenceWithinOneBit) {
  for (const std::string& path : aacStreams()) {
    const std::vector<uint8_t> bytes = readFile(path);
    const Wav reference = referenceOf(path);
    const auto fixed = decodeBytes(bytes), floating = decodeBytes(bytes, {.floatSamples = true});
    ASSERT_TRUE(fixed && floating) << path;
    EXPECT_TRUE(fixed->stats.faults.empty()) << path << ": " << fixed->stats.faults[0];
    EXPECT_EQ(fixed->format.rate, reference.info.samplerate) << path;
    ASSERT_EQ(fixed->format.channels, reference.info.channels) << path;
    ASSERT_EQ(fixed->samples, floating->samples) << path;
    const bool firstFrameMissing = path.ends_with(".adif") ||
                                   path.find("44100_main_pred") != std::string::npos ||
                                   path.find("44100_ltp") != std::string::npos;
    ASSERT_EQ(fixed->samples - reference.info.frames, firstFrameMissing ? 1024 : 0) << path;
    if (path.find("pns") != std::string::npos) continue;

    const size_t skip = samplesMissing(reference, *fixed);
    const Difference s16 = compare(fixed->s16, 1, reference, skip);
    const Difference f32 = compare(floating->f32, 32768, reference, skip);
    std::printf("  %-30s 16-bit: max %.0f LSB, rms %.4f LSB; float: max %.4f LSB\n",
                std::filesystem::path(path).filename().c_str(), s16.worst, s16.rms, f32.worst);
    EXPECT_LE(s16.worst, 1) << path;
    EXPECT_LT(s16.rms, 0.5) << path;
    EXPECT_LE(f32.worst, 1) << path;
  }
}

// A noise substituted band has another waveform in every decoder, but the level of the rest.
TEST(AacDecoder, NoiseSubstitutionKeepsTheLevels) {
  const std::string path = streamPath("aac_44100_pns32.aac");
  const Wav reference = referenceOf(path);
  const auto decoded = decodeBytes(readFile(path));
  ASSERT_TRUE(decoded);
  // Octave-wide differences of neighbouring averages stand for bands: cheap, and blind to phase.
  for (size_t width = 2; width <= 64; width *= 2) {
    const auto level = [width](const std::vector<int16_t>& samples) {
      double energy = 0;
      for (size_t i = 0; i + 2 * width <= samples.size(); i += width) {
        double difference = 0;
        for (size_t k = 0; k < width; ++k) difference += samples[i + k] - samples[i + width + k];
        energy += difference * difference;
      }
      return 10 * std::log10(energy);
    };
    EXPECT_NEAR(level(decoded->s16), level(reference.samples), 0.25) << width;
  }
}

}  // namespace
