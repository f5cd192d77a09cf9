// Audio files as 16-bit samples, by way of libsndfile.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct sf_private_tag;

namespace mox {

// Reads whatever libsndfile does (WAV, FLAC, AIFF, ...), from a file or, for "-", from standard input. Finer samples
// are rounded, floats beyond full scale limited. Throws Failure.
class AudioReader {
 public:
  explicit AudioReader(const std::string& path);
  ~AudioReader();
  AudioReader(const AudioReader&) = delete;
  AudioReader& operator=(const AudioReader&) = delete;

  int32_t rate() const { return rate_; }
  int32_t channels() const { return channels_; }
  int64_t expectedSamples() const { return samples_; }  // per channel

  // Replaces block by the next samples, interleaved; false at the end.
  bool read(std::vector<int16_t>& block);

 private:
  static int64_t pipedSeek(int64_t offset, int whence, void* piped);
  static int64_t pipedRead(void* to, int64_t count, void* piped);

  struct Piped {
    std::vector<uint8_t> bytes;
    int64_t position = 0;
  };

  std::string name_;
  Piped piped_;
  sf_private_tag* file_ = nullptr;
  int32_t rate_ = 0, channels_ = 0;
  int64_t samples_ = 0;
  std::vector<float> floats_;
};

}  // namespace mox
