// Streams in containers, decoded to the end: their reference audio, and no more than is to be played.
#include <gtest/gtest.h>

#include <cstdlib>

#include "codec/decode_bytes.h"
#include "support/streams.h"

namespace moxtest {
namespace {

int worstOff(const std::vector<int16_t>& got, const std::vector<int16_t>& reference, size_t from) {
  int worst = 0;
  for (size_t i = 0; i < got.size(); ++i) worst = std::max(worst, std::abs(got[i] - reference.at(from + i)));
  return worst;
}

TEST(Containers, DecodeToTheirReferences) {
  for (const std::string name :
       {"latm_44100_stereo.loas", "latm_44100_heaac_v1.loas", "m4a_44100_gapless.m4a",
        "m4a_44100_heaac_fragmented.m4a", "m4a_48000_51_boxes.m4a"}) {
    SCOPED_TRACE(name);
    const Wav reference = readWav(streamPath(name.substr(0, name.rfind('.')) + ".ref.wav"));
    const auto decoded = decodeBytes(readFile(streamPath(name)), {false, true});
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->format.rate, reference.info.samplerate);
    ASSERT_EQ(decoded->s16.size(), reference.samples.size());
    EXPECT_LE(worstOff(decoded->s16, reference.samples, 0), 1);
  }
  // The edit list says: 30000 samples from 1024 on.
  const auto gapless = decodeBytes(readFile(streamPath("m4a_44100_gapless.m4a")));
  ASSERT_TRUE(gapless);
  ASSERT_EQ(gapless->samples, 30000);
  EXPECT_LE(worstOff(gapless->s16, readWav(streamPath("m4a_44100_gapless.ref.wav")).samples, 2 * 1024), 1);
}

}  // namespace
}  // namespace moxtest
