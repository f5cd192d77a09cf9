// Writes MP4 files box by box, right ones and wrong ones.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace moxtest {

using ByteList = std::vector<uint8_t>;

inline ByteList operator+(ByteList left, const ByteList& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}
inline ByteList number(uint64_t value, int bytes) {
  ByteList out;
  while (bytes-- > 0) out.push_back(static_cast<uint8_t>(value >> (8 * bytes)));
  return out;
}
inline ByteList words(std::initializer_list<uint64_t> values) {
  ByteList out;
  for (const uint64_t value : values) out = out + number(value, 4);
  return out;
}
inline ByteList text(const std::string& value) { return {value.begin(), value.end()}; }

inline ByteList box(const std::string& type, const ByteList& content) {
  return number(content.size() + 8, 4) + text(type) + content;
}
// With version 0 or 1, and flags.
inline ByteList fullBox(const std::string& type, const ByteList& content, uint32_t versionAndFlags = 0) {
  return box(type, number(versionAndFlags, 4) + content);
}

// A descriptor whose length takes that many bytes.
inline ByteList descriptor(uint8_t tag, const ByteList& body, int lengthBytes) {
  ByteList out{tag};
  for (int i = lengthBytes - 1; i >= 0; --i)
    out.push_back(static_cast<uint8_t>((body.size() >> (7 * i) & 0x7F) | (i > 0 ? 0x80 : 0)));
  return out + body;
}
inline ByteList esds(uint8_t objectType, const ByteList& specific, int lengthBytes = 1,
                     bool withOptions = false) {
  ByteList config = ByteList{objectType, 0x15} + ByteList(11, 0);
  if (!specific.empty()) config = config + descriptor(5, specific, lengthBytes);
  ByteList stream = withOptions ? ByteList{0, 1, 0xE0, 0, 2, 3, 'u', 'r', 'l', 0, 9} : ByteList{0, 1, 0};
  stream = stream + descriptor(4, config, lengthBytes) + descriptor(6, {2}, lengthBytes);
  return fullBox("esds", descriptor(3, stream, lengthBytes));
}

// A sound's sample entry of version 0, 1 or 2.
inline ByteList sampleEntry(const std::string& type, int version, const ByteList& boxes,
                            uint32_t rate = 44100) {
  const ByteList head =
      ByteList(6, 0) + number(1, 2) + number(static_cast<uint64_t>(version), 2) + ByteList(6, 0);
  ByteList entry = head + number(2, 2) + number(16, 2) + ByteList(4, 0) + number(uint64_t{rate} << 16, 4);
  if (version == 1) entry = entry + words({1024, 0, 0, 2});
  if (version == 2)
    entry = entry + words({72}) + number(0x40E7700000000000, 8) +
            words({2, 0x7F000000, 16, 0, 0, 1024});  // 48000
  return box(type, entry + boxes);
}
inline ByteList sampleDescription(const ByteList& entry) { return fullBox("stsd", words({1}) + entry); }

// What a track is made of. Boxes that are left empty do not stand there.
struct TrackBoxes {
  ByteList stsd, tables, edits;
  std::string handler = "soun";
  uint32_t id = 1, timescale = 44100;
};
inline ByteList track(const TrackBoxes& t) {
  const ByteList hdlr = fullBox("hdlr", words({0}) + text(t.handler) + ByteList(13, 0));
  const ByteList mdhd = fullBox("mdhd", words({0, 0, t.timescale, 0, 0x55C40000}));
  const ByteList media = mdhd + hdlr + box("minf", box("stbl", t.stsd + t.tables));
  return box("trak", fullBox("tkhd", words({0, 0, t.id, 0, 0})) + t.edits + box("mdia", media));
}
inline ByteList movie(const ByteList& boxes, uint32_t timescale = 1000) {
  return box("moov", fullBox("mvhd", words({0, 0, timescale, 0})) + boxes);
}

}  // namespace moxtest
