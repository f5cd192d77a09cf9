#include "codec/stream/tags.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace {

using moxc::Bytes;
using moxc::TagReader;

std::string little(uint32_t v) {
  return {static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
          static_cast<char>(v >> 24)};
}

std::string big(uint32_t v) {
  const std::string s = little(v);
  return {s.rbegin(), s.rend()};
}

std::string syncsafe(uint32_t v) {
  return big((v & 0x7F) | (v & 0x3F80) << 1 | (v & 0x1FC000) << 2 | (v & 0xFE00000) << 3);
}

std::string id3v2(int version, const std::string& body, int flags = 0) {
  return std::string("ID3") + static_cast<char>(version) + '\0' + static_cast<char>(flags) +
         syncsafe(static_cast<uint32_t>(body.size())) + body;
}

std::string frame23(const std::string& name, const std::string& content) {
  return name + big(static_cast<uint32_t>(content.size())) + std::string(2, '\0') + content;
}

std::string ape(const std::string& name, const std::string& value, bool withHeader) {
  const std::string items = little(static_cast<uint32_t>(value.size())) + little(0) + name + '\0' + value;
  const auto block = [&](uint32_t flags) {
    return "APETAGEX" + little(2000) + little(static_cast<uint32_t>(items.size()) + 32) + little(1) +
           little(flags) + std::string(8, '\0');
  };
  return (withHeader ? block(0xA0000000u) : "") + items + block(withHeader ? 0x80000000u : 0u);
}

std::string id3v1(const std::string& title) {
  std::string tag = "TAG" + title;
  tag.resize(128);
  tag[126] = 9;  // version 1.1: track number
  return tag;
}

struct Stripped {
  std::string audio;  // what is no tag
  std::vector<std::string> kinds;
  std::map<std::string, std::string> fields;
};

// Reads the tags wherever they stand, in pieces of so many bytes.
Stripped strip(const std::string& text, size_t piece) {
  const std::vector<uint8_t> exact(text.begin(), text.end());  // for the address sanitizer to watch its ends
  const Bytes bytes(exact);
  moxc::Tags tags;
  TagReader reader(tags);
  Stripped result;
  for (size_t at = 0; at < bytes.size();) {
    size_t end = std::min(at + piece, bytes.size());
    if (!reader.inside()) {
      while (TagReader::begins(bytes.subspan(at, end - at), end == bytes.size()) ==
             TagReader::Begins::needMore)
        ++end;
      if (TagReader::begins(bytes.subspan(at, end - at), end == bytes.size()) == TagReader::Begins::no) {
        result.audio += text[at++];
        continue;
      }
    }
    const size_t taken = reader.feed(bytes.subspan(at, end - at), end == bytes.size());
    EXPECT_LE(taken, end - at);
    if (taken == 0 && reader.inside()) break;
    at += taken;
  }
  result.kinds.assign(tags.kinds.begin(), tags.kinds.end());
  for (const auto& field : tags.fields) result.fields.emplace(field.name, field.value);
  return result;
}

TEST(Tags, EveryKindIsReadInWholeAndInPieces) {
  const std::string audio = "\xFF\xFB audio \x01";
  const std::string utf16 = std::string("\x01\xFF\xFE\xE4\x00\x3D\xD8\x00\xDE", 9);  // a-umlaut, U+1F600
  const std::string cover = frame23("APIC", std::string(40000, 'x'));
  const std::string before =
      id3v2(3, frame23("TIT2", utf16) + cover + frame23("TPE1", std::string("\0Ren\xE9", 5)) +
                   std::string(50, '\0')) +
      id3v2(2, std::string("TAL\0\0\x04\0abc", 10));
  const std::string lyrics = "LYRICSBEGINxyz";
  const std::string after = ape("Year", "1999", true) + lyrics + "000014LYRICS200" + id3v1("other");
  for (const size_t piece : {size_t{1}, size_t{7}, size_t{100000}}) {
    const Stripped tagged = strip(before + audio + after, piece);
    EXPECT_EQ(tagged.audio, audio);
    EXPECT_EQ(tagged.kinds, (std::vector<std::string>{"ID3v2.3", "ID3v2.2", "APEv2", "Lyrics3v2", "ID3v1"}));
    EXPECT_EQ(tagged.fields.at("title"), "\xC3\xA4\xF0\x9F\x98\x80");  // the first one stays
    EXPECT_EQ(tagged.fields.at("artist"), "Ren\xC3\xA9");
    EXPECT_EQ(tagged.fields.at("album"), "abc");
    EXPECT_EQ(tagged.fields.at("year"), "1999");
    EXPECT_EQ(tagged.fields.at("track"), "9");
  }

  // In version 2.4 a frame's size counts the zeros of unsynchronisation; compressed and encrypted frames are no text.
  const auto frame24 = [](const std::string& name, const std::string& content, char flags) {
    return name + syncsafe(static_cast<uint32_t>(content.size())) + '\0' + flags + content;
  };
  for (const char ownFlag : {'\0', '\2'}) {
    const std::string guarded =
        id3v2(4,
              frame24("TIT2", std::string("\1\xFF\0\xFEx\0", 6), ownFlag) + frame24("TALB", "\3zip", 8) +
                  frame24("TPE1", std::string("\0\0\0\3\3me", 7), 1),
              ownFlag == 0 ? 0x80 : 0) +
        audio;
    EXPECT_EQ(strip(guarded, 3).fields,
              (std::map<std::string, std::string>{{"title", "x"}, {"artist", "me"}}));
  }

  const std::string other = id3v2(4,
                                  "TIT2" + syncsafe(3) + std::string(2, '\0') +
                                      "\x03"
                                      "ab",
                                  0x10) +
                            std::string("3DI\4\0\x10", 6) + syncsafe(13) + audio;
  EXPECT_EQ(strip(other, 5).audio, audio);
  EXPECT_EQ(strip(other, 5).fields.at("title"), "ab");
}

TEST(Tags, WhatShowsOnlyAtItsEndIsReadFromThere) {
  moxc::Tags tags;
  TagReader reader(tags);
  const std::string text = ape("ARTIST", "B\x1B[31m", false) + id3v1("t");
  const Bytes bytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
  EXPECT_FALSE(reader.readFooter(bytes, static_cast<int64_t>(text.size()) + 1));
  EXPECT_TRUE(reader.readFooter(bytes, static_cast<int64_t>(text.size())));
  ASSERT_EQ(tags.fields.size(), 3u);
  EXPECT_EQ(tags.fields[0].value, "B [31m");  // no escape sequence reaches a terminal
  EXPECT_EQ(tags.fields[1].value, "t");
}

TEST(Tags, LengthsThatRunPastTheDataAreHarmless) {
  EXPECT_TRUE(strip("ID3\3\0" + std::string(1, '\0') +
                        "\x7F\x7F\x7F\x7F"
                        "abc",
                    4)
                  .audio.empty());
  std::mt19937 random(11);
  const std::string tags = id3v2(3, frame23("TIT2", "\1ab") + frame23("TALB", "\2cd"), 0x40) + "audio" +
                           ape("TITLE", "x", true) + id3v1("y") + "000014LYRICS200";
  for (int trial = 0; trial < 20000; ++trial) {
    std::string broken = tags.substr(0, trial % 2 == 0 ? tags.size() : random() % tags.size());
    for (int i = 0; i < 4 && !broken.empty(); ++i)
      broken[random() % broken.size()] = static_cast<char>(random());
    EXPECT_LE(strip(broken, 1 + random() % 50).audio.size(), broken.size());
  }
}

}  // namespace
