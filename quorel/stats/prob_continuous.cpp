// Scalar density, distribution and inverse functions of the continuous distributions.
// Invalid parameters give NaN; only the two Newton inverses raise.

#include <cmath>

#include "quorel/core/compare.h"
#include "quorel/core/constants.h"
#include "quorel/core/detail/checks.h"
#include "quorel/core/gamma.h"
#include "quorel/stats/probabilities.h"
#include "quorel/stats/detail/prob_core.h"

namespace quorel {

using detail::NaNResult;
using detail::ParamsValid;

namespace {

inline bool InUnit(double p) { return p >= 0.0 && p <= 1.0; }

// c * ln x with the limit 0 for c = 0 (so a density with exponent a - 1 = 0 stays finite at 0).
inline double CLogX(double c, double x) { return c == 0.0 ? 0.0 : c * std::log(x); }

// Newton's method on CDF(x) = p with a cap of 100 steps, shared by the two inverses.
template <class Cdf, class Pdf, class Repair>
double NewtonInverse(double p, double x, double rtol, double atol, Cdf cdf, Pdf pdf, Repair repair) {
  double dx = 1.0;
  int count = 0;
  while (std::fabs(dx) > std::fabs(x) * rtol && std::fabs(dx) > atol && count < 100) {
    ++count;
    dx = (cdf(x) - p) / pdf(x);
    double xNew = x - dx;
    repair(x, xNew, dx);
    x = xNew;
  }
  detail::RequireState(count != 100, "Failed to converge!");
  return x;
}

// 0.5 (1 + Erf(z)) capped at 1; below zero as 0.5 Erfc(-z), the same value without the
// cancellation that would wipe out the left tail. NaN stays NaN.
inline double HalfErfPlusOne(double z) {
  if (z < 0.0) return 0.5 * Erfc(-z);
  return detail::CapAtOne(0.5 * (1.0 + Erf(z)));
}

}  // namespace

// --- Beta --------------------------------------------------------------------------------------

double detail::BetaPDFLb(double x, double a, double b, double lnB) {
  if (!ParamsValid(a > 0.0, b > 0.0, InUnit(x))) return NaNResult();
  if (x == 0.0 && a < 1.0) return INF;
  if (x == 1.0 && b < 1.0) return INF;
  return std::exp(lnB + CLogX(a - 1.0, x) + CLogX(b - 1.0, 1.0 - x));
}

double detail::BetaCDFLb(double x, double a, double b, double lnB) {
  if (!ParamsValid(a > 0.0, b > 0.0, !std::isnan(x))) return NaNResult();
  if (x >= 1.0) return 1.0;
  if (x <= 0.0) return 0.0;
  return std::fmin(1.0, detail::BetaIncompleteLb(x, a, b, lnB));
}

double BetaPDF(double x, double a, double b) { return detail::BetaPDFLb(x, a, b, detail::LnInvBeta(a, b)); }
double BetaCDF(double x, double a, double b) { return detail::BetaCDFLb(x, a, b, detail::LnInvBeta(a, b)); }

double BetaCDFInv(double p, double a, double b) {
  if (!ParamsValid(a > 0.0, b > 0.0, InUnit(p))) return NaNResult();
  if (p == 0.0 || p == 1.0) return p;
  const double root = std::sqrt(MACHEP);
  double x = a / (a + b);
  if (x == 0.0) x = root;
  if (x == 1.0) x = 1.0 - root;
  const double lnB = detail::LnInvBeta(a, b);
  return NewtonInverse(
      p, x, root, root, [&](double t) { return detail::BetaCDFLb(t, a, b, lnB); },
      [&](double t) { return detail::BetaPDFLb(t, a, b, lnB); },
      [](double xOld, double& xNew, double&) {
        if (xNew < 0.0) xNew = 0.1 * xOld;
        else if (xNew > 1.0) xNew = 1.0 - 0.1 * (1.0 - xOld);
      });
}

// --- Gamma and its relatives -------------------------------------------------------------------

double detail::GammaPDFLg(double x, double a, double b, double lga) {
  if (x == 0.0 && a < 1.0) return INF;
  if (!ParamsValid(a > 0.0, b > 0.0, !std::isnan(x))) return NaNResult();
  if (x < 0.0) return 0.0;
  if (x == 0.0) return a == 1.0 ? 1.0 / b : 0.0;
  return std::exp((a - 1.0) * std::log(x) - x / b - lga - a * std::log(b));
}

double detail::GammaCDFLg(double x, double a, double b, double lga) {
  if (!ParamsValid(a > 0.0, b > 0.0, !std::isnan(x))) return NaNResult();
  if (x <= 0.0) return 0.0;
  return std::fmin(1.0, detail::IGammaLg(a, x / b, lga));
}

double GammaPDF(double x, double a, double b) { return detail::GammaPDFLg(x, a, b, LnGamma(a)); }
double GammaCDF(double x, double a, double b) { return detail::GammaCDFLg(x, a, b, LnGamma(a)); }

double GammaCDFInv(double p, double a, double b) {
  if (!ParamsValid(a > 0.0, b > 0.0, InUnit(p))) return NaNResult();
  if (p == 0.0) return 0.0;
  if (p == 1.0) return 1.0;
  const detail::TGammaInvStart start = detail::GammaInvStart(a, b);
  const double x = std::exp(NormalCDFInv(p, start.mu, start.s));
  const double lga = LnGamma(a);
  return NewtonInverse(
      p, x, detail::kGammaInvRtol, detail::kGammaInvAtol, [&](double t) { return detail::GammaCDFLg(t, a, b, lga); },
      [&](double t) { return detail::GammaPDFLg(t, a, b, lga); },
      [](double xOld, double& xNew, double& dx) {
        if (xNew < 0.0) {
          xNew = 0.1 * xOld;
          dx = xOld - xNew;
        }
      });
}

double ChiSquarePDF(double x, std::int32_t nu) {
  if (nu < 1) return NaNResult();
  return GammaPDF(x, nu / 2.0, 2.0);
}

double ChiSquareCDF(double x, std::int32_t nu) {
  if (nu < 1) return NaNResult();
  return GammaCDF(x, nu / 2.0, 2.0);
}

double ChiSquareCDFInv(double p, std::int32_t nu) {
  if (nu < 1) return NaNResult();
  if (p == 0.0) return 0.0;
  return GammaCDFInv(p, nu / 2.0, 2.0);
}

double MaxwellPDF(double x, double a) {
  if (!ParamsValid(a > 0.0, x >= 0.0)) return NaNResult();
  return std::sqrt(4.0 * a * INVTWOPI) * a * x * x * std::exp(-a * x * x / 2.0);
}

double MaxwellCDF(double x, double a) {
  if (!ParamsValid(a > 0.0, x >= 0.0)) return NaNResult();
  const double t = x / a;
  return GammaCDF(t * t / 2.0, 1.5, 1.0);
}

double MaxwellCDFInv(double p, double a) {
  if (!ParamsValid(a > 0.0, InUnit(p))) return NaNResult();
  return a * std::sqrt(2.0 * GammaCDFInv(p, 1.5, 1.0));
}

// --- Normal and its relatives ------------------------------------------------------------------

double NormalPDF(double x, double mu, double sigma) {
  if (!ParamsValid(sigma > 0.0)) return NaNResult();
  const double z = (x - mu) / sigma;
  return std::exp(-0.5 * z * z) / (SQRT2PI * sigma);
}

double NormalCDF(double x, double mu, double sigma) {
  if (!ParamsValid(sigma > 0.0)) return NaNResult();
  return HalfErfPlusOne((x - mu) / sigma * SQRT2DIV2);
}

double NormalCDFInv(double p, double mu, double sigma) {
  if (!ParamsValid(sigma > 0.0, InUnit(p))) return NaNResult();
  if (p == 0.0 || p == 1.0) return INF;
  return SQRT2 * sigma * ErfInv(2.0 * p - 1.0) + mu;
}

double LogNormalPDF(double x, double mu, double sigma) {
  if (!ParamsValid(sigma > 0.0, x > 0.0)) return NaNResult();
  const double z = (std::log(x) - mu) / sigma;
  return std::exp(-0.5 * z * z) / (x * sigma * SQRT2PI);
}

double LogNormalCDF(double x, double mu, double sigma) {
  if (!ParamsValid(sigma > 0.0, x > 0.0)) return NaNResult();
  return HalfErfPlusOne((std::log(x) - mu) / (sigma * SQRT2));
}

double LogNormalCDFInv(double p, double mu, double sigma) {
  if (!ParamsValid(sigma > 0.0, InUnit(p))) return NaNResult();
  return std::exp(SQRT2 * sigma * ErfInv(2.0 * p - 1.0) + mu);
}

// --- F and Student -----------------------------------------------------------------------------

double FPDF(double x, std::int32_t nu1, std::int32_t nu2) {
  if (!ParamsValid(nu1 >= 1, nu2 >= 1, !std::isnan(x))) return NaNResult();
  if (x <= 0.0) return 0.0;
  const double n1 = nu1, n2 = nu2;
  return std::pow(n1 / n2, n1 / 2.0) * std::pow(x, (n1 - 2.0) / 2.0) / Beta(n1 / 2.0, n2 / 2.0) *
         std::pow(1.0 + n1 * x / n2, -(n1 + n2) / 2.0);
}

double FCDF(double x, std::int32_t nu1, std::int32_t nu2) {
  if (!ParamsValid(nu1 >= 1, nu2 >= 1, !std::isnan(x))) return NaNResult();
  if (x <= 0.0) return 0.0;
  const double n1 = nu1, n2 = nu2;
  // 1 - I(nu2 / (nu2 + nu1 x); nu2/2, nu1/2), taken by symmetry so small values keep their digits;
  // where nu1 x overflows the mirrored argument would be inf/inf, and nu2 / d = 0 gives 1
  const double d = n2 + n1 * x;
  if (std::isinf(d)) return 1.0;
  return BetaIncomplete(n1 * x / d, n1 / 2.0, n2 / 2.0);
}

double FCDFInv(double p, std::int32_t nu1, std::int32_t nu2) {
  if (!ParamsValid(nu1 >= 1, nu2 >= 1, !std::isnan(p))) return NaNResult();
  if (p == 1.0) return INF;
  if (p <= 0.0 || p > 1.0) return 0.0;
  const double y = BetaCDFInv(1.0 - p, nu2 / 2.0, nu1 / 2.0);
  return (nu2 / y - nu2) / nu1;
}

double StudentPDF(double x, std::int32_t nu) {
  if (nu < 1) return NaNResult();
  const double n = nu;
  return std::exp(LnGamma((n + 1.0) / 2.0) - LnGamma(n / 2.0) - 0.5 * std::log(n * PI) -
                  ((n + 1.0) / 2.0) * std::log1p(x * x / n));
}

double detail::StudentCDFLb(double x, std::int32_t nu, double lnB) {
  if (!ParamsValid(nu >= 1, !std::isnan(x))) return NaNResult();
  if (nu == 1) return 0.5 + std::atan(x) / PI;
  if (x == 0.0) return 0.5;
  const double n = nu;
  const double i = detail::BetaIncompleteLb(n / (n + x * x), n / 2.0, 0.5, lnB);
  return x < 0.0 ? 0.5 * i : 1.0 - 0.5 * i;
}

double StudentCDF(double x, std::int32_t nu) { return detail::StudentCDFLb(x, nu, detail::LnInvBeta(nu / 2.0, 0.5)); }

double StudentCDFInv(double p, std::int32_t nu) {
  if (!ParamsValid(nu >= 1, InUnit(p))) return NaNResult();
  if (nu == 1) return std::tan((p - 0.5) * PI);
  if (p == 0.0) return -INF;
  if (p == 1.0) return INF;
  const double n = nu;
  if (p < 0.5) return -std::sqrt(n / BetaCDFInv(2.0 * p, n / 2.0, 0.5) - n);
  return std::sqrt(n / BetaCDFInv(2.0 * (1.0 - p), n / 2.0, 0.5) - n);
}

// --- closed-form families ----------------------------------------------------------------------

double CauchyPDF(double x, double a, double b) {
  if (!ParamsValid(b > 0.0)) return NaNResult();
  const double d = x - a;
  return 2.0 * INVTWOPI * b / (d * d + b * b);
}

double CauchyCDF(double x, double a, double b) {
  if (!ParamsValid(b > 0.0)) return NaNResult();
  return 0.5 + 2.0 * INVTWOPI * std::atan2(x - a, b);
}

double CauchyCDFInv(double p, double a, double b) {
  if (!ParamsValid(b > 0.0, InUnit(p))) return NaNResult();
  return a + b * std::tan((p - 0.5) * PI);
}

double ExpPDF(double x, double mu) {
  if (!ParamsValid(mu > 0.0, !std::isnan(x))) return NaNResult();
  return x > 0.0 ? std::exp(-x / mu) / mu : 0.0;
}

double ExpCDF(double x, double mu) {
  if (!ParamsValid(mu > 0.0, !std::isnan(x))) return NaNResult();
  return x > 0.0 ? -std::expm1(-x / mu) : 0.0;
}

double ExpCDFInv(double p, double mu) {
  if (!ParamsValid(mu > 0.0, InUnit(p))) return NaNResult();
  if (p == 0.0) return 0.0;
  return -mu * std::log1p(-p);
}

double LaplacePDF(double x, double m, double b) {
  if (!ParamsValid(b > 0.0)) return NaNResult();
  return std::exp(-std::fabs(x - m) / b) / (2.0 * b);
}

double LaplaceCDF(double x, double m, double b) {
  if (!ParamsValid(b > 0.0, !std::isnan(x))) return NaNResult();
  const double d = x - m;
  // 0.5 (1 + Sgn(d) (1 - e)) taken apart, so the lower side keeps its digits
  if (d < 0.0) return 0.5 * std::exp(d / b);
  if (d > 0.0) return 1.0 - 0.5 * std::exp(-d / b);
  return d == 0.0 ? 0.5 : d;  // Sgn(NaN) = 0 times NaN
}

double LaplaceCDFInv(double p, double m, double b) {
  if (!ParamsValid(b > 0.0, InUnit(p))) return NaNResult();
  if (p == 0.5) return m;
  if (p < 0.5) return m + b * std::log(2.0 * p);
  return m - b * std::log(2.0 - 2.0 * p);
}

double LogisticPDF(double x, double m, double b) {
  if (!ParamsValid(b > 0.0, m > 0.0)) return NaNResult();
  // e / (1 + e)^2 is symmetric in e <-> 1/e: use the side that cannot overflow
  const double e = std::exp(-std::fabs(x - m) / b);
  return e / (b * (1.0 + e) * (1.0 + e));
}

double LogisticCDF(double x, double m, double b) {
  if (!ParamsValid(b > 0.0, m > 0.0)) return NaNResult();
  return 1.0 / (1.0 + std::exp(-(x - m) / b));
}

double LogisticCDFInv(double p, double m, double b) {
  if (!ParamsValid(b > 0.0, m > 0.0, InUnit(p))) return NaNResult();
  if (p == 1.0) return INF;
  if (p == 0.0) return -INF;
  return m - b * std::log(1.0 / p - 1.0);
}

double LogWeibullPDF(double x, double a, double b) {
  if (!ParamsValid(b != 0.0)) return NaNResult();
  const double z = (a - x) / b;
  return std::exp(z - std::exp(z)) / b;
}

double LogWeibullCDF(double x, double a, double b) {
  if (!ParamsValid(b != 0.0)) return NaNResult();
  return std::exp(-std::exp((a - x) / b));
}

double LogWeibullCDFInv(double p, double a, double b) {
  if (!ParamsValid(b != 0.0, InUnit(p))) return NaNResult();
  // the sign is the opposite of the CDF's inverse, and stays so
  return a + b * std::log(-std::log(p));
}

double ParetoPDF(double x, double a, double b) {
  if (!ParamsValid(x >= b)) return NaNResult();
  return a * std::pow(b, a) * std::pow(x, -a - 1.0);
}

double ParetoCDF(double x, double a, double b) {
  if (!ParamsValid(x >= b)) return NaNResult();
  return 1.0 - std::pow(b / x, a);
}

double ParetoCDFInv(double p, double a, double b) {
  if (!ParamsValid(InUnit(p))) return NaNResult();
  if (p == 1.0) return INF;
  return b * std::pow(1.0 - p, -1.0 / a);
}

double RayleighPDF(double x, double b) {
  if (!ParamsValid(b > 0.0, x >= 0.0)) return NaNResult();
  return x / (b * b) * std::exp(-x * x / (2.0 * b * b));
}

double RayleighCDF(double x, double b) {
  if (!ParamsValid(b > 0.0, x >= 0.0)) return NaNResult();
  const double t = x / b;
  return -std::expm1(-t * t / 2.0);
}

// Only p is checked: b <= 0 runs the formula, as in the vector form.
double RayleighCDFInv(double p, double b) {
  if (!ParamsValid(InUnit(p))) return NaNResult();
  if (p == 1.0) return INF;
  return b * std::sqrt(-2.0 * std::log1p(-p));
}

double TriangularPDF(double x, double a, double b, double c) {
  if (!ParamsValid(b > a, c >= a, c <= b, x >= a, x <= b)) return NaNResult();
  // with c = a the rising side is empty: x = a belongs to the falling one
  if (x <= c && c > a) return 2.0 * (x - a) / ((c - a) * (b - a));
  return 2.0 * (b - x) / ((b - c) * (b - a));
}

double TriangularCDF(double x, double a, double b, double c) {
  if (!ParamsValid(b > a, c >= a, c <= b, x >= a, x <= b)) return NaNResult();
  if (x <= c && c > a) return (x - a) * (x - a) / ((c - a) * (b - a));
  return 1.0 - (b - x) * (b - x) / ((b - c) * (b - a));
}

double TriangularCDFInv(double p, double a, double b, double c) {
  if (!ParamsValid(b > a, c >= a, c <= b, InUnit(p))) return NaNResult();
  const double x = a + std::sqrt((c - a) * (b - a) * p);
  // the rising side holds when its CDF gives p back; the test allows the rounding of the round trip
  if (Equal(TriangularCDF(x, a, b, c), p, 64.0 * MACHEP)) return x;
  return b - std::sqrt((b - c) * (b - a) * (1.0 - p));
}

double UniformPDF(double x, double a, double b) {
  if (!ParamsValid(b > a, !std::isnan(x))) return NaNResult();
  return (x >= a && x <= b) ? 1.0 / (b - a) : 0.0;
}

double UniformCDF(double x, double a, double b) {
  if (!ParamsValid(b > a, !std::isnan(x))) return NaNResult();
  if (x >= b) return 1.0;
  if (x > a) return (x - a) / (b - a);
  return 0.0;
}

double UniformCDFInv(double p, double a, double b) {
  if (!ParamsValid(b > a, InUnit(p))) return NaNResult();
  return a + p * (b - a);
}

double WeibullPDF(double x, double a, double b) {
  if (!ParamsValid(a > 0.0, b > 0.0, !std::isnan(x))) return NaNResult();
  if (x > 0.0) return a * b * std::pow(x, b - 1.0) * std::exp(-a * std::pow(x, b));
  if (x == 0.0) return b < 1.0 ? INF : (b == 1.0 ? a : 0.0);
  return 0.0;
}

double WeibullCDF(double x, double a, double b) {
  if (!ParamsValid(a > 0.0, b > 0.0, !std::isnan(x))) return NaNResult();
  return x >= 0.0 ? -std::expm1(-a * std::pow(x, b)) : 0.0;
}

double WeibullCDFInv(double p, double a, double b) {
  if (!ParamsValid(a > 0.0, b > 0.0, InUnit(p))) return NaNResult();
  if (p == 0.0) return 0.0;
  if (p == 1.0) return INF;
  return std::pow(-std::log1p(-p) / a, 1.0 / b);
}

double BoseEinsteinPDF(double x, double mu, double s) { return std::pow(x, s) / std::expm1(x - mu); }

double FermiDiracPDF(double x, double mu, double s) { return std::pow(x, s) / (std::exp(x - mu) + 1.0); }

}  // namespace quorel
