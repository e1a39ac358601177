#pragma once
// Complex scalar functions: modulus and angle, rounding, polar form, exponentials, logarithms
// and powers. Evaluated in extended precision and rounded once to double.
//
// Branch cuts: Ln, Log2, Log10 and LogN have their cut on the negative real axis, where the
// imaginary part of the result is +pi (also for Im = -0: the angle is atan2(Im, Re) with the
// sign of zero honoured, so (-1, -0) gives -pi). CSqrt has the same cut but treats -0 as +0.

#include <cstdint>

#include "quorel/core/complex_arith.h"
#include "quorel/core/types.h"

namespace quorel {

/// Principal square root, cut on the negative real axis; CSqrt((-4, -0)) = (0, 2).
TCplx CSqrt(const TCplx& z);
/// |z|.
double CAbs(const TCplx& z);
/// atan2(Im, Re).
double Arg(const TCplx& z);
/// Sign of Re, or of Im when Re = 0: 1, 0 (only for (0, 0)) or -1.
int Sgn(const TCplx& z);
/// z / |z|, the point of the unit circle in the direction of z; (0, 0) for zero.
TCplx Sign(const TCplx& z);

/// Both parts truncated toward zero.
TCplx CTrunc(const TCplx& z);
/// Both parts rounded to the nearest integer, ties to even.
TCplx CRound(const TCplx& z);
/// z - CTrunc(z).
TCplx CFrac(const TCplx& z);
/// Ceiling of both parts.
TCplx Ceil(const TCplx& z);
/// Floor of both parts.
TCplx Floor(const TCplx& z);
/// Rem(a.Re, b.Re), Rem(a.Im, b.Im): truncated remainder per part.
TCplx Rem(const TCplx& a, const TCplx& b);

/// (|z|, arg z).
TCplx CartToPolar(const TCplx& z);
/// (r cos phi, r sin phi) from p = (r, phi).
TCplx PolarToCart(const TCplx& p);
/// (r cos phi, r sin phi).
TCplx PolarToCart(double r, double phi);
/// e^(ix) = (cos x, sin x).
TCplx Expj(double x);

/// e^z.
TCplx Exp(const TCplx& z);
/// 2^z.
TCplx Exp2(const TCplx& z);
/// 10^z.
TCplx Exp10(const TCplx& z);
/// Principal natural logarithm (ln|z|, arg z).
TCplx Ln(const TCplx& z);
/// Principal base-2 logarithm.
TCplx Log2(const TCplx& z);
/// Principal base-10 logarithm.
TCplx Log10(const TCplx& z);
/// Ln(z) / Ln(base).
TCplx LogN(const TCplx& base, const TCplx& z);
/// Ln(z) / ln(base) for a real base.
TCplx LogN(double base, const TCplx& z);
/// Ln(x) / Ln(base) for a real argument.
TCplx LogN(const TCplx& base, double x);

/// base^exponent = e^(exponent * Ln base); exponent 0 gives (1, 0), base 0 gives (0, 0).
TCplx Power(const TCplx& base, const TCplx& exponent);
/// Complex base, real exponent; the same rules.
TCplx Power(const TCplx& base, double exponent);
/// Real base, complex exponent; a negative base has angle pi.
TCplx Power(double base, const TCplx& exponent);
/// |z|^n by repeated squaring at angle n arg z; n = 0 gives (1, 0).
TCplx IntPower(const TCplx& z, int n);
/// The k-th of the n n-th roots: |z|^(1/n) at angle FixAngle((arg z + 2pi k) / n).
TCplx Root(const TCplx& z, int k, int n);
/// CSqrt(a^2 + b^2), the complex hypotenuse.
TCplx Pythag(const TCplx& a, const TCplx& b);

}  // namespace quorel
