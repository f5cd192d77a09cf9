// The layouts of the AAC records, which callers compiled long ago depend on.
#include <cstddef>

#include "moxac/aac.h"

namespace moxac::aac {
namespace {

constexpr size_t kWord = sizeof(int32_t);

static_assert(sizeof(void*) == 8, "the records hold 64-bit pointers");

static_assert(sizeof(MoxAacADTSFrameHeader) == 16 * kWord);
static_assert(offsetof(MoxAacADTSFrameHeader, reserved) == 9 * kWord);
static_assert(offsetof(MoxAacADTSFrameHeader, crcCheck) == 15 * kWord);

static_assert(sizeof(MoxAacADIFHeader) == 104);
static_assert(offsetof(MoxAacADIFHeader, bufferFullness) == 7 * kWord);
static_assert(offsetof(MoxAacADIFHeader, copyrightId) == 23 * kWord);

static_assert(sizeof(MoxAacPrgCfgElt) == 884);
static_assert(offsetof(MoxAacPrgCfgElt, frontEltIsCpe) == 16 * kWord);
static_assert(offsetof(MoxAacPrgCfgElt, lfeEltTagSel) == 112 * kWord);
static_assert(offsetof(MoxAacPrgCfgElt, validCcEltTagSel) == 140 * kWord);
static_assert(offsetof(MoxAacPrgCfgElt, commentFieldData) == 157 * kWord);

static_assert(sizeof(MoxAacIcsInfo) == 28 * kWord);
static_assert(offsetof(MoxAacIcsInfo, predictionUsed) == 8 * kWord);
static_assert(offsetof(MoxAacIcsInfo, numWindowGroups) == 19 * kWord);

static_assert(sizeof(MoxAacChanPairElt) == 488);
static_assert(offsetof(MoxAacChanPairElt, msUsed) == 2 * kWord);

static_assert(sizeof(MoxAacTnsInfo) == 64 * kWord);
static_assert(offsetof(MoxAacTnsInfo, reserved) == 41 * kWord);
static_assert(offsetof(MoxAacTnsInfo, coef) == 49 * kWord);

static_assert(sizeof(MoxAacLtpInfo) == 88 * kWord);
static_assert(offsetof(MoxAacLtpInfo, longUsed) == 4 * kWord);
static_assert(offsetof(MoxAacLtpInfo, shortUsed) == 64 * kWord);
static_assert(offsetof(MoxAacLtpInfo, shortLag) == 80 * kWord);

static_assert(sizeof(MoxAacMainHeader) == 1280);
static_assert(offsetof(MoxAacMainHeader, pMsUsed) == 14 * kWord);
static_assert(offsetof(MoxAacMainHeader, tns) == 16 * kWord);
static_assert(offsetof(MoxAacMainHeader, ltp) == 144 * kWord);

static_assert(sizeof(MoxAacExtensionHeader) == 936);
static_assert(offsetof(MoxAacExtensionHeader, pMsUsed) == 8);
static_assert(offsetof(MoxAacExtensionHeader, tns) == 4 * kWord);
static_assert(offsetof(MoxAacExtensionHeader, diffControl) == 132 * kWord);

static_assert(sizeof(MoxAacChanStream) == 488);
static_assert(offsetof(MoxAacChanStream, pIcsInfo) == 12 * kWord);
static_assert(offsetof(MoxAacChanStream, sectCb) == 14 * kWord);
static_assert(offsetof(MoxAacChanStream, numSec) == 296);
static_assert(offsetof(MoxAacChanStream, nFilt) == 328);
static_assert(offsetof(MoxAacChanStream, direction) == 456);

}  // namespace
}  // namespace moxac::aac
