// An RGB picture, lettering, and PNG files.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace mox {

using Colour = std::array<uint8_t, 3>;

class Picture {
 public:
  static constexpr int kLetterWidth = 12, kLetterHeight = 14;  // advance and height of text

  Picture(int width, int height, Colour background);

  int width() const { return width_; }
  int height() const { return height_; }
  const uint8_t* row(int y) const { return &pixels_[static_cast<size_t>(y * width_) * 3]; }
  Colour at(int x, int y) const { return {row(y)[3 * x], row(y)[3 * x + 1], row(y)[3 * x + 2]}; }

  // Points outside the picture are left out. (0, 0) is the upper left corner.
  void set(int x, int y, Colour colour);
  void fill(int x, int y, int width, int height, Colour colour);

  // Digits, a few marks, and the letters that the axes use; others leave a gap. (x, y) is the upper left
  // corner of the text, or the lower left one of text that runs upwards.
  void text(int x, int y, const std::string& text, Colour colour, bool upwards = false);
  static int textWidth(const std::string& text) { return static_cast<int>(text.size()) * kLetterWidth - 2; }

 private:
  int width_, height_;
  std::vector<uint8_t> pixels_;
};

// Writes the picture to a descriptor, which stays the caller's. Throws Failure.
void writePng(int descriptor, const Picture& picture, const std::string& title);

}  // namespace mox
