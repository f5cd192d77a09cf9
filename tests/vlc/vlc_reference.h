// Code books from the standards' tables and from chance, and streams as strings of bits.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/block.h"
#include "support/code_book.h"
#include "support/guard_page.h"

namespace moxtest {

struct Row {
  int32_t value, code, length;
};
using Rows = std::vector<Row>;
static_assert(sizeof(Row) == 12);

inline const int32_t* words(const Rows& rows) { return &rows.data()->value; }
inline int32_t count(const Rows& rows) { return static_cast<int32_t>(rows.size()); }

inline int32_t longest(const Rows& rows) {
  int32_t length = 0;
  for (const Row& row : rows) length = std::max(length, row.length);
  return length;
}

// A stream as a string of '0' and '1'.
inline std::string bitsOf(int64_t field, int32_t n) {
  std::string bits;
  for (int32_t i = n - 1; i >= 0; --i) bits += (field >> i & 1) != 0 ? '1' : '0';
  return bits;
}
inline std::string codeOf(const Row& row) { return bitsOf(static_cast<uint32_t>(row.code), row.length); }

// n leaves of a random binary tree, none deeper than 32; some branches are driven deep. A tree of one leaf
// keeps an empty sibling, and so does every other tree when `holes` are wanted. The code words of holes go
// there.
inline Rows randomCode(int32_t n, Rows* holes = nullptr) {
  Rows leaves = {{0, 0, 1}, {0, 1, 1}};
  const int32_t wanted = std::max(2, holes == nullptr ? n : n + 1 + n / 4);
  while (count(leaves) < wanted) {
    const bool deep = below(3) == 0 && leaves.back().length < 32;
    const auto i = deep ? leaves.size() - 1 : static_cast<size_t>(below(count(leaves)));
    if (leaves[i].length == 32) continue;
    const auto code = static_cast<int32_t>(static_cast<uint32_t>(leaves[i].code) << 1);
    leaves[i] = {0, code, leaves[i].length + 1};
    leaves.push_back({0, code | 1, leaves[i].length});
  }
  std::shuffle(leaves.begin(), leaves.end(), noise());
  if (holes != nullptr) holes->assign(leaves.begin() + n, leaves.end());
  leaves.resize(static_cast<size_t>(n));
  for (int32_t i = 0; i < n; ++i) leaves[static_cast<size_t>(i)].value = i;
  return leaves;
}

// Widths that reach `total`, and now and then pass it.
inline std::vector<int32_t> randomWidths(int32_t total, int32_t widest) {
  std::vector<int32_t> widths;
  for (int32_t sum = 0; sum < total; sum += widths.back()) widths.push_back(1 + below(widest));
  if (below(2) == 0) widths.push_back(below(40) - 20);  // ignored
  return widths;
}

// Rows by their code word, for reading a stream one bit at a time.
class BitByBit {
 public:
  explicit BitByBit(const Rows& rows) {
    for (const Row& row : rows) values_[codeOf(row)] = row.value;
  }
  // Moves `at` behind the code word there.
  int32_t read(const std::string& bits, size_t& at) const {
    std::string word;
    while (!values_.contains(word)) word += bits.at(at++);
    return values_.at(word);
  }

 private:
  std::map<std::string, int32_t> values_;
};

// `bits` in memory `bitShift` (0..31) bits into an aligned word; the memory ends with the word that holds the
// last bit, at an unreadable page, or begins at one. Bits beside are noise.
class Stream {
 public:
  Stream(const std::string& bits, int32_t bitShift, GuardPage::Side side = GuardPage::Side::behind)
      : bytes_((static_cast<size_t>(bitShift) + bits.size() + 31) / 32 * 4),
        page_(bytes_, side),
        at(page_.data() + bitShift / 8),
        offset(bitShift % 8),
        first_(at),
        firstOffset_(offset) {
    for (size_t i = 0; i < bytes_; ++i) page_.data()[i] = noiseValue<uint8_t>();
    for (size_t i = 0; i < bits.size(); ++i) {
      const size_t position = static_cast<size_t>(bitShift) + i;
      uint8_t& byte = page_.data()[position / 8];
      const auto mask = static_cast<uint8_t>(0x80 >> position % 8);
      byte = static_cast<uint8_t>(bits[i] == '1' ? byte | mask : byte & ~mask);
    }
  }

  const uint8_t** pp() { return &at; }
  int64_t consumed() const { return 8 * (at - first_) + offset - firstOffset_; }
  void rewind() {
    at = first_;
    offset = firstOffset_;
  }

