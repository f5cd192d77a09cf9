// Raw data blocks: the syntax around what the library parses.
#include "codec/aac/block.h"

#include <algorithm>

#include "codec/aac/tables.h"
#include "codec/io/bit_reader.h"
#include "moxac/extras.h"

namespace moxc::aac {
namespace {

// Eight channels of 6144 bits are the most that a block may hold; data and fill elements come on top.
constexpr size_t kMaxBlockBytes = 16384;
constexpr size_t kMaxElements = 64;
// The library's operations see the end of the data only when they have passed it: by a channel at most, whose 512
// code words of two lines take at most 12 + 2 + 2 * 21 bits each, and by what comes before its spectrum.
constexpr size_t kPad = 512 * 56 / 8 + 1024;

constexpr int32_t kExtDataElement = 2, kExtDynamicRange = 11, kExtSbrData = 13,
                  kExtSbrDataCrc = 14;  // extension_type

// Bytes of a data element in a fill element: its type and version, a length of bytes of 255 and one less, the data.
// 0 when it does not fit.
size_t dataElementBytes(Bytes bytes) {
  constexpr uint8_t kAncillaryData = 0;
  if ((bytes[0] & 15) != kAncillaryData) return bytes.size();
  size_t at = 1, length = 0;
  do {
    if (at == bytes.size()) return 0;
    length += bytes[at];
  } while (bytes[at++] == 255);
  return at + length <= bytes.size() ? at + length : 0;
}

// pulse_data(): lines of a long window whose magnitudes are larger than coded.
struct Pulses {
  struct Pulse {
    int32_t offset, amplitude;
  };
  int32_t count = 0, firstBand = 0;
  std::array<Pulse, 4> pulse;

