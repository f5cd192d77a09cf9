// Pictures in memory, text in them, and PNG files.
#include "mox/picture/picture.h"

#include <png.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "mox/files/failure.h"

namespace mox {
namespace {

// Five columns of seven points, the topmost in the lowest bit.
struct Glyph {
  char letter;
  uint8_t columns[5];
};

constexpr Glyph kGlyphs[] = {
    {'(', {0x00, 0x1C, 0x22, 0x41, 0x00}}, {')', {0x00, 0x41, 0x22, 0x1C, 0x00}},
    {'-', {0x08, 0x08, 0x08, 0x08, 0x08}}, {'.', {0x00, 0x60, 0x60, 0x00, 0x00}},
    {':', {0x00, 0x36, 0x36, 0x00, 0x00}}, {'0', {0x3E, 0x51, 0x49, 0x45, 0x3E}},
    {'1', {0x00, 0x42, 0x7F, 0x40, 0x00}}, {'2', {0x42, 0x61, 0x51, 0x49, 0x46}},
    {'3', {0x21, 0x41, 0x45, 0x4B, 0x31}}, {'4', {0x18, 0x14, 0x12, 0x7F, 0x10}},
    {'5', {0x27, 0x45, 0x45, 0x45, 0x39}}, {'6', {0x3C, 0x4A, 0x49, 0x49, 0x30}},
    {'7', {0x01, 0x71, 0x09, 0x05, 0x03}}, {'8', {0x36, 0x49, 0x49, 0x49, 0x36}},
    {'9', {0x06, 0x49, 0x49, 0x29, 0x1E}}, {'B', {0x7F, 0x49, 0x49, 0x49, 0x36}},
    {'H', {0x7F, 0x08, 0x08, 0x08, 0x7F}}, {'c', {0x38, 0x44, 0x44, 0x44, 0x20}},
    {'d', {0x38, 0x44, 0x44, 0x48, 0x7F}}, {'e', {0x38, 0x54, 0x54, 0x54, 0x18}},
    {'f', {0x08, 0x7E, 0x09, 0x01, 0x02}}, {'i', {0x00, 0x44, 0x7D, 0x40, 0x00}},
    {'k', {0x7F, 0x10, 0x28, 0x44, 0x00}}, {'l', {0x00, 0x41, 0x7F, 0x40, 0x00}},
    {'m', {0x7C, 0x04, 0x18, 0x04, 0x78}}, {'n', {0x7C, 0x08, 0x04, 0x04, 0x78}},
    {'q', {0x08, 0x14, 0x14, 0x18, 0x7C}}, {'r', {0x7C, 0x08, 0x04, 0x04, 0x08}},
    {'s', {0x48, 0x54, 0x54, 0x54, 0x20}}, {'t', {0x04, 0x3F, 0x44, 0x40, 0x20}},
    {'u', {0x3C, 0x40, 0x40, 0x20, 0x7C}}, {'v', {0x1C, 0x20, 0x40, 0x20, 0x1C}},
    {'y', {0x0C, 0x50, 0x50, 0x50, 0x3C}}, {'z', {0x44, 0x64, 0x54, 0x4C, 0x44}},
};

constexpr int kPoint = 2;  // pixels of a glyph's point

// libpng reports through this instead of printing.
struct PngTarget {
  int descriptor;
  std::string error;
};

void pngWrite(png_structp png, png_bytep data, size_t size) {
  const int descriptor = static_cast<PngTarget*>(png_get_io_ptr(png))->descriptor;
  while (size > 0) {
    const ssize_t put = ::write(descriptor, data, size);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) png_error(png, std::strerror(errno));
    data += put;
    size -= static_cast<size_t>(put);
  }
}

[[noreturn]] void pngFail(png_structp png, png_const_charp message) {
  static_cast<PngTarget*>(png_get_error_ptr(png))->error = message;
  png_longjmp(png, 1);
}

void pngWarn(png_structp, png_const_charp) {}

// Everything between here and libpng's jump back is plain data, so nothing is lost by the jump.
bool encode(png_structp png, png_infop info, PngTarget& target, const Picture& picture, const char* title) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_write_fn(png, &target, pngWrite, [](png_structp) {});
  png_set_IHDR(png, info, static_cast<png_uint_32>(picture.width()),
               static_cast<png_uint_32>(picture.height()), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_text text{};
  char key[] = "Title";
  text.compression = PNG_ITXT_COMPRESSION_NONE;
  text.key = key;
  text.text = const_cast<char*>(title);
  png_set_text(png, info, &text, 1);
  png_write_info(png, info);
  for (int y = 0; y < picture.height(); ++y) png_write_row(png, picture.row(y));
  png_write_end(png, info);
  return true;
}

}  // namespace

Picture::Picture(int width, int height, Colour background)
    : width_(width), height_(height), pixels_(static_cast<size_t>(width) * static_cast<size_t>(height) * 3) {
  fill(0, 0, width, height, background);
}

void Picture::set(int x, int y, Colour colour) {
  if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
  std::copy(colour.begin(), colour.end(), pixels_.begin() + (static_cast<ptrdiff_t>(y) * width_ + x) * 3);
}

void Picture::fill(int x, int y, int width, int height, Colour colour) {
  for (int j = 0; j < height; ++j)
    for (int i = 0; i < width; ++i) set(x + i, y + j, colour);
}

void Picture::text(int x, int y, const std::string& text, Colour colour, bool upwards) {
  for (const char letter : text) {
    const auto* const glyph = std::find_if(std::begin(kGlyphs), std::end(kGlyphs),
                                           [&](const Glyph& g) { return g.letter == letter; });
    for (int i = 0; glyph != std::end(kGlyphs) && i < 5; ++i)
      for (int j = 0; j < 7; ++j)
        if ((glyph->columns[i] >> j & 1) != 0)
          fill(upwards ? x + j * kPoint : x + i * kPoint, upwards ? y - (i + 1) * kPoint : y + j * kPoint,
               kPoint, kPoint, colour);
    (upwards ? y : x) += upwards ? -kLetterWidth : kLetterWidth;
  }
}

void writePng(int descriptor, const Picture& picture, const std::string& title) {
  PngTarget target{descriptor, {}};
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &target, pngFail, pngWarn);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  const bool done = info != nullptr && encode(png, info, target, picture, title.c_str());
  png_destroy_write_struct(&png, &info);
  if (!done)
    throw Failure("writing PNG: " + (target.error.empty() ? std::string("out of memory") : target.error));
}

}  // namespace mox
