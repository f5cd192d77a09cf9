// The spectral tools between noiseless decoding and the filter bank, with the state they keep per channel.
#pragma once

#include <memory>
#include <vector>

#include "codec/aac/block.h"
#include "codec/aac/synthesis.h"
#include "codec/io/memory.h"

namespace moxc::aac {

class Tools {
 public:
  Tools(const Config& config, int32_t channels);

  // Takes a coded element to the spectra of its channels, which are channel[0] and, of a pair, channel[1] of the
  // stream. The element is used up. False when its data break a limit of the format.
  bool run(Element& element, const std::array<int32_t, 2>& channel, Synthesis& synthesis,
           Vector<Spectrum>& spectra);

 private:
  struct PredictorFree {
    void operator()(MoxAacFdpState* state) const { moxsFDPFree_32f(state); }
  };
  using Predictor = std::unique_ptr<MoxAacFdpState, PredictorFree>;

  void dequantiseExactly(const Channel& channel, std::array<float, 1024>& lines) const;
  bool stereo(Element& element);
  bool noise(Element& element);
  void predict(Channel& channel, std::array<float, 1024>& lines, MoxAacFdpState* predictor) const;
  bool intensity(Element& element) const;
  bool predictLongTerm(const Channel& channel, const MoxAacTnsInfo& tns, size_t place, Synthesis& synthesis,
                       Spectrum& spectrum);
  bool finish(const Channel& channel, size_t place, Synthesis& synthesis, Spectrum& spectrum);

  // What predictors learn from, for the element at hand.
  alignas(32) std::array<std::array<float, 1024>, 2> exactLines_;
  Config config_;
  std::vector<Predictor> predictors_;  // of the Main profile, one for each channel
  uint32_t randomState_ = 0;           // of noise substitution
};

}  // namespace moxc::aac
