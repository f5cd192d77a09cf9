// Block decoding of the standards' code books, beside the usual technique: a two-level look-up of 9 bits at a
// time, each code word read from memory at its bit position. Streams are random: a code word of n bits comes
// with probability 2^-n. "ns" and "cycles" are processor time per code word, a cycle being what a chain of
// dependent additions takes for each at the start of the program.
//
// libavcodec's own reader belongs to its internal headers, which are not installed; the two-level decoder
// here stands for it.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>

#include "moxac/vlc.h"
#include "vlc/vlc_reference.h"

namespace {

using namespace moxtest;

constexpr int32_t kCodeWords = 1 << 14;

struct Input {
  Rows rows;
  std::vector<uint32_t> stream;
  std::vector<int16_t> values;
};

Input makeInput(const Rows& rows) {
  Input input{rows, {}, {}};
  std::string bits;
  for (int32_t i = 0; i < kCodeWords; ++i) {
    // A walk down the code tree, a fair coin at each branch.
    std::string word;
    const Row* found = nullptr;
    while (found == nullptr) {
      word += below(2) != 0 ? '1' : '0';
      for (const Row& row : rows)
        if (row.length == static_cast<int32_t>(word.size()) && codeOf(row) == word) found = &row;
      if (word.size() > 32) std::abort();  // an incomplete book
    }
    bits += word;
    input.values.push_back(static_cast<int16_t>(found->value));
  }
  input.stream.resize(bits.size() / 32 + 4);
  auto* const bytes = reinterpret_cast<uint8_t*>(input.stream.data());
  for (size_t i = 0; i < bits.size(); ++i)
    if (bits[i] == '1') bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | 0x80 >> i % 8);
  return input;
}

// The usual technique. An entry of a first-level table is a symbol and its length, or the index of a
// second-level table and the negated width of that table.
class TwoLevel {
 public:
  explicit TwoLevel(const Rows& rows) : table_(512) {
    std::map<uint32_t, int32_t> widest;
    for (const Row& row : rows)
      if (row.length > 9) {
        int32_t& width = widest[static_cast<uint32_t>(row.code) >> (row.length - 9)];
        width = std::max(width, row.length - 9);
      }
    for (const auto& [prefix, width] : widest) {
      table_[prefix] = {static_cast<int16_t>(table_.size()), static_cast<int16_t>(-width)};
      table_.resize(table_.size() + (size_t{1} << width));
    }
    for (const Row& row : rows) {
      const auto code = static_cast<uint32_t>(row.code);
      size_t first = 0;
      int32_t length = row.length, width = 9;
      if (length > 9) {
        const Entry link = table_[code >> (length - 9)];
        first = static_cast<size_t>(link.symbol);
        width = -link.length;
        length -= 9;
      }
      const size_t slot = (code & ((1u << length) - 1)) << (width - length);
      for (size_t i = 0; i < size_t{1} << (width - length); ++i)
        table_[first + slot + i] = {static_cast<int16_t>(row.value), static_cast<int16_t>(length)};
    }
  }

  void decode(const uint8_t* stream, int16_t* dst, int32_t len) const {
    uint32_t at = 0;
    for (int32_t i = 0; i < len; ++i) {
      Entry entry = table_[peek(stream, at, 9)];
      if (entry.length < 0) {
        at += 9;
        entry = table_[static_cast<size_t>(entry.symbol) + peek(stream, at, -entry.length)];
      }
      at += static_cast<uint32_t>(entry.length);
      dst[i] = entry.symbol;
    }
  }

 private:
  struct Entry {
    int16_t symbol = 0, length = 0;
  };
  static uint32_t peek(const uint8_t* stream, uint32_t at, int32_t n) {
    uint32_t word;
    std::memcpy(&word, stream + at / 8, 4);
    return __builtin_bswap32(word) << (at & 7) >> (32 - n);
  }
  std::vector<Entry> table_;
};

Rows bookRows(int32_t which) {
  if (which == 0) {
    const Book book = readBook("aac_huffman_scalefactor.csv", "", 0, 1, 1, 2);
    Rows rows;
    for (const Symbol& symbol : book) {
      rows.push_back(symbol.row);
      rows.back().value = symbol.values[0];
    }
    return rows;
  }
  return which < 100 ? tupleRows(aacBook(which), 5) : mp3PairRows(mp3Table(which - 100));
}

std::string nameOf(int32_t which) {
  if (which == 0) return "AAC scale factors";
  return which < 100 ? "AAC book " + std::to_string(which) : "Layer III table " + std::to_string(which - 100);
}

double processorNs() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double cyclesPerNs() {
  static const double cycles = [] {
    constexpr int32_t kAdditions = 100000000;
    uint64_t sum = 0;
    const double start = processorNs();
    for (int32_t i = 0; i < kAdditions; ++i) __asm__ volatile("add $1, %0" : "+r"(sum));
    return kAdditions / (processorNs() - start);
  }();
  return cycles;
}

template <class Decode>
void run(benchmark::State& state, const Input& input, Decode&& decode) {
  std::vector<int16_t> values(input.values.size());
  decode(values.data());
  if (values != input.values) {
    state.SkipWithError("decoded values differ");
    return;
  }
  cyclesPerNs();
  const double start = processorNs();
  for (auto _ : state) {
    decode(values.data());
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  const double ns = (processorNs() - start) / (static_cast<double>(state.iterations()) * kCodeWords);
  state.counters["ns"] = ns;
  state.counters["cycles"] = ns * cyclesPerNs();
  state.SetLabel(nameOf(static_cast<int32_t>(state.range(0))));
}

// range(0): the book; range(1): width of the first level; range(2): code words in a call.
void BM_Block(benchmark::State& state) {
  const Input input = makeInput(bookRows(static_cast<int32_t>(state.range(0))));
  const int32_t widths[] = {static_cast<int32_t>(state.range(1)), 4, 32};
  const auto len = static_cast<int32_t>(state.range(2));
  MoxVlcDecodeSpec* spec = nullptr;
  if (moxsVLCDecodeInitAlloc_32s(words(input.rows), count(input.rows), widths, 3, &spec) != moxStatusOk)
    return state.SkipWithError("no spec");
  run(state, input, [&](int16_t* dst) {
    const uint8_t* at = reinterpret_cast<const uint8_t*>(input.stream.data());
    int32_t offset = 0;
    for (int32_t i = 0; i < kCodeWords; i += len) moxsVLCDecodeBlock_1u16s(&at, &offset, dst + i, len, spec);
  });
  moxsVLCDecodeFree_32s(spec);
}

void BM_TwoLevel(benchmark::State& state) {
  const Input input = makeInput(bookRows(static_cast<int32_t>(state.range(0))));
  const TwoLevel decoder(input.rows);
  run(state, input, [&](int16_t* dst) {
    decoder.decode(reinterpret_cast<const uint8_t*>(input.stream.data()), dst, kCodeWords);
  });
}

constexpr int32_t kBooks[] = {0, 3, 7, 9, 11, 101, 107, 113, 124};

void blocks(benchmark::internal::Benchmark* bench) {
  for (const int32_t book : kBooks)
    for (const int32_t width : {9, 10, 32}) bench->Args({book, width, kCodeWords});
  for (const int32_t len : {16, 64, 128, 256, 1024}) bench->Args({11, 9, len});
}
void twoLevels(benchmark::internal::Benchmark* bench) {
  for (const int32_t book : kBooks) bench->Args({book});
}
BENCHMARK(BM_Block)->Apply(blocks);
BENCHMARK(BM_TwoLevel)->Apply(twoLevels);

}  // namespace
