// Arbitrary bytes as code books and streams; specs and streams have exactly the bytes that the header asks
// for, on the heap, so that sanitizers see one more.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "moxac/vlc.h"

using namespace moxfuzz;

namespace {

class VlcFuzz {
 public:
  VlcFuzz(const uint8_t* data, size_t size) : in_(data, size) {}

  void run() {
    readTable(in_.below(2) == 0);
    const auto widths = static_cast<int32_t>(widths_.size());
    const int32_t tupleSize = in_.below(5), valueBits = in_.below(14);
    int32_t size = 0, tupleBytes = 0;
    if (moxsVLCDecodeGetSize_32s(table_.data(), rows(), widths_.data(), widths, &size) == moxStatusOk &&
        size < kLargestSpec) {
      std::vector<uint8_t> memory(static_cast<size_t>(size));
      auto* const spec = reinterpret_cast<MoxVlcDecodeSpec*>(memory.data());
      if (moxsVLCDecodeInit_32s(table_.data(), rows(), widths_.data(), widths, spec) == moxStatusOk) {
        decodePlain(spec);
        decodeEscapes(spec);
      }
    }
    if (moxsVLCDecodeUTupleGetSize_32s(table_.data(), rows(), widths_.data(), widths, tupleSize, valueBits,
                                       &tupleBytes) == moxStatusOk &&
        tupleBytes < kLargestSpec) {
      std::vector<uint8_t> memory(static_cast<size_t>(tupleBytes));
      auto* const spec = reinterpret_cast<MoxVlcDecodeSpec*>(memory.data());
      if (moxsVLCDecodeUTupleInit_32s(table_.data(), rows(), widths_.data(), widths, tupleSize, valueBits,
                                      spec) == moxStatusOk)
        decodeTuples(spec, tupleSize);
    }
  }

 private:
  static constexpr int32_t kLargestSpec = 1 << 20;
  static constexpr int32_t kMostValues = 512;

  int32_t rows() const { return static_cast<int32_t>(table_.size() / 3); }

  // Rows as they come, or the leaves of a tree that the bytes split.
  void readTable(bool prefixFree) {
    const int32_t n = 2 + in_.below(100);
    if (!prefixFree) {
      for (int32_t i = 0; i < n; ++i)
        table_.insert(table_.end(), {in_.record<int32_t>(), in_.record<int32_t>(), in_.below(34)});
    } else {
      table_ = {0, 0, 1, 1, 1, 1};
      while (rows() < n) {
        const auto leaf = static_cast<size_t>(in_.below(rows())) * 3;
        if (table_[leaf + 2] == 32) break;
        const auto code = static_cast<uint32_t>(table_[leaf + 1]) << 1;
        const int32_t length = ++table_[leaf + 2];
        table_[leaf + 1] = static_cast<int32_t>(code);
        table_.insert(table_.end(), {rows() * in_.below(8), static_cast<int32_t>(code | 1), length});
      }
      if (in_.below(2) == 0) table_.resize(table_.size() - 3);  // an incomplete code
    }
    for (int32_t sum = 0; sum < 32;) {
      widths_.push_back(in_.below(10));
      sum += std::max(1, widths_.back());
    }
  }

  // The bytes that are left, in words enough for kMostValues items of at most 32 + 2 * (12 + 1 + 16) bits.
  std::vector<uint32_t> stream() {
    std::vector<uint32_t> words(static_cast<size_t>(kMostValues) * 5);
    std::memcpy(words.data(), FuzzInput(in_).bytes(words.size() * 4).data(), words.size() * 4);
    return words;
  }

  template <class Decode>
  void check(const std::vector<uint32_t>& words, int32_t len, Decode&& decode) {
    const auto* at = reinterpret_cast<const uint8_t*>(words.data()) + len % 4;
    const uint8_t* const end = at + words.size() * 4;
    int32_t offset = len % 8;
    values_.assign(static_cast<size_t>(len), 0);
    status_ = decode(&at, &offset, values_.data());
    require(status_ == moxStatusOk || status_ == moxStatusVlcError);
    require(at >= reinterpret_cast<const uint8_t*>(words.data()) && at <= end && offset >= 0 && offset <= 7);
  }

