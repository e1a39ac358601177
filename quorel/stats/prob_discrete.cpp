// Scalar mass, distribution and inverse functions of the discrete distributions. The inverses
// walk k = 0, 1, 2, ... summing the mass function.

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "quorel/core/constants.h"
#include "quorel/core/detail/checks.h"
#include "quorel/core/gamma.h"
#include "quorel/stats/probabilities.h"

namespace quorel {

using detail::NaNResult;
using detail::ParamsValid;

namespace {

inline bool InUnit(double p) { return p >= 0.0 && p <= 1.0; }
inline bool Whole(double x) { return std::trunc(x) == x; }

// The smallest whole k >= 0 where holds(k), for a predicate that once true stays true: doubling,
// then bisection.
template <class Pred>
double SmallestWholeWhere(Pred holds) {
  if (holds(0.0)) return 0.0;
  double lo = 0.0, hi = 1.0;
  while (!holds(hi)) {
    lo = hi;
    hi *= 2.0;
    if (std::isinf(hi)) return INF;
  }
  for (;;) {
    const double mid = std::floor(0.5 * (lo + hi));
    if (mid <= lo || mid >= hi) break;  // neighbours: one apart, or one ulp apart far out
    (holds(mid) ? hi : lo) = mid;
  }
  return hi;
}

// The smallest whole k >= 0 with cdf(k) >= y, for an increasing cdf (a NaN counts as reached).
template <class Cdf>
double SmallestWhole(Cdf cdf, double y) {
  return SmallestWholeWhere([&](double k) { return !(cdf(k) < y); });
}

// The smallest whole k >= 0 with upper(k) = P(K > k) <= q, for a decreasing upper tail.
template <class Upper>
double SmallestWholeAbove(Upper upper, double q) {
  return SmallestWholeWhere([&](double k) { return !(upper(k) > q); });
}

// The absolute rounding a summation walk gathers by k = mean + 40 sd + 100: each term comes from
// logarithms near n ln n, and there are about n terms. Measured errors stay below half of it.
double WalkRounding(double mean, double sd) {
  const double n = mean + 40.0 * sd + 100.0;
  return MACHEP * n * (std::log(n) + 1.0);
}

// A walk is trusted while 1 - p is this many times its rounding; closer to 1 the quantile is
// searched on the upper tail, whose value keeps its relative accuracy however small it is.
constexpr double kTailMargin = 1e6;
inline bool InFarUpperTail(double p, double mean, double sd) {
  return p > 0.5 && 1.0 - p < kTailMargin * WalkRounding(mean, sd);
}

}  // namespace

// --- Binomial ----------------------------------------------------------------------------------

double BinomPDF(double x, std::int32_t n, double p) {
  if (!ParamsValid(InUnit(p), n >= 1, x <= n)) return NaNResult();
  if (x == 0.0) return std::pow(1.0 - p, n);
  if (x == n) return std::pow(p, n);
  if (!Whole(x)) return 0.0;
  const auto k = static_cast<std::int32_t>(x);
  return Binomial(n, k) * std::pow(p, x) * std::pow(1.0 - p, n - x);
}

double BinomCDF(double x, std::int32_t n, double p) {
  if (!ParamsValid(InUnit(p), n >= 1, x <= n)) return NaNResult();
  if (x < 0.0) return 0.0;
  if (x == 0.0) return std::pow(1.0 - p, n);
  if (x == n) return 1.0;
  if (!Whole(x)) return 0.0;
  // 1 - I(p; x + 1, n - x), by symmetry so a small lower tail keeps its digits
  return BetaIncomplete(1.0 - p, n - x, x + 1.0);
}

double BinomCDFInv(double y, std::int32_t n, double p) {
  if (!ParamsValid(n >= 0, InUnit(p), InUnit(y))) return NaNResult();
  std::int32_t k = 0;
  double sum = BinomPDF(0.0, n, p);
  while (sum < y && k < n) {
    ++k;
    sum += BinomPDF(k, n, p);
  }
  return sum;  // the cumulative probability at the stop, not k
}

// --- Geometric ---------------------------------------------------------------------------------

double GeometricPDF(double x, double p) {
  if (!ParamsValid(p > 0.0, p <= 1.0, !std::isnan(x))) return NaNResult();
  if (x >= 0.0 && std::nearbyint(x) == x) return p * std::pow(1.0 - p, x);
  return 0.0;
}

double GeometricCDF(double x, double p) {
  if (!ParamsValid(p > 0.0, p <= 1.0, x >= 0.0)) return NaNResult();
  if (p == 1.0 && x != 0.0) return 0.0;
  const double k = std::nearbyint(x);
  return 1.0 - std::pow(1.0 - p, k + 1.0);
}

double GeometricCDFInv(double y, double p) {
  if (!ParamsValid(p > 0.0, p <= 1.0, InUnit(y))) return NaNResult();
  if (y == 1.0) return INF;
  return std::trunc(std::log1p(-y) / std::log1p(-p));
}

// --- Hypergeometric ----------------------------------------------------------------------------

namespace {
inline bool HypValid(double x, std::int32_t m, std::int32_t k, std::int32_t n) {
  return ParamsValid(m >= 0, k >= 0, n >= 0, n <= m, k <= m, x <= n, x <= k);
}
}  // namespace

double HypGeometricPDF(double x, std::int32_t m, std::int32_t k, std::int32_t n) {
  if (!HypValid(x, m, k, n)) return NaNResult();
  if (!(x >= 0.0 && x <= k && m - k - n + x + 1.0 > 0.0)) return 0.0;
  auto lf = [](double v) { return LnGamma(v + 1.0); };
  return std::exp(lf(k) - lf(x) - lf(k - x) + lf(m - k) - lf(n - x) - lf(m - k - n + x) - lf(m) + lf(n) +
                  lf(m - n));
}

double HypGeometricCDF(double x, std::int32_t m, std::int32_t k, std::int32_t n) {
  if (!ParamsValid(HypValid(x, m, k, n), x >= 0.0)) return NaNResult();
  const auto top = static_cast<std::int32_t>(std::min({std::trunc(x), double(n), double(k)}));
  double sum = 0.0;
  for (std::int32_t i = 0; i <= top; ++i) sum += HypGeometricPDF(i, m, k, n);
  return std::fmin(1.0, sum);
}

double HypGeometricCDFInv(double p, std::int32_t m, std::int32_t k, std::int32_t n) {
  if (!ParamsValid(HypValid(0.0, m, k, n), InUnit(p))) return NaNResult();
  std::int32_t r = 0, i = 0;
  double sum = HypGeometricPDF(0.0, m, k, n);
  while (sum < p && i < n && i < k) {
    ++i;
    if (sum + MACHEP < p) ++r;
    sum += HypGeometricPDF(i, m, k, n);
  }
  return r;
}

// --- Negative binomial -------------------------------------------------------------------------

double NegBinomPDF(double x, std::int32_t r, double p) {
  if (!ParamsValid(InUnit(p), r >= 1, !std::isnan(x))) return NaNResult();
  if (!(x >= 0.0 && Whole(x))) return 0.0;
  // the coefficient is rounded to a whole number
  const double lnCoeff = LnGamma(r + x) - LnGamma(x + 1.0) - LnGamma(r);
  const double coeff = std::nearbyint(std::exp(lnCoeff)), pr = std::pow(p, r), qx = std::pow(1.0 - p, x);
  if (coeff < 0x1p53 || (coeff <= DBL_MAX && pr >= DBL_MIN && qx >= DBL_MIN)) return coeff * pr * qx;
  // From 2^53 on every double is whole, so the rounding is void; a factor out of range (r = 2000,
  // p = 0.5: INF times 0) would spoil a finite product, which the logarithms keep in range.
  return std::exp(lnCoeff + r * std::log(p) + x * std::log1p(-p));
}

double NegBinomCDF(double x, std::int32_t r, double p) {
  if (!ParamsValid(InUnit(p), r >= 1, x >= 0.0)) return NaNResult();
  const double top = std::trunc(x);
  double sum = 0.0;
  if (p == 0.0) return 0.0;  // no mass at any finite x
  // a sum of millions of terms: the same value in closed form, I_p(r, k + 1)
  if (top > 1e6) return std::fmin(1.0, BetaIncomplete(p, r, top + 1.0));
  const double mode = r * (1.0 - p) / p + 1.0;  // past it a zero term ends the sum
  for (double i = 0.0; i <= top && sum < 1.0; i += 1.0) {
    const double term = NegBinomPDF(i, r, p);
    if (term == 0.0 && i > mode) break;
    sum += term;
  }
  return std::fmin(1.0, sum);
}

double NegBinomCDFInv(double y, std::int32_t r, double p) {
  if (!ParamsValid(InUnit(p), r >= 1, InUnit(y))) return NaNResult();
  if (y == 1.0) return INF;
  // with p = 0 there is no mass at any finite k: the walk would never end
  if (p == 0.0) return y > 0.0 ? INF : 0.0;
  // the distribution in closed form: P(K <= k) = I_p(r, k + 1), P(K > k) = I_(1-p)(k + 1, r)
  auto byLower = [&] { return SmallestWhole([&](double k) { return BetaIncomplete(p, r, k + 1.0); }, y); };
  auto byUpper = [&] {
    return SmallestWholeAbove([&](double k) { return BetaIncomplete(1.0 - p, k + 1.0, r); }, 1.0 - y);
  };
  auto byClosedForm = [&] { return y > 0.5 ? byUpper() : byLower(); };
  const double mean = r * (1.0 - p) / p;
  // close to 1 the sums and I_p near 1 no longer resolve 1 - y; the upper tail does, as long as
  // the rounding of 1 - p, raised to a power near the mean, stays small
  if (InFarUpperTail(y, mean, std::sqrt(r * (1.0 - p)) / p) && mean < 1e10) return byUpper();
  // a walk of millions of steps: the same smallest k the walk would reach
  if (mean > 1e6) return byLower();
  // p^r below the normal range: the terms lose their digits while the coefficient overflows
  if (std::pow(p, r) < MINNUM) return byClosedForm();
  const double mode = mean + 1.0;
  double k = 0.0, sum = NegBinomPDF(0.0, r, p);
  while (sum < y) {
    k += 1.0;
    const double term = NegBinomPDF(k, r, p);
    // an overflowing coefficient, or a sum that stopped growing short of y, would never end
    if (!std::isfinite(term) || (sum + term == sum && k > mode)) return byClosedForm();
    sum += term;
  }
  return k;
}

// --- Poisson -----------------------------------------------------------------------------------

double PoissonPDF(std::int32_t x, double lambda) {
  if (!ParamsValid(lambda > 0.0)) return NaNResult();
  if (x == 0) return std::exp(-lambda);
  if (lambda > 700.0) {
    // e^-lambda leaves the normal range and the product overflows: the same mass in logarithms
    // (a negative x counts as 1, as in the product)
    const double k = x < 1 ? 1.0 : x;
    return std::exp(k * std::log(lambda) - lambda - LnGamma(k + 1.0));
  }
  // past the mode the product only shrinks: once it is 0 it stays 0
  double t = lambda;
  for (std::int64_t i = 2; i <= x && t != 0.0; ++i) t = t * lambda / static_cast<double>(i);
  return std::exp(-lambda) * t;
}

double PoissonCDF(double x, double lambda) {
  if (!ParamsValid(lambda > 0.0, !std::isnan(x))) return NaNResult();
  if (x < 0.0) return 0.0;
  if (x == 0.0) return std::exp(-lambda);
  if (Whole(x)) return std::fmin(1.0, JGamma(x + 1.0, lambda));
  // sum of PoissonPDF(i): the running product makes the same t_i as PoissonPDF does; once past
  // the mode a zero term ends the sum, as every later term is zero too
  const double top = std::trunc(x), e = std::exp(-lambda);
  double sum = e, t = lambda;
  for (double i = 1.0; i <= top && sum < 1.0; i += 1.0) {
    if (i >= 2.0) t = t * lambda / i;
    const double term = e * t;
    if (term == 0.0 && i > lambda) break;
    sum += term;
  }
  return std::fmin(1.0, sum);
}

double PoissonCDFInv(double p, double lambda) {
  if (!ParamsValid(lambda > 0.0, p >= 0.0, p < 1.0)) return NaNResult();
  // close to 1 neither the walk's sum nor Q(k + 1, lambda) resolves 1 - p: search the upper tail
  // P(K > k) = P(k + 1, lambda) instead
  auto byUpper = [&] { return SmallestWholeAbove([&](double k) { return IGamma(k + 1.0, lambda); }, 1.0 - p); };
  if (InFarUpperTail(p, lambda, std::sqrt(lambda))) return byUpper();
  // a walk of millions of steps: the distribution in closed form, P(K <= k) = Q(k + 1, lambda)
  if (lambda > 1e6) return SmallestWhole([&](double k) { return JGamma(k + 1.0, lambda); }, p);
  // terms in logarithms so a large lambda (e^-lambda = 0) still sums; below the far upper tail
  // the sum reaches p well before lambda + 40 sqrt(lambda) + 100, the cap being only a backstop
  const double lnLambda = std::log(lambda);
  const double last = lambda + 40.0 * std::sqrt(lambda) + 100.0;
  double k = 0.0, sum = std::exp(-lambda);
  while (sum < p && k < last) {
    k += 1.0;
    sum += std::exp(-lambda + k * lnLambda - LnGamma(k + 1.0));
  }
  return sum < p ? byUpper() : k;
}

// --- Discrete uniform --------------------------------------------------------------------------

double UniformDPDF(double x, std::int32_t n) {
  if (!ParamsValid(n >= 1, !std::isnan(x))) return NaNResult();
  return (std::nearbyint(x) == x && x >= 1.0 && x <= n) ? 1.0 / n : 0.0;
}

double UniformDCDF(double x, std::int32_t n) {
  if (!ParamsValid(n >= 1, !std::isnan(x))) return NaNResult();
  const double k = std::floor(x);
  if (k >= 1.0 && k <= n) return k / n;
  return x > n ? 1.0 : 0.0;
}

double UniformDCDFInv(double p, std::int32_t n) {
  if (!ParamsValid(n >= 1, p > 0.0, p <= 1.0)) return NaNResult();
  return std::ceil(n * p);
}

}  // namespace quorel
