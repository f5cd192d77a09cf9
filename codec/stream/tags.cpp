#include "codec/stream/tags.h"

#include <array>
#include <cstdio>
#include <utility>

namespace moxc {
namespace {

void addUtf8(String& text, uint32_t code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0 | (code >> 6));
    text += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0 | (code >> 12));
    text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    text += static_cast<char>(0xF0 | (code >> 18));
    text += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    text += static_cast<char>(0x80 | (code & 0x3F));
  }
}

String fromLatin1(Bytes bytes) {
  String text;
  for (const uint8_t byte : bytes) {
    if (byte == 0) break;
    addUtf8(text, byte);
  }
  return text;
}

String fromUtf16(Bytes bytes, bool bigEndianOrder) {
  String text;
  uint32_t high = 0;  // a surrogate that waits for its partner
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const uint32_t unit =
        bigEndianOrder ? bigEndian(bytes, i, 2) : uint32_t{bytes[i]} | (uint32_t{bytes[i + 1]} << 8);
    if (unit == 0) break;
    if (unit == 0xFEFF || unit == 0xFFFE) {  // byte order mark
      bigEndianOrder = bigEndianOrder == (unit == 0xFEFF);
    } else if ((unit & 0xFC00) == 0xD800) {
      high = unit;
    } else if ((unit & 0xFC00) == 0xDC00) {
      if (high != 0) addUtf8(text, 0x10000 + ((high & 0x3FF) << 10) + (unit & 0x3FF));
      high = 0;
    } else {
      addUtf8(text, unit);
    }
  }
  return text;
}

// The text of an ID3v2 frame: an encoding byte, then the text up to a terminator.
String id3Text(Bytes frame) {
  if (frame.empty()) return {};
  const Bytes text = slice(frame, 1);
  switch (frame[0]) {
    case 0:
      return fromLatin1(text);
    case 1:
      return fromUtf16(text, false);
    case 2:
      return fromUtf16(text, true);
    default: {
      const String all(text.begin(), text.end());
      return all.substr(0, all.find('\0'));
    }
  }
}

struct FieldName {
  const char* v22;
  const char* v23;
  const char* ape;  // upper case
  const char* field;
};
constexpr FieldName kFieldNames[] = {
    {"TT2", "TIT2", "TITLE", "title"},     {"TP1", "TPE1", "ARTIST", "artist"},
    {"TAL", "TALB", "ALBUM", "album"},     {"TP2", "TPE2", "ALBUM ARTIST", "albumartist"},
    {"TYE", "TYER", "YEAR", "year"},       {"---", "TDRC", "DATE", "year"},
    {"TRK", "TRCK", "TRACK", "track"},     {"TPA", "TPOS", "DISC", "disc"},
    {"TCO", "TCON", "GENRE", "genre"},     {"TCM", "TCOM", "COMPOSER", "composer"},
    {"TBP", "TBPM", "BPM", "tempo"},       {"TCR", "TCOP", "COPYRIGHT", "copyright"},
    {"TSS", "TSSE", "ENCODER", "encoder"},
};
const char* fieldOf(std::string_view name, const char* FieldName::*column) {
  for (const FieldName& known : kFieldNames)
    if (name == known.*column) return known.field;
  return nullptr;
}

std::string_view viewOf(Bytes bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

// Sizes of ID3v2 are "syncsafe": seven bits a byte.
size_t syncsafe(Bytes bytes, size_t at) {
  const uint32_t v = bigEndian(bytes, at, 4);
  return ((v >> 3) & 0xFE00000u) | ((v >> 2) & 0x1FC000u) | ((v >> 1) & 0x3F80u) | (v & 0x7Fu);
}

// Takes out the zero behind every 0xFF; in place.
size_t withoutUnsynchronisation(uint8_t* bytes, size_t count) {
  size_t kept = 0;
  for (size_t i = 0; i < count; ++i) {
    const uint8_t byte = bytes[i];
    bytes[kept++] = byte;
    if (byte == 0xFF && i + 1 < count && bytes[i + 1] == 0) ++i;
  }
  return kept;
}

constexpr uint8_t kUnsynchronised = 2, kLengthInFront = 1;  // flags of a frame of version 2.4
constexpr size_t kId3Header = 10, kApeHeader = 32, kId3v1 = 128, kId3v1Extended = 227;
constexpr std::string_view kLyricsBegin = "LYRICSBEGIN", kLyricsEnd = "LYRICS200", kApe = "APETAGEX";

bool isId3v2(Bytes here) {
  return here.size() >= kId3Header && startsWith(here, "ID3") && here[3] != 0xFF && here[4] != 0xFF &&
         (bigEndian(here, 6, 4) & 0x80808080u) == 0;
}

const char* apeKind(Bytes header) { return littleEndian32(header, 8) >= 2000 ? "APEv2" : "APEv1"; }

// What is kept of a tag that is read in one piece, and of the text of one frame.
constexpr size_t kMaxHeld = 16384, kMaxText = 8192;

}  // namespace

