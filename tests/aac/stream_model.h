// Random syntax elements for the parser tests. Each put...() draws an element and changes in the expected record
// exactly what a parser must write; everything else keeps the noise it held. In a replay the element is read.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "aac/bit_writer.h"
#include "moxac/aac.h"
#include "support/block.h"

namespace moxtest {

// A field of any value up to `most`.
inline void put(BitWriter& out, int32_t bits, int32_t& field, int32_t most = INT32_MAX) {
  const auto value = static_cast<int32_t>(drawBits(bits));
  field = out.field(bits, value > most ? value % (most + 1) : value);
}

inline void putGrouping(BitWriter& out, int32_t& grouping, int32_t& groups, int32_t* groupLen) {
  put(out, 7, grouping);
  groups = 0;
  for (int32_t w = 0; w < 8; ++w) {
    if (w == 0 || ((grouping >> (7 - w)) & 1) == 0) groupLen[groups++] = 0;
    ++groupLen[groups - 1];
  }
}

// maxOrder above the limit of the window kind makes some filters fail; returns false after the first of them.
inline bool putTns(BitWriter& out, bool isShort, int32_t maxOrder, MoxAacTnsInfo& tns) {
  put(out, 1, tns.tnsDataPresent);
  if (tns.tnsDataPresent == 0) return true;
  int32_t filter = 0, directed = 0;
  int8_t* coef = tns.coef;
  for (int32_t w = 0; w < (isShort ? 8 : 1); ++w) {
    put(out, isShort ? 1 : 2, tns.nFilt[w]);
    if (tns.nFilt[w] == 0) continue;
    put(out, 1, tns.coefRes[w]);
    tns.coefRes[w] += 3;
    for (int32_t f = 0; f < tns.nFilt[w]; ++f, ++filter) {
      put(out, isShort ? 4 : 6, tns.length[filter]);
      const int32_t& order = tns.order[filter];
      put(out, isShort ? 3 : 5, tns.order[filter], maxOrder);
      if (order > 12) return false;
      if (order == 0) continue;
      put(out, 1, tns.direction[directed++]);
      int32_t compress, code;
      put(out, 1, compress);
      const int32_t width = tns.coefRes[w] - compress;
      for (int32_t i = 0; i < order; ++i) {
        put(out, width, code);
        *coef++ = static_cast<int8_t>(code < 1 << (width - 1) ? code : code - (1 << width));
      }
    }
  }
  return true;
}

inline void putLtp(BitWriter& out, bool isShort, int32_t maxSfb, MoxAacLtpInfo& ltp) {
  static const int32_t gains[] = {9352, 11413, 13320, 14931, 16137, 17496, 19572, 22438};
  put(out, 1, ltp.ltpDataPresent);
  if (ltp.ltpDataPresent == 0) return;
  put(out, 11, ltp.ltpLag);
  put(out, 3, ltp.ltpCoef);
  ltp.ltpCoef = gains[ltp.ltpCoef];
  if (!isShort) {
    ltp.longUsedAll = 1;
    for (int32_t b = 0; b < 40; ++b)
      if (b < maxSfb)
        put(out, 1, ltp.longUsed[b]);
      else
        ltp.longUsed[b] = 0;
    return;
  }
  bool first = true;
  int32_t lag = ltp.shortLag[0] = ltp.ltpLag;
  for (int32_t w = 0; w < 8; ++w) {
    put(out, 1, ltp.shortUsed[w]);
    if (ltp.shortUsed[w] == 0) continue;
    ltp.shortLagPresent[w] = 0;
    if (!first) put(out, 1, ltp.shortLagPresent[w]);
    if (ltp.shortLagPresent[w] != 0) {
      int32_t delta;
      put(out, 5, delta);
      lag += 16 - delta;
    }
    ltp.shortLag[w] = lag;
    first = false;
  }
}

struct IcsOptions {
  int32_t predSfbMax = 0;
  MoxAacMainHeader* ltpHolder = nullptr;  // set: predictor data are long-term prediction's
  int32_t ltpChannels = 2;
  int32_t maxSfbLong = 51;  // largest values drawn
  int32_t maxSfbShort = 15;
};

inline moxStatus putIcsInfo(BitWriter& out, const IcsOptions& options, MoxAacIcsInfo& ics) {
  put(out, 1, ics.icsReservedBit);
  put(out, 2, ics.windowSequence);
  put(out, 1, ics.windowShape);
  ics.predictorDataPresent = ics.predictorReset = 0;
  if (ics.windowSequence == 2) {
    put(out, 4, ics.maxSfb, options.maxSfbShort);
    putGrouping(out, ics.scaleFactorGrouping, ics.numWindowGroups, ics.windowGroupLen);
    return moxStatusOk;
  }
  put(out, 6, ics.maxSfb, options.maxSfbLong);
  if (ics.maxSfb > 51) return moxStatusAacMaxSfbError;
  put(out, 1, ics.predictorDataPresent);
  const MoxAacIcsInfo before = ics;
  ics.numWindowGroups = ics.windowGroupLen[0] = 1;
  if (ics.predictorDataPresent == 0) return moxStatusOk;
  if (options.ltpHolder != nullptr) {
    options.ltpHolder->windowSequence = ics.windowSequence;
    options.ltpHolder->maxSfb = ics.maxSfb;
    for (int32_t ch = 0; ch < options.ltpChannels; ++ch)
      putLtp(out, false, ics.maxSfb, options.ltpHolder->ltp[ch]);
    return moxStatusOk;
  }
  put(out, 1, ics.predictorReset);
  if (ics.predictorReset != 0) put(out, 5, ics.predictorResetGroupNum);
  if (options.predSfbMax > 41) {  // the groups are not reached
    ics.numWindowGroups = before.numWindowGroups, ics.windowGroupLen[0] = before.windowGroupLen[0];
    return moxStatusAacPredSfbError;
  }
  for (int32_t b = 0; b < options.predSfbMax; ++b) {
    int32_t used = 0;
    if (b < ics.maxSfb) put(out, 1, used);
    ics.predictionUsed[b] = static_cast<uint8_t>(used);
  }
  return moxStatusOk;
}

// A mask of `groups` rows; bands first .. last - 1 of each are coded.
inline void putMask(BitWriter& out, int32_t groups, int32_t first, int32_t last, uint8_t* msUsed) {
  for (int32_t g = 0; g < groups; ++g)
    for (int32_t b = first; b < last; ++b) {
      int32_t used;
      put(out, 1, used);
      msUsed[60 * g + b] = static_cast<uint8_t>(used);
    }
}

}  // namespace moxtest
