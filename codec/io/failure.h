// What ends the reading or writing of a stream.
#pragma once

#include <stdexcept>

namespace moxc {

// The input cannot be used, or the output not written: one line of text.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace moxc
