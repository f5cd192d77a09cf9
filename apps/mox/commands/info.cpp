// mox info: what a stream is, without decoding it.
#include <cstdio>
#include <memory>

#include "mox/commands/commands.h"
#include "mox/files/decoder.h"
#include "mox/files/failure.h"
#include "mox/files/input_file.h"
#include "mox/files/progress.h"

namespace mox {
namespace {

int info(const std::string& input, bool check) {
  const std::string name = inputName(input);
  Decoder decoder(input, false, false);
  if (check) {
    Progress progress(true, name);
    for (Pcm pcm; decoder.read(pcm) != Decoder::Next::end;) progress.show(decoder.progress());
  } else {
    decoder.scan();
  }

  std::printf("%-16s%s\n", "file", name.c_str());
  for (const MoxcTexts kind : {moxcTextDescription, moxcTextTag})
    for (const auto& [key, value] : decoder.texts(kind)) std::printf("%-16s%s\n", key.c_str(), value.c_str());
  for (const auto& [unnamed, line] : decoder.texts(moxcTextNotice))
    std::printf("%-16s%s\n", "note", line.c_str());
  const Decoder::Lines faults = decoder.texts(moxcTextDamage);
  if (faults.empty()) std::printf("%-16s%s\n", "damage", check ? "none" : "none found without decoding");
  for (const auto& [unnamed, line] : faults) std::printf("%-16s%s\n", "damage", line.c_str());
  return faults.empty() ? exitComplete : exitDamaged;
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
