// A stream of any kind, as its bytes come or as it reads them: finds out what it is, takes it apart, decodes it, cuts off
// what encoders put around the sound.
#pragma once

#include <array>
#include <memory>
#include <optional>

#include "codec/stream/frame_decoder.h"
#include "codec/stream/tags.h"
#include "moxcodec.h"

namespace moxc {

class Decoder : public Allocated {
 public:
  struct Settings {
    DecodeSettings decode;
    bool raw = false;
    MoxcCodec codec = moxcCodecFind;
    Vector<uint8_t> specificConfig;
  };

  Decoder(Settings settings, const MoxcInput* input);
  ~Decoder();

  moxcStatus feed(Bytes bytes, size_t& taken);
  moxcStatus feedPacket(const uint8_t* bytes, size_t count);
  moxcStatus end();
  moxcStatus flush();
  moxcStatus read(void* samples, size_t frames, size_t& got);
  moxcStatus start();  // reads up to the first sample
  moxcStatus seek(int64_t position);
  moxcStatus scan();

  bool reads() const { return input_.read != nullptr; }
  bool floatSamples() const { return settings_.decode.floatSamples; }
  const std::optional<AudioFormat>& format() const { return format_; }
  int64_t position() const { return position_; }
  MoxcDuration duration(int64_t& samples) const;
  MoxcStats stats() const;
  TextLines texts(MoxcTexts kind) const;
  const String& message() const { return message_; }
  bool nextEvent(MoxcEvent& event);

 private:
  struct Source;

  // What was decoded and is to be read; `values` is null while frames are only counted.
  struct View {
    const uint8_t* values = nullptr;
    int64_t samples = 0;
  };

  void rewind();
  void startStream();
  moxcStatus refuse(moxcStatus status, String message);
  moxcStatus produce();
  moxcStatus probe();
  // The kinds of streams that are sought by their frames, and all others.
  enum Kind : size_t { kMp3, kAdts, kOtherLayer, kOther };
  moxcStatus lockOn(size_t kind, size_t at);
  moxcStatus nextPacket();
  moxcStatus takeConfig();
  moxcStatus fill();
  size_t feedSource(Bytes bytes);
  void deliver(const PcmFrame& frame);
  void beginPart(const Gapless& gapless);
  void endPart();
  void hold(View view);
  void noteFrame();
  void addEvent(MoxcEventKind kind, int64_t count);
  moxcStatus skipTo(int64_t position);
  void setSynthesis(bool wanted);
  size_t frameBytes() const;

  Settings settings_;
  MoxcInput input_{};
  moxcStatus failed_ = moxcStatusOk;
  String message_;

  // The input.
  ByteWindow head_;  // bytes on their way to the source
  Vector<uint8_t> chunk_;
  size_t chunkAt_ = 0, chunkEnd_ = 0;
  int64_t inputAt_ = 0;  // of the next byte that the read callback gives
  bool whole_ = false, finished_ = false;
  Tags tags_;
  TagReader tagReader_;
  bool tagsAllowed_ = true, tagSeen_ = false, atStart_ = true;
  size_t sought_[3] = {};  // by each kind of frames, in head_
  size_t budget_ = kMostGuesses;
  int64_t bytesBefore_ = 0;

  // The stream.
  std::unique_ptr<Source> source_;
  std::unique_ptr<FrameDecoder> frames_;
  Vector<uint8_t> lastConfig_;
  bool packetOpen_ = false;
  Vector<uint8_t> ownPacket_;  // of decoders that are given packets

  // The sound.
  std::optional<AudioFormat> format_, next_;  // announced, and of the view
  View view_;
  int64_t position_ = 0;
  bool ended_ = false;
  bool counting_ = false;
  int32_t formats_ = 0, mostChannels_ = 0;
  std::optional<int64_t> exact_;  // duration

  // Of the part at hand.
  Gapless gapless_;
  int64_t front_ = 0;  // samples still to be cut off
  struct Edits {       // what a container cuts off, in its own units
    int64_t delay = 0, length = -1;
    int32_t timescale = 0;
  } edits_;
  int64_t limit_ = -1;  // samples still to be handed out; -1: all
  int64_t partSamples_ = 0, partFrames_ = 0;
  int64_t told_ = -1;  // length of the sound by what its encoder or container says
  Vector<uint8_t> held_, released_;
  int64_t heldSamples_ = 0;

  // Events.
  static constexpr size_t kMaxEvents = 64;
  std::array<MoxcEvent, kMaxEvents> events_;
  size_t firstEvent_ = 0, eventCount_ = 0;
  int64_t concealedTold_ = 0, skippedTold_ = 0;
  size_t tagsTold_ = 0;
};

}  // namespace moxc
