// The program's decoder over arbitrary bytes; tests/data/streams is a good corpus.
#include "codec/decode_bytes.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The last byte chooses the options, so that mutation reaches both back ends.
  moxtest::DecodeOptions options{(data[size - 1] & 1) != 0, (data[size - 1] & 2) != 0};
  if ((data[size - 1] & 4) != 0) {  // in pieces of random lengths
    options.piece = 0;
    options.seed = data[size - 1];
  }
  (void)moxtest::decodeBytes({data, size}, options);
  return 0;
}
