// The table of the AAC standard that a decoder needs beside the library's, and those.
#pragma once

#include <cstdint>

#include "moxac/tables.h"

namespace moxc::aac {

// The scale-factor code as the rows of a VLC code book: index, code word, length.
extern const int32_t kScaleFactorRows[121][3];

}  // namespace moxc::aac
