// mox info: what a stream is, without decoding it.
#include <cstdio>
#include <memory>

#include "codec/decoder.h"
#include "mox/commands/commands.h"
#include "mox/files/failure.h"
#include "mox/files/input_file.h"
#include "mox/files/progress.h"

namespace mox {
namespace {

int info(const std::string& input, bool check) {
  const std::vector<uint8_t> bytes = readInput(input);
  const std::string name = inputName(input);
  const std::unique_ptr<AudioDecoder> decoder = openDecoder(bytes, {}, name);
  if (check) {
    Progress progress(true, name);
    for (PcmView block; decoder->decodeBlock(block);) progress.show(decoder->progress());
  }

  std::printf("%-16s%s\n", "file", name.c_str());
  for (const auto& [key, value] : decoder->describe()) std::printf("%-16s%s\n", key.c_str(), value.c_str());
  const DecodeStats stats = decoder->stats();
  if (stats.faults.empty())
    std::printf("%-16s%s\n", "damage", check ? "none" : "none found without decoding");
  for (const std::string& fault : stats.faults) std::printf("%-16s%s\n", "damage", fault.c_str());
  return stats.faults.empty() ? exitComplete : exitDamaged;
}

}  // namespace

void addInfoCommand(CLI::App& program, int& exitCode) {
  struct Arguments {
    std::string input;
    bool check = false;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* const command = program.add_subcommand("info", "Tell what a stream holds");
  command->add_option("input", arguments->input, "The stream; - reads standard input")->required();
  command->add_flag("--check", arguments->check, "Decode everything to find all damage");
  command->callback([arguments, &exitCode] { exitCode = info(arguments->input, arguments->check); });
}

}  // namespace mox
