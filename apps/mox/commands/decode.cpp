// mox decode: a coded stream becomes a WAV file.
#include <cstdio>
#include <memory>
#include <optional>

#include "mox/commands/commands.h"
#include "mox/files/atomic_file.h"
#include "mox/files/channel_map.h"
#include "mox/files/decoder.h"
#include "mox/files/failure.h"
#include "mox/files/input_file.h"
#include "mox/files/progress.h"
#include "mox/files/wav_stream.h"
#include "mox/files/wav_writer.h"

namespace mox {
namespace {

struct DecodeArguments {
  std::string input, output;
  bool floatSamples = false, raw = false, quiet = false;
};

// What became of a stream.
struct Written {
  int64_t samples = 0;
  std::string leftOut;  // why the rest is missing, if it is
};

// Everything from where the decoder stands, in one layout. A rate holds for the whole of a WAV file: what has another is
// left out. With `widen`, a wider layout stops the writing: nothing is returned, and the decoder's format is that.
template <class Writer>
std::optional<Written> writeAll(Decoder& decoder, const MoxcFormat& format, bool widen, Writer& wav,
                                const DecodeArguments& arguments, Progress& progress) {
  ChannelMap map(format.channels, arguments.floatSamples);
  Written written;
  Pcm pcm;
  for (Decoder::Next next; (next = decoder.read(pcm)) != Decoder::Next::end;) {
    if (next == Decoder::Next::format) {
      const MoxcFormat& now = decoder.format();
      if (now.rate != format.rate) {
        char text[128];
        std::snprintf(text, sizeof text, "from %.3f s on the sample rate is %d Hz: the rest is left out",
                      static_cast<double>(written.samples) / format.rate, now.rate);
        written.leftOut = text;
        return written;
      }
      if (widen && now.channels > format.channels) return std::nullopt;
      continue;
    }
    wav.write(map.run(pcm, decoder.format().channels));
    written.samples += pcm.frames;
    progress.show(decoder.progress());
  }
  return written;
}

// To a pipe or a device, as it comes; the first layout holds.
Written decodeToStream(Decoder& decoder, int descriptor, const std::string& name,
                       const DecodeArguments& arguments, Progress& progress) {
  int64_t samples = -1;
  const MoxcFormat format = decoder.format();
  if (decoder.seekable()) {
    MoxcDuration kind;
    decoder.scan();
    samples = decoder.expectedSamples(kind);
    decoder.rewind();
  }
  WavStream wav(descriptor, name, format, arguments.floatSamples, samples);
  return *writeAll(decoder, format, false, wav, arguments, progress);
}

// To a file that is replaced when all is done; the widest layout holds, which may show only midway.
Written decodeToFile(Decoder& decoder, AtomicFile& file, const DecodeArguments& arguments,
                     Progress& progress) {
  MoxcFormat format = decoder.format();
  for (;;) {
    MoxcDuration kind;
    WavWriter wav(file.descriptor(), format, arguments.floatSamples, decoder.expectedSamples(kind));
    const std::optional<Written> written =
        writeAll(decoder, format, decoder.seekable(), wav, arguments, progress);
    if (written) {
      wav.close();
      return *written;
    }
    format = decoder.format();
    decoder.rewind();
    file.clear();
  }
}

int decode(const DecodeArguments& arguments) {
  const std::string output = chooseOutput(arguments.input, arguments.output, ".wav");
  const std::string name = inputName(arguments.input);
  Decoder decoder(arguments.input, arguments.floatSamples, arguments.raw);
  const int32_t rate = decoder.format().rate;
  std::string outputName;
  Written written;
  {
    Progress progress(!arguments.quiet, name);
    if (StreamOutput stream(output); stream.descriptor() >= 0) {
      outputName = stream.name();
      written = decodeToStream(decoder, stream.descriptor(), outputName, arguments, progress);
    } else {
      AtomicFile file(output);
      outputName = file.name();
      written = decodeToFile(decoder, file, arguments, progress);
      file.commit();
    }
  }

  const Decoder::Lines faults = decoder.texts(moxcTextDamage);
  for (const Decoder::Lines& lines : {faults, decoder.texts(moxcTextNotice)})
    for (const auto& [unnamed, line] : lines)
      std::fprintf(stderr, "mox: %s: %s\n", name.c_str(), line.c_str());
  if (!written.leftOut.empty()) std::fprintf(stderr, "mox: %s: %s\n", name.c_str(), written.leftOut.c_str());
  const bool complete = faults.empty() && written.leftOut.empty();
  if (!arguments.quiet)
    std::fprintf(stderr, "%s: %d Hz, %d channel%s, %.3f s%s\n", outputName.c_str(), rate,
                 decoder.format().channels, decoder.format().channels == 1 ? "" : "s",
                 static_cast<double>(written.samples) / rate,
                 complete         ? ""
                 : faults.empty() ? ", not all of the stream"
                                  : ", from a damaged stream");
  return complete ? exitComplete : exitDamaged;
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
