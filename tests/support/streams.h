// The bundled streams, their reference audio, and scratch files.
#pragma once

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/source_path.h"

namespace moxtest {

inline std::string streamPath(const std::string& name) {
  return moxtest::sourcePath("tests/data/streams/" + name);
}

inline std::vector<uint8_t> readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// Paths without suffix of the bundled streams with that suffix.
inline std::vector<std::string> bundledStreams(const std::string& suffix) {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(streamPath("")))
    if (entry.path().extension() == suffix) paths.push_back(entry.path().parent_path() / entry.path().stem());
  std::sort(paths.begin(), paths.end());
  EXPECT_FALSE(paths.empty());
  return paths;
}

struct Wav {
  SF_INFO info{};
  std::vector<int16_t> samples;  // interleaved
  std::vector<int> speakers;     // libsndfile's channel map, when there is one
};

inline Wav readWav(const std::string& path) {
  Wav wav;
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &wav.info);
  EXPECT_NE(file, nullptr) << path;
  if (file == nullptr) return wav;
  wav.samples.resize(static_cast<size_t>(wav.info.frames * wav.info.channels));
  EXPECT_EQ(sf_readf_short(file, wav.samples.data(), wav.info.frames), wav.info.frames);
  wav.speakers.resize(static_cast<size_t>(wav.info.channels));
  if (sf_command(file, SFC_GET_CHANNEL_MAP_INFO, wav.speakers.data(),
                 static_cast<int>(wav.speakers.size() * sizeof(int))) == SF_FALSE)
    wav.speakers.clear();
  sf_close(file);
  return wav;
}

// A directory that goes away with the test.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "moxtest.XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~ScratchDirectory() { std::filesystem::remove_all(path_); }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  size_t entries() const {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(path_), {}));
  }

 private:
  std::string path_;
};

}  // namespace moxtest
