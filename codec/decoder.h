// What every decoder of the program offers to the commands, whatever the codec.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "codec/io/bytes.h"

namespace moxc {

struct AudioFormat {
  int32_t rate = 0;
  int32_t channels = 0;
  // WAVE_FORMAT_EXTENSIBLE's dwChannelMask; samples are interleaved in the order of its bits. 0 for mono and
  // stereo, which need none.
  uint32_t channelMask = 0;
};

struct DecodeOptions {
  bool floatSamples = false;  // 32-bit float output instead of 16-bit
  bool raw = false;           // keep the encoder's delay and padding
};

// Interleaved samples; one of the two is filled, as the options said. Valid until the next call.
struct PcmView {
  std::span<const int16_t> s16;
  std::span<const float> f32;

  // The samples from `from` up to `to` of each channel.
  PcmView part(int64_t from, int64_t to, int32_t channels) const {
    const auto cut = [first = static_cast<size_t>(from * channels),
                      count = static_cast<size_t>((to - from) * channels)](auto samples) {
      return samples.empty() ? samples : samples.subspan(first, count);
    };
    return {cut(s16), cut(f32)};
  }
};

struct DecodeStats {
  int64_t frames = 0;                // delivered, concealed ones included
  int64_t concealed = 0;             // frames replaced wholly or in part
  int64_t skippedBytes = 0;          // bytes between frames that belong to no frame
  std::vector<std::string> faults;   // what was found, one line each; empty exactly when nothing was damaged
  std::vector<std::string> notices;  // what is sound but left out of the output, one line each
};

class AudioDecoder {
 public:
  virtual ~AudioDecoder() = default;

  virtual AudioFormat format() const = 0;
  virtual int64_t expectedSamples()
      const = 0;  // per channel; what all blocks together will hold, or about it
  virtual bool decodeBlock(PcmView& block) = 0;  // false at the end; never fails: damage is concealed
  virtual double progress() const = 0;           // 0..1
  virtual DecodeStats stats() const = 0;         // of what was decoded so far
  // Name and value, one line each: what `mox info` prints.
  virtual std::vector<std::pair<std::string, std::string>> describe() const = 0;
};

// Finds out what the bytes are and opens the decoder for it. The bytes must outlive the decoder. Throws
// Failure when nothing in them can be decoded; `name` is how the message calls them.
std::unique_ptr<AudioDecoder> openDecoder(Bytes bytes, const DecodeOptions& options, const std::string& name);

}  // namespace moxc
