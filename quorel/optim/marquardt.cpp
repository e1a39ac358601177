// Levenberg–Marquardt: a general-objective form on a numeric Hessian and a least-squares form on a
// forward-difference Jacobian. Both update the damping by Nielsen's rule: after a step with gain
// ratio rho > 0, lambda *= max(1/3, 1 - (2 rho - 1)^3); after a rejected step lambda *= nu, nu *= 2.

#include <cmath>
#include <limits>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/optim/detail/damped_solve.h"
#include "quorel/optim/detail/numeric_diff.h"
#include "quorel/optim/detail/opt_common.h"

namespace quorel {

namespace {

constexpr double kLambdaStart = 1e-3;
constexpr double kLambdaMax = 1e16;
constexpr double kAcceptRho = 1e-4;  // smaller gains count as failures
constexpr double kSecantRho = 0.25;  // a step that gained less than this fraction: difference J again
constexpr int kSecantRun = 2;        // at most this many secant updates between differenced Jacobians

struct TDamping {
  double Lambda = kLambdaStart, Nu = 2;
  double LastAccepted = kLambdaStart;  // lambda after the latest accepted step
  void Accept(double rho) {
    Lambda *= std::max(1.0 / 3, 1 - std::pow(2 * rho - 1, 3));
    Nu = 2;
    LastAccepted = Lambda;
  }
  // For the polish: nearly undamped, forgetting the rejections of the stalled model. A fit that
  // stalled on the forward-difference model needs steps along its weak directions, which any
  // sizeable lambda damps out; if the Gauss-Newton step fails, lambda grows again as usual.
  void Rewind() {
    Lambda = std::min(LastAccepted, 1e-10);
    Nu = 2;
  }
  void Reject() {
    Lambda *= Nu;
    Nu *= 2;
  }
  bool TooBig() const { return !(Lambda <= kLambdaMax); }
};

// The limits, checked after every iteration that set no other reason.
void CheckLimits(const TDamping& damping, std::int64_t count, std::int32_t maxIter, TOptStopReason& reason) {
  if (reason != OptResNotFound) return;
  if (damping.TooBig()) reason = OptResBigLambda;
  else if (detail::PastMaxIter(count, maxIter)) reason = OptResMaxIter;
}

}  // namespace

std::int32_t Marquardt(const TRealFunction& Fun, const TGradProc& Grad, std::span<double> Pars, std::span<const double> Consts,
                       std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                       double Tol, double GradTol, TStringList* Verbose) {
  StopReason = OptResNotFound;
  detail::TObjective objective(Fun, Consts, ObjConst);
  detail::TOptLog log(Verbose, Tol, "Marquardt", "Iteration Fun                Lambda");
  const std::size_t n = Pars.size();
  if (n == 0) {
    FMin = objective(Pars);
    StopReason = OptResZeroStep;
    return 0;
  }
  const auto ni = static_cast<std::int32_t>(n);
  TWorkVec xStore, xtStore, gStore, pStore, dStore, gPlus, gMinus;
  TWorkMtx hStore, lStore;
  SetVecSize(ni, false, {xStore.get(), xtStore.get(), pStore.get(), dStore.get()});
  SetMtxSize(ni, ni, false, {hStore.get(), lStore.get()});
  const std::span<double> x = xStore->Values(), xt = xtStore->Values(), p = pStore->Values(), d = dStore->Values();
  std::copy(Pars.begin(), Pars.end(), x.begin());
  std::fill(d.begin(), d.end(), 0.0);

  // Gradient and Hessian at x (where f = fx): from the gradient procedure (Hessian by central
  // differences of it), else second differences with the gradient refined by one Richardson step.
  const auto derivatives = [&](double fx) {
    if (!Grad) {
      gStore->Size(ni, false);
      detail::GradHess(Fun, x, Consts, ObjConst, fx, true, gStore->Values(), hStore->Values());
      return;
    }
    const auto gradient = [&](TVec& out) {
      Grad(Fun, x, Consts, ObjConst, out);
      detail::CheckGradient(out, n, "Marquardt: Grad.Length <> Length(Pars)");
      return std::span<const double>(out.Values());
    };
    gradient(*gStore);
    const std::span<double> h = hStore->Values();
    for (std::size_t j = 0; j < n; ++j) {
      const double xj = x[j], step = std::cbrt(std::numeric_limits<double>::epsilon()) * detail::DiffScale(xj);
      x[j] = xj + step;
      const std::span<const double> plus = gradient(*gPlus);
      x[j] = xj - step;
      const std::span<const double> minus = gradient(*gMinus);
      x[j] = xj;
      for (std::size_t i = 0; i < n; ++i) h[i * n + j] = (plus[i] - minus[i]) / (2 * step);
    }
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t j = 0; j < i; ++j) h[i * n + j] = h[j * n + i] = (h[i * n + j] + h[j * n + i]) / 2;
  };

