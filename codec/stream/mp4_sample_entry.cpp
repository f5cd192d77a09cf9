// Reads sample entries and the descriptors in them.
#include "codec/stream/mp4_sample_entry.h"

#include <algorithm>
#include <optional>

#include "codec/stream/audio_specific_config.h"
#include "codec/stream/mp4_box.h"

namespace moxc {
namespace {

constexpr size_t kEntryBytes = 28;          // of a sound's entry, before the boxes in it
constexpr uint32_t kMp3InWav = 0x6D730055;  // "ms", then WAVE's number of MP3

struct FormatName {
  uint32_t type;
  const char* name;
};
constexpr FormatName kOtherFormats[] = {
    {fourcc("enca"), "encrypted"}, {fourcc("drms"), "encrypted"},     {fourcc("alac"), "ALAC"},
    {fourcc("ac-3"), "AC-3"},      {fourcc("ec-3"), "Enhanced AC-3"}, {fourcc("Opus"), "Opus"},
    {fourcc("fLaC"), "FLAC"},      {fourcc("samr"), "AMR"},           {fourcc("sawb"), "AMR wideband"},
    {fourcc("lpcm"), "PCM"},       {fourcc("sowt"), "PCM"},           {fourcc("twos"), "PCM"},
    {fourcc("in24"), "PCM"},       {fourcc("in32"), "PCM"},           {fourcc("fl32"), "PCM"},
    {fourcc("raw "), "PCM"},       {fourcc("ipcm"), "PCM"},           {fourcc("fpcm"), "PCM"},
    {fourcc("dtsc"), "DTS"},       {fourcc("QDM2"), "QDesign"},
};
struct ObjectName {
  uint8_t type;
  const char* name;
};
constexpr ObjectName kOtherObjects[] = {
    {0xA5, "AC-3"}, {0xA6, "Enhanced AC-3"}, {0xA9, "DTS"}, {0xDD, "Vorbis"}, {0xE1, "QCELP"},
};

// Descriptors: a tag, a length of up to four bytes with seven bits each, a body.
struct Descriptor {
  int tag = 0;
  Bytes body;
};
std::optional<Descriptor> takeDescriptor(Bytes& bytes) {
  if (bytes.size() < 2) return std::nullopt;
  size_t at = 1, length = 0;
  for (int i = 0; i < 4 && at < bytes.size(); ++i) {
    length = length << 7 | (bytes[at] & 0x7F);
    if (bytes[at++] < 0x80) break;
  }
  const Descriptor descriptor{bytes[0], slice(bytes, at, length)};
  bytes = slice(bytes, at + descriptor.body.size());
  return descriptor;
}

enum DescriptorTag { esTag = 3, decoderConfigTag = 4, specificInfoTag = 5 };

std::optional<Bytes> findDescriptor(Bytes bytes, int tag) {
  while (const auto descriptor = takeDescriptor(bytes))
    if (descriptor->tag == tag) return descriptor->body;
  return std::nullopt;
}

// An AudioSpecificConfig from what the sample entry says.
std::vector<uint8_t> madeUpConfig(uint32_t objectType, int32_t rate, int32_t channels) {
  const auto index = static_cast<uint32_t>(nearestRateIndex(rate));
  const uint32_t configuration = channels == 8 ? 7u : static_cast<uint32_t>(std::clamp(channels, 1, 6));
  const uint32_t bits = objectType << 11 | index << 7 | configuration << 3;
  return {static_cast<uint8_t>(bits >> 8), static_cast<uint8_t>(bits)};
}

void readEsds(Bytes content, Mp4SampleEntry& entry) {
  const auto stream = findDescriptor(slice(content, 4), esTag);
  if (!stream || stream->size() < 3) return;
  const int flags = (*stream)[2];
  size_t at = 3;
  if ((flags & 0x80) != 0) at += 2;                                               // depends on another
  if ((flags & 0x40) != 0) at += 1 + (at < stream->size() ? (*stream)[at] : 0u);  // URL
  if ((flags & 0x20) != 0) at += 2;                                               // clock
  const auto decoder = findDescriptor(slice(*stream, at), decoderConfigTag);
  if (!decoder || decoder->empty()) return;

  entry.refusal.clear();
  const uint8_t type = (*decoder)[0];
  const auto specific = findDescriptor(slice(*decoder, 13), specificInfoTag);
  if (type == 0x69 || type == 0x6B) {
    entry.content = PacketContent::mpegAudioFrame;
  } else if (type == 0x40 || (type >= 0x66 && type <= 0x68)) {
    entry.content = PacketContent::aacBlock;
    const uint32_t objectType = type == 0x40 ? 2u : type - 0x65u;  // Main, LC, SSR of MPEG-2
    if (specific && specific->size() >= 2)
      entry.specificConfig.assign(specific->begin(), specific->end());
    else
      entry.specificConfig = madeUpConfig(objectType, entry.rate, entry.channels);
  } else {
    entry.refusal = "of an unknown kind";
    for (const ObjectName& other : kOtherObjects)
      if (other.type == type) entry.refusal = other.name;
  }
}

// QuickTime puts the boxes of an entry into another one.
void readEntryBoxes(Bytes bytes, Mp4SampleEntry& entry, bool inWave) {
  while (const auto box = takeBox(bytes)) {
    if (box->type == fourcc("esds")) readEsds(box->content, entry);
    if (box->type == fourcc("wave") && !inWave) readEntryBoxes(box->content, entry, true);
  }
}

}  // namespace

Mp4SampleEntry readSampleDescription(Bytes content) {
  Mp4SampleEntry entry;
  entry.refusal = "without a description";
  Bytes entries = slice(content, 8);
  const auto box = takeBox(entries);
  if (!box || box->content.size() < kEntryBytes) return entry;
  const Bytes bytes = box->content;
  const uint32_t version = bigEndian(bytes, 8, 2);
  entry.channels = static_cast<int32_t>(bigEndian(bytes, 16, 2));
  entry.rate = static_cast<int32_t>(bigEndian(bytes, 24, 2));
  const size_t more = version == 1 ? 16 : version == 2 ? 36 : 0;
  if (version == 2) {  // a double, and wide fields
    uint64_t bits =
        uint64_t{bigEndian(bytes, kEntryBytes + 4, 4)} << 32 | bigEndian(bytes, kEntryBytes + 8, 4);
    double rate;
    std::memcpy(&rate, &bits, sizeof rate);
    entry.rate = rate >= 1 && rate < 1e6 ? static_cast<int32_t>(rate) : 0;
    entry.channels = static_cast<int32_t>(std::min(bigEndian(bytes, kEntryBytes + 12, 4), 64u));
  }
  if (box->type == fourcc(".mp3") || box->type == kMp3InWav) {
    entry.content = PacketContent::mpegAudioFrame;
    entry.refusal.clear();
  } else if (box->type != fourcc("mp4a")) {
    entry.refusal = "of an unknown kind";
    for (const FormatName& other : kOtherFormats)
      if (other.type == box->type) entry.refusal = other.name;
    return entry;
  }
  readEntryBoxes(slice(bytes, kEntryBytes + more), entry, false);
  return entry;
}

}  // namespace moxc
