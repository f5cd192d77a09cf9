#include "codec/sbr/adjuster.h"

#include <algorithm>
#include <cmath>

#include "codec/sbr/tables.h"

namespace moxc::sbr {
namespace {

constexpr float kMaxGain = 1e5f, kMaxBoost = 1.584893192f;
constexpr float kEpsilon = 1e-12f;
// The noise with its beginning once more behind it: the sub-bands of a slot never wrap.
const std::array<Mox32fc, 512 + 64> kNoise = [] {
  std::array<Mox32fc, 512 + 64> noise;
  std::copy_n(kNoiseVectors, 64, std::copy_n(kNoiseVectors, 512, noise.begin()));
  return noise;
}();
// (-1)^k from an even or an odd sub-band on
constexpr std::array<float, 66> kAlternating = [] {
  std::array<float, 66> signs{};
  for (size_t k = 0; k < signs.size(); ++k) signs[k] = k % 2 == 0 ? 1.0f : -1.0f;
  return signs;
}();

void dequantise(const ChannelFrame& frame, const Bands& bands, float scale, Levels& levels) {
  const float steps = frame.grid.coarse ? 1.0f : 0.5f;  // of a power of two
  for (size_t l = 0; l < static_cast<size_t>(frame.grid.envelopes); ++l)
    for (size_t b = 0; b < static_cast<size_t>(bands.envelope(frame.grid.highRes[l]).bands); ++b)
      levels.envelope[l][b] = scale * std::exp2(steps * frame.envelope[l][b]);
  for (size_t q = 0; q < static_cast<size_t>(frame.grid.noiseFloors); ++q)
    for (size_t b = 0; b < static_cast<size_t>(bands.noise.bands); ++b)
      levels.noise[q][b] = std::exp2(6.0f - frame.noise[q][b]);
}

// Divides twice `left`, the mean of both channels, by the balance: `steps` from a centre of equal halves.
void balance(float steps, float& left, float& right) {
  const float both = 2 * left;
  left = both / (1 + std::exp2(-steps));
  right = both / (1 + std::exp2(steps));
}

}  // namespace

// 4.6.18.3.5 and, for coupled channels, 4.6.18.3.6.
void dequantise(const Frame& frame, const Bands& bands, int32_t channels, int32_t fade, Levels* levels) {
  const float scale = std::ldexp(64.0f, -2 * fade);
  dequantise(frame.channel[0], bands, scale, levels[0]);
  if (channels < 2) return;
  if (!frame.coupled) {
    dequantise(frame.channel[1], bands, scale, levels[1]);
    return;
  }
  const ChannelFrame& balances = frame.channel[1];
  const Grid& grid = balances.grid;
  const float steps = grid.coarse ? 1.0f : 0.5f;
  for (size_t l = 0; l < static_cast<size_t>(grid.envelopes); ++l)
    for (size_t b = 0; b < static_cast<size_t>(bands.envelope(grid.highRes[l]).bands); ++b)
      balance(steps * balances.envelope[l][b] - 12, levels[0].envelope[l][b], levels[1].envelope[l][b]);
  for (size_t q = 0; q < static_cast<size_t>(grid.noiseFloors); ++q)
    for (size_t b = 0; b < static_cast<size_t>(bands.noise.bands); ++b)
      balance(balances.noise[q][b] - 12.0f, levels[0].noise[q][b], levels[1].noise[q][b]);
}

void Adjuster::run(const Header& header, const Bands& bands, const ChannelFrame& frame, const Levels& levels,
                   bool reset, HighRow* high) {
  if (reset) {
    harmonicBefore_.fill(false);
    noiseIndex_ = 0;
  }
  for (size_t l = 0; l < static_cast<size_t>(frame.grid.envelopes); ++l)
    computeGains(header, bands, frame, levels, l, high, envelopes_[l]);
  apply(header, bands, frame.grid, reset, high);
  harmonicBefore_ = harmonicAtEnd_;
  transientNext_ = frame.grid.transient == frame.grid.envelopes;
}

// Sinusoids stand in the middle of a band of high resolution. One that is new begins with the transient. `inBand`
// tells the sub-bands whose scale-factor band holds one.
void Adjuster::mapHarmonics(const Bands& bands, const ChannelFrame& frame, size_t l, Row& sine, Row& inBand) {
  sine.fill(0);
  inBand.fill(0);
  harmonicAtEnd_.fill(false);
  for (int32_t b = 0; b < bands.high.bands; ++b) {
    const int32_t k = (bands.high[b] + bands.high[b + 1]) / 2;
    if (!frame.harmonic[static_cast<size_t>(b)]) continue;
    if (static_cast<int32_t>(l) < frame.grid.transient && !harmonicBefore_[static_cast<size_t>(k)]) continue;
    harmonicAtEnd_[static_cast<size_t>(k)] = true;
    sine[static_cast<size_t>(k - bands.begin())] = 1;
  }
  const Borders& borders = bands.envelope(frame.grid.highRes[l]);
  for (int32_t b = 0; b < borders.bands; ++b) {
    const auto begin = borders[b] - bands.begin(), end = borders[b + 1] - bands.begin();
    if (std::find(sine.begin() + begin, sine.begin() + end, 1.0f) != sine.begin() + end)
      std::fill(inBand.begin() + begin, inBand.begin() + end, 1.0f);
  }
}

void Adjuster::computeGains(const Header& header, const Bands& bands, const ChannelFrame& frame,
                            const Levels& levels, size_t l, const HighRow* high, Envelope& envelope) {
  const Grid& grid = frame.grid;
  const auto count = static_cast<size_t>(bands.count());
  const auto subBand = [&bands](int32_t border) { return static_cast<size_t>(border - bands.begin()); };
  const Borders& borders = bands.envelope(grid.highRes[l]);
  const auto floor = static_cast<size_t>(grid.noiseFloors > 1 && grid.border[l] >= grid.noiseBorder[1]);
  Row wanted{}, ratio{}, current{}, inBand{};
  for (int32_t b = 0; b < borders.bands; ++b)
    std::fill(wanted.begin() + subBand(borders[b]), wanted.begin() + subBand(borders[b + 1]),
              levels.envelope[l][static_cast<size_t>(b)]);
  for (int32_t b = 0; b < bands.noise.bands; ++b)
    std::fill(ratio.begin() + subBand(bands.noise[b]), ratio.begin() + subBand(bands.noise[b + 1]),
              levels.noise[floor][static_cast<size_t>(b)]);
  mapHarmonics(bands, frame, l, envelope.sine, inBand);

  // The energy that was generated, of each sub-band or on average over each band.
  const int32_t first = 2 * grid.border[l], end = 2 * grid.border[l + 1];
  for (int32_t slot = first; slot < end; ++slot) {
    const Mox32fc* const row = high[slot] + bands.begin();
    for (size_t m = 0; m < count; ++m) current[m] += row[m].re * row[m].re + row[m].im * row[m].im;
  }
  for (size_t m = 0; m < count; ++m) current[m] /= static_cast<float>(end - first);
  if (!header.interpolate)
    for (int32_t b = 0; b < borders.bands; ++b) {
      const auto from = current.begin() + subBand(borders[b]), to = current.begin() + subBand(borders[b + 1]);
      float sum = 0;
      for (auto energy = from; energy != to; ++energy) sum += *energy;
      std::fill(from, to, sum / static_cast<float>(to - from));
    }

  envelope.sudden = static_cast<int32_t>(l) == grid.transient || (l == 0 && transientNext_);
  const float noiseAdds = envelope.sudden ? 0.0f : 1.0f;
  Row &gain = envelope.gain, &noise = envelope.noise, &sine = envelope.sine;
  for (size_t m = 0; m < count; ++m) {
    const float share = 1 / (1 + ratio[m]);
    noise[m] = std::sqrt(wanted[m] * ratio[m] * share);
    sine[m] *= std::sqrt(wanted[m] * share);
    const float left = inBand[m] != 0 ? ratio[m] * share : 1 / (1 + noiseAdds * ratio[m]);
    gain[m] = std::sqrt(wanted[m] / (1 + current[m]) * left);
  }

  // No gain is far above the mean of its limiter band; what that takes away is given back to all of the band.
  for (int32_t b = 0; b < bands.limiter.bands; ++b) {
    const size_t from = subBand(bands.limiter[b]), to = subBand(bands.limiter[b + 1]);
    float sumWanted = kEpsilon, sumCurrent = kEpsilon, sumMade = kEpsilon;
    for (size_t m = from; m < to; ++m) {
      sumWanted += wanted[m];
      sumCurrent += current[m];
    }
    const float limit =
        std::min(kMaxGain, kLimiterGains[header.limiterGains] * std::sqrt(sumWanted / sumCurrent));
    for (size_t m = from; m < to; ++m) {
      if (gain[m] > limit) {
        noise[m] *= limit / gain[m];
        gain[m] = limit;
      }
      sumMade += current[m] * gain[m] * gain[m] + sine[m] * sine[m];
      if (sine[m] == 0) sumMade += noiseAdds * noise[m] * noise[m];
    }
    const float boost = std::min(kMaxBoost, std::sqrt(sumWanted / sumMade));
    for (size_t m = from; m < to; ++m) {
      gain[m] *= boost;
      noise[m] *= boost;
      sine[m] *= boost;
    }
  }
}

// 4.6.18.7.6
void Adjuster::apply(const Header& header, const Bands& bands, const Grid& grid, bool reset, HighRow* high) {
  constexpr size_t kPast = std::size(kSmoothing) - 1;
  if (reset) {
    pastGain_.fill(envelopes_[0].gain);
    pastNoise_.fill(envelopes_[0].noise);
  }
  // Of every slot, behind the four before the frame.
  std::array<const Row*, kPast + kHighRows> gains, noises;
  for (size_t i = 0; i < kPast; ++i) {
    gains[i] = &pastGain_[i];
    noises[i] = &pastNoise_[i];
  }

  const auto count = static_cast<size_t>(bands.count());
  const float* const signs = kAlternating.data() + bands.begin() % 2;
  static constexpr Row kNoNoise{};
  Row smoothGain, smoothNoise;
  size_t at = kPast;
  for (size_t l = 0; l < static_cast<size_t>(grid.envelopes); ++l) {
    const Envelope& envelope = envelopes_[l];
    for (int32_t slot = 2 * grid.border[l]; slot < 2 * grid.border[l + 1]; ++slot, ++at) {
      const Row *gain = gains[at] = &envelope.gain, *noise = noises[at] = &envelope.noise;
      if (envelope.sudden) {
        noise = &kNoNoise;
      } else if (header.smooth && gains[at - kPast] != gain) {
        smoothGain.fill(0);
        smoothNoise.fill(0);
        for (size_t n = 0; n < std::size(kSmoothing); ++n)
          for (size_t m = 0; m < count; ++m) {
            smoothGain[m] += kSmoothing[n] * (*gains[at - n])[m];
            smoothNoise[m] += kSmoothing[n] * (*noises[at - n])[m];
          }
        gain = &smoothGain;
        noise = &smoothNoise;
      }

      static constexpr std::array<float, 4> kSineRe = {1, 0, -1, 0}, kSineIm = {0, 1, 0, -1};
      const float sineRe = kSineRe[static_cast<size_t>(sineIndex_)],
                  sineIm = kSineIm[static_cast<size_t>(sineIndex_)];
      const Mox32fc* const random = kNoise.data() + (noiseIndex_ + 1) % 512;
      Mox32fc* const row = high[slot] + bands.begin();
      for (size_t m = 0; m < count; ++m) {
        const float sine = envelope.sine[m], level = sine != 0 ? 0 : (*noise)[m];
        row[m].re = (*gain)[m] * row[m].re + level * random[m].re + sine * sineRe;
        row[m].im = (*gain)[m] * row[m].im + level * random[m].im + sine * signs[m] * sineIm;
      }
      noiseIndex_ = (noiseIndex_ + bands.count()) % 512;
      sineIndex_ = (sineIndex_ + 1) % 4;
    }
  }
  for (size_t i = 0; i < kPast; ++i) {
    pastGain_[i] = *gains[at - kPast + i];
    pastNoise_[i] = *noises[at - kPast + i];
  }
}

}  // namespace moxc::sbr
