#include "fuzz/mp3_parse_driver.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  moxac::fuzzMp3Parse(data, size);
  return 0;
}
