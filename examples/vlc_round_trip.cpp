// A code book of one's own: written by the VLC encoder, read back by the multi-level decoder.
#include <moxac.h>

#include <cstdint>
#include <cstdio>
#include <vector>

int main() {
  // value, code word, length: 0 -> 1, 1 -> 01, 2 -> 001, 3 -> 000
  const int32_t rows[][3] = {{0, 1, 1}, {1, 1, 2}, {2, 1, 3}, {3, 0, 3}};
  const int32_t levels[] = {2, 1};  // a look-up of two bits, then one of the last bit

  int32_t encoderBytes = 0;
  int32_t decoderBytes = 0;
  if (moxsVLCEncodeGetSize_32s(rows[0], 4, &encoderBytes) != moxStatusOk) return 1;
  if (moxsVLCDecodeGetSize_32s(rows[0], 4, levels, 2, &decoderBytes) != moxStatusOk) return 1;
  std::vector<uint8_t> encoderMemory(static_cast<size_t>(encoderBytes));
  std::vector<uint8_t> decoderMemory(static_cast<size_t>(decoderBytes));
  auto* const encoder = reinterpret_cast<MoxVlcEncodeSpec*>(encoderMemory.data());
  auto* const decoder = reinterpret_cast<MoxVlcDecodeSpec*>(decoderMemory.data());
  if (moxsVLCEncodeInit_32s(rows[0], 4, encoder) != moxStatusOk) return 1;
  if (moxsVLCDecodeInit_32s(rows[0], 4, levels, 2, decoder) != moxStatusOk) return 1;

  const std::vector<int16_t> values = {0, 0, 1, 3, 0, 2, 1, 0, 0, 3};
  const auto len = static_cast<int32_t>(values.size());
  int32_t bits = 0;
  if (moxsVLCCountBits_16s32s(values.data(), len, &bits, encoder) != moxStatusOk) return 1;

  alignas(4) uint8_t stream[16] = {};  // whole words are written and read
  uint8_t* write = stream;
  int32_t offset = 0;
  if (moxsVLCEncodeBlock_16s1u(values.data(), len, &write, &offset, encoder) != moxStatusOk) return 1;
  std::printf("%d values in %d bits, %td bytes and %d bits\n", len, bits, write - stream, offset);

  std::vector<int16_t> decoded(values.size());
  const uint8_t* read = stream;
  offset = 0;
  if (moxsVLCDecodeBlock_1u16s(&read, &offset, decoded.data(), len, decoder) != moxStatusOk) return 1;
  std::printf("read back %s\n", decoded == values ? "unchanged" : "DIFFERENT");
  return decoded == values ? 0 : 1;
}
