#include "mox/files/wav_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string_view>

#include "mox/files/atomic_file.h"
#include "mox/files/failure.h"

namespace mox {

StreamOutput::StreamOutput(const std::string& path) : name_(path == "-" ? "standard output" : path) {
  struct stat facts {};
  const bool known = (path == "-" ? fstat(STDOUT_FILENO, &facts) : stat(path.c_str(), &facts)) == 0;
  if (!known || S_ISREG(facts.st_mode) || S_ISDIR(facts.st_mode)) return;
  std::signal(SIGPIPE, SIG_IGN);  // a reader that went away is an error message, not a silent end
  owned_ = path != "-";
  descriptor_ = owned_ ? open(path.c_str(), O_WRONLY | O_CLOEXEC) : STDOUT_FILENO;
  if (descriptor_ < 0) failWithSystemError(path);
}

StreamOutput::~StreamOutput() {
  if (owned_ && descriptor_ >= 0) close(descriptor_);
}

WavStream::WavStream(int descriptor, const std::string& name, const MoxcFormat& format, bool floatSamples,
                     int64_t samples)
    : descriptor_(descriptor),
      name_(name),
      frameBytes_(static_cast<size_t>(format.channels) * (floatSamples ? 4 : 2)) {
  std::vector<uint8_t> header;
  const auto text = [&](std::string_view word) { header.insert(header.end(), word.begin(), word.end()); };
  const auto put = [&](uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) header.push_back(static_cast<uint8_t>(value >> (8 * i)));
  };
  const auto rate = static_cast<uint64_t>(format.rate);
  const bool extensible = format.channelMask != 0;
  const uint64_t headerBytes =  // behind the first eight
      20 + (extensible ? 40u : 16u) + (floatSamples ? 12u : 0u);
  const uint64_t most = UINT32_MAX - 1 - headerBytes;
  const uint64_t known = samples < 0 ? most : static_cast<uint64_t>(samples) * frameBytes_;
  const uint64_t bytes = std::min(known, most);
  text("RIFF");
  put(known >= most ? UINT32_MAX : bytes + headerBytes, 4);
  text("WAVEfmt ");
  put(extensible ? 40 : 16, 4);
  put(extensible ? 0xFFFE : floatSamples ? 3 : 1, 2);
  put(static_cast<uint64_t>(format.channels), 2);
  put(rate, 4);
  put(rate * frameBytes_, 4);
  put(frameBytes_, 2);
  put(floatSamples ? 32 : 16, 2);
  if (extensible) {
    put(22, 2);
    put(floatSamples ? 32 : 16, 2);
    put(format.channelMask, 4);
    put(floatSamples ? 3 : 1, 2);  // the sub-format: that number and the rest of its GUID
    text(std::string_view("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14));
  }
  if (floatSamples) {
    text("fact");
    put(4, 4);
    put(bytes / frameBytes_, 4);
  }
  text("data");
  put(known >= most ? UINT32_MAX : bytes, 4);
  writeBytes(descriptor_, header, name_);
}

void WavStream::write(const Pcm& pcm) {
  const auto* const bytes = static_cast<const uint8_t*>(pcm.samples);
  writeBytes(descriptor_, Bytes(bytes, static_cast<size_t>(pcm.frames) * frameBytes_), name_);
}

}  // namespace mox
