#include "fuzz/mp3_encode_driver.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  moxac::fuzzMp3Encode(data, size);
  return 0;
}
