// Tags around and between MPEG audio streams, read as they come: ID3v1 (and its extension), ID3v2, APEv1/v2, Lyrics3v2.
#pragma once

#include "codec/io/bytes.h"
#include "codec/io/memory.h"

namespace moxc {

// What all tags of an input together say.
struct Tags {
  struct Field {
    const char* name;  // title, artist, album, albumartist, year, track, disc, genre, composer, ...
    String value;      // UTF-8
  };
  static constexpr size_t kMaxKinds = 16;

  Vector<Field> fields;
  Vector<const char*> kinds;  // "ID3v2.3", "APEv2", ... in the order found; the first few

  // Keeps the first non-empty value of a field, without trailing blanks and without control characters, which a
  // terminal might obey.
  void keep(const char* field, String value);
  void found(const char* kind);
};

class TagReader {
 public:
  explicit TagReader(Tags& tags) : tags_(tags) {}

  // Whether a tag begins with these bytes; whole: no more will come.
  enum class Begins { no, yes, needMore };
  static Begins begins(Bytes here, bool whole);

  // Takes what belongs to the tag that begins there, or began before: how many bytes. The first piece must hold what
  // begins() looked at.
  size_t feed(Bytes bytes, bool whole);
  bool inside() const { return kind_ != Kind::none; }  // the tag goes on
  size_t left() const { return left_; }
  void abandon() { kind_ = Kind::none; }

  // Some tags show only at their end. Whether `length` bytes, of which those are the last, are such tags.
  bool readFooter(Bytes last, int64_t length);

 private:
  enum class Kind { none, id3v2, id3v1, id3v1Extended, ape, lyrics };
  enum class Part { extension, frameHeader, text, skipped, rest };  // of an ID3v2 tag

  void beginHeld(Kind kind, size_t length, const char* name);
  size_t feedHeld(Bytes bytes);
  size_t beginId3v2(Bytes header);
  size_t feedId3v2(Bytes bytes);
  void finishPart();
  void finish();
  void readApeItems(Bytes items);
  void readId3v1(Bytes tag);

  Tags& tags_;
  Kind kind_ = Kind::none;
  size_t left_ = 0;       // bytes of the tag that have not come
  Vector<uint8_t> held_;  // of the tag, or of the part of it that is being read

  int32_t version_ = 0;  // of an ID3v2 tag
  bool filtered_ = false, behindFF_ = false;
  uint8_t frameFlags_ = 0, flags_ = 0;  // of all frames, and of the one at hand
  Part part_ = Part::rest;
  size_t need_ = 0;  // bytes of the part that have not come
  const char* field_ = nullptr;
};

}  // namespace moxc
