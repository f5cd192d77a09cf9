// The inline helpers: status texts, windows, bit reader, noise energies, owners of contexts.
#include "moxac/extras.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <regex>
#include <vector>

#include "support/alloc_spy.h"

#include "support/source_path.h"

// Every status of the header has its name and sentence.
TEST(Extras, StatusTextsAreTheHeaders) {
  std::ifstream header(moxtest::sourcePath("include/moxac/types.h"));
  const std::regex line(R"( *(moxStatus\w+) = (-?\d+),? */\* (.*) \*/)");
  int found = 0;
  std::smatch part;
  for (std::string text; std::getline(header, text);) {
    if (!std::regex_match(text, part, line)) continue;
    ++found;
    EXPECT_EQ(moxStatusText(std::stoi(part[2])), part.str(1) + ": " + part.str(3));
  }
  EXPECT_GT(found, 40);
  EXPECT_STREQ(moxStatusText(moxStatusOk), "moxStatusOk: success");
  EXPECT_STREQ(moxStatusText(12345), "unknown status");
}

// The law that makes windowed overlap-add exact, symmetry, and points worked out apart: sin(pi/4096), and the
// standard's Kaiser-Bessel windows, which the library's own filter bank applies.
TEST(Extras, Windows) {
  for (const int32_t n : {12, 36, 256, 2048}) {
    std::vector<float> sine(static_cast<size_t>(n)), kaiser(static_cast<size_t>(n));
    moxSineWindow(sine.data(), n);
    moxKaiserBesselWindow(kaiser.data(), n, n == 256 ? 6 : 4);
    for (const auto& w : {sine, kaiser})
      for (size_t i = 0; i < w.size() / 2; ++i) {
        EXPECT_NEAR(w[i] * w[i] + w[i + w.size() / 2] * w[i + w.size() / 2], 1, 2e-7);
        EXPECT_EQ(w[i], w[w.size() - 1 - i]);
      }
  }
  std::vector<float> window(2048);
  moxSineWindow(window.data(), 2048);
  EXPECT_FLOAT_EQ(window[0], 0.00076699032f);

  // One line through the library's inverse transform, then windowed here and there.
  moxKaiserBesselWindow(window.data(), 2048, 4);
  std::vector<int32_t> lines(1024), overlap(1024), work(MOX_AAC_MDCT_BUFFER_WORDS);
  std::vector<int16_t> pcm(1024);
  lines[3] = 1 << 24;
  ASSERT_EQ(moxsMDCTInv_AAC_32s16s(lines.data(), pcm.data(), overlap.data(), 0, 1, 1, 1, work.data()),
            moxStatusOk);
  for (int n = 0; n < 2048; ++n) {
    const double bare = 2.0 / 2048 * (1 << 20) * std::cos(2 * M_PI / 2048 * (n + 512.5) * 3.5) *
                        window[static_cast<size_t>(n)];
    const auto at = static_cast<size_t>(n % 1024);
    EXPECT_NEAR((n < 1024 ? work : overlap)[at] / 256.0, bare, 0.01);
  }
}

TEST(Extras, BitReader) {
  const uint8_t bytes[] = {0xA5, 0x3C, 0xFF, 0x01};
  const uint8_t* p = bytes;
  int32_t offset = 0;
  EXPECT_EQ(moxReadBits(&p, &offset, 3), 5u);
  EXPECT_EQ(moxReadBits(&p, &offset, 0), 0u);
  EXPECT_EQ(moxReadBits(&p, &offset, 25), 0x53CFF0u);  // 00101 00111100 11111111 0000
  EXPECT_EQ(p, bytes + 3);
  EXPECT_EQ(offset, 4);
  EXPECT_EQ(moxReadBits(&p, &offset, 4), 1u);
  EXPECT_EQ(p, bytes + 4);
}

// Two chains, coded as the noiseless decoder adds them up: in one.
TEST(Extras, NoiseEnergiesAreTakenApart) {
  const std::vector<uint8_t> books = {1, 0, 13, 5, 15, 13, 13, 11, 14, 2};
  const std::vector<int16_t> want = {103, 0, 40, 99, -3, 44, 37, 108, 2, 90};
  int32_t shared = 100, scaleFactor = 100, energy = 0;
  std::vector<int16_t> coded = want;
  bool first = true;
  for (size_t b = 0; b < books.size(); ++b) {
    if (books[b] == 0 || books[b] > 13) continue;
    int32_t& chain = books[b] == 13 ? energy : scaleFactor;
    shared = books[b] == 13 && first ? want[b] : shared + want[b] - chain;
    first = first && books[b] != 13;
    chain = want[b];
    coded[b] = static_cast<int16_t>(shared);
  }
  ASSERT_NE(coded, want);
  moxSeparateNoiseEnergies(coded.data(), books.data(), static_cast<int32_t>(books.size()), 100);
  EXPECT_EQ(coded, want);
}

TEST(Extras, OwnersRelease) {
  moxtest::AllocSpy spy;
  {
    MoxMdctSpec* spec = nullptr;
    ASSERT_EQ(moxsMDCTFwdInitAlloc_32f(&spec, 256), moxStatusOk);
    const moxac::MdctForward32f mdct(spec);
    MoxFirBlockState* state = nullptr;
    ASSERT_EQ(moxsFIRBlockInitAlloc_32f(&state, 3, 8), moxStatusOk);
    const moxac::FirBlock fir(state);
    EXPECT_GT(spy.live(), 0);
  }
  EXPECT_EQ(spy.live(), 0);
}
