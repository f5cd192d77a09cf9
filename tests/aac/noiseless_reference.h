// The noiseless decoder as the syntax tables read, field by field, code words found in the code lists of
// tools/tables. It draws a stream that is fit to be decoded, or decodes one that is replayed; either way it
// leaves what the operation must leave.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <vector>

#include "aac/band_tables.h"
#include "aac/stream_model.h"
#include "moxac/aac.h"
#include "support/code_book.h"

namespace moxtest {

using AacBook = CodeBook<std::vector<int32_t>>;  // for the scale-factor book the one value is the difference

// Book 0 is the scale-factor book.
inline const std::array<AacBook, 12>& codeBooks() {
  static const auto books = [] {
    std::array<AacBook, 12> made;
    for (const auto& row : csvRows("aac_huffman_scalefactor.csv"))
      made[0].add({std::stoi(row[0]) - 60}, std::stoi(row[1]), static_cast<uint32_t>(std::stoul(row[2])));
    for (const auto& row : csvRows("aac_huffman_spectral.csv")) {
      std::vector<int32_t> values;
      for (size_t i = 1; i <= 4; ++i)
        if (!row[i].empty()) values.push_back(std::stoi(row[i]));
      made[static_cast<size_t>(std::stoi(row[0]))].add(values, std::stoi(row[6]),
                                                       static_cast<uint32_t>(std::stoul(row[7])));
    }
    return made;
  }();
  return books;
}
inline bool isUnsignedBook(int32_t book) { return book == 3 || book == 4 || book >= 7; }

// What one call leaves behind.
struct NoiselessOutput {
  std::vector<int16_t> scaleFactor = std::vector<int16_t>(8 * 51, 0x1111);
  std::vector<int32_t> spectrum = std::vector<int32_t>(1024, 0x22222222);
  std::vector<uint8_t> sfbCb = std::vector<uint8_t>(8 * 51, 0x33);
  std::vector<int8_t> tnsCoef = std::vector<int8_t>(60, 0x44);
};

class NoiselessModel {
 public:
  struct Mode {
    bool mpeg4 = false, layer = false;
    int32_t windowSequence = 0, maxSfb = 0, numGroups = 1;
    const int32_t* groupLen = nullptr;
    int32_t onlyBook = -1;  // of the sections drawn
  };

  explicit NoiselessModel(BitWriter& stream) : stream_(stream) {}

