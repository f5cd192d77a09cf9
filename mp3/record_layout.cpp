// The layouts of the Layer III records, which callers compiled long ago depend on.
#include <cstddef>

#include "moxac/mp3.h"

namespace moxac::mp3 {
namespace {

constexpr size_t kWord = sizeof(int32_t);

static_assert(sizeof(MoxMp3FrameHeader) == 13 * kWord);
static_assert(offsetof(MoxMp3FrameHeader, crcWord) == 12 * kWord);

static_assert(sizeof(MoxMp3SideInfo) == 18 * kWord);
static_assert(offsetof(MoxMp3SideInfo, tableSelect) == 7 * kWord);
static_assert(offsetof(MoxMp3SideInfo, cnt1TabSel) == 17 * kWord);

static_assert(sizeof(MoxMp3BitReservoir) == 2 * kWord);

}  // namespace
}  // namespace moxac::mp3
