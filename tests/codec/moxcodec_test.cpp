// The C interface over every bundled stream: in pieces, joined, sought in, short of memory, in threads.
#include "moxcodec.h"

#include <gtest/gtest.h>

#include <map>
#include <thread>

#include "codec/decode_bytes.h"
#include "codec/walk.h"
#include "support/streams.h"

namespace {

using moxtest::decodeBytes;
using moxtest::Decoded;
using moxtest::DecodeOptions;
using moxtest::DecoderHandle;
using moxtest::readFile;
using moxtest::streamPath;

std::vector<std::string> allStreams() {
  std::vector<std::string> paths;
  for (const char* suffix : {".mp3", ".aac", ".adif", ".m4a", ".loas", ".ts"})
    for (const auto& entry : std::filesystem::directory_iterator(streamPath("")))
      if (entry.path().extension() == suffix) paths.push_back(entry.path());
  std::sort(paths.begin(), paths.end());
  return paths;
}

bool notDecoded(const std::string& path) {
  return path.find("_960") != path.npos || path.find("_ssr") != path.npos;
}

void append(std::vector<uint8_t>& to, moxc::Bytes bytes) { to.insert(to.end(), bytes.begin(), bytes.end()); }

void expectSame(const Decoded& one, const Decoded& other) {
  EXPECT_TRUE(one.s16 == other.s16);
  EXPECT_TRUE(one.f32 == other.f32);
  EXPECT_EQ(one.starts, other.starts);
  EXPECT_EQ(one.damage, other.damage);
}

TEST(Moxcodec, EveryStreamIsTheSameHoweverItIsCutUp) {
  for (const std::string& path : allStreams()) {
    SCOPED_TRACE(path);
    const std::vector<uint8_t> bytes = readFile(path);
    const auto whole = decodeBytes(bytes);
    if (notDecoded(path)) continue;
    ASSERT_TRUE(whole);
    EXPECT_TRUE(whole->damage.empty()) << whole->damage[0];
    std::string message;
    const auto pushed = decodeBytes(bytes, {false, false, 1}, &message);
    if (!pushed && message.find("from a pipe") != message.npos) continue;  // its index is at the end
    ASSERT_TRUE(pushed);
    expectSame(*whole, *pushed);
    expectSame(*whole, *decodeBytes(bytes, {false, false, 0, 5}));
    expectSame(*decodeBytes(bytes, {true, true}), *decodeBytes(bytes, {true, true, 0, 6}));
  }
}

TEST(Moxcodec, TheFirstSampleComesBeforeTheTenthFrame) {
  for (const char* name :
       {"mp3_44100_joint128_short.mp3", "mp3_44100_freeformat400.mp3", "mp3_11025_mono24.mp3"}) {
    const std::vector<uint8_t> bytes = readFile(streamPath(name));
    const auto frames = moxtest::walkMp3(bytes).frames;
    EXPECT_LE(decodeBytes(bytes, {false, false, 1})->fedBefore, frames[name[10] == 'f' ? 3 : 1].position + 4)
        << name;
    // From the middle of a frame on, as radio begins.
    const auto late = moxc::Bytes(bytes).subspan(frames[5].position + 20);
    EXPECT_LE(decodeBytes(late, {false, false, 1})->fedBefore + frames[5].position + 20, frames[14].position)
        << name;
  }
  for (const char* name : {"aac_44100_stereo128.aac", "heaacv2_44100_32.aac", "aac_48000_51_320.aac"}) {
    const std::vector<uint8_t> bytes = readFile(streamPath(name));
    const auto frames = moxtest::walkAdts(bytes).frames;
    EXPECT_LE(decodeBytes(bytes, {false, false, 1})->fedBefore, frames[1].position + 7) << name;
  }
}

// An Info frame that tells frame count, delay and padding, as LAME writes it.
std::vector<uint8_t> infoFrame(uint32_t frames, uint32_t delay, uint32_t padding) {
  std::vector<uint8_t> info(417);
  info[0] = 0xFF, info[1] = 0xFB, info[2] = 0x90;
  const auto put = [&](size_t at, const std::string& text) {
    std::copy(text.begin(), text.end(), info.begin() + static_cast<ptrdiff_t>(at));
  };
  put(36, "Info");
  info[43] = 1;
  info[46] = static_cast<uint8_t>(frames >> 8), info[47] = static_cast<uint8_t>(frames);
  put(48, "LAME3.100");
  info[69] = static_cast<uint8_t>(delay >> 4);
  info[70] = static_cast<uint8_t>((delay << 4) | (padding >> 8));
  info[71] = static_cast<uint8_t>(padding);
  return info;
}

TEST(Moxcodec, JoinedStreamsAreEachWhatTheyAreAlone) {
  const std::vector<uint8_t> song = readFile(streamPath("mp3_44100_joint128_short.mp3"));
  std::vector<uint8_t> part = infoFrame(44, 576, 1000);
  append(part, song);
  const auto alone = decodeBytes(part);
  std::vector<uint8_t> joined = part;
  const std::string id3v1 = "TAG" + std::string(125, ' '), id3v2("ID3\3\0\0\0\0\0\5abcde", 15);
  append(joined, {reinterpret_cast<const uint8_t*>(id3v1.data()), id3v1.size()});
  append(joined, {reinterpret_cast<const uint8_t*>(id3v2.data()), id3v2.size()});
  append(joined, part);
  const auto both = decodeBytes(joined, {false, false, 0, 3});
  ASSERT_TRUE(both);
  EXPECT_TRUE(both->damage.empty()) << both->damage[0];
  std::vector<int16_t> expected = alone->s16;
  expected.insert(expected.end(), alone->s16.begin(), alone->s16.end());
  EXPECT_TRUE(both->s16 == expected);

  // Other rates and channel counts: told in front of the first sample that has them.
  const std::vector<const char*> mp3 = {"mp3_44100_joint128_short.mp3", "mp3_32000_mono64_crc.mp3",
                                        "mp3_22050_joint64.mp3"};
  const std::vector<const char*> aac = {"aac_44100_stereo128.aac", "aac_48000_mono64_tns.aac",
                                        "aac_08000_mono16.aac", "heaacv2_44100_32.aac"};
  for (const auto& names : {mp3, aac}) {
    std::vector<uint8_t> all;
    std::vector<int16_t> samples;
    std::vector<size_t> starts;
    for (const char* name : names) {
      const std::vector<uint8_t> bytes = readFile(streamPath(name));
      append(all, bytes);
      starts.push_back(samples.size());
      const auto one = decodeBytes(bytes);
      samples.insert(samples.end(), one->s16.begin(), one->s16.end());
    }
    const auto switched = decodeBytes(all, {false, false, 0, 9});
    ASSERT_TRUE(switched);
    EXPECT_EQ(switched->starts, starts) << names[0];
    EXPECT_TRUE(switched->s16 == samples) << names[0];
    EXPECT_TRUE(switched->damage.empty()) << switched->damage[0];
  }
}

TEST(Moxcodec, ClaimsWithoutAudioMakeNoSound) {
  const std::vector<uint8_t> song = readFile(streamPath("aac_44100_stereo128.aac"));
  std::vector<uint8_t> hollow;
  const std::vector<uint8_t> empty = {0xFF, 0xF1, 0x50, 0x80,
                                      0x00, 0xFF, 0xFC};  // a header of 7 bytes, 1 block
  for (int i = 0; i < 10000; ++i) append(hollow, empty);
  EXPECT_FALSE(decodeBytes(hollow));
  // Each claims four blocks and holds one.
  std::vector<uint8_t> claiming = song;
  const auto frames = moxtest::walkAdts(song).frames;
  for (const auto& frame : frames) claiming[frame.position + 6] |= 3;
  const auto decoded = decodeBytes(claiming);
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->samples, static_cast<int64_t>(frames.size()) * 1024);
}