  double f = objective(x);
  if (!std::isfinite(f)) {
    FMin = f;
    return 0;
  }
  derivatives(f);
  TDamping damping;
  std::int64_t count = 0;
  log.Line(count, f, damping.Lambda);
  while (StopReason == OptResNotFound) {
    const std::span<const double> g = gStore->Values(), h = hStore->Values();
    if (detail::MaxAbs(g) <= GradTol) {
      StopReason = OptResSmallGrad;
      break;
    }
    // Marquardt's scaling: damp each parameter in proportion to the largest curvature seen along it,
    // so a flat stretch does not invite a wild step.
    double dMax = 0;
    for (std::size_t i = 0; i < n; ++i) dMax = std::max(dMax, std::abs(h[i * n + i]));
    for (std::size_t i = 0; i < n; ++i) d[i] = std::max({d[i], std::abs(h[i * n + i]), 1e-12 * dMax + 1e-300});

    bool accepted = false;
    if (detail::DampedCholeskySolve(h, g, d, damping.Lambda, n, lStore->Values(), p)) {
      for (std::size_t i = 0; i < n; ++i) xt[i] = x[i] + p[i];
      double quad = 0;
      for (std::size_t i = 0; i < n; ++i) quad += p[i] * detail::Dot(h.subspan(i * n, n), p);
      const double predicted = -(detail::Dot(g, p) + quad / 2);
      const double ft = objective(xt);
      const double rho = predicted > 0 ? (f - ft) / predicted : -1;
      if (rho > kAcceptRho) {
        accepted = true;
        damping.Accept(rho);
        const bool smallStep = detail::SmallMove(x, xt, Tol);
        std::copy(xt.begin(), xt.end(), x.begin());
        f = ft;
        if (smallStep) StopReason = OptResSmallStep;
        else derivatives(f);
      } else if (detail::SmallMove(x, xt, Tol)) {
        StopReason = OptResSmallStep;  // even a rejected step is below the tolerance: nothing left to gain
      }
    }
    if (!accepted) damping.Reject();
    ++count;
    log.Line(count, f, damping.Lambda);
    CheckLimits(damping, count, MaxIter, StopReason);
  }
  std::copy(x.begin(), x.end(), Pars.begin());
  FMin = f;
  return detail::IterResult(count);
}

