// Arbitrary bytes through every AAC parser, both noiseless decoders and the tools behind them. The first bytes choose;
// the rest is a header or a raw data block. Every parse runs again on just the bytes that it used and three more, on
// the heap, as records and arrays are, so that sanitizers see one more.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "moxac/aac.h"

using namespace moxfuzz;

namespace {

class AacFuzz {
 public:
  AacFuzz(const uint8_t* data, size_t size) : in_(data, size) {}

  void run() {
    const int32_t what = in_.below(8);
    rate_ = in_.below(13), objectType_ = in_.below(18), layer_ = in_.below(8) == 0 ? 1 : 0;
    predSfbMax_ = in_.below(54), sfb_ = in_.below(4) == 0 ? in_.below(60) : -1, offset_ = in_.below(8);
    bytes_ = in_.bytes(kMostBytes);
    main_.pMsUsed = msUsed_.data(), extension_.pMsUsed = msUsed_.data();
    if (what == 0) {
      parse([&](auto p, auto) { return moxsUnpackADTSFrameHeader_AAC(p, &adts_); });
    } else if (what == 1) {
      parse([&](auto p, auto) { return moxsUnpackADIFHeader_AAC(p, &adif_, pce_.data(), 16); });
    } else if (what == 2) {
      parse([&](auto p, auto k) { return moxsDecodeMainHeader_AAC(p, k, &main_, 1 + rate_ % 2, layer_); });
      const int32_t flags = objectType_, first = predSfbMax_ % 52, sequence = rate_ % 4;
      parse([&](auto p, auto k) {
        return moxsDecodeExtensionHeader_AAC(p, k, &extension_, flags & 1, flags >> 1 & 1, flags >> 2 & 1,
                                             first, 51, sequence);
      });
      channel(0, 0, 1);
    } else {
      rawDataBlock();
    }
  }

 private:
  // Longer than anything that one parse can use.
  static constexpr size_t kMostBytes = 1 << 14;

  template <class Parse>
  moxStatus parse(Parse&& operation) {
    if (at_ > kMostBytes / 2) return moxStatusBadData;
    const uint8_t* p = bytes_.data() + at_;
    int32_t k = offset_;
    const moxStatus status = operation(&p, &k);
    require(p >= bytes_.data() + at_ && k >= 0 && k <= 7);
    const size_t used = static_cast<size_t>(p - bytes_.data()) - at_;
    require(at_ + used + 3 <= kMostBytes);
    const auto first = bytes_.begin() + static_cast<ptrdiff_t>(at_);
    const std::vector<uint8_t> exact(first, first + static_cast<ptrdiff_t>(used + (k > 0) + 3));
    const uint8_t* q = exact.data();
    int32_t again = offset_;
    require(operation(&q, &again) == status && again == k && static_cast<size_t>(q - exact.data()) == used);
    at_ += used, offset_ = k;
    return status;
  }

  int32_t bits(int32_t n) {
    int32_t value = 0;
    for (; n > 0; --n) {
      value = 2 * value + (at_ < kMostBytes ? bytes_[at_] >> (7 - offset_) & 1 : 1);
      at_ += static_cast<size_t>(++offset_ / 8), offset_ %= 8;
    }
    return value;
  }

  void rawDataBlock() {
    for (int32_t id = bits(3), elements = 0; id != 7 && elements < 20; id = bits(3), ++elements) {
      moxStatus status = moxStatusBadData;
      if (id == 4) {
        parse(
            [&](auto p, auto k) { return moxsDecodeDatStrElt_AAC(p, k, &tag_, &count_, dataBytes_.data()); });
        status = moxStatusOk;
      } else if (id == 5) {
        status = parse([&](auto p, auto k) { return moxsDecodePrgCfgElt_AAC(p, k, pce_.data()); });
      } else if (id == 6) {
        status =
            parse([&](auto p, auto k) { return moxsDecodeFillElt_AAC(p, k, &count_, fillBytes_.data()); });
      } else if (bits(4) >= 0 && id == 1) {
        status = pair();
      } else if (id != 2) {
        status = channel(0, 0, layer_);
      }
      if (status != moxStatusOk) return;
    }
  }

  moxStatus pair() {
    moxStatus status = parse([&](auto p, auto k) {
      return objectType_ == 2
                 ? moxsDecodeChanPairElt_AAC(p, k, &ics_[0], &pair_, predSfbMax_)
                 : moxsDecodeChanPairElt_MP4_AAC(p, k, &ics_[0], &pair_, &main_, predSfbMax_, objectType_);
    });
    for (int c = 0; c < 2 && status == moxStatusOk; ++c) status = channel(c, pair_.commonWindow, layer_);
    if (status == moxStatusOk) stereoTools();
    return status;
  }

  moxStatus channel(int c, int32_t commonWindow, int32_t layer) {
    Channel& ch = channels_[c];
    ch.stream.samplingRateIndex = rate_;
    ch.stream.predSfbMax = objectType_ == 2 ? 0 : predSfbMax_;
    MoxAacIcsInfo& ics = commonWindow != 0 ? ics_[0] : ics_[c];
    ch.stream.pIcsInfo = &ics;
    const moxStatus status = parse([&](auto p, auto k) {
      if (objectType_ == 2 && layer == 0)
        return moxsNoiselessDecoder_LC_AAC(p, k, commonWindow, &ch.stream, ch.scaleFactor.data(),
                                           ch.lines.data(), ch.codeBook.data(), ch.tnsCoef.data());
      return moxsNoiselessDecode_AAC(p, k, &main_, ch.scaleFactor.data(), ch.lines.data(), ch.codeBook.data(),
                                     ch.tnsCoef.data(), &ch.stream, predSfbMax_ % 4, predSfbMax_ % 52,
                                     commonWindow, layer, objectType_);
    });
    if (status == moxStatusOk && layer == 0) tools(ch, ics);
    return status;
  }

