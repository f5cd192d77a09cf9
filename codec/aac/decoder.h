// AAC in ADTS or ADIF as an AudioDecoder.
#pragma once

#include <memory>

#include "codec/decoder.h"
#include "codec/stream/tags.h"

namespace moxc::aac {

// Nothing when the bytes hold no AAC stream; throws Failure for a kind of AAC that is not decoded. The tags only
// serve describe().
std::unique_ptr<AudioDecoder> openDecoder(const TaggedAudio& tagged, const DecodeOptions& options);

}  // namespace moxc::aac
