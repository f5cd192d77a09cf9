// MP4 from a file and from a pipe, in pieces of any size: whatever the bytes are, what comes out is the same as of the
// whole, and after a seek it is the rest of that.
#include "codec/stream/demux.h"
#include "codec/stream/mp4.h"
#include "fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const moxc::Bytes input(data, size - 1);
  const uint8_t choice = data[size - 1];
  const bool seekable = (choice & 1) != 0;
  moxc::Mp4Demuxer whole, pieces;
  if (seekable) {
    whole.setSeekable(static_cast<int64_t>(input.size()));
    pieces.setSeekable(static_cast<int64_t>(input.size()));
  }
  const moxtest::Demuxed expected = moxtest::demux(whole, input, moxtest::wholeInput(), seekable);
  const moxtest::Demuxed other = moxtest::demux(pieces, input, moxtest::randomPieces(choice), seekable);
  moxfuzz::require(expected.sameAs(other));
  if (!seekable || expected.packets.empty()) return 0;
  const size_t from = (choice >> 1) % expected.packets.size();
  moxfuzz::require(whole.seek(expected.numbers[from]));
  const moxtest::Demuxed rest =
      moxtest::demux(whole, input, moxtest::wholeInput(), true, expected.packets.size() - from, true);
  moxfuzz::require(std::equal(rest.packets.begin(), rest.packets.end(),
                              expected.packets.begin() + static_cast<ptrdiff_t>(from),
                              expected.packets.end()));
  return 0;
}