void Tags::keep(const char* field, String value) {
  for (char& c : value)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  for (size_t at = value.find('\xC2'); at != String::npos; at = value.find('\xC2', at + 1))
    if (at + 1 < value.size() && static_cast<unsigned char>(value[at + 1]) < 0xA0) value.replace(at, 2, "  ");
  value.erase(value.find_last_not_of(' ') + 1);
  if (value.empty()) return;
  for (const Field& known : fields)
    if (known.name == field) return;
  fields.push_back({field, std::move(value)});
}

void Tags::found(const char* kind) {
  if (kinds.size() < kMaxKinds) kinds.emplace_back(kind);
}

TagReader::Begins TagReader::begins(Bytes here, bool whole) {
  const auto startOf = [&](std::string_view text) {
    return here.size() < text.size() && text.starts_with(viewOf(here));
  };
  if (here.empty()) return whole ? Begins::no : Begins::needMore;
  const bool may = !whole && (startOf("ID3") || startOf("TAG") || startOf(kApe) || startOf(kLyricsBegin) ||
                              (startsWith(here, "ID3") && here.size() < kId3Header) ||
                              (startsWith(here, "TAG+") && here.size() < kId3v1Extended + 3) ||
                              (startsWith(here, kApe) && here.size() < kApeHeader));
  if (may) return Begins::needMore;
  return isId3v2(here) || startsWith(here, "TAG") || startsWith(here, kLyricsBegin) ||
                 (startsWith(here, kApe) && here.size() >= kApeHeader)
             ? Begins::yes
             : Begins::no;
}

size_t TagReader::feed(Bytes bytes, bool whole) {
  size_t taken = 0;
  if (kind_ == Kind::none) {
    if (begins(bytes, whole) != Begins::yes) return 0;
    if (startsWith(bytes, "ID3"))
      taken = beginId3v2(bytes);
    else if (startsWith(bytes, kApe))
      beginHeld(Kind::ape, kApeHeader + littleEndian32(bytes, 12), apeKind(bytes));
    else if (startsWith(bytes, "TAG+") && startsWith(slice(bytes, kId3v1Extended), "TAG"))
      beginHeld(Kind::id3v1Extended, kId3v1Extended, "ID3v1 extended");
    else if (startsWith(bytes, "TAG"))
      beginHeld(Kind::id3v1, kId3v1, "ID3v1");
    else
      beginHeld(Kind::lyrics, SIZE_MAX, "Lyrics3v2");
  }
  bytes = slice(bytes, taken);
  const size_t rest =
      kind_ == Kind::id3v2 ? feedId3v2(slice(bytes, 0, left_)) : feedHeld(slice(bytes, 0, left_));
  left_ -= std::min(rest, left_);
  taken += rest;
  if (left_ == 0) finish();
  return taken;
}

void TagReader::finish() {
  const Bytes held = held_;
  if (kind_ == Kind::ape) readApeItems(slice(held, kApeHeader));
  if (kind_ == Kind::id3v1) readId3v1(held);
  kind_ = Kind::none;
  held_.clear();
}

void TagReader::beginHeld(Kind kind, size_t length, const char* name) {
  kind_ = kind;
  left_ = length;
  held_.clear();
  tags_.found(name);
}

// Lyrics3v2 ends with a marker; an extended ID3v1 tag shows by the plain one behind it.
size_t TagReader::feedHeld(Bytes bytes) {
  if (kind_ != Kind::lyrics) {
    const Bytes kept = slice(bytes, 0, kMaxHeld - std::min(kMaxHeld, held_.size()));
    held_.insert(held_.end(), kept.begin(), kept.end());
    return bytes.size();
  }
  for (size_t i = 0; i < bytes.size(); ++i) {
    held_.push_back(bytes[i]);
    if (held_.size() > kLyricsEnd.size()) held_.erase(held_.begin());
    if (!startsWith(held_, kLyricsEnd)) continue;
    left_ = i + 1;
    return left_;
  }
  return bytes.size();
}

size_t TagReader::beginId3v2(Bytes header) {
  static constexpr const char* kNames[] = {"ID3v2.2", "ID3v2.3", "ID3v2.4", "ID3v2"};
  version_ = header[3];
  const bool known = version_ >= 2 && version_ <= 4;
  tags_.found(kNames[known ? version_ - 2 : 3]);
  const bool unsynchronised = (header[5] & 0x80) != 0, footer = (header[5] & 0x10) != 0;
  kind_ = Kind::id3v2;
  left_ = syncsafe(header, 6) + (footer ? kId3Header : 0);
  // Up to version 2.3 the body is unsynchronised as one, later each frame by itself.
  filtered_ = unsynchronised && version_ < 4;
  frameFlags_ = unsynchronised && version_ == 4 ? kUnsynchronised : 0;
  behindFF_ = false;
  held_.clear();
  part_ = !known                                     ? Part::rest
          : (header[5] & 0x40) != 0 && version_ >= 3 ? Part::extension
                                                     : Part::frameHeader;
  need_ = part_ == Part::extension ? 4 : version_ == 2 ? 6 : 10;
  return kId3Header;
}

