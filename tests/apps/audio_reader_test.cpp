// Audio files into the program: every kind of sample rounded and limited alike, and what files lack is told.
#include "mox/files/audio_reader.h"

#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>

#include <cmath>
#include <limits>
#include <thread>

#include "codec/io/failure.h"
#include "support/streams.h"

namespace {

using mox::AudioReader;
using moxtest::ScratchDirectory;

constexpr int kRate = 32000, kChannels = 3;

// What is in the files: every case of rounding and limiting first, then a ramp longer than one block of the reader.
std::vector<float> sound() {
  std::vector<float> x = {0.5f / 32768, 1.5f / 32768, -0.5f / 32768, 32767.5f / 32768, 1.0f, -1.0f,
                          2.0f,         -3.0f,        0.0f};
  while (x.size() < 3 * 20000)
    x.push_back(static_cast<float>(std::sin(0.001 * static_cast<double>(x.size()))));
  return x;
}

void write(const std::string& path, int format, const std::vector<float>& x) {
  SF_INFO info{};
  info.samplerate = kRate, info.channels = kChannels, info.format = format;
  SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr) << path;
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  EXPECT_EQ(sf_write_float(file, x.data(), std::ssize(x)), std::ssize(x));
  sf_close(file);
}

std::vector<int16_t> readAll(AudioReader& reader) {
  std::vector<int16_t> all;
  for (std::vector<int16_t> block; reader.read(block);) all.insert(all.end(), block.begin(), block.end());
  return all;
}

TEST(AudioReader, RoundsAndLimitsEveryKindOfSample) {
  const ScratchDirectory scratch;
  const std::vector<float> x = sound();
  for (const auto& [name, format, step] : {std::tuple{"f.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 0.0},
                                           {"24.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1 / 256.0},
                                           {"16.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 1.0},
                                           {"16.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 1.0},
                                           {"8.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 256.0}}) {
    SCOPED_TRACE(name);
    write(scratch / name, format, x);
    AudioReader reader(scratch / name);
    EXPECT_TRUE(reader.rate() == kRate && reader.channels() == kChannels);
    EXPECT_EQ(reader.expectedSamples(), std::ssize(x) / kChannels);
    const std::vector<int16_t> got = readAll(reader);
    ASSERT_EQ(got.size(), x.size());
    for (size_t i = 0; i < x.size(); ++i) {
      const double want = std::clamp(x[i] * 32768.0, -32768.0, 32767.0);
      ASSERT_LE(std::abs(got[i] - want), 0.5 + step) << i;
      ASSERT_TRUE(step > 0 || got[i] == std::nearbyint(want)) << i;
    }
    EXPECT_EQ(reader.damage(), "");
  }
}

TEST(AudioReader, APipeIsReadLikeAFile) {
  const ScratchDirectory scratch;
  write(scratch / "a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, sound());
  ASSERT_EQ(mkfifo((scratch / "pipe").c_str(), 0600), 0);
  std::thread writer([&] { moxtest::writeFile(scratch / "pipe", moxtest::readFile(scratch / "a.wav")); });
  AudioReader pipe(scratch / "pipe"), file(scratch / "a.wav");
  EXPECT_EQ(readAll(pipe), readAll(file));
  EXPECT_EQ(pipe.expectedSamples(), file.expectedSamples());
  writer.join();
}

TEST(AudioReader, TellsWhatIsMissingAndRefusesWhatIsNoSound) {
  const ScratchDirectory scratch;
  for (const auto& [name, format] : {std::pair{"a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
                                     {"a.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16}}) {
    write(scratch / name, format, sound());
    std::vector<uint8_t> bytes = moxtest::readFile(scratch / name);
    bytes.resize(bytes.size() - 6000);
    moxtest::writeFile(scratch / name, bytes);
    AudioReader cut(scratch / name);
    EXPECT_EQ(readAll(cut).size(), 3 * 20000u - 3000) << name;
    EXPECT_NE(cut.damage().find(" of "), std::string::npos) << name << ": " << cut.damage();
  }
  // The length that a writer into a pipe leaves behind is no claim.
  write(scratch / "open.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, sound());
  std::vector<uint8_t> bytes = moxtest::readFile(scratch / "open.wav");
  std::fill_n(bytes.begin() + 40, 4, uint8_t{0xFF});
  std::fill_n(bytes.begin() + 4, 4, uint8_t{0xFF});
  moxtest::writeFile(scratch / "open.wav", bytes);
  AudioReader open(scratch / "open.wav");
  EXPECT_EQ(readAll(open).size(), 3 * 20000u);
  EXPECT_EQ(open.damage(), "");

  moxtest::writeFile(scratch / "text", std::vector<uint8_t>(500, 'x'));
  for (const char* name : {"text", "missing"})
    EXPECT_THROW(AudioReader(scratch / name), mox::Failure) << name;
  EXPECT_THROW(AudioReader("/tmp"), mox::Failure);
}

}  // namespace
