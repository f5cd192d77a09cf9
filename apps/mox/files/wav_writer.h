// WAV files by way of libsndfile.
#pragma once

#include <cstdint>

#include "mox/files/decoder.h"
#include "mox/names.h"

struct sf_private_tag;

namespace mox {

// Writes a WAV header and samples to a seekable descriptor, which stays open and stays the caller's: 16-bit
// integer or 32-bit float, WAVE_FORMAT_EXTENSIBLE with the channel mask when the format has one, RF64 when
// the expected samples (per channel) outgrow WAV's 4 GiB. Throws Failure.
class WavWriter {
 public:
  WavWriter(int descriptor, const MoxcFormat& format, bool floatSamples, int64_t expectedSamples);
  ~WavWriter();
  WavWriter(const WavWriter&) = delete;
  WavWriter& operator=(const WavWriter&) = delete;

  void write(const Pcm& pcm);
  void close();                                 // completes the header
  int64_t samples() const { return samples_; }  // per channel, so far

 private:
  [[noreturn]] void fail() const;

  sf_private_tag* file_ = nullptr;
  int descriptor_;
  bool large_ = false;
  bool floatSamples_;
  int64_t limit_;  // samples per channel that the header can count
  int64_t samples_ = 0;
};

}  // namespace mox
