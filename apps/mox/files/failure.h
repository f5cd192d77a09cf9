// What ends a command, and the exit codes that tell a script how it went.
#pragma once

#include <string>

#include "codec/io/failure.h"
#include "mox/names.h"

namespace mox {

enum ExitCode : int {
  exitComplete = 0,  // everything was decoded
  exitUnusable = 1,  // nothing written: the input cannot be used, or reading or writing failed
  exitUsage = 2,     // the command line was not understood
  exitDamaged = 3,   // the output is there, but parts of the input were damaged and concealed, or missing
};

// Writes what the system said about the last failed call behind a text: "song.mp3: No such file".
[[noreturn]] void failWithSystemError(const std::string& what);

}  // namespace mox
