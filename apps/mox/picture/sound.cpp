// The sound that is to be drawn.
#include "mox/picture/sound.h"

#include <memory>

#include "mox/files/decoder.h"
#include "mox/files/failure.h"
#include "mox/files/memory_file.h"

namespace mox {
namespace {

// Appends the mean of each group of `channels` interleaved samples.
void mixDown(const float* samples, int64_t frames, int channels, std::vector<float>& mono) {
  for (int64_t t = 0; t < frames; ++t) {
    float sum = 0;
    for (int c = 0; c < channels; ++c) sum += samples[t * channels + c];
    mono.push_back(sum / static_cast<float>(channels));
  }
}

// False when libsndfile does not know the bytes, or takes them for an MPEG stream, which is ours to decode.
bool readFile(Bytes bytes, MonoSound& sound) {
  MemoryFile memory(bytes);
  SF_INFO info{};
  const std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file(memory.open(info), sf_close);
  if (file == nullptr || (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) return false;

  constexpr sf_count_t kBlock = 4096;
  std::vector<float> block(static_cast<size_t>(kBlock * info.channels));
  sound.rate = info.samplerate;
  while (const sf_count_t frames = sf_readf_float(file.get(), block.data(), kBlock))
    mixDown(block.data(), frames, info.channels, sound.samples);
  return true;
}

void readStream(Bytes bytes, const std::string& name, MonoSound& sound) {
  Decoder decoder(bytes, name, true);
  sound.rate = decoder.format().rate;
  Pcm pcm;
  for (Decoder::Next next; (next = decoder.read(pcm)) != Decoder::Next::end;) {
    if (next == Decoder::Next::samples)
      mixDown(static_cast<const float*>(pcm.samples), pcm.frames, decoder.format().channels, sound.samples);
    else if (decoder.format().rate != sound.rate)
      throw Failure(name + ": changes its sample rate midway, which a picture cannot show");
  }
  for (const auto& [unnamed, line] : decoder.texts(moxcTextDamage)) sound.faults.push_back(line);
}

}  // namespace

MonoSound readSound(Bytes bytes, const std::string& name) {
  MonoSound sound;
  if (!readFile(bytes, sound)) readStream(bytes, name, sound);
  if (sound.samples.empty()) throw Failure(name + ": holds no samples");
  return sound;
}

}  // namespace mox
