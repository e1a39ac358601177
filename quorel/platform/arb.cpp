// Ball-arithmetic evaluation of the Bessel, Hankel and Airy functions with a certified rounding
// to double. Each evaluation starts at a modest working precision and doubles it until both ends
// of each part's ball round to the same double, up to kArbPrecisionCap bits.

#include "quorel/platform/arb.h"

#include <acb.h>
#include <acb_hypgeom.h>
#include <arb.h>
#include <arb_hypgeom.h>
#include <arb_poly.h>

#include <cmath>
#include <limits>

#include "quorel/objects/detail/release_hooks.h"

namespace quorel::detail {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr slong kStartPrecision = 96;
// A part below 2^-64 of the other part only has to be faithful: its exact value may be zero,
// which a ball cannot always prove.
constexpr slong kNegligibleBits = 64;

// Holder of one of the library's variables: init on construction, clear on every path.
template <class S, void (*Init)(S*), void (*Clear)(S*)>
struct Holder {
  S v[1];
  Holder() { Init(v); }
  ~Holder() { Clear(v); }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;
};
using Arf = Holder<arf_struct, arf_init, arf_clear>;
using Arb = Holder<arb_struct, arb_init, arb_clear>;
using Acb = Holder<acb_struct, acb_init, acb_clear>;
using Fmpz = Holder<fmpz, fmpz_init, fmpz_clear>;

// A vector of balls, cleared on every path.
struct ArbVec {
  arb_ptr v;
  slong n;
  explicit ArbVec(slong len) : v(_arb_vec_init(len)), n(len) {}
  ~ArbVec() { _arb_vec_clear(v, n); }
  ArbVec(const ArbVec&) = delete;
  ArbVec& operator=(const ArbVec&) = delete;
};

// Round to nearest, ties to even. Below the normal range the double grid is 2^-1074: round on it
// in one step so no second rounding happens.
double RoundNearest(const arf_t x) {
  if (arf_is_zero(x)) return 0.0;
  if (arf_is_nan(x)) return kNaN;
  if (arf_is_inf(x)) return arf_sgn(x) > 0 ? HUGE_VAL : -HUGE_VAL;
  if (arf_cmpabs_2exp_si(x, -1022) < 0) {
    Arf scaled;
    arf_mul_2exp_si(scaled.v, x, 1074);
    Fmpz n;
    arf_get_fmpz(n.v, scaled.v, ARF_RND_NEAR);
    double d = std::ldexp(fmpz_get_d(n.v), -1074);
    return d == 0 ? std::copysign(0.0, arf_sgn(x)) : d;
  }
  return arf_get_d(x, ARF_RND_NEAR);
}

// The double both ends of the ball round to, if they agree.
bool CertifiedPart(const arb_t x, double& out) {
  if (!arb_is_finite(x)) return false;
  if (arb_is_exact(x)) {
    out = RoundNearest(arb_midref(x));
    return true;
  }
  Arf lo, hi;
  arb_get_lbound_arf(lo.v, x, 2 * 64);
  arb_get_ubound_arf(hi.v, x, 2 * 64);
  double a = RoundNearest(lo.v), b = RoundNearest(hi.v);
  if (a != b) return false;
  out = RoundNearest(arb_midref(x));
  return true;
}

// True when every point of `x` is below 2^-kNegligibleBits * |other|. Next to an overflowed part
// the bound would say nothing: such a part has to be certified itself.
bool Negligible(const arb_t x, double other) {
  if (!arb_is_finite(x) || other == 0 || !std::isfinite(other)) return false;
  Arf bound;
  arb_get_abs_ubound_arf(bound.v, x, 64);
  Arf limit;
  arf_set_d(limit.v, std::fabs(other));
  arf_mul_2exp_si(limit.v, limit.v, -kNegligibleBits);
  return arf_cmp(bound.v, limit.v) < 0;
}

// The library caches constants and tables per thread; the controller's release frees this thread's.
void ReleaseArbCaches() { flint_cleanup(); }

// Runs eval(result, prec) at rising precision until both parts are certified.
template <class Eval>
TCplx Certified(Eval&& eval, int& ierr) {
  static const bool hooked = (RegisterReleaseHook(&ReleaseArbCaches), true);
  (void)hooked;
  Acb res;
  for (slong prec = kStartPrecision;; prec = std::min<slong>(2 * prec, kArbPrecisionCap)) {
    eval(res.v, prec);
    double re = 0, im = 0;
    bool okRe = CertifiedPart(acb_realref(res.v), re);
    bool okIm = CertifiedPart(acb_imagref(res.v), im);
    if (okRe && !okIm && Negligible(acb_imagref(res.v), re)) {
      im = RoundNearest(arb_midref(acb_imagref(res.v)));
      okIm = true;
    } else if (okIm && !okRe && Negligible(acb_realref(res.v), im)) {
      re = RoundNearest(arb_midref(acb_realref(res.v)));
      okRe = true;
    }
    if (okRe && okIm) {
      ierr = std::isinf(re) || std::isinf(im) ? ierrOverflow : ierrNone;
      return {re, im};
    }
    if (prec >= kArbPrecisionCap) break;
  }
  // Out of precision: keep the midpoint when at least half the digits are certain.
  if (acb_is_finite(res.v) && acb_rel_accuracy_bits(res.v) >= 26) {
    ierr = ierrPartialLoss;
    return {RoundNearest(arb_midref(acb_realref(res.v))), RoundNearest(arb_midref(acb_imagref(res.v)))};
  }
  ierr = ierrTotalLoss;
  return {kNaN, kNaN};
}

// Exponent e of the scale factor e^e for z.
void ScaleExponent(acb_t e, TBesselScale scale, const acb_t z) {
  switch (scale) {
    case TBesselScale::None: acb_zero(e); break;
    case TBesselScale::ExpMinusAbsImZ:
      acb_zero(e);
      arb_abs(acb_realref(e), acb_imagref(z));
      arb_neg(acb_realref(e), acb_realref(e));
      break;
    case TBesselScale::ExpMinusAbsReZ:
      acb_zero(e);
      arb_abs(acb_realref(e), acb_realref(z));
      arb_neg(acb_realref(e), acb_realref(e));
      break;
    case TBesselScale::ExpZ: acb_set(e, z); break;
    case TBesselScale::ExpMinusIZ: acb_mul_onei(e, z); acb_neg(e, e); break;
    case TBesselScale::ExpPlusIZ: acb_mul_onei(e, z); break;
  }
}

// True where the Hankel function of that kind is the exponentially small one (H1 in the upper
// half-plane, H2 in the lower): there J +- iY cancels, and the K form is used. Its range is
// -pi/2 < arg z <= pi for H1 and -pi < arg z <= pi/2 for H2 (a zero imaginary part counts as +0).
bool RecessiveHankelSide(bool first, const acb_t z) {
  const arb_struct* re = acb_realref(z);
  const arb_struct* im = acb_imagref(z);
  if (first) return arb_is_nonnegative(im) ? !acb_is_zero(z) : arb_is_positive(re);
  if (arb_is_negative(im)) return true;
  return arb_is_zero(im) ? arb_is_positive(re) : arb_is_nonnegative(re);
}

// res := the function times e^{e}. I and K start from the library's own scaled forms (e^{-z} I,
// e^{z} K) so that the remaining factor stays moderate where the function itself is extreme.
void EvalBessel(acb_t res, TBesselKind kind, const acb_t nu, const acb_t z, const acb_t e, slong prec) {
  Acb rest;
  acb_set(rest.v, e);
  switch (kind) {
    case TBesselKind::J: acb_hypgeom_bessel_j(res, nu, z, prec); break;
    case TBesselKind::Y: acb_hypgeom_bessel_y(res, nu, z, prec); break;
    case TBesselKind::I:
      acb_hypgeom_bessel_i_scaled(res, nu, z, prec);
      acb_add(rest.v, rest.v, z, prec);
      break;
    case TBesselKind::K:
      acb_hypgeom_bessel_k_scaled(res, nu, z, prec);
      acb_sub(rest.v, rest.v, z, prec);
      break;
    case TBesselKind::H1:
    case TBesselKind::H2: {
      bool first = kind == TBesselKind::H1;
      if (!RecessiveHankelSide(first, z)) {  // J +- iY: no cancellation on this side
        Acb y;
        acb_hypgeom_bessel_jy(res, y.v, nu, z, prec);
        acb_mul_onei(y.v, y.v);
        if (first) acb_add(res, res, y.v, prec);
        else acb_sub(res, res, y.v, prec);
        break;
      }
      // H1 = (2/pi) e^{-i(nu+1)pi/2} e^{iz} [e^{w} K(w)], w = -iz; H2 the same with i -> -i. The
      // scaled K leaves the result as e^{-+iz} H, exactly the Hankel scale.
      Acb w, turn;
      acb_mul_onei(w.v, z);
      if (first) acb_neg(w.v, w.v);
      acb_hypgeom_bessel_k_scaled(res, nu, w.v, prec);
      acb_add_ui(turn.v, nu, 1, prec);
      acb_mul_2exp_si(turn.v, turn.v, -1);
      if (first) acb_neg(turn.v, turn.v);
      acb_exp_pi_i(turn.v, turn.v, prec);
      acb_mul(res, res, turn.v, prec);
      Arb twoOverPi;
      arb_const_pi(twoOverPi.v, prec);
      arb_ui_div(twoOverPi.v, 2, twoOverPi.v, prec);
      acb_mul_arb(res, res, twoOverPi.v, prec);
      acb_sub(rest.v, rest.v, w.v, prec);  // res carries e^{w}
      break;
    }
  }
  if (!acb_is_zero(rest.v)) {
    acb_exp(rest.v, rest.v, prec);
    acb_mul(res, res, rest.v, prec);
  }
}

// Real argument x > 0 and a real result: the real functions give an exact zero imaginary part.
// As in EvalBessel, I and K start from their scaled forms and the rest of the factor follows.
void EvalBesselReal(acb_t res, TBesselKind kind, const arb_t nu, const arb_t x, TBesselScale scale, slong prec) {
  arb_ptr r = acb_realref(res);
  arb_zero(acb_imagref(res));
  int have = 0;  // the result so far carries e^{have * x}
  switch (kind) {
    case TBesselKind::J: arb_hypgeom_bessel_j(r, nu, x, prec); break;
    case TBesselKind::Y: arb_hypgeom_bessel_y(r, nu, x, prec); break;
    case TBesselKind::I: arb_hypgeom_bessel_i_scaled(r, nu, x, prec); have = -1; break;
    default: arb_hypgeom_bessel_k_scaled(r, nu, x, prec); have = 1; break;
  }
  int want = scale == TBesselScale::ExpZ ? 1 : scale == TBesselScale::ExpMinusAbsReZ ? -1 : 0;
  if (want != have) {
    Arb f;
    arb_mul_si(f.v, x, want - have, prec);
    arb_exp(f.v, f.v, prec);
    arb_mul(r, r, f.v, prec);
  }
}

bool RealPath(TBesselKind kind, TCplx z, TBesselScale scale) {
  if (z.Im != 0 || !(z.Re > 0)) return false;
  bool realFunction = kind == TBesselKind::J || kind == TBesselKind::Y || kind == TBesselKind::I ||
                      kind == TBesselKind::K;
  bool realScale = scale != TBesselScale::ExpMinusIZ && scale != TBesselScale::ExpPlusIZ;
  return realFunction && realScale;
}

// Orders from which the real-axis magnitude test below is trusted, and its margin in bits: from
// order 1000 on, the leading Debye term is within 0.001 bit of ln J and ln |Y| wherever they come
// near the ends of the double range.
constexpr double kDebyeMinOrder = 1000;
constexpr double kDebyeMarginBits = 2;

// J_nu(x) for 0 < x < nu underflows, or Y_nu(x) overflows, by far: leading Debye term with
// sech a = x / nu, ln J ~ -nu (a - tanh a) - ln(2 pi nu tanh a) / 2, ln |Y| ~ +nu (a - tanh a) -
// ln(pi nu tanh a / 2) / 2. For large orders the ball series cancels through many thousands of
// bits there, so this settles the value at once. J is positive and Y negative below the first zero.
bool RealOrderDominates(TBesselKind kind, double nu, double x, TCplx& out, int& ierr) {
  if ((kind != TBesselKind::J && kind != TBesselKind::Y) || !(nu >= kDebyeMinOrder) || !(x < nu)) return false;
  double r = x / nu, th = std::sqrt((1 - r) * (1 + r));
  double a = std::log(nu) - std::log(x) + std::log1p(th);  // acosh(nu / x), also where nu / x overflows
  double xi = nu * (a - th);
  constexpr double kLn2 = 0.6931471805599453;
  if (kind == TBesselKind::J) {
    double lnJ = -xi - 0.5 * std::log(2 * M_PI * nu * th);
    if (lnJ >= -(1075 + kDebyeMarginBits) * kLn2) return false;
    out = {0.0, 0.0};
    ierr = ierrNone;
  } else {
    double lnY = xi - 0.5 * std::log(0.5 * M_PI * nu * th);
    if (lnY <= (1024 + kDebyeMarginBits) * kLn2) return false;
    out = {-HUGE_VAL, 0.0};
    ierr = ierrOverflow;
  }
  return true;
}

// Non-finite input: NaN is an input error, an infinite argument or order cannot be evaluated.
bool BadInput(double a, double b, double c, TCplx& out, int& ierr) {
  if (std::isnan(a) || std::isnan(b) || std::isnan(c)) {
    ierr = ierrInput;
  } else if (std::isinf(a) || std::isinf(b) || std::isinf(c)) {
    ierr = ierrTotalLoss;
  } else {
    return false;
  }
  out = {kNaN, kNaN};
  return true;
}

}  // namespace

