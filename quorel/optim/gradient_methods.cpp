// BFGS, DFP and nonlinear conjugate gradients: one descent loop with a strong-Wolfe line search,
// differing only in how the next direction is built.

#include <cmath>
#include <limits>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/optim/detail/line_search.h"
#include "quorel/optim/detail/numeric_diff.h"
#include "quorel/optim/detail/opt_common.h"

namespace quorel {

namespace {

constexpr int kMaxLineEvals = 20;
// A decrease this small relative to f is rounding noise: the run has converged whatever Tol says.
constexpr double kRounding = 4 * std::numeric_limits<double>::epsilon();

// The current point (x, f, g), the search direction d and the trial point x + a d (xt, ft, gt).
class TDescent final : public detail::TLineFunction {
 public:
  TDescent(const TRealFunction& fun, const TGradProc& grad, std::span<const double> pars, std::span<const double> consts,
           std::span<TQuorel* const> objConst)
      : objective_(fun, consts, objConst), grad_(grad), n_(pars.size()) {
    SetVecSize(static_cast<std::int32_t>(n_), false,
               {xStore_.get(), gStore_.get(), dStore_.get(), xtStore_.get(), gtStore_.get()});
    x = xStore_->Values(), g = gStore_->Values(), d = dStore_->Values(), xt = xtStore_->Values(), gt = gtStore_->Values();
    std::copy(pars.begin(), pars.end(), x.begin());
  }

  /// f and g at the start point; false when f is not finite there.
  bool Start() {
    f = objective_(x);
    if (!std::isfinite(f)) return false;
    Gradient(x, f, g);
    return true;
  }

  double Value(double alpha) override {
    for (std::size_t i = 0; i < n_; ++i) xt[i] = x[i] + alpha * d[i];
    ft = objective_(xt);
    return ft;
  }

  double Slope() override {
    if (!std::isfinite(ft)) return std::numeric_limits<double>::quiet_NaN();
    Gradient(xt, ft, gt);
    return detail::Dot(gt, d);
  }

  /// Line search along d; on success the trial point holds the new point. False: no decrease.
  bool Search(double alpha1, const detail::TWolfeRule& rule) {
    const detail::TLineResult r = detail::WolfeSearch(*this, f, detail::Dot(g, d), alpha1, rule, kMaxLineEvals);
    if (r.Alpha == 0) return false;
    if (!r.Wolfe) {
      Value(r.Alpha);
      Slope();
    }
    step = r.Alpha;
    return true;
  }

  /// Makes the trial point current.
  void Move() {
    std::copy(xt.begin(), xt.end(), x.begin());
    std::copy(gt.begin(), gt.end(), g.begin());
    f = ft;
  }

  std::span<double> x, g, d, xt, gt;
  double f = 0, ft = 0, step = 0;

 private:
  void Gradient(std::span<double> at, double fAt, std::span<double> out) {
    if (!grad_) return detail::ForwardGradient(objective_, at, fAt, out);
    grad_(objective_.Fun(), at, objective_.Consts(), objective_.ObjConst(), *userGrad_);
    detail::CheckGradient(*userGrad_, n_, "Grad.Length <> Length(Pars)");
    const std::span<const double> v = userGrad_->Values();
    std::copy(v.begin(), v.end(), out.begin());
  }

