// A decoder of the library as the commands use it: files and standard input, and words for what goes wrong.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "codec/io/bytes.h"
#include "mox/names.h"
#include "moxcodec.h"

namespace mox {

// Interleaved samples, 16-bit or float as the decoder was made; valid until the next call.
struct Pcm {
  const void* samples = nullptr;
  int64_t frames = 0;
};

class Decoder {
 public:
  // Of a file, or of standard input for "-". Throws Failure when it cannot be read, or holds nothing to decode.
  Decoder(const std::string& path, bool floatSamples, bool raw);
  // Of bytes in memory, which must outlive it; `name` is how messages call them.
  Decoder(Bytes bytes, const std::string& name, bool floatSamples);
  ~Decoder();
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  enum class Next { samples, format, end };
  Next read(Pcm& pcm);                                  // format: from here on format() is another
  const MoxcFormat& format() const { return format_; }  // known from the start
  bool seekable() const { return input_.seek != nullptr; }
  void rewind();  // what can seek
  void scan();    // to the end, without samples

  double progress() const;                            // 0..1
  int64_t expectedSamples(MoxcDuration& kind) const;  // per channel
  using Lines = std::vector<std::pair<std::string, std::string>>;
  Lines texts(MoxcTexts kind) const;

 private:
  void open(bool floatSamples, bool raw);
  void check(moxcStatus status);

  std::string name_;
  int descriptor_ = -1;
  bool owned_ = false;
  int64_t base_ = 0;  // where in the descriptor the input begins
  Bytes memory_;
  size_t at_ = 0;

  MoxcInput input_{};
  MoxcDecoder* decoder_ = nullptr;
  bool floatSamples_ = false;
  MoxcFormat format_{};
  std::vector<float> buffer_;
};

}  // namespace mox
