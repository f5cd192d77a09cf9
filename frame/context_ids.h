// The word that tells one kind of context from another. Tagged contexts read 'C','M','A' and a letter in
// memory order reversed; numbered ones carry a small integer.
#pragma once

#include <cstdint>

namespace moxac {

enum class ContextId : uint32_t {
  // Tagged contexts.
  sbrAnalysisComplexInterleaved = 0x434D4156,  // RToC_32f32fc
  sbrAnalysisComplexSplit = 0x434D4157,        // RToC_32f
  sbrAnalysisReal = 0x434D4158,
  sbrSynthesisComplexInterleaved = 0x434D4159,  // CToR_32fc32f
  sbrSynthesisComplexSplit = 0x434D415A,        // CToR_32f
  sbrSynthesisReal = 0x434D415B,
  sbrSynthesisDownComplexInterleaved = 0x434D415C,
  sbrSynthesisDownComplexSplit = 0x434D415D,
  sbrSynthesisDownReal = 0x434D415E,
  vlcEncoder = 0x434D415F,
  vlcDecoder = 0x434D4160,
  sbrFixedAnalysisHq = 0x434D4161,
  sbrFixedAnalysisLp = 0x434D4162,
  sbrFixedSynthesisHq = 0x434D4163,
  sbrFixedSynthesisLp = 0x434D4164,
  sbrFixedSynthesisDownHq = 0x434D4165,
  sbrFixedSynthesisDownLp = 0x434D4166,
  mp3Synthesis = 0x434D4167,
  mp3Analysis = 0x434D4168,
  // 0x434D4169 belongs to no context.
  sbrEncoderAnalysis = 0x434D416A,
  dtsSynthesis = 0x434D416B,
  vqCodeBook = 0x434D416C,

  // Numbered contexts.
  cleared = 0,
  fft16s = 1,
  fftComplex = 4,
  sbrAnalysisComplexTransform = 5,
  sbrSynthesisRealTransform = 21,
  sbrAnalysisRealTransform = 22,  // also the DTS bank's
  mdctForward = 55,
  mdctInverse = 56,
  mdctForward16s = 57,
  firBlock = 58,
  fdpState = 59,
};

}  // namespace moxac
