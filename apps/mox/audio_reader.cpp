#include "mox/audio_reader.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "mox/failure.h"
#include "mox/input_file.h"

namespace mox {
namespace {

constexpr int64_t kBlock = 1152 * 16;

}  // namespace

// Standard input has been read to its end: libsndfile searches in it as in a file.
int64_t AudioReader::pipedSeek(int64_t offset, int whence, void* piped) {
  Piped& input = *static_cast<Piped*>(piped);
  const int64_t end = std::ssize(input.bytes);
  const int64_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? input.position : end;
  return input.position = std::clamp<int64_t>(base + offset, 0, end);
}

int64_t AudioReader::pipedRead(void* to, int64_t count, void* piped) {
  Piped& input = *static_cast<Piped*>(piped);
  count = std::min(count, std::ssize(input.bytes) - input.position);
  std::copy_n(input.bytes.begin() + input.position, count, static_cast<uint8_t*>(to));
  input.position += count;
  return count;
}

AudioReader::AudioReader(const std::string& path) : name_(inputName(path)) {
  SF_INFO info{};
  if (path == "-") {
    piped_.bytes = readInput(path);
    SF_VIRTUAL_IO access{
        [](void* piped) -> sf_count_t { return std::ssize(static_cast<Piped*>(piped)->bytes); }, pipedSeek,
        pipedRead, [](const void*, sf_count_t, void*) -> sf_count_t { return 0; },
        [](void* piped) -> sf_count_t { return static_cast<Piped*>(piped)->position; }};
    file_ = sf_open_virtual(&access, SFM_READ, &info, &piped_);
  } else {
    file_ = sf_open(path.c_str(), SFM_READ, &info);
  }
  if (file_ == nullptr) {
    if (sf_error(nullptr) == SF_ERR_SYSTEM) failWithSystemError(name_);
    throw Failure(name_ + ": not an audio file that can be read: " + sf_strerror(nullptr));
  }
  rate_ = info.samplerate;
  channels_ = info.channels;
  samples_ = info.frames;
}

AudioReader::~AudioReader() { sf_close(file_); }

bool AudioReader::read(std::vector<int16_t>& block) {
  floats_.resize(static_cast<size_t>(kBlock * channels_));
  const int64_t got = sf_readf_float(file_, floats_.data(), kBlock);
  if (got <= 0) {
    if (sf_error(file_) != SF_ERR_NO_ERROR) throw Failure(name_ + ": " + sf_strerror(file_));
    return false;
  }
  block.resize(static_cast<size_t>(got * channels_));
  std::transform(floats_.begin(), floats_.begin() + got * channels_, block.begin(), [](float x) {
    return static_cast<int16_t>(std::lrint(std::clamp(x * 32768.0f, -32768.0f, 32767.0f)));
  });
  return true;
}

}  // namespace mox
