// Walks over the raw data blocks of an AAC stream, whatever carries them: ADTS frames, an ADIF or an MP4 file.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "codec/aac/block.h"
#include "codec/stream/adts_scanner.h"

namespace moxc::aac {

enum class Event {
  block,    // a block was read
  damaged,  // a block's data are not to be trusted
  lost,     // a block probably stood in a gap of the stream
  end,
};

class Stream {
 public:
  // Nothing when the bytes are no AAC stream. Throws Failure for one that cannot be decoded: a profile, or a
  // number of channels, that is beyond this program.
  static std::unique_ptr<Stream> open(Bytes bytes);
  virtual ~Stream() = default;

  virtual Event next(Block& block) = 0;
  virtual void rewind() = 0;
  virtual double progress() const = 0;         // 0..1
  virtual const char* container() const = 0;   // "ADTS" or "ADIF"
  virtual int64_t expectedBlocks() const = 0;  // all of them, or about so many
  virtual int64_t audioBytes() const = 0;      // of all blocks, what carries them included
  virtual int64_t skippedBytes() const = 0;    // that belong to no block, up to here
  // Faults of the container found up to here, and remarks on it, one line each.
  virtual std::vector<std::string> faults() const = 0;
  virtual std::vector<std::string> notes() const = 0;

  // Samples at that rate which the encoder put in front of the first block and behind the last, where the container
  // tells.
  virtual int64_t delay(int32_t /*rate*/) const { return 0; }
  virtual int64_t padding(int32_t /*rate*/) const { return 0; }

  const Config& config() const { return config_; }
  const Layout& layout() const { return layout_; }

 protected:
  Stream(const Config& config, Layout layout)
      : config_(config), layout_(std::move(layout)), reader_(config) {}

  Config config_;
  Layout layout_;
  BlockReader reader_;
};

}  // namespace moxc::aac
