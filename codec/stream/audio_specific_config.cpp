// Reads an AudioSpecificConfig.
#include "codec/stream/audio_specific_config.h"

#include <algorithm>
#include <array>
#include <vector>

#include "codec/io/bit_reader.h"
#include "moxac/tables.h"

namespace moxc {
namespace {

constexpr int32_t kAotMain = 1, kAotLtp = 4, kAotSbr = 5, kAotScalable = 6, kAotErLc = 17, kAotErLtp = 19,
                  kAotErScalable = 20, kAotErBsac = 22, kAotErLd = 23, kAotPs = 29;
constexpr uint32_t kSyncSbr = 0x2B7, kSyncPs = 0x548;  // 11 bits each

constexpr uint32_t kRate7350 = 12;  // the index of one rate more than other headers know

constexpr const char* kNames[] = {
    nullptr,
    "AAC Main",
    "AAC LC",
    "AAC SSR",
    "AAC LTP",
    "SBR",
    "AAC Scalable",
    "TwinVQ",
    "CELP",
    "HVXC",
    nullptr,
    nullptr,
    "TTSI",
    "Main synthetic",
    "Wavetable synthesis",
    "General MIDI",
    "Algorithmic synthesis",
    "ER AAC LC",
    nullptr,
    "ER AAC LTP",
    "ER AAC Scalable",
    "ER TwinVQ",
    "ER BSAC",
    "ER AAC LD",
    "ER CELP",
    "ER HVXC",
    "ER HILN",
    "ER Parametric",
    "SSC",
    "PS",
    "MPEG Surround",
    nullptr,
    "Layer I in MP4",
    "Layer II in MP4",
    "Layer III as MPEG-4 audio",
    "DST",
    "ALS",
    "SLS",
    "SLS non-core",
    "ER AAC ELD",
    "SMR Simple",
    "SMR Main",
    "USAC (xHE-AAC)",
};

int32_t readObjectType(BitReader& in) {
  const auto type = static_cast<int32_t>(in.bits(5));
  return type == 31 ? 32 + static_cast<int32_t>(in.bits(6)) : type;
}

// 0 for a reserved index.
int32_t readRate(BitReader& in) {
  const uint32_t index = in.bits(4);
  if (index == 15) return static_cast<int32_t>(in.bits(24));
  if (index < std::size(moxAacSampleRates)) return moxAacSampleRates[index];
  return index == kRate7350 ? 7350 : 0;
}

bool isResilient(int32_t type) { return type >= kAotErLc && type <= 27 && type != 18; }
bool hasGeneralAudioConfig(int32_t type) {
  return (type >= kAotMain && type <= 7 && type != kAotSbr) ||
         (type >= kAotErLc && type <= kAotErLd && type != 18);
}

// The element's comment is aligned to the configuration's bytes, so the bits are read from a copy that begins where it
// does, with room for the longest element behind whatever is there.
MoxAacPrgCfgElt readProgram(Bytes bytes, BitReader& in, int64_t bits) {
  constexpr size_t kLongest = 400;
  std::array<uint8_t, kLongest + 8> copy{};
  const size_t first = in.position() / 8;
  const Bytes part = slice(bytes, first, kLongest);
  std::copy(part.begin(), part.end(), copy.begin());
  const uint8_t* at = copy.data();
  auto offset = static_cast<int32_t>(in.position() % 8);
  MoxAacPrgCfgElt program{};
  moxsDecodePrgCfgElt_AAC(&at, &offset, &program);
  const size_t end = (first + static_cast<size_t>(at - copy.data())) * 8 + static_cast<size_t>(offset);
  in = BitReader(bytes, end, static_cast<size_t>(bits) - end);  // ends where it did, were it behind its end
  return program;
}

// GASpecificConfig, ISO/IEC 14496-3, 4.4.1.
void readGeneralAudioConfig(Bytes bytes, BitReader& in, int64_t bits, AudioSpecificConfig& config) {
  const int32_t type = config.objectType, longFrame = type == kAotErLd ? 512 : 1024;
  config.frameSamples = in.flag() ? longFrame / 16 * 15 : longFrame;
  if (in.flag()) {  // dependsOnCoreCoder
    in.bits(14);    // coreCoderDelay
    config.refusal = "AAC over a core coder";
  }
  const bool extension = in.flag();
  if (config.channelConfiguration == 0) config.program = readProgram(bytes, in, bits);
  if (type == kAotScalable || type == kAotErScalable) in.bits(3);  // layerNr
  if (!extension) return;
  if (type == kAotErBsac) in.bits(16);  // numOfSubFrame, layer_length
  if (type == kAotErLc || type == kAotErLtp || type == kAotErScalable || type == kAotErLd) in.bits(3);
  in.flag();  // extensionFlag3
}

// The extension that old readers take for padding. Some writers align it, so it is looked for at every bit.
void readSyncExtension(BitReader in, AudioSpecificConfig& config) {
  while (in.left() >= 16) {
    BitReader here = in;
    if (here.bits(11) != kSyncSbr || readObjectType(here) != kAotSbr) {
      in.flag();
      continue;
    }
    const bool present = here.flag();
    config.sbr = present ? Signalled::present : Signalled::absent;
    if (present) config.extensionRate = readRate(here);
    if (present && here.left() >= 12 && here.bits(11) == kSyncPs)
      config.ps = here.flag() ? Signalled::present : Signalled::absent;
    config.bits = static_cast<int64_t>(here.position());
    return;
  }
}

}  // namespace

const char* audioObjectTypeName(int32_t objectType) {
  const bool known = objectType >= 0 && objectType < static_cast<int32_t>(std::size(kNames));
  return known ? kNames[objectType] : nullptr;
}

int32_t nearestRateIndex(int32_t rate) {
  constexpr int32_t kLowest[11] = {92017, 75132, 55426, 46009, 37566, 27713,
                                   23004, 18783, 13856, 11502, 9391};
  return static_cast<int32_t>(
      std::find_if(std::begin(kLowest), std::end(kLowest), [=](int32_t lowest) { return rate >= lowest; }) -
      std::begin(kLowest));
}

std::optional<AudioSpecificConfig> parseAudioSpecificConfig(Bytes bytes, int64_t bits, bool exactLength) {
  bits = std::min(bits, static_cast<int64_t>(bytes.size()) * 8);
  BitReader in(bytes, 0, static_cast<size_t>(bits));
  AudioSpecificConfig config;
  config.objectType = readObjectType(in);
  config.rate = readRate(in);
  config.channelConfiguration = static_cast<int32_t>(in.bits(4));
  if (config.objectType == kAotSbr || config.objectType == kAotPs) {
    config.sbr = Signalled::present;
    if (config.objectType == kAotPs) config.ps = Signalled::present;
    config.extensionRate = readRate(in);
    config.objectType = readObjectType(in);
    if (config.objectType == kAotErBsac) in.bits(4);  // extensionChannelConfiguration
  }
  if (config.rate <= 0) return std::nullopt;
  config.rateIndex = nearestRateIndex(config.rate);

  if (hasGeneralAudioConfig(config.objectType)) readGeneralAudioConfig(bytes, in, bits, config);
  if (isResilient(config.objectType)) in.bits(2);  // epConfig
  if (config.objectType < kAotMain || config.objectType > kAotLtp) {
    config.refusal = audioObjectTypeName(config.objectType);
    if (config.refusal == nullptr) config.refusal = "MPEG-4 audio of an unknown type";
  }
  if (in.overrun()) return std::nullopt;
  config.bits = static_cast<int64_t>(in.position());
  if (exactLength && config.sbr == Signalled::unsaid) readSyncExtension(in, config);
  return config;
}

}  // namespace moxc
