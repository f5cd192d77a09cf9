// An output that appears only when it is complete.
#pragma once

#include <string>

namespace mox {

// Collects the output in a temporary file. For a regular destination that file lies in the same directory and
// commit() renames it over the destination; for "-" (standard output), pipes and devices it is nameless and
// commit() copies it out. Without commit() nothing is left behind: not after an exception, and not after
// SIGINT, SIGTERM or SIGHUP, which remove the temporary file before they end the process.
// One at a time.
class AtomicFile {
 public:
  explicit AtomicFile(const std::string& path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  int descriptor() const { return fd_; }  // readable, writable, seekable
  void commit();                          // throws Failure when writing fails

 private:
  void copyTo(int destination);

  std::string name_;         // for messages
  std::string destination_;  // of the rename; empty when the output is copied out
  std::string temporary_;
  int copyDestination_ = -1;
  bool ownsCopyDestination_ = false;
  int fd_ = -1;
};

// Whether both paths name the same existing file ("-" names none).
bool sameFile(const std::string& a, const std::string& b);

}  // namespace mox
