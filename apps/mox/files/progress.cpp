// The progress line on a terminal.
#include "mox/files/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace mox {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);

int terminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

Progress::Progress(bool wanted, std::string label)
    : active_(wanted && isatty(STDERR_FILENO) != 0),
      label_(std::move(label)),
      due_(std::chrono::steady_clock::now() + kInterval) {}

Progress::~Progress() {
  if (drawn_) std::fputs("\r\033[K", stderr);
}

void Progress::show(double fraction) {
  if (!active_) return;
  const auto now = std::chrono::steady_clock::now();
  if (now < due_) return;
  due_ = now + kInterval;
  drawn_ = true;

  fraction = std::clamp(fraction, 0.0, 1.0);
  const int width = terminalWidth();
  const int bar = std::clamp(width - static_cast<int>(label_.size()) - 12, 0, 60);
  const auto filled = static_cast<size_t>(fraction * bar);
  const std::string cells = std::string(filled, '=') + std::string(static_cast<size_t>(bar) - filled, ' ');
  std::fprintf(stderr, "\r\033[K%.*s [%s] %3d%%", std::max(0, width - bar - 10), label_.c_str(),
               cells.c_str(), static_cast<int>(fraction * 100));
  std::fflush(stderr);
}

}  // namespace mox
