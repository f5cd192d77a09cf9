// A progress bar on the terminal.
#pragma once

#include <chrono>
#include <string>

namespace mox {

// Draws on standard error while that is a terminal and `wanted`; clears its line when done. Nothing
// otherwise.
class Progress {
 public:
  Progress(bool wanted, std::string label);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(double fraction);  // 0..1; draws at most ten times a second

 private:
  bool active_;
  bool drawn_ = false;
  std::string label_;
  std::chrono::steady_clock::time_point due_;
};

}  // namespace mox
