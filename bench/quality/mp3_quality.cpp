// How good the MP3 encoder sounds by numbers, beside the `lame` program at the same bit rates: noise-to-mask ratio by
// the library's own model, segmental SNR, and the noise in front of attacks. Both streams go through one decoder.
//
// usage: mp3_quality [kbit/s ...]        (64 128 192)
#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "codec/decoder.h"
#include "codec/mp3/encoder.h"
#include "moxac.h"

namespace {

constexpr int32_t kRate = 44100, kSamples = 6 * kRate;
constexpr double kTurn = 6.283185307179586;

struct Item {
  std::string name;
  std::vector<int16_t> samples;  // two channels, interleaved
  std::vector<int32_t> attacks;
};

using Track = std::vector<double>;

Item makeItem(const std::string& name, const Track& left, const Track& right) {
  Item item{name, {}, {}};
  for (size_t i = 0; i < left.size(); ++i)
    for (const double x : {left[i], right[i]})
      item.samples.push_back(static_cast<int16_t>(std::lrint(std::clamp(x, -32768.0, 32767.0))));
  return item;
}

Item tones() {
  Track left(kSamples), right(kSamples);
  for (size_t i = 0; i < left.size(); ++i) {
    const double t = static_cast<double>(i) / kRate;
    left[i] = 6000 * std::sin(kTurn * 440 * t) + 3000 * std::sin(kTurn * 1234.5 * t) +
              1500 * std::sin(kTurn * 5000 * t);
    right[i] = 0.7 * left[i];
  }
  return makeItem("tones", left, right);
}

Item noise(std::mt19937& random) {
  std::normal_distribution<double> gauss;
  Track left(kSamples), right(kSamples);
  for (size_t i = 0; i < left.size(); ++i) {
    left[i] = 3000 * gauss(random);
    right[i] = 0.5 * left[i] + 2400 * gauss(random);
  }
  return makeItem("noise", left, right);
}

// Wooden clicks in silence.
Item castanets(std::mt19937& random) {
  std::normal_distribution<double> gauss;
  std::uniform_real_distribution<double> unit;
  Track left(kSamples), right(kSamples);
  std::vector<int32_t> attacks;
  for (int32_t at = 6000; at < kSamples - 8000; at += 5000 + static_cast<int32_t>(9000 * unit(random))) {
    const double loud = 8000 + 17000 * unit(random), pan = 0.3 + 0.4 * unit(random);
    const double low = 1500 + 1000 * unit(random), high = 3000 + 3000 * unit(random);
    attacks.push_back(at);
    for (int32_t i = 0; i < 6000; ++i) {
      const double t = static_cast<double>(i) / kRate;
      const double x =
          loud * std::exp(-i / 250.0) *
          (0.5 * std::sin(kTurn * low * t) + 0.3 * std::sin(kTurn * high * t) + 0.25 * gauss(random));
      left[static_cast<size_t>(at + i)] += x * pan;
      right[static_cast<size_t>(at + i)] += x * (1 - pan);
    }
  }
  Item item = makeItem("castanets", left, right);
  item.attacks = attacks;
  return item;
}

// Plucked chords, a bass, a hi-hat.
Item music(std::mt19937& random) {
  std::normal_distribution<double> gauss;
  std::uniform_real_distribution<double> unit;
  Track left(kSamples), right(kSamples);
  constexpr int32_t kBeat = kRate / 3;
  for (int32_t start = 0; start < kSamples; start += kBeat) {
    constexpr int kRoots[] = {0, 3, 5, 7, 10};
    const double root = 110 * std::exp2(kRoots[static_cast<size_t>(unit(random) * 5)] / 12.0);
    const auto add = [&](int32_t i, double x, double pan) {
      left[static_cast<size_t>(start + i)] += x * pan;
      right[static_cast<size_t>(start + i)] += x * (1 - pan);
    };
    for (const int semitones : {0, 4, 7, 12}) {
      const double hertz = 2 * root * std::exp2(semitones / 12.0), pan = 0.2 + 0.6 * unit(random);
      for (int32_t i = 0; i < std::min(2 * kBeat, kSamples - start); ++i) {
        double x = 0;
        for (int h = 1; h <= 6; ++h)
          x += std::sin(kTurn * hertz * h * i / kRate + h) / h * std::exp(-i * h / 20000.0);
        add(i, 1200 * x * std::exp(-i / 9000.0) * std::min(1.0, i / 60.0), pan);
      }
    }
    for (int32_t i = 0; i < std::min(kBeat, kSamples - start); ++i) {
      add(i, 5000 * std::sin(kTurn * root / 2 * i / kRate) * std::exp(-i / 12000.0), 0.5);
      add(i, 1800 * gauss(random) * std::exp(-i / 900.0), 0.6);
    }
  }
  return makeItem("music", left, right);
}

Item mixture(const Item& a, const Item& b, const Item& c) {
  Item item{"mixture", {}, {}};
  for (size_t i = 0; i < a.samples.size(); ++i)
    item.samples.push_back(static_cast<int16_t>(a.samples[i] / 2 + b.samples[i] * 2 / 5 + c.samples[i] / 10));
  return item;
}

class Scratch {
 public:
  Scratch() {
    std::string pattern = std::filesystem::temp_directory_path() / "mp3_quality.XXXXXX";
    path_ = mkdtemp(pattern.data());
  }
  ~Scratch() { std::filesystem::remove_all(path_); }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

bool run(const std::string& command) { return std::system((command + " > /dev/null 2>&1").c_str()) == 0; }

std::vector<uint8_t> readBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeWav(const std::string& path, const std::vector<int16_t>& samples) {
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = 2;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
  sf_write_short(file, samples.data(), std::ssize(samples));
  sf_close(file);
}

// A sentence from a speech synthesiser, if there is one; its 22.05 kHz become 44.1 kHz by lines between samples.
bool speech(const Scratch& scratch, Item& item) {
  const std::string path = scratch / "speech.wav";
  if (!run("espeak-ng -w " + path +
           " 'She sells sea shells by the sea shore, and Peter Piper picked a peck of pickled peppers.'"))
    return false;
  SF_INFO info{};
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) return false;
  std::vector<int16_t> voice(static_cast<size_t>(info.frames));
  sf_read_short(file, voice.data(), info.frames);
  sf_close(file);
  item = {"speech", {}, {}};
  for (size_t i = 0; i + 1 < voice.size(); ++i)
    for (const int x : {int{voice[i]}, (voice[i] + voice[i + 1]) / 2})
      for (int ch = 0; ch < 2; ++ch) item.samples.push_back(static_cast<int16_t>(x * 3 / 4));
  return true;
}

std::vector<float> decode(const std::vector<uint8_t>& stream) {
  const auto decoder = moxc::openDecoder(stream, {true, false}, "stream");
  std::vector<float> samples;
  for (moxc::PcmView block; decoder->decodeBlock(block);)
    samples.insert(samples.end(), block.f32.begin(), block.f32.end());
  return samples;
}

std::vector<uint8_t> encode(const Item& item, int32_t bitRate) {
  moxc::mp3::EncoderSettings settings;
  settings.bitRate = bitRate;
  moxc::mp3::Encoder encoder(settings);
  std::vector<uint8_t> stream;
  encoder.encode(item.samples, stream);
  encoder.finish(stream);
  const std::vector<uint8_t> info = encoder.infoFrame();
  std::copy(info.begin(), info.end(), stream.begin());
  return stream;
}

// The long-block spectrum of one channel, granule by granule.
class Spectrum {
 public:
  Spectrum() { moxsAnalysisFilterInitAlloc_PQMF_MP3_32f(&bank_); }
  ~Spectrum() { moxsAnalysisFilterFree_PQMF_MP3_32f(bank_); }
  Spectrum(const Spectrum&) = delete;
  Spectrum& operator=(const Spectrum&) = delete;

