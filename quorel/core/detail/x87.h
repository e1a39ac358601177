#pragma once
// Extended-precision primitives shared by the scalar functions. On x86 they are the unit's own
// instructions (long double is the 80-bit x87 format there); elsewhere the C library stands in.

#include <cmath>
#include <complex>

#include "quorel/core/types.h"

namespace quorel::detail {

/// ln 2, log10(2) and pi in extended precision.
inline constexpr long double kLn2L = 0.693147180559945309417232121458176568L;
inline constexpr long double kLg2L = 0.301029995663981195213738894724493027L;
inline constexpr long double kPiL = 3.14159265358979323846264338327950288L;
inline constexpr long double kTwoPiL = 6.28318530717958647692528676655900577L;

#if defined(__x86_64__) || defined(__i386__)
/// scale * log2(x) with one fyl2x.
inline long double Fyl2x(long double x, long double scale) {
  long double r;
  __asm__("fyl2x" : "=t"(r) : "0"(x), "u"(scale) : "st(1)");
  return r;
}
/// scale * log2(1 + t) with one fyl2xp1; valid for |t| < 1 - sqrt(2)/2.
inline long double Fyl2xp1(long double t, long double scale) {
  long double r;
  __asm__("fyl2xp1" : "=t"(r) : "0"(t), "u"(scale) : "st(1)");
  return r;
}
/// atan2(y, x) with one fpatan.
inline long double Fpatan(long double y, long double x) {
  long double r;
  __asm__("fpatan" : "=t"(r) : "0"(x), "u"(y) : "st(1)");
  return r;
}
#else
inline long double Fyl2x(long double x, long double scale) { return scale * std::log2(x); }
inline long double Fyl2xp1(long double t, long double scale) { return scale * std::log1p(t) / kLn2L; }
inline long double Fpatan(long double y, long double x) { return std::atan2(y, x); }
#endif

/// Natural logarithm through the log2 instruction.
inline long double LnL(long double x) { return Fyl2x(x, kLn2L); }

/// Complex values in extended precision, and the conversions to and from TCplx.
using LCplx = std::complex<long double>;
inline LCplx Widen(const TCplx& z) { return {z.Re, z.Im}; }
inline TCplx Narrow(const LCplx& z) { return {static_cast<double>(z.real()), static_cast<double>(z.imag())}; }

}  // namespace quorel::detail
