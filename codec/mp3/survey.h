// A first walk over a whole MPEG audio Layer III stream: what it holds and how long it is.
#pragma once

#include <string>
#include <vector>

#include "codec/mp3/info_frame.h"
#include "codec/mp3/scanner.h"

namespace moxc::mp3 {

struct Survey {
  Header first;                        // of the first frame
  std::optional<VbrHeader> vbrHeader;  // then the first frame holds no audio
  int64_t frames = 0;                  // with audio, lost ones included
  int64_t lostFrames = 0;
  int64_t audioBytes = 0;                   // of those frames
  int32_t lowestRate = 0, highestRate = 0;  // kbit/s
  int64_t crcFrames = 0, crcFaults = 0;
  int64_t skippedBytes = 0, doubtfulFrames = 0;
  size_t bytesBefore = 0, truncatedBytes = 0;
  bool usesMs = false, usesIntensity = false;
  std::string otherStream;  // what the skipped end of the data holds instead, if it is another stream

  double averageRate() const;  // kbit/s
  // Frames that the encoder counted and that are not there. Some encoders count the header frame too.
  int64_t missingFrames() const;
  // Some encoders write CRC words that mean nothing. When most are wrong none is believed.
  bool crcBelievable() const { return crcFaults * 2 <= crcFrames; }
  // Faults that show without decoding, one line each.
  std::vector<std::string> faults() const;
};

// Nothing when there is no stream.
std::optional<Survey> takeSurvey(Bytes stream);

// "MPEG-1 Layer III, 44100 Hz, 2 channels"
std::string streamName(const Header& header);

}  // namespace moxc::mp3
