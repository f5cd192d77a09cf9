// The program's AAC decoder: the bytes as they are, or as the blocks of ADTS frames made around them, which spares
// the fuzzer to find headers. tests/data/streams is a good corpus for the first form.
#include "codec/decode_bytes.h"
#include "codec/stream/adts_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  moxtest::DecodeOptions options{(data[size - 1] & 1) != 0, false};
  if ((data[size - 1] & 4) != 0) {  // in pieces of random lengths
    options.piece = 0;
    options.seed = data[size - 1];
  }
  if ((data[size - 1] & 2) != 0)
    (void)moxtest::decodeBytes({data, size}, options);
  else
    (void)moxtest::decodeBytes(moxtest::wrapInAdts({data, size}), options);
  return 0;
}