TEST(Moxcodec, WhatIsNotDecodedIsNamed) {
  const auto text = [](const std::string& bytes) {
    std::string message;
    EXPECT_FALSE(decodeBytes({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, {}, &message));
    return message;
  };
  EXPECT_NE(text("fLaC" + std::string(100, '\0')).find("FLAC"), std::string::npos);
  EXPECT_NE(text("\x1A\x45\xDF\xA3" + std::string(100, 'x')).find("Matroska"), std::string::npos);
  EXPECT_NE(text("").find("empty"), std::string::npos);
  EXPECT_NE(text(std::string(5000, 'x')).find("no "), std::string::npos);
  EXPECT_NE(text(std::string("ID3\3\0\0\0\0\0\5abcde", 15) + "TAG" + std::string(125, ' ')).find("no "),
            std::string::npos);
  // 128 kbit/s at 44.1 kHz: Layer II frames of 417 bytes, Layer I frames of 136.
  std::string layer2, layer1;
  for (int i = 0; i < 5; ++i) {
    layer2 += "\xFF\xFD\x80\xC0" + std::string(413, 'a');
    layer1 += "\xFF\xFF\x40\xC0" + std::string(132, 'a');
  }
  EXPECT_NE(text(layer2).find("Layer II "), std::string::npos);
  EXPECT_NE(text(layer1).find("Layer I "), std::string::npos);
}

TEST(Moxcodec, SeekingIsEqualToDecodingFromTheStart) {
  std::mt19937 random(4);
  for (const std::string& path : allStreams()) {
    SCOPED_TRACE(path);
    if (notDecoded(path)) continue;
    const std::vector<uint8_t> once = readFile(path);
    std::vector<uint8_t> bytes = once;
    const auto whole = decodeBytes(once);
    if (whole->formats.size() != 1) continue;
    // Nine times as long, for there to be something to pass over.
    const bool joins = path.ends_with(".mp3") || path.ends_with(".aac");
    for (int i = 0; joins && i < 8; ++i) append(bytes, once);
    const auto all = decodeBytes(bytes);
    moxtest::MemoryInput memory{bytes, 700};
    const MoxcInput input = memory.input();
    MoxcDecoder* made = nullptr;
    ASSERT_EQ(moxcDecoderOpen(&made, &input, nullptr), moxcStatusOk);
    const DecoderHandle decoder(made);
    const auto channels = static_cast<size_t>(whole->format.channels);
    for (int trial = 0; trial < 5; ++trial) {
      const int64_t position =
          trial == 4 ? all->samples - 100 : static_cast<int64_t>(random()) % all->samples;
      ASSERT_EQ(moxcDecoderSeek(made, position), moxcStatusOk);
      int64_t at = -1;
      moxcDecoderGetPosition(made, &at);
      ASSERT_EQ(at, position);
      Decoded part;
      part.formats.push_back(whole->format);
      moxtest::readAll(made, part, false, 3000);
      const size_t first = static_cast<size_t>(position) * channels;
      ASSERT_TRUE(part.s16.size() == std::min(3000 * channels, all->s16.size() - first));
      ASSERT_TRUE(
          std::equal(part.s16.begin(), part.s16.end(), all->s16.begin() + static_cast<ptrdiff_t>(first)))
          << position;
    }
    ASSERT_EQ(moxcDecoderScan(made), moxcStatusOk);
    int64_t duration = 0;
    MoxcDuration kind = moxcDurationUnknown;
    moxcDecoderGetDuration(made, &duration, &kind);
    EXPECT_EQ(kind, moxcDurationExact);
    EXPECT_EQ(duration, all->samples);
  }
}

TEST(Moxcodec, PacketsOfOtherDemuxersDecodeAsTheStreamDoes) {
  const std::vector<uint8_t> song = readFile(streamPath("mp3_44100_joint128_short.mp3"));
  const std::vector<uint8_t> aac = readFile(streamPath("aac_44100_stereo128.aac"));
  const uint8_t config[] = {0x12, 0x10};
  for (const bool isAac : {false, true}) {
    MoxcDecoderOptions options{};
    options.codec = isAac ? moxcCodecAacBlock : moxcCodecMp3Frame;
    options.specificConfig = config;
    options.specificConfigBytes = sizeof config;
    MoxcDecoder* made = nullptr;
    ASSERT_EQ(moxcDecoderCreate(&made, &options), moxcStatusOk);
    const DecoderHandle decoder(made);
    Decoded result;
    const auto feed = [&](moxc::Bytes packet) {
      ASSERT_EQ(moxcDecoderFeedPacket(made, packet.data(), packet.size()), moxcStatusOk);
      EXPECT_EQ(moxtest::readAll(made, result, false), moxcStatusNeedMore);
    };
    if (isAac)
      for (const auto& frame : moxtest::walkAdts(aac).frames) feed(frame.bytes.subspan(7));
    else
      for (const auto& frame : moxtest::walkMp3(song).frames) feed(frame.bytes);
    EXPECT_TRUE(result.s16 == decodeBytes(isAac ? aac : song)->s16);
    feed({});  // lost: one frame is made up
    moxcDecoderEnd(made);
    EXPECT_EQ(moxtest::readAll(made, result, false), moxcStatusEnd);
    EXPECT_EQ(result.samples, decodeBytes(isAac ? aac : song)->samples + (isAac ? 1024 : 1152));
  }
}

// An allocator that counts, and fails from the given call on.
struct Counting {
  int64_t calls = 0, failFrom = -1, live = 0, peak = 0;
  std::map<void*, size_t> blocks;

  MoxcAllocator allocator() {
    return {[](void* user, size_t bytes) -> void* {
              auto* const self = static_cast<Counting*>(user);
              if (self->calls++ >= self->failFrom && self->failFrom >= 0) return nullptr;
              void* const memory = std::malloc(bytes);
              self->blocks[memory] = bytes;
              self->live += static_cast<int64_t>(bytes);
              self->peak = std::max(self->peak, self->live);
              return memory;
            },
            [](void* user, void* memory) {
              auto* const self = static_cast<Counting*>(user);
              self->live -= static_cast<int64_t>(self->blocks.at(memory));
              self->blocks.erase(memory);
              std::free(memory);
            },
            this};
  }
};

// Feeds everything in pieces of 1000 bytes; calls `between` after each.
template <class Between>
moxcStatus decodeWith(Counting& counting, const std::vector<uint8_t>& bytes, const Between& between) {
  const MoxcAllocator allocator = counting.allocator();
  MoxcDecoderOptions options{};
  options.allocator = &allocator;
  MoxcDecoder* made = nullptr;
  moxcStatus status = moxcDecoderCreate(&made, &options);
  const DecoderHandle decoder(made);
  if (status != moxcStatusOk) return status;
  Decoded result;
  size_t taken = 0;
  for (size_t at = 0; at < bytes.size(); at += taken) {
    status = moxcDecoderFeed(made, bytes.data() + at, std::min<size_t>(1000, bytes.size() - at), &taken);
    if (status != moxcStatusOk) return status;
    status = moxtest::readAll(made, result, false);
    if (status != moxcStatusNeedMore) return status;
    between(result.samples);
  }
  moxcDecoderEnd(made);
  return moxtest::readAll(made, result, false);
}

TEST(Moxcodec, MemoryIsBoundedItsCallersAndNotAskedForInEveryFrame) {
  for (const char* name : {"mp3_44100_stereo320.mp3", "aac_48000_51_320.aac", "heaac_96000_random_51.aac",
                           "heaacv2_44100_32.aac", "aac_32000_random_ltp.aac"}) {
    SCOPED_TRACE(name);
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 4; ++i) append(bytes, readFile(streamPath(name)));
    Counting counting;
    int64_t callsAfterASecond = -1, calls = 0;
    EXPECT_EQ(decodeWith(counting, bytes,
                         [&](int64_t samples) {
                           if (samples >= 60000 && callsAfterASecond < 0) callsAfterASecond = counting.calls;
                           calls = counting.calls;
                         }),
              moxcStatusEnd);
    EXPECT_EQ(counting.live, 0);
    EXPECT_GE(callsAfterASecond, 0);
    EXPECT_EQ(calls, callsAfterASecond);
    EXPECT_LE(counting.peak, 2 << 20);
    std::printf("  %-28s %7.0f KiB, %3.0f allocations\n", name, static_cast<double>(counting.peak) / 1024,
                static_cast<double>(calls));

    // And without it at every point.
    for (int64_t failFrom = 0; failFrom < calls; ++failFrom) {
      Counting failing;
      failing.failFrom = failFrom;
      EXPECT_EQ(decodeWith(failing, bytes, [](int64_t) {}), moxcStatusNoMemory) << failFrom;
      EXPECT_EQ(failing.live, 0) << failFrom;
    }
  }
}

