// Gains, noise and sinusoids of the high band.
#include "codec/sbr/adjuster.h"

#include <algorithm>
#include <cmath>

#include "codec/sbr/tables.h"

namespace moxc::sbr {
namespace {

constexpr float kMaxGain = 1e5f, kMaxBoost = 1.584893192f;
constexpr float kEpsilon = 1e-12f;
// The noise with its beginning once more behind it: the sub-bands of a slot never wrap.
const Array<Mox32fc, 512 + 64> kNoise = [] {
  Array<Mox32fc, 512 + 64> noise;
  std::copy_n(kNoiseVectors, 64, std::copy_n(kNoiseVectors, 512, noise.begin()));
  return noise;
}();
// (-1)^k from an even or an odd sub-band on
constexpr Array<float, 66> kAlternating = [] {
  Array<float, 66> signs{};
  for (size_t k = 0; k < signs.size(); ++k) signs[k] = k % 2 == 0 ? 1.0f : -1.0f;
  return signs;
}();

void dequantise(const ChannelFrame& frame, const Bands& bands, float scale, Levels& levels) {
  const float steps = frame.grid.coarse ? 1.0f : 0.5f;  // of a power of two
  for (int32_t l = 0; l < frame.grid.envelopes; ++l)
    for (int32_t b = 0; b < bands.envelope(frame.grid.highRes[l]).bands; ++b)
      levels.envelope[l][b] = scale * std::exp2(steps * frame.envelope[l][b]);
  for (int32_t q = 0; q < frame.grid.noiseFloors; ++q)
    for (int32_t b = 0; b < bands.noise.bands; ++b) levels.noise[q][b] = std::exp2(6.0f - frame.noise[q][b]);
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
  for (int32_t l = 0; l < grid.envelopes; ++l)
    for (int32_t b = 0; b < bands.envelope(grid.highRes[l]).bands; ++b)
      balance(steps * balances.envelope[l][b] - 12, levels[0].envelope[l][b], levels[1].envelope[l][b]);
  for (int32_t q = 0; q < grid.noiseFloors; ++q)
    for (int32_t b = 0; b < bands.noise.bands; ++b)
      balance(balances.noise[q][b] - 12.0f, levels[0].noise[q][b], levels[1].noise[q][b]);
}

void Adjuster::run(const Header& header, const Bands& bands, const ChannelFrame& frame, const Levels& levels,
                   bool reset, HighRow* high) {
  if (reset) {
    harmonicBefore_.fill(false);
    noiseIndex_ = 0;
  }
  for (int32_t l = 0; l < frame.grid.envelopes; ++l)
    computeGains(header, bands, frame, levels, l, high, envelopes_[l]);
  apply(header, bands, frame.grid, reset, high);
  harmonicBefore_ = harmonicAtEnd_;
  transientNext_ = frame.grid.transient == frame.grid.envelopes;
}

// Sinusoids stand in the middle of a band of high resolution. One that is new begins with the transient. `inBand`
// tells the sub-bands whose scale-factor band holds one.
void Adjuster::mapHarmonics(const Bands& bands, const ChannelFrame& frame, int32_t l, Row& sine,
                            Row& inBand) {
  sine.fill(0);
  inBand.fill(0);
  harmonicAtEnd_.fill(false);
  for (int32_t b = 0; b < bands.high.bands; ++b) {
    const int32_t k = (bands.high[b] + bands.high[b + 1]) / 2;
    if (!frame.harmonic[b]) continue;
    if (l < frame.grid.transient && !harmonicBefore_[k]) continue;
    harmonicAtEnd_[k] = true;
    sine[k - bands.begin()] = 1;
  }
  const Borders& borders = bands.envelope(frame.grid.highRes[l]);
  for (int32_t b = 0; b < borders.bands; ++b) {
    const auto begin = borders[b] - bands.begin(), end = borders[b + 1] - bands.begin();
    if (std::find(sine.begin() + begin, sine.begin() + end, 1.0f) != sine.begin() + end)
      std::fill(inBand.begin() + begin, inBand.begin() + end, 1.0f);
  }
}

// The values of a set of bands, one for each sub-band above the crossover.
template <class Values>
void spread(const Bands& bands, const Borders& borders, const Values& values, Adjuster::Row& row) {
  for (int32_t b = 0; b < borders.bands; ++b)
    std::fill(row.begin() + borders[b] - bands.begin(), row.begin() + borders[b + 1] - bands.begin(),
              values[b]);
}

// The energy that was generated in slots [first, end), of each sub-band or on average over each band.
void measure(const Bands& bands, const Borders& borders, bool interpolate, const HighRow* high, int32_t first,
             int32_t end, Adjuster::Row& energy) {
  energy.fill(0);
  for (int32_t slot = first; slot < end; ++slot) {
    const Mox32fc* const row = high[slot] + bands.begin();
    for (int32_t m = 0; m < bands.count(); ++m) energy[m] += row[m].re * row[m].re + row[m].im * row[m].im;
  }
  for (int32_t m = 0; m < bands.count(); ++m) energy[m] /= static_cast<float>(end - first);
  if (interpolate) return;
  for (int32_t b = 0; b < borders.bands; ++b) {
    const auto from = energy.begin() + borders[b] - bands.begin(),
               to = energy.begin() + borders[b + 1] - bands.begin();
    float sum = 0;
    for (auto value = from; value != to; ++value) sum += *value;
    std::fill(from, to, sum / static_cast<float>(to - from));
  }
}

void Adjuster::computeGains(const Header& header, const Bands& bands, const ChannelFrame& frame,
                            const Levels& levels, int32_t l, const HighRow* high, Envelope& envelope) {
  const Grid& grid = frame.grid;
  const Borders& borders = bands.envelope(grid.highRes[l]);
  const int32_t floor = grid.noiseFloors > 1 && grid.border[l] >= grid.noiseBorder[1] ? 1 : 0;
  Row wanted{}, ratio{}, current, inBand;
  spread(bands, borders, levels.envelope[l], wanted);
  spread(bands, bands.noise, levels.noise[floor], ratio);
  mapHarmonics(bands, frame, l, envelope.sine, inBand);
  measure(bands, borders, header.interpolate, high, 2 * grid.border[l], 2 * grid.border[l + 1], current);

  envelope.sudden = l == grid.transient || (l == 0 && transientNext_);
  share(bands.count(), wanted, ratio, current, inBand, envelope);
  limit(bands, kLimiterGains[header.limiterGains], wanted, current, envelope);
}

// What is wanted of a sub-band divides into the generated signal, the noise, and the sinusoid.
void Adjuster::share(int32_t count, const Row& wanted, const Row& ratio, const Row& current,
                     const Row& inBand, Envelope& envelope) {
  const float noiseAdds = envelope.sudden ? 0.0f : 1.0f;
  for (int32_t m = 0; m < count; ++m) {
    const float part = 1 / (1 + ratio[m]);
    envelope.noise[m] = std::sqrt(wanted[m] * ratio[m] * part);
    envelope.sine[m] *= std::sqrt(wanted[m] * part);
    const float left = inBand[m] != 0 ? ratio[m] * part : 1 / (1 + noiseAdds * ratio[m]);
    envelope.gain[m] = std::sqrt(wanted[m] / (1 + current[m]) * left);
  }
}

// No gain is far above the mean of its limiter band; what that takes away is given back to all of the band.
void Adjuster::limit(const Bands& bands, float maxGain, const Row& wanted, const Row& current,
                     Envelope& envelope) {
  const float noiseAdds = envelope.sudden ? 0.0f : 1.0f;
  Row &gain = envelope.gain, &noise = envelope.noise, &sine = envelope.sine;
  for (int32_t b = 0; b < bands.limiter.bands; ++b) {
    const int32_t from = bands.limiter[b] - bands.begin(), to = bands.limiter[b + 1] - bands.begin();
    float sumWanted = kEpsilon, sumCurrent = kEpsilon, sumMade = kEpsilon;
    for (int32_t m = from; m < to; ++m) {
      sumWanted += wanted[m];
      sumCurrent += current[m];
    }
    const float most = std::min(kMaxGain, maxGain * std::sqrt(sumWanted / sumCurrent));
    for (int32_t m = from; m < to; ++m) {
      if (gain[m] > most) {
        noise[m] *= most / gain[m];
        gain[m] = most;
      }
      sumMade += current[m] * gain[m] * gain[m] + sine[m] * sine[m];
      if (sine[m] == 0) sumMade += noiseAdds * noise[m] * noise[m];
    }
    const float boost = std::min(kMaxBoost, std::sqrt(sumWanted / sumMade));
    for (int32_t m = from; m < to; ++m) {
      gain[m] *= boost;
      noise[m] *= boost;
      sine[m] *= boost;
    }
  }
}

// The weighted mean of a slot's values and the four before it.
void smooth(const Adjuster::Row* const* latest, int32_t count, Adjuster::Row& mean) {
  mean.fill(0);
  for (size_t n = 0; n < std::size(kSmoothing); ++n)
    for (int32_t m = 0; m < count; ++m) mean[m] += kSmoothing[n] * (*latest[-static_cast<ptrdiff_t>(n)])[m];
}

// 4.6.18.7.6
void Adjuster::apply(const Header& header, const Bands& bands, const Grid& grid, bool reset, HighRow* high) {
  constexpr int32_t kPast = static_cast<int32_t>(std::size(kSmoothing)) - 1;
  if (reset) {
    pastGain_.fill(envelopes_[0].gain);
    pastNoise_.fill(envelopes_[0].noise);
  }
  // Of every slot, behind the four before the frame.
  Array<const Row*, kPast + kHighRows> gains, noises;
  for (int32_t i = 0; i < kPast; ++i) {
    gains[i] = &pastGain_[i];
    noises[i] = &pastNoise_[i];
  }

  static constexpr Row kNoNoise{};
  Row smoothGain, smoothNoise;
  int32_t at = kPast;
  for (int32_t l = 0; l < grid.envelopes; ++l) {
    const Envelope& envelope = envelopes_[l];
    for (int32_t slot = 2 * grid.border[l]; slot < 2 * grid.border[l + 1]; ++slot, ++at) {
      const Row *gain = gains[at] = &envelope.gain, *noise = noises[at] = &envelope.noise;
      if (envelope.sudden) {
        noise = &kNoNoise;
      } else if (header.smooth && gains[at - kPast] != gain) {
        smooth(&gains[at], bands.count(), smoothGain);
        smooth(&noises[at], bands.count(), smoothNoise);
        gain = &smoothGain;
        noise = &smoothNoise;
      }
      mix(bands, *gain, *noise, envelope.sine, high[slot]);
    }
  }
  for (int32_t i = 0; i < kPast; ++i) {
    pastGain_[i] = *gains[at - kPast + i];
    pastNoise_[i] = *noises[at - kPast + i];
  }
}

// One slot: what was generated times its gain, with noise or a sinusoid added.
void Adjuster::mix(const Bands& bands, const Row& gain, const Row& noise, const Row& sines, HighRow& high) {
  static constexpr Array<float, 4> kSineRe = {1, 0, -1, 0}, kSineIm = {0, 1, 0, -1};
  const float sineRe = kSineRe[sineIndex_], sineIm = kSineIm[sineIndex_];
  const float* const signs = kAlternating.data() + bands.begin() % 2;
  const Mox32fc* const random = kNoise.data() + (noiseIndex_ + 1) % 512;
  Mox32fc* const row = high + bands.begin();
  const int32_t count = bands.count();
  for (int32_t m = 0; m < count; ++m) {
    const float sine = sines[m], level = sine != 0 ? 0 : noise[m];
    row[m].re = gain[m] * row[m].re + level * random[m].re + sine * sineRe;
    row[m].im = gain[m] * row[m].im + level * random[m].im + sine * signs[m] * sineIm;
  }
  noiseIndex_ = (noiseIndex_ + count) % 512;
  sineIndex_ = (sineIndex_ + 1) % 4;
}

}  // namespace moxc::sbr
