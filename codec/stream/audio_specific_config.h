// AudioSpecificConfig: what MP4 and LATM say about an AAC stream. ISO/IEC 14496-3, 1.6.2.1.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/io/bytes.h"
#include "moxac/aac.h"

namespace moxc {

// Whether spectral band replication or parametric stereo is in the stream. Left unsaid it may turn up in any block.
enum class Signalled { unsaid, absent, present };

struct AudioSpecificConfig {
  int32_t objectType = 0;  // of the core: 1 Main, 2 LC, 3 SSR, 4 LTP, ...
  int32_t rate = 0;        // of the core, Hz
  // The row of the tables that are by sampling rate; of the nearest one for a rate that has none of its own.
  int32_t rateIndex = 0;
  int32_t channelConfiguration = 0;  // 0: `program`
  std::optional<MoxAacPrgCfgElt> program;
  int32_t frameSamples = 1024;  // of the core: 1024 or 960; 512 or 480 with ER AAC LD
  Signalled sbr = Signalled::unsaid, ps = Signalled::unsaid;
  int32_t extensionRate = 0;  // with `sbr`: the output's rate. That of the core itself: down-sampled SBR

  // What the stream is when that is never decoded ("ER AAC LD"); nullptr else.
  const char* refusal = nullptr;
  int64_t bits = 0;  // how many were read
};

// Reads the first `bits` bits. Behind the configuration, extensions are looked for only when that number is known to
// be right (`exactLength`), since whatever else follows could look like one. Nothing when there are too few bits, or
// they name a reserved rate.
std::optional<AudioSpecificConfig> parseAudioSpecificConfig(Bytes bytes, int64_t bits, bool exactLength);

// "ER AAC LD"; nullptr for types that are none.
const char* audioObjectTypeName(int32_t objectType);

// The index by sampling rate that stands for a rate in Hz. ISO/IEC 14496-3, 4.5.1.1.
int32_t nearestRateIndex(int32_t rate);

}  // namespace moxc
