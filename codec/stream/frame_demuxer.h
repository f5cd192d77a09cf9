// Finds the frames of a stream that carries its sync word in every frame, as its bytes come: synchronisation and
// resynchronisation, the same for ADTS and MPEG audio.
#pragma once

#include <algorithm>
#include <cstring>
#include <optional>

#include "codec/stream/byte_window.h"
#include "codec/stream/demuxer.h"
#include "codec/stream/tags.h"

namespace moxc {

enum class Answer { no, yes, unknown };  // unknown: more bytes will tell

// Guesses at frame lengths for each byte fed, and at most at once.
inline constexpr size_t kGuesses = 4, kMostGuesses = size_t{1} << 24;

// Where in the first bytes of an input frames begin, as far as these bytes tell.
struct FoundFrames {
  Answer answer;
  size_t at;  // the frame, or the first place where one may begin
};

// Syntax tells what its codec alone knows:
//   Header                                           what a frame's header says
//   static constexpr size_t kHeaderBytes, kMaxFrame
//   static std::optional<Header> parse(Bytes)        a header at the front of the bytes
//   static bool sameStream(const Header&, const Header&)
//   static size_t lengthOf(const Header&)            of the whole frame; 0 where the header does not tell (free format)
//   static void setLength(Header&, const Header& first)   takes over what headers do not tell from the stream's first
//   static constexpr bool kFreeLength                whether there are such headers

// A stream's frames in bytes that are at hand: questions that have the same answer however the bytes came.
template <class Syntax>
struct FrameChain {
  using Header = typename Syntax::Header;

  Bytes bytes;
  bool whole;      // nothing will follow
  size_t& budget;  // how often the lengths of frames may yet be guessed, lest hostile bytes take for ever

  bool ends(size_t at) const { return whole && at == bytes.size(); }
  Bytes from(size_t at) const { return slice(bytes, at); }

  // A header of the stream that `first` began.
  std::optional<Header> headerAt(size_t at, const Header& first) const {
    std::optional<Header> header = Syntax::parse(from(at));
    if (!header || !Syntax::sameStream(*header, first)) return std::nullopt;
    Syntax::setLength(*header, first);
    return header;
  }

  // Whether `count` more frames of the stream follow that one, each where the one before it ends. A last frame that is
  // cut off counts; with `endCounts` the end of the data is as good as all of them, and a tag is too.
  Answer joins(size_t at, const Header& header, int count, bool endCounts) const {
    size_t end = at + Syntax::lengthOf(header);
    for (int i = 0; i < count; ++i) {
      if (endCounts && ends(end)) return Answer::yes;
      if (!whole && end + Syntax::kHeaderBytes > bytes.size()) return Answer::unknown;
      const std::optional<Header> next = headerAt(end, header);
      if (!next) return endCounts ? tagAt(end) : Answer::no;
      end += Syntax::lengthOf(*next);
    }
    return Answer::yes;
  }

  Answer tagAt(size_t at) const {
    const TagReader::Begins begins = TagReader::begins(from(at), whole);
    return begins == TagReader::Begins::yes        ? Answer::yes
           : begins == TagReader::Begins::needMore ? Answer::unknown
                                                   : Answer::no;
  }

  // Whether a stream begins there, with so many followers; completes the header.
  Answer begins(size_t at, Header& header, int followers, bool endCounts) const {
    if constexpr (Syntax::kFreeLength)
      if (Syntax::lengthOf(header) == 0) return beginsFree(at, header);
    if (whole && at + Syntax::lengthOf(header) > bytes.size()) return Answer::no;
    return joins(at, header, followers, endCounts);
  }

  // The length of frames that do not tell theirs: the distance to the next header of the stream that the frames after
  // it confirm. With any distance allowed, one follower would be found by chance too often.
  Answer beginsFree(size_t at, Header& header) const {
    constexpr int kFollowers = 2;
    const size_t limit = std::min(bytes.size() - at, Syntax::kMaxFrame);
    for (size_t distance = Syntax::shortest(header); distance + Syntax::kHeaderBytes <= limit; ++distance) {
      if (budget == 0) break;
      --budget;
      if (bytes[at + distance] != 0xFF) continue;
      Syntax::setFreeLength(header, distance);
      const Answer answer = joins(at, header, kFollowers, true);
      if (answer != Answer::no) return answer;
    }
    Syntax::setFreeLength(header, 0);
    return !whole && limit < Syntax::kMaxFrame && budget > 0 ? Answer::unknown : Answer::no;
  }