std::int32_t NewMarquardt(const TResidualFunction& Fun, std::int32_t M, std::span<double> Pars, std::span<const double> Consts,
                          std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                          double Tol, TStringList* Verbose, std::int32_t* Evaluations) {
  detail::Require(M >= 0, "NewMarquardt: M < 0");
  StopReason = OptResNotFound;
  detail::TOptLog log(Verbose, Tol, "Marquardt", "Iteration Fun                Lambda");
  const std::size_t n = Pars.size(), m = static_cast<std::size_t>(M);
  std::int64_t evaluations = 0;
  TWorkVec rStore;
  rStore->Size(M, false);
  const std::span<double> r = rStore->Values();
  const auto residuals = [&](std::span<const double> at, std::span<double> out) {
    ++evaluations;
    if (Evaluations) *Evaluations = detail::IterResult(evaluations);
    Fun(at, Consts, ObjConst, out);
    double s = 0;
    for (double v : out) s += v * v;
    return std::isnan(s) ? std::numeric_limits<double>::infinity() : s;
  };
  if (n == 0) {
    FMin = residuals(Pars, r);
    StopReason = OptResZeroStep;
    return 0;
  }
  const auto ni = static_cast<std::int32_t>(n);
  TWorkVec xStore, xtStore, rtStore, pStore, dStore, cStore, tauStore, workStore;
  TWorkMtx jStore, qrStore;
  SetVecSize(ni, false, {xStore.get(), xtStore.get(), pStore.get(), dStore.get(), cStore.get()});
  tauStore->Size(ni + 1, false);
  rtStore->Size(std::max(M, ni), false);
  workStore->Size(std::max(2 * ni * (ni + 1) + 3 * ni, M), false);
  jStore->Size(M, ni, false);
  const std::size_t rows = std::max(m, n);  // J padded with zero rows when m < n
  qrStore->Size(static_cast<std::int32_t>(rows), ni + 1, false);
  const std::span<double> x = xStore->Values(), xt = xtStore->Values(), rt = rtStore->Values(), p = pStore->Values(),
                          d = dStore->Values(), c = cStore->Values(), tau = tauStore->Values(), work = workStore->Values(),
                          jac = jStore->Values(), qr = qrStore->Values();
  std::copy(Pars.begin(), Pars.end(), x.begin());
  std::fill(d.begin(), d.end(), 0.0);

  double f = residuals(x, r);
  if (!std::isfinite(f)) {
    FMin = f;
    return 0;
  }
  // The Jacobian, the column scales D and the QR of J with c = Q'(-r). Forward differences put an
  // O(sqrt(eps)) error into J; near the solution of an ill-conditioned problem J'r is then mostly
  // that error and the iteration stalls short of the minimum. Once the forward model has converged
  // the run is polished with central differences (error O(h^2), step eps^(1/3): about eps^(2/3),
  // a thousand times below the forward error, which measured enough for the hardest NIST fits).
  bool polish = false;
  bool secant = false;  // jac holds a secant update, not differences
  int secantRun = 0;    // secant updates in a row
  const auto linearise = [&](bool broyden = false) {
    secant = broyden;
    if (broyden) {
      // Broyden's rank-one update J += v p' / p'p, v = (r_new - r_old) - J p (in work[0, m)):
      // the new J maps the step onto the change of the residuals, at no evaluation.
      const double pp = detail::Dot(p, p);
      for (std::size_t i = 0; i < m; ++i)
        for (std::size_t j = 0; j < n; ++j) jac[i * n + j] += work[i] * p[j] / pp;
      for (std::size_t j = 0; j < n; ++j) {
        double norm = 0;
        for (std::size_t i = 0; i < m; ++i) norm += jac[i * n + j] * jac[i * n + j];
        d[j] = std::max(d[j], std::sqrt(norm));
      }
    } else {
    const double eps = std::numeric_limits<double>::epsilon();
    const double scale = polish ? std::cbrt(eps) : std::sqrt(eps);
    const std::span<double> acc = work.subspan(0, m);
    const auto at = [&](std::size_t j, double xj, double step, double weight) {
      x[j] = xj + step;
      residuals(x, rt.subspan(0, m));
      for (std::size_t i = 0; i < m; ++i) acc[i] += weight * rt[i];
    };
    for (std::size_t j = 0; j < n; ++j) {
      const double xj = x[j];
      volatile double moved = xj + scale * detail::DiffScale(xj);
      const double h = moved - xj;
      std::fill(acc.begin(), acc.end(), 0.0);
      if (polish) {
        at(j, xj, h, 1), at(j, xj, -h, -1);
        for (double& v : acc) v /= 2 * h;
      } else {
        at(j, xj, h, 1);
        for (std::size_t i = 0; i < m; ++i) acc[i] = (acc[i] - r[i]) / h;
      }
      x[j] = xj;
      double norm = 0;
      for (std::size_t i = 0; i < m; ++i) {
        jac[i * n + j] = acc[i];
        norm += acc[i] * acc[i];
      }
      d[j] = std::max(d[j], std::sqrt(norm));
    }
    }
    for (double& v : d)
      if (v == 0) v = 1;
    // [J | -r] column by column for the QR; c is then the top of its last column.
    std::fill(qr.begin(), qr.end(), 0.0);
    for (std::size_t i = 0; i < m; ++i) {
      for (std::size_t j = 0; j < n; ++j) qr[j * rows + i] = jac[i * n + j];
      qr[n * rows + i] = -r[i];
    }
    detail::LeastSquaresQR(qr, rows, n, tau);
    std::copy_n(qr.begin() + static_cast<std::ptrdiff_t>(n * rows), n, c.begin());
  };
  // Largest cosine between a column of J and the residual vector.
  const auto gradientCosine = [&] {
    const double rNorm = std::sqrt(f);
    double worst = 0;
    for (std::size_t j = 0; j < n; ++j) {
      double dot = 0, norm = 0;
      for (std::size_t i = 0; i < m; ++i) dot += jac[i * n + j] * r[i], norm += jac[i * n + j] * jac[i * n + j];
      if (norm > 0) worst = std::max(worst, std::abs(dot) / (std::sqrt(norm) * rNorm));
    }
    return worst;
  };
  const auto scaledNorm = [&](std::span<const double> v) {
    double s = 0;
    for (std::size_t j = 0; j < n; ++j) s += (d[j] * v[j]) * (d[j] * v[j]);
    return std::sqrt(s);
  };

  linearise();
  TDamping damping;
  std::int64_t count = 0;
  log.Line(count, f, damping.Lambda);
  while (StopReason == OptResNotFound) {
    if (f == 0) {
      StopReason = OptResConverged;
      break;
    }
    if (gradientCosine() <= Tol) {
      if (polish) {
        StopReason = OptResSmallGrad;
        break;
      }
      polish = true;
      damping.Rewind();
      linearise();
      continue;
    }
    bool accepted = false;
    if (!detail::DampedLeastSquaresStep(qr, rows, c, d, damping.Lambda, n, work, p)) {
      StopReason = OptResSingular;
      break;
    }
    // Predicted sum of squares |J p + r|^2 of the linear model.
    double model = 0;
    for (std::size_t i = 0; i < m; ++i) {
      const double v = r[i] + detail::Dot(jac.subspan(i * n, n), p);
      model += v * v;
    }
    const double predicted = f - model;
    for (std::size_t j = 0; j < n; ++j) xt[j] = x[j] + p[j];
    const double ft = residuals(xt, rt.subspan(0, m));
    const double rho = predicted > 0 ? (f - ft) / predicted : -1;
    const double stepNorm = scaledNorm(p), xNorm = scaledNorm(x);
    if (rho > kAcceptRho) {
      accepted = true;
      damping.Accept(rho);
      const double fOld = f;
      for (std::size_t i = 0; i < m; ++i) work[i] = rt[i] - r[i] - detail::Dot(jac.subspan(i * n, n), p);
      std::copy(xt.begin(), xt.end(), x.begin());
      std::copy(rt.begin(), rt.begin() + static_cast<std::ptrdiff_t>(m), r.begin());
      f = ft;
      // Converged when the step gained little and even the undamped Gauss-Newton step could not
      // gain more: its predicted reduction is |c|^2, free from the QR. (The damped prediction alone
      // is small whenever lambda is large, which stops ill-conditioned fits early.)
      if (Tol > 0 && fOld - f <= Tol * fOld && detail::Dot(c, c) <= Tol * fOld) StopReason = OptResConverged;
      else if (Tol > 0 && stepNorm <= Tol * xNorm) StopReason = OptResSmallStep;
      else {
        // While the model predicts well, the forward phase updates J by secants between
        // differenced ones; the polish always differences, for the accuracy it exists for.
        const bool update = !polish && rho > kSecantRho && ++secantRun <= kSecantRun;
        if (!update) secantRun = 0;
        linearise(update);
      }
    } else if (Tol > 0 && stepNorm <= Tol * xNorm) {
      StopReason = OptResSmallStep;
    }
    if (!accepted && secant && StopReason == OptResNotFound) {
      secantRun = 0;
      linearise();  // a failed step on a secant model: first try the differenced one
    } else if (!accepted) damping.Reject();
    ++count;
    log.Line(count, f, damping.Lambda);
    if (StopReason != OptResNotFound && StopReason != OptResSingular && !polish && f > 0) {
      // Converged on the forward-difference model: polish with the central-difference Jacobian.
      polish = true;
      StopReason = OptResNotFound;
      damping.Rewind();
      linearise();
    }
    CheckLimits(damping, count, MaxIter, StopReason);
  }
  std::copy(x.begin(), x.end(), Pars.begin());
  FMin = f;
  return detail::IterResult(count);
}

}  // namespace quorel
