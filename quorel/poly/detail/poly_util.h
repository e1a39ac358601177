#pragma once
// Small element helpers shared by the Polynoms sources, written once for double and TCplx.

#include <cmath>
#include <type_traits>

#include "quorel/core/complex_arith.h"
#include "quorel/objects/detail/kind.h"

namespace quorel::detail {

template <Element T>
constexpr bool IsCplx = std::is_same_v<T, TCplx>;

template <Element T>
inline T Mul(const T& a, const T& b) { if constexpr (IsCplx<T>) return CMul(a, b); else return a * b; }
template <Element T>
inline T Add(const T& a, const T& b) { if constexpr (IsCplx<T>) return CAdd(a, b); else return a + b; }
template <Element T>
inline T Sub(const T& a, const T& b) { if constexpr (IsCplx<T>) return CSub(a, b); else return a - b; }
template <Element T>
inline T Div(const T& a, const T& b) { if constexpr (IsCplx<T>) return CDiv(a, b); else return a / b; }
template <Element T>
inline bool IsZero(const T& a) { if constexpr (IsCplx<T>) return a.Re == 0 && a.Im == 0; else return a == 0; }
template <Element T>
inline double Abs(const T& a) { if constexpr (IsCplx<T>) return std::hypot(a.Re, a.Im); else return std::fabs(a); }
template <Element T>
inline T FromReal(double x) { if constexpr (IsCplx<T>) return TCplx{x, 0}; else return x; }
inline TCplx ToCplx(double x) { return {x, 0}; }
inline TCplx ToCplx(const TCplx& z) { return z; }

/// Horner's rule over n coefficients in descending powers (the zero polynomial when n = 0).
template <class X, class C>
inline X Horner(const X& x, const C* c, std::int64_t n) {
  if (n == 0) return X{};
  X r;
  if constexpr (IsCplx<X>) r = ToCplx(c[0]); else r = c[0];
  for (std::int64_t i = 1; i < n; ++i) {
    if constexpr (IsCplx<X>) r = CAdd(CMul(r, x), ToCplx(c[i]));
    else r = r * x + c[i];
  }
  return r;
}

}  // namespace quorel::detail
