// Output that appears only when it is complete.
#include "mox/files/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "mox/files/failure.h"

namespace mox {
namespace {

// The name that a signal handler removes; empty when there is none.
char pendingName[PATH_MAX];
constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

extern "C" void removePendingFile(int signal) {
  if (pendingName[0] != 0) unlink(pendingName);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// Keeps the ending signals away while the temporary file's name and the handler's notion of it differ.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : kEndingSignals) sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &before_);
  }
  ~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;

 private:
  sigset_t before_{};
};

void installHandlers() {
  for (const int signal : kEndingSignals) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL)
      continue;  // ignored: stays so
    action.sa_handler = removePendingFile;
    sigaction(signal, &action, nullptr);
  }
}

std::string resolved(const std::string& path) {
  char* const real = realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string result(real);
  std::free(real);
  return result;
}

mode_t newFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

std::string outputName(const std::string& path) { return path == "-" ? "standard output" : path; }

}  // namespace

void writeBytes(int descriptor, Bytes bytes, const std::string& name) {
  while (!bytes.empty()) {
    const ssize_t put = ::write(descriptor, bytes.data(), bytes.size());
    if (put < 0 && errno != EINTR) failWithSystemError(name);
    bytes = bytes.subspan(static_cast<size_t>(std::max<ssize_t>(put, 0)));
  }
}

std::string chooseOutput(const std::string& input, const std::string& output, const char* suffix) {
  std::string chosen = output.empty() && input == "-" ? input : output;
  if (chosen.empty()) {
    chosen = std::filesystem::path(input).replace_extension(suffix).string();
    if (std::filesystem::exists(chosen))
      throw Failure(chosen + " is there already; name the output to replace it");
  }
  if (chosen == "-" && isatty(STDOUT_FILENO) != 0)
    throw Failure("standard output is a terminal; name an output file");
  struct stat in {};
  struct stat out {};
  const bool known = (input == "-" ? fstat(STDIN_FILENO, &in) : stat(input.c_str(), &in)) == 0 &&
                     (chosen == "-" ? fstat(STDOUT_FILENO, &out) : stat(chosen.c_str(), &out)) == 0;
  if (known && S_ISREG(in.st_mode) && in.st_dev == out.st_dev && in.st_ino == out.st_ino)
    throw Failure(outputName(chosen) + ": input and output are the same file");
  return chosen;
}

AtomicFile::AtomicFile(const std::string& path) : name_(outputName(path)) {
  // A reader that went away and a limit on file sizes are error messages, not silent ends.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  struct stat facts {};
  const bool exists = path != "-" && stat(path.c_str(), &facts) == 0;
  if (exists && S_ISDIR(facts.st_mode)) throw Failure(path + ": is a directory");

  if (path == "-" || (exists && !S_ISREG(facts.st_mode))) {
    ownsCopyDestination_ = path != "-";
    copyDestination_ = ownsCopyDestination_ ? open(path.c_str(), O_WRONLY | O_CLOEXEC) : STDOUT_FILENO;
    if (copyDestination_ < 0) failWithSystemError(path);
    const char* const directory = std::getenv("TMPDIR");
    std::string pattern = std::string(directory != nullptr ? directory : "/tmp") + "/mox.XXXXXX";
    fd_ = mkostemp(pattern.data(), O_CLOEXEC);
    if (fd_ >= 0) unlink(pattern.c_str());  // nameless from now on
  } else {
    if (exists && access(path.c_str(), W_OK) != 0) failWithSystemError(path);  // a rename would not ask
    destination_ = exists ? resolved(path) : path;  // through a symbolic link to the file it means
    std::string pattern = std::filesystem::path(destination_).replace_filename(".mox.XXXXXX").string();
    if (pattern.size() >= sizeof pendingName) throw Failure(path + ": the name is too long");
    const SignalsHeld held;
    fd_ = mkostemp(pattern.data(), O_CLOEXEC);
    if (fd_ >= 0) {
      temporary_ = pattern;
      std::strcpy(pendingName, pattern.c_str());
      installHandlers();
      (void)fchmod(fd_, exists ? facts.st_mode & 07777 : newFileMode());
    }
  }
  if (fd_ < 0) {
    const int error = errno;
    if (ownsCopyDestination_) close(copyDestination_);
    errno = error;
    failWithSystemError("cannot create " + name_);
  }
}

AtomicFile::~AtomicFile() {
  if (!temporary_.empty()) {
    const SignalsHeld held;
    unlink(temporary_.c_str());
    pendingName[0] = 0;
  }
  if (fd_ >= 0) close(fd_);
  if (ownsCopyDestination_) close(copyDestination_);
}

void AtomicFile::write(Bytes bytes) { writeBytes(fd_, bytes, name_); }

void AtomicFile::clear() {
  if (lseek(fd_, 0, SEEK_SET) < 0 || ftruncate(fd_, 0) != 0) failWithSystemError(name_);
}

void AtomicFile::copyTo(int destination) {
  std::vector<uint8_t> buffer(size_t{1} << 16);
  off_t at = 0;
  for (;;) {
    const ssize_t got = pread(fd_, buffer.data(), buffer.size(), at);
    if (got == 0) return;
    if (got < 0) {
      if (errno == EINTR) continue;
      failWithSystemError(name_);
    }
    writeBytes(destination, Bytes(buffer).first(static_cast<size_t>(got)), name_);
    at += got;
  }
}

void AtomicFile::commit() {
  if (destination_.empty()) {
    copyTo(copyDestination_);
    return;
  }
  if (fsync(fd_) != 0 && errno != EINVAL) failWithSystemError(name_);
  const SignalsHeld held;
  if (std::rename(temporary_.c_str(), destination_.c_str()) != 0) failWithSystemError(name_);
  temporary_.clear();
  pendingName[0] = 0;
}

}  // namespace mox
