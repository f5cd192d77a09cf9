// Audio files as interleaved samples, by libsndfile.
#include "mox/files/audio_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "mox/files/failure.h"
#include "mox/files/input_file.h"

namespace mox {
namespace {

constexpr int64_t kBlock = 1152 * 16;

}  // namespace

AudioReader::AudioReader(const std::string& path) : name_(inputName(path)) {
  SF_INFO info{};
  if (path == "-" || (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path))) {
    bytes_ = readInput(path);  // a pipe, in which libsndfile could not search
    memory_ = MemoryFile(bytes_);
    file_ = memory_.open(info);
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
  estimated_ = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG;
}

AudioReader::~AudioReader() { sf_close(file_); }

bool AudioReader::read(std::vector<float>& block) {
  block.resize(static_cast<size_t>(kBlock * channels_));
  const int64_t got = sf_readf_float(file_, block.data(), kBlock);
  if (got <= 0) {
    if (sf_error(file_) != SF_ERR_NO_ERROR) throw Failure(name_ + ": " + sf_strerror(file_));
    return false;
  }
  samplesRead_ += got;
  block.resize(static_cast<size_t>(got * channels_));
  return true;
}

bool AudioReader::read(std::vector<int16_t>& block) {
  if (!read(floats_)) return false;
  block.resize(floats_.size());
  std::transform(floats_.begin(), floats_.end(), block.begin(), [](float x) {
    return static_cast<int16_t>(std::lrint(std::clamp(x * 32768.0f, -32768.0f, 32767.0f)));
  });
  return true;
}

// Of formats that count their samples first, libsndfile gives fewer than that. The length of a WAV or AIFF file it
// corrects, and says so in its log alone; writers into a pipe, who cannot know it, leave a length near 2 or 4 GiB.
std::string AudioReader::damage() const {
  constexpr long long kUnknownLength = 0x7FFFF000;
  long long there = samplesRead_, claimed = estimated_ ? 0 : samples_;
  const char* unit = "samples";
  char log[4096] = {};
  sf_command(file_, SFC_GET_LOG_INFO, log, sizeof log);
  for (const char* const chunk : {"\ndata : ", "\n SSND : "}) {
    const char* const at = std::strstr(log, chunk);
    long long first, second;
    if (at == nullptr || std::sscanf(at + std::strlen(chunk), "%lld (should be %lld)", &first, &second) != 2)
      continue;
    claimed = first;
    there = second;
    unit = "bytes of sound";
  }
  if (there >= claimed || claimed >= kUnknownLength) return {};
  char text[96];
  std::snprintf(text, sizeof text, "holds %lld of %lld %s", there, claimed, unit);
  return text;
}

}  // namespace mox
