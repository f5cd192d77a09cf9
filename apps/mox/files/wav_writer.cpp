// WAV and RF64 output.
#include "mox/files/wav_writer.h"

#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "mox/files/failure.h"

namespace mox {
namespace {

// libsndfile's names of the speakers, in the order of WAVE_FORMAT_EXTENSIBLE's mask bits.
constexpr int kSpeakers[] = {SF_CHANNEL_MAP_LEFT,
                             SF_CHANNEL_MAP_RIGHT,
                             SF_CHANNEL_MAP_CENTER,
                             SF_CHANNEL_MAP_LFE,
                             SF_CHANNEL_MAP_REAR_LEFT,
                             SF_CHANNEL_MAP_REAR_RIGHT,
                             SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER,
                             SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER,
                             SF_CHANNEL_MAP_REAR_CENTER,
                             SF_CHANNEL_MAP_SIDE_LEFT,
                             SF_CHANNEL_MAP_SIDE_RIGHT,
                             SF_CHANNEL_MAP_TOP_CENTER,
                             SF_CHANNEL_MAP_TOP_FRONT_LEFT,
                             SF_CHANNEL_MAP_TOP_FRONT_CENTER,
                             SF_CHANNEL_MAP_TOP_FRONT_RIGHT,
                             SF_CHANNEL_MAP_TOP_REAR_LEFT,
                             SF_CHANNEL_MAP_TOP_REAR_CENTER,
                             SF_CHANNEL_MAP_TOP_REAR_RIGHT};

// WAV counts its bytes in 32 bits; the header takes less than a kilobyte of them.
constexpr int64_t kWavBytes = (int64_t{1} << 32) - 1024;

std::vector<int> speakersOf(uint32_t mask) {
  std::vector<int> speakers;
  for (size_t bit = 0; bit < std::size(kSpeakers); ++bit)
    if ((mask >> bit & 1u) != 0) speakers.push_back(kSpeakers[bit]);
  return speakers;
}

}  // namespace

WavWriter::WavWriter(int descriptor, const MoxcFormat& format, bool floatSamples, int64_t expectedSamples)
    : descriptor_(descriptor), floatSamples_(floatSamples) {
  const int64_t sampleBytes = int64_t{format.channels} * (floatSamples ? 4 : 2);
  large_ = expectedSamples > kWavBytes / sampleBytes;
  limit_ = large_ ? INT64_MAX : kWavBytes / sampleBytes;

  SF_INFO info{};
  info.samplerate = format.rate;
  info.channels = format.channels;
  info.format = (large_                    ? SF_FORMAT_RF64
                 : format.channelMask != 0 ? SF_FORMAT_WAVEX
                                           : SF_FORMAT_WAV) |
                (floatSamples ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_16);
  file_ = sf_open_fd(descriptor, SFM_WRITE, &info, SF_FALSE);
  if (file_ == nullptr) fail();
  // The peak chunk holds the time of day: the same input would not give the same file.
  sf_command(file_, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  std::vector<int> speakers = speakersOf(format.channelMask);
  if (speakers.size() == static_cast<size_t>(format.channels))
    sf_command(file_, SFC_SET_CHANNEL_MAP_INFO, speakers.data(),
               static_cast<int>(speakers.size() * sizeof(int)));
}

WavWriter::~WavWriter() {
  if (file_ != nullptr) sf_close(file_);
}

void WavWriter::fail() const { throw Failure(std::string("writing WAV: ") + sf_strerror(file_)); }

void WavWriter::write(const Pcm& pcm) {
  if (samples_ > limit_ - pcm.frames) throw Failure("writing WAV: more than 4 GiB of samples");
  const sf_count_t put = floatSamples_
                             ? sf_writef_float(file_, static_cast<const float*>(pcm.samples), pcm.frames)
                             : sf_writef_short(file_, static_cast<const int16_t*>(pcm.samples), pcm.frames);
  if (put != pcm.frames) fail();
  samples_ += pcm.frames;
}

void WavWriter::close() {
  sf_write_sync(file_);
  SNDFILE* const file = file_;
  file_ = nullptr;
  if (sf_close(file) != 0) throw Failure("writing WAV: the file could not be completed");
  if (!large_) return;
  // RF64 has the peak chunk all the same: name, length and version, then the time of day.
  std::array<char, 256> head{};
  const ssize_t got = pread(descriptor_, head.data(), head.size(), 0);
  const size_t peak =
      std::string_view(head.data(), static_cast<size_t>(std::max<ssize_t>(got, 0))).find("PEAK");
  if (peak != std::string_view::npos && pwrite(descriptor_, "\0\0\0", 4, static_cast<off_t>(peak) + 12) != 4)
    failWithSystemError("writing WAV");
}

}  // namespace mox
