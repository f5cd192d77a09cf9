#include "codec/stream/tags.h"

#include <array>
#include <cstdio>

namespace moxc {
namespace {

void addUtf8(std::string& text, uint32_t code) {
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

std::string fromLatin1(Bytes bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    if (byte == 0) break;
    addUtf8(text, byte);
  }
  return text;
}

std::string fromUtf16(Bytes bytes, bool bigEndianOrder) {
  std::string text;
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
std::string id3Text(Bytes frame) {
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
      const std::string all = asText(text);
      return all.substr(0, all.find('\0'));
    }
  }
}

// Keeps the first non-empty value of a field, without trailing blanks and without control characters, which a
// terminal might obey.
void keep(TaggedAudio& result, const std::string& field, std::string value) {
  for (char& c : value)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  for (size_t at = value.find('\xC2'); at != std::string::npos; at = value.find('\xC2', at + 1))
    if (at + 1 < value.size() && static_cast<unsigned char>(value[at + 1]) < 0xA0) value.replace(at, 2, "  ");
  value.erase(value.find_last_not_of(' ') + 1);
  if (!value.empty()) result.fields.emplace(field, value);
}

// Sizes of ID3v2 are "syncsafe": seven bits a byte.
size_t syncsafe(Bytes bytes, size_t at) {
  const uint32_t v = bigEndian(bytes, at, 4);
  return ((v >> 3) & 0xFE00000u) | ((v >> 2) & 0x1FC000u) | ((v >> 1) & 0x3F80u) | (v & 0x7Fu);
}

std::vector<uint8_t> withoutUnsynchronisation(Bytes bytes) {
  std::vector<uint8_t> plain;
  plain.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    plain.push_back(bytes[i]);
    if (bytes[i] == 0xFF && i + 1 < bytes.size() && bytes[i + 1] == 0) ++i;
  }
  return plain;
}

struct FieldName {
  const char* v22;
  const char* v23;
  const char* ape;  // upper case
  const char* field;
};
constexpr FieldName kFieldNames[] = {
    {"TT2", "TIT2", "TITLE", "title"}, {"TP1", "TPE1", "ARTIST", "artist"}, {"TAL", "TALB", "ALBUM", "album"},
    {"TYE", "TYER", "YEAR", "year"},   {"---", "TDRC", "DATE", "year"},     {"TRK", "TRCK", "TRACK", "track"},
    {"TCO", "TCON", "GENRE", "genre"},
};

constexpr uint8_t kUnsynchronised = 2, kLengthInFront = 1;  // flags of a frame of version 2.4

// The content of a frame of version 2.4 as its flags say: freed of unsynchronisation and of the length in front.
std::vector<uint8_t> plainContent(Bytes content, uint8_t flags) {
  const Bytes text = slice(content, (flags & kLengthInFront) != 0 ? 4 : 0);
  return (flags & kUnsynchronised) != 0 ? withoutUnsynchronisation(text)
                                        : std::vector<uint8_t>(text.begin(), text.end());
}

// `frameFlags` hold for every frame besides its own.
void readId3v2Frames(Bytes body, int version, bool extendedHeader, uint8_t frameFlags, TaggedAudio& result) {
  const size_t nameBytes = version == 2 ? 3 : 4, headerBytes = version == 2 ? 6 : 10;
  size_t at = 0;
  // Version 2.3 does not count the size field itself, 2.4 does.
  if (extendedHeader && version >= 3)
    at = version == 3 ? bigEndian(body, 0, 4) + size_t{4} : syncsafe(body, 0);
  while (at + headerBytes <= body.size() && body[at] != 0) {
    const size_t size = version == 2   ? bigEndian(body, at + 3, 3)
                        : version == 3 ? bigEndian(body, at + 4, 4)
                                       : syncsafe(body, at + 4);
    const std::string name = asText(slice(body, at, nameBytes));
    const Bytes content = slice(body, at + headerBytes, size);
    const auto flags = static_cast<uint8_t>(frameFlags | (version == 2 ? 0 : body[at + 9]));
    const bool isText = (flags & (version == 3 ? 0xC0 : 0x0C)) == 0;  // neither compressed nor encrypted
    for (const FieldName& known : kFieldNames)
      if (isText && name == (version == 2 ? known.v22 : known.v23))
        keep(result, known.field, id3Text(version == 4 ? plainContent(content, flags) : content));
    at += headerBytes + size;
  }
}

bool takeId3v2(TaggedAudio& result) {
  const Bytes bytes = result.audio;
  if (bytes.size() < 10 || !startsWith(bytes, "ID3") || bytes[3] == 0xFF || bytes[4] == 0xFF ||
      (bigEndian(bytes, 6, 4) & 0x80808080u) != 0)
    return false;
  const int version = bytes[3];
  const bool unsynchronised = (bytes[5] & 0x80) != 0, extendedHeader = (bytes[5] & 0x40) != 0,
             footer = (bytes[5] & 0x10) != 0;
  const size_t size = syncsafe(bytes, 6);
  result.kinds.push_back("ID3v2." + std::to_string(version));
  if (version >= 2 && version <= 4) {
    const Bytes body = slice(bytes, 10, size);
    if (version == 4)  // each frame is unsynchronised by itself
      readId3v2Frames(body, version, extendedHeader, unsynchronised ? kUnsynchronised : 0, result);
    else if (unsynchronised)
      readId3v2Frames(withoutUnsynchronisation(body), version, extendedHeader, 0, result);
    else
      readId3v2Frames(body, version, extendedHeader, 0, result);
  }
  result.audio = slice(bytes, 10 + size + (footer ? 10 : 0));
  return true;
}

