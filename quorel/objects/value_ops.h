#pragma once
// Arithmetic operators on vectors and matrices. Each binary operator makes a new object with the
// library's two-source method (a + b is r.Add(a, b)), so sizes, real/complex promotion and the
// error messages are those of the method. Compound assignments are the in-place methods
// (a += b is a.Add(b)), with their own checks: a += a raises the in-place "Self = Vec" refusal,
// while a = a + a is allowed.
//
// On matrices too, * and / are element-wise; the matrix product is Mul(a, b, opNone, opNone).
// Division by a scalar multiplies by its reciprocal (the library has no element / value method),
// which may differ from exact division in the last bit.
//
// Each result is a new, ordinary object: c = a + b costs an allocation that c.Add(a, b) into a
// sized c does not. Use the methods in hot loops.

#include <concepts>

#include "quorel/core/complex_ops.h"
#include "quorel/core/types.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel {

/// TVec or TMtx: the objects the value operators apply to.
template <class T>
concept DenseValue = std::same_as<T, TVec> || std::same_as<T, TMtx>;

namespace header_detail {
/// A new object filled by one method call.
template <class T, class Fill>
T Made(Fill&& fill) {
  T r;
  fill(r);
  return r;
}
}  // namespace header_detail

/// r.Add(a, b).
template <DenseValue T>
T operator+(const T& a, const T& b) { return header_detail::Made<T>([&](T& r) { r.Add(a, b); }); }
/// r.Sub(a, b).
template <DenseValue T>
T operator-(const T& a, const T& b) { return header_detail::Made<T>([&](T& r) { r.Sub(a, b); }); }
/// Element-wise product, r.Mul(a, b).
template <DenseValue T>
T operator*(const T& a, const T& b) { return header_detail::Made<T>([&](T& r) { r.Mul(a, b); }); }
/// Element-wise quotient, r.Divide(a, b).
template <DenseValue T>
T operator/(const T& a, const T& b) { return header_detail::Made<T>([&](T& r) { r.Divide(a, b); }); }
/// r.Mul(a, -1).
template <DenseValue T>
T operator-(const T& a) { return header_detail::Made<T>([&](T& r) { r.Mul(a, -1.0); }); }

/// r.Add(a, s); s is double or TCplx (std::complex<double> converts).
template <DenseValue T>
T operator+(const T& a, double s) { return header_detail::Made<T>([&](T& r) { r.Add(a, s); }); }
/// r.Add(a, s).
template <DenseValue T>
T operator+(const T& a, const TCplx& s) { return header_detail::Made<T>([&](T& r) { r.Add(a, s); }); }
/// r.Add(a, s).
template <DenseValue T>
T operator+(double s, const T& a) { return a + s; }
/// r.Add(a, s).
template <DenseValue T>
T operator+(const TCplx& s, const T& a) { return a + s; }
/// r.Sub(a, s).
template <DenseValue T>
T operator-(const T& a, double s) { return header_detail::Made<T>([&](T& r) { r.Sub(a, s); }); }
/// r.Sub(a, s).
template <DenseValue T>
T operator-(const T& a, const TCplx& s) { return header_detail::Made<T>([&](T& r) { r.Sub(a, s); }); }
/// r.SubFrom(s, a): s minus each element.
template <DenseValue T>
T operator-(double s, const T& a) { return header_detail::Made<T>([&](T& r) { r.SubFrom(s, a); }); }
/// r.SubFrom(s, a).
template <DenseValue T>
T operator-(const TCplx& s, const T& a) { return header_detail::Made<T>([&](T& r) { r.SubFrom(s, a); }); }
/// r.Mul(a, s).
template <DenseValue T>
T operator*(const T& a, double s) { return header_detail::Made<T>([&](T& r) { r.Mul(a, s); }); }
/// r.Mul(a, s).
template <DenseValue T>
T operator*(const T& a, const TCplx& s) { return header_detail::Made<T>([&](T& r) { r.Mul(a, s); }); }
/// r.Mul(a, s).
template <DenseValue T>
T operator*(double s, const T& a) { return a * s; }
/// r.Mul(a, s).
template <DenseValue T>
T operator*(const TCplx& s, const T& a) { return a * s; }
/// r.Mul(a, 1 / s).
template <DenseValue T>
T operator/(const T& a, double s) { return a * (1.0 / s); }
/// r.Mul(a, 1 / s).
template <DenseValue T>
T operator/(const T& a, const TCplx& s) { return a * CDiv(1.0, s); }
/// r.DivideBy(s, a): s divided by each element.
template <DenseValue T>
T operator/(double s, const T& a) { return header_detail::Made<T>([&](T& r) { r.DivideBy(s, a); }); }
/// r.DivideBy(s, a).
template <DenseValue T>
T operator/(const TCplx& s, const T& a) { return header_detail::Made<T>([&](T& r) { r.DivideBy(s, a); }); }

/// a.Add(b).
template <DenseValue T>
T& operator+=(T& a, const T& b) { return a.Add(b); }
/// a.Sub(b).
template <DenseValue T>
T& operator-=(T& a, const T& b) { return a.Sub(b); }
/// Element-wise, a.Mul(b).
template <DenseValue T>
T& operator*=(T& a, const T& b) { return a.Mul(b); }
/// Element-wise, a.Divide(b).
template <DenseValue T>
T& operator/=(T& a, const T& b) { return a.Divide(b); }
/// a.Add(s).
template <DenseValue T>
T& operator+=(T& a, double s) { return a.Add(s); }
/// a.Add(s).
template <DenseValue T>
T& operator+=(T& a, const TCplx& s) { return a.Add(s); }
/// a.Sub(s).
template <DenseValue T>
T& operator-=(T& a, double s) { return a.Sub(s); }
/// a.Sub(s).
template <DenseValue T>
T& operator-=(T& a, const TCplx& s) { return a.Sub(s); }
/// a.Mul(s).
template <DenseValue T>
T& operator*=(T& a, double s) { return a.Mul(s); }
/// a.Mul(s).
template <DenseValue T>
T& operator*=(T& a, const TCplx& s) { return a.Mul(s); }
/// a.Mul(1 / s).
template <DenseValue T>
T& operator/=(T& a, double s) { return a.Mul(1.0 / s); }
/// a.Mul(1 / s).
template <DenseValue T>
T& operator/=(T& a, const TCplx& s) { return a.Mul(CDiv(1.0, s)); }

}  // namespace quorel
