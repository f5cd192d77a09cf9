// How the level of a sound spreads over time and frequency.
#pragma once

#include <vector>

#include "mox/picture/sound.h"

namespace mox {

// Level in dB, 0 dB being a sine of full scale. Columns split the sound's duration, rows the frequencies
// from 0 (row 0) to half the sampling rate, both evenly.
struct LevelMap {
  int columns, rows;
  std::vector<float> decibels;

  float& at(int column, int row) { return decibels[static_cast<size_t>(column * rows + row)]; }
  float at(int column, int row) const { return decibels[static_cast<size_t>(column * rows + row)]; }
};

// Frames of about 45 ms under a raised-cosine window, at most half a frame apart; a column holds the mean
// power of its frames, a row the largest of its lines. Throws Failure when the transform cannot be built.
LevelMap levelMap(const MonoSound& sound, int columns, int rows);

}  // namespace mox
