// Output files: atomic, WAV and RF64.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string_view>

#include "codec/io/failure.h"
#include "mox/files/atomic_file.h"
#include "mox/files/wav_writer.h"
#include "support/streams.h"

namespace {

using mox::AtomicFile;
using moxtest::readFile;
using moxtest::ScratchDirectory;
using moxtest::writeFile;

TEST(AtomicFile, AppearsOnCommitAndOtherwiseLeavesNothing) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "out";
  {
    const AtomicFile file(path);
    ASSERT_EQ(write(file.descriptor(), "abc", 3), 3);
    EXPECT_FALSE(std::filesystem::exists(path));
  }
  EXPECT_EQ(scratch.entries(), 0u);

  writeFile(path, {'o', 'l', 'd'});
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  const std::string link = scratch / "link";
  std::filesystem::create_symlink("out", link);
  AtomicFile file(link);  // replaces what the link means, and keeps its mode
  ASSERT_EQ(write(file.descriptor(), "abcd", 4), 4);
  EXPECT_EQ(readFile(path).size(), 3u);
  file.commit();
  EXPECT_EQ(readFile(path).size(), 4u);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms::owner_all);
  EXPECT_EQ(scratch.entries(), 2u);
}

TEST(AtomicFile, DevicesAreWrittenToAndNeverReplaced) {
  AtomicFile file("/dev/null");
  ASSERT_EQ(write(file.descriptor(), "abc", 3), 3);
  file.commit();
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_THROW(AtomicFile("/no/such/directory/out"), mox::Failure);
  EXPECT_THROW(AtomicFile("/tmp"), mox::Failure);
}

TEST(AtomicFile, AnInterruptionLeavesNothing) {
  const ScratchDirectory scratch;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      const AtomicFile file(scratch / "out");
      if (scratch.entries() == 1) std::raise(signal);
      _exit(1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal);
    EXPECT_EQ(scratch.entries(), 0u);
  }
}

TEST(WavWriter, WritesWhatLibsndfileReadsAndNothingThatVaries) {
  const ScratchDirectory scratch;
  const std::vector<int16_t> samples = {1, -2, 3, -4, 5, -6, 32767, -32768, 9, 10, 11, 12};
  {
    AtomicFile file(scratch / "a.wav");
    mox::WavWriter wav(file.descriptor(), {48000, 6, 0x3F}, false, 2);
    wav.write({samples.data(), 2});
    wav.close();
    file.commit();
  }
  const moxtest::Wav wav = moxtest::readWav(scratch / "a.wav");
  EXPECT_EQ(wav.info.samplerate, 48000);
  EXPECT_EQ(wav.samples, samples);
  EXPECT_EQ(wav.speakers,
            (std::vector<int>{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER,
                              SF_CHANNEL_MAP_LFE, SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT}));
  // The mask as it stands in the file: 20 bytes into the format chunk's data.
  EXPECT_EQ(readFile(scratch / "a.wav")[40], 0x3F);

  for (const int64_t expected : {int64_t{2}, int64_t{1} << 31}) {  // the other has more than 4 GiB to come
    AtomicFile file(scratch / "b.wav");
    mox::WavWriter wav32(file.descriptor(), {44100, 1, 0}, true, expected);
    const float two[] = {0.5f, 1.5f};
    wav32.write({two, 2});
    wav32.close();
    file.commit();
    const std::vector<uint8_t> bytes = readFile(scratch / "b.wav");
    EXPECT_EQ(moxtest::readWav(scratch / "b.wav").info.format,
              (expected == 2 ? SF_FORMAT_WAV : SF_FORMAT_RF64) | SF_FORMAT_FLOAT);
    const std::string_view name = "PEAK";  // that chunk holds the time of day
    const auto peak = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
    EXPECT_TRUE(peak == bytes.end() || std::count(peak + 12, peak + 16, 0) == 4);
  }
}

}  // namespace