  // The first byte in [from, end) that may begin a sync word; end where there is none.
  size_t nextSync(size_t from, size_t end) const {
    if (from >= end) return end;
    const void* const sync = std::memchr(bytes.data() + from, 0xFF, end - from);
    return sync == nullptr ? end : static_cast<size_t>(static_cast<const uint8_t*>(sync) - bytes.data());
  }
};

// Looks for a stream from that byte on. Where the bytes begin with the input (`start`) one following frame convinces, or
// the end of the data; behind foreign bytes three joining frames do, and nothing else.
template <class Syntax>
FoundFrames findFrames(Bytes bytes, bool whole, size_t from, bool start, size_t& budget) {
  const FrameChain<Syntax> chain{bytes, whole, budget};
  const size_t end = bytes.size() < Syntax::kHeaderBytes ? 0 : bytes.size() - Syntax::kHeaderBytes + 1;
  std::optional<size_t> maybe;  // what is sure behind it is preferred
  for (size_t at = chain.nextSync(from, end); at < end; at = chain.nextSync(at + 1, end)) {
    std::optional<typename Syntax::Header> header = Syntax::parse(chain.from(at));
    if (!header) continue;
    const bool first = start && at == 0;
    const Answer answer = chain.begins(at, *header, first ? 1 : 2, first);
    if (answer == Answer::yes) return {answer, at};
    if (answer == Answer::unknown && !maybe) maybe = at;
    if (answer == Answer::unknown && first) break;
  }
  if (maybe) return {Answer::unknown, *maybe};
  return whole ? FoundFrames{Answer::no, bytes.size()} : FoundFrames{Answer::unknown, std::max(from, end)};
}

// What a walk over the frames found besides them.
struct FrameCounts {
  int64_t frames = 0, bytes = 0;  // handed out
  int64_t lost = 0;               // frames that must have stood in gaps
  int64_t skipped = 0;            // bytes that belong to no frame
  int64_t doubtful = 0;           // frames within which another begins: some header bit is wrong
  int64_t truncated = 0;          // bytes of a last frame that is incomplete
  bool ended = false;             // up to the end of the input
};

// Begins where findFrames() found a stream. From there it goes from end to end and trusts what it finds; where a header
// is missing or misleading, the next place with two joining frames of the same stream is sought, or with three of
// another. A frame is handed out when the header behind it has come.
template <class Syntax>
class FrameDemuxer : public Demuxer, public Allocated {
 public:
  using Header = typename Syntax::Header;

  explicit FrameDemuxer(Tags& tags, int64_t position = 0)
      : window_(kWindow), position_(position), tagReader_(tags) {
    window_.jump(position);
    config_.content = Syntax::kContent;
  }

  size_t feed(Bytes bytes) override {
    const size_t taken = window_.feed(bytes);
    budget_ = std::min(budget_ + kGuesses * taken, kMostGuesses);
    return taken;
  }
  void finish() override { whole_ = true; }
  DemuxEvent next(Packet& packet) override;
  int64_t inputPosition() const override { return window_.inputPosition(); }

  const TrackConfig& config() const override { return config_; }
  const char* container() const override { return Syntax::kContainer; }
  const std::string& refusal() const override { return refusal_; }
  int64_t skippedBytes() const override { return counts_.skipped; }
  std::vector<std::string> faults() const override { return {}; }
  std::vector<std::string> notes() const override { return {}; }
  const std::vector<Tag>& tags() const override { return noTags_; }
  const std::vector<Picture>& pictures() const override { return noPictures_; }

  const FrameCounts& counts() const { return counts_; }
  const Header& header() const { return first_; }  // of the stream at hand

  // Takes up the walk at a frame that was handed out before, its stream's header being that one.
  void restart(int64_t position, const Header& header);

 private:
  // Up to so many frames lost in a row are made up for; a longer gap is taken as a cut.
  static constexpr int64_t kMaxLost = 4;
  static constexpr size_t kTail = 4096;  // of a gap is kept, for a tag that shows at its end
  static constexpr size_t kWindow = kTail + 5 * (Syntax::kMaxFrame + Syntax::kHeaderBytes);

