// Whatever the bytes are, decode them: the property under test is that this returns, in bounded time and
// memory. Shared by the tests, which replay found inputs, and the fuzz driver.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "codec/io/bytes.h"
#include "moxcodec.h"

namespace moxtest {

using moxc::Bytes;

struct DecodeOptions {
  bool floatSamples = false, raw = false;
  // Bytes are fed in pieces of that many; 0: of random lengths, by the seed; -1: the decoder reads them itself.
  int32_t piece = -1;
  uint32_t seed = 0;
};

struct Decoded {
  MoxcFormat format{};  // the first
  std::vector<MoxcFormat> formats;
  std::vector<size_t> starts;  // of each format, in values
  MoxcStats stats{};
  int64_t samples = 0;  // per channel
  std::vector<int16_t> s16;
  std::vector<float> f32;
  std::vector<std::string> description, damage, notices;
  std::string message;   // of what is refused
  size_t fedBefore = 0;  // bytes that had been fed when the first sample came
};

inline void require(bool kept) {
  if (!kept) std::abort();
}

struct FreeDecoder {
  void operator()(MoxcDecoder* decoder) const { moxcDecoderFree(decoder); }
};
using DecoderHandle = std::unique_ptr<MoxcDecoder, FreeDecoder>;

inline std::vector<std::string> texts(MoxcDecoder* decoder, MoxcTexts kind) {
  std::vector<std::string> lines;
  const char *name, *text;
  for (int32_t i = 0; moxcDecoderGetText(decoder, kind, i, &name, &text) == moxcStatusOk; ++i)
    lines.push_back((*name != 0 ? name + std::string(": ") : "") + text);
  return lines;
}

// The value of that line of the description or the tags.
inline std::string textOf(MoxcDecoder* decoder, MoxcTexts kind, const std::string& wanted) {
  const char *name, *text;
  for (int32_t i = 0; moxcDecoderGetText(decoder, kind, i, &name, &text) == moxcStatusOk; ++i)
    if (name == wanted) return text;
  return {};
}

// Reads as much as there is; the status that ends it.
inline moxcStatus readAll(MoxcDecoder* decoder, Decoded& result, bool floatSamples,
                          size_t atMost = SIZE_MAX) {
  int16_t shorts[2048];
  float floats[2048];
  size_t got = 0;
  for (size_t all = 0; all < atMost; all += got) {
    const size_t channels = result.formats.empty() ? 8 : static_cast<size_t>(result.formats.back().channels);
    const size_t frames = std::min(2048 / channels, atMost - all);
    const moxcStatus status = floatSamples ? moxcDecoderRead_32f(decoder, floats, frames, &got)
                                           : moxcDecoderRead_16s(decoder, shorts, frames, &got);
    if (status == moxcStatusFormat) {
      MoxcFormat format;
      require(got == 0 && moxcDecoderGetFormat(decoder, &format) == moxcStatusOk);
      require(format.channels >= 1 && format.channels <= 8 && format.rate > 0);
      result.formats.push_back(format);
      result.starts.push_back(result.s16.size() + result.f32.size());
      continue;
    }
    if (status != moxcStatusOk) {
      require(got == 0);
      return status;
    }
    require(got > 0 && got <= frames && !result.formats.empty());
    for (size_t i = 0; floatSamples && i < got * channels; ++i) require(std::isfinite(floats[i]));
    if (floatSamples)
      result.f32.insert(result.f32.end(), floats, floats + got * channels);
    else
      result.s16.insert(result.s16.end(), shorts, shorts + got * channels);
    result.samples += static_cast<int64_t>(got);
  }
  return moxcStatusOk;
}

inline void finishResult(MoxcDecoder* decoder, Decoded& result) {
  if (!result.formats.empty()) result.format = result.formats[0];
  moxcDecoderGetStats(decoder, &result.stats);
  result.damage = texts(decoder, moxcTextDamage);
  result.notices = texts(decoder, moxcTextNotice);
  result.message = moxcDecoderGetMessage(decoder);
  require(result.stats.concealed <= result.stats.frames);
  require((result.stats.concealed == 0 && result.stats.skippedBytes == 0) || !result.damage.empty());
  result.description = texts(decoder, moxcTextDescription);
  (void)texts(decoder, moxcTextTag);
}

// Bytes in memory as what a decoder reads by callbacks, at most so many at once.
struct MemoryInput {
  Bytes bytes;
  size_t most = SIZE_MAX, at = 0;

  MoxcInput input() {
    return {[](void* user, uint8_t* to, size_t count) -> int64_t {
              auto* const self = static_cast<MemoryInput*>(user);
              const Bytes part = moxc::slice(self->bytes, self->at, std::min(count, self->most));
              std::copy(part.begin(), part.end(), to);
              self->at += part.size();
              return static_cast<int64_t>(part.size());
            },
            [](void* user, int64_t position) -> int32_t {
              static_cast<MemoryInput*>(user)->at = static_cast<size_t>(position);
              return 0;
            },
            static_cast<int64_t>(bytes.size()), this};
  }
};

// Nothing when the input is refused. Aborts when the decoder breaks its promises.
inline std::unique_ptr<Decoded> decodeBytes(Bytes bytes, const DecodeOptions& options = {},
                                            std::string* message = nullptr) {
  MoxcDecoderOptions wanted{};
  wanted.floatSamples = options.floatSamples;
  wanted.raw = options.raw;
  MoxcDecoder* made = nullptr;
  MemoryInput memory{bytes};
  const MoxcInput input = memory.input();
  moxcStatus status =
      options.piece < 0 ? moxcDecoderOpen(&made, &input, &wanted) : moxcDecoderCreate(&made, &wanted);
  require(made != nullptr);
  const DecoderHandle decoder(made);
  auto result = std::make_unique<Decoded>();
  if (options.piece < 0)
    status = readAll(made, *result, options.floatSamples);
  else
    status = moxcStatusNeedMore;
  std::mt19937 random(options.seed);
  size_t fed = 0;
  while (status == moxcStatusNeedMore) {
    auto piece = static_cast<size_t>(options.piece);
    if (options.piece == 0) piece = random() % 4 == 0 ? random() % 5000 : random() % 40;
    piece = std::min(piece, bytes.size() - fed);
    size_t taken = 0;
    if (fed == bytes.size())
      require(moxcDecoderEnd(made) == moxcStatusOk);
    else
      require(moxcDecoderFeed(made, bytes.data() + fed, piece, &taken) == moxcStatusOk && taken <= piece &&
              (taken > 0 || piece == 0));
    fed += taken;
    const bool silent = result->samples == 0;
    status = readAll(made, *result, options.floatSamples);
    if (silent && result->samples > 0) result->fedBefore = fed;
  }
  require(status == moxcStatusEnd || status == moxcStatusNoStream || status == moxcStatusUnsupported);
  finishResult(made, *result);
  if (message != nullptr) *message = result->message;
  if (status != moxcStatusEnd) return nullptr;
  return result;
}

}  // namespace moxtest
