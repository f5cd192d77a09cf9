// Which coded elements make up a stream's channels, and where each channel goes in a WAV frame.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "moxac/aac.h"

namespace moxc::aac {

// id_syn_ele, the three bits before every element of a raw data block. ISO/IEC 14496-3, Table 4.71.
enum class ElementId { sce, cpe, cce, lfe, dse, pce, fil, end };

struct Layout {
  struct Element {
    ElementId id;
    int32_t tag;                    // element_instance_tag; -1: any
    std::array<int32_t, 2> output;  // place of its channels in an output frame; the second for pairs only
  };
  std::vector<Element> elements;  // in the order of the stream
  int32_t channels = 0;
  uint32_t mask = 0;  // speakers, as in AudioFormat

  // "L R C LFE"; the number of channels where speakers are unknown.
  std::string speakers() const;

  // The layouts of channel_configuration 1 to 7, 11, 12 and 14; nothing for others.
  static std::optional<Layout> ofConfiguration(int32_t configuration);
  // Nothing for no channel, or more than eight.
  static std::optional<Layout> ofProgram(const MoxAacPrgCfgElt& pce);
};

}  // namespace moxc::aac
