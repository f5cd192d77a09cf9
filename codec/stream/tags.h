// Tags around an MPEG audio stream: ID3v1 (and its extension), ID3v2, APEv1/v2, Lyrics3v2.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "codec/io/bytes.h"

namespace moxc {

struct TaggedAudio {
  Bytes audio;                                // what is left without the tags
  std::vector<std::string> kinds;             // "ID3v2.3", "APEv2", ... in the order found
  std::map<std::string, std::string> fields;  // title, artist, album, year, track, genre; UTF-8
};

// Takes the tags off both ends. A tag whose length runs past the data swallows what is there and no more.
TaggedAudio stripTags(Bytes bytes);

}  // namespace moxc