TEST(Moxcodec, DecodersInThreadsDoNotMeet) {
  const std::vector<uint8_t> song = readFile(streamPath("mp3_44100_joint128_short.mp3")),
                             speech = readFile(streamPath("heaacv2_44100_32.aac"));
  const auto one = decodeBytes(song), other = decodeBytes(speech);
  std::thread thread([&] {
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(decodeBytes(song, {false, false, 0, 1})->s16 == one->s16);
  });
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(decodeBytes(speech, {false, false, 0, 2})->s16 == other->s16);
  thread.join();
}

TEST(Moxcodec, ArgumentsAreCheckedAndStatesKept) {
  MoxcDecoder* made = nullptr;
  MoxcDecoderOptions options{};
  EXPECT_EQ(moxcDecoderCreate(nullptr, nullptr), moxcStatusNullPointer);
  options.floatSamples = 2;
  EXPECT_EQ(moxcDecoderCreate(&made, &options), moxcStatusBadArgument);
  options = {};
  options.codec = moxcCodecAacBlock;
  EXPECT_EQ(moxcDecoderCreate(&made, &options), moxcStatusBadArgument);
  const uint8_t ssr[] = {0x1A, 0x10};
  options.specificConfig = ssr;
  options.specificConfigBytes = 2;
  EXPECT_EQ(moxcDecoderCreate(&made, &options), moxcStatusUnsupported);
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(moxcDecoderOpenFile(&made, "/nonexistent", nullptr), moxcStatusReadFailed);

  ASSERT_EQ(moxcDecoderCreate(&made, nullptr), moxcStatusOk);
  const DecoderHandle decoder(made);
  size_t taken = 0;
  int16_t sample[16];
  float wrong[16];
  MoxcFormat format;
  MoxcEvent event;
  EXPECT_EQ(moxcDecoderFeed(made, nullptr, 1, &taken), moxcStatusNullPointer);
  EXPECT_EQ(moxcDecoderFeedPacket(made, ssr, 2), moxcStatusWrongState);
  EXPECT_EQ(moxcDecoderRead_32f(made, wrong, 1, &taken), moxcStatusBadArgument);
  EXPECT_EQ(moxcDecoderRead_16s(made, sample, 1, &taken), moxcStatusNeedMore);
  EXPECT_EQ(moxcDecoderGetFormat(made, &format), moxcStatusWrongState);
  EXPECT_EQ(moxcDecoderSeek(made, 0), moxcStatusCannotSeek);
  EXPECT_EQ(moxcDecoderScan(made), moxcStatusWrongState);
  EXPECT_EQ(moxcDecoderNextEvent(made, &event), moxcStatusEnd);

  // After a flush a stream decodes as with a new decoder.
  const std::vector<uint8_t> song = readFile(streamPath("mp3_44100_joint128_short.mp3"));
  Decoded first, second;
  moxcDecoderFeed(made, song.data(), 9000, &taken);
  moxtest::readAll(made, first, false);
  ASSERT_EQ(moxcDecoderNextEvent(made, &event), moxcStatusOk);
  EXPECT_EQ(event.kind, moxcEventFormat);
  ASSERT_EQ(moxcDecoderFlush(made), moxcStatusOk);
  second.formats = first.formats;
  moxcDecoderFeed(made, song.data(), 9000, &taken);
  moxtest::readAll(made, second, false);
  EXPECT_TRUE(first.s16 == second.s16);
}

}  // namespace
