// Whatever the bytes are, decode them: the property under test is that this returns, in bounded time and
// memory. Shared by the tests, which replay found inputs, and the fuzz driver.
#pragma once

#include <cmath>
#include <cstdlib>
#include <memory>

#include "codec/decoder.h"
#include "codec/io/failure.h"

namespace moxtest {

struct Decoded {
  moxc::AudioFormat format;
  moxc::DecodeStats stats;
  int64_t samples = 0;  // per channel
  std::vector<int16_t> s16;
  std::vector<float> f32;
};

// Nothing when the input is refused. Aborts when the decoder breaks its promises.
inline std::unique_ptr<Decoded> decodeBytes(moxc::Bytes bytes, const moxc::DecodeOptions& options = {}) {
  const auto require = [](bool kept) {
    if (!kept) std::abort();
  };
  try {
    const auto decoder = moxc::openDecoder(bytes, options, "input");
    auto result = std::make_unique<Decoded>();
    result->format = decoder->format();
    for (moxc::PcmView block; decoder->decodeBlock(block);) {
      const size_t values = block.s16.size() + block.f32.size();
      require(values > 0 && (options.floatSamples ? block.s16.empty() : block.f32.empty()));
      require(values % static_cast<size_t>(result->format.channels) == 0);
      for (const float value : block.f32) require(std::isfinite(value));
      result->samples += static_cast<int64_t>(values) / result->format.channels;
      result->s16.insert(result->s16.end(), block.s16.begin(), block.s16.end());
      result->f32.insert(result->f32.end(), block.f32.begin(), block.f32.end());
    }
    require(decoder->progress() >= 0 && decoder->progress() <= 1);
    result->stats = decoder->stats();
    require(result->stats.concealed <= result->stats.frames);
    require((result->stats.concealed == 0 && result->stats.skippedBytes == 0) ||
            !result->stats.faults.empty());
    (void)decoder->describe();
    return result;
  } catch (const moxc::Failure&) {
    return nullptr;
  }
}

}  // namespace moxtest
