// The spectrogram: sounds into levels, levels into a chart, the chart into a PNG file and back.
#include <gtest/gtest.h>
#include <png.h>

#include <cmath>

#include "codec/io/failure.h"
#include "mox/files/atomic_file.h"
#include "mox/files/input_file.h"
#include "mox/files/wav_writer.h"
#include "mox/picture/level_chart.h"
#include "support/streams.h"

namespace {

using namespace mox;

MonoSound tone(int32_t rate, double hertz, double amplitude, double seconds) {
  MonoSound sound{rate, {}};
  for (int t = 0; t < seconds * rate; ++t)
    sound.samples.push_back(static_cast<float>(amplitude * std::sin(2 * M_PI * hertz * t / rate)));
  return sound;
}

TEST(Spectrogram, AToneIsALineOfItsLevelAtItsFrequency) {
  for (const int32_t rate : {8000, 44100, 96000})
    for (const int columns : {100, 1000}) {  // more than a frame a column, and less
      const double hertz = rate * 0.2;
      const LevelMap map = levelMap(tone(rate, hertz, 0.5, 3), columns, 250);
      for (int column = columns / 10; column < columns * 9 / 10; ++column)
        for (int row = 0; row < 250; ++row) {
          const double away = std::abs(row + 0.5 - 100) / 250 * rate / 2;
          if (row == 100 || row == 99) {
            EXPECT_NEAR(std::max(map.at(column, 99), map.at(column, 100)), -6.02, 1.5);
          } else if (away > 500) {
            EXPECT_LT(map.at(column, row), -90);
          }
        }
    }
}

TEST(Spectrogram, AClickIsAColumnAndSilenceIsDark) {
  MonoSound sound{48000, std::vector<float>(48000)};
  sound.samples[12000] = 1;
  const LevelMap map = levelMap(sound, 200, 64);
  for (int row = 0; row < 64; ++row) {
    EXPECT_GT(map.at(50, row), -70);
    EXPECT_LT(map.at(40, row), -140);
    EXPECT_LT(map.at(60, row), -140);
  }
  sound.samples = {0.5f};  // shorter than any frame
  EXPECT_EQ(levelMap(sound, 64, 64).decibels.size(), 64u * 64u);
}

TEST(LevelChart, TicksAreRoundAndTheColoursGrowLighter) {
  const auto labels = [](const std::vector<Tick>& found) {
    std::string all;
    for (const Tick& tick : found) all += tick.label + " ";
    return all;
  };
  EXPECT_EQ(labels(ticks(0, 22.05, 12)), "0 2 4 6 8 10 12 14 16 18 20 22 ");
  EXPECT_EQ(labels(ticks(0, 1.25, 10)), "0.0 0.2 0.4 0.6 0.8 1.0 1.2 ");
  EXPECT_EQ(labels(ticks(-100, 0, 5)), "-100 -80 -60 -40 -20 0 ");
  EXPECT_EQ(labels(minuteTicks(200, 8)), "0:00 0:30 1:00 1:30 2:00 2:30 3:00 ");
  EXPECT_NEAR(ticks(0, 22.05, 12).back().position, 22 / 22.05, 1e-12);
  double last = -1;
  for (int i = 0; i <= 100; ++i) {
    const Colour c = heat(i / 100.0);
    const double luma = 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2];
    EXPECT_GT(luma, last);
    last = luma;
  }
  EXPECT_EQ(heat(-1), heat(0));
  EXPECT_EQ(heat(7), heat(1));
}

TEST(LevelChart, DrawsEveryCellAndComesBackFromThePngFile) {
  LevelMap map{70, 64, std::vector<float>(70 * 64, -100)};
  map.at(3, 60) = -50;
  const Picture picture = levelChart(map, {1, 24000, 0, 100});
  EXPECT_EQ(picture.at(ChartLayout::kLeft + 3, ChartLayout::kTop + 3), heat(0.5));
  EXPECT_EQ(picture.at(ChartLayout::kLeft + 4, ChartLayout::kTop + 3), heat(0));

  const moxtest::ScratchDirectory scratch;
  AtomicFile file(scratch / "chart.png");
  writePng(file.descriptor(), picture, "a title");
  file.commit();
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  const std::string path = scratch / "chart.png";
  ASSERT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0) << image.message;
  image.format = PNG_FORMAT_RGB;
  std::vector<uint8_t> pixels(PNG_IMAGE_SIZE(image));
  ASSERT_NE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr), 0) << image.message;
  ASSERT_EQ(pixels.size(), static_cast<size_t>(picture.width() * picture.height() * 3));
  for (int y = 0; y < picture.height(); ++y)
    EXPECT_TRUE(std::equal(picture.row(y), picture.row(y) + 3 * picture.width(),
                           pixels.begin() + ptrdiff_t{3} * y * picture.width()));
  EXPECT_THROW(writePng(-1, picture, ""), Failure);
}

TEST(Sound, MixesTheChannelsAndRefusesWhatIsNone) {
  const moxtest::ScratchDirectory scratch;
  const std::string path = scratch / "two.wav";
  {
    AtomicFile file(path);
    WavWriter wav(file.descriptor(), {32000, 2, 0}, true, 3);
    const float samples[] = {1, 0, -1, 0.5f, 0.25f, 0.25f};
    wav.write({samples, 3});
    wav.close();
    file.commit();
  }
  const MonoSound sound = readSound(readInput(path), path);
  EXPECT_EQ(sound.rate, 32000);
  EXPECT_EQ(sound.samples, (std::vector<float>{0.5f, -0.25f, 0.25f}));
  EXPECT_THROW(readSound(Bytes{}, "nothing"), Failure);
  const auto whole = readInput(path);
  EXPECT_THROW(readSound(Bytes(whole).first(whole.size() - 24), "header only"), Failure);
}

}  // namespace
