// Tags in MP4 files: the items of a list as iTunes writes it, and QuickTime's and 3GP's texts.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "codec/stream/demuxer.h"

namespace moxc {

// What an encoder said in iTunSMPB: samples in front, behind and between, at the output's rate.
struct GaplessInfo {
  int64_t delay = 0, padding = 0, length = 0;
};

class Mp4Tags {
 public:
  // An item of `ilst`, or a box of `udta`, whose content this is.
  void readItem(uint32_t type, Bytes content);
  void readText(uint32_t type, Bytes content);

  const std::vector<Tag>& tags() const { return tags_; }
  const std::optional<GaplessInfo>& gapless() const { return gapless_; }

 private:
  void add(const char* name, const std::string& value);
  void addNamed(const std::string& name, const std::string& value);
  void readFreeForm(Bytes content);

  std::vector<Tag> tags_;
  size_t bytes_ = 0;  // of all values; there is an end to what is kept
  std::optional<GaplessInfo> gapless_;
};

}  // namespace moxc