  void next(const float* samples, int32_t* lines) {  // 576, full scale 1
    MoxMp3FrameHeader header{};
    header.id = 1;
    int32_t slots[576];
    for (int slot = 0; slot < 18; ++slot) {
      float bands[32];
      moxsAnalysisFilter_PQMF_MP3_32f(samples + 32 * slot, bands, bank_);
      for (int b = 0; b < 32; ++b)
        slots[32 * slot + b] = static_cast<int32_t>(std::lrint(bands[b] * 67108864.0f));
    }
    moxsMDCTFwd_MP3_32s(slots, lines, overlap_, 0, 0, &header);
  }

 private:
  MoxMp3AnalysisState* bank_ = nullptr;
  int32_t overlap_[576] = {};
};

struct Figures {
  double noiseToMask = 0, segmentalSnr = 0, preEcho = 0;
};

constexpr int kBands = 21;
constexpr int kBandStart[kBands + 1] = {0,  4,  8,  12,  16,  20,  24,  30,  36,  44,  52,
                                        62, 74, 90, 110, 134, 162, 196, 238, 288, 342, 418};

double bandEnergy(const int32_t* lines, int band) {
  double sum = 0;
  for (int i = kBandStart[band]; i < kBandStart[band + 1]; ++i)
    sum += static_cast<double>(lines[i]) * lines[i];
  return sum;
}

// Mean over granules of 10 log10 of the mean over bands and channels of noise to allowed noise.
double noiseToMask(const Item& item, const std::vector<float>& decoded) {
  const auto state = std::make_unique<MoxMp3PsychoacousticModelTwoState>();
  MoxMp3FrameHeader header{};
  header.id = header.layer = 1;  // two channels apart
  Spectrum signal[2], error[2];
  std::vector<double> noise(2 * kBands), energy(2 * kBands);
  double sum = 0;
  int32_t granules = 0;
  for (size_t first = 0; first + 576 <= item.samples.size() / 2; first += 576) {
    MoxMp3PsychoacousticModelTwoAnalysis
        psy[2];  // of the granule whose energies were measured in the last round
    moxsPsychoacousticModelTwo_MP3_16s(item.samples.data() + 2 * first, psy, &header, state.get());
    double ratio = 0, loudness = 0;
    for (size_t ch = 0; ch < 2; ++ch)
      for (size_t b = 0; b < kBands; ++b) {
        const size_t at = ch * kBands + b;
        loudness += energy[at];
        if (energy[at] > 0 && psy[ch].thresholdLong[b] > 0)
          ratio += noise[at] / energy[at] * psy[ch].energyLong[b] / psy[ch].thresholdLong[b] / (2 * kBands);
      }
    if (loudness > 1e9) {
      sum += 10 * std::log10(std::max(ratio, 1e-6));
      ++granules;
    }
    for (size_t ch = 0; ch < 2; ++ch) {
      float x[576], e[576];
      for (size_t i = 0; i < 576; ++i) {
        const size_t at = 2 * (first + i) + ch;
        x[i] = static_cast<float>(item.samples[at]) / 32768;
        e[i] = x[i] - (at < decoded.size() ? decoded[at] : 0);
      }
      int32_t lines[576], errorLines[576];
      signal[ch].next(x, lines);
      error[ch].next(e, errorLines);
      for (int b = 0; b < kBands; ++b) {
        energy[ch * kBands + static_cast<size_t>(b)] = bandEnergy(lines, b);
        noise[ch * kBands + static_cast<size_t>(b)] = bandEnergy(errorLines, b);
      }
    }
  }
  return sum / std::max(1, granules);
}

// Energy of signal and error in a stretch of samples, 16-bit units.
std::pair<double, double> energies(const Item& item, const std::vector<float>& decoded, int32_t first,
                                   int32_t last) {
  double signal = 0, error = 0;
  for (auto at = static_cast<size_t>(2 * first); at < static_cast<size_t>(2 * last); ++at) {
    const double x = item.samples[at],
                 y = at < decoded.size() ? 32768.0 * static_cast<double>(decoded[at]) : 0;
    signal += x * x;
    error += (x - y) * (x - y);
  }
  return {signal, error};
}

Figures measure(const Item& item, const std::vector<float>& decoded) {
  Figures figures;
  figures.noiseToMask = noiseToMask(item, decoded);
  int32_t segments = 0;
  for (int32_t first = 0; first + 1024 <= std::ssize(item.samples) / 2; first += 1024) {
    const auto [signal, error] = energies(item, decoded, first, first + 1024);
    if (signal < 1024 * 100) continue;
    figures.segmentalSnr += std::clamp(10 * std::log10(signal / std::max(error, 1.0)), -10.0, 80.0);
    ++segments;
  }
  figures.segmentalSnr /= std::max(1, segments);
  // The 20 ms before an attack, mean power of the error in dB of a 16-bit step.
  for (const int32_t attack : item.attacks) {
    const auto [signal, error] = energies(item, decoded, attack - 900, attack - 16);
    figures.preEcho += 10 * std::log10(error / 884 / 2 + 1e-3) / static_cast<double>(item.attacks.size());
  }
  return figures;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<int32_t> bitRates;
  for (int i = 1; i < argc; ++i) bitRates.push_back(std::atoi(argv[i]));
  if (bitRates.empty()) bitRates = {64, 128, 192};

  const Scratch scratch;
  std::mt19937 random(1);
  std::vector<Item> items = {tones(), noise(random), castanets(random), music(random)};
  items.push_back(mixture(items[3], items[2], items[1]));
  if (Item voice; speech(scratch, voice)) items.push_back(voice);

  const bool hasLame = run("lame --version");
  if (!hasLame) std::printf("lame not found, left out\n");
  std::printf("%6s %-10s %19s %19s %19s\n%17s %19s %19s %19s\n", "kbit/s", "item", "noise-to-mask dB",
              "segm. SNR dB", "before attacks dB", "", "mox     lame", "mox     lame", "mox     lame");
  for (const int32_t bitRate : bitRates) {
    double mean[2] = {};
    for (const Item& item : items) {
      Figures of[2] = {measure(item, decode(encode(item, bitRate))), {}};
      if (hasLame) {
        writeWav(scratch / "in.wav", item.samples);
        if (!run("lame -S --resample 44.1 -b " + std::to_string(bitRate) + " " + (scratch / "in.wav") + " " +
                 (scratch / "lame.mp3")))
          return 1;
        of[1] = measure(item, decode(readBytes(scratch / "lame.mp3")));
      }
      std::printf("%6d %-10s %10.2f %8.2f %10.2f %8.2f", bitRate, item.name.c_str(), of[0].noiseToMask,
                  of[1].noiseToMask, of[0].segmentalSnr, of[1].segmentalSnr);
      if (!item.attacks.empty()) std::printf(" %10.2f %8.2f", of[0].preEcho, of[1].preEcho);
      std::printf("\n");
      for (int i = 0; i < 2; ++i) mean[i] += of[i].noiseToMask / static_cast<double>(items.size());
    }
    std::printf("%6d %-10s %10.2f %8.2f\n", bitRate, "mean", mean[0], mean[1]);
  }
  return 0;
}
