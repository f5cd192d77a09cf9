// How loud a recording is, for players that level them. ITU-R BS.1770.
#pragma once

#include <array>
#include <cstdint>

namespace moxc::mp3 {

// Weighted mean power over blocks of 400 ms, without the quiet ones. Keeps a histogram, whatever the length.
class Loudness {
 public:
  Loudness(int32_t rate, int32_t channels);

  void add(const float* samples, int32_t count);  // interleaved, full scale 1, of each channel
  double decibels() const;                        // relative to full scale; -70 when nothing is louder
  float peak() const { return peak_; }

 private:
  static constexpr int32_t kBins = 800;  // tenths of a decibel, from -70 on

  struct Section {  // second order, all channels side by side
    double b0, b1, b2, a1, a2;
    double z1[2], z2[2];
  };
  void endStep();

  int32_t channels_, stepLength_, inStep_ = 0;
  Section shelf_{}, highpass_{};
  double stepPower_ = 0;
  std::array<double, 4> steps_{};  // a block is four steps of 100 ms
  int64_t stepCount_ = 0;
  std::array<int64_t, kBins> histogram_{};
  float peak_ = 0;
};

}  // namespace moxc::mp3
