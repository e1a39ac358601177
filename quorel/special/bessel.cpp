// Bessel, Hankel and Airy functions: argument mapping, the origin, negative orders and the real
// and short overloads around the ball-arithmetic evaluations.

#include <cmath>
#include <limits>

#include "quorel/core/complex_arith.h"
#include "quorel/core/constants.h"
#include "quorel/core/scalar_complex.h"
#include "quorel/platform/arb.h"
#include "quorel/special/detail/fast_bessel.h"
#include "quorel/special/special_funcs.h"

namespace quorel {
namespace {

using detail::TBesselKind;
using detail::TBesselScale;

constexpr double kInf = std::numeric_limits<double>::infinity();

// cos(v pi) and sin(v pi) with the reduction mod 2 done exactly, so integer and half-integer
// orders get exact 0 and +-1 (and an infinite Y of integer order is never multiplied by 0).
void CosSinPi(double v, double& c, double& s) {
  double r = std::fmod(v, 2.0);  // exact
  if (r == std::trunc(r * 2) / 2) {
    static constexpr double kCos[] = {1, 0, -1, 0}, kSin[] = {0, 1, 0, -1};
    int q = static_cast<int>(r * 2) & 3;  // r in {0, 0.5, 1, 1.5}
    c = kCos[q];
    s = kSin[q];
    return;
  }
  c = std::cos(r * PI);
  s = std::sin(r * PI);
}

TCplx Eval(TBesselKind kind, double nu, const TCplx& z, TBesselScale scale) {
  TCplx fast;
  if (detail::FastBessel(kind, nu, z, scale, fast)) return fast;
  int ierr = 0;
  return detail::ArbBessel(kind, nu, z, scale, ierr);
}

TCplx ScaleFor(bool scaled, TBesselKind kind, double nu, const TCplx& z) {
  return Eval(kind, nu, z, scaled ? detail::ScaleOf(kind) : TBesselScale::None);
}

bool AtOrigin(const TCplx& z) { return z.Re == 0 && z.Im == 0; }

// c * a + s * b, component by component.
TCplx Combine(double c, const TCplx& a, double s, const TCplx& b) {
  if (s == 0) return CMul(c, a);
  if (c == 0) return CMul(s, b);
  return {c * a.Re + s * b.Re, c * a.Im + s * b.Im};
}

// J and Y share the reflection; `sign` is -1 for J and +1 for Y.
TCplx BesselJY(TBesselKind kind, TBesselKind other, double sign, double nu, const TCplx& z, bool scaled) {
  if (AtOrigin(z)) return {-kInf, -kInf};
  if (nu >= 0) return ScaleFor(scaled, kind, nu, z);
  double v = -nu, c, s;
  CosSinPi(v, c, s);
  TCplx same = c == 0 ? TCplx{0, 0} : ScaleFor(scaled, kind, v, z);
  TCplx cross = s == 0 ? TCplx{0, 0} : ScaleFor(scaled, other, v, z);
  return Combine(c, same, sign * s, cross);
}

}  // namespace

// --- Bessel -------------------------------------------------------------------------------------

TCplx Besj(double nu, const TCplx& Z, bool Scaled) {
  return BesselJY(TBesselKind::J, TBesselKind::Y, -1, nu, Z, Scaled);
}
TCplx Besy(double nu, const TCplx& Z, bool Scaled) {
  return BesselJY(TBesselKind::Y, TBesselKind::J, 1, nu, Z, Scaled);
}

TCplx Besi(double nu, const TCplx& Z, bool Scaled) {
  if (AtOrigin(Z)) return {-kInf, -kInf};
  if (nu >= 0) return ScaleFor(Scaled, TBesselKind::I, nu, Z);
  double v = -nu, c, s;
  CosSinPi(v, c, s);
  // The K term carries I's scale factor so the sum is the scaled I of order nu.
  TBesselScale scale = Scaled ? detail::ScaleOf(TBesselKind::I) : TBesselScale::None;
  TCplx i = Eval(TBesselKind::I, v, Z, scale);
  if (s == 0) return i;
  TCplx k = Eval(TBesselKind::K, v, Z, scale);
  return Combine(1, i, 2 / PI * s, k);
}

TCplx Besk(double nu, const TCplx& Z, bool Scaled) {
  if (AtOrigin(Z)) return {kInf, kInf};
  return ScaleFor(Scaled, TBesselKind::K, std::fabs(nu), Z);
}

TCplx Besh(double nu, const TCplx& Z, bool Scaled, bool FirstKind) {
  TBesselKind kind = FirstKind ? TBesselKind::H1 : TBesselKind::H2;
  if (nu >= 0) return ScaleFor(Scaled, kind, nu, Z);
  double v = -nu;
  TCplx h = ScaleFor(Scaled, kind, v, Z);
  double c, s;
  CosSinPi(v, c, s);
  // e^{-i v pi} for the first kind, e^{+i v pi} for the second.
  return CMul(h, TCplx{c, FirstKind ? -s : s});
}

TCplx Besj(double nu, double x, bool Scaled) { return Besj(nu, Cplx(x, 0), Scaled); }
TCplx Besj(double nu, const TCplx& Z) { return Besj(nu, Z, false); }
TCplx Besj(double nu, double x) { return Besj(nu, Cplx(x, 0), false); }
TCplx Besy(double nu, double x, bool Scaled) { return Besy(nu, Cplx(x, 0), Scaled); }
TCplx Besy(double nu, const TCplx& Z) { return Besy(nu, Z, false); }
TCplx Besy(double nu, double x) { return Besy(nu, Cplx(x, 0), false); }
TCplx Besi(double nu, double x, bool Scaled) { return Besi(nu, Cplx(x, 0), Scaled); }
TCplx Besi(double nu, const TCplx& Z) { return Besi(nu, Z, false); }
TCplx Besi(double nu, double x) { return Besi(nu, Cplx(x, 0), false); }
TCplx Besk(double nu, double x, bool Scaled) { return Besk(nu, Cplx(x, 0), Scaled); }
TCplx Besk(double nu, const TCplx& Z) { return Besk(nu, Z, false); }
TCplx Besk(double nu, double x) { return Besk(nu, Cplx(x, 0), false); }
TCplx Besh(double nu, double x, bool Scaled, bool FirstKind) { return Besh(nu, Cplx(x, 0), Scaled, FirstKind); }
TCplx Besh(double nu, const TCplx& Z) { return Besh(nu, Z, false, true); }
TCplx Besh(double nu, double x) { return Besh(nu, Cplx(x, 0), false, true); }

// --- Airy ---------------------------------------------------------------------------------------

namespace {
TCplx AiryFamily(bool bi, const TCplx& z, bool derivative, bool scaled, std::int32_t& ierr) {
  int flag = 0;
  TCplx r = detail::ArbAiry(bi, derivative, z, scaled, flag);
  ierr = flag;
  return r;
}
}  // namespace

TCplx Airy(const TCplx& Z, bool Derivative, bool Scaled, std::int32_t& Ierr) {
  return AiryFamily(false, Z, Derivative, Scaled, Ierr);
}
double Airy(double x, bool Derivative, bool Scaled, std::int32_t& Ierr) {
  return AiryFamily(false, Cplx(x, 0), Derivative, Scaled, Ierr).Re;
}
TCplx Biry(const TCplx& Z, bool Derivative, bool Scaled, std::int32_t& Ierr) {
  return AiryFamily(true, Z, Derivative, Scaled, Ierr);
}
double Biry(double x, bool Derivative, bool Scaled, std::int32_t& Ierr) {
  return AiryFamily(true, Cplx(x, 0), Derivative, Scaled, Ierr).Re;
}
TCplx Airy(const TCplx& Z) {
  std::int32_t ierr;
  return AiryFamily(false, Z, false, false, ierr);
}
TCplx Biry(const TCplx& Z) {
  std::int32_t ierr;
  return AiryFamily(true, Z, false, false, ierr);
}
double Airy(double x) { return Airy(Cplx(x, 0)).Re; }
double Biry(double x) { return Biry(Cplx(x, 0)).Re; }

}  // namespace quorel
