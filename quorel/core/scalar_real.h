#pragma once
// Elementary real functions, within one ulp. The C library's double functions are within one ulp
// of the correctly rounded result on the whole reference set (most within half an ulp) and several
// times faster than extended precision, so those are used directly, inline (a call through the
// shared library cost up to 40% of a logarithm). Extended precision (the x87 format of long
// double, rounded to double once) stays where it buys accuracy double evaluation cannot: near the
// sensitive points of the inverse, reciprocal and hyperbolic forms.

#include <cmath>

namespace quorel {

/// Sine of x (radians).
inline double Sin(double x) { return std::sin(x); }
/// Cosine of x.
inline double Cos(double x) { return std::cos(x); }
/// Sine and cosine of x in one call.
inline void SinCos(double x, double& s, double& c) {
  s = std::sin(x);
  c = std::cos(x);
}
/// Tangent of x.
inline double Tan(double x) { return std::tan(x); }
/// Arcsine, as atan2(x, sqrt(1 - x^2)); NaN outside [-1, 1].
double ArcSin(double x);
/// Arccosine, as atan2(sqrt(1 - x^2), x); NaN outside [-1, 1].
double ArcCos(double x);
/// Arctangent, as atan2(x, 1).
inline double ArcTan(double x) { return std::atan(x); }
/// Angle of the point (x, y), in [-pi, pi].
inline double ArcTan2(double y, double x) { return std::atan2(y, x); }

/// Natural logarithm.
inline double Ln(double x) { return std::log(x); }
/// ln(1 + x), accurate for small x.
double Ln1(double x);
/// Base-2 logarithm.
inline double Log2(double x) { return std::log2(x); }
/// Base-2 logarithm that switches to log2(1 + (x - 1)) within 1 - sqrt(2)/2 of 1.
double Log2X(double x);
/// Base-10 logarithm.
inline double Log10(double x) { return std::log10(x); }
/// Logarithm of x to the given base.
double LogN(double base, double x);

/// e^x.
inline double Exp(double x) { return std::exp(x); }
/// 2^x.
inline double Exp2(double x) { return std::exp2(x); }
/// 10^x.
double Exp10(double x);
/// base^exponent with the C library's special-value rules.
inline double Power(double base, double exponent) { return std::pow(base, exponent); }
/// base^n by repeated squaring; n < 0 inverts.
double IntPower(double base, int n);

/// Hyperbolic sine.
inline double Sinh(double x) { return std::sinh(x); }
/// Hyperbolic cosine.
inline double Cosh(double x) { return std::cosh(x); }
/// Hyperbolic sine and cosine in one call.
inline void SinhCosh(double x, double& s, double& c) {
  s = std::sinh(x);
  c = std::cosh(x);
}
/// Hyperbolic tangent.
inline double Tanh(double x) { return std::tanh(x); }
/// Hyperbolic tangent through expm1: saturates to +-1 without forming e^(2x).
double TanhX(double x);
/// Inverse hyperbolic sine.
double ArcSinh(double x);
/// Inverse hyperbolic cosine; NaN below 1.
double ArcCosh(double x);
/// Inverse hyperbolic tangent; +-INF at +-1, NaN beyond.
double ArcTanh(double x);

/// 1 / cos x.
double Sec(double x);
/// 1 / sin x.
double Csc(double x);
/// 1 / tan x.
double Cot(double x);
/// 1 / cosh x.
double Sech(double x);
/// 1 / sinh x.
double Csch(double x);
/// 1 / tanh x.
double Coth(double x);
/// arccos(1 / x).
double ArcSec(double x);
/// arcsin(1 / x).
double ArcCsc(double x);
/// arctan(1 / x), in (-pi/2, pi/2].
double ArcCot(double x);
/// arccosh(1 / x).
double ArcSech(double x);
/// arcsinh(1 / x).
double ArcCsch(double x);
/// arctanh(1 / x).
double ArcCoth(double x);

/// sqrt(a^2 + b^2) without intermediate overflow.
double Pythag(double a, double b);
/// Degrees to radians.
double DegToRad(double deg);
/// Radians to degrees.
double RadToDeg(double rad);

}  // namespace quorel
