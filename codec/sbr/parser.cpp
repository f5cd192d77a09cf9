// Reads sbr_extension_data().
#include "codec/sbr/parser.h"

#include <algorithm>
#include <bit>

#include "codec/io/crc.h"
#include "codec/sbr/tables.h"

namespace moxc::sbr {
namespace {

enum FrameClass { kFixFix, kFixVar, kVarFix, kVarVar };
constexpr int32_t kExtSbrDataCrc = 14;
constexpr uint32_t kExtensionParametricStereo = 2;

using CheckWord = Crc<10, 0x233>;  // x^10 + x^9 + x^5 + x^4 + x + 1

int32_t field(BitReader& bits, int32_t count) { return static_cast<int32_t>(bits.bits(count)); }

}  // namespace

// sbr_grid()
bool Grid::read(BitReader& bits, bool coarseInHeader, int32_t timeSlots) {
  *this = {};
  coarse = coarseInHeader;
  const int32_t frameClass = field(bits, 2);
  if (frameClass == kFixFix) {
    envelopes = 1 << field(bits, 2);
    if (envelopes > 4) return false;
    coarse = coarse && envelopes > 1;
    highRes.fill(bits.flag());
    const int32_t length =
        (2 * timeSlots + envelopes) / (2 * envelopes);  // rounded; the last one is what is left
    for (int32_t l = 0; l < envelopes; ++l) border[l] = l * length;
    border[envelopes] = timeSlots;
    divideNoise(frameClass, 0);
    return true;
  }

  // Relative borders count from the leading border up, from the trailing one down.
  const int32_t lead = frameClass != kFixVar ? field(bits, 2) : 0;
  const int32_t trail = timeSlots + (frameClass != kVarFix ? field(bits, 2) : 0);
  const int32_t fromLead = frameClass != kFixVar ? field(bits, 2) : 0;
  const int32_t fromTrail = frameClass != kVarFix ? field(bits, 2) : 0;
  envelopes = fromLead + fromTrail + 1;
  if (envelopes > kMaxEnvelopes) return false;
  border[0] = lead;
  for (int32_t l = 1; l <= fromLead; ++l) border[l] = border[l - 1] + 2 * field(bits, 2) + 2;
  border[envelopes] = trail;
  for (int32_t l = envelopes - 1; l > fromLead; --l) border[l] = border[l + 1] - 2 * field(bits, 2) - 2;
  for (int32_t l = 0; l < envelopes; ++l)
    if (border[l] >= border[l + 1]) return false;

  const int32_t pointer = field(bits, static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(envelopes))));
  if (pointer > envelopes + 1) return false;
  for (int32_t l = 0; l < envelopes; ++l)
    highRes[frameClass == kFixVar ? envelopes - 1 - l : l] = bits.flag();
  if (frameClass == kVarFix)
    transient = pointer > 1 ? pointer - 1 : -1;
  else
    transient = pointer > 0 ? envelopes + 1 - pointer : -1;
  divideNoise(frameClass, pointer);
  return true;
}

// One noise floor, or two that meet at one of the borders.
void Grid::divideNoise(int32_t frameClass, int32_t pointer) {
  noiseFloors = envelopes > 1 ? 2 : 1;
  noiseBorder[0] = border[0];
  noiseBorder[noiseFloors] = end();
  if (noiseFloors == 1) return;
  int32_t middle = envelopes / 2;
  if (frameClass == kVarFix)
    middle = pointer == 0 ? 1 : pointer == 1 ? envelopes - 1 : pointer - 1;
  else if (frameClass != kFixFix)
    middle = pointer > 1 ? envelopes + 1 - pointer : envelopes - 1;
  noiseBorder[1] = border[middle];
}

Read Parser::read(Bytes payload, bool pair, Frame& frame) {
  BitReader bits(payload, 0, 8 * payload.size());
  if (field(bits, 4) == kExtSbrDataCrc) {
    const uint32_t word = bits.bits(10);
    CheckWord crc(0);
    crc.addBits(payload, bits.position(), bits.left());
    if (word != crc.value()) return Read::damaged;
  }
  frame = {};
  const State before = state_;
  const bool good =
      (!bits.flag() || readHeader(bits, frame)) && (!state_.hasHeader || readChannels(bits, pair, frame));
  if (good && !state_.hasHeader) return Read::noHeader;
  if (good && bits.flag()) {  // bs_extended_data
    int32_t bytes = field(bits, 4);
    if (bytes == 15) bytes += field(bits, 8);
    BitReader extension(payload, bits.position(), 8 * static_cast<size_t>(bytes));
    // What precedes parametric stereo, if anything ever should, has no length that could be told.
    if (8 * static_cast<size_t>(bytes) <= bits.left() && bytes > 0 &&
        extension.bits(2) == kExtensionParametricStereo)
      frame.stereo = extension;
    for (; bytes > 0; --bytes) bits.bits(8);
  }
  if (good && !bits.overrun()) return Read::good;
  state_ = before;
  return Read::damaged;
}

