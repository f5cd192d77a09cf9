// What the bytes are, and which decoder takes them.
#include "codec/aac/decoder.h"
#include "codec/decoder.h"
#include "codec/io/failure.h"
#include "codec/mp3/decoder.h"
#include "codec/stream/tags.h"

namespace moxc {
namespace {

// Files that people take for something this program reads, and that might hold bytes that look like it.
std::string foreignFormat(Bytes bytes) {
  if (startsWith(bytes, "RIFF") || startsWith(bytes, "RF64")) return "a WAV or other RIFF file";
  if (startsWith(bytes, "fLaC")) return "a FLAC file";
  if (startsWith(bytes, "OggS")) return "an Ogg file";
  if (startsWith(bytes, "\x1A\x45\xDF\xA3")) return "a Matroska or WebM file";
  if (startsWith(bytes, "FORM")) return "an AIFF file";
  return {};
}

}  // namespace

std::unique_ptr<AudioDecoder> openDecoder(Bytes bytes, const DecodeOptions& options,
                                          const std::string& name) {
  if (bytes.empty()) throw Failure(name + ": is empty");
  TaggedAudio tagged = stripTags(bytes);
  std::string foreign = foreignFormat(bytes);
  if (foreign.empty()) foreign = foreignFormat(tagged.audio);
  if (!foreign.empty()) throw Failure(name + ": is " + foreign + ", which is not decoded");

  // Each decoder says whether the bytes are its own. A tag of damaged length may have swallowed the stream,
  // so all bytes are offered in a second round.
  for (const Bytes audio : {tagged.audio, bytes}) {
    tagged.audio = audio;
    try {
      if (std::unique_ptr<AudioDecoder> decoder = aac::openDecoder(tagged, options)) return decoder;
    } catch (const Failure& failure) {
      throw Failure(name + ": " + failure.what());
    }
    if (std::unique_ptr<AudioDecoder> decoder = mp3::openDecoder(tagged, options)) return decoder;
  }
  throw Failure(name + ": holds no MPEG audio Layer III or AAC stream");
}

}  // namespace moxc
