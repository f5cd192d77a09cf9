// Checks of a code book and construction of the encoder's arrays.
#include "vlc/encode_spec.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace moxac::vlc {
namespace {
// The header, the array's last element that `range` leaves out, and 64 bytes for aligning it all.
constexpr int64_t kBytesBesideArrays = 132;
}  // namespace

moxStatus layOutEncoder(const InputTable& table, EncodeLayout& layout) {
  MOX_REQUIRE(table.rows() >= 1, moxStatusVlcError);
  MOX_REQUIRE(table.lengthsAreValid(), moxStatusVlcBadTable);
  int32_t min = table.value(0), max = table.value(0);
  for (int32_t i = 1; i < table.rows(); ++i) {
    min = std::min(min, table.value(i));
    max = std::max(max, table.value(i));
  }
  layout.min = min;
  layout.range = int64_t{max} - min;
  layout.bits = static_cast<int32_t>(std::bit_width(static_cast<uint64_t>(layout.range) + 1));
  const int64_t bytes = (layout.range + (int64_t{1} << layout.bits)) * 4 + kBytesBesideArrays;
  MOX_REQUIRE(bytes <= std::numeric_limits<int32_t>::max(), moxStatusVlcBadTable);
  layout.bytes = static_cast<int32_t>(bytes);
  return moxStatusOk;
}

void buildEncoder(const InputTable& table, const EncodeLayout& layout, VlcEncodeRecord& record) {
  auto* const lengths = reinterpret_cast<uint32_t*>(&record + 1);
  uint32_t* const codes = lengths + (int64_t{1} << layout.bits);
  std::fill(lengths, codes + layout.range + 1, 0u);
  for (int32_t i = 0; i < table.rows(); ++i) {
    const CodeRow row = table[i];
    const int64_t index = int64_t{row.value} - layout.min;
    lengths[index] = static_cast<uint32_t>(row.length);
    codes[index] = row.code;
  }
  record = {lengths,
            -static_cast<uint32_t>(layout.min),
            static_cast<uint32_t>(layout.bits),
            0,
            VlcEncoder::kIdentifier,
            {}};
}

}  // namespace moxac::vlc
