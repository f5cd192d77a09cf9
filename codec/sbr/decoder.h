// Spectral band replication of one coded element: core samples in, samples of twice the rate and the full band out.
// ISO/IEC 14496-3, 4.6.18.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "codec/io/array.h"
#include "codec/io/bytes.h"
#include "codec/sbr/adjuster.h"
#include "codec/sbr/generator.h"
#include "codec/sbr/parser.h"

namespace moxc::sbr {

constexpr size_t kMaxCoreSamples = 1024, kMaxSamples = 2 * kMaxCoreSamples;

class Element {
 public:
  // `channels` of the core, 1 or 2; `fullRate` is twice the core's. `stereo` makes two of one, which parametric stereo
  // tells apart once it has come. Frames bring 1024 or 960 core samples and twice as many of the full band, or, when
  // it is down-sampled, its lower half at the core's rate.
  Element(int32_t channels, int32_t fullRate, bool stereo, int32_t coreSamples = 1024,
          bool downSampled = false);
  ~Element();
  Element(Element&&) noexcept;

  // Says what the next frame's high band is. The payload is a fill element's data; an empty one, or one before the
  // first header, leaves the frame without a high band. False when it is damaged, which goes on as hold() does.
  bool read(Bytes payload);
  // Whether what was read last holds parametric stereo, of which nothing is made without makeStereo().
  bool hasStereoData() const { return active_ && frame_.stereo.has_value(); }
  bool makeStereo();  // from this frame on two channels; false when its data are damaged

  // Nothing is known of the frame: the last high band stands, softer by 6 dB each time, and soon falls silent.
  void hold();

  // One frame of every channel, on the 16-bit scale. Of one channel without stereo the second place is not looked at.
  void run(const Array<const float*, 2>& core, const Array<float*, 2>& samples);

 private:
  struct Channel;
  struct Stereo;

  Parser parser_;
  int32_t slots_;  // of a frame
  bool downSampled_;
  Frame frame_, next_;
  bool active_ = false;  // the frame has a high band
  int32_t held_ = 0;     // frames since the last good one
  std::vector<std::unique_ptr<Channel>> channels_;
  std::unique_ptr<Stereo> stereo_;
};

}  // namespace moxc::sbr
