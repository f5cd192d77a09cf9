// An input as a whole, from a file or from standard input.
#include "mox/files/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "mox/files/failure.h"

namespace mox {
namespace {

constexpr size_t kMaxInput = size_t{1} << 31;
constexpr size_t kChunk = size_t{1} << 18;

struct Descriptor {
  int fd;
  bool owned;
  ~Descriptor() {
    if (owned && fd >= 0) close(fd);
  }
};

}  // namespace

std::string inputName(const std::string& path) { return path == "-" ? "standard input" : path; }

int openInput(const std::string& path) {
  const bool standardInput = path == "-";
  const int fd = standardInput ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) failWithSystemError(path);
  if (standardInput && isatty(fd)) throw Failure("standard input is a terminal; pipe a stream into it");
  Descriptor input{fd, !standardInput};
  struct stat facts {};
  if (fstat(fd, &facts) != 0) failWithSystemError(inputName(path));
  if (S_ISDIR(facts.st_mode)) throw Failure(inputName(path) + ": is a directory");
  input.owned = false;
  return fd;
}

std::vector<uint8_t> readInput(const std::string& path) {
  const Descriptor input{openInput(path), path != "-"};
  struct stat facts {};
  if (fstat(input.fd, &facts) != 0) failWithSystemError(inputName(path));

  std::vector<uint8_t> bytes;
  if (S_ISREG(facts.st_mode) && facts.st_size > 0)
    bytes.reserve(std::min(kMaxInput, static_cast<size_t>(facts.st_size)) + kChunk);
  for (;;) {
    const size_t held = bytes.size();
    if (held > kMaxInput) throw Failure(inputName(path) + ": longer than 2 GiB");
    bytes.resize(held + kChunk);
    const ssize_t got = read(input.fd, bytes.data() + held, kChunk);
    if (got < 0 && errno != EINTR) failWithSystemError(inputName(path));
    bytes.resize(held + static_cast<size_t>(std::max<ssize_t>(got, 0)));
    if (got == 0) return bytes;
  }
}

}  // namespace mox
