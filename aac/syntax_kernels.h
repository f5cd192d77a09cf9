// The syntax elements around the spectral data, ISO/IEC 14496-3, 4.4.2: window and grouping information, M/S
// mask, temporal noise shaping, long-term prediction, and the payload-carrying elements.
#pragma once

#include <algorithm>
#include <cstdint>

#include "aac/band_tables.h"
#include "aac/bit_reader.h"
#include "frame/checks.h"
#include "moxac/aac.h"

namespace moxac::aac {

inline constexpr int32_t kAotMain = 1;  // audio object type: AAC Main

// Long-term-prediction gains, Q14, by the 3-bit ltp_coef.
inline constexpr uint16_t kLtpGain[8] = {9352, 11413, 13320, 14931, 16137, 17496, 19572, 22438};

// Each bit of the 7-bit grouping, most significant first, says whether the next window joins its
// predecessor's group. Returns the number of groups; lengths beyond it are not written.
inline int32_t readGrouping(int32_t grouping, int32_t* groupLen) {
  int32_t group = 0;
  groupLen[0] = 1;
  for (int32_t mask = 1 << 6; mask != 0; mask >>= 1) {
    if ((grouping & mask) != 0)
      ++groupLen[group];
    else
      groupLen[++group] = 1;
  }
  return group + 1;
}

// ltp_data() of one channel, ltp_data_present read before.
inline void readLtpData(BitReader& in, int32_t windowSequence, int32_t maxSfb, MoxAacLtpInfo& ltp) {
  ltp.ltpLag = in.bits(11);
  ltp.ltpCoef = kLtpGain[in.bits(3)];
  if (windowSequence == MOX_AAC_EIGHT_SHORT) {
    ltp.shortLag[0] = ltp.ltpLag;
    int32_t lastUsed = -1;
    for (int32_t w = 0; w < 8; ++w) {
      ltp.shortUsed[w] = in.bit();
      if (ltp.shortUsed[w] == 0) continue;
      // The first used window takes the frame's lag, a later one its predecessor's, or that plus a 5-bit
      // difference of bias 16.
      const int32_t previous = ltp.shortLag[std::max(lastUsed, 0)];
      ltp.shortLagPresent[w] = lastUsed < 0 ? 0 : in.bit();
      ltp.shortLag[w] =
          ltp.shortLagPresent[w] == 0 ? previous : static_cast<int16_t>(previous - in.bits(5) + 16);
      lastUsed = w;
    }
  } else {
    ltp.longUsedAll = ltp.ltpDataPresent;
    const int32_t coded = std::min(maxSfb, 40);
    for (int32_t sfb = 0; sfb < 40; ++sfb) ltp.longUsed[sfb] = sfb < coded ? in.bit() : 0;
  }
}

inline void readLtp(BitReader& in, int32_t windowSequence, int32_t maxSfb, MoxAacLtpInfo& ltp) {
  ltp.ltpDataPresent = in.bit();
  if (ltp.ltpDataPresent != 0) readLtpData(in, windowSequence, maxSfb, ltp);
}

// Main-profile prediction flags; the reset fields come before them.
inline void readPredictionReset(BitReader& in, MoxAacIcsInfo& ics) {
  ics.predictorReset = in.bit();
  if (ics.predictorReset != 0) ics.predictorResetGroupNum = in.bits(5);
}
inline void readPredictionUsed(BitReader& in, int32_t predSfbMax, MoxAacIcsInfo& ics) {
  const int32_t coded = std::min(ics.maxSfb, predSfbMax);
  for (int32_t sfb = 0; sfb < predSfbMax; ++sfb)
    ics.predictionUsed[sfb] = sfb < coded ? static_cast<uint8_t>(in.bit()) : uint8_t{0};
}

// ics_info(). readPredictor() reads what follows predictor_data_present, when that is set.
template <class ReadPredictor>
moxStatus readIcsInfoWith(BitReader& in, MoxAacIcsInfo& ics, ReadPredictor readPredictor) {
  ics.icsReservedBit = in.bit();
  ics.windowSequence = in.bits(2);
  ics.windowShape = in.bit();
  ics.predictorDataPresent = 0;
  ics.predictorReset = 0;
  if (ics.windowSequence == MOX_AAC_EIGHT_SHORT) {
    ics.maxSfb = in.bits(4);
    ics.scaleFactorGrouping = in.bits(7);
    ics.numWindowGroups = readGrouping(ics.scaleFactorGrouping, ics.windowGroupLen);
    return moxStatusOk;
  }
  ics.maxSfb = in.bits(6);
  MOX_REQUIRE(ics.maxSfb <= MOX_AAC_MAX_SFB_LONG, moxStatusAacMaxSfbError);
  ics.predictorDataPresent = in.bit();
  if (ics.predictorDataPresent != 0) {
    MOX_TRY(readPredictor());
  }
  ics.numWindowGroups = 1;
  ics.windowGroupLen[0] = 1;
  return moxStatusOk;
}

// Predictor data are Main-profile prediction's.
inline moxStatus readIcsInfo(BitReader& in, int32_t predSfbMax, MoxAacIcsInfo& ics) {
  return readIcsInfoWith(in, ics, [&] {
    readPredictionReset(in, ics);
    readPredictionUsed(in, predSfbMax, ics);
    return moxStatusOk;
  });
}

// Predictor data are Main-profile prediction's for that object type and long-term prediction's of
// ltpChannels channels (two under a common window) for every other.
inline moxStatus readIcsInfoMp4(BitReader& in, int32_t predSfbMax, int32_t audioObjectType,
                                int32_t ltpChannels, MoxAacIcsInfo& ics, MoxAacMainHeader& ltpHolder) {
  return readIcsInfoWith(in, ics, [&] {
    if (audioObjectType == kAotMain) {
      readPredictionReset(in, ics);
      MOX_REQUIRE(inRange(predSfbMax, 0, 41), moxStatusAacPredSfbError);
      readPredictionUsed(in, predSfbMax, ics);
    } else {
      ltpHolder.windowSequence = ics.windowSequence;
      ltpHolder.maxSfb = ics.maxSfb;
      for (int32_t ch = 0; ch < ltpChannels; ++ch)
        readLtp(in, ics.windowSequence, ics.maxSfb, ltpHolder.ltp[ch]);
    }
    return moxStatusOk;
  });
}

// The part of channel_pair_element() before the channels' streams.
template <class ReadIcsInfo>
moxStatus readChanPair(BitReader& in, const MoxAacIcsInfo& ics, MoxAacChanPairElt& pair,
                       ReadIcsInfo readIcs) {
  pair.commonWindow = in.bit();
  if (pair.commonWindow == 0) return moxStatusOk;
  MOX_TRY(readIcs());
  pair.msMaskPresent = in.bits(2);
  if (pair.msMaskPresent == 1)
    for (int32_t g = 0; g < ics.numWindowGroups; ++g)
      for (int32_t sfb = 0; sfb < ics.maxSfb; ++sfb) pair.msUsed[g][sfb] = static_cast<uint8_t>(in.bit());
  return moxStatusOk;
}

// Where the side data of one channel's TNS filters go: a MoxAacTnsInfo, or the same fields elsewhere.
struct TnsFields {
  int32_t* nFilt;
  int32_t* coefRes;
  int32_t* length;
  int32_t* order;
  int32_t* direction;
  int8_t* coef;
};

inline TnsFields fieldsOf(MoxAacTnsInfo& tns) {
  return {tns.nFilt, tns.coefRes, tns.length, tns.order, tns.direction, tns.coef};
}

// tns_data(), tns_data_present read before. Field widths and orders allow at most 8 filters and 56
// coefficients, so the arrays cannot overflow.
inline moxStatus readTnsData(BitReader& in, int32_t windowSequence, const TnsFields& tns) {
  const bool isShort = windowSequence == MOX_AAC_EIGHT_SHORT;
  const int32_t numWindows = isShort ? 8 : 1;
  const int32_t nFiltBits = isShort ? 1 : 2, lengthBits = isShort ? 4 : 6, orderBits = isShort ? 3 : 5;
  const int32_t maxOrder = isShort ? 7 : 12;
  int32_t filter = 0;
  int32_t* direction = tns.direction;
  int8_t* coef = tns.coef;
  for (int32_t w = 0; w < numWindows; ++w) {
    tns.nFilt[w] = in.bits(nFiltBits);
    if (tns.nFilt[w] == 0) continue;
    tns.coefRes[w] = in.bit() + 3;
    for (int32_t f = 0; f < tns.nFilt[w]; ++f, ++filter) {
      tns.length[filter] = in.bits(lengthBits);
      const int32_t order = in.bits(orderBits);
      tns.order[filter] = order;
      MOX_REQUIRE(order <= maxOrder, moxStatusAacTnsOrderError);
      if (order == 0) continue;
      *direction++ = in.bit();
      const int32_t coefBits = tns.coefRes[w] - in.bit();  // compressed: the top bit is not sent
      for (int32_t i = 0; i < order; ++i) *coef++ = static_cast<int8_t>(in.signedBits(coefBits));
    }
  }
  return moxStatusOk;
}

inline moxStatus readTns(BitReader& in, int32_t windowSequence, MoxAacTnsInfo& tns) {
  tns.tnsDataPresent = in.bit();
  return tns.tnsDataPresent != 0 ? readTnsData(in, windowSequence, fieldsOf(tns)) : moxStatusOk;
}

// data_stream_element().
inline void readDataStream(BitReader& in, int32_t& tag, int32_t& count, uint8_t* data) {
  tag = in.bits(4);
  const int32_t aligned = in.bit();
  count = in.bits(8);
  if (count == 255) count += in.bits(8);
  if (aligned != 0) in.align();
  in.bytes(data, count);
}

// fill_element(), the payload as bytes.
inline void readFill(BitReader& in, int32_t& count, uint8_t* data) {
  count = in.bits(4);
  if (count == 15) count += in.bits(8) - 1;
  in.bytes(data, count);
}

// The header of a layered stream's base layer.
inline moxStatus readMainHeader(BitReader& in, int32_t numChannels, MoxAacMainHeader& header) {
  header.windowSequence = in.bits(2);
  header.windowShape = in.bit();
  if (header.windowSequence == MOX_AAC_EIGHT_SHORT) {
    header.maxSfb = in.bits(4);
    header.scaleFactorGrouping = in.bits(7);
    header.numWindowGroups = readGrouping(header.scaleFactorGrouping, header.windowGroupLen);
  } else {
    header.maxSfb = in.bits(6);
    header.numWindowGroups = 1;
    std::fill_n(header.windowGroupLen, 8, 0);
    header.windowGroupLen[0] = 1;
  }
  if (numChannels == 2) {
    header.msMaskPresent = in.bits(2);
    for (int32_t g = 0; g < header.numWindowGroups; ++g)
      for (int32_t sfb = 0; sfb < header.maxSfb; ++sfb)  // 61 to 63 bands run on into the next row
        header.pMsUsed[g * MOX_AAC_MS_ROW + sfb] =
            static_cast<uint8_t>(header.msMaskPresent == 1 ? in.bit() : header.msMaskPresent == 2);
  }
  for (int32_t ch = 0; ch < numChannels; ++ch) {
    header.tns[ch] = {};
    MOX_TRY(readTns(in, header.windowSequence, header.tns[ch]));
    header.ltp[ch] = {};
    readLtp(in, header.windowSequence, header.maxSfb, header.ltp[ch]);
  }
  return moxStatusOk;
}

struct ExtensionLayout {
  bool tns, stereo, diffCtrl;  // what the header holds
  int32_t startSfb, endSfb;    // the layer's bands
  int32_t windowSequence;
};

// The header of an enhancement layer.
inline moxStatus readExtensionHeader(BitReader& in, const ExtensionLayout& layout,
                                     MoxAacExtensionHeader& header) {
  const bool isShort = layout.windowSequence == MOX_AAC_EIGHT_SHORT;
  header.maxSfb = in.bits(isShort ? 4 : 6);
  MOX_REQUIRE(header.maxSfb <= MOX_AAC_MS_ROW, moxStatusAacMaxSfbError);
  if (layout.stereo) {
    header.msMaskPresent = in.bits(2);
    const int32_t rows = isShort ? 4 : 1;  // four rows whatever the grouping
    if (header.msMaskPresent == 1)
      for (int32_t g = 0; g < rows; ++g)
        for (int32_t sfb = layout.startSfb; sfb < header.maxSfb; ++sfb)
          header.pMsUsed[g * MOX_AAC_MS_ROW + sfb] = static_cast<uint8_t>(in.bit());
  }
  if (layout.tns)
    for (MoxAacTnsInfo& tns : header.tns) {
      MOX_TRY(readTns(in, layout.windowSequence, tns));
    }
  if (layout.diffCtrl && layout.stereo)
    for (auto& diffControl : header.diffControl) {
      int32_t* next = diffControl;
      if (isShort) {
        if (layout.startSfb == 0)
          for (int32_t w = 0; w < 8; ++w) *next++ = in.bit();
      } else {
        for (int32_t sfb = layout.startSfb; sfb < std::min(layout.endSfb, header.maxSfb); ++sfb)
          if (header.pMsUsed[sfb] == 0) *next++ = in.bit();
      }
    }
  return moxStatusOk;
}

}  // namespace moxac::aac
