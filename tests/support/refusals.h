// Refusals that every operation shares.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

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

}  // namespace moxtest
