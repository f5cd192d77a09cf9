// WAV into a pipe, sample by sample as they come: what cannot be gone back in.
#pragma once

#include <cstdint>
#include <string>

#include "mox/files/decoder.h"

namespace mox {

// Where the output goes when it is a pipe or a device; for regular files there is no descriptor here.
class StreamOutput {
 public:
  explicit StreamOutput(const std::string& path);  // "-": standard output
  ~StreamOutput();
  StreamOutput(const StreamOutput&) = delete;
  StreamOutput& operator=(const StreamOutput&) = delete;

  int descriptor() const { return descriptor_; }
  const std::string& name() const { return name_; }

 private:
  std::string name_;
  int descriptor_ = -1;
  bool owned_ = false;
};

class WavStream {
 public:
  // Writes the header at once. `samples` per channel; negative when that is not known, which the header tells by the
  // largest sizes there are.
  WavStream(int descriptor, const std::string& name, const MoxcFormat& format, bool floatSamples,
            int64_t samples);
  void write(const Pcm& pcm);

 private:
  int descriptor_;
  std::string name_;
  size_t frameBytes_;
};

}  // namespace mox
