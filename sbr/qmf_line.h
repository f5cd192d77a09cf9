// The delay line of a QMF bank. A context keeps the last ten slots' values in a circular line of 10*kStep. Batches
// of slots work on a straight copy, in which slot l of the call stands in front of slot l-1, so that windowing
// reads 10*kStep consecutive values and never wraps; single slots on the circular line itself.
//
//   straight:   | slot kChunk-1 | ... | slot 1 | slot 0 | nine earlier slots, newest first |
//   circular:   a slot goes in at `position`, which then steps back by kStep modulo 10*kStep
#pragma once

#include <algorithm>
#include <cstdint>

namespace moxac::sbr {

// The circular line as it is.
template <class T, int kStep>
class QmfRing {
 public:
  static constexpr int kLength = 10 * kStep;

  QmfRing(T* delay, int32_t& position) : delay_(delay), position_(position) {}

  // Where the next slot goes, and afterwards what stands `age` slots behind it.
  T* newest() const { return delay_ + position_; }
  const T* aged(int age) const {
    const int at = position_ + age * kStep;
    return delay_ + (at < kLength ? at : at - kLength);
  }
  void next() const { position_ = position_ == 0 ? kLength - kStep : position_ - kStep; }

 private:
  T* delay_;
  int32_t& position_;
};

template <class T, int kStep, int kChunk>
class QmfLine {
 public:
  static constexpr int kSlots = 10;
  static constexpr int kLength = kSlots * kStep;

  // Takes over the nine slots that a new one will meet.
  QmfLine(const T* delay, int32_t position) {
    const int first = position + kStep == kLength ? 0 : position + kStep;
    const int straight = std::min(kLength - first, kHistory);
    T* const history = values_ + kChunk * kStep;
    std::copy_n(delay + first, straight, history);
    std::copy_n(delay, kHistory - straight, history + straight);
  }

  // Where the values of slot l of this chunk stand, followed by the nine slots before it.
  T* slot(int l) { return values_ + (kChunk - 1 - l) * kStep; }
  const T* slot(int l) const { return values_ + (kChunk - 1 - l) * kStep; }

  // Makes the last nine slots of a full chunk the history of the next one.
  void nextChunk() { std::copy_backward(values_, values_ + kHistory, values_ + kHistory + kChunk * kStep); }

  // Brings the circular line and its position up to date after a chunk whose last slot was `last`, `slots`
  // slots after the line was read.
  void storeTo(T* delay, int32_t& position, int last, int32_t slots) const {
    position = (position + kLength - (slots % kSlots) * kStep) % kLength;
    const int first = position + kStep == kLength ? 0 : position + kStep;
    const T* const newest = slot(last);
    std::copy_n(newest, kLength - first, delay + first);
    std::copy_n(newest + kLength - first, first, delay);
  }

 private:
  static constexpr int kHistory = (kSlots - 1) * kStep;

  T values_[kHistory + kChunk * kStep];
};

}  // namespace moxac::sbr
