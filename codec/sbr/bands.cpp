// Frequency tables from a header.
#include "codec/sbr/bands.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "codec/sbr/tables.h"

namespace moxc::sbr {
namespace {

int32_t nearest(double value) { return static_cast<int32_t>(std::lround(value)); }

// Widths of bands between `from` and `to` whose borders grow by equal factors, narrowest first.
std::vector<int32_t> geometricWidths(int32_t from, int32_t to, int32_t bands) {
  std::vector<int32_t> widths;
  for (int32_t b = 0, border = from; b < bands; ++b) {
    const int32_t next = nearest(from * std::pow(static_cast<double>(to) / from, (b + 1.0) / bands));
    widths.push_back(next - border);
    border = next;
  }
  std::sort(widths.begin(), widths.end());
  return widths;
}

int32_t evenBands(double bandsPerOctave, int32_t from, int32_t to) {
  return 2 * nearest(bandsPerOctave * std::log2(static_cast<double>(to) / from) / 2);
}

}  // namespace

Header Header::read(BitReader& bits) {
  const auto field = [&bits](int32_t count) { return static_cast<int32_t>(bits.bits(count)); };
  Header header;
  header.coarse = bits.flag();
  header.spectrum.startFreq = field(4);
  header.spectrum.stopFreq = field(4);
  header.spectrum.xoverBand = field(3);
  field(2);  // reserved
  const bool extra1 = bits.flag(), extra2 = bits.flag();
  if (extra1) {
    header.spectrum.freqScale = field(2);
    header.spectrum.alterScale = field(1);
    header.spectrum.noiseBands = field(2);
  }
  if (extra2) {
    header.limiterBands = field(2);
    header.limiterGains = field(2);
    header.interpolate = bits.flag();
    header.smooth = !bits.flag();
  }
  return header;
}

bool Borders::has(int32_t border) const {
  const auto all = std::span(at).first(static_cast<size_t>(bands) + 1);
  return std::find(all.begin(), all.end(), border) != all.end();
}

bool Bands::make(const Header& header, int32_t rate) {
  const auto limits =
      std::find_if(std::begin(kRates), std::end(kRates), [&](const Rate& r) { return r.hz == rate; });
  if (limits == std::end(kRates)) return false;
  const Header::Spectrum& spectrum = header.spectrum;
  firstBand = limits->firstBand[spectrum.startFreq];
  const int32_t behindBand = spectrum.stopFreq < 14 ? limits->behindBand[spectrum.stopFreq]
                                                    : std::min(64, (spectrum.stopFreq - 12) * firstBand);
  if (behindBand <= firstBand || behindBand - firstBand > limits->maxBands) return false;
  if (!makeMaster(spectrum, behindBand) || spectrum.xoverBand >= master.bands) return false;

  high = low = noise = {};
  high.at[0] = low.at[0] = noise.at[0] = master[spectrum.xoverBand];
  for (int32_t b = spectrum.xoverBand; b < master.bands; ++b) high.add(master[b + 1]);
  if (begin() > 32 || high.bands > kMaxBands) return false;
  // Two bands make one, but an odd one in front stays alone.
  for (int32_t b = 2 - high.bands % 2; b <= high.bands; b += 2) low.add(high[b]);

  const int32_t noiseBands =
      std::max(1, nearest(spectrum.noiseBands * std::log2(static_cast<double>(behindBand) / begin())));
  if (noiseBands > std::min(kMaxNoiseBands, low.bands)) return false;
  for (int32_t b = 0, at = 0; b < noiseBands; ++b) {
    at += (low.bands - at) / (noiseBands - b);
    noise.add(low[at]);
  }
  if (!makePatches(limits->goalBand)) return false;
  makeLimiter(header.limiterBands);
  return true;
}

// 4.6.18.3.2.1: bands of one or two sub-bands, or of so many bands an octave.
bool Bands::makeMaster(const Header::Spectrum& spectrum, int32_t behindBand) {
  std::vector<int32_t> widths;
  const int32_t span = behindBand - firstBand;
  if (spectrum.freqScale == 0) {
    const int32_t width = 1 + spectrum.alterScale;
    const int32_t bands = 2 * (width == 1 ? span / 2 : nearest(span / 4.0));
    if (bands == 0) return false;
    widths.assign(static_cast<size_t>(bands), width);
    // What is left over widens bands from the top, what is too much narrows them from the bottom.
    int32_t left = span - bands * width;
    for (size_t b = widths.size(); left > 0; --left) ++widths[--b];
    for (size_t b = 0; left < 0; ++left) --widths[b++];
  } else {
    constexpr double kTwoRegions = 2.2449, kWarp = 1.3;
    const double perOctave = 14 - 2 * spectrum.freqScale;
    const bool twoRegions = static_cast<double>(behindBand) / firstBand > kTwoRegions;
    const int32_t middle = twoRegions ? 2 * firstBand : behindBand;
    const int32_t lower = evenBands(perOctave, firstBand, middle);
    if (lower == 0) return false;
    widths = geometricWidths(firstBand, middle, lower);
    if (twoRegions) {
      const int32_t upper =
          evenBands(spectrum.alterScale != 0 ? perOctave / kWarp : perOctave, middle, behindBand);
      if (upper == 0) return false;
      std::vector<int32_t> above = geometricWidths(middle, behindBand, upper);
      if (above.front() < widths.back()) {  // widths shall not fall where the regions meet
        const int32_t change = std::min(widths.back() - above.front(), (above.back() - above.front()) / 2);
        above.front() += change;
        above.back() -= change;
        std::sort(above.begin(), above.end());
      }
      widths.insert(widths.end(), above.begin(), above.end());
    }
  }
  if (widths.size() > 64 || *std::min_element(widths.begin(), widths.end()) < 1) return false;
  master = {};
  master.at[0] = firstBand;
  for (const int32_t width : widths) master.add(master.end() + width);
  return master.end() == behindBand;
}

// 4.6.18.6.3: from which sub-bands the high band is made. A patch takes an even way, so that frequencies keep their
// direction within a sub-band.
bool Bands::makePatches(int32_t goalBand) {
  const int32_t end = high.end();
  int32_t done = begin();  // what lies below has its source
  int32_t sourceEnd = firstBand;
  int32_t k = master.bands;
  if (goalBand < end) {
    k = 0;
    while (master[k] < goalBand) ++k;
  }
  numPatches = 0;
  int32_t top;
  for (int round = 0;; ++round) {
    if (round == 2 * Borders{}.at.size()) return false;
    int32_t b = k, odd;
    for (;; --b) {
      if (b < 0) return false;
      top = master[b];
      odd = (top - 2 + firstBand) % 2;
      if (top <= firstBand - 1 + sourceEnd - odd) break;
    }
    const int32_t count = top - done;
    if (count > 0) {
      const int32_t from = firstBand - odd - count;
      if (from < 0 || numPatches == static_cast<int32_t>(patches.size())) return false;
      patches[numPatches++] = {from, done, count};
      done = sourceEnd = top;
    } else {
      sourceEnd = begin();
    }
    if (top == end) break;
    if (master[k] - top < 3) k = master.bands;
  }
  if (numPatches > 1 && patches[numPatches - 1].count < 3) --numPatches;
  return numPatches > 0;
}

// 4.6.18.3.2.3: the borders of the low resolution and of the patches, less those that stand too close.
void Bands::makeLimiter(int32_t limiterBands) {
  limiter = {};
  limiter.at[0] = begin();
  if (limiterBands == 0) {
    limiter.add(high.end());
    return;
  }
  constexpr double kPerOctave[] = {0, 1.2, 2, 3};
  Borders patchBorders;
  patchBorders.at[0] = begin();
  for (int32_t p = 1; p < numPatches; ++p) patchBorders.add(patches[p].to);
  patchBorders.add(high.end());  // above the last patch, if a short one was left out
  std::vector<int32_t> borders(low.at.begin(), low.at.begin() + low.bands + 1);
  for (int32_t p = 1; p < patchBorders.bands; ++p) borders.push_back(patchBorders[p]);
  std::sort(borders.begin(), borders.end());

  for (size_t k = 1; k < borders.size();) {
    const int32_t below = borders[k - 1], border = borders[k];
    const bool far = std::log2(static_cast<double>(border) / below) * kPerOctave[limiterBands] >= 0.49;
    // Of two that are close the patch's border stays; of two patches' both do.
    if (far || (border != below && patchBorders.has(border) && patchBorders.has(below)))
      ++k;
    else
      borders.erase(borders.begin() +
                    static_cast<ptrdiff_t>(border != below && patchBorders.has(border) ? k - 1 : k));
  }
  for (size_t k = 1; k < borders.size(); ++k) limiter.add(borders[k]);
}

}  // namespace moxc::sbr
