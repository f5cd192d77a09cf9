// Where the packets of an MP4 track lie: sizes of all, places of the chunks that they form.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace moxc {

// A packet takes two bytes here, or none where all have one size, and a chunk of packets six: at most eight bytes for
// a packet in chunks of regular length.
class PacketIndex {
 public:
  // No packet of audio is as long as this, in bytes.
  static constexpr uint32_t kTooLong = 0xFFFF;

  void clear();
  void reserve(size_t packets, size_t chunks);
  void setConstantSize(uint32_t bytes, uint32_t packets);  // in place of addSize
  void addSize(uint32_t bytes);
  void addChunk(int64_t position);
  // From that chunk on (counted from 0) each has so many packets, until the next run.
  void addRun(uint32_t firstChunk, uint32_t packetsPerChunk);
  // All was added. Packets are only those that have a size and a chunk, up to `inputBytes` bytes together.
  void finish(int64_t inputBytes);

  int64_t packets() const { return packets_; }
  bool empty() const { return packets_ == 0; }

  // A packet's place. `bytes` kTooLong: neither its end nor the packets behind it in its chunk are known.
  struct Entry {
    int64_t position = 0;
    uint32_t bytes = 0;
  };

  // Goes through the packets in order.
  class Cursor {
   public:
    // To that packet, below packets().
    void seek(const PacketIndex& index, int64_t packet);
    void step(const PacketIndex& index);  // to the next, or behind the last
    int64_t packet() const { return packet_; }
    const Entry& entry() const { return entry_; }

   private:
    void openChunk(const PacketIndex& index);

    int64_t packet_ = 0;
    size_t run_ = 0;
    uint32_t chunk_ = 0, left_ = 0;  // packets left in the chunk, this one included
    Entry entry_;
  };

 private:
  struct Run {
    uint32_t firstChunk, packetsPerChunk;
  };
  uint32_t size(int64_t packet) const {
    return sizes_.empty() ? constantSize_ : sizes_[static_cast<size_t>(packet)];
  }
  uint32_t chunks() const { return static_cast<uint32_t>(chunks_.size()); }
  int64_t chunkPosition(uint32_t chunk) const;
  uint32_t chunksEnd(size_t run) const;  // the first chunk behind a run

  uint32_t constantSize_ = 0, constantPackets_ = 0;
  std::vector<uint16_t> sizes_;
  std::vector<std::array<uint16_t, 3>> chunks_;  // places, lowest bits first
  std::vector<Run> runs_;
  int64_t packets_ = 0;
};

}  // namespace moxc
