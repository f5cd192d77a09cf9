// What the band-wise spectral tools share: their argument checks and the walk over a grouped spectrum.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aac/band_tables.h"
#include "frame/checks.h"
#include "moxac/aac.h"

namespace moxac::aac {

// The shape of a grouped spectrum as the caller describes it.
struct BandLayout {
  int32_t numWindowGroups;
  const int32_t* windowGroupLen;
  int32_t maxSfb;
  int32_t samplingRateIndex;
  int32_t windowLen;
};

inline bool validWindowLen(int32_t windowLen) { return windowLen == 128 || windowLen == 1024; }

// The windows that the groups hold; 0 unless every group has one and all together no more than a frame's 1 or 8.
inline int32_t countWindows(int32_t numWindowGroups, const int32_t* windowGroupLen, int32_t windowLen) {
  const int32_t frame = 1024 / windowLen;
  if (!inRange(numWindowGroups, 1, frame)) return 0;
  int32_t windows = 0;
  for (int32_t g = 0; g < numWindowGroups; ++g) {
    if (!inRange(windowGroupLen[g], 1, frame - windows)) return 0;
    windows += windowGroupLen[g];
  }
  return windows;
}

inline bool validSamplingRate(int32_t samplingRateIndex) {
  return inRange(samplingRateIndex, 0, MOX_AAC_SAMPLE_RATES - 1);
}

// The checks behind the pointer test; operations without an M/S mode pass validMsMask = true.
inline moxStatus checkBandLayout(const BandLayout& layout, bool validMsMask = true) {
  MOX_REQUIRE(validWindowLen(layout.windowLen), moxStatusAacWinLenError);
  MOX_REQUIRE(countWindows(layout.numWindowGroups, layout.windowGroupLen, layout.windowLen) > 0,
              moxStatusAacWinGrpError);
  MOX_REQUIRE(inRange(layout.maxSfb, 0, MOX_AAC_MAX_SFB_LONG), moxStatusAacMaxSfbError);
  MOX_REQUIRE(validSamplingRate(layout.samplingRateIndex), moxStatusAacSampleRateError);
  MOX_REQUIRE(validMsMask, moxStatusAacMsMaskError);
  MOX_REQUIRE(layout.maxSfb <= swbTable(layout.samplingRateIndex, layout.windowLen).numSwb,
              moxStatusAacMaxSfbError);
  return moxStatusOk;
}

// One band of one window group. Its lines[] are `windows` pieces of `width`, one for each window; every width
// of the standard is a multiple of 4.
struct GroupBand {
  int32_t group;
  int32_t band;
  int32_t index;  // into the per-band arrays: group * maxSfb + band
  int32_t width;
  int32_t windows;
  ptrdiff_t first;  // line in the grouped spectrum

  int32_t lines() const { return width * windows; }
};

// One window group of the frame.
struct WindowGroup {
  int32_t group;
  int32_t windows;
  ptrdiff_t first;

  GroupBand bandOf(const BandLayout& layout, const SwbTable& swb, int32_t band) const {
    return {group,
            band,
            group * layout.maxSfb + band,
            swb.offset[band + 1] - swb.offset[band],
            windows,
            first + ptrdiff_t{swb.offset[band]} * windows};
  }
};

template <class Visit>
void forEachGroup(const BandLayout& layout, Visit&& visit) {
  WindowGroup group{0, 0, 0};
  for (; group.group < layout.numWindowGroups; ++group.group) {
    group.windows = layout.windowGroupLen[group.group];
    visit(group);
    group.first += ptrdiff_t{group.windows} * layout.windowLen;
  }
}

// Calls visit(const GroupBand&) for every coded band, groups one after another.
template <class Visit>
void forEachBand(const BandLayout& layout, Visit&& visit) {
  const SwbTable swb = swbTable(layout.samplingRateIndex, layout.windowLen);
  forEachGroup(layout, [&](const WindowGroup& group) {
    for (int32_t b = 0; b < layout.maxSfb; ++b) visit(group.bandOf(layout, swb, b));
  });
}

// Calls visit(const GroupBand&, window) window by window: the same bands, a group's windows outermost.
template <class Visit>
void forEachWindowBand(const BandLayout& layout, Visit&& visit) {
  const SwbTable swb = swbTable(layout.samplingRateIndex, layout.windowLen);
  forEachGroup(layout, [&](const WindowGroup& group) {
    for (int32_t w = 0; w < group.windows; ++w)
      for (int32_t b = 0; b < layout.maxSfb; ++b) visit(group.bandOf(layout, swb, b), w);
  });
}

}  // namespace moxac::aac
