// Draws levels over time and frequency, with axes and a scale.
#include "mox/picture/level_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace mox {
namespace {

constexpr Colour kPaper = {255, 255, 255}, kInk = {32, 32, 32};
constexpr int kTickLength = 6, kGap = 4, kBarWidth = 20, kBarGap = 24;

constexpr Colour kHeat[] = {{0, 0, 4},     {40, 11, 84},   {101, 21, 110}, {159, 42, 99},
                            {212, 72, 66}, {245, 125, 21}, {250, 193, 39}, {252, 255, 164}};

// The smallest of 1, 2 and 5 times a power of ten that is at least `step`.
double roundStep(double step) {
  const double power = std::pow(10.0, std::floor(std::log10(step)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (factor * power >= step * (1 - 1e-9)) return factor * power;
  return 10 * power;
}

double minuteStep(double step) {
  for (const double seconds : {1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600})
    if (seconds >= step) return seconds;
  return 3600 * roundStep(step / 3600);
}

template <class Label>
std::vector<Tick> ticksAt(double first, double last, double step, const Label& label) {
  std::vector<Tick> found;
  for (double i = std::ceil(first / step - 1e-9); i * step <= last + 1e-9 * step; ++i)
    found.push_back({(i * step - first) / (last - first), label(i * step)});
  return found;
}

std::string fixedPoint(double value, int digits) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", digits, value == 0 ? 0.0 : value);
  return text;
}

void drawTimeAxis(Picture& picture, int width, int bottom, double seconds) {
  const bool minutes = seconds >= 120;
  const std::string name = minutes ? "time (min:s)" : "time (s)";
  for (const Tick& tick : minutes ? minuteTicks(seconds, width / 100) : ticks(0, seconds, width / 100)) {
    const int x = ChartLayout::kLeft + static_cast<int>(std::lround(tick.position * width));
    picture.fill(x, bottom, 1, kTickLength, kInk);
    picture.text(x - Picture::textWidth(tick.label) / 2, bottom + kTickLength + kGap, tick.label, kInk);
  }
  picture.text(ChartLayout::kLeft + (width - Picture::textWidth(name)) / 2,
               bottom + kTickLength + 2 * kGap + Picture::kLetterHeight + 2, name, kInk);
}

void drawFrequencyAxis(Picture& picture, int height, double hertz) {
  const std::string name = "frequency (kHz)";
  for (const Tick& tick : ticks(0, hertz / 1000, height / 40)) {
    const int y = ChartLayout::kTop + static_cast<int>(std::lround((1 - tick.position) * height));
    picture.fill(ChartLayout::kLeft - kTickLength, y, kTickLength, 1, kInk);
    picture.text(ChartLayout::kLeft - kTickLength - kGap - Picture::textWidth(tick.label),
                 y - Picture::kLetterHeight / 2, tick.label, kInk);
  }
  picture.text(kGap, ChartLayout::kTop + (height + Picture::textWidth(name)) / 2, name, kInk, true);
}

void drawColourBar(Picture& picture, int left, int height, const ChartScale& scale) {
  const int y0 = ChartLayout::kTop;
  for (int y = 0; y < height; ++y) picture.fill(left, y0 + y, kBarWidth, 1, heat(1 - (y + 0.5) / height));
  for (const Tick& tick : ticks(scale.top - scale.decibels, scale.top, height / 40)) {
    const int y = y0 + static_cast<int>(std::lround((1 - tick.position) * height));
    picture.fill(left + kBarWidth, y, kTickLength, 1, kInk);
    picture.text(left + kBarWidth + kTickLength + kGap, y - Picture::kLetterHeight / 2, tick.label, kInk);
  }
  picture.text(left, y0 + height + kTickLength + kGap, "dB", kInk);
}

}  // namespace

Colour heat(double level) {
  constexpr int kLast = static_cast<int>(std::size(kHeat)) - 1;
  const double place = std::clamp(level, 0.0, 1.0) * kLast;
  const int below = std::min(static_cast<int>(place), kLast - 1);
  Colour colour{};
  for (size_t i = 0; i < colour.size(); ++i) {
    const double a = kHeat[below][i], b = kHeat[below + 1][i];
    colour[i] = static_cast<uint8_t>(std::lround(a + (place - below) * (b - a)));
  }
  return colour;
}

std::vector<Tick> ticks(double first, double last, int most) {
  const double step = roundStep((last - first) / std::max(most, 1));
  const int digits = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-9)));
  return ticksAt(first, last, step, [&](double value) { return fixedPoint(value, digits); });
}

std::vector<Tick> minuteTicks(double seconds, int most) {
  return ticksAt(0, seconds, minuteStep(seconds / std::max(most, 1)), [](double value) {
    const auto whole = static_cast<long>(std::lround(value));
    char text[64];
    std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return std::string(text);
  });
}

Picture levelChart(const LevelMap& map, const ChartScale& scale) {
  using L = ChartLayout;
  Picture picture(L::kLeft + map.columns + L::kRight, L::kTop + map.rows + L::kBottom, kPaper);
  for (int x = 0; x < map.columns; ++x)
    for (int y = 0; y < map.rows; ++y)
      picture.set(L::kLeft + x, L::kTop + map.rows - 1 - y,
                  heat((map.at(x, y) - scale.top) / scale.decibels + 1));
  drawTimeAxis(picture, map.columns, L::kTop + map.rows, scale.seconds);
  drawFrequencyAxis(picture, map.rows, scale.hertz);
  drawColourBar(picture, L::kLeft + map.columns + kBarGap, map.rows, scale);
  return picture;
}

}  // namespace mox
