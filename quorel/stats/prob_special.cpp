// The special functions under the distributions: incomplete gamma (series and continued fraction,
// real and complex), incomplete beta, the beta function, binomial coefficients, the error function
// and its inverse, and the zeta family by Borwein's acceleration of the alternating series.

#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

#include "quorel/core/complex_arith.h"
#include "quorel/core/complex_compare.h"
#include "quorel/core/complex_trig.h"
#include "quorel/core/constants.h"
#include "quorel/core/detail/checks.h"
#include "quorel/core/detail/stirling.h"
#include "quorel/core/gamma.h"
#include "quorel/core/scalar_complex.h"
#include "quorel/stats/probabilities.h"
#include "quorel/stats/detail/prob_core.h"

namespace quorel {

namespace {

// The largest double (printed 1.797693134862315e+308 to 16 digits).
constexpr double kMaxDouble = std::numeric_limits<double>::max();

// Lentz keeps denominators away from zero by this floor.
inline double Floor0(double v) { return std::fabs(v) < MINNUM ? MINNUM : v; }
inline TCplx Floor0(const TCplx& v) { return CAbs(v) < MINNUM ? TCplx{MINNUM, 0.0} : v; }

using L = long double;

// ln(ratio) - t with ratio = 1 + t, t >= -1, given both (the ratio formed directly: 1 + t would
// lose x in x / a for x far below a). Near 0 without the cancellation: with w = t / (2 + t),
// ln(1 + t) = 2 (w + w^3/3 + w^5/5 + ...) and 2 w - t = -t w.
L LogMinusX(L ratio, L t) {
  if (std::fabs(t) > 0.5L) return std::log(ratio) - t;
  const L w = t / (2 + t), w2 = w * w;
  L sum = 0, power = w * w2;
  for (int k = 3; power != 0 && std::fabs(power) > 1e-21L * std::fabs(t * w); k += 2, power *= w2) sum += power / k;
  return 2 * sum - t * w;
}

// Where the shapes are at least this, the gamma prefactor and the beta power terms come from
// Stirling's form (its series' tail is then accurate to extended precision).
constexpr double kStirlingFrom = 10;

// The common prefactor of both gamma forms (the real one is shared with the block forms).
using detail::GammaPrefactor;
inline TCplx GammaPrefactor(double a, const TCplx& x, double lga) { return Exp(CSub(CSub(CMul(a, Ln(x)), x), lga)); }

// Gamma of a complex argument with Re z >= 0.5 (Lanczos, g = 7, nine terms); the zeta functional
// equations only need it there, as they carry Re s < 0.5 over to 1 - s.
TCplx CGammaRight(const TCplx& z) {
  static constexpr double kG = 7.0;
  static constexpr std::array<double, 9> kC = {
      0.99999999999980993,  676.5203681218851,     -1259.1392167224028,
      771.32342877765313,   -176.61502916214059,   12.507343278686905,
      -0.13857109526572012, 9.9843695780195716e-6, 1.5056327351493116e-7};
  const TCplx zm = CSub(z, 1.0);
  TCplx sum = {kC[0], 0.0};
  for (int i = 1; i < 9; ++i) sum = CAdd(sum, CDiv(kC[i], CAdd(zm, static_cast<double>(i))));
  const TCplx t = CAdd(zm, kG + 0.5);
  // sqrt(2 pi) t^(zm + 1/2) e^-t sum, in logarithms so large |z| does not overflow early
  const TCplx lg = CSub(CMul(CAdd(zm, 0.5), Ln(t)), t);
  return CMul(CMul(SQRT2PI, Exp(lg)), sum);
}

template <class T>
inline double Mag(const T& v) {
  if constexpr (std::is_same_v<T, double>) return std::fabs(v);
  else return CAbs(v);
}

// The series and fraction written once for double and TCplx.
template <class T>
T SeriesP(double a, const T& x, double lga) {
  T sum{};
  if constexpr (std::is_same_v<T, double>) sum = 1.0 / a;
  else sum = {1.0 / a, 0.0};
  T del = sum;
  double ap = a;
  for (;;) {
    ap += 1.0;
    if constexpr (std::is_same_v<T, double>) del = del * x / ap;
    else del = CDiv(CMul(del, x), ap);
    if constexpr (std::is_same_v<T, double>) sum += del;
    else sum = CAdd(sum, del);
    if (Mag(del) < Mag(sum) * MACHEP) break;
  }
  if constexpr (std::is_same_v<T, double>) return sum * GammaPrefactor(a, x, lga);
  else return CMul(sum, GammaPrefactor(a, x, lga));
}

template <class T>
T FractionQ(double a, const T& x, double lga) {
  if constexpr (std::is_same_v<T, double>) {
    double b = x + 1.0 - a, c = 1.0 / MINNUM, d = 1.0 / b, h = d;
    for (int i = 1;; ++i) {
      const double an = -i * (i - a);
      b += 2.0;
      d = Floor0(an * d + b);
      c = Floor0(b + an / c);
      d = 1.0 / d;
      const double del = d * c;
      h *= del;
      if (std::fabs(del - 1.0) < MACHEP) break;
    }
    return GammaPrefactor(a, x, lga) * h;
  } else {
    TCplx b = CAdd(x, 1.0 - a), c = {1.0 / MINNUM, 0.0}, d = CInv(b), h = d;
    for (int i = 1;; ++i) {
      const double an = -i * (i - a);
      b = CAdd(b, 2.0);
      d = Floor0(CAdd(CMul(an, d), b));
      c = Floor0(CAdd(b, CDiv(an, c)));
      d = CInv(d);
      const TCplx del = CMul(d, c);
      h = CMul(h, del);
      if (CAbs(CSub(del, 1.0)) < MACHEP) break;
    }
    return CMul(GammaPrefactor(a, x, lga), h);
  }
}

bool Finite(const TCplx& x) { return std::isfinite(x.Re) && std::isfinite(x.Im); }

// Continued fraction of the incomplete beta function (modified Lentz).
double BetaFraction(double a, double b, double x) {
  const double qab = a + b, qap = a + 1.0, qam = a - 1.0;
  double c = 1.0, d = 1.0 / Floor0(1.0 - qab * x / qap), h = d;
  for (int m = 1;; ++m) {
    const double m2 = 2.0 * m;
    double aa = m * (b - m) * x / ((qam + m2) * (a + m2));
    d = 1.0 / Floor0(1.0 + aa * d);
    c = Floor0(1.0 + aa / c);
    h *= d * c;
    aa = -(a + m) * (qab + m) * x / ((a + m2) * (qap + m2));
    d = 1.0 / Floor0(1.0 + aa * d);
    c = Floor0(1.0 + aa / c);
    const double del = d * c;
    h *= del;
    if (std::fabs(del - 1.0) < MACHEP) break;
  }
  return h;
}

bool IsRealWhole(const TCplx& s, double v) { return s.Im == 0.0 && std::trunc(v) == v; }

// Borwein's accelerated alternating series sum_k (-1)^k (k+1)^-s with n terms; Re s >= 0.5.
TCplx EtaSeries(const TCplx& s, std::int32_t n) {
  if (n < 1) return CNAN;
  // d_k as running sums of t_i; kept in long double, d_n grows like (3 + sqrt 8)^n
  long double t = 1.0L, dn = 0.0L;
  for (int i = 0; i <= n; ++i) {
    dn += t;
    t = t * 4.0L * (n - i) * (static_cast<long double>(n) + i) / ((2.0L * i + 1) * (2.0L * i + 2));
  }
  TCplx sum = C_ZERO;
  long double dk = 0.0L;
  t = 1.0L;
  const TCplx ms = Neg(s);
  for (int k = 0; k < n; ++k) {
    dk += t;
    t = t * 4.0L * (n - k) * (static_cast<long double>(n) + k) / ((2.0L * k + 1) * (2.0L * k + 2));
    const double w = static_cast<double>((dn - dk) / dn);
    const TCplx term = CMul(w, Power(static_cast<double>(k + 1), ms));
    sum = (k % 2 == 0) ? CAdd(sum, term) : CSub(sum, term);
  }
  return sum;
}

// The 65 fixed weights of DirichletBeta: w_k = (-1)^k 2^-65 sum_{j<=k} C(65, j).
const std::array<double, 65>& BetaWeights() {
  static const std::array<double, 65> w = [] {
    std::array<double, 65> r{};
    unsigned __int128 c = 1, acc = 0;
    for (int k = 0; k < 65; ++k) {
      acc += c;
      c = c * (65 - k) / (k + 1);
      const double v = std::ldexp(static_cast<double>(acc), -65);
      r[k] = (k % 2 == 0) ? v : -v;
    }
    return r;
  }();
  return w;
}

TCplx BetaSeries(const TCplx& s) {
  const auto& w = BetaWeights();
  TCplx sum = C_ZERO;
  const TCplx ms = Neg(s);
  for (int k = 0; k < 65; ++k) sum = CAdd(sum, CMul(w[k], Power(static_cast<double>(129 - 2 * k), ms)));
  return sum;
}

}  // namespace

// --- incomplete gamma ---------------------------------------------------------------------------

// From differences of ln x, x and LnGamma(a) the prefactor loses about max(x, |LnGamma(a)|) ulps;
// for a >= 10 Stirling's form keeps it to a few: x^a e^-x / Gamma(a) =
// sqrt(a / (2 pi)) e^(a (ln(1 + t) - t) - mu(a)), t = (x - a) / a, mu the series' tail.
double detail::GammaPrefactor(double a, double x, double lga) {
  if (!(a >= kStirlingFrom) || !(x > 0.0)) return std::exp(a * std::log(x) - x - lga);
  const L e = a * LogMinusX(x / L(a), (L(x) - a) / a) - detail::StirlingTail(a);
  return static_cast<double>(std::sqrt(a / (2 * L(PI))) * std::exp(e));
}

double GammaSer(double a, double x) {
  if (!detail::NoNaN(a, x) || !std::isfinite(x)) return detail::NaNResult();
  return SeriesP(a, x, LnGamma(a));
}
TCplx GammaSer(double a, const TCplx& x) {
  if (std::isnan(a) || !Finite(x)) return CNAN;
  return SeriesP(a, x, LnGamma(a));
}

double GammaFrac(double a, double x) {
  if (!detail::NoNaN(a, x) || !std::isfinite(x)) return detail::NaNResult();
  return FractionQ(a, x, LnGamma(a));
}
TCplx GammaFrac(double a, const TCplx& x) {
  if (std::isnan(a) || !Finite(x)) return CNAN;
  return FractionQ(a, x, LnGamma(a));
}

// Where a + 1 = a the series cannot advance and neither form would end; there the
// Wilson-Hilferty cube-root normal form is exact to far below the rounding of x / a.
static double HugeShapeP(double a, double x) {
  // cbrt(x / a) - 1 through expm1 and log1p: x close to a would cancel otherwise
  const double z = 3.0 * std::sqrt(a) * (std::expm1(std::log1p((x - a) / a) / 3.0) + 1.0 / (9.0 * a));
  return 0.5 * Erfc(-z * SQRT2DIV2);
}

// The first rules hold whatever the other argument is, NaN included; past them a NaN would never
// end the series or the fraction.
double detail::IGammaLg(double a, double x, double lga) {
  if (a <= 0.0 || x <= 0.0) return 0.0;
  if (!detail::NoNaN(a, x)) return detail::NaNResult();
  if (std::isinf(x)) return std::isinf(a) ? detail::NaNResult() : 1.0;
  if (a + 1.0 == a) return HugeShapeP(a, x);
  if (x >= a + 1.0) return 1.0 - FractionQ(a, x, lga);
  return SeriesP(a, x, lga);
}

double detail::JGammaLg(double a, double x, double lga) {
  if (a <= 0.0 || x < 0.0) return 0.0;
  if (x == 0.0) return 1.0;
  if (!detail::NoNaN(a, x)) return detail::NaNResult();
  if (std::isinf(x)) return std::isinf(a) ? detail::NaNResult() : 0.0;
  if (a + 1.0 == a) return 1.0 - HugeShapeP(a, x);
  if (x >= a + 1.0) return FractionQ(a, x, lga);
  return 1.0 - SeriesP(a, x, lga);
}

// LnGamma(a) is only needed past the early exits; a <= 0 skips it.
double IGamma(double a, double x) { return detail::IGammaLg(a, x, a > 0.0 && x > 0.0 ? LnGamma(a) : 0.0); }
double JGamma(double a, double x) { return detail::JGammaLg(a, x, a > 0.0 && x > 0.0 ? LnGamma(a) : 0.0); }

// The complex forms switch on |x| (the fraction also needs Re x > 0 to converge well); a real
// x is treated as in the real functions.
TCplx IGamma(double a, const TCplx& x) {
  if (a <= 0.0 || (x.Im == 0.0 && x.Re <= 0.0)) return C_ZERO;
  if (std::isnan(a) || !Finite(x)) return CNAN;
  if (CAbs(x) >= a + 1.0 && x.Re > 0.0) return CSub(1.0, FractionQ(a, x, LnGamma(a)));
  return SeriesP(a, x, LnGamma(a));
}

TCplx JGamma(double a, const TCplx& x) {
  if (a <= 0.0 || (x.Im == 0.0 && x.Re < 0.0)) return C_ZERO;
  if (x.Im == 0.0 && x.Re == 0.0) return C_ONE;
  if (std::isnan(a) || !Finite(x)) return CNAN;
  if (CAbs(x) >= a + 1.0 && x.Re > 0.0) return FractionQ(a, x, LnGamma(a));
  return CSub(1.0, SeriesP(a, x, LnGamma(a)));
}

// --- incomplete beta, beta, binomial -----------------------------------------------------------

double detail::LnInvBeta(double a, double b) { return LnGamma(a + b) - LnGamma(a) - LnGamma(b); }

namespace {
// x^a (1 - x)^b / B(a, b). Formed from ln Gamma differences this loses about |ln Gamma(a + b)|
// ulps (a third of the digits at a = b = 1e5, all of them by 1e15); for large shapes Stirling's
// form keeps it to a few ulps:
//   sqrt(a b / (2 pi (a + b))) (x / x0)^a (y / y0)^b e^(mu(a + b) - mu(a) - mu(b)),
// x0 = a / (a + b), y0 = 1 - x0, mu the series' tail. With d = x - x0 the two powers are
// a ln(1 + d/x0) + b ln(1 - d/y0), whose first-order parts cancel exactly, so only the remainders
// ln(1 + t) - t are summed. x0 + y0 = 1 exactly (the larger one is the quotient, the other its
// complement), which keeps that cancellation exact although x0 is rounded.
double PowerTerms(double x, double a, double b, double lnB) {
  if (!(a >= kStirlingFrom && b >= kStirlingFrom))
    return std::exp(lnB + a * std::log(x) + b * std::log1p(-x));
  const L s = L(a) + b;
  const L x0 = a >= b ? a / s : 1 - b / s, y0 = 1 - x0;
  const L d = x - x0;
  const L e = a * LogMinusX(x / x0, d / x0) + b * LogMinusX((1 - L(x)) / y0, -d / y0) + detail::StirlingTail(s) -
              detail::StirlingTail(a) - detail::StirlingTail(b);
  return static_cast<double>(std::sqrt(x0 * b / (2 * PI)) * std::exp(e));
}
}  // namespace

double BetaIncomplete(double x, double a, double b) {
  const bool inside = a > 0.0 && b > 0.0 && x > 0.0 && x < 1.0;
  return detail::BetaIncompleteLb(x, a, b, inside ? detail::LnInvBeta(a, b) : 0.0);
}

double detail::BetaIncompleteLb(double x, double a, double b, double lnB) {
  if (!(a > 0.0 && b > 0.0 && x >= 0.0 && x <= 1.0)) return 0.0;
  if (x == 0.0 || x == 1.0) return x;
  if (std::isinf(a) || std::isinf(b)) return detail::NaNResult();
  // where a + 1 = a or b + 1 = b the fraction cannot advance; the limits are exact far below the
  // rounding there: a normal when both are huge, else the gamma limit in the huge one
  const bool hugeA = a + 1.0 == a, hugeB = b + 1.0 == b;
  if (hugeA && hugeB) {
    const double s = a + b, mean = a / s, sd = std::sqrt(a / s * (b / s) / (s + 1.0));
    return 0.5 * Erfc(-(x - mean) / sd * SQRT2DIV2);
  }
  if (hugeB) return IGamma(a, -b * std::log1p(-x));
  if (hugeA) return JGamma(b, -a * std::log(x));
  const double bt = PowerTerms(x, a, b, lnB);
  if (x < (a + 1.0) / (a + b + 2.0)) return bt * BetaFraction(a, b, x) / a;
  return 1.0 - bt * BetaFraction(b, a, 1.0 - x) / b;
}

double Beta(double a, double b) {
  const double sign = SgnGamma(a) * SgnGamma(b) * SgnGamma(a + b);
  const double lab = LnGamma(a + b);
  if (std::isinf(lab)) return 0.0;
  const double la = LnGamma(a), lb = LnGamma(b);
  if (std::isinf(la) || std::isinf(lb)) return sign * kMaxDouble;
  return sign * std::exp(la + lb - lab);
}

double Binomial(std::int32_t n, std::int32_t k) {
  if (k < 0) return 0.0;
  if (k == 0 || k == n) return 1.0;
  if (k == 1 || k == n - 1) return n;
  if (n - k < k) k = n - k;
  double r = n;
  for (std::int32_t i = 2; i <= k; ++i) r = static_cast<double>(n + 1 - i) / i * r;
  return std::trunc(r + 0.5);
}

// --- error function ----------------------------------------------------------------------------

// LnGamma(0.5), the same value IGamma(0.5, .) would compute on every call.
double detail::LnGammaHalf() {
  static const double v = LnGamma(0.5);
  return v;
}

double Erf(double x) {
  const double p = detail::IGammaLg(0.5, x * x, detail::LnGammaHalf());
  return x < 0.0 ? -p : p;
}

double Erfc(double x) {
  if (x >= 0.0) return detail::JGammaLg(0.5, x * x, detail::LnGammaHalf());
  return 1.0 + detail::IGammaLg(0.5, x * x, detail::LnGammaHalf());
}

double ErfInv(double y) {
  if (std::isnan(y)) return y;
  detail::RequireState(std::fabs(y) <= 1.0, "abs(y) > 0");
  if (y == 1.0) return kMaxDouble;
  if (y == -1.0) return -kMaxDouble;
  const double ay = std::fabs(y);
  double x = detail::ErfInvStart(y, ay > 0.7 ? std::log((1.0 - ay) / 2.0) : 0.0);
  for (int i = 0; i < 2; ++i) x = detail::ErfInvStep(x, y, Erf(x), std::exp(x * x));
  return x;
}

// --- zeta family -------------------------------------------------------------------------------

TCplx DirichletEta(const TCplx& s, std::int32_t n) {
  if (s.Im == 0.0 && s.Re < 0.0 && IsRealWhole(s, s.Re / 2.0)) return C_ZERO;
  if (Equal(s, C_ZERO)) return {0.5, 0.0};
  if (Equal(s, C_ONE)) return {LN2, 0.0};
  if (s.Re >= 0.5) return EtaSeries(s, n);
  // eta(s) = (1 - 2^(1-s)) / (1 - 2^s) 2^s pi^(s-1) sin(pi s/2) Gamma(1-s) eta(1-s)
  const TCplx u = CSub(1.0, s);
  const TCplx eta1 = EtaSeries(u, n);
  const TCplx ratio = CDiv(CSub(1.0, Power(2.0, u)), CSub(1.0, Power(2.0, s)));
  const TCplx f = CMul(CMul(Power(2.0, s), Power(PI, CSub(s, 1.0))), Sin(CMul(s, PIDIV2)));
  return CMul(CMul(ratio, f), CMul(CGammaRight(u), eta1));
}

TCplx RiemannZeta(const TCplx& s, std::int32_t n) {
  return CDiv(DirichletEta(s, n), CSub(1.0, Power(2.0, CSub(1.0, s))));
}

TCplx DirichletLambda(const TCplx& s, std::int32_t n) {
  return CDiv(CMul(DirichletEta(s, n), CSub(1.0, Power(2.0, Neg(s)))), CSub(1.0, Power(2.0, CSub(1.0, s))));
}

TCplx DirichletBeta(const TCplx& s) {
  if (s.Im == 0.0 && s.Re < 0.0 && IsRealWhole(s, (s.Re + 1.0) / 2.0)) return C_ZERO;
  if (Equal(s, C_ZERO)) return {0.5, 0.0};
  if (s.Re >= 0.5) return BetaSeries(s);
  // beta(s) = (2/pi)^(1-s) sin(pi (1-s)/2) Gamma(1-s) beta(1-s)
  const TCplx u = CSub(1.0, s);
  const TCplx f = CMul(Power(2.0 / PI, u), Sin(CMul(u, PIDIV2)));
  return CMul(CMul(f, CGammaRight(u)), BetaSeries(u));
}

}  // namespace quorel
