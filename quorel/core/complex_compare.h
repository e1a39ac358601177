#pragma once
// Classification and ordering of complex values. The order is by modulus, and between values of
// equal modulus by phase angle from -pi toward pi.

#include "quorel/core/compare.h"
#include "quorel/core/types.h"

namespace quorel {

/// True when either part is NaN.
constexpr bool IsNan(const TCplx& z) { return IsNan(z.Re) || IsNan(z.Im); }
/// True when either part is infinite.
constexpr bool IsInf(const TCplx& z) { return IsInf(z.Re) || IsInf(z.Im); }
/// True when either part is NaN or infinite.
constexpr bool IsNanInf(const TCplx& z) { return IsNanInf(z.Re) || IsNanInf(z.Im); }
/// The same test as IsNanInf.
constexpr bool IsInfNan(const TCplx& z) { return IsNanInf(z); }

/// Component-wise |a.Re - b.Re| <= tol and |a.Im - b.Im| <= tol; a NaN value equals only a NaN
/// value and an infinite value any infinite value.
bool Equal(const TCplx& a, const TCplx& b, double tol);
/// Both parts exactly equal, with the same special-value rule.
bool Equal(const TCplx& a, const TCplx& b);
/// Equal(a, (x, 0), tol).
bool Equal(const TCplx& a, double x, double tol);
/// Equal(a, (x, 0)).
bool Equal(const TCplx& a, double x);
/// Equal((x, 0), b, tol).
bool Equal(double x, const TCplx& b, double tol);
/// Equal((x, 0), b).
bool Equal(double x, const TCplx& b);

/// Ranks equal-modulus values by phase: true when a comes after b going from -pi toward pi.
bool Bigger2(const TCplx& a, const TCplx& b);
/// Mirror of Bigger2.
bool Smaller2(const TCplx& a, const TCplx& b);
/// |a|^2 > |b|^2, ties broken by Bigger2.
bool Bigger(const TCplx& a, const TCplx& b);
/// |a|^2 < |b|^2, ties broken by Smaller2.
bool Smaller(const TCplx& a, const TCplx& b);
/// |a|^2 > x^2 (the sign of x is ignored), ties broken by Bigger2(a, (x, 0)).
bool Bigger(const TCplx& a, double x);
/// |a|^2 < x^2, ties broken by Smaller2(a, (x, 0)).
bool Smaller(const TCplx& a, double x);
/// Bigger(a, b) or Equal(a, b).
bool BiggerOrEqual(const TCplx& a, const TCplx& b);
/// Smaller(a, b) or Equal(a, b).
bool SmallerOrEqual(const TCplx& a, const TCplx& b);
/// a when Bigger(a, b), else b.
TCplx Max(const TCplx& a, const TCplx& b);
/// a when Smaller(a, b), else b.
TCplx Min(const TCplx& a, const TCplx& b);

}  // namespace quorel
