// mox encode: an audio file becomes an MP3 stream.
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>

#include "codec/mp3/encoder.h"
#include "mox/commands/commands.h"
#include "mox/files/atomic_file.h"
#include "mox/files/audio_reader.h"
#include "mox/files/failure.h"
#include "mox/files/input_file.h"
#include "mox/files/progress.h"

namespace mox {
namespace {

struct EncodeArguments {
  std::string input, output;
  int32_t bitRate = 0, average = 0, effort = 5, lowpass = 0, highpass = 0;
  float quality = -1;
  bool checksums = false, strict = false;
  std::string mode;
  bool quiet = false;
};

// The rate to convert to: the nearest that is not lower, so that nothing is lost.
int32_t nearestRate(int32_t rate) {
  return rate < 32000 ? 32000 : rate < 44100 ? 44100 : rate % 11025 == 0 ? 44100 : 48000;
}

mp3::EncoderSettings settingsFor(const EncodeArguments& arguments, const AudioReader& reader,
                                 const std::string& name) {
  if (reader.rate() != 32000 && reader.rate() != 44100 && reader.rate() != 48000) {
    std::string advice = name;
    advice.append(": sampled at ").append(std::to_string(reader.rate()));
    advice.append(
        " Hz; MPEG-1 Layer III takes 32000, 44100 or 48000 Hz.\nmox: convert it first, for example: ffmpeg "
        "-i ");
    advice.append(name)
        .append(" -ar ")
        .append(std::to_string(nearestRate(reader.rate())))
        .append(" converted.wav");
    throw Failure(advice);
  }
  if (reader.channels() > 2)
    throw Failure(name + ": has " + std::to_string(reader.channels()) +
                  " channels; Layer III takes one or two");

  mp3::EncoderSettings settings;
  settings.rate = reader.rate();
  const std::map<std::string, mp3::ChannelMode> modes = {{"mono", mp3::ChannelMode::mono},
                                                         {"stereo", mp3::ChannelMode::stereo},
                                                         {"joint", mp3::ChannelMode::joint}};
  settings.mode = reader.channels() == 1   ? mp3::ChannelMode::mono
                  : arguments.mode.empty() ? mp3::ChannelMode::joint
                                           : modes.at(arguments.mode);
  settings.bitRate = arguments.bitRate != 0 ? arguments.bitRate : 64 * settings.channels();
  if (arguments.average != 0) settings.bitRate = arguments.average;
  settings.average = arguments.average != 0;
  settings.vbrQuality = arguments.quality;
  settings.effort = arguments.effort;
  settings.highpass = arguments.highpass;
  settings.checksums = arguments.checksums;
  settings.strict = arguments.strict;
  settings.lowpass = arguments.lowpass;
  return settings;
}

// The mean of both channels.
void mixDown(std::vector<float>& block) {
  for (size_t i = 0; i < block.size() / 2; ++i) block[i] = (block[2 * i] + block[2 * i + 1]) / 2;
  block.resize(block.size() / 2);
}

int encode(const EncodeArguments& arguments) {
  const std::string output = chooseOutput(arguments.input, arguments.output, ".mp3");
  const std::string name = inputName(arguments.input);
  AudioReader reader(arguments.input);
  const mp3::EncoderSettings settings = settingsFor(arguments, reader, name);
  mp3::Encoder encoder(settings);
  AtomicFile file(output);
  int64_t samples = 0, bytes = 0;
  const auto writeOut = [&](std::vector<uint8_t>& stream) {
    file.write(stream);
    bytes += std::ssize(stream);
    stream.clear();
  };
  {
    Progress progress(!arguments.quiet, name);
    std::vector<uint8_t> stream;
    for (std::vector<float> block; reader.read(block);) {
      if (reader.channels() > settings.channels()) mixDown(block);
      encoder.encode(block, stream);
      writeOut(stream);
      samples += std::ssize(block) / settings.channels();
      progress.show(static_cast<double>(samples) /
                    static_cast<double>(std::max<int64_t>(1, reader.expectedSamples())));
    }
    if (samples == 0) throw Failure(name + ": holds no samples");
    encoder.finish(stream);
    writeOut(stream);
  }
  if (lseek(file.descriptor(), 0, SEEK_SET) != 0) failWithSystemError(file.name());
  file.write(encoder.infoFrame());
  file.commit();

  const std::string damage = reader.damage();
  if (!damage.empty()) std::fprintf(stderr, "mox: %s: %s\n", name.c_str(), damage.c_str());
  const double seconds = static_cast<double>(samples) / settings.rate;
  if (!arguments.quiet)
    std::fprintf(stderr, "%s: %d Hz, %s, %.3f s, %.1f kbit/s\n", file.name().c_str(), settings.rate,
                 settings.mode == mp3::ChannelMode::mono    ? "mono"
                 : settings.mode == mp3::ChannelMode::joint ? "joint stereo"
                                                            : "stereo",
                 seconds, seconds > 0 ? static_cast<double>(bytes) * 8 / seconds / 1000 : 0);
  return damage.empty() ? exitComplete : exitDamaged;
}

}  // namespace

void addEncodeCommand(CLI::App& program, int& exitCode) {
  const auto arguments = std::make_shared<EncodeArguments>();
  CLI::App* const command = program.add_subcommand("encode", "Encode an audio file to MP3");
  command->add_option("input", arguments->input, "WAV, FLAC or AIFF; - reads standard input")->required();
  command->add_option("output", arguments->output,
                      "The MP3 file; - writes to standard output. By default the input's name with .mp3");
  const auto rates = mp3::mp3BitRates();
  CLI::Option* const bitRate = command
                                   ->add_option("-b,--bitrate", arguments->bitRate,
                                                "Constant bit rate, kbit/s; by default 64 for each channel")
                                   ->check(CLI::IsMember(std::vector<int32_t>(rates.begin(), rates.end())));
  CLI::Option* const average = command
                                   ->add_option("--abr", arguments->average,
                                                "Average bit rate, kbit/s: each frame takes what it needs")
                                   ->check(CLI::Range(32, 320))
                                   ->excludes(bitRate);
  command
      ->add_option("-V,--vbr", arguments->quality,
                   "Variable bit rate by quality, 0 (best) to 9.999 (smallest), fractions too")
      ->check(CLI::Range(0.0, 9.999))
      ->excludes(bitRate)
      ->excludes(average);
  command
      ->add_option("--effort", arguments->effort, "Time for quality: 0 (best) to 9 (fastest), by default 5")
      ->check(CLI::Range(0, 9));
  command
      ->add_option("-m,--mode", arguments->mode,
                   "Channels of two-channel input: joint (default), stereo, mono")
      ->check(CLI::IsMember({"joint", "stereo", "mono"}));
  command
      ->add_option("--lowpass", arguments->lowpass,
                   "Highest frequency to keep, Hz; chosen by bit rate, -1 keeps all")
      ->check(CLI::Range(-1, 24000));
  command
      ->add_option("--highpass", arguments->highpass,
                   "Lowest frequency to keep, Hz, up to 400; by default all")
      ->check(CLI::Range(0, 400));
  command->add_flag("--crc", arguments->checksums, "A checksum in every frame");
  command->add_flag("--strict", arguments->strict,
                    "A bit reservoir as the standard's decoders hold, none at 320 kbit/s");
  command->add_flag("-q,--quiet", arguments->quiet, "No progress bar and no summary");
  command->callback([arguments, &exitCode] { exitCode = encode(*arguments); });
}

}  // namespace mox
