// Every bundled stream of either codec: as its reference, and damaged.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "codec/damage.h"
#include "codec/decode_bytes.h"
#include "codec/stream/adts_writer.h"
#include "support/streams.h"

namespace {

using moxtest::decodeBytes;
using moxtest::readFile;

std::vector<std::string> streams() {
  std::vector<std::string> paths;
  for (const char* suffix : {".mp3", ".aac", ".adif"})
    for (const std::string& path : moxtest::bundledStreams(suffix)) paths.push_back(path + suffix);
  return paths;
}

// A reference is a float decode rounded and clipped to 16 bits; samples in its units.
template <class T>
double worstOff(const std::vector<T>& got, double scale, const moxtest::Wav& reference, double& rms) {
  const size_t skip = got.size() - reference.samples.size();
  double worst = 0, square = 0;
  for (size_t i = 0; i < reference.samples.size(); ++i) {
    const double value = std::clamp(static_cast<double>(got[skip + i]) * scale, -32768.0, 32767.0);
    const double off = std::abs(value - reference.samples[i]);
    worst = std::max(worst, off);
    square += off * off;
  }
  rms = std::sqrt(square / static_cast<double>(reference.samples.size()));
  return worst;
}

TEST(Decoder, EveryBundledStreamEqualsItsReferenceWithinOneBit) {
  for (const std::string& path : streams()) {
    SCOPED_TRACE(path);
    const std::vector<uint8_t> bytes = readFile(path);
    const moxtest::Wav reference = moxtest::readWav(path.substr(0, path.rfind('.')) + ".ref.wav");
    const auto fixed = decodeBytes(bytes, {false, true}), floating = decodeBytes(bytes, {true, true});
    ASSERT_TRUE(fixed && floating);
    EXPECT_TRUE(fixed->damage.empty()) << fixed->damage[0];
    EXPECT_EQ(fixed->format.rate, reference.info.samplerate);
    ASSERT_EQ(fixed->format.channels, reference.info.channels);
    ASSERT_EQ(fixed->samples, floating->samples);
    // faad leaves out the first frame, and ffmpeg does in streams that name faac as their encoder.
    const bool firstFrameMissing = path.ends_with(".adif") || path.find("44100_main_pred") != path.npos ||
                                   path.find("44100_ltp") != path.npos;
    ASSERT_EQ(fixed->samples - reference.info.frames, firstFrameMissing ? 1024 : 0);
    if (path.find("pns") != path.npos) continue;  // noise has a waveform of its own

    double rms = 0, floatRms = 0;
    const double worst = worstOff(fixed->s16, 1, reference, rms);
    const double worstFloat = worstOff(floating->f32, 32768, reference, floatRms);
    std::printf("  %-34s 16-bit: max %.0f LSB, rms %.4f LSB; float: max %.4f LSB\n",
                std::filesystem::path(path).filename().c_str(), worst, rms, worstFloat);
    EXPECT_LE(worst, 1);
    // Of Layer III only ties may fall to different sides.
    EXPECT_LT(rms, path.ends_with(".mp3") ? 0.06 : 0.1);
    // Parametric stereo fades in from silence in the reference; here it begins with what was there, the mono signal.
    EXPECT_LE(worstFloat, path.ends_with(".mp3") ? 0.52 : path.find("heaacv2") != path.npos ? 1.5 : 1);
  }
}

// An ADTS header by chance, whose frame would end with the data.
TEST(Decoder, ALayer3StreamStaysOneWhateverItsFramesHold) {
  std::vector<uint8_t> bytes = readFile(moxtest::streamPath("mp3_22050_joint64.mp3"));
  const std::vector<uint8_t> adts44100 = {0xFF, 0xF1, 0x50, 0x80, 0x08, 0x1F, 0xFC};
  std::copy(adts44100.begin(), adts44100.end(), bytes.end() - 64);
  const auto decoded = decodeBytes(bytes);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->format.rate, 22050);
}

TEST(Decoder, DamagedStreamsAreDecodedOrRefused) {
  const std::vector<std::string> paths = streams();
  const char* const chosen = std::getenv("MOX_DAMAGE_SEED");
  const uint32_t first = chosen != nullptr ? static_cast<uint32_t>(std::strtoul(chosen, nullptr, 10)) : 1;
  int decoded = 0;
  for (uint32_t seed = first; seed < first + 600; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::vector<uint8_t> bytes = moxtest::damagedCopy(readFile(paths[seed % paths.size()]), seed);
    if (seed % 20 == 0) bytes = moxtest::wrapInAdts(bytes);
    const auto result = decodeBytes(bytes, {seed % 2 == 0, false});
    if (!result) continue;
    ++decoded;
    // No more audio than the bytes can hold frames, but for those made up in gaps.
    EXPECT_LE(result->samples, static_cast<int64_t>(bytes.size()) * 2048 / 9);
  }
  EXPECT_GT(decoded, 450);
}

}  // namespace
