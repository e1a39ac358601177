// Levenberg–Marquardt: a general-objective form on a numeric Hessian, whose damping follows
// Nielsen's rule (after a step with gain ratio rho > 0, lambda *= max(1/3, 1 - (2 rho - 1)^3);
// after a rejected step lambda *= nu, nu *= 2), and a least-squares form on a forward-difference
// Jacobian with a scaled trust region: the radius follows the gain ratio and lambda is whatever
// keeps the step inside it (Moré 1978).

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
constexpr double kAcceptRho = 1e-4;    // smaller gains count as failures
constexpr double kRegionFactor = 100;  // first trust radius: this many times |D x|
constexpr double kShrinkRho = 0.25;    // gain ratios up to this shrink the trust region
constexpr double kGrowRho = 0.75;      // and from this on widen it
constexpr double kSecantMiss = 0.1;    // |change of r - J p| / |J p| that still allows a secant update
// Tolerances below this ask for more than a forward-difference Jacobian resolves (its relative
// error is about sqrt(eps)): such runs are polished on central differences.
constexpr double kPolishTol = 1e-10;

struct TDamping {
  double Lambda = kLambdaStart, Nu = 2;
  void Accept(double rho) {
    Lambda *= std::max(1.0 / 3, 1 - std::pow(2 * rho - 1, 3));
    Nu = 2;
  }
  void Reject() {
    Lambda *= Nu;
    Nu *= 2;
  }
};

// The limits, checked after every iteration that set no other reason.
void CheckLimits(double lambda, std::int64_t count, std::int32_t maxIter, TOptStopReason& reason) {
  if (reason != OptResNotFound) return;
  if (!(lambda <= kLambdaMax)) reason = OptResBigLambda;
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
    CheckLimits(damping.Lambda, count, MaxIter, StopReason);
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
  // that error and the iteration stalls short of the minimum. When the tolerance asks for more
  // than that model can give, a run converged on it is polished with central differences (error
  // O(h^2), step eps^(1/3): about eps^(2/3), a thousand times below the forward error).
  const double eps = std::numeric_limits<double>::epsilon();
  const bool wantPolish = Tol < kPolishTol;
  bool polish = false;
  bool secant = false;  // jac holds a secant update, not differences
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

  // The trust region |D p| <= delta starts wide; the first step then sets it to its own length.
  double delta = 0, lambda = 0;
  bool fresh = true;
  const auto openRegion = [&] {
    const double xNorm = scaledNorm(x);
    delta = xNorm > 0 ? kRegionFactor * xNorm : kRegionFactor;
    lambda = 0;
    fresh = true;
  };
  const auto startPolish = [&] {
    polish = true;
    StopReason = OptResNotFound;
    linearise();
    openRegion();
  };
  linearise();
  openRegion();
  std::int64_t count = 0;
  log.Line(count, f, lambda);
  while (StopReason == OptResNotFound) {
    if (f == 0) {
      StopReason = OptResConverged;
      break;
    }
    if (gradientCosine() <= Tol) {
      if (polish || !wantPolish) {
        StopReason = OptResSmallGrad;
        break;
      }
      startPolish();
      continue;
    }
    if (!detail::TrustRegionStep(qr, rows, c, d, delta, lambda, n, work, p)) {
      StopReason = OptResSingular;
      break;
    }
    const double stepNorm = scaledNorm(p), deltaBefore = delta, lambdaBefore = lambda;
    if (fresh) delta = std::min(delta, stepNorm);
    fresh = false;
    // The linear model: predicted sum of squares |J p + r|^2 and the slope 2 r'J p along p.
    double model = 0, slope = 0, jpNorm2 = 0, linearMiss = 1e300;
    for (std::size_t i = 0; i < m; ++i) {
      const double jp = detail::Dot(jac.subspan(i * n, n), p);
      jpNorm2 += jp * jp;
      model += (r[i] + jp) * (r[i] + jp);
      slope += 2 * r[i] * jp;
    }
    const double predicted = f - model;
    for (std::size_t j = 0; j < n; ++j) xt[j] = x[j] + p[j];
    const double ft = residuals(xt, rt.subspan(0, m));
    const double actual = f - ft;
    const double rho = predicted > 0 ? actual / predicted : -1;
    // The radius: shrunk after a poor step (to the minimum of the quadratic through f, the slope
    // and f(x + p) when the step lost, by at most a factor of 10), doubled around a good one.
    if (!(rho > kShrinkRho)) {
      double t = 0.5;
      if (!(actual >= 0)) t = slope / (2 * (actual + slope));
      if (!(ft <= 100 * f) || !(t >= 0.1)) t = 0.1;
      delta = t * std::min(delta, stepNorm / 0.1);
      lambda /= t;
    } else if (lambda == 0 || rho >= kGrowRho) {
      delta = 2 * stepNorm;
      lambda /= 2;
    }
    const bool accepted = rho >= kAcceptRho;
    const double fOld = f;
    if (accepted) {
      for (std::size_t i = 0; i < m; ++i) work[i] = rt[i] - r[i] - detail::Dot(jac.subspan(i * n, n), p);
      linearMiss = std::sqrt(detail::Dot(work.subspan(0, m), work.subspan(0, m))) / std::sqrt(std::max(jpNorm2, 1e-300));
      std::copy(xt.begin(), xt.end(), x.begin());
      std::copy(rt.begin(), rt.begin() + static_cast<std::ptrdiff_t>(m), r.begin());
      f = ft;
    }
    // Converged when the achieved relative reduction and the one the undamped Gauss-Newton step
    // predicts (|c|^2, free from the QR) are both within Tol; a small step when the region shrank
    // below Tol relative to x. A secant model can judge neither: the Jacobian is differenced
    // first. A step failed on such a model blames the model, not the region, which is restored.
    const bool converged = Tol > 0 && std::abs(actual) <= Tol * fOld && detail::Dot(c, c) <= Tol * fOld && rho <= 2;
    const bool stop = converged || (Tol > 0 && delta <= Tol * scaledNorm(x));
    if (secant && (stop || !accepted)) {
      if (!accepted) delta = deltaBefore, lambda = lambdaBefore;
      linearise();
    } else if (converged) StopReason = OptResConverged;
    else if (Tol > 0 && delta <= Tol * scaledNorm(x)) StopReason = OptResSmallStep;
    else if (accepted) {
      // A secant update instead of differences only where the differenced J has just proved
      // itself linear: an undamped step whose residual change J p matched to kSecantMiss, and
      // never twice in a row. Looser use (after damped steps or far from linear, where the
      // update corrupts J along the other directions) led Lanczos3 into a saddle and MGH09 off
      // to infinity. The polish always differences, for the accuracy it exists for.
      linearise(!polish && !secant && lambdaBefore == 0 && linearMiss <= kSecantMiss);
    }
    ++count;
    log.Line(count, f, lambda);
    if ((StopReason == OptResConverged || StopReason == OptResSmallStep) && wantPolish && !polish && f > 0) startPolish();
    CheckLimits(lambda, count, MaxIter, StopReason);
  }
  std::copy(x.begin(), x.end(), Pars.begin());
  FMin = f;
  return detail::IterResult(count);
}

}  // namespace quorel
