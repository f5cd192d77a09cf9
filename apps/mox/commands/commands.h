// The subcommands. Each registers itself with the program's command line; the one chosen leaves its exit
// code.
#pragma once

#include <CLI/CLI.hpp>

namespace mox {

void addDecodeCommand(CLI::App& program, int& exitCode);
void addEncodeCommand(CLI::App& program, int& exitCode);
void addInfoCommand(CLI::App& program, int& exitCode);
void addSpectrumCommand(CLI::App& program, int& exitCode);

}  // namespace mox
