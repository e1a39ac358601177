// Brent's one-dimensional minimisation: golden-section steps safeguarding parabolic interpolation.

#include <cmath>
#include <utility>

#include "quorel/objects/vec.h"
#include "quorel/optim/detail/opt_common.h"

namespace quorel {

std::int32_t MinBrent(const TRealFunction& Fun, double Lo, double Hi, std::span<double> Pars, std::span<const double> Consts,
                      std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                      double Tol, TStringList* Verbose) {
  StopReason = OptResNotFound;
  detail::TObjective objective(Fun, Consts, ObjConst);
  detail::TOptLog log(Verbose, Tol, "MinBrent");
  if (Pars.empty()) {
    FMin = objective(Pars);
    StopReason = OptResZeroStep;
    return 0;
  }
  TWorkVec trialStore;
  trialStore->Size(static_cast<std::int32_t>(Pars.size()), false);
  const std::span<double> trial = trialStore->Values();
  std::copy(Pars.begin(), Pars.end(), trial.begin());
  const auto eval = [&](double t) {
    trial[0] = t;
    return objective(trial);
  };

  constexpr double kGolden = 0.3819660112501051;  // (3 - sqrt(5)) / 2
  constexpr double kAbsTol = 1e-10;
  const double relTol = Tol > 0 ? Tol : 0.0;
  double a = Lo, b = Hi;
  if (a > b) std::swap(a, b);
  double x = a + kGolden * (b - a), w = x, v = x;
  double fx = eval(x), fw = fx, fv = fx;
  double d = 0, e = 0;
  std::int64_t count = 0;
  while (StopReason == OptResNotFound) {
    log.Line(count, fx);
    const double m = (a + b) / 2;
    const double tol1 = relTol * std::abs(x) + kAbsTol, tol2 = 2 * tol1;
    if (std::abs(x - m) <= tol2 - (b - a) / 2) {
      StopReason = OptResConverged;
      break;
    }
    bool golden = true;
    if (std::abs(e) > tol1) {
      // Parabola through (v, fv), (w, fw), (x, fx).
      double r = (x - w) * (fx - fv), q = (x - v) * (fx - fw), p = (x - v) * q - (x - w) * r;
      q = 2 * (q - r);
      if (q > 0) p = -p;
      q = std::abs(q);
      const double eOld = e;
      if (std::abs(p) < std::abs(q * eOld / 2) && p > q * (a - x) && p < q * (b - x)) {
        e = d;
        d = p / q;
        const double u = x + d;
        if (u - a < tol2 || b - u < tol2) d = x < m ? tol1 : -tol1;
        golden = false;
      }
    }
    if (golden) {
      e = (x < m ? b : a) - x;
      d = kGolden * e;
    }
    const double u = std::abs(d) >= tol1 ? x + d : x + (d > 0 ? tol1 : -tol1);
    const double fu = eval(u);
    if (fu <= fx) {
      (u < x ? b : a) = x;
      v = w, fv = fw;
      w = x, fw = fx;
      x = u, fx = fu;
    } else {
      (u < x ? a : b) = u;
      if (fu <= fw || w == x) {
        v = w, fv = fw;
        w = u, fw = fu;
      } else if (fu <= fv || v == x || v == w) {
        v = u, fv = fu;
      }
    }
    // Counted once the step is taken, so the count is the number of steps, as in the other methods.
    if (detail::PastMaxIter(++count, MaxIter)) StopReason = OptResMaxIter;
  }
  Pars[0] = x;
  FMin = fx;
  return detail::IterResult(count);
}

}  // namespace quorel
