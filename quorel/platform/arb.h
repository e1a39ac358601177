#pragma once
// Bessel, Hankel and Airy functions of complex argument evaluated in ball arithmetic and rounded
// correctly to double, in the calling conventions of the classic complex Bessel routines (scaled
// forms, error flag). Only this header's .cpp file sees the ball-arithmetic library.

#include <cstdint>

#include "quorel/core/types.h"

namespace quorel::detail {

enum class TBesselKind : std::uint8_t { J, Y, I, K, H1, H2 };

/// The factor a scaled form multiplies the function by.
enum class TBesselScale : std::uint8_t {
  None,
  ExpMinusAbsImZ,  // e^{-|Im z|}: J, Y
  ExpMinusAbsReZ,  // e^{-|Re z|}: I
  ExpZ,            // e^{z}: K
  ExpMinusIZ,      // e^{-iz}: H1
  ExpPlusIZ        // e^{+iz}: H2
};

/// The scale of the scaled form of `kind`.
TBesselScale ScaleOf(TBesselKind kind);

/// Error flags, with the classic routines' meanings.
enum : int {
  ierrNone = 0,
  ierrInput = 1,      // NaN argument or order, z = 0 where the function is singular
  ierrOverflow = 2,   // the rounded result is infinite
  ierrPartialLoss = 3,// precision cap reached with at least half the digits certain
  ierrTotalLoss = 4,  // precision cap reached with less; the result is NaN
};

/// `scale` times the Bessel or Hankel function of order nu (nu >= 0) at z, each part correctly
/// rounded (a part negligible against the other, below 2^-64 of it, is only faithfully rounded).
/// Never raises; `ierr` receives the flag.
TCplx ArbBessel(TBesselKind kind, double nu, TCplx z, TBesselScale scale, int& ierr);

/// Ai(z), Ai'(z) (bi false) or Bi(z), Bi'(z) (bi true), optionally scaled by e^{zeta} (Ai) or
/// e^{-|Re zeta|} (Bi), zeta = (2/3) z^{3/2}; correctly rounded as ArbBessel.
TCplx ArbAiry(bool bi, bool derivative, TCplx z, bool scaled, int& ierr);

/// The first n Taylor coefficients of 1/Gamma(1 + x) about x = 0, each as an unevaluated sum
/// hi[k] + lo[k] of two doubles.
void RgammaTaylor(int n, double* hi, double* lo);

/// Chebyshev interpolation coefficients c[0..n) on n nodes of H(t) = (a + k) e^{a^2} erfc(a),
/// a = k (1 + t) / (1 - t), so that erfc(a) = e^{-a^2} H(t) / (a + k) for a >= 0 with
/// H(t) = c[0]/2 + sum c[j] T_j(t). Each coefficient is rounded to double.
void ErfcChebyshev(double k, int n, double* c);

/// Working precision in bits at which the evaluations stop trying (results are then flagged).
/// Large enough for the turning point nu = |z| up to nu ~ 2e4, where the series cancels through
/// about 0.8 nu bits; a hopeless evaluation stops after a few seconds at most.
inline constexpr long kArbPrecisionCap = 32768;

}  // namespace quorel::detail
