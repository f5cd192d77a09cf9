// Contexts of every family but the code books of vlc_fuzz, in memory of exactly the size asked for at any address:
// built, used in pieces, built again over what they were, refused where they are another's. Samples are any bits.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "moxac/aac.h"
#include "moxac/sbr.h"
#include "moxac/transform.h"
#include "moxac/util.h"
#include "support/banks.h"

using namespace moxfuzz;

namespace {

// `bytes` bytes on the heap, the last of them the block's last.
class Memory {
 public:
  Memory(int32_t bytes, int32_t shift)
      : block_(static_cast<size_t>(bytes) + static_cast<size_t>(shift), 0xA5), shift_(shift) {}
  uint8_t* data() { return block_.data() + shift_; }
  template <class State>
  State* as() {
    return reinterpret_cast<State*>(data());
  }

 private:
  std::vector<uint8_t> block_;
  int32_t shift_;
};

class ContextFuzz {
 public:
  ContextFuzz(const uint8_t* data, size_t size) : in_(data, size), shift_(in_.below(64)) {}

  void run() {
    const int32_t family = in_.below(9);
    if (family == 0) predictor();
    if (family == 1)
      mdct<MoxMdctSpec, float>(moxsMDCTFwdGetSize_32f, moxsMDCTFwdInit_32f, 1, moxsMDCTFwd_32f);
    if (family == 2)
      mdct<MoxMdctSpec, float>(moxsMDCTInvGetSize_32f, moxsMDCTInvInit_32f, 2, moxsMDCTInv_32f);
    if (family == 3)
      mdct<MoxMdctSpec, int16_t>(moxsMDCTFwdGetSize_16s, moxsMDCTFwdInit_16s, 1,
                                 [&](auto src, auto dst, auto spec, auto work) {
                                   return moxsMDCTFwd_16s_Sfs(src, dst, spec, in_.below(40) - 20, work);
                                 });
    if (family == 4) codeBooks();
    if (family == 5) encoderTools();
    if (family > 5) bank();
  }

 private:
  template <class T>
  std::vector<T> values(int32_t count) {
    std::vector<T> v(static_cast<size_t>(count));
    const std::vector<uint8_t> some = in_.bytes(256);
    uint32_t state = in_.record<uint32_t>();
    for (size_t i = 0; i < v.size() * sizeof(T); ++i) {
      state = state * 1664525 + 1013904223;
      reinterpret_cast<uint8_t*>(v.data())[i] =
          static_cast<uint8_t>(some[i % 256] + (i < 256 ? 0 : state >> 24));
    }
    return v;
  }

  // Calls use(state) a few times, now and then on a state that is built anew.
  template <class State, class GetSize, class Init, class Use>
  void plainState(GetSize&& getSize, Init&& init, Use&& use) {
    int32_t bytes = 0;
    require(getSize(&bytes) == moxStatusOk);
    Memory memory(bytes, shift_);
    auto* const state = memory.as<State>();
    for (int32_t i = 0; i < 6; ++i) {
      if (i == 0 || in_.below(4) == 0) require(init(state) == moxStatusOk);
      use(state);
    }
  }

  void predictor() {
    const int32_t len = 1 + in_.below(250) * 4 + in_.below(4), bands = 1 + in_.below(12);
    const std::vector<int32_t> offsets = values<int32_t>(bands + 1);
    const std::vector<uint8_t> flags = values<uint8_t>(bands);
    plainState<MoxAacFdpState>([&](int32_t* bytes) { return moxsFDPGetSize_32f(len, bytes); },
                               [&](MoxAacFdpState* state) {
                                 MoxAacFdpState* back = nullptr;
                                 const moxStatus status =
                                     moxsFDPInit_32f(&back, len, reinterpret_cast<uint8_t*>(state));
                                 require(back == state);
                                 return status;
                               },
                               [&](MoxAacFdpState* state) {
                                 std::vector<float> x = values<float>(len), y(x.size());
                                 moxsFDPFwd_32f(x.data(), y.data(), state);
                                 moxsFDPInv_32f_I(x.data(), offsets.data(), bands, flags.data(), state);
                                 moxsFDPResetSfb_32f(offsets.data(), bands, flags.data(), state);
                                 moxsFDPResetGroup_32f(in_.below(40), in_.below(40), state);
                                 if (in_.below(3) == 0) require(moxsFDPReset_32f(state) == moxStatusOk);
                               });
  }

