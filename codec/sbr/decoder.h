// Spectral band replication of one coded element: core samples in, samples of twice the rate and the full band out.
// ISO/IEC 14496-3, 4.6.18.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "codec/io/bytes.h"
#include "codec/sbr/adjuster.h"
#include "codec/sbr/generator.h"
#include "codec/sbr/parser.h"

namespace moxc::sbr {

constexpr size_t kCoreSamples = 1024, kSamples = 2 * kCoreSamples;

class Element {
 public:
  // `channels` of the core, 1 or 2; `stereo` makes two of one, which parametric stereo tells apart once it has come.
  Element(int32_t channels, int32_t outputRate, bool stereo);
  ~Element();
  Element(Element&&) noexcept;

  // Says what the next frame's high band is. The payload is a fill element's data; an empty one, or one before the
  // first header, leaves the frame without a high band. False when it is damaged, which goes on as hold() does.
  bool read(Bytes payload);
  // Nothing is known of the frame: the last high band stands, softer by 6 dB each time, and soon falls silent.
  void hold();

  // One frame of every channel, on the 16-bit scale. Of one channel without stereo the second place is not looked at.
  void run(const std::array<const float*, 2>& core, const std::array<float*, 2>& samples);

 private:
  struct Channel;
  struct Stereo;

  Parser parser_;
  Frame frame_, next_;
  bool active_ = false;  // the frame has a high band
  int32_t held_ = 0;     // frames since the last good one
  std::vector<std::unique_ptr<Channel>> channels_;
  std::unique_ptr<Stereo> stereo_;
};

}  // namespace moxc::sbr
