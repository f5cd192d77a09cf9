// Audio files as 16-bit samples, by way of libsndfile.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mox/files/memory_file.h"

namespace mox {

// Reads whatever libsndfile does (WAV, FLAC, AIFF, ...), from a file, a pipe or, for "-", standard input. Finer
// samples are rounded, floats beyond full scale limited. Throws Failure.
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
  // The same as they are, full scale 1.
  bool read(std::vector<float>& block);
  // Once all is read: what of it is missing, or nothing.
  std::string damage() const;

 private:
  std::string name_;
  std::vector<uint8_t> bytes_;  // of a pipe, read to its end
  MemoryFile memory_;
  SNDFILE* file_ = nullptr;
  int32_t rate_ = 0, channels_ = 0;
  int64_t samples_ = 0, samplesRead_ = 0;
  bool estimated_ = false;  // samples_
  std::vector<float> floats_;
};

}  // namespace mox
