// Layer III codes read from the tables' own files, walked one bit at a time; a writer of the same codes.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>

#include "moxac/mp3.h"
#include "support/bits.h"
#include "support/block.h"
#include "support/code_book.h"

namespace moxtest {

struct Layer3Codes {
  struct Table {
    const CodeBook<>* book = nullptr;
    int32_t width = 0, linBits = 0;
    int32_t largest() const { return book == nullptr ? 0 : width - 1 + (1 << linBits) - 1; }
  };
  std::map<int32_t, CodeBook<>> books;
  CodeBook<> quads[2];
  std::array<Table, 32> tables;

  Layer3Codes() {
    for (const auto& r : csvRows("mp3_huffman_pairs.csv"))
      books[std::stoi(r[0])].add(std::stoi(r[1]) * 16 + std::stoi(r[2]), std::stoi(r[3]),
                                 static_cast<uint32_t>(std::stoi(r[4])));
    for (const auto& r : csvRows("mp3_huffman_quads.csv")) {
      const int32_t symbol =
          std::stoi(r[1]) * 8 + std::stoi(r[2]) * 4 + std::stoi(r[3]) * 2 + std::stoi(r[4]);
      quads[r[0] == "B"].add(symbol, std::stoi(r[5]), static_cast<uint32_t>(std::stoi(r[6])));
    }
    for (const auto& r : csvRows("mp3_huffman_tables.csv")) {
      Table& table = tables[static_cast<size_t>(std::stoi(r[0]))];
      if (r[3] != "none") table = {&books.at(std::stoi(r[3])), std::stoi(r[1]), std::stoi(r[2])};
    }
  }

  bool hasEscape(int32_t table) const { return tables[static_cast<size_t>(table)].linBits > 0; }

  void putPair(Bits& out, int32_t table, int32_t x, int32_t y) const {
    const Table& t = tables[static_cast<size_t>(table)];
    if (t.book == nullptr) return;
    const int32_t coded[2] = {std::abs(x), std::abs(y)};
    const int32_t values[2] = {x, y};
    const auto symbol = [&](int32_t m) { return t.linBits > 0 && m > 15 ? 15 : m; };
    t.book->put(out, symbol(coded[0]) * 16 + symbol(coded[1]));
    for (int i = 0; i < 2; ++i) {
      if (t.linBits > 0 && coded[i] >= 15) out.put(static_cast<uint32_t>(coded[i] - 15), t.linBits);
      if (coded[i] != 0) out.put(values[i] < 0, 1);
    }
  }
  void putQuad(Bits& out, int32_t table, const int32_t* v) const {
    quads[table].put(out, 8 * std::abs(v[0]) + 4 * std::abs(v[1]) + 2 * std::abs(v[2]) + std::abs(v[3]));
    for (int i = 0; i < 4; ++i)
      if (v[i] != 0) out.put(v[i] < 0, 1);
  }
  void takePair(BitReader& in, int32_t table, int32_t* xy) const {
    const Table& t = tables[static_cast<size_t>(table)];
    xy[0] = xy[1] = 0;
    if (t.book == nullptr) return;
    const int32_t symbol = t.book->walk([&] { return in.bit(); });
    const int32_t coded[2] = {symbol / 16, symbol % 16};
    for (int i = 0; i < 2; ++i) {
      xy[i] = coded[i];
      if (t.linBits > 0 && coded[i] == 15) xy[i] += static_cast<int32_t>(in.take(t.linBits));
      if (coded[i] != 0 && in.bit() != 0) xy[i] = -xy[i];
    }
  }
  void takeQuad(BitReader& in, int32_t table, int32_t* v) const {
    const int32_t symbol = quads[table].walk([&] { return in.bit(); });
    for (int i = 0; i < 4; ++i) {
      v[i] = symbol >> (3 - i) & 1;
      if (v[i] != 0 && in.bit() != 0) v[i] = -v[i];
    }
  }
};

inline const Layer3Codes& layer3Codes() {
  static const Layer3Codes codes;
  return codes;
}

// What a table can code, small and large values alike, escapes of every width.
inline int32_t randomValue(int32_t table) {
  const auto& t = layer3Codes().tables[static_cast<size_t>(table)];
  if (t.book == nullptr) return 0;
  int32_t magnitude = draw(0, t.width - 1);
  if (magnitude == 15 && t.linBits > 0) magnitude += draw(0, (1 << draw(0, t.linBits)) - 1);
  return draw(0, 1) == 1 ? -magnitude : magnitude;
}

// Any regions, windows and tables that a granule can have.
inline MoxMp3SideInfo randomRegions() {
  MoxMp3SideInfo r{};
  r.bigVals = draw(0, 3) == 0 ? 288 : draw(0, 288);
  r.winSwitch = draw(0, 1);
  r.blockType = r.winSwitch == 1 ? draw(1, 3) : 0;
  r.mixedBlock = draw(0, 1);
  r.reg0Cnt = draw(0, 15);
  r.reg1Cnt = draw(0, std::min(7, 20 - r.reg0Cnt));
  for (int32_t& t : r.tableSelect) t = draw(0, 31);
  if (r.winSwitch == 1) r.tableSelect[2] = 99;  // never looked at
  r.cnt1TabSel = draw(0, 1);
  return r;
}

}  // namespace moxtest
