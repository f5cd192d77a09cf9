// Psychoacoustic model two. ISO/IEC 11172-3, Annex C.1.5.3 and Annex D.2.4.
#include <cstdint>

#include "frame/align.h"
#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/encoder_parameters.h"
#include "mp3/header_fields.h"
#include "mp3/psychoacoustic_kernels.h"

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsPsychoacousticModelTwo_MP3_16s(const int16_t* pSrcAudioIn,
                                             MoxMp3PsychoacousticModelTwoAnalysis* pDstPsyInfo,
                                             const MoxMp3FrameHeader* pFrameHeader,
                                             const MoxMp3EncoderParameters* pParameters,
                                             MoxMp3PsychoacousticModelTwoState* pState) {
  MOX_REQUIRE(notNull(pSrcAudioIn, pDstPsyInfo, pFrameHeader, pParameters, pState), moxStatusNullPointer);
  MOX_REQUIRE(pFrameHeader->id == 1, moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(inRange(pFrameHeader->samplingFreq, 0, 2) && inRange(pFrameHeader->mode, 0, 3),
              moxStatusMp3FrameHeaderErr);
  MOX_REQUIRE(validParameters(*pParameters), moxStatusOutOfRange);

  auto& state = *reinterpret_cast<PsychoacousticState*>(pState);
  const RealTransforms transforms = realTransforms(state);
  const PsychoacousticTables& tables = kPsychoacousticTables[pFrameHeader->samplingFreq];
  const int32_t channels = channelCount(*pFrameHeader);

  bool attack[2] = {};
  MoxMp3PsychoacousticModelTwoAnalysis now[2];
  for (int32_t ch = 0; ch < channels; ++ch)
    attack[ch] = analyzeChannel(state.channel[ch], pSrcAudioIn + ch, channels, tables, *pParameters,
                                transforms, now[ch]);
  if (pFrameHeader->mode == 1) attack[0] = attack[1] = attack[0] || attack[1];

  for (int32_t ch = 0; ch < channels; ++ch) {
    PsychoacousticChannel& channel = state.channel[ch];
    channel.blockType = openBlockType(channel.blockType, channel.pendingShort != 0, attack[ch]);
    channel.pending.blockType = channel.blockType;
    pDstPsyInfo[ch] = channel.pending;
    channel.pending = now[ch];
    channel.pendingShort = attack[ch];
  }
  return moxStatusOk;
}