  // Everything behind the window information.
  moxStatus run(const Mode& mode, MoxAacChanStream& to, NoiselessOutput& out) {
    const bool isShort = mode.windowSequence == 2;
    const auto table = isShort ? moxac::aac::shortSwbTable(to.samplingRateIndex)
                               : moxac::aac::longSwbTable(to.samplingRateIndex);
    to.windowLen = isShort ? 128 : 1024;
    to.numWindows = isShort ? 8 : 1;
    to.numSwb = table.numSwb;
    if (!mode.mpeg4 && mode.maxSfb > to.numSwb) return -162;

    const int32_t pieceBits = isShort ? 3 : 5, escape = (1 << pieceBits) - 1;
    const int32_t longest = 1 << below(drawBits(1) != 0 ? 2 : 6);
    for (int32_t g = 0; g < mode.numGroups; ++g) {
      to.numSec[g] = 0;
      int32_t end = 0;
      while (end < mode.maxSfb && to.numSec[g] < mode.maxSfb) {
        const int32_t start = end;
        const int32_t book = stream_.field(4, drawnBook(mode));
        int32_t left = std::min(1 + below(longest), mode.maxSfb - start);
        for (;;) {
          const int32_t piece = stream_.field(pieceBits, std::min(left, escape));
          end += piece, left -= piece;
          if (piece != escape || end > mode.maxSfb) break;
        }
        if (end > mode.maxSfb || sections == 120) return -158;
        to.sectCb[sections] = static_cast<uint8_t>(book);
        to.sectEnd[sections] = static_cast<uint8_t>(end);
        for (int32_t b = start; b < end; ++b) out.sfbCb[at(g * mode.maxSfb + b)] = static_cast<uint8_t>(book);
        ++sections;
        ++to.numSec[g];
      }
      if (end != mode.maxSfb) return -158;
    }

    int32_t gain = to.globalGain, position = 0;
    bool noise = false;
    for (int32_t i = 0; i < mode.numGroups * mode.maxSfb; ++i) {
      const int32_t book = out.sfbCb[at(i)];
      int32_t value = 0;
      if (book == 12 || (book == 13 && !mode.mpeg4)) return -166;
      if (book >= 14) {
        value = position += word(0)[0];
      } else if (book == 13 && !noise) {
        value = gain = to.globalGain + bits(9) - 346;
        noise = true;
      } else if (book != 0) {
        value = gain += word(0, 255 - gain)[0];
      }
      if (book != 0 && book < 14 && gain > 255) return -164;
      out.scaleFactor[at(i)] = static_cast<int16_t>(value);
    }

    int32_t pulses = 0, pulseSfb = 0, pulseOffset[4], pulseAmp[4];
    if (mode.layer) {
      to.pulseDataPresent = to.tnsDataPresent = to.gainControlDataPresent = 0;
    } else {
      to.pulseDataPresent = stream_.field(1, isShort ? 0 : below(2));
      if (to.pulseDataPresent != 0) {
        if (isShort) return -160;
        pulses = bits(2) + 1;
        put(stream_, 6, pulseSfb, to.numSwb - 1);
        if (pulseSfb > 51) return -160;
        for (int32_t i = 0; i < pulses; ++i) pulseOffset[i] = bits(5), pulseAmp[i] = bits(4);
        if (pulseSfb >= to.numSwb) return -160;
      }
      if (!tns(isShort, to, out)) return -155;
      if ((to.gainControlDataPresent = stream_.field(1, 0)) != 0) return -159;
    }

    int32_t* group = out.spectrum.data();
    for (int32_t g = 0, s = 0; g < mode.numGroups; ++g) {
      const int32_t len = mode.groupLen[g];
      int32_t line = 0;
      for (int32_t i = 0; i < to.numSec[g]; ++i, ++s) {
        const int32_t book = to.sectCb[s];
        if (to.sectEnd[s] > to.numSwb) return -2;
        if (book == 12) return -166;
        const int32_t end = table.offset[to.sectEnd[s]] * len;
        if (book == 0 || book > 12)
          while (line < end) group[line++] = 0;
        while (line < end) {
          int32_t* const tuple = group + line;
          for (const int32_t v : word(book)) group[line++] = v;
          for (int32_t* v = tuple; v < group + line; ++v)
            if (isUnsignedBook(book) && *v != 0 && bits(1) != 0) *v = -*v;
          for (int32_t* v = tuple; book == 11 && v < group + line; ++v) {
            if (std::abs(*v) != 16) continue;
            int32_t size = 4;
            for (int32_t ones = below(9); stream_.field(1, ones > 0) != 0; --ones)
              if (++size > 12) return -163;
            const int32_t magnitude = (1 << size) + bits(size);
            *v = *v < 0 ? -magnitude : magnitude;
          }
        }
      }
      while (line < to.windowLen * len) group[line++] = 0;
      group += line;
    }
    for (int32_t i = 0, k = table.offset[pulseSfb]; i < pulses; ++i) {
      k += pulseOffset[i];
      if (k >= 1024) return -160;
      out.spectrum[at(k)] += out.spectrum[at(k)] > 0 ? pulseAmp[i] : -pulseAmp[i];
    }
    return 0;
  }

  int32_t sections = 0;  // read

 private:
  static size_t at(int32_t i) { return static_cast<size_t>(i); }

  static int32_t drawnBook(const Mode& mode) {
    const int32_t book = mode.onlyBook >= 0 ? mode.onlyBook : below(15);
    return book < 12 ? book : book == 12 && !mode.mpeg4 ? 0 : book + 1;  // 12 is reserved, 13 is MPEG-4's
  }

  int32_t bits(int32_t n) {
    int32_t value;
    put(stream_, n, value);
    return value;
  }

  // The values of a code word; a drawn one has a first value of at most `most`.
  const std::vector<int32_t>& word(int32_t book, int32_t most = 255) {
    const AacBook& words = codeBooks()[at(book)];
    const auto& codes = words.symbols;
    auto drawn = codes.begin();
    do
      drawn = std::next(codes.begin(),
                        below(static_cast<int32_t>(drawBits(1) != 0 ? 1 + codes.size() / 8 : codes.size())));
    while (drawn->second[0] > most);
    int32_t left = drawn->first.first;
    return words.walk(
        [&] { return --left, stream_.field(1, left < 0 ? 0 : drawn->first.second >> left & 1); });
  }

  bool tns(bool isShort, MoxAacChanStream& to, NoiselessOutput& out) {
    MoxAacTnsInfo info;
    std::copy_n(out.tnsCoef.begin(), 60, info.coef);
    const auto fields = [&](auto&& copy) {
      copy(to.nFilt, info.nFilt), copy(to.coefRes, info.coefRes), copy(to.length, info.length);
      copy(to.order, info.order), copy(to.direction, info.direction);
    };
    fields([](int32_t(&own)[8], int32_t(&its)[8]) { std::copy_n(own, 8, its); });
    info.nFilt[0] = 0;
    const bool good = putTns(stream_, isShort, isShort ? 7 : 12, info);
    fields([](int32_t(&own)[8], int32_t(&its)[8]) { std::copy_n(its, 8, own); });
    to.tnsDataPresent = info.tnsDataPresent;
    std::copy_n(info.coef, 60, out.tnsCoef.begin());
    return good;
  }

  BitWriter& stream_;
};

}  // namespace moxtest