  void read(BitReader& bits) {  // from pulse_data_present on
    if (!bits.flag()) return;
    count = static_cast<int32_t>(bits.bits(2)) + 1;
    firstBand = static_cast<int32_t>(bits.bits(6));
    for (int32_t i = 0; i < count; ++i) {
      pulse[static_cast<size_t>(i)].offset = static_cast<int32_t>(bits.bits(5));
      pulse[static_cast<size_t>(i)].amplitude = static_cast<int32_t>(bits.bits(4));
    }
  }
  bool add(int32_t line, std::array<int32_t, 1024>& spectrum) const {
    for (int32_t i = 0; i < count; ++i) {
      line += pulse[static_cast<size_t>(i)].offset;
      if (line >= 1024) return false;
      int32_t& value = spectrum[static_cast<size_t>(line)];
      value += value > 0 ? pulse[static_cast<size_t>(i)].amplitude : -pulse[static_cast<size_t>(i)].amplitude;
    }
    return true;
  }
};

}  // namespace

BlockReader::BlockReader(const Config& config)
    : config_(config),
      scaleFactorCode_(nullptr, moxsVLCDecodeFree_32s),
      buffer_(kMaxBlockBytes + kPad),
      couplingChannel_(std::make_unique<Channel>()) {
  static constexpr int32_t kLookupLevels[] = {8, 11};
  MoxVlcDecodeSpec* spec = nullptr;
  if (moxsVLCDecodeInitAlloc_32s(kScaleFactorRows[0], 121, kLookupLevels, 2, &spec) != moxStatusOk)
    throw std::bad_alloc();
  scaleFactorCode_.reset(spec);
}

int32_t BlockReader::bits(int32_t count) {
  BitReader reader(buffer_, position(), static_cast<size_t>(count));
  const auto value = static_cast<int32_t>(reader.bits(count));
  moveTo(reader.position());
  return value;
}

size_t BlockReader::position() const {
  return static_cast<size_t>(stream_ - buffer_.data()) * 8 + static_cast<size_t>(offset_);
}

void BlockReader::moveTo(size_t position) {
  stream_ = buffer_.data() + position / 8;
  offset_ = static_cast<int32_t>(position % 8);
}

bool BlockReader::read(Bytes bytes, Block& block) {
  bytes = slice(bytes, 0, kMaxBlockBytes);
  std::copy(bytes.begin(), bytes.end(), buffer_.begin());
  std::fill_n(buffer_.begin() + static_cast<ptrdiff_t>(bytes.size()), kPad, uint8_t{0});
  stream_ = buffer_.data();
  offset_ = 0;
  end_ = 8 * bytes.size();

  block.elements = 0;
  block.program.reset();
  block.dynamicRange.reset();
  block.hasSbr = block.hasCoupling = false;
  block.protectedBits.clear();
  const bool good = readElements(block);
  block.bytes = std::min((position() + 7) / 8, bytes.size());
  return good;
}

bool BlockReader::readElements(Block& block) {
  for (;;) {
    const auto id = static_cast<ElementId>(bits(3));
    if (!within()) return false;
    if (id == ElementId::end) return true;

    const size_t start = position();
    size_t firstChannelEnd = 0;  // of a pair
    bool good = true;
    switch (id) {
      case ElementId::sce:
      case ElementId::lfe:
        good = block.elements < kMaxElements && readChannel(false, nextElement(block, id).channel[0]);
        break;
      case ElementId::cpe: {
        if (block.elements == kMaxElements) return false;
        Element& element = nextElement(block, id);
        good = readPair(element) && readChannel(element.pair.commonWindow == 1, element.channel[0]);
        firstChannelEnd = position();
        good = good && readChannel(element.pair.commonWindow == 1, element.channel[1]);
        break;
      }
      case ElementId::cce:
        good = readCoupling();
        block.hasCoupling = true;
        break;
      case ElementId::dse: {
        int32_t tag, count;
        std::array<uint8_t, 510> data;
        moxsDecodeDatStrElt_AAC(&stream_, &offset_, &tag, &count, data.data());
        break;
      }
      case ElementId::pce:
        moxsDecodePrgCfgElt_AAC(&stream_, &offset_, &block.program.emplace());
        break;
      default:
        good = readFill(block);
    }
    if (!good || !within()) return false;

    // ISO/IEC 13818-7, 6.2.3: 192 bits of every channel element, 128 of a pair's second channel, and program
    // configuration and data stream elements whole are protected.
    const size_t length = position() - start;
    if (id == ElementId::dse || id == ElementId::pce)
      block.protectedBits.push_back({start, length, length});
    else if (id != ElementId::fil)
      block.protectedBits.push_back({start, std::min<size_t>(length, 192), 192});
    if (id == ElementId::cpe)
      block.protectedBits.push_back(
          {firstChannelEnd, std::min<size_t>(position() - firstChannelEnd, 128), 128});
  }
}

Element& BlockReader::nextElement(Block& block, ElementId id) {
  if (block.elements == block.storage.size()) block.storage.push_back(std::make_unique<Element>());
  Element& element = *block.storage[block.elements++];
  element.id = id;
  element.tag = bits(4);
  element.replicationBytes = 0;
  return element;
}

// What stands before the channels of a pair: under a common window, its window information and M/S mask.
bool BlockReader::readPair(Element& element) {
  Channel &left = element.channel[0], &right = element.channel[1];
  const moxStatus status =
      moxsDecodeChanPairElt_MP4_AAC(&stream_, &offset_, &left.ics, &element.pair, &ltpHolder_,
                                    moxAacPredSfbMax[config_.rateIndex], config_.objectType);
  if (status != moxStatusOk) return false;
  if (element.pair.commonWindow == 0) {
    element.pair.msMaskPresent = 0;
    return true;
  }
  right.ics = left.ics;
  left.ltp = ltpHolder_.ltp[0];
  right.ltp = ltpHolder_.ltp[1];
  return element.pair.msMaskPresent != 3;  // reserved
}

bool BlockReader::readChannel(bool commonWindow, Channel& channel) {
  channel.stream.samplingRateIndex = config_.rateIndex;
  channel.stream.predSfbMax = moxAacPredSfbMax[config_.rateIndex];
  channel.stream.pIcsInfo = &channel.ics;
  channel.longTns.numFilters = 0;
  const size_t start = position();
  moxStatus status =
      moxsNoiselessDecode_AAC(&stream_, &offset_, &ltpHolder_, channel.scaleFactor.data(),
                              channel.spectrum.data(), channel.sfbCb.data(), channel.tnsCoef.data(),
                              &channel.stream, 0, 0, commonWindow, 0, config_.objectType);
  if (status == moxStatusAacTnsOrderError && config_.objectType == MOX_AAC_OBJECT_MAIN) {
    moveTo(start);
    if (readAroundLongTns(commonWindow, channel)) status = moxStatusOk;
  }
  if (status != moxStatusOk || channel.ics.maxSfb > channel.stream.numSwb || !within()) return false;
  if (!commonWindow) channel.ltp = ltpHolder_.ltp[0];
  // LC has neither kind of prediction, and a predictor can be reset by groups 1 to 30 only.
  if (channel.ics.predictorDataPresent != 0 && config_.objectType == 2) return false;
  if (channel.ics.predictorReset != 0 &&
      (channel.ics.predictorResetGroupNum < 1 || channel.ics.predictorResetGroupNum > 30))
    return false;
  moxSeparateNoiseEnergies(channel.scaleFactor.data(), channel.sfbCb.data(),
                           static_cast<int32_t>(channel.books().size()), channel.stream.globalGain);
  return true;
}

// The Main profile's filters have up to 20 coefficients, the library's 12. Its noiseless decoder stops at such a
// filter; but it also decodes the channels of layered streams, which have no pulse, TNS and gain-control data between
// scale factors and spectrum. So these data are read here, and the channel is decoded from a copy without them.
bool BlockReader::readAroundLongTns(bool commonWindow, Channel& channel) {
  const MoxAacIcsInfo& ics = channel.ics;
  if (ics.windowSequence == MOX_AAC_EIGHT_SHORT) return false;
  const size_t gainAt = position(), sectionsAt = gainAt + 8 + (commonWindow ? 0 : icsInfoBits(ics));
  if (!skipScaleFactors(sectionsAt, channel)) return false;

  const size_t toolsAt = position();
  BitReader tools(Bytes(buffer_).first((end_ + 7) / 8), toolsAt, end_ - toolsAt);
  Pulses pulses;
  pulses.read(tools);
  tools.flag();                                                                       // tns_data_present
  if (!channel.longTns.read(tools) || tools.flag() || tools.overrun()) return false;  // gain control

  if (!readWithout(toolsAt, tools.position(), gainAt, sectionsAt, commonWindow, channel)) return false;
  return pulses.firstBand < channel.stream.numSwb &&
         pulses.add(moxAacSwbOffsetLong[config_.rateIndex][pulses.firstBand], channel.spectrum);
}

// Past the sections and the scale factors of a long window whose code books are known.
bool BlockReader::skipScaleFactors(size_t sectionsAt, const Channel& channel) {
  const MoxAacChanStream& stream = channel.stream;
  size_t factorsAt = sectionsAt;
  for (int32_t s = 0, start = 0; s < stream.numSec[0]; start = stream.sectEnd[s++])
    factorsAt += 4 + 5 * static_cast<size_t>((stream.sectEnd[s] - start) / 31 + 1);
  moveTo(factorsAt);
  bool noiseSeen = false;
  for (int32_t band = 0; band < channel.ics.maxSfb; ++band) {
    const int32_t book = channel.sfbCb[static_cast<size_t>(band)];
    int16_t difference;
    if (book == MOX_AAC_BOOK_NOISE && !noiseSeen) {
      bits(9);
      noiseSeen = true;
    } else if (book != 0 && moxsVLCDecodeOne_1u16s(&stream_, &offset_, &difference, scaleFactorCode_.get()) !=
                                moxStatusOk) {
      return false;
    }
  }
  return within();
}

// Decodes the channel from its global gain on as if bits [from, to) and its window information were not there.
bool BlockReader::readWithout(size_t from, size_t to, size_t gainAt, size_t sectionsAt, bool commonWindow,
                              Channel& channel) {
  std::vector<uint8_t> joined(buffer_.size());
  size_t written = 0;
  const auto copy = [&](size_t first, size_t last) {
    for (; first < last; ++first, ++written)
      joined[written / 8] |=
          static_cast<uint8_t>(((buffer_[first / 8] >> (7 - first % 8)) & 1) << (7 - written % 8));
  };
  copy(gainAt, gainAt + 8);
  copy(sectionsAt, from);
  const size_t headBits = written;
  copy(to, end_);

  ltpHolder_.numWindowGroups = ltpHolder_.windowGroupLen[0] = 1;
  const uint8_t* at = joined.data();
  int32_t bit = 0;
  if (moxsNoiselessDecode_AAC(&at, &bit, &ltpHolder_, channel.scaleFactor.data(), channel.spectrum.data(),
                              channel.sfbCb.data(), channel.tnsCoef.data(), &channel.stream,
                              channel.ics.windowSequence, channel.ics.maxSfb, commonWindow, 1,
                              config_.objectType) != moxStatusOk)
    return false;
  moveTo(to + static_cast<size_t>(at - joined.data()) * 8 + static_cast<size_t>(bit) - headBits);
  return true;
}

// Length of a long window's ics_info(), as it was read.
size_t BlockReader::icsInfoBits(const MoxAacIcsInfo& ics) const {
  if (ics.predictorDataPresent == 0) return 11;
  const auto flags = static_cast<size_t>(std::min(ics.maxSfb, moxAacPredSfbMax[config_.rateIndex]));
  return 11 + (ics.predictorReset != 0 ? 6 : 1) + flags;
}

// coupling_channel_element(): a channel that is to be added to others, with gain lists for each of them. Only the
// way to its end is of interest. ISO/IEC 14496-3, Table 4.8.
bool BlockReader::readCoupling() {
  bits(4);  // element_instance_tag
  const bool independent = bits(1) != 0;
  const int32_t coupled = bits(3) + 1;
  int32_t gainLists = coupled;
  for (int32_t i = 0; i < coupled; ++i) {
    const bool isPair = bits(1) != 0;
    bits(4);  // the target's tag
    if (isPair && bits(2) == 3) ++gainLists;
  }
  bits(4);  // domain, sign and scale of the gains
  Channel& channel = *couplingChannel_;
  if (!readChannel(false, channel)) return false;

  const auto codedBands =
      std::count_if(channel.books().begin(), channel.books().end(), [](uint8_t book) { return book != 0; });
  int16_t gain;
  for (int32_t list = 1; list < gainLists; ++list) {
    const bool common = independent || bits(1) != 0;
    for (int64_t n = common ? 1 : codedBands; n > 0; --n)
      if (moxsVLCDecodeOne_1u16s(&stream_, &offset_, &gain, scaleFactorCode_.get()) != moxStatusOk ||
          !within())
        return false;
  }
  return true;
}

bool BlockReader::readFill(Block& block) {
  int32_t count;
  std::array<uint8_t, 269> data;
  moxsDecodeFillElt_AAC(&stream_, &offset_, &count, data.data());
  for (Bytes rest = Bytes(data).first(static_cast<size_t>(count)); !rest.empty();) {
    size_t length = rest.size();  // of this extension; most last as long as the element
    switch (rest[0] >> 4) {
      case kExtDataElement:
        length = dataElementBytes(rest);
        break;
      case kExtDynamicRange:
        block.dynamicRange.emplace();
        length = block.dynamicRange->read(rest);
        if (length == 0) block.dynamicRange.reset();
        break;
      case kExtSbrData:
      case kExtSbrDataCrc: {
        if (block.elements == 0) break;
        Element& element = *block.storage[block.elements - 1];
        if (element.id == ElementId::lfe) break;  // which has no high band
        block.hasSbr = true;
        element.replicationBytes = rest.size();
        std::copy(rest.begin(), rest.end(), element.replication.begin());
        break;
      }
      default:
        break;
    }
    if (length == 0) return true;  // it claims more than is there: what follows cannot be found
    rest = slice(rest, length);
  }
  return true;
}

}  // namespace moxc::aac
