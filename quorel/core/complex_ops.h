#pragma once
// Operators on TCplx. Each one is the library's own complex function (complex_arith.h), so an
// expression gives the same bits as the named call: a * b is CMul(a, b), a / b is CDiv(a, b).

#include "quorel/core/complex_arith.h"
#include "quorel/core/types.h"

namespace quorel {

/// CAdd(a, b).
constexpr TCplx operator+(const TCplx& a, const TCplx& b) { return CAdd(a, b); }
/// CAdd(a, x).
constexpr TCplx operator+(const TCplx& a, double x) { return CAdd(a, x); }
/// CAdd(x, b).
constexpr TCplx operator+(double x, const TCplx& b) { return CAdd(x, b); }
/// CSub(a, b).
constexpr TCplx operator-(const TCplx& a, const TCplx& b) { return CSub(a, b); }
/// CSub(a, x).
constexpr TCplx operator-(const TCplx& a, double x) { return CSub(a, x); }
/// CSub(x, b).
constexpr TCplx operator-(double x, const TCplx& b) { return CSub(x, b); }
/// CMul(a, b).
constexpr TCplx operator*(const TCplx& a, const TCplx& b) { return CMul(a, b); }
/// CMul(a, x).
constexpr TCplx operator*(const TCplx& a, double x) { return CMul(a, x); }
/// CMul(x, b).
constexpr TCplx operator*(double x, const TCplx& b) { return CMul(x, b); }
/// CDiv(a, b).
constexpr TCplx operator/(const TCplx& a, const TCplx& b) { return CDiv(a, b); }
/// CDiv(a, x).
constexpr TCplx operator/(const TCplx& a, double x) { return CDiv(a, x); }
/// CDiv(x, b).
constexpr TCplx operator/(double x, const TCplx& b) { return CDiv(x, b); }
/// Neg(a).
constexpr TCplx operator-(const TCplx& a) { return Neg(a); }
/// a itself.
constexpr TCplx operator+(const TCplx& a) { return a; }

/// a = CAdd(a, b).
constexpr TCplx& operator+=(TCplx& a, const TCplx& b) { return a = CAdd(a, b); }
/// a = CAdd(a, x).
constexpr TCplx& operator+=(TCplx& a, double x) { return a = CAdd(a, x); }
/// a = CSub(a, b).
constexpr TCplx& operator-=(TCplx& a, const TCplx& b) { return a = CSub(a, b); }
/// a = CSub(a, x).
constexpr TCplx& operator-=(TCplx& a, double x) { return a = CSub(a, x); }
/// a = CMul(a, b).
constexpr TCplx& operator*=(TCplx& a, const TCplx& b) { return a = CMul(a, b); }
/// a = CMul(a, x).
constexpr TCplx& operator*=(TCplx& a, double x) { return a = CMul(a, x); }
/// a = CDiv(a, b).
constexpr TCplx& operator/=(TCplx& a, const TCplx& b) { return a = CDiv(a, b); }
/// a = CDiv(a, x).
constexpr TCplx& operator/=(TCplx& a, double x) { return a = CDiv(a, x); }

/// A complex value equals a real one when its imaginary part is zero (either sign).
constexpr bool operator==(const TCplx& a, double x) { return a.Re == x && a.Im == 0.0; }

}  // namespace quorel
