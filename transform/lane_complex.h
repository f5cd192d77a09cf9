// Complex numbers over lane types.
#pragma once

#include "frame/lanes.h"

namespace moxac::transform {

template <class L>
struct Complex {
  typename L::V re, im;
};

template <class L>
[[gnu::always_inline]] inline Complex<L> operator+(Complex<L> a, Complex<L> b) {
  return {a.re + b.re, a.im + b.im};
}

template <class L>
[[gnu::always_inline]] inline Complex<L> operator-(Complex<L> a, Complex<L> b) {
  return {a.re - b.re, a.im - b.im};
}

template <class L>
[[gnu::always_inline]] inline Complex<L> operator*(Complex<L> a, Complex<L> b) {
  return {a.re * b.re - a.im * b.im, a.im * b.re + a.re * b.im};
}

template <class L>
[[gnu::always_inline]] inline Complex<L> operator*(Complex<L> a, typename L::V b) {
  return {a.re * b, a.im * b};
}

template <class L>
[[gnu::always_inline]] inline Complex<L> operator/(Complex<L> a, typename L::V b) {
  return {a.re / b, a.im / b};
}

template <class L>
[[gnu::always_inline]] inline Complex<L> conj(Complex<L> a) {
  return {a.re, -a.im};
}

template <class L>
[[gnu::always_inline]] inline typename L::V square(Complex<L> a) {
  return a.re * a.re + a.im * a.im;
}

}  // namespace moxac::transform
