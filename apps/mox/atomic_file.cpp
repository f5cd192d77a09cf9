#include "mox/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "mox/failure.h"

namespace mox {
namespace {

// The name that a signal handler removes; empty when there is none.
char pendingName[PATH_MAX];
constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

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

}  // namespace

bool sameFile(const std::string& a, const std::string& b) {
  struct stat factsA {
  }, factsB{};
  if (a == "-" || b == "-" || stat(a.c_str(), &factsA) != 0 || stat(b.c_str(), &factsB) != 0) return false;
  return factsA.st_dev == factsB.st_dev && factsA.st_ino == factsB.st_ino;
}

AtomicFile::AtomicFile(const std::string& path) : name_(path == "-" ? "standard output" : path) {
  struct stat facts {};
  const bool exists = path != "-" && stat(path.c_str(), &facts) == 0;
  if (exists && S_ISDIR(facts.st_mode)) throw Failure(path + ": is a directory");

  if (path == "-" || (exists && !S_ISREG(facts.st_mode))) {
    std::signal(SIGPIPE, SIG_IGN);  // a reader that went away is an error message, not a silent end
    ownsCopyDestination_ = path != "-";
    copyDestination_ = ownsCopyDestination_ ? open(path.c_str(), O_WRONLY | O_CLOEXEC) : STDOUT_FILENO;
    if (copyDestination_ < 0) failWithSystemError(path);
    const char* const directory = std::getenv("TMPDIR");
    std::string pattern = std::string(directory != nullptr ? directory : "/tmp") + "/mox.XXXXXX";
    fd_ = mkostemp(pattern.data(), O_CLOEXEC);
    if (fd_ >= 0) unlink(pattern.c_str());  // nameless from now on
  } else {
    destination_ = exists ? resolved(path) : path;  // through a symbolic link to the file it means
    std::string pattern = destination_ + ".XXXXXX";
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

void AtomicFile::copyTo(int destination) {
  std::vector<char> buffer(size_t{1} << 16);
  off_t at = 0;
  for (;;) {
    const ssize_t got = pread(fd_, buffer.data(), buffer.size(), at);
    if (got == 0) return;
    if (got < 0) {
      if (errno == EINTR) continue;
      failWithSystemError(name_);
    }
    for (ssize_t done = 0; done < got;) {
      const ssize_t put = write(destination, buffer.data() + done, static_cast<size_t>(got - done));
      if (put >= 0)
        done += put;
      else if (errno != EINTR)
        failWithSystemError(name_);
    }
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
