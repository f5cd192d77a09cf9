// Samples of any number of channels in the layout of a file that has begun.
#pragma once

#include <cstdint>
#include <vector>

#include "mox/files/decoder.h"

namespace mox {

// Mono goes to both sides, more channels to one are their mean; else channels keep their places, and those without one
// are silent or left out.
class ChannelMap {
 public:
  ChannelMap(int32_t channels, bool floatSamples)
      : channels_(static_cast<size_t>(channels)), float_(floatSamples) {}

  Pcm run(const Pcm& pcm, int32_t channels) {
    if (static_cast<size_t>(channels) == channels_) return pcm;
    return float_ ? map<float, double>(pcm, static_cast<size_t>(channels), floats_)
                  : map<int16_t, int32_t>(pcm, static_cast<size_t>(channels), shorts_);
  }

 private:
  template <class T, class Sum>
  Pcm map(const Pcm& pcm, size_t channels, std::vector<T>& out) {
    const auto frames = static_cast<size_t>(pcm.frames);
    const T* from = static_cast<const T*>(pcm.samples);
    out.assign(frames * channels_, T{0});
    for (size_t i = 0; i < frames; ++i, from += channels) {
      T* const to = out.data() + i * channels_;
      if (channels_ == 1) {
        Sum sum = 0;
        for (size_t ch = 0; ch < channels; ++ch) sum += from[ch];
        *to = static_cast<T>(sum / static_cast<Sum>(channels));
      } else if (channels == 1) {
        to[0] = to[1] = from[0];
      } else {
        std::copy_n(from, std::min(channels, channels_), to);
      }
    }
    return {out.data(), pcm.frames};
  }

  size_t channels_;
  bool float_;
  std::vector<int16_t> shorts_;
  std::vector<float> floats_;
};

}  // namespace mox
