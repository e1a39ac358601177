#include "quorel/core/scalar_real.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "quorel/core/detail/x87.h"
#include "quorel/core/detail/x87_math.h"

namespace quorel {

using detail::Fpatan;
using detail::Fyl2x;
using detail::Fyl2xp1;
using detail::kLn2L;

namespace {
using L = long double;

// Valid argument range of the log2(1 + t) instruction.
constexpr L kLog2p1Range = 0.292893218813452475599155637895150960L;  // 1 - sqrt(2)/2

// sqrt(1 - x^2) with 1 - x^2 formed as (1 - x)(1 + x): exact factors near |x| = 1.
L SqrtOneMinusSquare(L x) { return std::sqrt((1 - x) * (1 + x)); }

double D(L x) { return static_cast<double>(x); }
}  // namespace

double ArcSin(double x) { return D(Fpatan(x, SqrtOneMinusSquare(x))); }
double ArcCos(double x) { return D(Fpatan(SqrtOneMinusSquare(x), x)); }

double Ln1(double x) {
  if (std::fabs(x) < kLog2p1Range) return D(Fyl2xp1(x, kLn2L));
  return D(Fyl2x(1 + L(x), kLn2L));  // 1 + x is exact in extended precision here
}
double Log2X(double x) {
  L t = L(x) - 1;
  if (std::fabs(t) < kLog2p1Range) return D(Fyl2xp1(t, 1.0L));
  return D(Fyl2x(x, 1.0L));
}
double LogN(double base, double x) { return D(Fyl2x(x, 1.0L) / Fyl2x(base, 1.0L)); }

double Exp10(double x) { return D(detail::x87::Exp10L(x)); }
double IntPower(double base, int n) {
  L r = 1, b = base;
  for (unsigned long m = std::labs(long(n)); m != 0; m >>= 1) {
    if (m & 1) r *= b;
    b *= b;
  }
  return D(n < 0 ? 1 / r : r);
}

double TanhX(double x) {
  if (std::isnan(x)) return x;
  L e = std::expm1(-2 * std::fabs(L(x)));  // in (-1, 0]: no overflow for any x
  L t = -e / (e + 2);
  return D(std::signbit(x) ? -t : t);
}
double ArcSinh(double x) { return D(std::asinh(L(x))); }
double ArcCosh(double x) { return D(std::acosh(L(x))); }
double ArcTanh(double x) { return D(std::atanh(L(x))); }

double Sec(double x) {
  L s, c;
  detail::x87::SinCosL(x, s, c);
  return D(1 / c);
}
double Csc(double x) {
  L s, c;
  detail::x87::SinCosL(x, s, c);
  return D(1 / s);
}
double Cot(double x) {
  L s, c;
  detail::x87::SinCosL(x, s, c);
  return D(c / s);
}
double Sech(double x) { return D(1 / std::cosh(L(x))); }
double Csch(double x) { return D(1 / std::sinh(L(x))); }
double Coth(double x) { return D(1 / std::tanh(L(x))); }
// The reciprocal forms are rewritten so that no rounded 1/x meets a sensitive point near |x| = 1.
namespace {
// sqrt(x^2 - 1) with exact factors near |x| = 1; + 0 turns the -0 at x = -1 into +0.
L SqrtSquareMinusOne(L x) { return std::sqrt((x - 1) * (x + 1) + 0); }
}  // namespace
double ArcSec(double x) { return D(Fpatan(SqrtSquareMinusOne(x), std::copysign(1.0L, x))); }
double ArcCsc(double x) { return D(Fpatan(std::copysign(1.0L, x), SqrtSquareMinusOne(x))); }
double ArcCot(double x) { return D(Fpatan(std::copysign(1.0L, x), std::fabs(L(x)))); }
double ArcSech(double x) {
  if (x < 0) return std::numeric_limits<double>::quiet_NaN();
  L s = SqrtOneMinusSquare(x);
  return D(std::log1p((1 - L(x) + s) / x));
}
double ArcCsch(double x) { return D(std::asinh(1 / L(x))); }
double ArcCoth(double x) {
  L t = std::log1p(2 / (std::fabs(L(x)) - 1)) / 2;  // odd: the positive side has no cancellation
  return D(std::signbit(x) ? -t : t);
}

double Pythag(double a, double b) {
  L la = a, lb = b;
  return D(std::sqrt(la * la + lb * lb));
}
double DegToRad(double deg) { return D(L(deg) * (detail::kPiL / 180)); }
double RadToDeg(double rad) { return D(L(rad) * (180 / detail::kPiL)); }

}  // namespace quorel
