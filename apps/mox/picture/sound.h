// A whole sound in memory, for commands that look at signals.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "codec/io/bytes.h"
#include "mox/names.h"

namespace mox {

// All channels mixed to one (their mean), full scale at 1.
struct MonoSound {
  int32_t rate = 0;
  std::vector<float> samples;
  std::vector<std::string> faults = {};  // damage of a coded stream, one line each

  double seconds() const { return static_cast<double>(samples.size()) / rate; }
};

// Reads any sound file that libsndfile knows (WAV, FLAC, AIFF, ...) and any stream that this program decodes.
// Throws Failure when the bytes are neither, or hold no sample; `name` is how the message calls them.
MonoSound readSound(Bytes bytes, const std::string& name);

}  // namespace mox
