// Sizes and places of packets, two bytes and six.
#include "codec/stream/packet_index.h"

#include <algorithm>

namespace moxc {

void PacketIndex::clear() {
  sizes_.clear();
  chunks_.clear();
  runs_.clear();
  constantSize_ = constantPackets_ = 0;
  packets_ = 0;
}

void PacketIndex::reserve(size_t packets, size_t chunks) {
  sizes_.reserve(packets);
  chunks_.reserve(chunks);
}

void PacketIndex::setConstantSize(uint32_t bytes, uint32_t packets) {
  constantSize_ = std::min(bytes, kTooLong);
  constantPackets_ = packets;
}

void PacketIndex::addSize(uint32_t bytes) {
  sizes_.push_back(static_cast<uint16_t>(std::min(bytes, kTooLong)));
}

void PacketIndex::addChunk(int64_t position) {
  const auto bits = static_cast<uint64_t>(std::clamp<int64_t>(position, 0, (int64_t{1} << 48) - 1));
  chunks_.push_back(
      {static_cast<uint16_t>(bits), static_cast<uint16_t>(bits >> 16), static_cast<uint16_t>(bits >> 32)});
}

void PacketIndex::addRun(uint32_t firstChunk, uint32_t packetsPerChunk) {
  const bool first = runs_.empty();
  if (!first && firstChunk <= runs_.back().firstChunk) return;
  if (!first && packetsPerChunk == runs_.back().packetsPerChunk) return;
  runs_.push_back({first ? 0 : firstChunk, packetsPerChunk});
}

int64_t PacketIndex::chunkPosition(uint32_t chunk) const {
  const auto& bits = chunks_[chunk];
  return static_cast<int64_t>(bits[2]) << 32 | static_cast<int64_t>(bits[1]) << 16 | bits[0];
}

uint32_t PacketIndex::chunksEnd(size_t run) const {
  return run + 1 < runs_.size() ? std::min(runs_[run + 1].firstChunk, chunks()) : chunks();
}

void PacketIndex::finish(int64_t inputBytes) {
  int64_t inChunks = 0;
  for (size_t i = 0; i < runs_.size(); ++i)
    if (runs_[i].firstChunk < chunks())
      inChunks += int64_t{chunksEnd(i) - runs_[i].firstChunk} * runs_[i].packetsPerChunk;
  packets_ =
      std::min(inChunks, sizes_.empty() ? int64_t{constantPackets_} : static_cast<int64_t>(sizes_.size()));
  if (sizes_.empty()) {
    packets_ = constantSize_ == 0 ? 0 : std::min(packets_, inputBytes / constantSize_);
    return;
  }
  for (int64_t packet = 0, bytes = 0; packet < packets_; ++packet)
    if (size(packet) != kTooLong && (bytes += size(packet)) > inputBytes) packets_ = packet;
}

void PacketIndex::Cursor::openChunk(const PacketIndex& index) {
  while (run_ < index.runs_.size() &&
         (chunk_ >= index.chunksEnd(run_) || index.runs_[run_].packetsPerChunk == 0)) {
    chunk_ = std::max(chunk_, index.chunksEnd(run_));
    ++run_;
  }
  if (packet_ >= index.packets_ || run_ == index.runs_.size()) {
    packet_ = index.packets_;
    entry_ = {};
    return;
  }
  left_ = index.runs_[run_].packetsPerChunk;
  entry_ = {index.chunkPosition(chunk_), index.size(packet_)};
}

void PacketIndex::Cursor::step(const PacketIndex& index) {
  if (packet_ == index.packets_) return;
  ++packet_;
  if (left_ > 1 && packet_ < index.packets_) {
    --left_;
    if (entry_.bytes != kTooLong) entry_ = {entry_.position + entry_.bytes, index.size(packet_)};
    return;
  }
  ++chunk_;
  openChunk(index);
}

void PacketIndex::Cursor::seek(const PacketIndex& index, int64_t packet) {
  *this = {};
  int64_t first = 0;  // of the chunk
  for (; run_ < index.runs_.size(); ++run_) {
    const Run& run = index.runs_[run_];
    const int64_t chunks =
        run.firstChunk < index.chunks() ? int64_t{index.chunksEnd(run_)} - run.firstChunk : 0;
    chunk_ = run.firstChunk;
    if (packet - first < chunks * run.packetsPerChunk) {
      const int64_t before = (packet - first) / run.packetsPerChunk;
      chunk_ += static_cast<uint32_t>(before);
      first += before * run.packetsPerChunk;
      break;
    }
    first += chunks * run.packetsPerChunk;
  }
  packet_ = first;
  openChunk(index);
  while (packet_ < packet) step(index);
}

}  // namespace moxc
