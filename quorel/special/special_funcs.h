#pragma once
// SpecialFuncs: Airy, Bessel and Hankel functions of complex argument and real order, complete
// elliptic integrals, Jacobi elliptic functions and associated Legendre functions.
//
// Airy, Bessel and Hankel values are correctly rounded in each part (a part negligible against
// the other is faithful). J, Y, I and K of moderate argument (|z| <= 12, order <= 12, Y and K of
// non-integer order) are usually settled by their power series in double-double arithmetic with
// a proved error bound; whatever that bound cannot round is evaluated in ball arithmetic, so the
// guarantee is the same on both paths. Scaled forms multiply the function by: J, Y: e^{-|Im z|}; I: e^{-|Re z|};
// K: e^{z}; H1: e^{-iz}; H2: e^{iz}; Ai, Ai': e^{zeta}; Bi, Bi': e^{-|Re zeta|}, zeta = (2/3) z^{3/2};
// the factor is applied before rounding, so a scaled value does not overflow.
// Airy error flags: 0 normal, 1 NaN argument, 2 overflow (infinite result), 3 only about half the
// digits could be certified, 4 nothing could be certified or the argument is infinite (NaN result).

#include <cstdint>

#include "quorel/core/types.h"

namespace quorel {

class TDenseQuorel;

/// Ai(Z), or Ai'(Z) when Derivative.
TCplx Airy(const TCplx& Z, bool Derivative, bool Scaled, std::int32_t& Ierr);
/// Real part of Airy(Cplx(x, 0), Derivative, Scaled, Ierr).
double Airy(double x, bool Derivative, bool Scaled, std::int32_t& Ierr);
TCplx Airy(const TCplx& Z);
double Airy(double x);

/// Bi(Z), or Bi'(Z) when Derivative.
TCplx Biry(const TCplx& Z, bool Derivative, bool Scaled, std::int32_t& Ierr);
double Biry(double x, bool Derivative, bool Scaled, std::int32_t& Ierr);
TCplx Biry(const TCplx& Z);
double Biry(double x);

/// Bessel functions of order nu. At Z = 0 (both parts exactly zero) J, Y and I give (-INF, -INF)
/// and K gives (INF, INF). Large orders: near the turning point |Z| ~ |nu| the ball evaluation
/// runs out of working precision from about |nu| = 4.5e4 for a real Z and 1.5e4 for a complex Z;
/// there the result is (NaN, NaN), after a second or more. On the positive real axis, J values far
/// below the double range (x well under nu) still give 0 and Y values far above it give -INF.
/// The same limit holds for Besh. Negative orders are reflected from order -nu:
/// J: cos(v pi) J_v - sin(v pi) Y_v; Y: cos(v pi) Y_v + sin(v pi) J_v; I: I_v + (2/pi) sin(v pi) K_v;
/// K is even in its order.
TCplx Besj(double nu, const TCplx& Z, bool Scaled);
TCplx Besj(double nu, double x, bool Scaled);
TCplx Besj(double nu, const TCplx& Z);
TCplx Besj(double nu, double x);
TCplx Besy(double nu, const TCplx& Z, bool Scaled);
TCplx Besy(double nu, double x, bool Scaled);
TCplx Besy(double nu, const TCplx& Z);
TCplx Besy(double nu, double x);
TCplx Besi(double nu, const TCplx& Z, bool Scaled);
TCplx Besi(double nu, double x, bool Scaled);
TCplx Besi(double nu, const TCplx& Z);
TCplx Besi(double nu, double x);
TCplx Besk(double nu, const TCplx& Z, bool Scaled);
TCplx Besk(double nu, double x, bool Scaled);
TCplx Besk(double nu, const TCplx& Z);
TCplx Besk(double nu, double x);

/// Hankel function of the first (FirstKind) or second kind. A negative order -v gives
/// H_v * e^{-i v pi} for the first kind and H_v * e^{i v pi} for the second. NaN at Z = 0.
TCplx Besh(double nu, const TCplx& Z, bool Scaled, bool FirstKind);
TCplx Besh(double nu, double x, bool Scaled, bool FirstKind);
TCplx Besh(double nu, const TCplx& Z);
TCplx Besh(double nu, double x);

/// Complete elliptic integral of the first kind K(m) by the arithmetic-geometric mean, to
/// tolerance Tol; E receives the second kind E(m). m outside [0, 1] raises Exception.
double EllipComplete(double m, double Tol, double& E);
/// K(m) with Tol = 2^-52.
double EllipComplete(double m);

/// Jacobi elliptic functions sn, cn, dn of (u | m) by the descending AGM sequence. m = 0 gives
/// sin(2u) for sn (kept as the established behaviour); m outside [0, 1] raises Exception.
void EllipJacoby(double u, double m, double Tol, double& Sn, double& Cn, double& Dn);

/// Associated Legendre function P_n^m(x), Condon-Shortley phase included; NAN when m < 0,
/// n < m or |x| > 1.
double LegendreP(std::int32_t n, std::int32_t m, double x);
/// LegendreP(n, 0, x).
double LegendreP(std::int32_t n, double x);
/// Res := [P_0(x), ..., P_n(x)], real. A complex Res or n < 0 raises Exception.
void LegendreP(std::int32_t n, double x, TDenseQuorel& Res);

}  // namespace quorel
