// An output that appears only when it is complete.
#pragma once

#include <string>

#include "codec/io/bytes.h"
#include "mox/names.h"

namespace mox {

// Collects the output in a temporary file. For a regular destination that file lies in the same directory and
// commit() renames it over the destination; for "-" (standard output), pipes and devices it is nameless and
// commit() copies it out. Without commit() nothing is left behind: not after an exception, and not after
// SIGINT, SIGTERM, SIGHUP or SIGQUIT, which remove the temporary file before they end the process.
// One at a time.
class AtomicFile {
 public:
  explicit AtomicFile(const std::string& path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  int descriptor() const { return fd_; }  // readable, writable, seekable
  void write(Bytes bytes);                // throws Failure, as commit() does
  void clear();                           // back to an empty file
  void commit();
  const std::string& name() const { return name_; }  // how messages call the output

 private:
  void copyTo(int destination);

  std::string name_;         // for messages
  std::string destination_;  // of the rename; empty when the output is copied out
  std::string temporary_;
  int copyDestination_ = -1;
  bool ownsCopyDestination_ = false;
  int fd_ = -1;
};

// Writes all of them to a descriptor; `name` is how messages call it. Throws Failure.
void writeBytes(int descriptor, Bytes bytes, const std::string& name);

// The output a command shall write: the one named, else the input's name with another suffix, which must not be there
// yet; "-" for "-". Throws Failure for a terminal, and when input and output are the same file, redirected ones too.
std::string chooseOutput(const std::string& input, const std::string& output, const char* suffix);

}  // namespace mox