  void decodePlain(const MoxVlcDecodeSpec* spec) {
    const auto words = stream();
    const int32_t len = 1 + in_.below(2) * (kMostValues - 256) + in_.below(256);
    check(words, len,
          [&](auto p, auto k, auto dst) { return moxsVLCDecodeBlock_1u16s(p, k, dst, len, spec); });
    const std::vector<int16_t> block = values_;
    const moxStatus blockStatus = status_;
    check(words, len, [&](auto p, auto k, auto dst) {
      moxStatus status = moxStatusOk;
      for (int32_t i = 0; i < len && status == moxStatusOk; ++i)
        status = moxsVLCDecodeOne_1u16s(p, k, dst + i, spec);
      return status;
    });
    require(block == values_ && blockStatus == status_);
    if (status_ == moxStatusOk) encode();
  }

  // The decoded values, when they are the rows' own, take as many bits as are counted.
  void encode() {
    int32_t size = 0, bits = 0, offset = 5;
    if (moxsVLCEncodeGetSize_32s(table_.data(), rows(), &size) != moxStatusOk || size >= kLargestSpec) return;
    std::vector<uint8_t> memory(static_cast<size_t>(size));
    auto* const spec = reinterpret_cast<MoxVlcEncodeSpec*>(memory.data());
    require(moxsVLCEncodeInit_32s(table_.data(), rows(), spec) == moxStatusOk);
    const auto len = static_cast<int32_t>(values_.size());
    if (moxsVLCCountBits_16s32s(values_.data(), len, &bits, spec) != moxStatusOk) return;
    std::vector<uint32_t> out((static_cast<size_t>(bits) + 5 + 31) / 32);
    auto* at = reinterpret_cast<uint8_t*>(out.data());
    require(moxsVLCEncodeBlock_16s1u(values_.data(), len, &at, &offset, spec) == moxStatusOk);
    require(8 * (at - reinterpret_cast<uint8_t*>(out.data())) + offset == bits + 5);
  }

  void decodeEscapes(const MoxVlcDecodeSpec* spec) {
    const auto words = stream();
    const int32_t linBits = in_.below(14), len = 2 + 2 * in_.below(256);
    check(words, len,
          [&](auto p, auto k, auto dst) { return moxsVLCDecodeEscBlock_AAC_1u16s(p, k, dst, len, spec); });
    check(words, len, [&](auto p, auto k, auto dst) {
      return moxsVLCDecodeEscBlock_MP3_1u16s(p, k, dst, len, linBits, spec);
    });
  }

  void decodeTuples(const MoxVlcDecodeSpec* spec, int32_t tupleSize) {
    const auto words = stream();
    const int32_t linBits = in_.below(14), len = tupleSize * (1 + in_.below(kMostValues / tupleSize));
    check(words, len,
          [&](auto p, auto k, auto dst) { return moxsVLCDecodeUTupleBlock_1u16s(p, k, dst, len, spec); });
    check(words, len, [&](auto p, auto k, auto dst) {
      return moxsVLCDecodeUTupleEscBlock_AAC_1u16s(p, k, dst, len, spec);
    });
    check(words, len, [&](auto p, auto k, auto dst) {
      return moxsVLCDecodeUTupleEscBlock_MP3_1u16s(p, k, dst, len, linBits, spec);
    });
  }

  FuzzInput in_;
  std::vector<int32_t> table_, widths_;
  std::vector<int16_t> values_;
  moxStatus status_ = moxStatusOk;
};

void fuzzVlc(const uint8_t* data, size_t size) { VlcFuzz(data, size).run(); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzVlc(data, size);
  return 0;
}
