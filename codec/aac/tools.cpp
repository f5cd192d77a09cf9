// The spectral tools in the order of the standard.
#include "codec/aac/tools.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "codec/aac/tables.h"
#include "moxac/util.h"

namespace moxc::aac {
namespace {

bool uses(const Channel& channel, uint8_t firstBook, uint8_t lastBook) {
  const std::span<const uint8_t> books = channel.books();
  return std::any_of(books.begin(), books.end(),
                     [=](uint8_t book) { return book >= firstBook && book <= lastBook; });
}

// The channel's TNS data as a record. Filters that reach below the first band end there, which the library wants
// to be told.
MoxAacTnsInfo shapingOf(const Channel& channel) {
  const MoxAacChanStream& stream = channel.stream;
  MoxAacTnsInfo tns{};
  tns.tnsDataPresent = stream.tnsDataPresent;
  if (stream.tnsDataPresent == 0) return tns;
  std::copy_n(stream.nFilt, stream.numWindows, tns.nFilt);
  std::copy_n(stream.coefRes, 8, tns.coefRes);
  std::copy_n(stream.length, 8, tns.length);
  std::copy_n(stream.order, 8, tns.order);
  std::copy_n(stream.direction, 8, tns.direction);
  std::copy_n(channel.tnsCoef.begin(), 60, tns.coef);
  int32_t filter = 0;
  for (int32_t w = 0; w < stream.numWindows; ++w)
    for (int32_t i = 0, top = stream.numSwb; i < tns.nFilt[w]; ++i, ++filter) {
      tns.length[filter] = std::min(tns.length[filter], top);
      top -= tns.length[filter];
    }
  return tns;
}

}  // namespace

Tools::Tools(const Config& config, int32_t channels) : config_(config) {
  if (config.objectType != MOX_AAC_OBJECT_MAIN) return;
  const int32_t lines = moxAacSwbOffsetLong[config.rateIndex][moxAacPredSfbMax[config.rateIndex]];
  for (int32_t ch = 0; ch < channels; ++ch) {
    MoxAacFdpState* state = nullptr;
    if (moxsFDPInitAlloc_32f(&state, lines) != moxStatusOk) throw std::bad_alloc();
    predictors_.emplace_back(state);
  }
}

// ISO/IEC 14496-3, 4.5.2.1 gives the order of the tools.
bool Tools::run(Element& element, const std::array<int32_t, 2>& places, Synthesis& synthesis,
                Vector<Spectrum>& spectra) {
  for (size_t ch = 0; ch < element.channels(); ++ch) {
    Channel& channel = element.channel[ch];
    if (config_.objectType == MOX_AAC_OBJECT_MAIN) dequantiseExactly(channel, exactLines_[ch]);
    if (moxsQuantInv_AAC_32s_I(channel.spectrum.data(), channel.scaleFactor.data(),
                               channel.ics.numWindowGroups, channel.ics.windowGroupLen, channel.ics.maxSfb,
                               channel.sfbCb.data(), config_.rateIndex,
                               channel.stream.windowLen) != moxStatusOk)
      return false;
  }
  if (!stereo(element) || !noise(element)) return false;
  if (config_.objectType == MOX_AAC_OBJECT_MAIN)
    for (size_t ch = 0; ch < element.channels(); ++ch)
      predict(element.channel[ch], exactLines_[ch], predictors_[static_cast<size_t>(places[ch])].get());
  if (!intensity(element)) return false;
  for (size_t ch = 0; ch < element.channels(); ++ch) {
    const auto place = static_cast<size_t>(places[ch]);
    if (!finish(element.channel[ch], place, synthesis, spectra[place])) return false;
  }
  return true;
}

// Predictors feed their own rounding back, so that what they learn from must not be rounded to the spectral format
// first. Long windows only: nothing is predicted in short ones.
void Tools::dequantiseExactly(const Channel& channel, std::array<float, 1024>& lines) const {
  if (channel.ics.windowSequence == MOX_AAC_EIGHT_SHORT) return;
  std::array<int16_t, 1024> quantised;
  std::array<float, 51> gain;
  for (size_t k = 0; k < quantised.size(); ++k) quantised[k] = static_cast<int16_t>(channel.spectrum[k]);
  for (size_t b = 0; b < static_cast<size_t>(channel.ics.maxSfb); ++b)
    gain[b] = static_cast<float>(std::exp2(0.25 * (channel.scaleFactor[b] - 100)));
  moxsPow43_16s32f(quantised.data(), lines.data(), 1024);
  if (channel.ics.maxSfb > 0)
    moxsScale_32f_I(lines.data(), gain.data(), moxAacSwbOffsetLong[config_.rateIndex], channel.ics.maxSfb);
}

// Mid/side. In intensity bands this only turns the sign that the intensity step will apply.
bool Tools::stereo(Element& element) {
  if (element.channels() == 1 || element.pair.msMaskPresent == 0) return true;
  Channel &left = element.channel[0], &right = element.channel[1];
  if (config_.objectType == MOX_AAC_OBJECT_MAIN && left.ics.windowSequence != MOX_AAC_EIGHT_SHORT) {
    const int32_t* const bands = moxAacSwbOffsetLong[config_.rateIndex];
    for (int32_t b = 0; b < left.ics.maxSfb; ++b) {
      const uint8_t book = right.sfbCb[static_cast<size_t>(b)];
      if (book >= MOX_AAC_BOOK_NOISE || (element.pair.msMaskPresent == 1 && element.pair.msUsed[0][b] == 0))
        continue;
      for (auto k = static_cast<size_t>(bands[b]); k < static_cast<size_t>(bands[b + 1]); ++k) {
        const float mid = exactLines_[0][k], side = exactLines_[1][k];
        exactLines_[0][k] = mid + side;
        exactLines_[1][k] = mid - side;
      }
    }
  }
  return moxsDecodeMsStereo_AAC_32s_I(left.spectrum.data(), right.spectrum.data(), element.pair.msMaskPresent,
                                      element.pair.msUsed[0], right.sfbCb.data(), left.ics.numWindowGroups,
                                      left.ics.windowGroupLen, left.ics.maxSfb, config_.rateIndex,
                                      left.stream.windowLen) == moxStatusOk;
}

// Under a common window both channels of a pair may share one noise.
bool Tools::noise(Element& element) {
  Channel &left = element.channel[0], &right = element.channel[1];
  if (element.channels() == 2 && element.pair.commonWindow == 1) {
    if (!uses(left, MOX_AAC_BOOK_NOISE, MOX_AAC_BOOK_NOISE) &&
        !uses(right, MOX_AAC_BOOK_NOISE, MOX_AAC_BOOK_NOISE))
      return true;
    return moxsDecodeMsPNS_AAC_32s(left.spectrum.data(), right.spectrum.data(), &left.ltp.longUsedAll,
                                   &right.ltp.longUsedAll, left.sfbCb.data(), right.sfbCb.data(),
                                   left.scaleFactor.data(), right.scaleFactor.data(),
                                   element.pair.msMaskPresent, element.pair.msUsed[0], left.ics.maxSfb,
                                   left.ics.numWindowGroups, left.ics.windowGroupLen, config_.rateIndex,
                                   left.stream.windowLen, &randomState_) == moxStatusOk;
  }
  for (size_t ch = 0; ch < element.channels(); ++ch) {
    Channel& channel = element.channel[ch];
    if (!uses(channel, MOX_AAC_BOOK_NOISE, MOX_AAC_BOOK_NOISE)) continue;
    if (moxsDecodePNS_AAC_32s(channel.spectrum.data(), &channel.ltp.longUsedAll, channel.sfbCb.data(),
                              channel.scaleFactor.data(), channel.ics.maxSfb, channel.ics.numWindowGroups,
                              channel.ics.windowGroupLen, config_.rateIndex, channel.stream.windowLen,
                              &randomState_) != moxStatusOk)
      return false;
  }
  return true;
}

// Main-profile prediction works on floats on the 16-bit scale. Every predictor learns from every long window,
// whether its prediction is used or not; short windows and noise leave nothing to learn from.
void Tools::predict(Channel& channel, std::array<float, 1024>& lines, MoxAacFdpState* predictor) const {
  constexpr float kUnit = 1 << MOX_AAC_SPECTRUM_FRAC_BITS;
  if (channel.ics.windowSequence == MOX_AAC_EIGHT_SHORT) {
    moxsFDPReset_32f(predictor);
    return;
  }
  const int32_t* const bands = moxAacSwbOffsetLong[config_.rateIndex];
  const int32_t numBands = moxAacPredSfbMax[config_.rateIndex];
  std::array<uint8_t, 41> used{}, isNoise{};
  for (size_t b = 0; b < static_cast<size_t>(std::min(numBands, channel.ics.maxSfb)); ++b) {
    isNoise[b] = channel.sfbCb[b] == MOX_AAC_BOOK_NOISE;
    used[b] = channel.ics.predictorDataPresent != 0 && channel.ics.predictionUsed[b] != 0 && !isNoise[b];
  }
  moxsFDPInv_32f_I(lines.data(), bands, numBands, used.data(), predictor);
  for (size_t b = 0; b < static_cast<size_t>(numBands); ++b)
    for (auto k = static_cast<size_t>(bands[b]); used[b] != 0 && k < static_cast<size_t>(bands[b + 1]); ++k)
      channel.spectrum[k] = static_cast<int32_t>(std::lrint(std::clamp(lines[k] * kUnit, -0x1p30f, 0x1p30f)));

  if (channel.ics.predictorReset != 0)
    moxsFDPResetGroup_32f(channel.ics.predictorResetGroupNum - 1, 30, predictor);
  moxsFDPResetSfb_32f(bands, numBands, isNoise.data(), predictor);
}

bool Tools::intensity(Element& element) const {
  Channel &left = element.channel[0], &right = element.channel[1];
  if (element.channels() == 1 || !uses(right, 14, 15)) return true;
  return moxsDecodeIsStereo_AAC_32s(left.spectrum.data(), right.spectrum.data(), right.scaleFactor.data(),
                                    right.sfbCb.data(), right.ics.numWindowGroups, right.ics.windowGroupLen,
                                    right.ics.maxSfb, config_.rateIndex,
                                    right.stream.windowLen) == moxStatusOk;
}

bool Tools::predictLongTerm(const Channel& channel, const MoxAacTnsInfo& tns, size_t place,
                            Synthesis& synthesis, Spectrum& spectrum) {
  alignas(32) std::array<int32_t, 1024> prediction;
  return synthesis.predict(place, spectrum, channel.ltp, prediction.data()) &&
         moxsLongTermReconstruct_AAC_32s(prediction.data(), spectrum.lines.data(), spectrum.windowSequence,
                                         channel.ics.maxSfb, config_.rateIndex, &channel.ltp,
                                         &tns) == moxStatusOk;
}

// Window order, long-term prediction and temporal noise shaping.
bool Tools::finish(const Channel& channel, size_t place, Synthesis& synthesis, Spectrum& spectrum) {
  const MoxAacChanStream& stream = channel.stream;
  spectrum.windowSequence = channel.ics.windowSequence;
  spectrum.windowShape = channel.ics.windowShape;
  moxsDeinterleaveSpectrum_AAC_32s(channel.spectrum.data(), spectrum.lines.data(),
                                   channel.ics.numWindowGroups, channel.ics.windowGroupLen, config_.rateIndex,
                                   stream.windowLen);
  if (channel.longTns.numFilters > 0) {
    channel.longTns.run(channel.ics.maxSfb, stream.numSwb, config_.rateIndex, spectrum.lines.data());
    return true;
  }
  const MoxAacTnsInfo tns = shapingOf(channel);
  if (config_.objectType == MOX_AAC_OBJECT_LTP && channel.ltp.ltpDataPresent != 0 &&
      !predictLongTerm(channel, tns, place, synthesis, spectrum))
    return false;
  if (tns.tnsDataPresent == 0) return true;
  return moxsDecodeTNS_AAC_32s_I(spectrum.lines.data(), tns.nFilt, tns.length, tns.order, tns.coefRes,
                                 tns.coef, tns.direction, channel.ics.maxSfb, 0, config_.rateIndex,
                                 stream.windowLen) == moxStatusOk;
}

}  // namespace moxc::aac
