// A level map as a picture with axes and a colour bar.
#pragma once

#include <string>
#include <vector>

#include "mox/picture/picture.h"
#include "mox/picture/spectrogram.h"

namespace mox {

struct ChartScale {
  double seconds;   // along the time axis
  double hertz;     // along the frequency axis
  double top;       // dB of the brightest colour
  double decibels;  // from there down to black
};

// Where the chart draws the map: one pixel for each of its cells.
struct ChartLayout {
  static constexpr int kLeft = 84, kTop = 16, kRight = 116, kBottom = 60;
};

// Black through violet and red to pale yellow, ever lighter; 0..1, clamped.
Colour heat(double level);

struct Tick {
  double position;  // 0..1 of the axis
  std::string label;
};

// Round values from first to last, at most `most` + 1 of them.
std::vector<Tick> ticks(double first, double last, int most);
// The same in minutes and seconds.
std::vector<Tick> minuteTicks(double seconds, int most);

Picture levelChart(const LevelMap& map, const ChartScale& scale);

}  // namespace mox