  using Chain = FrameChain<Syntax>;
  Chain chain() { return {window_.bytes(), whole_, budget_}; }
  Bytes from(int64_t position) const { return slice(window_.bytes(), offset(position)); }
  void dropTo(int64_t position) {
    if (position > window_.position()) window_.drop(offset(position));
  }
  size_t offset(int64_t position) const { return static_cast<size_t>(position - window_.position()); }
  DemuxEvent nextFrame(Packet& packet);
  DemuxEvent handOut(const Header& header, Packet& packet);
  Answer seekPair(size_t from, size_t end, size_t& at, bool otherStreams);
  DemuxEvent crossGap();
  void noteGap(int64_t bytes);
  DemuxEvent ended() {
    counts_.ended = true;
    return DemuxEvent::end;
  }

  ByteWindow window_;
  bool whole_ = false;  // no more will be fed
  size_t budget_ = kMostGuesses;
  int64_t position_;  // of the next frame
  bool begun_ = false;
  Header first_{};
  TagReader tagReader_;

  bool inGap_ = false, gapIsZero_ = true;
  int64_t gapStart_ = 0, sought_ = 0;  // where the gap begins, and up to where there is no frame
  bool afterGap_ = false;
  int64_t lostLeft_ = 0;
  int64_t lastBytes_ = 0;  // length of the frame before; 0 behind a tag

