// mox: the command line. Exit codes are in failure.h.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "mox/commands/commands.h"
#include "mox/files/failure.h"
#include "moxac.h"

namespace {

int runProgram(int argc, char** argv) {
  CLI::App program("Decodes and encodes audio files, tells what is in them and draws their spectrograms.",
                   "mox");
  program.set_version_flag("--version", std::string("mox, with ") + moxacGetLibVersion()->libraryName + " " +
                                            moxacGetLibVersion()->versionText);
  program.require_subcommand(1);
  program.footer(
      "Exit codes: 0 complete; 1 nothing written, because the input is unusable or reading or writing "
      "failed;\n"
      "2 wrong usage; 3 output written, but parts of the input were damaged and concealed, or missing.");

  int exitCode = mox::exitComplete;
  mox::addDecodeCommand(program, exitCode);
  mox::addEncodeCommand(program, exitCode);
  mox::addInfoCommand(program, exitCode);
  mox::addSpectrumCommand(program, exitCode);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? mox::exitComplete : mox::exitUsage;
  }
  return exitCode;
}

// A file opened in the place of a closed standard stream would receive what is meant for that: the place is taken
// by a device from which reading, or to which writing, fails.
void fillStandardStreams() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(fd, F_GETFD) < 0) (void)open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

// Output that did not arrive is a failure, though it fails only now.
int closeStandardOutput(int exitCode) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return exitCode;
  mox::failWithSystemError("standard output");
}

}  // namespace

int main(int argc, char** argv) {
  try {
    fillStandardStreams();
    return closeStandardOutput(runProgram(argc, argv));
  } catch (const std::bad_alloc&) {
    std::fputs("mox: out of memory\n", stderr);
  } catch (const std::exception& failure) {  // mox::Failure, and what the standard library throws
    std::fprintf(stderr, "mox: %s\n", failure.what());
  }
  return mox::exitUnusable;
}
