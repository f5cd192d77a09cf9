// Layer III codes read from the tables' own files, walked one bit at a time; a writer of the same codes.
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "moxac/mp3.h"
#include "support/block.h"
#include "support/source_path.h"

namespace moxtest {

inline int32_t draw(int32_t first, int32_t last) {
  return std::uniform_int_distribution<int32_t>(first, last)(noise());
}

// Lines of a CSV file under tools/tables, the heading left out, split at commas.
inline std::vector<std::vector<std::string>> csvRows(const std::string& name) {
  std::ifstream file(moxtest::sourcePath(std::string("tools/tables/") + name));
  std::vector<std::vector<std::string>> rows;
  std::string line, cell;
  std::getline(file, line);
  while (std::getline(file, line)) {
    rows.emplace_back();
    for (std::istringstream cells(line); std::getline(cells, cell, ',');) rows.back().push_back(cell);
  }
  return rows;
}

// Bits as they stand in a stream.
class BitString {
 public:
  void put(uint32_t value, int32_t n) {
    for (int32_t i = n - 1; i >= 0; --i) bits_.push_back((value >> i & 1) != 0);
  }
  int32_t size() const { return static_cast<int32_t>(bits_.size()); }
  // Bytes with `bitOffset` noise-free bits in front.
  std::vector<uint8_t> bytes(int32_t bitOffset = 0) const {
    std::vector<uint8_t> out((bits_.size() + static_cast<size_t>(bitOffset) + 7) / 8);
    for (size_t i = 0; i < bits_.size(); ++i) {
      const size_t at = i + static_cast<size_t>(bitOffset);
      if (bits_[i]) out[at / 8] = static_cast<uint8_t>(out[at / 8] | (0x80 >> at % 8));
    }
    return out;
  }

 private:
  std::vector<bool> bits_;
};

class BitReader {
 public:
  BitReader(const uint8_t* p, int64_t position) : p_(p), position_(position) {}
  uint32_t bit() {
    const uint32_t b = (p_[position_ / 8] >> (7 - position_ % 8)) & 1u;
    ++position_;
    return b;
  }
  uint32_t take(int32_t n) {
    uint32_t value = 0;
    for (int32_t i = 0; i < n; ++i) value = value << 1 | bit();
    return value;
  }
  int64_t position() const { return position_; }

 private:
  const uint8_t* p_;
  int64_t position_;
};

struct CodeBook {
  std::map<std::pair<int32_t, uint32_t>, int32_t> symbols;  // (length, code) to symbol
  std::map<int32_t, std::pair<int32_t, uint32_t>> codes;    // and back

  void add(int32_t symbol, int32_t length, uint32_t code) {
    symbols[{length, code}] = symbol;
    codes[symbol] = {length, code};
  }
  int32_t walk(BitReader& reader) const {
    uint32_t code = 0;
    for (int32_t length = 1; length <= 32; ++length) {
      code = code << 1 | reader.bit();
      if (const auto found = symbols.find({length, code}); found != symbols.end()) return found->second;
    }
    std::abort();
  }
  void put(BitString& out, int32_t symbol) const {
    const auto& [length, code] = codes.at(symbol);
    out.put(code, length);
  }
};

struct Layer3Codes {
  struct Table {
    const CodeBook* book = nullptr;
    int32_t width = 0, linBits = 0;
    int32_t largest() const { return book == nullptr ? 0 : width - 1 + (1 << linBits) - 1; }
  };
  std::map<int32_t, CodeBook> books;
  CodeBook quads[2];
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

  void putPair(BitString& out, int32_t table, int32_t x, int32_t y) const {
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
  void putQuad(BitString& out, int32_t table, const int32_t* v) const {
    quads[table].put(out, 8 * std::abs(v[0]) + 4 * std::abs(v[1]) + 2 * std::abs(v[2]) + std::abs(v[3]));
    for (int i = 0; i < 4; ++i)
      if (v[i] != 0) out.put(v[i] < 0, 1);
  }
  void takePair(BitReader& in, int32_t table, int32_t* xy) const {
    const Table& t = tables[static_cast<size_t>(table)];
    xy[0] = xy[1] = 0;
    if (t.book == nullptr) return;
    const int32_t symbol = t.book->walk(in);
    const int32_t coded[2] = {symbol / 16, symbol % 16};
    for (int i = 0; i < 2; ++i) {
      xy[i] = coded[i];
      if (t.linBits > 0 && coded[i] == 15) xy[i] += static_cast<int32_t>(in.take(t.linBits));
      if (coded[i] != 0 && in.bit() != 0) xy[i] = -xy[i];
    }
  }
  void takeQuad(BitReader& in, int32_t table, int32_t* v) const {
    const int32_t symbol = quads[table].walk(in);
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

}  // namespace moxtest
