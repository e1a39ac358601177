#pragma once
// Elementary real functions. Each is evaluated in extended precision (the x87 format of
// long double) and rounded to double once on return, so results are within one ulp.

namespace quorel {

/// Sine of x (radians).
double Sin(double x);
/// Cosine of x.
double Cos(double x);
/// Sine and cosine of x in one call.
void SinCos(double x, double& s, double& c);
/// Tangent of x.
double Tan(double x);
/// Arcsine, as atan2(x, sqrt(1 - x^2)); NaN outside [-1, 1].
double ArcSin(double x);
/// Arccosine, as atan2(sqrt(1 - x^2), x); NaN outside [-1, 1].
double ArcCos(double x);
/// Arctangent, as atan2(x, 1).
double ArcTan(double x);
/// Angle of the point (x, y), in [-pi, pi].
double ArcTan2(double y, double x);

/// Natural logarithm, ln 2 * log2(x).
double Ln(double x);
/// ln(1 + x), accurate for small x.
double Ln1(double x);
/// Base-2 logarithm.
double Log2(double x);
/// Base-2 logarithm that switches to log2(1 + (x - 1)) within 1 - sqrt(2)/2 of 1.
double Log2X(double x);
/// Base-10 logarithm.
double Log10(double x);
/// Logarithm of x to the given base.
double LogN(double base, double x);

/// e^x.
double Exp(double x);
/// 2^x.
double Exp2(double x);
/// 10^x.
double Exp10(double x);
/// base^exponent with the C library's special-value rules.
double Power(double base, double exponent);
/// base^n by repeated squaring; n < 0 inverts.
double IntPower(double base, int n);

/// Hyperbolic sine.
double Sinh(double x);
/// Hyperbolic cosine.
double Cosh(double x);
/// Hyperbolic sine and cosine in one call.
void SinhCosh(double x, double& s, double& c);
/// Hyperbolic tangent.
double Tanh(double x);
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