// APE items: value length, flags, name and its zero, value.
void readApeItems(Bytes items, TaggedAudio& result) {
  size_t at = 0;
  while (at + 8 < items.size()) {
    const size_t valueBytes = littleEndian32(items, at);
    std::string name;
    for (at += 8; at < items.size() && items[at] != 0 && name.size() < 256; ++at)
      name += static_cast<char>(items[at] >= 'a' && items[at] <= 'z' ? items[at] - 32 : items[at]);
    ++at;
    for (const FieldName& known : kFieldNames)
      if (name == known.ape) keep(result, known.field, asText(slice(items, at, valueBytes)));
    at += std::min(valueBytes, items.size());
  }
}

constexpr size_t kApeHeader = 32;

std::string apeKind(Bytes header) { return littleEndian32(header, 8) >= 2000 ? "APEv2" : "APEv1"; }

bool takeApeAtStart(TaggedAudio& result) {
  const Bytes bytes = result.audio;
  if (bytes.size() < kApeHeader || !startsWith(bytes, "APETAGEX")) return false;
  const size_t size = littleEndian32(bytes, 12);  // items and footer, without the header
  result.kinds.push_back(apeKind(bytes));
  readApeItems(slice(bytes, kApeHeader, size), result);
  result.audio = slice(bytes, kApeHeader + size);
  return true;
}

bool takeApeAtEnd(TaggedAudio& result) {
  const Bytes bytes = result.audio;
  if (bytes.size() < kApeHeader) return false;
  const Bytes footer = bytes.last(kApeHeader);
  if (!startsWith(footer, "APETAGEX")) return false;
  const bool hasHeader = (littleEndian32(footer, 20) & 0x80000000u) != 0;
  const size_t size = littleEndian32(footer, 12);
  if (size < kApeHeader || size > bytes.size()) return false;
  result.kinds.push_back(apeKind(footer));
  readApeItems(bytes.last(size).first(size - kApeHeader), result);
  result.audio = bytes.first(bytes.size() - std::min(bytes.size(), size + (hasHeader ? kApeHeader : 0)));
  return true;
}

bool takeId3v1(TaggedAudio& result) {
  constexpr size_t kTag = 128, kExtended = 227;
  if (result.audio.size() < kTag || !startsWith(result.audio.last(kTag), "TAG")) return false;
  const Bytes tag = result.audio.last(kTag);
  result.audio = result.audio.first(result.audio.size() - kTag);
  result.kinds.emplace_back("ID3v1");
  keep(result, "title", fromLatin1(slice(tag, 3, 30)));
  keep(result, "artist", fromLatin1(slice(tag, 33, 30)));
  keep(result, "album", fromLatin1(slice(tag, 63, 30)));
  keep(result, "year", fromLatin1(slice(tag, 93, 4)));
  if (tag[125] == 0 && tag[126] != 0) keep(result, "track", std::to_string(tag[126]));
  if (result.audio.size() >= kExtended && startsWith(result.audio.last(kExtended), "TAG+"))
    result.audio = result.audio.first(result.audio.size() - kExtended);
  return true;
}

// Lyrics3v2 ends with its length in six digits and a marker.
bool takeLyrics3(TaggedAudio& result) {
  constexpr size_t kEnd = 15;
  if (result.audio.size() < kEnd) return false;
  const Bytes end = result.audio.last(kEnd);
  if (!startsWith(slice(end, 6), "LYRICS200")) return false;
  size_t size = 0;
  for (const uint8_t digit : end.first(6)) {
    if (digit < '0' || digit > '9') return false;
    size = size * 10 + (digit - size_t{'0'});
  }
  if (size + kEnd > result.audio.size()) return false;
  result.kinds.emplace_back("Lyrics3v2");
  result.audio = result.audio.first(result.audio.size() - size - kEnd);
  return true;
}

// An ID3v2 tag appended at the end announces itself by a footer, "3DI".
bool takeId3v2AtEnd(TaggedAudio& result) {
  constexpr size_t kFooter = 10;
  const Bytes bytes = result.audio;
  if (bytes.size() < 2 * kFooter || !startsWith(bytes.last(kFooter), "3DI")) return false;
  const size_t whole = syncsafe(bytes.last(kFooter), 6) + 2 * kFooter;
  if (whole > bytes.size()) return false;
  TaggedAudio tag{bytes.last(whole), {}, {}};
  if (!takeId3v2(tag)) return false;
  result.kinds.insert(result.kinds.end(), tag.kinds.begin(), tag.kinds.end());
  result.fields.merge(tag.fields);
  result.audio = bytes.first(bytes.size() - whole);
  return true;
}

}  // namespace

TaggedAudio stripTags(Bytes bytes) {
  TaggedAudio result{bytes, {}, {}};
  while (takeId3v2(result) || takeApeAtStart(result)) {
  }
  while (takeApeAtEnd(result) || takeId3v1(result) || takeLyrics3(result) || takeId3v2AtEnd(result)) {
  }
  return result;
}

}  // namespace moxc
