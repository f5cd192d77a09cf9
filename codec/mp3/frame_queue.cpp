// Frames on their way out.
#include "codec/mp3/frame_queue.h"

#include <algorithm>

namespace moxc::mp3 {

void FrameQueue::addFrame(Bytes start, size_t bytes) {
  Frame frame{std::vector<uint8_t>(bytes), start.size()};
  std::copy(start.begin(), start.end(), frame.bytes.begin());
  frames_.push_back(std::move(frame));
}

void FrameQueue::addMainData(Bytes data) {
  for (Frame& frame : frames_) {
    const size_t fits = std::min(data.size(), frame.bytes.size() - frame.filled);
    std::copy_n(data.begin(), fits, frame.bytes.begin() + static_cast<std::ptrdiff_t>(frame.filled));
    frame.filled += fits;
    data = data.subspan(fits);
    if (data.empty()) return;
  }
}

void FrameQueue::takeFinished(std::vector<uint8_t>& out) {
  for (; !frames_.empty() && frames_.front().filled == frames_.front().bytes.size(); frames_.pop_front()) {
    const Frame& frame = frames_.front();
    offsets_.push_back(bytes_);
    bytes_ += frame.bytes.size();
    crc_.add(frame.bytes);
    out.insert(out.end(), frame.bytes.begin(), frame.bytes.end());
  }
}

void FrameQueue::finish(std::vector<uint8_t>& out) {
  for (Frame& frame : frames_) frame.filled = frame.bytes.size();
  takeFinished(out);
}

}  // namespace moxc::mp3
