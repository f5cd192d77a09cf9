#include "codec/mp3/reservoir.h"

#include <algorithm>
#include <cstring>

namespace moxc::mp3 {

std::optional<Bytes> BitReservoir::assemble(Bytes own, size_t mainDataBegin) {
  if (held_ > kMaxBegin) {
    std::memmove(buffer_.data(), buffer_.data() + held_ - kMaxBegin, kMaxBegin);
    held_ = kMaxBegin;
  }
  const size_t before = held_;
  held_ += own.size();
  if (buffer_.size() < held_ + kPad) buffer_.resize(held_ + kPad);
  std::ranges::copy(own, buffer_.begin() + static_cast<std::ptrdiff_t>(before));
  std::fill_n(buffer_.begin() + static_cast<std::ptrdiff_t>(held_), kPad, uint8_t{0});

  if (mainDataBegin > before) return std::nullopt;
  return Bytes(buffer_).subspan(before - mainDataBegin, mainDataBegin + own.size());
}

}  // namespace moxc::mp3
