#include "mox/aac_survey.h"

#include <algorithm>

namespace mox {
namespace {

void note(const AacElement& element, int32_t objectType, AacSurvey& survey) {
  for (size_t ch = 0; ch < element.channels(); ++ch) {
    const AacChannel& channel = element.channel[ch];
    for (const uint8_t book : channel.books()) {
      survey.noise |= book == 13;
      survey.intensity |= book >= 14;
    }
    survey.shortWindows |= channel.ics.windowSequence == 2;
    survey.tns |= channel.stream.tnsDataPresent != 0;
    survey.prediction |= objectType == 1 && channel.ics.predictorDataPresent != 0;
    survey.longTermPrediction |= objectType == 4 && channel.ltp.ltpDataPresent != 0;
  }
  survey.midSide |= element.channels() == 2 && element.pair.msMaskPresent != 0;
}

}  // namespace

AacSurvey surveyAac(AacStream& stream) {
  AacSurvey survey;
  AacBlock block;
  stream.rewind();
  for (AacEvent event; (event = stream.next(block)) != AacEvent::end;) {
    ++survey.blocks;
    survey.damaged += event == AacEvent::damaged;
    if (event != AacEvent::block) continue;
    survey.sbrBlocks += block.hasSbr;
    survey.couplingBlocks += block.hasCoupling;
    for (size_t i = 0; i < block.elements; ++i) note(block.element(i), stream.config().objectType, survey);
  }
  return survey;
}

std::string AacSurvey::tools() const {
  std::string text;
  const auto add = [&text](bool used, const char* name) {
    if (used) text += (text.empty() ? "" : ", ") + std::string(name);
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

}  // namespace mox
