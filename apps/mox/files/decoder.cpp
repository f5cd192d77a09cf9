#include "mox/files/decoder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "mox/files/failure.h"
#include "mox/files/input_file.h"

namespace mox {
namespace {

constexpr size_t kFrames = 4096;

}  // namespace

Decoder::Decoder(const std::string& path, bool floatSamples, bool raw) : name_(inputName(path)) {
  descriptor_ = openInput(path);
  owned_ = path != "-";
  struct stat facts {};
  if (fstat(descriptor_, &facts) != 0) failWithSystemError(name_);
  base_ = lseek(descriptor_, 0, SEEK_CUR);
  const bool regular = S_ISREG(facts.st_mode) && base_ >= 0;
  input_ = {[](void* user, uint8_t* to, size_t bytes) -> int64_t {
              for (;;) {
                const ssize_t got = ::read(static_cast<Decoder*>(user)->descriptor_, to, bytes);
                if (got >= 0 || errno != EINTR) return got;
              }
            },
            nullptr, regular ? static_cast<int64_t>(facts.st_size) - base_ : -1, this};
  if (regular)
    input_.seek = [](void* user, int64_t position) -> int32_t {
      const auto* const self = static_cast<Decoder*>(user);
      return lseek(self->descriptor_, static_cast<off_t>(self->base_ + position), SEEK_SET) < 0 ? -1 : 0;
    };
  open(floatSamples, raw);
}

Decoder::Decoder(Bytes bytes, const std::string& name, bool floatSamples) : name_(name), memory_(bytes) {
  input_ = {[](void* user, uint8_t* to, size_t count) -> int64_t {
              auto* const self = static_cast<Decoder*>(user);
              const Bytes part = slice(self->memory_, self->at_, count);
              std::copy(part.begin(), part.end(), to);
              self->at_ += part.size();
              return static_cast<int64_t>(part.size());
            },
            [](void* user, int64_t position) -> int32_t {
              static_cast<Decoder*>(user)->at_ = static_cast<size_t>(position);
              return 0;
            },
            static_cast<int64_t>(bytes.size()), this};
  open(floatSamples, false);
}

void Decoder::open(bool floatSamples, bool raw) {
  floatSamples_ = floatSamples;
  MoxcDecoderOptions options{};
  options.floatSamples = floatSamples;
  options.raw = raw;
  check(moxcDecoderOpen(&decoder_, &input_, &options));
  buffer_.resize(kFrames * 8);
  Pcm pcm;
  read(pcm);  // which announces the format, in front of the first sample
}

Decoder::~Decoder() {
  moxcDecoderFree(decoder_);
  if (owned_) close(descriptor_);
}

void Decoder::check(moxcStatus status) {
  if (status >= moxcStatusOk) return;
  if (status == moxcStatusNoMemory) throw std::bad_alloc();
  if (status == moxcStatusReadFailed) failWithSystemError(name_);
  const std::string message = moxcDecoderGetMessage(decoder_);
  moxcDecoderFree(std::exchange(decoder_, nullptr));
  if (owned_) close(std::exchange(descriptor_, -1));
  throw Failure(name_ + ": " + (message.empty() ? moxcStatusText(status) : message));
}

Decoder::Next Decoder::read(Pcm& pcm) {
  size_t got = 0;
  const moxcStatus status =
      floatSamples_
          ? moxcDecoderRead_32f(decoder_, buffer_.data(), kFrames, &got)
          : moxcDecoderRead_16s(decoder_, reinterpret_cast<int16_t*>(buffer_.data()), kFrames, &got);
  check(status);
  pcm = {buffer_.data(), static_cast<int64_t>(got)};
  if (status == moxcStatusFormat) {
    check(moxcDecoderGetFormat(decoder_, &format_));
    return Next::format;
  }
  return status == moxcStatusEnd ? Next::end : Next::samples;
}

void Decoder::rewind() { check(moxcDecoderSeek(decoder_, 0)); }

void Decoder::scan() { check(moxcDecoderScan(decoder_)); }

double Decoder::progress() const {
  MoxcStats stats;
  if (input_.size <= 0 || moxcDecoderGetStats(decoder_, &stats) != moxcStatusOk) return 0;
  return static_cast<double>(stats.bytes) / static_cast<double>(input_.size);
}

int64_t Decoder::expectedSamples(MoxcDuration& kind) const {
  int64_t samples = 0;
  moxcDecoderGetDuration(decoder_, &samples, &kind);
  return samples;
}

Decoder::Lines Decoder::texts(MoxcTexts kind) const {
  Lines lines;
  const char *name = nullptr, *text = nullptr;
  for (int32_t i = 0; moxcDecoderGetText(decoder_, kind, i, &name, &text) == moxcStatusOk; ++i)
    lines.emplace_back(name, text);
  return lines;
}

}  // namespace mox