TBesselScale ScaleOf(TBesselKind kind) {
  switch (kind) {
    case TBesselKind::J:
    case TBesselKind::Y: return TBesselScale::ExpMinusAbsImZ;
    case TBesselKind::I: return TBesselScale::ExpMinusAbsReZ;
    case TBesselKind::K: return TBesselScale::ExpZ;
    case TBesselKind::H1: return TBesselScale::ExpMinusIZ;
    case TBesselKind::H2: return TBesselScale::ExpPlusIZ;
  }
  return TBesselScale::None;
}

TCplx ArbBessel(TBesselKind kind, double nu, TCplx z, TBesselScale scale, int& ierr) {
  TCplx out;
  if (BadInput(nu, z.Re, z.Im, out, ierr)) return out;
  if (z.Re == 0 && z.Im == 0 && kind != TBesselKind::J && kind != TBesselKind::I) {
    ierr = ierrInput;  // a pole
    return {kNaN, kNaN};
  }
  if (RealPath(kind, z, scale)) {
    if (RealOrderDominates(kind, nu, z.Re, out, ierr)) return out;
    Arb n, x;
    arb_set_d(n.v, nu);
    arb_set_d(x.v, z.Re);
    return Certified([&](acb_t res, slong prec) { EvalBesselReal(res, kind, n.v, x.v, scale, prec); }, ierr);
  }
  Acb n, zz, e;
  acb_set_d(n.v, nu);
  acb_set_d_d(zz.v, z.Re, z.Im);
  ScaleExponent(e.v, scale, zz.v);
  return Certified([&](acb_t res, slong prec) { EvalBessel(res, kind, n.v, zz.v, e.v, prec); }, ierr);
}

