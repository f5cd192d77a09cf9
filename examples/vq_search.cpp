// Conjugate vector quantisation: each vector becomes one code word of either book.
#include <moxac.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

constexpr int32_t kLen = 8;
constexpr int32_t kVectors = 32;
constexpr int32_t kDivisions = 4;

// Any fixed vectors do for a demonstration; real books are trained.
std::vector<float> makeVectors(double phase) {
  std::vector<float> v;
  for (int32_t k = 0; k < kVectors; ++k)
    for (int32_t j = 0; j < kLen; ++j)
      v.push_back(static_cast<float>(2.0 * std::sin(phase + 0.7 * (k + 1) * (j + 0.5))));
  return v;
}

MoxVqCodeBook* makeBook(double phase) {
  MoxVqCodeBook* book = nullptr;
  const auto vectors = makeVectors(phase);
  return moxsVQCodeBookInitAlloc_32f(vectors.data(), kLen, kVectors, 1, &book) == moxStatusOk ? book
                                                                                              : nullptr;
}

}  // namespace

int main() {
  MoxVqCodeBook* const book0 = makeBook(0.0);
  MoxVqCodeBook* const book1 = makeBook(1.1);
  if (book0 == nullptr || book1 == nullptr) return 1;

  const std::vector<int32_t> lengths(kDivisions, kLen);
  std::vector<float> target(kDivisions * kLen);
  const std::vector<float> weight(target.size(), 1.0f);
  for (size_t i = 0; i < target.size(); ++i)
    target[i] = static_cast<float>(std::cos(0.3 * static_cast<double>(i)));

  std::vector<float> decoded(target.size());
  double last = 1e30;
  for (const int32_t candidates : {1, 4, kVectors}) {
    int32_t words0[kDivisions], words1[kDivisions];
    if (moxsVQIndexSelect_32f(target.data(), weight.data(), lengths.data(), words0, words1, kDivisions,
                              candidates, candidates, book0, book1) != moxStatusOk ||
        moxsVQReconstruction_32f(words0, words1, lengths.data(), decoded.data(), kDivisions, book0, book1) !=
            moxStatusOk)
      return 1;
    double error = 0;
    for (size_t i = 0; i < target.size(); ++i) error += std::pow(target[i] - decoded[i], 2);
    std::printf("%2d candidates a book: error %.4f\n", candidates, error);
    if (error > last) return 1;  // more candidates never do worse
    last = error;
  }
  moxsVQCodeBookFree_32f(book0);
  moxsVQCodeBookFree_32f(book1);
  return 0;
}