  // inputs: 1 when N values come in and half as many out, 2 the other way round.
  template <class Spec, class T, class GetSize, class Init, class Transform>
  void mdct(GetSize&& getSize, Init&& init, int inputs, Transform&& transform) {
    const int32_t choice = in_.below(14), N = choice < 8    ? 32 << choice
                                              : choice == 8 ? 12
                                              : choice == 9 ? 36
                                                            : in_.below(99);
    int32_t bytes = 0, initBytes = 0, workBytes = 0;
    if (getSize(N, &bytes, &initBytes, &workBytes) != moxStatusOk) return;
    Memory memory(bytes, shift_), initMemory(initBytes + 1, in_.below(64)), work(workBytes, in_.below(64));
    Spec* spec = nullptr;
    require(init(&spec, N, memory.data(), initMemory.data()) == moxStatusOk);
    for (int32_t i = 0; i < 2; ++i) {
      const std::vector<T> x = values<T>(inputs == 1 ? N : N / 2);
      std::vector<T> y(static_cast<size_t>(inputs == 1 ? N / 2 : N));
      require(transform(x.data(), y.data(), spec, i == 0 && workBytes > 0 ? work.data() : nullptr) ==
              moxStatusOk);
    }
  }

  // Any bank of the tests' table, in calls of any length.
  void bank() {
    const auto& banks = moxtest::banks();
    const moxtest::Bank& bank = banks[static_cast<size_t>(in_.below(static_cast<int32_t>(banks.size())))];
    Memory memory(bank.bytes(), shift_);
    void* state = nullptr;
    for (int32_t i = 0; i < 6; ++i) {
      if (i == 0 || in_.below(4) == 0) state = bank.start(memory.data());
      const int32_t slots = 1 + in_.below(40), kx = in_.below(33);
      const std::vector<int32_t> source = values<int32_t>(slots * bank.in());
      std::vector<int32_t> result(static_cast<size_t>(slots * bank.out()));
      require((bank.rows ? bank.rows(source.data(), slots, kx, state, 0).run()
                         : bank.filter(source.data(), result.data(), slots, kx, state)) == moxStatusOk);
    }
  }

  // On rows whose last one ends with the last band that is looked at.
  void encoderTools() {
    const int32_t slots = 1 + in_.below(20), bands = 1 + in_.below(64);
    const std::vector<Mox32fc> rows = values<Mox32fc>(64 * (slots + 1) + bands);
    std::vector<float> tonality(static_cast<size_t>(bands)), level = values<float>(bands);
    float strength = 0;
    int32_t position = 0;
    require(moxsEstimateTNR_SBR_32f(rows.data(), tonality.data(), bands, slots) == moxStatusOk);
    require(moxsDetectTransient_SBR_32f(rows.data(), &position, &strength, level.data(), bands, slots, 2) ==
            moxStatusOk);
    require(position >= -1 && position < slots);
  }

  void codeBooks() {
    const int32_t len = 1 + in_.below(40), count = 1 + in_.below(60), polarity = in_.below(2);
    plainState<MoxVqCodeBook>(
        [&](int32_t* bytes) { return moxsVQCodeBookGetSize_32f(len, count, bytes); },
        [&](MoxVqCodeBook* book) {
          return moxsVQCodeBookInit_32f(values<float>(len * count).data(), len, count, polarity, book);
        },
        [&](MoxVqCodeBook* book) {
          const int32_t used = 1 + in_.below(len), kept = 1 + in_.below(count);
          int32_t word[2];
          require(moxsVQIndexSelect_32f(values<float>(used).data(), values<float>(used).data(), &used,
                                        &word[0], &word[1], 1, kept, kept, book, book) == moxStatusOk);
          std::vector<float> y(static_cast<size_t>(used));
          require(moxsVQReconstruction_32f(&word[0], &word[1], &used, y.data(), 1, book, book) ==
                  moxStatusOk);
        });
    MoxFirBlockState* fir = nullptr;
    const int32_t taps = 1 + in_.below(20);
    require(moxsFIRBlockInitAlloc_32f(&fir, taps, len) == moxStatusOk);
    std::vector<float> y(static_cast<size_t>(len));
    for (int32_t i = 0; i < 2 * taps; ++i)
      require(moxsFIRBlockOne_32f(values<float>(len).data(), y.data(), fir, values<float>(taps).data()) >=
              moxStatusOk);
    require(moxsFIRBlockFree_32f(fir) == moxStatusOk);
  }

  FuzzInput in_;
  int32_t shift_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ContextFuzz(data, size).run();
  return 0;
}
