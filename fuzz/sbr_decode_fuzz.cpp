// The program's spectral band replication and parametric stereo on arbitrary payloads.
#include "codec/sbr/sbr_payloads.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  (void)moxtest::runPayloads({data, std::min<size_t>(size, 4096)});
  return 0;
}