TCplx ArbAiry(bool bi, bool derivative, TCplx z, bool scaled, int& ierr) {
  TCplx out;
  if (BadInput(z.Re, z.Im, 0, out, ierr)) return out;
  Acb zz;
  acb_set_d_d(zz.v, z.Re, z.Im);
  auto eval = [&](acb_t res, slong prec) {
    acb_ptr ai = !bi && !derivative ? res : nullptr, aip = !bi && derivative ? res : nullptr;
    acb_ptr bv = bi && !derivative ? res : nullptr, bip = bi && derivative ? res : nullptr;
    acb_hypgeom_airy(ai, aip, bv, bip, zz.v, prec);
    if (!scaled) return;
    Acb zeta;  // (2/3) z^{3/2}
    acb_sqrt(zeta.v, zz.v, prec);
    acb_mul(zeta.v, zeta.v, zz.v, prec);
    acb_mul_ui(zeta.v, zeta.v, 2, prec);
    acb_div_ui(zeta.v, zeta.v, 3, prec);
    if (bi) {
      arb_abs(acb_realref(zeta.v), acb_realref(zeta.v));
      arb_neg(acb_realref(zeta.v), acb_realref(zeta.v));
      arb_exp(acb_realref(zeta.v), acb_realref(zeta.v), prec);
      acb_mul_arb(res, res, acb_realref(zeta.v), prec);
    } else {
      acb_exp(zeta.v, zeta.v, prec);
      acb_mul(res, res, zeta.v, prec);
    }
  };
  return Certified(eval, ierr);
}

