// Psychoacoustic model two as the annex words it, in double precision with magnitudes and angles, from the tables'
// own files. ISO/IEC 11172-3, Annex C.1.5.3 and D.2.4.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include "mp3/layer3_reference.h"

namespace moxtest {

struct PsychoacousticReference {
  struct Partition {
    int lines;
    double minval, qthr, norm, snr, bval;
  };
  struct Span {
    int first, last;
    double w1, w2;
  };
  std::vector<Partition> longs, shorts;
  std::vector<Span> longBands, shortBands;
  std::vector<double> signal;  // from the first sample on, silence before
  std::vector<double> masked[2], shortMasked;

  explicit PsychoacousticReference(const std::string& rate) {
    const auto number = [](const std::string& cell) { return std::stod(cell); };
    for (const auto& r : csvRows("mp3_psy2_long.csv"))
      if (r[0] == rate)
        longs.push_back({std::stoi(r[2]), number(r[3]), number(r[4]), number(r[5]), 0, number(r[6])});
    for (const auto& r : csvRows("mp3_psy2_short.csv"))
      if (r[0] == rate)
        shorts.push_back({std::stoi(r[2]), 0, number(r[3]), number(r[4]), number(r[5]), number(r[6])});
    for (const auto& r : csvRows("mp3_psy2_sfb_long.csv"))
      if (r[0] == rate) longBands.push_back({std::stoi(r[3]), std::stoi(r[4]), number(r[5]), number(r[6])});
    for (const auto& r : csvRows("mp3_psy2_sfb_short.csv"))
      if (r[0] == rate) shortBands.push_back({std::stoi(r[3]), std::stoi(r[4]), number(r[5]), number(r[6])});
    // Misprints; see the tables' own notes.
    if (rate == "44100") longs[62].bval = 24.542;
    if (rate == "32000") longs[0].qthr = longs[1].qthr = 9.064;
    shortBands[0].last = 3;
    for (auto& m : masked) m.assign(longs.size(), 0);
    shortMasked.assign(shorts.size(), 0);
  }

  static double spreading(double bark, bool above) {
    const double d = bark * (above ? 3 : 1.5);
    const double x = 8 * std::min((d - 0.5) * (d - 0.5) - 2 * (d - 0.5), 0.0);
    const double y = 15.811389 + 7.5 * (d + 0.474) - 17.5 * std::sqrt(1 + (d + 0.474) * (d + 0.474));
    return y < -100 ? 0 : std::pow(10, (x + y) / 10);
  }

  static std::vector<double> spread(const std::vector<Partition>& p, const std::vector<double>& e) {
    std::vector<double> out(p.size());
    for (size_t i = 0; i < p.size(); ++i)
      for (size_t j = 0; j < p.size(); ++j)
        out[i] += p[i].norm * e[j] * spreading(p[i].bval - p[j].bval, j >= i);
    return out;
  }

  // Hann-windowed spectrum of `points` samples around a centre; a sine of half a step has energy 1.
  std::vector<std::complex<double>> spectrum(int64_t centre, int points) const {
    std::vector<std::complex<double>> lines(static_cast<size_t>(points / 2 + 1));
    for (int k = 0; k <= points / 2; ++k)
      for (int n = 0; n < points; ++n) {
        const int64_t at = centre - points / 2 + n;
        if (at < 0 || at >= std::ssize(signal)) continue;
        const double window = 0.5 - 0.5 * std::cos(2 * M_PI * (n + 0.5) / points);
        lines[static_cast<size_t>(k)] += signal[static_cast<size_t>(at)] * window *
                                         std::polar(8.0 / points, -2 * M_PI * (k * n % points) / points);
      }
    return lines;
  }

  static double unpredictability(std::complex<double> x, std::complex<double> x1, std::complex<double> x2) {
    const double r = 2 * std::abs(x1) - std::abs(x2), f = 2 * std::arg(x1) - std::arg(x2);
    const double total = std::abs(x) + std::abs(r);
    return total == 0 ? 1 : std::abs(x - r * std::polar(1.0, f)) / total;
  }

  static double band(const std::vector<double>& p, const Span& s) {
    double sum = s.w1 * p[static_cast<size_t>(s.first)] + s.w2 * p[static_cast<size_t>(s.last)];
    for (int b = s.first + 1; b < s.last; ++b) sum += p[static_cast<size_t>(b)];
    return sum;
  }

  // Thresholds of long bands, granule by granule; the transform of granule g is centred at 576 g - 240.
  std::vector<double> nextLong(int64_t granule, bool afterShort, std::vector<double>& energies) {
    const int64_t centre = 576 * granule - 240;
    const auto x = spectrum(centre, 1024), x1 = spectrum(centre - 576, 1024),
               x2 = spectrum(centre - 1152, 1024);
    const auto s = spectrum(centre, 256), s1 = spectrum(centre - 192, 256), s2 = spectrum(centre - 384, 256);
    std::vector<double> e(longs.size()), c(longs.size()), threshold(longs.size());
    size_t line = 0;
    for (size_t b = 0; b < longs.size(); ++b)
      for (const size_t end = line + static_cast<size_t>(longs[b].lines); line < end; ++line) {
        const size_t k = (line + 2) / 4;
        const double chaos = line < 6     ? unpredictability(x[line], x1[line], x2[line])
                             : line < 206 ? unpredictability(s[k], s1[k], s2[k])
                                          : 0.4;
        e[b] += std::norm(x[line]);
        c[b] += std::norm(x[line]) * chaos;
      }
    const auto spreadE = spread(longs, e), spreadC = spread(longs, c);
    for (size_t b = 0; b < longs.size(); ++b) {
      const double tonality = std::clamp(-0.299 - 0.43 * std::log(spreadC[b] / spreadE[b]), 0.0, 1.0);
      const double snr = std::max(longs[b].minval, 29 * tonality + 6 * (1 - tonality));
      const double now = spreadE[b] * std::pow(10, -snr / 10);
      threshold[b] =
          std::max(longs[b].qthr, afterShort ? now : std::min({now, 2 * masked[0][b], 16 * masked[1][b]}));
      masked[1][b] = masked[0][b];
      masked[0][b] = now;
    }
    std::vector<double> out;
    energies.clear();
    for (const Span& span : longBands) {
      out.push_back(band(threshold, span));
      energies.push_back(band(e, span));
    }
    return out;
  }

  // Thresholds of short bands, window by window: not more than twice that of the window before.
  std::vector<double> nextShort(int64_t granule, int window, std::vector<double>& energies) {
    const auto x = spectrum(576 * granule - 240 + 192 * (window - 1), 256);
    std::vector<double> e(shorts.size());
    size_t line = 0;
    for (size_t b = 0; b < shorts.size(); ++b)
      for (int i = 0; i < shorts[b].lines; ++i) e[b] += std::norm(x[line++]);
    std::vector<double> threshold = spread(shorts, e), out;
    for (size_t b = 0; b < shorts.size(); ++b) {
      const double now = threshold[b] * std::pow(10, shorts[b].snr / 10);
      threshold[b] = std::max(shorts[b].qthr, std::min(now, 2 * shortMasked[b]));
      shortMasked[b] = now;
    }
    energies.clear();
    for (const Span& span : shortBands) {
      out.push_back(band(threshold, span));
      energies.push_back(band(e, span));
    }
    return out;
  }
};

}  // namespace moxtest
