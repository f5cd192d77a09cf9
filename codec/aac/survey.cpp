#include "codec/aac/survey.h"

namespace moxc::aac {

void Survey::note(const Block& block, int32_t objectType) {
  sbrBlocks += block.hasSbr;
  couplingBlocks += block.hasCoupling;
  for (size_t i = 0; i < block.elements; ++i) {
    const Element& element = block.element(i);
    for (size_t ch = 0; ch < element.channels(); ++ch) {
      const Channel& channel = element.channel[ch];
      if (!noise || !intensity)
        for (const uint8_t book : channel.books()) {
          noise |= book == 13;
          intensity |= book >= 14;
        }
      shortWindows |= channel.ics.windowSequence == 2;
      tns |= channel.stream.tnsDataPresent != 0;
      prediction |= objectType == 1 && channel.ics.predictorDataPresent != 0;
      longTermPrediction |= objectType == 4 && channel.ltp.ltpDataPresent != 0;
    }
    midSide |= element.channels() == 2 && element.pair.msMaskPresent != 0;
  }
}

String Survey::tools() const {
  String text;
  const auto add = [&text](bool used, const char* name) {
    if (used) text.append(text.empty() ? "" : ", ").append(name);
  };
  add(shortWindows, "short windows");
  add(midSide, "mid/side");
  add(intensity, "intensity");
  add(noise, "noise substitution");
  add(tns, "TNS");
  add(prediction, "prediction");
  add(longTermPrediction, "long-term prediction");
  return text;
}

}  // namespace moxc::aac
