#include "codec/mp3/survey.h"

namespace moxc::mp3 {
namespace {

std::string counted(int64_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

std::string streamName(const Header& header) {
  return std::string(versionName(header.version)) + " Layer III, " + std::to_string(header.rate) + " Hz, " +
         (header.channels == 1 ? "mono" : "stereo");
}

double Survey::averageRate() const {
  const double seconds =
      static_cast<double>(frames - lostFrames) * first.samples() / static_cast<double>(first.rate);
  return seconds > 0 ? static_cast<double>(audioBytes) * 8 / 1000 / seconds : 0;
}

int64_t Survey::missingFrames() const {
  if (!vbrHeader || !vbrHeader->frames) return 0;
  const int64_t fewer = int64_t{*vbrHeader->frames} - frames;
  return fewer == 1 && truncatedBytes == 0 ? 0 : std::max<int64_t>(fewer, 0);
}

std::vector<std::string> Survey::faults() const {
  std::vector<std::string> lines;
  if (skippedBytes > 0) lines.push_back(counted(skippedBytes, "byte") + " that belong to no frame skipped");
  if (!otherStream.empty()) lines.push_back("the rest is another stream, not decoded: " + otherStream);
  if (lostFrames > 0) lines.push_back(counted(lostFrames, "frame") + " missing where bytes were skipped");
  if (doubtfulFrames > 0) lines.push_back(counted(doubtfulFrames, "frame") + " with a damaged header");
  if (crcFaults > 0 && crcBelievable()) lines.push_back(counted(crcFaults, "frame") + " with a wrong CRC");
  if (missingFrames() > 0)
    lines.push_back(counted(missingFrames(), "frame") + " fewer than the encoder counted");
  if (truncatedBytes > 0)
    lines.push_back("the last frame is incomplete: " + counted(static_cast<int64_t>(truncatedBytes), "byte"));
  return lines;
}

std::optional<Survey> takeSurvey(Bytes stream) {
  Scanner scanner(stream);
  if (!scanner.found()) return std::nullopt;
  Survey survey;
  survey.first = scanner.firstHeader();
  survey.bytesBefore = scanner.bytesBefore();

  Frame frame;
  size_t end = 0;  // of the last frame
  for (bool isFirst = true; scanner.next(frame); isFirst = false) {
    end = frame.position + frame.bytes.size();
    if (isFirst && (survey.vbrHeader = readVbrHeader(frame))) continue;
    survey.frames += 1 + frame.lostBefore;
    survey.lostFrames += frame.lostBefore;
    survey.audioBytes += static_cast<int64_t>(frame.bytes.size());
    survey.doubtfulFrames += frame.lengthDoubtful;
    survey.usesMs |= (frame.header.fields.modeExt & 2) != 0;
    survey.usesIntensity |= (frame.header.fields.modeExt & 1) != 0;
    if (frame.header.hasCrc()) {
      ++survey.crcFrames;
      survey.crcFaults += !crcMatches(frame);
    }
    const int32_t rate = frame.header.bitRate;
    survey.lowestRate = survey.lowestRate == 0 ? rate : std::min(survey.lowestRate, rate);
    survey.highestRate = std::max(survey.highestRate, rate);
  }
  survey.skippedBytes = scanner.skippedBytes();
  survey.truncatedBytes = scanner.truncatedBytes();

  const Scanner rest(slice(stream, end));
  if (survey.skippedBytes > 0 && rest.found())
    survey.otherStream =
        streamName(rest.firstHeader()) + " at byte " + std::to_string(end + rest.bytesBefore());
  return survey;
}

}  // namespace moxc::mp3
