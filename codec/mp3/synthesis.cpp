#include "codec/mp3/synthesis.h"

namespace moxc::mp3 {
namespace {

constexpr int32_t kSlots = 18, kBands = 32;

}  // namespace

Synthesis::Synthesis(int32_t channels, bool floatSamples) : channels_(static_cast<size_t>(channels)) {
  int32_t bytes = 0;
  moxsSynthesisFilterGetSize_PQMF_MP3_32f(&bytes);
  if (floatSamples)
    for (Channel& channel : channels_) channel.memory.resize(static_cast<size_t>(bytes));
  reset();
}

void Synthesis::reset() {
  for (Channel& channel : channels_) {
    channel.overlap.fill(0);
    channel.bank.fill(0);
    channel.previousImdcts = channel.bankPosition = 0;
    if (channel.memory.empty()) continue;
    channel.floatBank = reinterpret_cast<MoxMp3SynthesisState*>(channel.memory.data());
    moxsSynthesisFilterInit_PQMF_MP3_32f(channel.floatBank);
  }
}

const int32_t* Synthesis::hybrid(const Spectrum& spectrum, int32_t ch) {
  const auto c = static_cast<size_t>(ch);
  moxsMDCTInv_MP3_32s(spectrum.channel(ch), slots_.data(), channels_[c].overlap.data(),
                      spectrum.nonZeroBound[c], &channels_[c].previousImdcts, spectrum.blockType[c],
                      spectrum.mixedBlock[c]);
  return slots_.data();
}

void Synthesis::run(const Spectrum& spectrum, int16_t* samples) {
  const auto channels = static_cast<int32_t>(channels_.size());
  for (int32_t ch = 0; ch < channels; ++ch) {
    const int32_t* const slots = hybrid(spectrum, ch);
    Channel& channel = channels_[static_cast<size_t>(ch)];
    for (int32_t slot = 0; slot < kSlots; ++slot)
      moxsSynthPQMF_MP3_32s16s(slots + slot * kBands, samples + slot * kBands * channels + ch,
                               channel.bank.data(), &channel.bankPosition, channels);
  }
}

void Synthesis::run(const Spectrum& spectrum, float* samples) {
  const auto channels = static_cast<int32_t>(channels_.size());
  for (int32_t ch = 0; ch < channels; ++ch) {
    const int32_t* const slots = hybrid(spectrum, ch);
    Channel& channel = channels_[static_cast<size_t>(ch)];
    std::array<float, kBands> bands, out;
    for (int32_t slot = 0; slot < kSlots; ++slot) {
      for (int32_t band = 0; band < kBands; ++band)
        bands[static_cast<size_t>(band)] =
            static_cast<float>(slots[slot * kBands + band]) * (1.0f / (1 << 26));
      moxsSynthesisFilter_PQMF_MP3_32f(bands.data(), out.data(), channel.floatBank);
      for (int32_t i = 0; i < kBands; ++i)
        samples[(slot * kBands + i) * channels + ch] = out[static_cast<size_t>(i)];
    }
  }
}

}  // namespace moxc::mp3
