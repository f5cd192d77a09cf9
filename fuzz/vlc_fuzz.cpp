#include "fuzz/vlc_driver.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  moxac::fuzzVlc(data, size);
  return 0;
}
