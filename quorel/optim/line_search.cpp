// Strong-Wolfe line search shared by BFGS, DFP and the conjugate-gradient methods.

#include "quorel/optim/detail/line_search.h"

#include <cmath>
#include <limits>
#include <utility>

namespace quorel::detail {

namespace {

struct TPoint {
  double A, F, D;  // step, value, slope
};

// Minimiser of the cubic matching values and slopes at lo and hi (when hi has no slope: of the
// cubic matching lo's value and slope and the values at hi and `older`, or of the quadratic
// matching lo's value and slope and hi's value), kept 10 % inside the interval; the midpoint when
// the model has no usable minimum.
double Interpolate(const TPoint& lo, const TPoint& hi, const TPoint* older) {
  const double left = std::min(lo.A, hi.A), right = std::max(lo.A, hi.A), width = right - left;
  const double mid = (lo.A + hi.A) / 2;
  if (!std::isfinite(hi.F)) return mid;
  double a;
  if (std::isfinite(hi.D)) {
    const double d1 = lo.D + hi.D - 3 * (lo.F - hi.F) / (lo.A - hi.A);
    const double disc = d1 * d1 - lo.D * hi.D;
    if (!(disc >= 0)) return mid;
    const double d2 = std::copysign(std::sqrt(disc), hi.A - lo.A);
    a = hi.A - (hi.A - lo.A) * (hi.D + d2 - d1) / (hi.D - lo.D + 2 * d2);
  } else if (older) {
    // phi(lo + t) = F + D t + b t^2 + c t^3 through the two rejected points.
    const double t1 = hi.A - lo.A, t2 = older->A - lo.A;
    const double r1 = hi.F - lo.F - lo.D * t1, r2 = older->F - lo.F - lo.D * t2;
    const double det = t1 * t1 * t2 * t2 * (t1 - t2);
    const double c = (t2 * t2 * r1 - t1 * t1 * r2) / det, b = (t1 * t1 * t1 * r2 - t2 * t2 * t2 * r1) / det;
    const double disc = b * b - 3 * c * lo.D;
    if (c == 0) {
      if (!(b > 0)) return mid;
      a = lo.A - lo.D / (2 * b);
    } else {
      if (!(disc >= 0)) return mid;
      a = lo.A + (-b + std::sqrt(disc)) / (3 * c);
    }
  } else {
    const double da = hi.A - lo.A, curvature = hi.F - lo.F - lo.D * da;
    if (!(curvature > 0)) return mid;
    a = lo.A - lo.D * da * da / (2 * curvature);
  }
  if (!(a >= left + 0.1 * width && a <= right - 0.1 * width)) return mid;
  return a;
}

}  // namespace

TLineResult WolfeSearch(TLineFunction& phi, double f0, double slope0, double alpha1, const TWolfeRule& rule, int maxEvals) {
  TLineResult result;
  const auto decreaseOk = [&](const TPoint& p) { return p.F <= f0 + rule.C1 * p.A * slope0; };
  const auto curvatureOk = [&](const TPoint& p) {
    return rule.Strong ? std::abs(p.D) <= -rule.C2 * slope0 : p.D >= rule.C2 * slope0;
  };
  const auto accept = [&](const TPoint& p) {
    result.Wolfe = true;
    result.Alpha = p.A;
    result.F = p.F;
    return result;
  };
  const auto noteLow = [&](const TPoint& p) {
    if (p.A > 0 && decreaseOk(p) && (result.Alpha == 0 || p.F < result.F)) {
      result.Alpha = p.A;
      result.F = p.F;
    }
  };
  int evals = 0;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto eval = [&](double a) {
    TPoint p{a, phi.Value(a), nan};
    ++evals;
    noteLow(p);
    return p;
  };

  // Zoom between lo (sufficient decrease, lowest so far) and hi.
  const auto zoom = [&](TPoint lo, TPoint hi) {
    TPoint older{};
    bool haveOlder = false;  // older: the rejected point hi replaced, lo unchanged since
    while (evals < maxEvals && std::abs(hi.A - lo.A) > 1e-16 * std::max(lo.A, hi.A)) {
      TPoint p = eval(Interpolate(lo, hi, haveOlder ? &older : nullptr));
      if (!decreaseOk(p) || p.F >= lo.F) {
        haveOlder = rule.CubicBacktrack && std::isnan(hi.D) && std::isfinite(hi.F) && std::isfinite(p.F);
        older = hi;
        hi = p;
      } else {
        haveOlder = false;
        p.D = phi.Slope();
        if (curvatureOk(p)) return accept(p);
        if (p.D * (hi.A - lo.A) >= 0) hi = lo;
        lo = p;
      }
    }
    return result;
  };

  TPoint prev{0, f0, slope0};
  double alpha = alpha1;
  for (bool first = true; evals < maxEvals; first = false) {
    TPoint p = eval(alpha);
    if (!decreaseOk(p) || (!first && p.F >= prev.F)) return zoom(prev, p);
    p.D = phi.Slope();
    if (curvatureOk(p)) return accept(p);
    if (p.D >= 0) return zoom(p, prev);
    prev = p;
    alpha *= 2;
  }
  return result;
}

}  // namespace quorel::detail
