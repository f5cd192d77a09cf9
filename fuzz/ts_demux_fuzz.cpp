// Transport and program streams in pieces of any size: whatever the bytes are, what comes out is the same as of the
// whole.
#include "codec/stream/demux.h"
#include "codec/stream/mpeg_ts.h"
#include "codec/stream/pes.h"
#include "fuzz/fuzz_input.h"

namespace {

template <class Container>
void run(moxc::Bytes input, uint8_t choice) {
  const bool seekable = (choice & 2) != 0;
  Container whole, pieces;
  if (seekable) {
    whole.setSeekable(static_cast<int64_t>(input.size()));
    pieces.setSeekable(static_cast<int64_t>(input.size()));
  }
  const moxtest::Demuxed expected = moxtest::demux(whole, input, moxtest::wholeInput(), seekable);
  moxfuzz::require(expected.sameAs(moxtest::demux(pieces, input, moxtest::randomPieces(choice), seekable)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const moxc::Bytes input(data, size - 1);
  const uint8_t choice = data[size - 1];
  if ((choice & 1) != 0)
    run<moxc::MpegTsDemuxer>(input, choice);
  else
    run<moxc::PesDemuxer>(input, choice);
  (void)moxc::findMpegTs(input, (choice & 4) != 0);
  (void)moxc::findPes(input, (choice & 4) != 0);
  return 0;
}
