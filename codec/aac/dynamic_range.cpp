// Dynamic range control: reads the gains and applies them to spectra.
#include "codec/aac/dynamic_range.h"

#include <algorithm>
#include <cmath>

#include "codec/io/bit_reader.h"

namespace moxc::aac {

size_t DynamicRange::read(Bytes bytes) {
  *this = {};
  BitReader bits(bytes, 4, 8 * bytes.size() - 4);
  const auto field = [&bits](int32_t count) { return static_cast<int32_t>(bits.bits(count)); };
  if (bits.flag()) {
    programTag = field(4);
    field(4);  // reserved
  }
  if (bits.flag()) {
    size_t channel = 0;
    do
      for (int32_t i = 0; i < 7; ++i, ++channel)
        if (bits.flag() && channel < excluded.size()) excluded.set(channel);
    while (bits.flag() && !bits.overrun());
  }
  if (bits.flag()) {
    bands = static_cast<size_t>(field(4)) + 1;
    field(4);  // reserved
    for (size_t b = 0; b < bands; ++b) end[b] = 4 * (field(8) + 1);
  }
  if (bits.flag()) {
    referenceLevel = field(7);
    field(1);  // reserved
  }
  for (size_t b = 0; b < bands; ++b) {
    const bool softer = bits.flag();
    const int32_t size = field(7);
    steps[b] = static_cast<int8_t>(softer ? -size : size);
  }
  return bits.overrun() ? 0 : bits.position() / 8;
}

void DynamicRange::apply(const DynamicRangeChoice& choice, size_t channel, Spectrum& spectrum) const {
  if (channel < excluded.size() && excluded[channel]) return;
  const double level =
      choice.targetLevel >= 0 && referenceLevel >= 0 ? (referenceLevel - choice.targetLevel) / 24.0 : 0.0;
  size_t line = 0;
  for (size_t b = 0; b < bands; ++b) {
    const double share = steps[b] < 0 ? choice.cut : choice.boost;
    const double gain = std::exp2(level + share * steps[b] / 24.0);
    for (const auto last = static_cast<size_t>(end[b]); line < last && line < spectrum.lines.size(); ++line)
      spectrum.lines[line] =
          static_cast<int32_t>(std::lrint(std::clamp(spectrum.lines[line] * gain, -0x1p30, 0x1p30)));
  }
}

}  // namespace moxc::aac
