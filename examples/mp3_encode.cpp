// Encodes 16-bit WAV (32, 44.1 or 48 kHz) as MP3 at 128 kbit/s: psychoacoustics, filter banks, joint stereo,
// quantisation, packing. usage: mp3_encode IN.wav OUT.mp3
#include <moxac/extras.h>
#include <moxac/tables.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

constexpr int kLines = 576, kBands = 32, kBitRate = 128000, kBitRateIndex = 9;
constexpr MoxMp3EncoderParameters kParameters = MOX_MP3_ENCODER_DEFAULTS;

using Psy = MoxMp3PsychoacousticModelTwoAnalysis;
using Bytes = std::vector<uint8_t>;

void check(moxStatus status) {
  if (status < 0) throw std::runtime_error(moxStatusText(status));
}

// Spectra and what is heard of them, granule by granule. The model answers for the granule before the one given,
// which is therefore transformed one granule late.
void analyse(const std::vector<int16_t>& samples, const MoxMp3FrameHeader& header, int channels,
             std::vector<int32_t>& lines, std::vector<Psy>& psy) {
  MoxMp3PsychoacousticModelTwoState model{};
  int32_t history[2][512] = {}, position[2] = {}, overlap[2][kLines] = {}, slots[kLines];
  for (size_t at = 0; at < samples.size(); at += static_cast<size_t>(kLines * channels)) {
    Psy heard[2];
    check(moxsPsychoacousticModelTwo_MP3_16s(&samples[at], heard, &header, &kParameters, &model));
    for (int ch = 0; at > 0 && ch < channels; ++ch) {
      const int16_t* in = &samples[at] - kLines * channels + ch;
      for (int i = 0; i < kLines; i += kBands, in += kBands * channels)
        check(moxsAnalysisPQMF_MP3_16s32s(in, slots + i, history[ch], &position[ch], channels));
      lines.resize(lines.size() + kLines);
      check(moxsMDCTFwd_MP3_32s(slots, &lines.end()[-kLines], overlap[ch], heard[ch].blockType, 0, &header));
      psy.push_back(heard[ch]);
    }
  }
}

// The frame of two granules: header and side information to `head`, main data to the end of `main`.
void encodeFrame(int32_t* lines, Psy* psy, MoxMp3FrameHeader& header, MoxMp3BitReservoir& reservoir, int room,
                 Bytes& head, Bytes& main) {
  const int channels = header.mode == 3 ? 1 : 2;
  if (channels == 2) check(moxsJointStereoEncode_MP3_32s_I(lines, psy, &header, &kParameters));
  int8_t scaleFactors[4 * 39];
  int32_t scfsi[8], count1Len[4], bit = 0;
  MoxMp3SideInfo side[4] = {};
  const int begin = reservoir.resBits / 8;  // so many bytes before the frame's own
  check(moxsQuantize_MP3_32s_I(lines, scaleFactors, scfsi, count1Len, side, &reservoir, 8 * room, 1, psy,
                               &header, &kParameters));

  head.resize(4 + 32 + 1);  // packers touch the byte behind
  uint8_t* p = head.data();
  check(moxsPackFrameHeader_MP3(&header, &p));
  check(moxsPackSideInfo_MP3(side, &p, begin, 0, scfsi, &header));
  head.resize(static_cast<size_t>(p - head.data()));

  uint8_t packed[4 * 512 + 8] = {};
  p = packed;
  for (int i = 0; i < 2 * channels; ++i) {
    const int granule = i / channels, ch = i % channels;
    const auto position = [&] { return static_cast<int32_t>(8 * (p - packed)) + bit; };
    const int32_t start = position();
    check(moxsPackScaleFactors_MP3_8s1u(scaleFactors + 39 * i, &p, &bit, &header, side + i, scfsi + 4 * ch,
                                        granule, ch));
    check(moxsHuffmanEncode_MP3_32s1u(lines + kLines * i, &p, &bit, &header, side + i, count1Len[i],
                                      side[i].part23Len - (position() - start)));
  }
  main.insert(main.end(), packed, p + (bit > 0));
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* file = argc == 3 ? std::fopen(argv[1], "rb") : nullptr;
  char wav[44];
  if (file == nullptr || std::fread(wav, 1, 44, file) != 44 || std::memcmp(wav + 36, "data", 4) != 0)
    return std::fprintf(stderr, "usage: mp3_encode IN.wav OUT.mp3\n"), 2;  // the plain form of WAV only
  const int channels = wav[22];
  int32_t rate, index = 0, rest = 0;
  std::memcpy(&rate, wav + 24, 4);
  while (index < 3 && moxMp3SampleRates[1][index] != rate) ++index;
  if (index == 3 || channels < 1 || channels > 2) return std::fprintf(stderr, "no such format\n"), 1;
  MoxMp3FrameHeader header{1, 1, 1, kBitRateIndex, index, 0, 0, channels == 2 ? 1 : 3, 0, 0, 1, 0, 0};

  // Whole frames, and three granules for what the filter banks and the model hold back at the end.
  const auto granule = static_cast<size_t>(kLines * channels);
  std::vector<int16_t> samples(64 << 20);
  samples.resize((std::fread(samples.data(), 2, samples.size(), file) / granule / 2 * 2 + 5) * granule);
  std::vector<int32_t> lines;
  std::vector<Psy> psy;
  analyse(samples, header, channels, lines, psy);

  MoxMp3BitReservoir reservoir{};
  check(moxsBitReservoirInit_MP3(&reservoir, &header));
  std::vector<Bytes> heads(psy.size() / static_cast<size_t>(2 * channels));
  std::vector<size_t> ends;  // of each frame's own room in the main data, which run through all frames
  Bytes main;
  for (size_t f = 0, i = 0; f < heads.size(); ++f, i += static_cast<size_t>(2 * channels)) {
    rest += 144 * kBitRate % rate;  // at 44.1 kHz some frames are a byte longer
    header.paddingBit = rest >= rate;
    rest -= header.paddingBit * rate;
    const int room = 144 * kBitRate / rate + header.paddingBit - 4 - (channels == 2 ? 32 : 17);
    encodeFrame(&lines[kLines * i], &psy[i], header, reservoir, room, heads[f], main);
    ends.push_back((f == 0 ? 0 : ends[f - 1]) + static_cast<size_t>(room));
    main.resize(ends[f] -
                static_cast<size_t>(reservoir.resBits) / 8);  // more is left than the reservoir may hold
  }
  main.resize(ends.back());

  if (std::fclose(file) != 0 || (file = std::fopen(argv[2], "wb")) == nullptr) return std::perror(argv[2]), 1;
  for (size_t f = 0, at = 0; f < heads.size(); at = ends[f++]) {
    std::fwrite(heads[f].data(), 1, heads[f].size(), file);
    std::fwrite(&main[at], 1, ends[f] - at, file);
  }
  return std::fclose(file) == 0 ? 0 : 1;
}
