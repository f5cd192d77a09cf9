// Refusals that every operation shares.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "moxac/types.h"

namespace moxtest {

// Calls op with each of its pointers null in turn, and with a byte pointer that is null behind the cursor's
// address: moxStatusNullPointer, whatever else is wrong with the arguments. `except`: the place of an argument
// that may be null.
template <class... P>
void expectNeedsPointers(moxStatus (*op)(P...), int except, std::type_identity_t<P>... args) {
  const std::tuple<P...> good(args...);
  const auto withNull = [&]<size_t kPlace>(std::integral_constant<size_t, kPlace>) {
    using Pointer = std::tuple_element_t<kPlace, std::tuple<P...>>;
    if constexpr (std::is_pointer_v<Pointer>) {
      if (static_cast<int>(kPlace) == except) return;
      auto bad = good;
      std::get<kPlace>(bad) = nullptr;
      EXPECT_EQ(std::apply(op, bad), moxStatusNullPointer) << "argument " << kPlace;
      if constexpr (std::is_same_v<Pointer, const uint8_t**> || std::is_same_v<Pointer, uint8_t**>) {
        std::remove_pointer_t<Pointer> none = nullptr;
        std::get<kPlace>(bad) = &none;
        EXPECT_EQ(std::apply(op, bad), moxStatusNullPointer) << "byte pointer";
      }
    }
  };
  [&]<size_t... kPlaces>(std::index_sequence<kPlaces...>) {
    (withNull(std::integral_constant<size_t, kPlaces>()), ...);
  }
  (std::index_sequence_for<P...>());
}
template <class... P>
void expectNeedsEveryPointer(moxStatus (*op)(P...), std::type_identity_t<P>... args) {
  expectNeedsPointers(op, -1, args...);
}

// A field of a call, or of what a call holds.
#define FIELD(Call, name) \
  [](Call & call) -> auto& { return call.name; }

// What can be wrong with a call, in the order in which it must be reported. A Call holds the arguments, so that a
// fault can change one of them.
template <class Call>
class Faults {
 public:
  // Reported before all that are added later.
  Faults& add(moxStatus status, std::function<void(Call&)> inflict) {
    faults_.push_back({status, std::move(inflict)});
    return *this;
  }
  Faults& add(const Faults& others) {
    faults_.insert(faults_.end(), others.faults_.begin(), others.faults_.end());
    limits_.insert(limits_.end(), others.limits_.begin(), others.limits_.end());
    return *this;
  }
  // field(call) outside first..last: by one and far off, on either side.
  template <class Field>
  Faults& range(moxStatus status, Field field, int32_t first, int32_t last) {
    for (const int32_t value : {INT32_MIN, first - 1, last + 1, INT32_MAX})
      add(status, [=](Call& call) { field(call) = value; });
    for (const int32_t value : {first, last}) limits_.push_back([=](Call& call) { field(call) = value; });
    return *this;
  }

  // With a fault and all behind it inflicted on a fresh call, its status comes back; `run` looks after what must
  // not be written. At its limits a field is no fault.
  template <class Make, class Run>
  void expectInOrder(Make&& make, Run&& run) const {
    for (size_t from = 0; from < faults_.size(); ++from) {
      Call call = make();
      for (size_t i = faults_.size(); i-- > from;) faults_[i].inflict(call);
      EXPECT_EQ(run(call), faults_[from].status) << "fault " << from;
    }
    for (const auto& limit : limits_) {
      Call call = make();
      limit(call);
      EXPECT_GE(run(call), moxStatusOk) << "limit " << &limit - limits_.data();
    }
  }

 private:
  struct Fault {
    moxStatus status;
    std::function<void(Call&)> inflict;
  };
  std::vector<Fault> faults_;
  std::vector<std::function<void(Call&)>> limits_;
};

}  // namespace moxtest