bool Parser::readHeader(BitReader& bits, Frame& frame) {
  const Header header = Header::read(bits);
  frame.reset = !state_.hasHeader || header.spectrum != state_.header.spectrum;
  if ((frame.reset || header.limiterBands != state_.header.limiterBands) && !state_.bands.make(header, rate_))
    return false;
  if (frame.reset) state_.previous = {};
  state_.header = header;
  state_.hasHeader = true;
  return true;
}

void Parser::Directions::read(BitReader& bits, const Grid& grid) {
  for (int32_t l = 0; l < grid.envelopes; ++l) envelope[l] = bits.flag();
  for (int32_t q = 0; q < grid.noiseFloors; ++q) noise[q] = bits.flag();
}

// sbr_single_channel_element() or sbr_channel_pair_element(), up to bs_extended_data. The second channel of a coupled
// pair has the first one's grid and inverse filtering.
bool Parser::readChannels(BitReader& bits, bool pair, Frame& frame) {
  ChannelFrame &left = frame.channel[0], &right = frame.channel[1];
  Previous &before = state_.previous[0], &beforeRight = state_.previous[1];
  if (bits.flag()) bits.bits(pair ? 8 : 4);  // reserved
  frame.coupled = pair && bits.flag();
  if (!left.grid.read(bits, state_.header.coarse, timeSlots_)) return false;
  if (frame.coupled)
    right.grid = left.grid;
  else if (pair && !right.grid.read(bits, state_.header.coarse, timeSlots_))
    return false;

  Directions directions, directionsRight;
  directions.read(bits, left.grid);
  if (pair) directionsRight.read(bits, right.grid);
  readInverseFilters(bits, left);
  if (frame.coupled)
    right.inverseFilter = left.inverseFilter;
  else if (pair)
    readInverseFilters(bits, right);

  bool good = readEnvelopes(bits, directions, false, before, left);
  if (pair && !frame.coupled) good = good && readEnvelopes(bits, directionsRight, false, beforeRight, right);
  good = good && readNoise(bits, directions, false, before, left);
  if (frame.coupled) good = good && readEnvelopes(bits, directionsRight, true, beforeRight, right);
  if (pair) good = good && readNoise(bits, directionsRight, frame.coupled, beforeRight, right);
  if (!good) return false;

  readHarmonics(bits, left);
  if (pair) readHarmonics(bits, right);
  return true;
}

void Parser::readInverseFilters(BitReader& bits, ChannelFrame& channel) const {
  for (int32_t b = 0; b < state_.bands.noise.bands; ++b)
    channel.inverseFilter[b] = static_cast<uint8_t>(bits.bits(2));
}

void Parser::readHarmonics(BitReader& bits, ChannelFrame& channel) const {
  if (!bits.flag()) return;
  for (int32_t b = 0; b < state_.bands.high.bands; ++b) channel.harmonic[b] = bits.flag();
}

// sbr_envelope() and the delta decoding of 4.6.18.3.5. Differences in time refer to the band of the envelope before
// that holds, or begins with, the band in question.
bool Parser::readEnvelopes(BitReader& bits, const Directions& directions, bool balance, Previous& previous,
                           ChannelFrame& channel) const {
  const Grid& grid = channel.grid;
  const auto* const codes = kEnvelopeCodes[balance][grid.coarse];
  const int32_t step = balance ? 2 : 1, largest = grid.coarse ? 63 : 127;
  const int32_t odd = state_.bands.high.bands % 2;
  for (int32_t l = 0; l < grid.envelopes; ++l) {
    const int32_t bands = state_.bands.envelope(grid.highRes[l]).bands;
    int32_t value = 0;
    for (int32_t b = 0; b < bands; ++b) {
      if (directions.envelope[l]) {
        int32_t same = b;
        if (grid.highRes[l] && !previous.highRes) same = (b + odd) / 2;
        if (!grid.highRes[l] && previous.highRes && b > 0) same = 2 * b - odd;
        value = previous.envelope[same] + step * readDifference(bits, codes[1]);
      } else if (b == 0) {
        value = step * field(bits, 7 - grid.coarse - balance);
      } else {
        value += step * readDifference(bits, codes[0]);
      }
      if (value < 0 || value > largest) return false;
      channel.envelope[l][b] = static_cast<int16_t>(value);
    }
    previous.envelope = channel.envelope[l];
    previous.highRes = grid.highRes[l];
  }
  return true;
}

// sbr_noise()
bool Parser::readNoise(BitReader& bits, const Directions& directions, bool balance, Previous& previous,
                       ChannelFrame& channel) const {
  constexpr int32_t kLargest = 30;
  const auto* const codes = kNoiseCodes[balance];
  const int32_t step = balance ? 2 : 1;
  for (int32_t q = 0; q < channel.grid.noiseFloors; ++q) {
    int32_t value = 0;
    for (int32_t b = 0; b < state_.bands.noise.bands; ++b) {
      if (directions.noise[q])
        value = previous.noise[b] + step * readDifference(bits, codes[1]);
      else
        value = b == 0 ? step * field(bits, 5) : value + step * readDifference(bits, codes[0]);
      if (value < 0 || value > kLargest) return false;
      channel.noise[q][b] = static_cast<int16_t>(value);
    }
    previous.noise = channel.noise[q];
  }
  return true;
}

}  // namespace moxc::sbr