 private:
  size_t bytes_;
  GuardPage page_;

 public:
  const uint8_t* at;
  int32_t offset;

 private:
  const uint8_t* first_;
  int32_t firstOffset_;
};

// Words of a stream as the caller sees them, most significant bit first, and what an encoder does to
// them with one item.
class Memory {
 public:
  explicit Memory(size_t size) : bytes(static_cast<int64_t>(size) * 4) {}

  void writeItem(const std::string& code, size_t& at) {
    const size_t end = at + code.size();
    for (const char bit : code) set(at++, bit == '1');
    if (end % 32 != 0 && end / 32 == (end - code.size()) / 32)
      for (size_t i = end; i % 32 != 0; ++i) set(i, true);
  }
  void set(size_t i, bool one) {
    uint8_t& byte = bytes[static_cast<int64_t>(i / 8)];
    const auto mask = static_cast<uint8_t>(0x80 >> i % 8);
    byte = static_cast<uint8_t>(one ? byte | mask : byte & ~mask);
  }
  Block<uint8_t> bytes;
};

// ---- The standards' books. A symbol is a tuple of values as the table names them.

struct Symbol {
  std::vector<int32_t> values;
  Row row;  // its value is set by those who pack
};
using Book = std::vector<Symbol>;

// The lines of a table whose first column is `key`, or all; the value columns end at an empty field.
inline Book readBook(const std::string& file, const std::string& key, size_t firstValue, size_t valueCount,
                     size_t lengthColumn, size_t codeColumn) {
  Book book;
  for (const std::vector<std::string>& fields : csvRows(file)) {
    if (!key.empty() && fields[0] != key) continue;
    Symbol symbol;
    for (size_t i = firstValue; i < firstValue + valueCount && !fields[i].empty(); ++i)
      symbol.values.push_back(std::stoi(fields[i]));
    symbol.row = {0, std::stoi(fields[codeColumn]), std::stoi(fields[lengthColumn])};
    book.push_back(symbol);
  }
  return book;
}
inline Book aacBook(int32_t n) { return readBook("aac_huffman_spectral.csv", std::to_string(n), 1, 4, 6, 7); }
inline Book mp3Table(int32_t n) { return readBook("mp3_huffman_pairs.csv", std::to_string(n), 1, 2, 3, 4); }
inline Book mp3Quads(const std::string& ab) { return readBook("mp3_huffman_quads.csv", ab, 1, 4, 5, 6); }

// Rows of unsigned tuples: the first magnitude in the lowest bits.
inline Rows tupleRows(const Book& book, int32_t valueBits) {
  Rows rows;
  for (const Symbol& symbol : book) {
    rows.push_back(symbol.row);
    for (size_t i = 0; i < symbol.values.size(); ++i)
      rows.back().value |= symbol.values[i] << (static_cast<int32_t>(i) * valueBits);
  }
  return rows;
}

// Rows 33 a + b of a book of pairs; an unsigned book gives a row for each choice of signs.
inline Rows aacPairRows(const Book& book, bool isSigned) {
  Rows rows;
  for (const Symbol& symbol : book) {
    const int32_t a = symbol.values[0], b = symbol.values[1];
    for (const int32_t signA : {0, 1})
      for (const int32_t signB : {0, 1}) {
        if ((signA != 0 && (isSigned || a == 0)) || (signB != 0 && (isSigned || b == 0))) continue;
        Row row = symbol.row;
        if (!isSigned && a != 0) row = {0, row.code << 1 | signA, row.length + 1};
        if (!isSigned && b != 0) row = {0, row.code << 1 | signB, row.length + 1};
        row.value = 33 * (signA != 0 ? -a : a) + (signB != 0 ? -b : b);
        rows.push_back(row);
      }
  }
  return rows;
}

inline Rows mp3PairRows(const Book& book) {
  Rows rows;
  for (const Symbol& symbol : book) {
    rows.push_back(symbol.row);
    rows.back().value = 16 * symbol.values[0] + symbol.values[1];
  }
  return rows;
}

// A magnitude above `escape` as the escape sequence of AAC.
inline std::string aacEscape(int32_t magnitude) {
  int32_t n = 0;
  while (magnitude >> (n + 5) != 0) ++n;
  return std::string(static_cast<size_t>(n), '1') + '0' + bitsOf(magnitude - (16 << n), n + 4);
}

}  // namespace moxtest
