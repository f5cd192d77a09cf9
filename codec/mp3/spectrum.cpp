#include "codec/mp3/spectrum.h"

#include <algorithm>
#include <cstddef>

#include "codec/mp3/mpeg25_bands.h"

namespace moxc::mp3 {

Fault SpectrumReader::open(const Frame& frame, bool believeCrc) {
  header_ = frame.header;
  firstGranuleFailed_ = false;
  mainData_ = {};
  // Main data follow the side information; a frame cut short by the next one may not even hold that.
  const Bytes own = slice(frame.bytes, header_.mainDataAt());
  const bool whole = frame.bytes.size() >= header_.mainDataAt();
  if (!whole || (believeCrc && header_.hasCrc() && !crcMatches(frame))) {
    reservoir_.assemble(own, 0);  // later frames may begin in these bytes
    return whole ? Fault::crc : Fault::sideInfo;
  }

  // A copy with room behind: the parser's bit reader touches three bytes more.
  std::array<uint8_t, 32 + 4> sideInfo{};
  std::ranges::copy(slice(frame.bytes, header_.sideInfoAt(), header_.sideInfoBytes()), sideInfo.begin());
  const uint8_t* cursor = sideInfo.data();
  int32_t mainDataBegin = 0, privateBits = 0;
  const moxStatus status = moxsUnpackSideInfo_MP3(&cursor, sideInfo_.data(), &mainDataBegin, &privateBits,
                                                  scfsi_.data(), &header_.fields);
  if (status != moxStatusOk) {
    reservoir_.assemble(own, 0);
    return Fault::sideInfo;
  }
  const std::optional<Bytes> mainData = reservoir_.assemble(own, static_cast<size_t>(mainDataBegin));
  if (!mainData) return Fault::missingData;
  mainData_ = *mainData;
  return Fault::none;
}

Fault SpectrumReader::read(int32_t granule, Spectrum& spectrum) {
  Fault fault = readCodes(granule, spectrum);
  const MoxMp3SideInfo* const side = sideInfo_.data() + granule * header_.channels;
  if (fault == Fault::none && requantise(side, spectrum) < moxStatusOk) fault = Fault::mainData;
  if (granule == 0) firstGranuleFailed_ = fault != Fault::none;
  return fault;
}

Fault SpectrumReader::readCodes(int32_t granule, Spectrum& spectrum) {
  const int32_t channels = header_.channels;
  // Each granule and channel has its own run of bits, all of them back to back.
  MoxMp3SideInfo* const first = sideInfo_.data() + granule * channels;
  int64_t begin = 0;
  for (const MoxMp3SideInfo* side = sideInfo_.data(); side != first; ++side) begin += side->part23Len;

  for (int32_t ch = 0; ch < channels; ++ch) {
    MoxMp3SideInfo& side = first[ch];
    const int32_t* const scfsi = scfsi_.data() + 4 * ch;
    const bool repeats = granule == 1 && std::any_of(scfsi, scfsi + 4, [](int32_t bit) { return bit != 0; });
    // Some encoders count regions past the last band, which is where they end.
    if (side.winSwitch == 0) side.reg1Cnt = std::min(side.reg1Cnt, 20 - side.reg0Cnt);
    if (begin + side.part23Len > static_cast<int64_t>(mainData_.size()) * 8 ||
        (repeats && firstGranuleFailed_))
      return Fault::mainData;

    const uint8_t* const start = mainData_.data() + begin / 8;
    const uint8_t* cursor = start;
    int32_t bitOffset = static_cast<int32_t>(begin % 8);
    const int32_t firstBit = bitOffset;
    if (moxsUnpackScaleFactors_MP3_1u8s(&cursor, &bitOffset, scaleFactors_.data() + 39 * ch, &side, scfsi,
                                        &header_.fields, granule, ch) != moxStatusOk)
      return Fault::mainData;
    const int32_t scaleFactorBits = static_cast<int32_t>(cursor - start) * 8 + bitOffset - firstBit;

    // What is left of this channel's bits codes its spectrum. More scale-factor bits than there are bits make
    // the length negative, which the decoder refuses.
    if (decodeHuffman(&cursor, &bitOffset, spectrum.channel(ch),
                      &spectrum.nonZeroBound[static_cast<size_t>(ch)], side,
                      side.part23Len - scaleFactorBits) != moxStatusOk)
      return Fault::mainData;
    spectrum.blockType[static_cast<size_t>(ch)] = side.blockType;
    spectrum.mixedBlock[static_cast<size_t>(ch)] = side.mixedBlock;
    begin += side.part23Len;
  }
  return Fault::none;
}

moxStatus SpectrumReader::decodeHuffman(const uint8_t** cursor, int32_t* bitOffset, int32_t* lines,
                                        int32_t* bound, const MoxMp3SideInfo& side, int32_t bits) const {
  if (header_.version != MpegVersion::mpeg25)
    return moxsHuffmanDecode_MP3_1u32s(cursor, bitOffset, lines, bound, &side, &header_.fields, bits);
  return moxsHuffmanDecodeSfbMbp_MP3_1u32s(cursor, bitOffset, lines, bound, &side, &header_.fields, bits,
                                           kMpeg25LongBands.data(), kMpeg25ShortBands.data(),
                                           kMpeg25MixedBlockPoints);
}

moxStatus SpectrumReader::requantise(const MoxMp3SideInfo* side, Spectrum& spectrum) {
  if (header_.version != MpegVersion::mpeg25)
    return moxsReQuantize_MP3_32s_I(spectrum.lines.data(), spectrum.nonZeroBound.data(), scaleFactors_.data(),
                                    side, &header_.fields, work_.data());
  return moxsReQuantizeSfb_MP3_32s_I(spectrum.lines.data(), spectrum.nonZeroBound.data(),
                                     scaleFactors_.data(), side, &header_.fields, kMpeg25LongBands.data(),
                                     kMpeg25ShortBands.data(), work_.data());
}

}  // namespace moxc::mp3