size_t TagReader::feedId3v2(Bytes bytes) {
  for (size_t i = 0; i < bytes.size();) {
    if (part_ == Part::rest) break;
    if (part_ == Part::skipped && !filtered_) {
      const size_t passed = std::min(need_, bytes.size() - i);
      i += passed;
      need_ -= passed;
    } else {
      const uint8_t byte = bytes[i++];
      if (filtered_ && std::exchange(behindFF_, byte == 0xFF) && byte == 0) continue;
      if (part_ != Part::skipped) held_.push_back(byte);
      --need_;
    }
    while (need_ == 0 && part_ != Part::rest) finishPart();
  }
  return bytes.size();
}

void TagReader::finishPart() {
  const Bytes held = held_;
  const size_t nameBytes = version_ == 2 ? 3 : 4;
  Part next = Part::frameHeader;
  need_ = version_ == 2 ? 6 : 10;
  switch (part_) {
    case Part::extension:  // version 2.3 does not count the size field itself, 2.4 does
      next = Part::skipped;
      need_ = version_ == 3 ? bigEndian(held, 0, 4) : std::max<size_t>(syncsafe(held, 0), 4) - 4;
      break;
    case Part::frameHeader: {
      if (held[0] == 0) {  // padding
        next = Part::rest;
        break;
      }
      const size_t size = version_ == 2   ? bigEndian(held, 3, 3)
                          : version_ == 3 ? bigEndian(held, 4, 4)
                                          : syncsafe(held, 4);
      flags_ = static_cast<uint8_t>(frameFlags_ | (version_ == 2 ? 0 : held[9]));
      field_ = fieldOf(viewOf(held.first(nameBytes)), version_ == 2 ? &FieldName::v22 : &FieldName::v23);
      const bool plain = (flags_ & (version_ == 3 ? 0xC0 : 0x0C)) == 0;  // neither compressed nor encrypted
      next = field_ != nullptr && plain && size <= kMaxText ? Part::text : Part::skipped;
      need_ = size;
      break;
    }
    case Part::text: {
      size_t count = held_.size();
      size_t first = 0;
      if (version_ == 4) {
        first = (flags_ & kLengthInFront) != 0 ? std::min<size_t>(4, count) : 0;
        count -= first;
        if ((flags_ & kUnsynchronised) != 0) count = withoutUnsynchronisation(held_.data() + first, count);
      }
      tags_.keep(field_, id3Text(slice(held, first, count)));
      break;
    }
    default:
      break;
  }
  part_ = next;
  held_.clear();
}

// APE items: value length, flags, name and its zero, value.
void TagReader::readApeItems(Bytes items) {
  size_t at = 0;
  while (at + 8 < items.size()) {
    const size_t valueBytes = littleEndian32(items, at);
    String name;
    for (at += 8; at < items.size() && items[at] != 0 && name.size() < 256; ++at)
      name += static_cast<char>(items[at] >= 'a' && items[at] <= 'z' ? items[at] - 32 : items[at]);
    ++at;
    const char* const field = fieldOf(name, &FieldName::ape);
    if (field != nullptr && valueBytes <= kMaxText)
      tags_.keep(field, String(viewOf(slice(items, at, valueBytes))));
    at += std::min(valueBytes, items.size());
  }
}

void TagReader::readId3v1(Bytes tag) {
  if (tag.size() < kId3v1) return;
  tags_.keep("title", fromLatin1(slice(tag, 3, 30)));
  tags_.keep("artist", fromLatin1(slice(tag, 33, 30)));
  tags_.keep("album", fromLatin1(slice(tag, 63, 30)));
  tags_.keep("year", fromLatin1(slice(tag, 93, 4)));
  if (tag[125] == 0 && tag[126] != 0) {
    char number[4];
    std::snprintf(number, sizeof number, "%d", tag[126]);
    tags_.keep("track", number);
  }
}

bool TagReader::readFooter(Bytes bytes, int64_t length) {
  Bytes footer = bytes;
  const bool plain = bytes.size() >= kId3v1 && startsWith(bytes.last(kId3v1), "TAG");
  if (plain) footer = bytes.first(bytes.size() - kId3v1);
  if (footer.size() < kApeHeader || !startsWith(footer.last(kApeHeader), kApe)) return false;
  const Bytes last = footer.last(kApeHeader);
  const int64_t items = littleEndian32(last, 12);
  const bool hasHeader = (littleEndian32(last, 20) & 0x80000000u) != 0;
  if (items + (hasHeader ? int64_t{kApeHeader} : 0) + (plain ? int64_t{kId3v1} : 0) != length) return false;
  tags_.found(apeKind(last));
  const size_t held = std::min(footer.size(), static_cast<size_t>(items));
  if (held == static_cast<size_t>(items))
    readApeItems(footer.last(held).first(held - std::min(held, kApeHeader)));
  if (plain) {
    tags_.found("ID3v1");
    readId3v1(bytes.last(kId3v1));
  }
  return true;
}

}  // namespace moxc
