// Any bytes as the payloads of spectral band replication: whatever they are, samples come out, and finite ones.
// Shared by the tests and the fuzz driver.
#pragma once

#include <cmath>
#include <cstdlib>
#include <random>

#include "codec/sbr/decoder.h"
#include "codec/sbr/tables.h"

namespace moxtest {

// The first byte chooses rate and channels; then a byte says how long each payload is. The extension type is put in
// front, so that mutation does not lose it. Returns how many payloads were good.
inline int runPayloads(moxc::Bytes bytes) {
  const auto take = [&bytes] {
    const uint8_t value = bytes.empty() ? uint8_t{0} : bytes[0];
    bytes = moxc::slice(bytes, 1);
    return value;
  };
  const uint8_t choice = take();
  const int32_t channels = (choice & 1) != 0 ? 2 : 1;
  moxc::sbr::Element element(channels, moxc::sbr::kRates[choice / 4 % 9].hz,
                             channels == 1 && (choice & 2) != 0);

  std::minstd_rand random(choice);
  std::array<std::array<float, moxc::sbr::kMaxCoreSamples>, 2> core;
  std::array<std::array<float, moxc::sbr::kMaxSamples>, 2> samples;
  for (auto& channel : core)
    for (float& sample : channel) sample = static_cast<float>(random() % 65536) - 32768.0f;
  int good = 0;
  do {
    const size_t length = take();
    std::vector<uint8_t> payload(bytes.begin(),
                                 bytes.begin() + static_cast<ptrdiff_t>(std::min(length, bytes.size())));
    bytes = moxc::slice(bytes, length);
    if (!payload.empty()) payload[0] = static_cast<uint8_t>((payload[0] & 0x0F) | 13 << 4);
    good += element.read(payload);
    for (auto& channel : samples) channel.fill(0);
    element.run({core[0].data(), core[1].data()}, {samples[0].data(), samples[1].data()});
    for (const auto& channel : samples)
      for (const float sample : channel)
        if (!std::isfinite(sample)) std::abort();
  } while (!bytes.empty());
  return good;
}

}  // namespace moxtest
