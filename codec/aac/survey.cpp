#include "codec/aac/survey.h"

#include <algorithm>

#include "codec/aac/tables.h"
#include "codec/sbr/parser.h"

namespace moxc::aac {
namespace {

void note(const Element& element, int32_t objectType, Survey& survey) {
  for (size_t ch = 0; ch < element.channels(); ++ch) {
    const Channel& channel = element.channel[ch];
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

Survey takeSurvey(Stream& stream) {
  Survey survey;
  Block block;
  stream.rewind();
  for (Event event; (event = stream.next(block)) != Event::end;) {
    ++survey.blocks;
    survey.damaged += event == Event::damaged;
    if (event != Event::block) continue;
    survey.sbrBlocks += block.hasSbr;
    survey.couplingBlocks += block.hasCoupling;
    for (size_t i = 0; i < block.elements; ++i) note(block.element(i), stream.config().objectType, survey);
  }
  return survey;
}

Replication findReplication(Stream& stream) {
  constexpr int32_t kMaxOutputRate = 96000;
  // Whether there is replication shows at once; parametric stereo only behind a header, which comes every half second.
  constexpr int64_t kBlocks = 16, kBlocksToHeader = 64;
  const Config& config = stream.config();
  const int32_t outputRate = 2 * kRates[config.rateIndex];
  if (outputRate > kMaxOutputRate) return {};
  const bool mono = stream.layout().channels == 1;
  Replication found{config.replication, config.parametricStereo && mono};

  sbr::Parser parser(outputRate);
  sbr::Frame frame;
  Block block;
  int64_t read = 0, replicated = 0, understood = 0;
  stream.rewind();
  for (Event event; (event = stream.next(block)) != Event::end;) {
    if (event != Event::block) continue;
    ++read;
    replicated += block.hasSbr;
    if (mono && block.elements == 1 && !block.element(0).sbr().empty() &&
        parser.read(block.element(0).sbr(), false, frame) == sbr::Read::good) {
      ++understood;
      found.stereo |= frame.stereo.has_value();
    }
    const bool enough = !mono || found.stereo || replicated == 0 || understood > 0;
    if (read == kBlocksToHeader || (read >= kBlocks && enough)) break;
  }
  found.bands |= 2 * replicated > read;
  found.stereo &= found.bands;
  stream.rewind();
  return found;
}

std::string Survey::tools() const {
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

}  // namespace moxc::aac
