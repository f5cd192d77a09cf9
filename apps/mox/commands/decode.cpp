// mox decode: a coded stream becomes a WAV file.
#include <cstdio>
#include <memory>

#include "codec/decoder.h"
#include "mox/commands/commands.h"
#include "mox/files/atomic_file.h"
#include "mox/files/failure.h"
#include "mox/files/input_file.h"
#include "mox/files/progress.h"
#include "mox/files/wav_writer.h"

namespace mox {
namespace {

struct DecodeArguments {
  std::string input, output;
  bool floatSamples = false, raw = false, quiet = false;
};

int decode(const DecodeArguments& arguments) {
  const std::string output = chooseOutput(arguments.input, arguments.output, ".wav");
  const std::vector<uint8_t> bytes = readInput(arguments.input);
  const std::string name = inputName(arguments.input);
  const DecodeOptions options{arguments.floatSamples, arguments.raw};
  const std::unique_ptr<AudioDecoder> decoder = openDecoder(bytes, options, name);
  const AudioFormat format = decoder->format();

  AtomicFile file(output);
  WavWriter wav(file.descriptor(), format, arguments.floatSamples, decoder->expectedSamples());
  {
    Progress progress(!arguments.quiet, name);
    for (PcmView block; decoder->decodeBlock(block);) {
      wav.write(block);
      progress.show(decoder->progress());
    }
  }
  wav.close();
  file.commit();

  const DecodeStats stats = decoder->stats();
  for (const auto* lines : {&stats.faults, &stats.notices})
    for (const std::string& line : *lines) std::fprintf(stderr, "mox: %s: %s\n", name.c_str(), line.c_str());
  if (!arguments.quiet)
    std::fprintf(stderr, "%s: %d Hz, %d channel%s, %.3f s%s\n", file.name().c_str(), format.rate,
                 format.channels, format.channels == 1 ? "" : "s",
                 static_cast<double>(wav.samples()) / format.rate,
                 stats.faults.empty() ? "" : ", from a damaged stream");
  return stats.faults.empty() ? exitComplete : exitDamaged;
}

}  // namespace

void addDecodeCommand(CLI::App& program, int& exitCode) {
  const auto arguments = std::make_shared<DecodeArguments>();
  CLI::App* const command = program.add_subcommand("decode", "Decode a stream to a WAV file");
  command->add_option("input", arguments->input, "The stream; - reads standard input")->required();
  command->add_option("output", arguments->output,
                      "The WAV file; - writes to standard output. By default the input's name with .wav");
  command->add_flag("--float", arguments->floatSamples,
                    "Write 32-bit float samples instead of 16-bit integers");
  command->add_flag("--raw", arguments->raw, "Keep the encoder's delay and padding");
  command->add_flag("-q,--quiet", arguments->quiet,
                    "No progress bar and no summary; only what went wrong is reported");
  command->callback([arguments, &exitCode] { exitCode = decode(*arguments); });
}

}  // namespace mox
