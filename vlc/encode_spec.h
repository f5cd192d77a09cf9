// The encoder spec: code words and their lengths, indexed by value.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/context.h"
#include "vlc/input_table.h"

namespace moxac::vlc {

// Sixteen 32-bit words, then 2^bits code lengths and range + 1 code words, range = max - min of the values.
struct VlcEncodeRecord {
  const uint32_t* lengths;  // 0: no row names the value
  uint32_t offset;          // -min, modulo 2^32
  uint32_t bits;            // binary digits of range + 1
  uint32_t allocated;
  ContextId identifier;
  uint32_t unused[10];
};
static_assert(offsetof(VlcEncodeRecord, offset) == 8 && offsetof(VlcEncodeRecord, identifier) == 20);
static_assert(sizeof(VlcEncodeRecord) == 64);

struct VlcEncoder {
  using Record = VlcEncodeRecord;
  static constexpr ContextId kIdentifier = ContextId::vlcEncoder;
  static constexpr uintptr_t kAlignment = 64;
  static constexpr OnFree kOnFree = OnFree::clearIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::leaveBlock;
};

struct EncodeLayout {
  int32_t min = 0;
  int64_t range = 0;
  int32_t bits = 0;
  int32_t bytes = 0;  // of the spec, with the slack for its alignment
};

// moxStatusVlcError without rows; moxStatusVlcBadTable for a length outside 1..32 or a size beyond int32.
moxStatus layOutEncoder(const InputTable& table, EncodeLayout& layout);

void buildEncoder(const InputTable& table, const EncodeLayout& layout, VlcEncodeRecord& record);

}  // namespace moxac::vlc
