#include "quorel/core/scalar_complex.h"

#include <cmath>
#include <cstdlib>

#include "quorel/core/scalar_util.h"
#include "quorel/core/detail/x87.h"
#include "quorel/core/detail/x87_math.h"

namespace quorel {

using detail::LCplx;
using detail::Narrow;
using detail::Widen;

namespace {
using L = long double;

// Applies f to each part.
template <class F>
TCplx PerPart(const TCplx& z, F f) {
  return {f(z.Re), f(z.Im)};
}

// Ln of z in extended precision; the C library keeps ln|z| accurate near |z| = 1.
LCplx LnL(const LCplx& z) { return std::log(z); }

// r * (cos a, sin a).
TCplx Polar(L r, L a) {
  L s, c;
  detail::x87::SinCosL(a, s, c);
  return header_detail::Round(r * c, r * s);
}

bool IsZero(const TCplx& z) { return z.Re == 0 && z.Im == 0; }

// e^(exponent * Ln base) with the rules for a zero exponent and a zero base.
TCplx PowerL(const TCplx& base, const LCplx& exponent) {
  if (exponent.real() == 0 && exponent.imag() == 0) return C_ONE;
  if (IsZero(base)) return C_ZERO;
  LCplx w = exponent * LnL(Widen(base));
  return Polar(detail::x87::ExpL(w.real()), w.imag());
}
}  // namespace

TCplx CSqrt(const TCplx& z) {
  L re = z.Re, im = z.Im;
  L t = std::sqrt((std::sqrt(re * re + im * im) + std::fabs(re)) / 2);
  if (t == 0) return C_ZERO;
  if (re >= 0) return header_detail::Round(t, im / (2 * t));
  return header_detail::Round(std::fabs(im) / (2 * t), im < 0 ? -t : t);
}

double CAbs(const TCplx& z) {
  L re = z.Re, im = z.Im;
  return static_cast<double>(std::sqrt(re * re + im * im));
}
double Arg(const TCplx& z) { return static_cast<double>(detail::Fpatan(z.Im, z.Re)); }
int Sgn(const TCplx& z) { return z.Re != 0 ? Sgn(z.Re) : Sgn(z.Im); }
TCplx Sign(const TCplx& z) {
  if (IsZero(z)) return C_ZERO;
  L re = z.Re, im = z.Im, r = 1 / std::sqrt(re * re + im * im);
  return header_detail::Round(re * r, im * r);
}

TCplx CTrunc(const TCplx& z) { return PerPart(z, [](double x) { return std::trunc(x); }); }
TCplx CRound(const TCplx& z) { return PerPart(z, [](double x) { return std::nearbyint(x); }); }
TCplx CFrac(const TCplx& z) { return PerPart(z, [](double x) { return x - std::trunc(x); }); }
TCplx Ceil(const TCplx& z) { return PerPart(z, [](double x) { return std::ceil(x); }); }
TCplx Floor(const TCplx& z) { return PerPart(z, [](double x) { return std::floor(x); }); }
TCplx Rem(const TCplx& a, const TCplx& b) { return {Rem(a.Re, b.Re), Rem(a.Im, b.Im)}; }

TCplx CartToPolar(const TCplx& z) { return {CAbs(z), Arg(z)}; }
TCplx PolarToCart(const TCplx& p) { return Polar(p.Re, p.Im); }
TCplx PolarToCart(double r, double phi) { return Polar(r, phi); }
TCplx Expj(double x) { return Polar(1, x); }

TCplx Exp(const TCplx& z) { return Narrow(std::exp(Widen(z))); }
TCplx Exp2(const TCplx& z) { return Narrow(std::exp(Widen(z) * detail::kLn2L)); }
TCplx Exp10(const TCplx& z) {
  constexpr L kLn10 = 2.30258509299404568401799145468436421L;
  return Narrow(std::exp(Widen(z) * kLn10));
}
TCplx Ln(const TCplx& z) { return Narrow(LnL(Widen(z))); }
TCplx Log2(const TCplx& z) { return Narrow(LnL(Widen(z)) / detail::kLn2L); }
TCplx Log10(const TCplx& z) {
  constexpr L kLog10e = 0.434294481903251827651128918916605082L;
  return Narrow(LnL(Widen(z)) * kLog10e);
}
TCplx LogN(const TCplx& base, const TCplx& z) { return Narrow(LnL(Widen(z)) / LnL(Widen(base))); }
TCplx LogN(double base, const TCplx& z) { return LogN(Cplx(base), z); }
TCplx LogN(const TCplx& base, double x) { return LogN(base, Cplx(x)); }

TCplx Power(const TCplx& base, const TCplx& exponent) { return PowerL(base, Widen(exponent)); }
TCplx Power(const TCplx& base, double exponent) { return PowerL(base, LCplx(exponent, 0)); }
TCplx Power(double base, const TCplx& exponent) { return PowerL(Cplx(base), Widen(exponent)); }

TCplx IntPower(const TCplx& z, int n) {
  if (n == 0) return C_ONE;
  L re = z.Re, im = z.Im, b = std::sqrt(re * re + im * im), mag = 1;
  for (unsigned long m = std::labs(long(n)); m != 0; m >>= 1) {
    if (m & 1) mag *= b;
    b *= b;
  }
  if (n < 0) mag = 1 / mag;
  return Polar(mag, n * detail::Fpatan(im, re));
}

TCplx Root(const TCplx& z, int k, int n) {
  L re = z.Re, im = z.Im;
  L r = std::pow(std::sqrt(re * re + im * im), 1.0L / n);
  L a = (detail::Fpatan(im, re) + k * detail::kTwoPiL) / n;
  a -= detail::kTwoPiL * std::trunc(a / detail::kTwoPiL);  // FixAngle without rounding to double
  return Polar(r, a);
}

TCplx Pythag(const TCplx& a, const TCplx& b) {
  LCplx s = Widen(a) * Widen(a) + Widen(b) * Widen(b);
  return CSqrt(Narrow(s));
}

}  // namespace quorel