  struct Channel {
    MoxAacChanStream stream{};
    std::vector<int16_t> scaleFactor = std::vector<int16_t>(408);
    std::vector<uint8_t> codeBook = std::vector<uint8_t>(408);
    std::vector<int8_t> tnsCoef = std::vector<int8_t>(60);
    std::vector<int32_t> lines = std::vector<int32_t>(1024), overlap = std::vector<int32_t>(1024);
    std::vector<int32_t> history = std::vector<int32_t>(MOX_AAC_LTP_HISTORY);
  };

  void tools(Channel& ch, MoxAacIcsInfo& ics) {
    const MoxAacChanStream& s = ch.stream;
    const int32_t len = s.windowLen, maxSfb = sfb_ >= 0 ? sfb_ : ics.maxSfb;
    moxsQuantInv_AAC_32s_I(ch.lines.data(), ch.scaleFactor.data(), ics.numWindowGroups, ics.windowGroupLen,
                           maxSfb, ch.codeBook.data(), rate_, len);
    moxsDecodePNS_AAC_32s(ch.lines.data(), nullptr, ch.codeBook.data(), ch.scaleFactor.data(), maxSfb,
                          ics.numWindowGroups, ics.windowGroupLen, rate_, len, &random_);
    std::vector<int32_t> ordered(1024), prediction(1024), work(MOX_AAC_MDCT_BUFFER_WORDS);
    if (moxsDeinterleaveSpectrum_AAC_32s(ch.lines.data(), ordered.data(), ics.numWindowGroups,
                                         ics.windowGroupLen, rate_, len) != moxStatusOk)
      return;
    moxsLongTermPredict_AAC_32s(ch.history.data(), prediction.data(), ics.windowSequence, ics.windowShape, 0,
                                &main_.ltp[0], work.data());
    moxsLongTermReconstruct_AAC_32s(prediction.data(), ordered.data(), ics.windowSequence, maxSfb, rate_,
                                    &main_.ltp[0], nullptr);
    if (s.tnsDataPresent != 0)
      for (const auto filter : {moxsDecodeTNS_AAC_32s_I, moxsEncodeTNS_AAC_32s_I, moxsDecodeTNS_AAC_32s_I})
        filter(ordered.data(), s.nFilt, s.length, s.order, s.coefRes, ch.tnsCoef.data(), s.direction, maxSfb,
               objectType_ % 3, rate_, len);
    std::vector<int16_t> pcm(1024);
    moxsMDCTInv_AAC_32s16s(ordered.data(), pcm.data(), ch.overlap.data(), ics.windowSequence, ics.windowShape,
                           1, 1, work.data());
    moxsLtpUpdate_AAC_32s(ordered.data(), ch.overlap.data(), ch.history.data());
  }

  void stereoTools() {
    Channel &l = channels_[0], &r = channels_[1];
    const MoxAacIcsInfo& ics = ics_[0];
    const int32_t len = l.stream.windowLen, maxSfb = sfb_ >= 0 ? sfb_ : ics.maxSfb,
                  mask = pair_.msMaskPresent;
    moxsDecodeMsStereo_AAC_32s_I(l.lines.data(), r.lines.data(), mask, pair_.msUsed[0], r.codeBook.data(),
                                 ics.numWindowGroups, ics.windowGroupLen, maxSfb, rate_, len);
    moxsDecodeIsStereo_AAC_32s(l.lines.data(), r.lines.data(), r.scaleFactor.data(), r.codeBook.data(),
                               ics.numWindowGroups, ics.windowGroupLen, maxSfb, rate_, len);
    std::vector<int32_t> used[2] = {std::vector<int32_t>(61), std::vector<int32_t>(61)};
    moxsDecodeMsPNS_AAC_32s(l.lines.data(), r.lines.data(), used[0].data(), used[1].data(), l.codeBook.data(),
                            r.codeBook.data(), l.scaleFactor.data(), r.scaleFactor.data(), mask,
                            pair_.msUsed[0], maxSfb, ics.numWindowGroups, ics.windowGroupLen, rate_, len,
                            &random_);
  }

  FuzzInput in_;
  int32_t rate_ = 0, objectType_ = 0, layer_ = 0, predSfbMax_ = 0, offset_ = 0, tag_ = 0, count_ = 0;
  int32_t sfb_ = -1;  // a number of bands that the stream does not name
  size_t at_ = 0;
  uint32_t random_ = 1;
  std::vector<uint8_t> bytes_, msUsed_ = std::vector<uint8_t>(480), dataBytes_ = std::vector<uint8_t>(510),
                               fillBytes_ = std::vector<uint8_t>(269);
  std::vector<MoxAacPrgCfgElt> pce_ = std::vector<MoxAacPrgCfgElt>(16);
  MoxAacADTSFrameHeader adts_{};
  MoxAacADIFHeader adif_{};
  MoxAacMainHeader main_{};
  MoxAacExtensionHeader extension_{};
  MoxAacIcsInfo ics_[2]{};
  MoxAacChanPairElt pair_{};
  Channel channels_[2];
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  AacFuzz(data, size).run();
  return 0;
}