  detail::TObjective objective_;
  const TGradProc& grad_;
  std::size_t n_;
  TWorkVec xStore_, gStore_, dStore_, xtStore_, gtStore_, userGrad_;
};

// Direction rules: Init sets the first direction, Update the next one after a step from
// (x_old, g_old) to the trial point; both may read the descent state.
struct TQuasiNewton {
  TQuasiNewton(std::size_t n, bool dfp) : n(n), dfp(dfp), scaled(!dfp) {
    h->Size(static_cast<std::int32_t>(n), static_cast<std::int32_t>(n), false);
    SetVecSize(static_cast<std::int32_t>(n), false, {sStore.get(), yStore.get(), hyStore.get()});
    H = h->Values(), s = sStore->Values(), y = yStore->Values(), hy = hyStore->Values();
  }
  void Reset() {
    std::fill(H.begin(), H.end(), 0.0);
    for (std::size_t i = 0; i < n; ++i) H[i * n + i] = 1;
    scaled = !dfp;
  }
  void Direction(TDescent& st) {
    for (std::size_t i = 0; i < n; ++i) st.d[i] = -detail::Dot(H.subspan(i * n, n), st.g);
  }
  // Inverse-Hessian update from s = xt - x, y = gt - g, before the move.
  void Update(TDescent& st) {
    for (std::size_t i = 0; i < n; ++i) s[i] = st.xt[i] - st.x[i], y[i] = st.gt[i] - st.g[i];
    const double sy = detail::Dot(s, y), yy = detail::Dot(y, y);
    if (!(sy > 1e-12 * std::sqrt(detail::Dot(s, s) * yy))) return;  // no curvature information
    if (!scaled) {
      // DFP's first update starts from H = (s'y / y'y) I: DFP corrects a badly scaled H slowly.
      // BFGS corrects it fast, and on the unscaled identity its steps along weakly curved
      // directions are not cut to the strongest curvature seen first (fewer evaluations on the
      // classic problems).
      for (double& v : H) v *= sy / yy;
      scaled = true;
    }
    for (std::size_t i = 0; i < n; ++i) hy[i] = detail::Dot(H.subspan(i * n, n), y);
    const double yhy = detail::Dot(y, hy);
    for (std::size_t i = 0; i < n; ++i)
      for (std::size_t j = 0; j < n; ++j) {
        double& v = H[i * n + j];
        if (dfp) v += s[i] * s[j] / sy - hy[i] * hy[j] / yhy;
        else v += ((sy + yhy) * s[i] * s[j] / sy - hy[i] * s[j] - s[i] * hy[j]) / sy;
      }
  }
  std::size_t n;
  bool dfp;
  bool scaled;
  TWorkMtx h;
  TWorkVec sStore, yStore, hyStore;
  std::span<double> H, s, y, hy;
};

struct TConjugate {
  TConjugate(std::size_t n, bool fr) : n(n), fr(fr) {}
  void Reset() { since = 0; }
  void Direction(TDescent& st) {
    for (std::size_t i = 0; i < n; ++i) st.d[i] = -st.g[i];
  }
  void Update(TDescent& st) {
    const double gg = detail::Dot(st.g, st.g);
    double beta = 0;
    if (fr) {
      beta = detail::Dot(st.gt, st.gt) / gg;
    } else {
      for (std::size_t i = 0; i < n; ++i) beta += st.gt[i] * (st.gt[i] - st.g[i]);
      beta = std::max(beta / gg, 0.0);
    }
    if (++since >= n) beta = 0, since = 0;  // periodic restart
    betaNext = beta;
  }
  // The next direction, built once the new gradient is current.
  void Next(TDescent& st) {
    for (std::size_t i = 0; i < n; ++i) st.d[i] = -st.g[i] + betaNext * st.d[i];
    if (detail::Dot(st.d, st.g) >= 0) {
      Direction(st);
      since = 0;
    }
  }
  std::size_t n;
  bool fr;
  std::size_t since = 0;
  double betaNext = 0;
};

// How a method searches along its directions: `first` on the first step (from the steepest
// descent direction, with nothing known about the scale), `later` after it.
struct TSearchPlan {
  detail::TWolfeRule First, Later;
  bool GuessEveryStep;  // the trial step from the previous decrease on every step, not only the first
};

// The shared loop. Rule provides Reset, Direction (steepest or model direction from g) and Update.
template <class Rule>
std::int32_t Descend(Rule& rule, TDescent& st, std::span<double> pars, double& fmin, TOptStopReason& reason,
                     std::int32_t maxIter, double tol, double gradTol, detail::TOptLog& log, const TSearchPlan& plan) {
  reason = OptResNotFound;
  const bool started = st.Start();
  if (pars.empty()) reason = OptResZeroStep;  // nothing to vary: the value at the empty point
  if (!started || pars.empty()) {
    fmin = st.f;
    return 0;
  }
  rule.Reset();
  rule.Direction(st);
  std::int64_t count = 0;
  double fPrev = st.f + std::sqrt(detail::Dot(st.g, st.g)) / 2;  // makes the first step about unit length
  log.Line(count, st.f);
  while (reason == OptResNotFound) {
    if (detail::MaxAbs(st.g) <= gradTol) {
      reason = OptResSmallGrad;
      break;
    }
    double slope = detail::Dot(st.g, st.d);
    if (!(slope < 0)) {
      rule.Reset();
      for (std::size_t i = 0; i < st.d.size(); ++i) st.d[i] = -st.g[i];
      slope = detail::Dot(st.g, st.d);
    }
    double alpha1 = 1;
    if (count == 0 || plan.GuessEveryStep) {
      const double guess = 2.02 * (st.f - fPrev) / slope;
      alpha1 = guess > 0 && guess < 1 ? guess : 1;
    }
    if (!st.Search(alpha1, count == 0 ? plan.First : plan.Later)) {
      // No decrease along the model direction: retry once along -g, then give up.
      bool steepest = true;
      for (std::size_t i = 0; i < st.d.size() && steepest; ++i) steepest = st.d[i] == -st.g[i];
      if (steepest) {
        reason = OptResZeroStep;
        break;
      }
      rule.Reset();
      for (std::size_t i = 0; i < st.d.size(); ++i) st.d[i] = -st.g[i];
      continue;
    }
    const double fOld = st.f;
    const bool smallStep = detail::SmallMove(st.x, st.xt, tol);
    rule.Update(st);
    st.Move();
    fPrev = fOld;
    ++count;
    log.Line(count, st.f);
    if (smallStep) reason = OptResSmallStep;
    else if (fOld - st.f <= std::max(tol, 0.0) * (std::abs(st.f) + tol) + kRounding * std::abs(st.f))
      reason = OptResConverged;
    else if (detail::PastMaxIter(count, maxIter)) reason = OptResMaxIter;
    else if constexpr (requires { rule.Next(st); }) rule.Next(st);
    else rule.Direction(st);
  }
  std::copy(st.x.begin(), st.x.end(), pars.begin());
  fmin = st.f;
  return detail::IterResult(count);
}

}  // namespace

std::int32_t BFGS(const TRealFunction& Fun, const TGradProc& Grad, std::span<double> Pars, std::span<const double> Consts,
                  std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                  double Tol, double GradTol, TStringList* Verbose, TOptMethod Method) {
  detail::Require(Method == optBFGS || Method == optDFP, "BFGS: Method must be optBFGS or optDFP");
  detail::TOptLog log(Verbose, Tol, "BFGS");
  TDescent st(Fun, Grad, Pars, Consts, ObjConst);
  TQuasiNewton rule(Pars.size(), Method == optDFP);
  // BFGS keeps s'y > 0 under the weak Wolfe conditions, so a long step that overshoots the minimum
  // along d is taken, not zoomed back; its first step, from H = I, must still get past the
  // steepest part of the line (c2 = 0.1). DFP corrects a poor inverse Hessian slowly unless the
  // line search is close to exact. A rejected unit step is followed by a backtrack that the
  // three-point cubic models better than the quadratic.
  TSearchPlan plan;
  if (Method == optDFP) {
    plan.First = plan.Later = detail::TWolfeRule{1e-4, 0.1, true, true};
  } else {
    plan.First = detail::TWolfeRule{1e-4, 0.1, false, true};
    plan.Later = detail::TWolfeRule{1e-4, 0.9, false, true};
  }
  plan.GuessEveryStep = false;
  return Descend(rule, st, Pars, FMin, StopReason, MaxIter, Tol, GradTol, log, plan);
}

std::int32_t ConjGrad(const TRealFunction& Fun, const TGradProc& Grad, std::span<double> Pars, std::span<const double> Consts,
                      std::span<TQuorel* const> ObjConst, double& FMin, TOptStopReason& StopReason, std::int32_t MaxIter,
                      double Tol, double GradTol, TStringList* Verbose, TOptMethod Method) {
  detail::Require(Method == optConjGradFR || Method == optConjGradPR,
                  "ConjGrad: Method must be optConjGradFR or optConjGradPR");
  detail::TOptLog log(Verbose, Tol, "ConjGrad");
  TDescent st(Fun, Grad, Pars, Consts, ObjConst);
  TConjugate rule(Pars.size(), Method == optConjGradFR);
  // Strong Wolfe with c2 = 0.1: Fletcher–Reeves needs c2 < 1/2 to keep every direction a descent
  // direction. The trial steps are guesses from the previous decrease; there the plain quadratic
  // backtrack measured better than the cubic.
  const detail::TWolfeRule wolfe{1e-4, 0.1, true, false};
  return Descend(rule, st, Pars, FMin, StopReason, MaxIter, Tol, GradTol, log, TSearchPlan{wolfe, wolfe, true});
}

}  // namespace quorel
