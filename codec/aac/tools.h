// The spectral tools between noiseless decoding and the filter bank, with the state they keep per channel.
#pragma once

#include <memory>
#include <vector>

#include "codec/aac/block.h"
#include "codec/aac/synthesis.h"

namespace mox {

class AacTools {
 public:
  AacTools(const AacConfig& config, int32_t channels);

  // Takes a coded element to the spectra of its channels, which are channel[0] and, of a pair, channel[1] of the
  // stream. The element is used up. False when its data break a limit of the format.
  bool run(AacElement& element, const std::array<int32_t, 2>& channel, AacSynthesis& synthesis,
           std::vector<AacSpectrum>& spectra);

 private:
  struct PredictorFree {
    void operator()(MoxAacFdpState* state) const { moxsFDPFree_32f(state); }
  };
  using Predictor = std::unique_ptr<MoxAacFdpState, PredictorFree>;

  void dequantiseExactly(const AacChannel& channel, std::array<float, 1024>& lines) const;
  bool stereo(AacElement& element);
  bool noise(AacElement& element);
  void predict(AacChannel& channel, std::array<float, 1024>& lines, MoxAacFdpState* predictor) const;
  bool intensity(AacElement& element) const;
  bool predictLongTerm(const AacChannel& channel, const MoxAacTnsInfo& tns, size_t place,
                       AacSynthesis& synthesis, AacSpectrum& spectrum);
  bool finish(const AacChannel& channel, size_t place, AacSynthesis& synthesis, AacSpectrum& spectrum);

  AacConfig config_;
  std::vector<Predictor> predictors_;  // of the Main profile, one for each channel
  // What they learn from, for the element at hand.
  alignas(32) std::array<std::array<float, 1024>, 2> exactLines_;
  uint32_t randomState_ = 0;  // of noise substitution
};

}  // namespace mox
