// LATM in pieces of any size: whatever the bytes are, what comes out is the same as of the whole.
#include "codec/stream/demux.h"
#include "codec/stream/latm.h"
#include "fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const moxc::Bytes input(data, size - 1);
  moxc::LatmDemuxer whole, pieces;
  const moxtest::Demuxed expected = moxtest::demux(whole, input, moxtest::wholeInput(), false);
  moxfuzz::require(
      expected.sameAs(moxtest::demux(pieces, input, moxtest::randomPieces(data[size - 1]), false)));
  (void)moxc::findLatm(input, (data[size - 1] & 1) != 0);
  return 0;
}
