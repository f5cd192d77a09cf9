// MP4: the packets that were put in come out, from files and pipes, whole and cut; wrong files say what is wrong.
#include "codec/stream/mp4.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "codec/damage.h"
#include "codec/stream/adts_frames.h"
#include "codec/stream/box_writer.h"
#include "codec/stream/demux.h"

namespace moxtest {
namespace {

using moxc::Mp4Demuxer;
using moxc::PacketContent;

Demuxed demuxed(const ByteList& bytes, PieceSize pieces = wholeInput(), bool seekable = true) {
  Mp4Demuxer demuxer;
  if (seekable) demuxer.setSeekable(static_cast<int64_t>(bytes.size()));
  return demux(demuxer, bytes, std::move(pieces), seekable);
}

std::string eventsOf(size_t packets) { return std::string("c").append(packets, 'p').append("e"); }

TEST(Mp4, HoldsTheFramesThatWentIn) {
  const std::tuple<const char*, const char*, size_t, bool> streams[] = {
      {"m4a_44100_heaac_fragmented.m4a", "heaac_44100_stereo48.aac", 24, true},
      {"m4a_48000_51_boxes.m4a", "aac_48000_51_320.aac", 18, false},  // the index behind the media
      {"m4a_44100_960.m4a", "aac_44100_intensity48.aac", 28, false},
  };
  for (const auto& [name, source, count, pipe] : streams) {
    SCOPED_TRACE(name);
    const ByteList bytes = bundled(name);
    const Demuxed file = demuxed(bytes, randomPieces(1));
    EXPECT_EQ(file.packets, adtsFrames(source, 0, count, true));
    EXPECT_EQ(file.events, eventsOf(count));
    EXPECT_TRUE(file.faults.empty());
    const Demuxed piped = demuxed(bytes, randomPieces(2), false);
    if (pipe)
      EXPECT_TRUE(piped.sameAs(file));
    else
      EXPECT_NE(piped.refusal.find("not from a pipe"), std::string::npos);
  }
}

TEST(Mp4, TellsTimesTagsAndPictures) {
  const ByteList bytes = bundled("m4a_44100_gapless.m4a");
  Mp4Demuxer demuxer;
  const Demuxed result = demux(demuxer, bytes, wholeInput(), false);
  EXPECT_EQ(result.events, eventsOf(31));
  const moxc::TrackConfig& config = result.configs[0];
  EXPECT_EQ(config.timescale, 44100);
  EXPECT_EQ(config.packetDuration, 1024);
  EXPECT_EQ(config.packets, 31);
  EXPECT_EQ(config.delay, 1024);
  EXPECT_EQ(config.length, 30000);
  const auto has = [&](const char* name) {
    return std::any_of(demuxer.tags().begin(), demuxer.tags().end(),
                       [&](const moxc::Tag& tag) { return tag.first == name && !tag.second.empty(); });
  };
  for (const char* const name : {"title", "artist", "album", "track", "disc", "genre", "tempo"})
    EXPECT_TRUE(has(name)) << name;
  ASSERT_EQ(demuxer.pictures().size(), 1u);
  EXPECT_STREQ(demuxer.pictures()[0].type, "image/png");
  EXPECT_TRUE(
      moxc::startsWith(moxc::slice(bytes, static_cast<size_t>(demuxer.pictures()[0].position)), "\x89PNG"));

  const Demuxed fragmented = demuxed(bundled("m4a_44100_heaac_fragmented.m4a"));
  EXPECT_EQ(fragmented.configs[0].packetDuration, 2048);
  EXPECT_EQ(fragmented.configs[0].packets, -1);
}

TEST(Mp4, IsTheSameInPiecesAndDamaged) {
  for (const char* const name :
       {"m4a_44100_gapless.m4a", "m4a_44100_heaac_fragmented.m4a", "m4a_48000_51_boxes.m4a"}) {
    const ByteList bytes = bundled(name);
    for (uint32_t seed = 0; seed < 60; ++seed)
      for (const bool seekable : {true, false}) {
        SCOPED_TRACE(std::string(name) + " " + std::to_string(seed));
        const ByteList copy = seed == 0 ? bytes : damagedCopy(bytes, seed);
        const Demuxed whole = demuxed(copy, wholeInput(), seekable);
        EXPECT_TRUE(whole.sameAs(demuxed(copy, byteByByte(), seekable)));
        EXPECT_TRUE(whole.sameAs(demuxed(copy, randomPieces(seed), seekable)));
      }
  }
}

TEST(Mp4, SeeksToEveryPacket) {
  for (const char* const name : {"m4a_44100_heaac_fragmented.m4a", "m4a_48000_51_boxes.m4a"}) {
    SCOPED_TRACE(name);
    const ByteList bytes = bundled(name);
    const Demuxed all = demuxed(bytes);
    Mp4Demuxer used, fresh;
    used.setSeekable(static_cast<int64_t>(bytes.size()));
    EXPECT_FALSE(used.seek(0));
    demux(used, bytes, wholeInput(), true);
    const auto count = static_cast<int64_t>(all.packets.size());
    for (int64_t from = count; from-- > 0;) {
      ASSERT_TRUE(used.seek(from));
      const Demuxed rest = demux(used, bytes, randomPieces(3), true, SIZE_MAX, true);
      EXPECT_EQ(rest.packets, std::vector<ByteList>(all.packets.begin() + from, all.packets.end()));
      EXPECT_EQ(rest.numbers.front(), from);
    }
    // Forward to what was not seen yet.
    fresh.setSeekable(static_cast<int64_t>(bytes.size()));
    demux(fresh, bytes, wholeInput(), true, 1);
    ASSERT_TRUE(fresh.seek(count - 2));
    EXPECT_EQ(demux(fresh, bytes, wholeInput(), true, SIZE_MAX, true).numbers,
              (std::vector<int64_t>{count - 2, count - 1}));
  }
}

// Packets of three bytes, 1 2 3, 4 5 6, ..., in chunks of two, and the tables that say so; the media come first.
constexpr size_t kPackets = 7;
ByteList media() {
  ByteList bytes;
  for (uint8_t i = 1; i <= 3 * kPackets; ++i) bytes.push_back(i);
  return box("ftyp", text("M4A ") + words({0})) + box("mdat", bytes);
}
constexpr uint32_t kFirst = 24;  // where the first packet lies
ByteList chunks() {
  return fullBox("stsc", words({2, 1, 2, 1, 4, 1, 1})) +
         fullBox("stco", words({4, kFirst, kFirst + 6, kFirst + 12, kFirst + 18}));
}
ByteList durations() { return fullBox("stts", words({1, kPackets, 1024})); }
ByteList sizes() { return fullBox("stsz", words({3, kPackets})); }
ByteList plainEntry() { return sampleDescription(sampleEntry("mp4a", 0, esds(0x40, {0x12, 0x10}))); }
TrackBoxes plainTrack() { return {plainEntry(), durations() + chunks() + sizes(), {}}; }

void expectAllPackets(const Demuxed& result) {
  ASSERT_EQ(result.packets.size(), kPackets);
  for (size_t i = 0; i < kPackets; ++i) EXPECT_EQ(result.packets[i][0], 3 * i + 1);
  EXPECT_TRUE(result.faults.empty());
}

TEST(Mp4, ReadsEveryFormOfTables) {
  const auto nibbles = fullBox("stz2", words({4, kPackets}) + ByteList{0x33, 0x33, 0x33, 0x30});
  const auto bytes = fullBox("stz2", words({8, kPackets}) + ByteList(kPackets, 3));
  const auto each = fullBox("stsz", words({0, kPackets, 3, 3, 3, 3, 3, 3, 3}));
  const auto far = fullBox("stsc", words({1, 1, 7, 1})) + fullBox("co64", words({1, 0, kFirst}));
  for (const ByteList& tables :
       {durations() + chunks() + sizes(), each + chunks() + durations(), chunks() + nibbles + durations(),
        durations() + bytes + chunks(), far + sizes()}) {
    TrackBoxes boxes = plainTrack();
    boxes.tables = tables;
    const ByteList junk = box("free", ByteList(100, 7)) + box("uuid", ByteList(40, 1));
    TrackBoxes video = boxes;
    video.handler = "vide";
    expectAllPackets(demuxed(media() + junk + movie(track(video) + junk + track(boxes)), randomPieces(4)));
  }
}

TEST(Mp4, ReadsEveryFormOfSampleEntry) {
  const ByteList lc{0x12, 0x10};
  const ByteList wave = box("wave", box("frma", text("mp4a")) + esds(0x40, lc) + words({8, 0}));
  struct Row {
    ByteList entry;
    PacketContent content;
    ByteList specific;
  };
  const Row rows[] = {
      {sampleEntry("mp4a", 0, esds(0x40, lc, 1)), PacketContent::aacBlock, lc},
      {sampleEntry("mp4a", 0, esds(0x40, lc, 4, true)), PacketContent::aacBlock, lc},
      {sampleEntry("mp4a", 1, wave), PacketContent::aacBlock, lc},
      {sampleEntry("mp4a", 2, wave), PacketContent::aacBlock, lc},
      {sampleEntry("mp4a", 0, esds(0x40, {}), 48000), PacketContent::aacBlock, {0x11, 0x90}},
      {sampleEntry("mp4a", 0, esds(0x66, {}), 22050), PacketContent::aacBlock, {0x0B, 0x90}},
      {sampleEntry("mp4a", 0, esds(0x6B, {})), PacketContent::mpegAudioFrame, {}},
      {sampleEntry("mp4a", 0, esds(0x69, {})), PacketContent::mpegAudioFrame, {}},
      {sampleEntry(".mp3", 1, {}), PacketContent::mpegAudioFrame, {}},
      {sampleEntry(std::string("ms\0U", 4), 0, {}), PacketContent::mpegAudioFrame, {}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    TrackBoxes boxes = plainTrack();
    boxes.stsd = sampleDescription(row.entry);
    const Demuxed result = demuxed(media() + movie(track(boxes)));
    expectAllPackets(result);
    ASSERT_FALSE(result.configs.empty());
    EXPECT_EQ(result.configs[0].content, row.content);
    EXPECT_EQ(result.configs[0].specificConfig, row.specific);
  }
}

ByteList edits(std::initializer_list<uint64_t> fields) {
  return box("edts", fullBox("elst", words({fields.size() / 3}) + words(fields)));
}
ByteList gaplessTag(const std::string& value, bool quickTime = false) {
  const ByteList item = fullBox("mean", text("com.apple.iTunes")) + fullBox("name", text("iTunSMPB")) +
                        box("data", words({1, 0}) + text(value));
  const ByteList list = fullBox("hdlr", ByteList(20, 0)) + box("ilst", box("----", item));
  return box("udta", quickTime ? box("meta", list) : fullBox("meta", list));
}

TEST(Mp4, WhatIsPlayedFollowsEditListAndITunesAndLastPacket) {
  constexpr int64_t kAll = 1024 * kPackets;
  const ByteList shortLast = fullBox("stts", words({2, kPackets - 1, 1024, 1, 304})), even = durations(),
                 core = fullBox("stts", words({1, kPackets, 512}));
  const std::string gapless = " 00000000 00000400 00000258 00000000000015A8 00000000";  // 1024, 600, 5544
  const ByteList smpb = gaplessTag(gapless);
  const ByteList none;
  struct Row {
    ByteList durations, edits, tag;
    int64_t delay, length;
    int32_t timescale;
  };
  const Row rows[] = {
      {even, none, none, -1, -1, 44100},
      {shortLast, none, none, 0, kAll - 720, 44100},
      {even, none, smpb, 1024, 5544, 44100},
      {even, none, gaplessTag(gapless, true), 1024, 5544, 44100},
      {core, none, smpb, 1024, 5544, 88200},                       // it counts at the output's rate
      {even, edits({100, 1024, 65536}), none, 1024, 4410, 44100},  // to the movie's millisecond
      {even, edits({0, 500, 65536}), none, 500, kAll - 500, 44100},
      {shortLast, edits({122, 1024, 65536}), none, 1024, kAll - 720 - 1024, 44100},  // 5424 are 122.99 ms
      {even, edits({125, 1024, 65536}), smpb, 1024, 5544, 44100},                    // 5544 are 125.7 ms
      {even, edits({100, 1024, 65536}), smpb, 1024, 4410, 44100},                    // at odds: the edit list
      {even, edits({50, 0xFFFFFFFF, 65536, 100, 1024, 65536}), none, 1024, 4410, 44100},
      {even, edits({100, 1024, 65536, 100, 6000, 65536}), none, 1024, kAll - 1024, 44100},
      {even, edits({4000, 99999, 65536}), none, kAll, 0, 44100},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    TrackBoxes boxes = plainTrack();
    boxes.tables = row.durations + chunks() + sizes();
    boxes.edits = row.edits;
    const Demuxed result = demuxed(media() + movie(track(boxes) + row.tag));
    ASSERT_EQ(result.packets.size(), kPackets);
    EXPECT_EQ(result.configs[0].delay, row.delay);
    EXPECT_EQ(result.configs[0].length, row.length);
    EXPECT_EQ(result.configs[0].timescale, row.timescale);
  }
}

TEST(Mp4, ReadsFragmentsOfEveryForm) {
  const ByteList head = box("ftyp", text("iso5") + words({0})) +
                        movie(track({plainEntry(), durations() + fullBox("stsz", words({0, 0})), {}}) +
                              box("mvex", fullBox("trex", words({1, 1, 1024, 3, 0}))));
  const auto fragment = [&](const ByteList& trackFragments) {
    return box("moof", fullBox("mfhd", words({1})) + trackFragments);
  };
  const ByteList payload{1, 2, 3, 4, 5, 6, 7, 8, 9};
  // Sizes by default, from the moof's beginning: its own bytes and the mdat's header lie between.
  const ByteList other =
      box("traf", fullBox("tfhd", words({2, 2}), 0x10) + fullBox("trun", words({2, 0}), 1));
  const auto mine = [](uint32_t flags, const ByteList& fields, const ByteList& run, uint32_t runFlags) {
    return box("traf", fullBox("tfhd", fields, flags) + fullBox("trun", run, runFlags));
  };
  const auto sized = [&](auto make) { return make(static_cast<uint32_t>(make(0).size()) + 8); };
  const ByteList first = sized([&](uint32_t offset) {
    return fragment(mine(0x20000, words({1}), words({3, offset}), 1));
  });
  // Each size in the run; another track's packets lie in front, and the offset is left out.
  const ByteList second = sized([&](uint32_t offset) {
    const ByteList before =
        box("traf", fullBox("tfhd", words({2, 4}), 0x10) + fullBox("trun", words({1, offset}), 1));
    return fragment(before + mine(0, words({1}), words({2, 1024, 2, 1024, 3}), 0x300));
  });
  // The same with a run of its own that counts from the moof's beginning.
  const ByteList fromMoof = sized([&](uint32_t offset) {
    const ByteList before =
        box("traf", fullBox("tfhd", words({2, 4}), 0x10) + fullBox("trun", words({1, offset}), 1));
    return fragment(before + mine(0x20000, words({1}), words({1, offset + 8, 1}), 0x201));
  });
  // An absolute base, a default of the fragment, two runs behind each other.
  const auto third = [&](uint32_t base) {
    return fragment(box("traf", fullBox("tfhd", words({1, 0, base, 1, 1024, 4}), 0x1B) +
                                    fullBox("trun", words({1, 0}), 1) +
                                    fullBox("trun", words({1, 5}), 0x200)));
  };
  const ByteList mdat = box("mdat", payload);
  ByteList file = head + first + mdat + second + mdat + fromMoof + mdat;
  file = file + third(static_cast<uint32_t>(file.size() + third(0).size()) + 8) + mdat + other;
  for (const bool seekable : {true, false}) {
    const Demuxed result = demuxed(file, byteByByte(), seekable);
    EXPECT_EQ(result.packets,
              (std::vector<ByteList>{
                  {1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {5, 6}, {7, 8, 9}, {9}, {1, 2, 3, 4}, {5, 6, 7, 8, 9}}));
    EXPECT_EQ(result.configs[0].packetDuration, 1024);
    EXPECT_TRUE(result.faults.empty());
  }
}

TEST(Mp4, SaysWhatIsWrong) {
  const ByteList good = media() + movie(track(plainTrack()));
  const auto refusal = [](const ByteList& bytes) { return demuxed(bytes).refusal; };
  const auto with = [](const ByteList& entry) {
    TrackBoxes boxes = plainTrack();
    boxes.stsd = sampleDescription(entry);
    return media() + movie(track(boxes));
  };
  EXPECT_EQ(refusal(with(sampleEntry("alac", 0, {}))),
            "the audio of the MP4 file is ALAC, which is not decoded");
  EXPECT_EQ(refusal(with(sampleEntry("mp4a", 0, esds(0xA5, {})))),
            "the audio of the MP4 file is AC-3, which is not decoded");
  EXPECT_NE(refusal(with(sampleEntry("enca", 0, {}))).find("encrypted"), std::string::npos);
  EXPECT_NE(refusal(with(sampleEntry("mp4a", 0, {}))).find("without a description"), std::string::npos);
  EXPECT_EQ(refusal(media() + movie({})), "the MP4 file has no audio track");
  EXPECT_NE(refusal(media()).find("no index"), std::string::npos);
  EXPECT_NE(refusal(ByteList(good.begin(), good.end() - 50)).find("incomplete"), std::string::npos);
  TrackBoxes empty = plainTrack();
  empty.tables = {};
  EXPECT_NE(refusal(media() + movie(track(empty))).find("empty"), std::string::npos);

  // Cut in the media; or these are missing altogether.
  const auto offset = [](uint32_t by) {
    TrackBoxes boxes = plainTrack();
    boxes.tables =
        durations() + sizes() + fullBox("stsc", words({1, 1, 7, 1})) + fullBox("stco", words({1, by}));
    return movie(track(boxes));
  };
  const ByteList front = offset(static_cast<uint32_t>(offset(0).size()) + 8) + box("mdat", ByteList(21, 5));
  for (const bool seekable : {true, false}) {
    EXPECT_TRUE(demuxed(front, wholeInput(), seekable).faults.empty());
    const Demuxed cut = demuxed(ByteList(front.begin(), front.end() - 4), randomPieces(5), seekable);
    EXPECT_EQ(cut.events, eventsOf(5));
    EXPECT_EQ(cut.faults, std::vector<std::string>{"the file is cut short: 2 packets missing"});
    const Demuxed bare = demuxed(ByteList(front.begin(), front.end() - 29), wholeInput(), seekable);
    EXPECT_EQ(bare.refusal, "the MP4 file is cut short: its media are missing");
  }
}

TEST(Mp4, HostileTablesCostNoMoreThanTheirBytes) {
  constexpr uint64_t kMost = 0xFFFFFFFF;
  const ByteList tables[] = {
      fullBox("stsz", words({1, kMost})) + fullBox("stsc", words({1, 1, kMost, 1})) +
          fullBox("stco", words({1, 0})),
      fullBox("stsz", words({0, kMost, 3})) + chunks(),
      fullBox("stsz", words({3, kMost})) + fullBox("stsc", words({3, 5, 1, 1, 5, 9, 1, 2, kMost, 1})) +
          fullBox("stco", words({3, kMost, 24, 24})),
      sizes() + chunks() + fullBox("stts", words({3, kMost, kMost, kMost, kMost, kMost, kMost})),
      sizes() + fullBox("stsc", words({1, 1, 1, 1})) + fullBox("stco", words({kMost, 24, 24})),
      fullBox("stz2", words({4, kMost}) + ByteList(50, 0)) + chunks(),
      fullBox("stsz", words({0, 5, 200, 200, 200, 200, 200})) + fullBox("stsc", words({1, 1, 1, 1})) +
          fullBox("stco", words({5, 24, 24, 24, 24, 24})),
      fullBox("stsz", words({0, 7, 70000, 70000, 3, 3, 3, 3, 3})) + chunks(),
  };
  for (const ByteList& table : tables)
    for (const uint32_t edit : {0u, 0xFFFFFFFFu}) {
      TrackBoxes boxes{plainEntry(), table, edits({edit, edit >> 1, 65536})};
      const ByteList file = media() + movie(track(boxes), 1);
      const Demuxed result = demuxed(file);
      EXPECT_LE(joined(result.packets).size(), file.size());
      EXPECT_LT(result.events.size(), 2 * file.size());
      // On a pipe the index comes first.
      ByteList piped = movie(track(boxes), 1);
      piped = piped + media();
      EXPECT_LT(demuxed(piped, wholeInput(), false).events.size(), 2 * piped.size());
    }
  // The place of what follows a packet without end is not known, but that of the next chunk.
  TrackBoxes endless = plainTrack();
  endless.tables = durations() + chunks() + fullBox("stsz", words({0, kPackets, 70000, 3, 3, 3, 3, 3, 3}));
  const Demuxed found = demuxed(media() + movie(track(endless)));
  ASSERT_EQ(found.events, eventsOf(kPackets - 2));
  EXPECT_EQ(found.packets[0][0], 7);
  EXPECT_FALSE(found.faults.empty());
  // Boxes in boxes, and a run of four thousand million packets.
  ByteList nest = box("moov", {});
  for (int i = 0; i < 40; ++i) nest = box(i % 2 == 0 ? "udta" : "moov", nest);
  EXPECT_FALSE(demuxed(media() + nest).refusal.empty());
  const ByteList fragments =
      movie(track({plainEntry(), {}, {}}) + box("mvex", fullBox("trex", words({1, 1, 0, 1, 0})))) +
      box("moof", box("traf", fullBox("tfhd", words({1})) + fullBox("trun", words({kMost}), 0)));
  EXPECT_LT(demuxed(fragments).packets.size(), size_t{1} << 16);
}

// Files of a muxer in use, and its own demuxer as the witness.
TEST(Mp4, ReadsWhatAMuxerWrites) {
  if (std::system("ffmpeg -version > /dev/null 2>&1") != 0) GTEST_SKIP() << "no ffmpeg";
  const ScratchDirectory scratch;
  const auto run = [](const std::string& command) {
    const std::string line = "ffmpeg -v error -nostdin -y " + command;
    ASSERT_EQ(std::system(line.c_str()), 0) << line;
  };
  const std::string aac = streamPath("aac_44100_stereo128.aac"),
                    mp3 = streamPath("mp3_44100_joint128_short.mp3");
  const std::string video =
      "-f lavfi -i testsrc=s=64x48:r=10:d=1 -i " + aac + " -map 0 -map 1 -c:v mpeg4 -c:a copy ";
  const std::tuple<std::string, std::string, bool> files[] = {
      {"-i " + aac + " -c copy -f mp4 ", "plain", false},
      {"-i " + aac + " -c copy -f ipod -movflags faststart ", "front", true},
      {"-i " + aac + " -c copy -f mov ", "quicktime", false},
      {"-i " + aac + " -c copy -bsf:a aac_adtstoasc -f 3gp -movflags frag_every_frame+empty_moov ", "frames",
       true},
      {"-i " + aac +
           " -c copy -bsf:a aac_adtstoasc -f mp4 -movflags dash+frag_keyframe -frag_duration 300000 ",
       "dash", true},
      {video + "-f mp4 -movflags faststart ", "video", true},
      {video + "-bsf:a aac_adtstoasc -f mp4 -movflags frag_keyframe+empty_moov -frag_duration 200000 ",
       "videofragments", true},
      {"-i " + mp3 + " -c copy -f mp4 -movflags faststart ", "mp3", true},
  };
  for (const auto& [options, name, pipe] : files) {
    SCOPED_TRACE(name);
    const std::string path = scratch / name, frames = path + ".frames";
    run(options + path);
    run("-i " + path + " -map 0:a -c copy -f data " + frames);
    const ByteList bytes = readFile(path);
    const Demuxed result = demuxed(bytes, randomPieces(6));
    EXPECT_EQ(joined(result.packets), readFile(frames));
    EXPECT_TRUE(result.faults.empty());
    EXPECT_GT(result.packets.size(), 40u);
    if (pipe) {
      EXPECT_TRUE(demuxed(bytes, randomPieces(7), false).sameAs(result));
    }
  }
}

}  // namespace
}  // namespace moxtest
