// Numeric gradients and Hessians by central differences, with Richardson extrapolation on request.

#include <cmath>
#include <limits>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/optim/detail/numeric_diff.h"
#include "quorel/optim/detail/opt_common.h"

namespace quorel {

namespace {

constexpr double kEps = std::numeric_limits<double>::epsilon();

// The evaluation point: a cached copy of Pars that is moved one coordinate at a time.
struct TProbe {
  TProbe(const TRealFunction& fun, std::span<const double> pars, std::span<const double> consts,
         std::span<TQuorel* const> objConst)
      : Fun(fun), Consts(consts), ObjConst(objConst) {
    store->Size(static_cast<std::int32_t>(pars.size()), false);
    X = store->Values();
    std::copy(pars.begin(), pars.end(), X.begin());
  }
  // f with coordinate i moved by hi (and j by hj); the point is restored afterwards.
  double At(std::size_t i, double hi) {
    const double xi = X[i];
    X[i] = xi + hi;
    const double f = Fun(X, Consts, ObjConst);
    X[i] = xi;
    return f;
  }
  double At(std::size_t i, double hi, std::size_t j, double hj) {
    const double xj = X[j];
    X[j] = xj + hj;
    const double f = At(i, hi);
    X[j] = xj;
    return f;
  }
  const TRealFunction& Fun;
  std::span<const double> Consts;
  std::span<TQuorel* const> ObjConst;
  TWorkVec store;
  std::span<double> X;
};

// h adjusted so that (x + h) - x is exactly h.
double Representable(double x, double h) {
  volatile double xh = x + h;
  return xh - x;
}
double Step(double x, double scale) { return Representable(x, scale * detail::DiffScale(x)); }

std::span<double> SizedGrad(TVec& grad, std::size_t n) {
  grad.Size(static_cast<std::int32_t>(n), false);
  return grad.Values();
}

}  // namespace

void NumericGradDifference(const TRealFunction& Fun, std::span<const double> Pars, std::span<const double> Consts,
                           std::span<TQuorel* const> ObjConst, TVec& Grad) {
  TProbe probe(Fun, Pars, Consts, ObjConst);
  const std::span<double> g = SizedGrad(Grad, Pars.size());
  for (std::size_t i = 0; i < Pars.size(); ++i) {
    const double h = Step(Pars[i], std::cbrt(kEps));
    g[i] = (probe.At(i, h) - probe.At(i, -h)) / (2 * h);
  }
}

void NumericGradRichardson(const TRealFunction& Fun, std::span<const double> Pars, std::span<const double> Consts,
                           std::span<TQuorel* const> ObjConst, TVec& Grad) {
  // Ridders' tableau: central differences at steps h, h/2, h/4, ... extrapolated in h^2; the
  // answer is the entry with the smallest error estimate, and the halving stops once the
  // extrapolation error has grown well past the best estimate.
  constexpr int kLevels = 10;
  TProbe probe(Fun, Pars, Consts, ObjConst);
  const std::span<double> g = SizedGrad(Grad, Pars.size());
  double a[kLevels][kLevels];
  for (std::size_t i = 0; i < Pars.size(); ++i) {
    double h = Step(Pars[i], 1e-3);
    a[0][0] = (probe.At(i, h) - probe.At(i, -h)) / (2 * h);
    double best = a[0][0], err = std::numeric_limits<double>::infinity();
    for (int k = 1; k < kLevels; ++k) {
      h = Representable(Pars[i], h / 2);
      a[0][k] = (probe.At(i, h) - probe.At(i, -h)) / (2 * h);
      double factor = 4;
      for (int j = 1; j <= k; ++j) {
        a[j][k] = (factor * a[j - 1][k] - a[j - 1][k - 1]) / (factor - 1);
        factor *= 4;
        const double e = std::max(std::abs(a[j][k] - a[j - 1][k]), std::abs(a[j][k] - a[j - 1][k - 1]));
        if (e <= err) {
          err = e;
          best = a[j][k];
        }
      }
      if (std::abs(a[k][k] - a[k - 1][k - 1]) >= 2 * err) break;
    }
    g[i] = best;
  }
}

void NumericGrad(TNumericGradMethod Method, const TRealFunction& Fun, std::span<const double> Pars,
                 std::span<const double> Consts, std::span<TQuorel* const> ObjConst, TVec& Grad) {
  if (Method == numRichardson) NumericGradRichardson(Fun, Pars, Consts, ObjConst, Grad);
  else NumericGradDifference(Fun, Pars, Consts, ObjConst, Grad);
}

void NumericGradHess(const TRealFunction& Fun, std::span<const double> Pars, std::span<const double> Consts,
                     std::span<TQuorel* const> ObjConst, TVec& Grad, TMtx& Hess) {
  const std::size_t n = Pars.size();
  const std::span<double> g = SizedGrad(Grad, n);
  Hess.Size(static_cast<std::int32_t>(n), static_cast<std::int32_t>(n), false);
  detail::GradHess(Fun, Pars, Consts, ObjConst, Fun(Pars, Consts, ObjConst), false, g, Hess.Values());
}

namespace detail {

void GradHess(const TRealFunction& fun, std::span<const double> pars, std::span<const double> consts,
              std::span<TQuorel* const> objConst, double f0, bool fivePoint, std::span<double> g, std::span<double> hess) {
  const std::size_t n = pars.size();
  TProbe probe(fun, pars, consts, objConst);
  TWorkVec stepStore, plusStore, minusStore;
  SetVecSize(static_cast<std::int32_t>(n), false, {stepStore.get(), plusStore.get(), minusStore.get()});
  const std::span<double> h = stepStore->Values(), fp = plusStore->Values(), fm = minusStore->Values();
  for (std::size_t i = 0; i < n; ++i) {
    h[i] = Step(pars[i], std::pow(kEps, 0.25));
    fp[i] = probe.At(i, h[i]);
    fm[i] = probe.At(i, -h[i]);
  }
  for (std::size_t i = 0; i < n; ++i) {
    g[i] = (fp[i] - fm[i]) / (2 * h[i]);
    // One Richardson step on the central difference: error O(h^4) instead of O(h^2).
    if (fivePoint) g[i] = (8 * (fp[i] - fm[i]) - (probe.At(i, 2 * h[i]) - probe.At(i, -2 * h[i]))) / (12 * h[i]);
    hess[i * n + i] = (fp[i] - 2 * f0 + fm[i]) / (h[i] * h[i]);
    for (std::size_t j = 0; j < i; ++j) {
      const double hij = (probe.At(i, h[i], j, h[j]) - probe.At(i, h[i], j, -h[j]) - probe.At(i, -h[i], j, h[j]) +
                          probe.At(i, -h[i], j, -h[j])) /
                         (4 * h[i] * h[j]);
      hess[i * n + j] = hij;
      hess[j * n + i] = hij;
    }
  }
}

void ForwardGradient(TObjective& objective, std::span<double> x, double f0, std::span<double> g) {
  const double scale = std::sqrt(kEps);
  for (std::size_t i = 0; i < x.size(); ++i) {
    const double xi = x[i];
    const double h = Step(xi, scale);
    x[i] = xi + h;
    const double f = objective(x);
    x[i] = xi;
    g[i] = (f - f0) / h;
  }
}

}  // namespace detail
}  // namespace quorel
