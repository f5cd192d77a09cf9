// Code books as the files under tools/tables list them, read and written one code word at a time.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/bits.h"
#include "support/source_path.h"

namespace moxtest {

// The rows of a CSV file under tools/tables, the heading left out.
inline std::vector<std::vector<std::string>> csvRows(const std::string& name) {
  std::ifstream file(sourcePath("tools/tables/" + name));
  std::vector<std::vector<std::string>> rows;
  std::string line, cell;
  std::getline(file, line);
  while (std::getline(file, line)) {
    rows.emplace_back();
    for (std::istringstream cells(line); std::getline(cells, cell, ',');) rows.back().push_back(cell);
  }
  if (rows.empty()) std::abort();
  return rows;
}

// One column of numbers.
inline std::vector<double> csvColumn(const std::string& name, size_t column, double unit = 1) {
  std::vector<double> values;
  for (const auto& row : csvRows(name)) values.push_back(std::stod(row[column]) * unit);
  return values;
}

template <class Symbol = int32_t>
struct CodeBook {
  std::map<std::pair<int32_t, uint32_t>, Symbol> symbols;  // (length, code) to symbol
  std::map<Symbol, std::pair<int32_t, uint32_t>> codes;    // and back

  void add(const Symbol& symbol, int32_t length, uint32_t code) {
    symbols[{length, code}] = symbol;
    codes[symbol] = {length, code};
  }
  // `bit` gives the next bit of the stream.
  template <class Bit>
  const Symbol& walk(Bit&& bit) const {
    uint32_t code = 0;
    for (int32_t length = 1; length <= 32; ++length) {
      code = code << 1 | static_cast<uint32_t>(bit());
      if (const auto found = symbols.find({length, code}); found != symbols.end()) return found->second;
    }
    std::abort();
  }
  void put(Bits& out, const Symbol& symbol) const {
    const auto& [length, code] = codes.at(symbol);
    out.put(code, length);
  }
};

}  // namespace moxtest