  FrameCounts counts_;
  TrackConfig config_;
  std::string refusal_;
  std::vector<Tag> noTags_;
  std::vector<Picture> noPictures_;
};

template <class Syntax>
void FrameDemuxer<Syntax>::restart(int64_t position, const Header& header) {
  window_.jump(position);
  whole_ = false;
  position_ = position;
  first_ = header;
  begun_ = true;
  tagReader_.abandon();
  inGap_ = afterGap_ = false;
  lostLeft_ = lastBytes_ = 0;
}

template <class Syntax>
DemuxEvent FrameDemuxer<Syntax>::next(Packet& packet) {
  if (lostLeft_ > 0) {
    --lostLeft_;
    return DemuxEvent::lost;
  }
  for (;;) {
    if (tagReader_.inside()) {
      const size_t taken = tagReader_.feed(from(position_), whole_);
      position_ += static_cast<int64_t>(taken);
      dropTo(position_);
      if (!tagReader_.inside()) continue;
      if (!whole_) return DemuxEvent::needMore;
      tagReader_.abandon();
      return ended();
    }
    if (inGap_) {
      const DemuxEvent event = crossGap();
      if (event != DemuxEvent::packet) return event;  // else a frame stands there
      continue;
    }
    dropTo(position_);
    const Bytes here = from(position_);
    if (here.size() < Syntax::kHeaderBytes && !whole_) return DemuxEvent::needMore;
    if (here.empty()) return ended();
    switch (TagReader::begins(here, whole_)) {
      case TagReader::Begins::needMore:
        return DemuxEvent::needMore;
      case TagReader::Begins::yes:
        position_ += static_cast<int64_t>(tagReader_.feed(here, whole_));
        lastBytes_ = 0;
        continue;
      default:
        break;
    }
    return nextFrame(packet);
  }
}

// At the end of the frame before stands another, of this stream or of another that goes on; or a gap begins.
template <class Syntax>
DemuxEvent FrameDemuxer<Syntax>::nextFrame(Packet& packet) {
  const Chain all = chain();
  if (begun_)
    if (const std::optional<Header> header = all.headerAt(0, first_)) return handOut(*header, packet);
  if (std::optional<Header> other = Syntax::parse(all.bytes)) {
    const Answer answer = all.begins(0, *other, 1, true);
    if (answer == Answer::unknown) return DemuxEvent::needMore;
    if (answer == Answer::yes) {
      first_ = *other;
      begun_ = true;
      return handOut(*other, packet);
    }
  }
  inGap_ = gapIsZero_ = true;
  gapStart_ = sought_ = position_;
  return next(packet);
}

template <class Syntax>
DemuxEvent FrameDemuxer<Syntax>::handOut(const Header& header, Packet& packet) {
  const Chain all = chain();
  size_t end = Syntax::lengthOf(header);
  bool doubtful = false;
  if (!all.ends(end)) {
    if (!all.whole && end + Syntax::kHeaderBytes > all.bytes.size()) return DemuxEvent::needMore;
    if (!Syntax::parse(all.from(end)) && all.tagAt(end) == Answer::no) {
      // Whose fault: a wrong length here, or damage behind? A pair of frames that begins inside tells.
      size_t inside = 0;
      const Answer answer = seekPair(Syntax::kHeaderBytes, std::min(end, all.bytes.size()), inside, false);
      if (answer == Answer::unknown) return DemuxEvent::needMore;
      if (answer == Answer::yes) {
        end = inside;
        doubtful = true;
      } else if (end > all.bytes.size()) {
        counts_.truncated = static_cast<int64_t>(all.bytes.size());
        position_ = window_.inputPosition();
        return ended();
      }
    }
  }
  packet.bytes = all.bytes.first(end);
  packet.position = position_;
  packet.number = counts_.frames++;
  packet.afterGap = std::exchange(afterGap_, false);
  counts_.bytes += static_cast<int64_t>(end);
  counts_.doubtful += doubtful;
  lastBytes_ = static_cast<int64_t>(end);
  position_ += static_cast<int64_t>(end);
  return DemuxEvent::packet;
}

// The first place in [from, end) where two frames of the stream join; or three of another.
template <class Syntax>
Answer FrameDemuxer<Syntax>::seekPair(size_t from, size_t end, size_t& at, bool otherStreams) {
  const Chain all = chain();
  for (at = all.nextSync(from, end); at < end; at = all.nextSync(at + 1, end)) {
    Answer answer = Answer::no;
    if (!all.whole && at + Syntax::kHeaderBytes > all.bytes.size()) return Answer::unknown;
    if (const std::optional<Header> header = begun_ ? all.headerAt(at, first_) : std::nullopt) {
      if (!all.whole || at + Syntax::lengthOf(*header) <= all.bytes.size())
        answer = all.joins(at, *header, 1, true);
    } else if (std::optional<Header> other = otherStreams ? Syntax::parse(all.from(at)) : std::nullopt) {
      answer = all.begins(at, *other, 2, false);
      if (answer == Answer::yes) first_ = *other;
    }
    if (answer != Answer::no) return answer;
  }
  return Answer::no;
}

// packet: a frame stands at position_.
template <class Syntax>
DemuxEvent FrameDemuxer<Syntax>::crossGap() {
  const size_t first = offset(sought_), held = chain().bytes.size();
  size_t at = held;
  const Answer answer = seekPair(first, held, at, true);
  gapIsZero_ = gapIsZero_ && allZero(slice(chain().bytes, first, at - first));
  sought_ = window_.position() + static_cast<int64_t>(at);
  if (answer != Answer::yes && !whole_) {
    dropTo(sought_ - static_cast<int64_t>(kTail));
    return DemuxEvent::needMore;
  }
  const int64_t gap = sought_ - gapStart_;
  const int64_t tail = std::max(gapStart_, window_.position());
  const Bytes last = slice(from(tail), 0, static_cast<size_t>(sought_ - tail));
  inGap_ = false;
  position_ = sought_;
  dropTo(position_);
  const bool atEnd = answer != Answer::yes;
  const bool nothing = atEnd && (gapIsZero_ || gap <= 1);  // zeros behind a stream are padding
  if (tagReader_.readFooter(last, gap)) {
    lastBytes_ = 0;
  } else if (!nothing && begun_) {
    counts_.skipped += gap;
    afterGap_ = true;
    if (!atEnd) noteGap(gap);
  }
  begun_ = begun_ || !atEnd;
  if (atEnd) return ended();
  if (lostLeft_ == 0) return DemuxEvent::packet;
  --lostLeft_;
  return DemuxEvent::lost;
}

template <class Syntax>
void FrameDemuxer<Syntax>::noteGap(int64_t bytes) {
  const int64_t lost = Syntax::lostFrames(bytes, lastBytes_, counts_);
  if (lost > kMaxLost) return;
  lostLeft_ = lost;
  counts_.lost += lost;
}

}  // namespace moxc
