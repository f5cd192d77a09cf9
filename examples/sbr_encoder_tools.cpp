// What an encoder of spectral band replication needs to know of a sound: the envelope of its upper bands, how tonal
// they are, and where attacks divide a frame. Prints and draws it for a WAV file of 16 bits.
//
//   example_sbr_encoder_tools sound.wav
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "moxac.h"
#include "moxac/tables.h"

namespace {

constexpr int kSlots = 32, kBands = 64, kGroup = 4;  // slots a frame; bands drawn by fours
constexpr int kHistory = 2, kAhead = 2;              // rows that the tools read before and behind a frame
constexpr int kDelaySlots = 4;                       // of the bank

// The first channel of a WAV file of 16 bits, from -1 to 1; empty if it is none.
std::vector<float> readWav(const char* name) {
  std::vector<uint8_t> bytes;
  if (std::FILE* const file = std::fopen(name, "rb")) {
    uint8_t part[4096];
    for (size_t n; (n = std::fread(part, 1, sizeof part, file)) > 0;)
      bytes.insert(bytes.end(), part, part + n);
    std::fclose(file);
  }
  const auto word = [&](size_t at, int count) {
    uint32_t v = 0;
    for (int i = count; i-- > 0;) v = v << 8 | bytes[at + static_cast<size_t>(i)];
    return v;
  };
  std::vector<float> x;
  uint32_t channels = 0, bits = 0;
  for (size_t at = 12, size; at + 8 <= bytes.size(); at += 8 + size + size % 2) {
    size = std::min<size_t>(word(at + 4, 4), bytes.size() - at - 8);
    if (std::memcmp(&bytes[at], "fmt ", 4) == 0 && size >= 16)
      channels = word(at + 10, 2), bits = word(at + 22, 2);
    if (std::memcmp(&bytes[at], "data", 4) == 0 && channels > 0 && bits == 16)
      for (size_t i = at + 8; i + 2 * channels <= at + 8 + size; i += 2 * channels)
        x.push_back(static_cast<float>(static_cast<int16_t>(word(i, 2))) / 32768);
  }
  return x;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<float> prototype(std::begin(moxSbrQmfPrototype), std::end(moxSbrQmfPrototype));
  const std::vector<float> x = argc == 2 ? readWav(argv[1]) : std::vector<float>();
  if (x.empty()) return std::fprintf(stderr, "%s sound.wav, of 16 bits\n", argv[0]), 1;

  MoxQmfEncoderState* bank = nullptr;
  if (moxsAnalysisFilterEncInitAlloc_SBR_32f(&bank) != moxStatusOk) return 1;
  // History, a frame, and what lies ahead: the last four rows of a frame become the first four of the next.
  std::vector<Mox32fc> rows((kHistory + kSlots + kAhead) * kBands);
  Mox32fc* const frame = &rows[kHistory * kBands];
  float level[kBands] = {};
  std::printf("slot   energy of %d bands each, 6 dB a step    tone to noise, likewise   attack\n", kGroup);
  for (size_t at = 0; at + kSlots * kBands <= x.size(); at += kSlots * kBands) {
    std::copy(rows.end() - (kHistory + kAhead) * kBands, rows.end(), rows.begin());
    Mox32fc* const fresh = &rows[(kHistory + kAhead) * kBands];
    float tonality[kBands], strength = 0;
    int32_t position = -1;
    moxStatus status = moxsAnalysisFilterEnc_SBR_32f32fc(&x[at], fresh, prototype.data(), kSlots, bank);
    if (status == moxStatusOk) status = moxsEstimateTNR_SBR_32f(rows.data(), tonality, kBands, kSlots);
    if (status == moxStatusOk)
      status = moxsDetectTransient_SBR_32f(frame, &position, &strength, level, kBands, kSlots, 2.0f);
    if (status != moxStatusOk) return std::fprintf(stderr, "the tools return %d\n", status), 1;

    // The grid: one envelope, or two that meet at the attack. A full-scale tone has an energy of 2^12.
    const int firstSlot = static_cast<int>(at / kBands) - kAhead - kDelaySlots;  // of the sound
    const int borders[] = {0, std::max(position, 0), kSlots};
    for (int e = 0; e < 2; ++e) {
      if (borders[e] == borders[e + 1]) continue;
      char energyLine[kBands / kGroup + 1] = {}, toneLine[kBands / kGroup + 1] = {};
      for (int k = 0; k < kBands; k += kGroup) {
        double energy = 0, tone = 0;
        for (int i = 0; i < kGroup; ++i) {
          for (int t = borders[e]; t < borders[e + 1]; ++t)
            energy += std::pow(frame[t * kBands + k + i].re, 2) + std::pow(frame[t * kBands + k + i].im, 2);
          tone += static_cast<double>(tonality[k + i]) / kGroup;
        }
        energy /= kGroup * (borders[e + 1] - borders[e]);
        energyLine[k / kGroup] =
            " .:-=+*%#@"[std::clamp(static_cast<int>(std::log2(energy + 1e-9) / 2 + 4), 0, 9)];
        toneLine[k / kGroup] = " .:-=+*%#@"[std::clamp(static_cast<int>(std::log2(tone + 1e-9) / 2), 0, 9)];
      }
      const bool attack = e == 1 && position >= 0;
      std::printf("%5d  |%s|    |%s|", firstSlot + borders[e], energyLine, toneLine);
      if (attack) std::printf("    %.1f octaves", static_cast<double>(strength));
      std::puts("");
    }
  }
  moxsAnalysisFilterEncFree_SBR_32f(bank);
}
