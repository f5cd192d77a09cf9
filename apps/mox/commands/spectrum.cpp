// mox spectrum: a sound becomes a picture of its level over time and frequency.
#include <cstdio>
#include <memory>

#include "mox/commands/commands.h"
#include "mox/files/atomic_file.h"
#include "mox/files/failure.h"
#include "mox/files/input_file.h"
#include "mox/picture/level_chart.h"

namespace mox {
namespace {

struct SpectrumArguments {
  std::string input, output;
  int width = 1000, height = 512;
  double top = 0, range = 100;
};

int spectrum(const SpectrumArguments& arguments) {
  const std::string output = chooseOutput(arguments.input, arguments.output, ".png");
  const std::string name = inputName(arguments.input);
  const MonoSound sound = readSound(readInput(arguments.input), name);
  const LevelMap map = levelMap(sound, arguments.width, arguments.height);
  const Picture picture =
      levelChart(map, {sound.seconds(), sound.rate / 2.0, arguments.top, arguments.range});

  AtomicFile file(output);
  writePng(file.descriptor(), picture, name);
  file.commit();
  for (const std::string& fault : sound.faults)
    std::fprintf(stderr, "mox: %s: %s\n", name.c_str(), fault.c_str());
  return sound.faults.empty() ? exitComplete : exitDamaged;
}

}  // namespace

void addSpectrumCommand(CLI::App& program, int& exitCode) {
  const auto arguments = std::make_shared<SpectrumArguments>();
  CLI::App* const command = program.add_subcommand("spectrum", "Draw a sound's spectrogram as a PNG picture");
  command->add_option("input", arguments->input, "A sound file or coded stream; - reads standard input")
      ->required();
  command->add_option("output", arguments->output, "The PNG file; - writes to standard output")->required();
  command->add_option("--width", arguments->width, "Pixels along the time axis, without the margins")
      ->check(CLI::Range(64, 16384))
      ->capture_default_str();
  command->add_option("--height", arguments->height, "Pixels along the frequency axis, without the margins")
      ->check(CLI::Range(64, 4096))
      ->capture_default_str();
  command->add_option("--top", arguments->top, "Level of the brightest colour in dB; a full-scale sine is 0")
      ->check(CLI::Range(-200.0, 100.0))
      ->capture_default_str();
  command->add_option("--range", arguments->range, "Decibels from the brightest colour to black")
      ->check(CLI::Range(1.0, 200.0))
      ->capture_default_str();
  command->callback([arguments, &exitCode] { exitCode = spectrum(*arguments); });
}

}  // namespace mox
