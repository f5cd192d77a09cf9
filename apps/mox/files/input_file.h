// The whole input in memory.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mox/names.h"

namespace mox {

// Opens a file, or gives standard input for "-". Throws Failure, for directories and terminals too.
int openInput(const std::string& path);

// Reads a file, or standard input for "-"; at most 2 GiB. Throws Failure.
std::vector<uint8_t> readInput(const std::string& path);

// How messages call an input or output: the path, or "standard input"/"standard output" for "-".
std::string inputName(const std::string& path);

}  // namespace mox
