// What every container offers to those who decode what is in it: bytes go in as they come, packets come out.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "codec/io/bytes.h"

namespace moxc {

// What a demuxer found next in the bytes fed so far.
enum class DemuxEvent {
  needMore,  // feed more, from inputPosition() on, or say that there is no more
  config,    // config() is known, or is another from the next packet on
  packet,    // a packet
  lost,      // what stood here is missing or unusable: one packet at least
  refused,   // what follows cannot be demuxed; refusal() says why. Every later call says the same
  end,       // all was handed out
};

// What the packets of a track hold.
enum class PacketContent {
  aacBlock,        // one raw data block; TrackConfig::specificConfig says how to read it
  adtsFrame,       // one ADTS frame with its header
  mpegAudioFrame,  // one frame of MPEG audio with its header
  adtsBytes,       // a piece, cut anywhere, of a stream of ADTS frames,
  latmBytes,       // of LOAS frames,
  mpegAudioBytes,  // of MPEG audio frames: for the demuxer of that kind
};

// What a container tells about the chosen track. Times are in units of 1/timescale seconds.
struct TrackConfig {
  PacketContent content = PacketContent::aacBlock;
  std::vector<uint8_t> specificConfig;  // AudioSpecificConfig of aacBlock; filled up with zero bits
  int64_t specificConfigBits = 0;       // how long it is; sync extensions may be looked for up to there
  int32_t rate = 0, channels = 0;  // as the container thinks; 0 where it says nothing. Not to be relied upon

  int32_t timescale = 0;       // 0: no times are told
  int32_t packetDuration = 0;  // of all packets but perhaps the last; 0: not told, or not all the same
  int64_t packets = -1;        // how many there are; -1: not known (yet)
  int64_t delay = -1;          // what is to be cut off the front; -1: not told
  int64_t length = -1;         // what is to be played behind the delay; -1: all there is
};

struct Packet {
  Bytes bytes;  // valid until the next call; at least 8 more bytes behind them are readable
  int64_t position =
      0;                // of the first byte in the input; within a transport stream, of the packet it came in
  int64_t number = -1;  // in the track, from 0; -1 where the container does not count
  bool afterGap = false;  // what came before it does not join on: something is missing in between
};

// A value of `tags()`: title, artist, album, albumartist, year, genre, composer, comment, encoder, lyrics, track, disc,
// tempo, copyright, compilation, or the container's own name. UTF-8 without control characters.
using Tag = std::pair<std::string, std::string>;

// A picture is not kept, but found: its bytes lie there in the input.
struct Picture {
  int64_t position = 0, bytes = 0;
  const char* type = "";  // MIME
};

// A demuxer keeps what the longest packet needs, whatever is fed: feed() takes a part. Loop:
//
//   for (;;) switch (demuxer.next(packet)) {
//     case needMore:  seek to demuxer.inputPosition() if that is not where the input stands; read; feed what was read,
//                     again after the next needMore if not all was taken; at the end of the input finish()
//     case packet:    ...
//
// On an input that cannot seek inputPosition() just goes on by what was fed.
class Demuxer {
 public:
  virtual ~Demuxer() = default;

  // Before anything is fed: the input has that many bytes and can be read from any of them.
  virtual void setSeekable(int64_t /*inputBytes*/) {}

  // Takes the first bytes, and says how many: after needMore at least one.
  virtual size_t feed(Bytes bytes) = 0;
  // The input ends where inputPosition() is. A demuxer that can seek may want to go back all the same, and says so by
  // another needMore.
  virtual void finish() = 0;
  virtual DemuxEvent next(Packet& packet) = 0;
  // Where in the input the next byte to be fed stands.
  virtual int64_t inputPosition() const = 0;

  // Goes on with that packet, from anywhere, also after the end. False where the container has no index, or no such
  // packet; nothing has changed then.
  virtual bool seek(int64_t /*packet*/) { return false; }

  virtual const TrackConfig& config() const = 0;
  virtual const char* container() const = 0;  // its name: "MP4"
  virtual const std::string& refusal() const = 0;
  virtual int64_t skippedBytes() const = 0;  // that belong to nothing this container knows
  // What was damaged up to here, and remarks on what is sound, one line each.
  virtual std::vector<std::string> faults() const = 0;
  virtual std::vector<std::string> notes() const = 0;
  virtual const std::vector<Tag>& tags() const = 0;
  virtual const std::vector<Picture>& pictures() const = 0;
};

// Each container also says where in the first bytes of an input it begins:
//
//   size_t findX(Bytes head, bool whole)    the first byte of its first frame; kNotFound where there is none.
//                                           whole: no more will come
inline constexpr size_t kNotFound = SIZE_MAX;

// A demuxer needs no more of the head than this to be found, behind so many foreign bytes as one likes.
inline constexpr size_t kFindBytes = 3 * (8191 + 3);

}  // namespace moxc