void RgammaTaylor(int n, double* hi, double* lo) {
  const slong prec = 192;
  ArbVec hv(2), cv(n);
  arb_ptr h = hv.v, c = cv.v;
  arb_one(h);
  arb_one(h + 1);
  _arb_poly_rgamma_series(c, h, 2, n, prec);
  Arf rest;
  for (int k = 0; k < n; ++k) {
    hi[k] = arf_get_d(arb_midref(c + k), ARF_RND_NEAR);
    arf_set_d(rest.v, hi[k]);
    arf_sub(rest.v, arb_midref(c + k), rest.v, prec, ARF_RND_NEAR);
    lo[k] = arf_get_d(rest.v, ARF_RND_NEAR);
  }
}

void ErfcChebyshev(double k, int n, double* c) {
  const slong prec = 160;
  ArbVec h(n);
  Arb t, a, num, den, e, angle, kk;
  arb_set_d(kk.v, k);
  for (int m = 0; m < n; ++m) {
    arb_set_si(angle.v, 2 * m + 1);
    arb_div_si(angle.v, angle.v, 2 * n, prec);  // node t_m = cos(pi (m + 1/2) / n)
    arb_cos_pi(t.v, angle.v, prec);
    arb_add_si(num.v, t.v, 1, prec);
    arb_sub_si(den.v, t.v, 1, prec);
    arb_neg(den.v, den.v);
    arb_div(a.v, num.v, den.v, prec);
    arb_mul(a.v, a.v, kk.v, prec);  // a = k (1 + t) / (1 - t)
    arb_hypgeom_erfc(h.v + m, a.v, prec);
    arb_sqr(e.v, a.v, prec);
    arb_exp(e.v, e.v, prec);
    arb_mul(h.v + m, h.v + m, e.v, prec);
    arb_add(e.v, a.v, kk.v, prec);
    arb_mul(h.v + m, h.v + m, e.v, prec);
  }
  Arb sum, term;
  for (int j = 0; j < n; ++j) {
    arb_zero(sum.v);
    for (int m = 0; m < n; ++m) {
      arb_set_si(angle.v, j * (2 * m + 1));
      arb_div_si(angle.v, angle.v, 2 * n, prec);
      arb_cos_pi(term.v, angle.v, prec);
      arb_addmul(sum.v, term.v, h.v + m, prec);
    }
    arb_mul_2exp_si(sum.v, sum.v, 1);
    arb_div_si(sum.v, sum.v, n, prec);
    c[j] = arf_get_d(arb_midref(sum.v), ARF_RND_NEAR);
  }
}

}  // namespace quorel::detail
