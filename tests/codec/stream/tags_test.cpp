#include "codec/stream/tags.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using moxc::Bytes;
using moxc::TaggedAudio;

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

// The view in `result` points into `bytes`, which the caller keeps.
TaggedAudio strip(const std::string& bytes) {
  return moxc::stripTags(Bytes(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
}

TEST(Tags, EveryKindIsTakenOffBothEnds) {
  const std::string audio = "\xFF\xFB audio \x01";
  const std::string utf16 = std::string("\x01\xFF\xFE\xE4\x00\x3D\xD8\x00\xDE", 9);  // a-umlaut, U+1F600
  const std::string before = id3v2(3, frame23("TIT2", utf16) + frame23("TPE1", std::string("\0Ren\xE9", 5)) +
                                          std::string(50, '\0')) +
                             id3v2(2, std::string("TAL\0\0\x04\0abc", 10));
  const std::string lyrics = "LYRICSBEGINxyz";
  const std::string after = ape("Year", "1999", true) + lyrics + "000014LYRICS200" + id3v1("other");
  const std::string all = before + audio + after;
  const TaggedAudio tagged = strip(all);
  EXPECT_EQ(moxc::asText(tagged.audio), audio);
  EXPECT_EQ(tagged.kinds, (std::vector<std::string>{"ID3v2.3", "ID3v2.2", "ID3v1", "Lyrics3v2", "APEv2"}));
  EXPECT_EQ(tagged.fields.at("title"), "\xC3\xA4\xF0\x9F\x98\x80");  // the first one stays
  EXPECT_EQ(tagged.fields.at("artist"), "Ren\xC3\xA9");
  EXPECT_EQ(tagged.fields.at("album"), "abc");
  EXPECT_EQ(tagged.fields.at("year"), "1999");
  EXPECT_EQ(tagged.fields.at("track"), "9");

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
    EXPECT_EQ(strip(guarded).fields, (std::map<std::string, std::string>{{"title", "x"}, {"artist", "me"}}));
  }

  const std::string other = id3v2(4,
                                  "TIT2" + syncsafe(3) + std::string(2, '\0') +
                                      "\x03"
                                      "ab",
                                  0x10) +
                            std::string("3DI\4\0\x10", 6) + syncsafe(13) + audio +
                            ape("ARTIST", "B\x1B[31m", false);
  EXPECT_EQ(moxc::asText(strip(other).audio), audio);
  EXPECT_EQ(strip(other).fields.at("title"), "ab");
  EXPECT_EQ(strip(other).fields.at("artist"), "B [31m");  // no escape sequence reaches a terminal
}

TEST(Tags, LengthsThatRunPastTheDataAreHarmless) {
  EXPECT_TRUE(strip("ID3\3\0" + std::string(1, '\0') +
                    "\x7F\x7F\x7F\x7F"
                    "abc")
                  .audio.empty());
  std::mt19937 random(11);
  const std::string tags = id3v2(3, frame23("TIT2", "\1ab") + frame23("TALB", "\2cd"), 0x40) + "audio" +
                           ape("TITLE", "x", true) + id3v1("y") + "000014LYRICS200";
  for (int trial = 0; trial < 20000; ++trial) {
    std::string broken = tags.substr(0, trial % 2 == 0 ? tags.size() : random() % tags.size());
    for (int i = 0; i < 4 && !broken.empty(); ++i)
      broken[random() % broken.size()] = static_cast<char>(random());
    // An exact copy on the heap, for the address sanitizer to watch its ends.
    const std::vector<uint8_t> exact(broken.begin(), broken.end());
    EXPECT_LE(moxc::stripTags(exact).audio.size(), exact.size());
  }
}

}  // namespace
