// MPEG audio Layer III as an AudioDecoder.
#pragma once

#include <memory>

#include "codec/decoder.h"
#include "codec/stream/tags.h"

namespace moxc::mp3 {

// Nothing when the bytes hold no Layer III stream. The tags only serve describe().
std::unique_ptr<AudioDecoder> openDecoder(const TaggedAudio& tagged, const DecodeOptions& options);

}  // namespace moxc::mp3
