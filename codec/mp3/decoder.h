// MPEG audio Layer III as an AudioDecoder.
#pragma once

#include <memory>

#include "codec/decoder.h"
#include "codec/stream/tags.h"

namespace mox {

// Nothing when the bytes hold no Layer III stream. The tags only serve describe().
std::unique_ptr<AudioDecoder> openMp3(const TaggedAudio& tagged, const DecodeOptions& options);

}  // namespace mox
