// LATM and MPEG transport and program streams: the frames that went in come out, however the bytes come.
#include <gtest/gtest.h>

#include <memory>

#include "codec/damage.h"
#include "codec/stream/adts_frames.h"
#include "codec/stream/adts_writer.h"
#include "codec/stream/demux.h"
#include "codec/stream/latm.h"
#include "codec/stream/mpeg_ts.h"
#include "codec/stream/pes.h"

namespace moxtest {
namespace {

using moxc::LatmDemuxer;
using moxc::MpegTsDemuxer;
using moxc::PacketContent;
using moxc::PesDemuxer;

using Frames = std::vector<std::vector<uint8_t>>;

template <class Container>
Demuxed demuxed(const std::vector<uint8_t>& bytes, PieceSize pieces = wholeInput(), bool seekable = false) {
  Container demuxer;
  if (seekable) demuxer.setSeekable(static_cast<int64_t>(bytes.size()));
  return demux(demuxer, bytes, pieces, seekable);
}

// The same whatever the pieces; damaged copies too, and those tell that they are.
template <class Container>
void expectSameInPieces(const std::vector<uint8_t>& bytes) {
  for (uint32_t seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    const std::vector<uint8_t> copy = seed == 0 ? bytes : damagedCopy(bytes, seed);
    const Demuxed whole = demuxed<Container>(copy);
    EXPECT_TRUE(whole.sameAs(demuxed<Container>(copy, byteByByte())));
    EXPECT_TRUE(whole.sameAs(demuxed<Container>(copy, randomPieces(seed))));
  }
}

TEST(Latm, HoldsTheFramesThatWentIn) {
  const Demuxed plain = demuxed<LatmDemuxer>(bundled("latm_44100_stereo.loas"));
  EXPECT_EQ(plain.packets, adtsFrames("aac_44100_stereo128.aac", 0, 28, true));
  EXPECT_EQ(plain.events, std::string("c").append(28, 'p').append("e"));
  EXPECT_EQ(plain.configs[0].specificConfig, (std::vector<uint8_t>{0x12, 0x10}));
  EXPECT_EQ(plain.configs[0].specificConfigBits, 16);

  // Version 1, two packets a frame, other data behind them.
  const Demuxed subframes = demuxed<LatmDemuxer>(bundled("latm_44100_heaac_v1.loas"));
  EXPECT_EQ(subframes.packets, adtsFrames("heaac_44100_stereo48.aac", 0, 26, true));
  EXPECT_EQ(subframes.events, std::string("c").append(26, 'p').append("e"));
  for (const Demuxed& clean : {plain, subframes}) {
    EXPECT_TRUE(clean.faults.empty());
    EXPECT_TRUE(clean.notes.empty());
  }
}

TEST(Latm, IsTheSameInPiecesAndDamaged) {
  expectSameInPieces<LatmDemuxer>(bundled("latm_44100_stereo.loas"));
  expectSameInPieces<LatmDemuxer>(bundled("latm_44100_heaac_v1.loas"));
}

TEST(Latm, IsFoundBehindForeignBytesAndSaysWhatIsLost) {
  const std::vector<uint8_t> stream = bundled("latm_44100_stereo.loas");
  const Demuxed clean = demuxed<LatmDemuxer>(stream);
  std::vector<uint8_t> behind(200000, 0x56);
  for (size_t i = 0; i < behind.size(); i += 3) behind[i] = static_cast<uint8_t>(i);
  behind.insert(behind.end(), stream.begin(), stream.end());
  EXPECT_EQ(moxc::findLatm(behind, true), 200000u);
  const Demuxed late = demuxed<LatmDemuxer>(behind);
  EXPECT_EQ(late.packets, clean.packets);
  EXPECT_TRUE(late.faults.empty());

  // Cut in: silent up to the next configuration, which stands in every sixth frame.
  const auto second = static_cast<ptrdiff_t>(clean.positions[1]);
  const Demuxed cut = demuxed<LatmDemuxer>({stream.begin() + second, stream.end()});
  EXPECT_EQ(cut.packets, Frames(clean.packets.begin() + 6, clean.packets.end()));
  EXPECT_EQ(cut.notes, std::vector<std::string>{"5 frames before the first configuration"});

  std::vector<uint8_t> gap = stream;
  gap.erase(gap.begin() + clean.positions[7] + 50, gap.begin() + clean.positions[9] + 50);
  const Demuxed lossy = demuxed<LatmDemuxer>(gap);
  EXPECT_EQ(lossy.events.substr(0, 11), "cpppppppplp");
  EXPECT_FALSE(lossy.faults.empty());
  EXPECT_EQ(lossy.packets.back(), clean.packets.back());

  for (const std::vector<uint8_t>& tail : {std::vector<uint8_t>{0x41}, std::vector<uint8_t>(5000, 0)}) {
    std::vector<uint8_t> padded = stream;
    padded.insert(padded.end(), tail.begin(), tail.end());
    EXPECT_TRUE(demuxed<LatmDemuxer>(padded, byteByByte()).faults.empty());
  }
}

// One LOAS frame around an AudioMuxElement.
void addLoas(std::vector<uint8_t>& stream, Bits& element) {
  const std::vector<uint8_t> body = element.align().bytes();
  const std::vector<uint8_t> header =
      Bits().put(0x2B7, 11).put(static_cast<uint32_t>(body.size()), 13).bytes();
  stream.insert(stream.end(), header.begin(), header.end());
  stream.insert(stream.end(), body.begin(), body.end());
}

// A StreamMuxConfig of version 0 up to the AudioSpecificConfig.
Bits muxHead(uint32_t programs, uint32_t layers, uint32_t sameFraming = 1) {
  return Bits().put(0, 1).put(0, 1).put(sameFraming, 1).put(0, 6).put(programs - 1, 4).put(layers - 1, 3);
}

TEST(Latm, ChangesItsConfigurationAndRefusesByName) {
  std::vector<uint8_t> stream;
  for (const uint32_t config : {0x1210u, 0x1210u, 0x1190u, 0x1190u}) {
    Bits element = muxHead(1, 1);
    element.put(config, 16).put(0, 3).put(0xFF, 8).put(0, 2);  // no other data, no CRC
    element.put(2, 8).put(config, 16);                         // a packet of two bytes
    addLoas(stream, element);
  }
  const Demuxed changing = demuxed<LatmDemuxer>(stream);
  EXPECT_EQ(changing.events, "cppcppe");
  EXPECT_EQ(changing.packets[3], (std::vector<uint8_t>{0x11, 0x90}));

  // A packet of fixed length: 20 bytes and one. A first configuration that is refused may be damage.
  std::vector<uint8_t> fixed;
  Bits damaged = muxHead(2, 1).put(0, 32);
  addLoas(fixed, damaged);
  for (int i = 0; i < 2; ++i) {
    Bits element = muxHead(1, 1).put(0x1210, 16).put(1, 3).put(1, 9).put(0, 2);
    for (uint32_t byte = 1; byte <= 21; ++byte) element.put(byte, 8);
    addLoas(fixed, element);
  }
  const Demuxed fixedLength = demuxed<LatmDemuxer>(fixed);
  EXPECT_EQ(fixedLength.events, "cppe");
  EXPECT_EQ(fixedLength.packets[1].size(), 21u);
  EXPECT_EQ(fixedLength.packets[1][20], 21);
  EXPECT_FALSE(fixedLength.faults.empty());

  Bits later = Bits().put(0, 1).put(1, 1).put(1, 1);
  Bits speech = muxHead(1, 1).put(0x1210, 16).put(3, 3);
  Bits lowDelay = muxHead(1, 1).put(23, 5).put(4, 4).put(2, 4).put(0, 3).put(0, 2);
  const std::pair<Bits, const char*> refused[] = {
      {later, "version"},           {muxHead(2, 1), "program"}, {muxHead(1, 2), "layer"},
      {muxHead(1, 1, 0), "chunks"}, {speech, "speech"},         {lowDelay, "ER AAC LD"},
  };
  for (const auto& [element, name] : refused) {
    std::vector<uint8_t> frames;
    for (int i = 0; i < 3; ++i) {
      Bits copy = element;
      addLoas(frames, copy.put(0, 32));
    }
    const Demuxed result = demuxed<LatmDemuxer>(frames);
    EXPECT_EQ(result.events, "r");
    EXPECT_NE(result.refusal.find(name), std::string::npos) << result.refusal;
  }
}

TEST(TransportStream, HoldsTheFramesThatWentIn) {
  const std::vector<uint8_t> adts = bundled("ts_44100_stereo.ts");
  const Demuxed plain = demuxed<MpegTsDemuxer>(adts);
  EXPECT_EQ(plain.events, "cpe");
  EXPECT_EQ(plain.configs[0].content, PacketContent::adtsBytes);
  EXPECT_EQ(plain.packets[0], joined(adtsFrames("aac_44100_stereo128.aac", 10, 28, false)));
  EXPECT_TRUE(plain.faults.empty());

  const Demuxed latm = demuxed<MpegTsDemuxer>(bundled("ts_48000_51_latm.ts"));
  EXPECT_EQ(latm.configs[0].content, PacketContent::latmBytes);
  const Demuxed inner = demuxed<LatmDemuxer>(latm.packets[0], randomPieces(1));
  EXPECT_EQ(inner.packets, adtsFrames("aac_48000_51_320.aac", 4, 18, true));

  // With time stamps in front or check bytes behind each packet, and cut in anywhere.
  for (const auto& [front, back] : {std::pair(4, 0), std::pair(0, 16)}) {
    std::vector<uint8_t> longer;
    for (size_t at = 0; at < adts.size(); at += 188) {
      longer.insert(longer.end(), static_cast<size_t>(front), static_cast<uint8_t>(at / 188));
      longer.insert(longer.end(), adts.begin() + static_cast<ptrdiff_t>(at),
                    adts.begin() + static_cast<ptrdiff_t>(at) + 188);
      longer.insert(longer.end(), static_cast<size_t>(back), 0xEE);
    }
    EXPECT_EQ(demuxed<MpegTsDemuxer>(longer, randomPieces(2)).packets, plain.packets);
  }
  std::vector<uint8_t> cut(adts.end() - 100, adts.end());
  cut.insert(cut.end(), adts.begin(), adts.end() - 60);
  EXPECT_EQ(moxc::findMpegTs(cut, false), 100u);
  const Demuxed inMidst = demuxed<MpegTsDemuxer>(cut);
  EXPECT_TRUE(inMidst.faults.empty());
  EXPECT_EQ(inMidst.notes.size(), 2u);
  EXPECT_TRUE(std::equal(inMidst.packets[0].begin(), inMidst.packets[0].end(), plain.packets[0].begin()));
}

TEST(TransportStream, IsTheSameInPiecesAndDamaged) {
  expectSameInPieces<MpegTsDemuxer>(bundled("ts_44100_stereo.ts"));
  expectSameInPieces<MpegTsDemuxer>(bundled("ts_48000_51_latm.ts"));
}

TEST(TransportStream, TellsOfGapsAndReadsWithoutTables) {
  const std::vector<uint8_t> stream = bundled("ts_44100_stereo.ts");
  const Demuxed clean = demuxed<MpegTsDemuxer>(stream);
  const auto packets = [&](auto keep) {
    std::vector<uint8_t> kept;
    for (size_t at = 0; at + 188 <= stream.size(); at += 188) {
      const auto begin = stream.begin() + static_cast<ptrdiff_t>(at);
      for (int i = keep(at / 188, moxc::bigEndian(stream, at + 1, 2) & 0x1FFF); i > 0; --i)
        kept.insert(kept.end(), begin, begin + 188);
    }
    return kept;
  };
  const Demuxed twice = demuxed<MpegTsDemuxer>(packets([](size_t, uint32_t) { return 2; }));
  EXPECT_EQ(twice.packets, clean.packets);
  EXPECT_TRUE(twice.faults.empty());

  int audioPackets = 0;
  const Demuxed gap = demuxed<MpegTsDemuxer>(packets([&](size_t, uint32_t pid) {
    audioPackets += pid == 0x100;
    return pid == 0x100 && (audioPackets == 5 || audioPackets == 6) ? 0 : 1;
  }));
  EXPECT_EQ(gap.faults, std::vector<std::string>{"transport packets missing in 1 place"});
  EXPECT_EQ(gap.packets[0].size(), clean.packets[0].size() - 2 * 184);

  // A packet that begins a PES packet is lost: what follows is payload all the same.
  int begun = 0;
  const Demuxed unbegun = demuxed<MpegTsDemuxer>(packets([&](size_t i, uint32_t pid) {
    const bool begins = pid == 0x100 && (stream[188 * i + 1] & 0x40) != 0;
    return begins && ++begun == 2 ? 0 : 1;
  }));
  EXPECT_GT(unbegun.packets[0].size() + 188, clean.packets[0].size());

  // Tables that do not check are not believed; the next ones are.
  std::vector<uint8_t> wrong = stream;
  for (size_t at = 0, tables = 0; at < wrong.size() && tables == 0; at += 188)
    if ((moxc::bigEndian(wrong, at + 1, 2) & 0x1FFF) == 0x1000) {
      wrong[at + 4 + 1 + 12] = 0x11;  // LATM, it says
      ++tables;
    }
  wrong.insert(wrong.end(), stream.begin(), stream.end());
  EXPECT_EQ(demuxed<MpegTsDemuxer>(wrong).configs.at(0).content, PacketContent::adtsBytes);

  const std::vector<uint8_t> bare = packets([](size_t, uint32_t pid) { return pid == 0x100 ? 1 : 0; });
  EXPECT_EQ(demuxed<MpegTsDemuxer>(bare, randomPieces(3), true).packets, clean.packets);
  EXPECT_EQ(demuxed<MpegTsDemuxer>(bare).refusal, "the transport stream has no table of its programs");

  const Demuxed other = [&] {
    MpegTsDemuxer second(1);
    return demux(second, stream, wholeInput(), false);
  }();
  EXPECT_EQ(other.refusal, "the transport stream has only 1 audio stream");
}

// PES packets of at most 2000 bytes, with MPEG-2's header or MPEG-1's.
std::vector<uint8_t> pesPackets(const std::vector<uint8_t>& payload, bool mpeg1, bool packs) {
  std::vector<uint8_t> stream;
  const auto add = [&](std::initializer_list<int> bytes) {
    for (const int byte : bytes) stream.push_back(static_cast<uint8_t>(byte));
  };
  for (size_t at = 0; at < payload.size(); at += 2000) {
    if (packs && mpeg1) add({0, 0, 1, 0xBA, 0x21, 0, 1, 0, 1, 0x80, 0, 1});
    if (packs && !mpeg1) add({0, 0, 1, 0xBA, 0x44, 0, 4, 0, 4, 1, 0, 0, 3, 0xF9, 0xFF});
    if (packs) add({0, 0, 1, 0xBB, 0, 2, 0xFF, 0xFF, 0, 0, 1, 0xE0, 0, 4, 0x80, 0, 0, 1});  // and video
    const size_t count = std::min<size_t>(2000, payload.size() - at), header = mpeg1 ? 10 : 8;
    add({0, 0, 1, 0xC3, static_cast<int>((count + header) >> 8), static_cast<int>((count + header) & 255)});
    if (mpeg1)
      add({0xFF, 0xFF, 0xFF, 0x40, 0x20, 0x21, 0, 1, 0, 1});
    else
      add({0x84, 0x80, 5, 0x21, 0, 1, 0, 1});
    stream.insert(stream.end(), payload.begin() + static_cast<ptrdiff_t>(at),
                  payload.begin() + static_cast<ptrdiff_t>(at + count));
  }
  return stream;
}

TEST(ProgramStream, HoldsTheFramesThatWentIn) {
  for (const char* const name :
       {"aac_44100_intensity48.aac", "mp3_44100_joint128_short.mp3", "latm_44100_stereo.loas"})
    for (const bool mpeg1 : {false, true})
      for (const bool packs : {false, true}) {
        SCOPED_TRACE(name);
        const std::vector<uint8_t> payload = bundled(name), stream = pesPackets(payload, mpeg1, packs);
        EXPECT_EQ(moxc::findPes(stream, false), 0u);
        const Demuxed result = demuxed<PesDemuxer>(stream);
        EXPECT_EQ(result.events, "cpe");
        EXPECT_EQ(result.packets[0], payload);
        EXPECT_TRUE(result.faults.empty());
        if (packs) expectSameInPieces<PesDemuxer>(stream);
      }
}

TEST(Containers, AreNotTakenForEachOther) {
  for (const std::string suffix : {".mp3", ".aac", ".adif", ".m4a", ".loas", ".ts"})
    for (const std::string& path : bundledStreams(suffix)) {
      SCOPED_TRACE(path);
      const std::vector<uint8_t> bytes = readFile(path + suffix);
      EXPECT_EQ(moxc::findLatm(bytes, true), suffix == ".loas" ? 0 : moxc::kNotFound);
      EXPECT_EQ(moxc::findMpegTs(bytes, true), suffix == ".ts" ? 0 : moxc::kNotFound);
      EXPECT_EQ(moxc::findPes(bytes, true), moxc::kNotFound);
    }
}

}  // namespace
}  // namespace moxtest
