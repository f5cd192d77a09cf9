// What the decoder of every codec offers: packets in, the samples of one frame out.
#pragma once

#include <cstdint>
#include <span>

#include "codec/io/memory.h"
#include "codec/stream/demuxer.h"
#include "codec/stream/frame_demuxer.h"

namespace moxc {

struct AudioFormat {
  int32_t rate = 0;
  int32_t channels = 0;
  // WAVE_FORMAT_EXTENSIBLE's dwChannelMask; samples are interleaved in the order of its bits. 0 for mono and stereo,
  // which need none.
  uint32_t channelMask = 0;

  bool operator==(const AudioFormat&) const = default;
};

// One frame: `samples` per channel, interleaved. One of the two is filled, none when nothing was synthesised. Valid
// until the next call.
struct PcmFrame {
  AudioFormat format;
  int64_t samples = 0;
  std::span<const int16_t> s16;
  std::span<const float> f32;
};

// What encoders tell of the stream that begins: samples in front and behind that are none of the sound, and how many
// frames there are. Counted at the rate of the output.
struct Gapless {
  int64_t front = 0, back = 0;
  int64_t frames = -1;  // -1: not told
};

// Text about a stream: "bit rate", "128 kbit/s constant".
struct TextLine {
  String name, text;
};
using TextLines = Vector<TextLine>;

struct DecodeSettings {
  bool floatSamples = false;
  bool synthesise = true;  // false: frames are only counted
};

class FrameDecoder : public Allocated {
 public:
  virtual ~FrameDecoder() = default;

  // Takes a packet, whose bytes stay valid until next() says false.
  virtual void open(const Packet& packet) = 0;
  // The next frame of the packet; damaged ones are concealed. False when there is none left.
  virtual bool next(PcmFrame& frame) = 0;
  // Makes up for a frame that is missing. False when nothing is known that could stand there.
  virtual bool conceal(PcmFrame& frame) = 0;
  // What follows does not join on: overlap, bit reservoir and what is repeated in damage are forgotten.
  virtual void reset() = 0;
  // From here on frames are decoded, or only counted.
  virtual void setSynthesis(bool wanted) = 0;

  // What the stream is, where it cannot be decoded; null else.
  virtual const char* refusal() const { return nullptr; }

  // Whether the packet opened last began a stream of its own, which tells its gapless values.
  virtual const Gapless* began() const { return nullptr; }

  virtual int64_t frames() const = 0;         // handed out, those made up included
  virtual int64_t concealed() const = 0;      // replaced wholly or in part
  virtual int64_t samplesAFrame() const = 0;  // of the format at hand

  // Name and value; the sound is so long.
  virtual void describe(const String& duration, double seconds, const FrameCounts* counts,
                        TextLines& lines) const = 0;
  virtual void faults(const FrameCounts* counts, TextLines& lines) const = 0;  // one line each
  virtual void notices(TextLines& lines) const = 0;                            // what is sound but left out
};

}  // namespace moxc
