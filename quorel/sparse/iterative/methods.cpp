// The nine iterative methods. Each keeps the true residual r = b - A x up to date so either
// stopping test can be applied: 1 uses ||r||/||b||, 2 uses ||M^-1 r||/||M^-1 b||.

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <span>
#include <vector>

#include "quorel/sparse/detail/solver_iterative.h"
#include "quorel/sparse/detail/slap_csr.h"

namespace quorel::detail {
namespace {

using slap::Csr;
using slap::PrecKind;
using slap::Preconditioner;
using Vec = std::vector<double>;
using Span = std::span<double>;
using CSpan = std::span<const double>;

enum Err { errOk = 0, errStorage = 1, errNoConv = 2, errInput = 3, errTolReset = 4, errRZ = 5, errPAP = 6, errFudged = 7 };

double Dot(CSpan a, CSpan b) {
  double s = 0;
  for (std::size_t i = 0; i < a.size(); ++i) s += a[i] * b[i];
  return s;
}
double Nrm(CSpan a) { return std::sqrt(Dot(a, a)); }
void Axpy(double alpha, CSpan x, Span y) {
  for (std::size_t i = 0; i < x.size(); ++i) y[i] += alpha * x[i];
}
void Assign(CSpan src, Span dst) { std::copy(src.begin(), src.end(), dst.begin()); }

}  // namespace
}  // namespace quorel::detail

namespace quorel::header_detail {
using detail::slap::Csr;
using detail::slap::Preconditioner;
using Vec = std::vector<double>;

/// Vectors handed out to the solves: they keep their capacity (and their addresses) between
/// solves, so a repeated solve of the same size allocates nothing.
struct TSlapWorkspace::Impl {
  Csr csr;
  detail::slap::CsrScratch scratch;
  Preconditioner m;
  std::deque<Vec> pool;
  std::size_t used = 0;

  /// A zeroed vector of n values, valid until the next solve.
  Vec& Take(std::size_t n) {
    if (used == pool.size()) pool.emplace_back();
    Vec& v = pool[used++];
    v.assign(n, 0.0);
    return v;
  }
};

TSlapWorkspace::TSlapWorkspace() : impl(std::make_unique<Impl>()) {}
TSlapWorkspace::~TSlapWorkspace() = default;
}  // namespace quorel::header_detail

namespace quorel::detail {
namespace {

/// State shared by all methods: the operator, preconditioner, residual and stopping test.
struct Run {
  const Csr& a;
  const Preconditioner& m;
  const TSlapOptions& opt;
  TSlapWorkspace::Impl& work;
  double tol;
  double* x;
  CSpan b;       // right-hand side
  Vec& r;        // true residual
  Vec& z;        // M^-1 r
  double bnorm;  // ||b|| or ||M^-1 b||
  double err = 0;
  std::int32_t iters = 0;

  Run(const Csr& a_, const Preconditioner& m_, const TSlapOptions& o, TSlapWorkspace::Impl& w, double t,
      const double* b_, double* x_)
      : a(a_), m(m_), opt(o), work(w), tol(t), x(x_), b(b_, static_cast<std::size_t>(a_.n)), r(w.Take(a_.n)),
        z(w.Take(a_.n)) {
    if (opt.check == slapNorm2) {
      bnorm = Nrm(b);
    } else {
      m.Solve(b.data(), z.data());
      bnorm = Nrm(z);
    }
    Recompute();
  }
  /// r = b - A x and z = M^-1 r from scratch.
  void Recompute() {
    a.Mul(x, r.data());
    for (std::int32_t i = 0; i < a.n; ++i) r[i] = b[i] - r[i];
    m.Solve(r.data(), z.data());
  }
  /// Applies the stopping test to r (and z = M^-1 r, which must be current for test 2).
  bool Done() {
    const double num = opt.check == slapNorm2 ? Nrm(r) : Nrm(z);
    err = bnorm > 0 ? num / bnorm : num;
    return err <= tol;
  }
  /// A zeroed work vector of n values.
  Vec& Take(std::size_t n) { return work.Take(n); }
  /// Out of steps, or diverged past the range of doubles (more steps cannot help).
  bool Exhausted() const { return iters >= opt.maxIters || !std::isfinite(err); }
};

// x += M^-1 r until done: Gauss-Seidel, Jacobi and ILU refinement.
int Refine(Run& s) {
  while (!s.Done()) {
    if (s.Exhausted()) return errNoConv;
    for (std::int32_t i = 0; i < s.a.n; ++i) s.x[i] += s.z[i];
    ++s.iters;
    s.Recompute();
  }
  return errOk;
}

int Cg(Run& s) {
  const std::int32_t n = s.a.n;
  Vec &p = s.Take(n), &q = s.Take(n);
  p = s.z;
  double rz = Dot(s.r, s.z);
  while (!s.Done()) {
    if (s.Exhausted()) return errNoConv;
    if (rz < 0) return errRZ;
    s.a.Mul(p.data(), q.data());
    const double pq = Dot(p, q);
    if (!(pq > 0)) return errPAP;
    const double alpha = rz / pq;
    for (std::int32_t i = 0; i < n; ++i) {
      s.x[i] += alpha * p[i];
      s.r[i] -= alpha * q[i];
    }
    ++s.iters;
    s.m.Solve(s.r.data(), s.z.data());
    const double rzNew = Dot(s.r, s.z);
    const double beta = rzNew / rz;
    rz = rzNew;
    for (std::int32_t i = 0; i < n; ++i) p[i] = s.z[i] + beta * p[i];
  }
  return errOk;
}

constexpr double Tiny = std::numeric_limits<double>::min() / std::numeric_limits<double>::epsilon();

int BiCg(Run& s) {
  const std::int32_t n = s.a.n;
  Vec &rt = s.Take(n), &zt = s.Take(n), &q = s.Take(n), &qt = s.Take(n), &p = s.Take(n), &pt = s.Take(n);
  rt = s.r;
  s.m.SolveT(rt.data(), zt.data());
  p = s.z;
  pt = zt;
  double rho = Dot(s.z, rt);
  while (!s.Done()) {
    if (s.Exhausted()) return errNoConv;
    if (std::abs(rho) <= Tiny) return errRZ;
    s.a.Mul(p.data(), q.data());
    s.a.MulT(pt.data(), qt.data());
    const double sigma = Dot(pt, q);
    if (std::abs(sigma) <= Tiny) return errPAP;
    const double alpha = rho / sigma;
    for (std::int32_t i = 0; i < n; ++i) {
      s.x[i] += alpha * p[i];
      s.r[i] -= alpha * q[i];
      rt[i] -= alpha * qt[i];
    }
    ++s.iters;
    s.m.Solve(s.r.data(), s.z.data());
    s.m.SolveT(rt.data(), zt.data());
    const double rhoNew = Dot(s.z, rt);
    const double beta = rhoNew / rho;
    rho = rhoNew;
    for (std::int32_t i = 0; i < n; ++i) {
      p[i] = s.z[i] + beta * p[i];
      pt[i] = zt[i] + beta * pt[i];
    }
  }
  return errOk;
}

// CG on the normal equations of M^-1 A: minimises ||M^-1 (b - A x)||.
int CgNormal(Run& s) {
  const std::int32_t n = s.a.n;
  Vec &w = s.Take(n), &g = s.Take(n), &ap = s.Take(n), &q = s.Take(n), &p = s.Take(n);
  auto gradient = [&] {  // g = A' M^-T z
    s.m.SolveT(s.z.data(), w.data());
    s.a.MulT(w.data(), g.data());
  };
  gradient();
  p = g;
  double gamma = Dot(g, g);
  while (!s.Done()) {
    if (s.Exhausted()) return errNoConv;
    s.a.Mul(p.data(), ap.data());
    s.m.Solve(ap.data(), q.data());
    const double qq = Dot(q, q);
    if (!(qq > Tiny)) return errPAP;
    const double alpha = gamma / qq;
    for (std::int32_t i = 0; i < n; ++i) {
      s.x[i] += alpha * p[i];
      s.r[i] -= alpha * ap[i];
      s.z[i] -= alpha * q[i];
    }
    ++s.iters;
    gradient();
    const double gammaNew = Dot(g, g);
    const double beta = gammaNew / gamma;
    gamma = gammaNew;
    for (std::int32_t i = 0; i < n; ++i) p[i] = g[i] + beta * p[i];
  }
  return errOk;
}

// Conjugate gradient squared on M^-1 A x = M^-1 b (z is the preconditioned residual).
int Cgs(Run& s) {
  const std::int32_t n = s.a.n;
  Vec &rtld = s.Take(n), &u = s.Take(n), &p = s.Take(n), &q = s.Take(n), &w = s.Take(n), &v = s.Take(n),
      &aw = s.Take(n), &maw = s.Take(n);
  rtld = s.z;
  double rhoOld = 1;
  bool first = true;
  while (!s.Done()) {
    if (s.Exhausted()) return errNoConv;
    const double rho = Dot(rtld, s.z);
    if (std::abs(rho) <= Tiny) return errRZ;
    if (first) {
      u = s.z;
      p = u;
      first = false;
    } else {
      const double beta = rho / rhoOld;
      for (std::int32_t i = 0; i < n; ++i) {
        u[i] = s.z[i] + beta * q[i];
        p[i] = u[i] + beta * (q[i] + beta * p[i]);
      }
    }
    s.a.Mul(p.data(), aw.data());
    s.m.Solve(aw.data(), v.data());
    const double sigma = Dot(rtld, v);
    if (std::abs(sigma) <= Tiny) return errPAP;
    const double alpha = rho / sigma;
    for (std::int32_t i = 0; i < n; ++i) {
      q[i] = u[i] - alpha * v[i];
      w[i] = u[i] + q[i];
    }
    s.a.Mul(w.data(), aw.data());
    s.m.Solve(aw.data(), maw.data());
    for (std::int32_t i = 0; i < n; ++i) {
      s.x[i] += alpha * w[i];
      s.r[i] -= alpha * aw[i];
      s.z[i] -= alpha * maw[i];
    }
    rhoOld = rho;
    ++s.iters;
  }
  return errOk;
}

// Restarted GMRES. Test 1 uses right preconditioning (its least-squares residual is ||r||), test
// 2 left preconditioning (the residual is M^-1 r).
int Gmres(Run& s) {
  const std::int32_t n = s.a.n;
  const std::int32_t m = std::max<std::int32_t>(1, s.opt.gmresRestart);
  const bool left = s.opt.check == slapNorm2InvM;
  Vec& basis = s.Take(static_cast<std::size_t>(m + 1) * n);
  auto v = [&](std::int32_t k) { return Span(basis.data() + static_cast<std::size_t>(k) * n, n); };
  Vec &h = s.Take((m + 1) * m), &cs = s.Take(m), &sn = s.Take(m), &g = s.Take(m + 1), &t = s.Take(n),
      &t2 = s.Take(n), &y = s.Take(m);
  double lastCycle = std::numeric_limits<double>::infinity();
  while (!s.Done()) {
    if (s.Exhausted()) return errNoConv;
    const Vec& r0 = left ? s.z : s.r;
    const double beta = Nrm(r0);
    // A whole cycle without progress: another one would repeat it.
    if (!(beta < lastCycle * (1 - 1e-12))) return errNoConv;
    lastCycle = beta;
    for (std::int32_t i = 0; i < n; ++i) v(0)[i] = r0[i] / beta;
    std::fill(g.begin(), g.end(), 0.0);
    g[0] = beta;
    std::int32_t k = 0;
    for (; k < m && s.iters < s.opt.maxIters; ++k) {
      // w = op(v_k)
      if (left) {
        s.a.Mul(v(k).data(), t.data());
        s.m.Solve(t.data(), v(k + 1).data());
      } else {
        s.m.Solve(v(k).data(), t.data());
        s.a.Mul(t.data(), v(k + 1).data());
      }
      for (std::int32_t j = 0; j <= k; ++j) {  // modified Gram-Schmidt
        const double hjk = Dot(v(k + 1), v(j));
        h[j * m + k] = hjk;
        Axpy(-hjk, v(j), v(k + 1));
      }
      const double hk1 = Nrm(v(k + 1));
      h[(k + 1) * m + k] = hk1;
      if (hk1 > 0)
        for (auto& e : v(k + 1)) e /= hk1;
      for (std::int32_t j = 0; j < k; ++j) {  // earlier rotations
        const double a = h[j * m + k], b = h[(j + 1) * m + k];
        h[j * m + k] = cs[j] * a + sn[j] * b;
        h[(j + 1) * m + k] = -sn[j] * a + cs[j] * b;
      }
      const double a = h[k * m + k], b = hk1;
      const double d = std::hypot(a, b);
      cs[k] = d > 0 ? a / d : 1;
      sn[k] = d > 0 ? b / d : 0;
      h[k * m + k] = d;
      g[k + 1] = -sn[k] * g[k];
      g[k] = cs[k] * g[k];
      ++s.iters;
      if (std::abs(g[k + 1]) <= s.tol * s.bnorm || hk1 == 0) {
        ++k;
        break;
      }
    }
    for (std::int32_t i = k - 1; i >= 0; --i) {  // back substitution
      double sum = g[i];
      for (std::int32_t j = i + 1; j < k; ++j) sum -= h[i * m + j] * y[j];
      y[i] = sum / h[i * m + i];
    }
    std::fill(t.begin(), t.end(), 0.0);
    for (std::int32_t j = 0; j < k; ++j) Axpy(y[j], v(j), t);
    if (!left) {
      s.m.Solve(t.data(), t2.data());
      t.swap(t2);
    }
    for (std::int32_t i = 0; i < n; ++i) s.x[i] += t[i];
    // The residual is recomputed at each restart so the test sees the true one.
    s.Recompute();
  }
  return errOk;
}

// Orthomin(k) on M^-1 A: each direction is made A-orthogonal (in the preconditioned sense) to the
// last k ones.
int Orthomin(Run& s) {
  const std::int32_t n = s.a.n;
  const std::int32_t k = std::max<std::int32_t>(1, s.opt.orthominSave);
  Vec &pBlock = s.Take(static_cast<std::size_t>(k) * n), &atBlock = s.Take(static_cast<std::size_t>(k) * n),
      &amBlock = s.Take(static_cast<std::size_t>(k) * n);
  auto slice = [n](Vec& block, std::int32_t j) { return Span(block.data() + static_cast<std::size_t>(j) * n, n); };
  auto p = [&](std::int32_t j) { return slice(pBlock, j); };
  auto apTrue = [&](std::int32_t j) { return slice(atBlock, j); };
  auto apPrec = [&](std::int32_t j) { return slice(amBlock, j); };
  Vec &norms = s.Take(k), &az = s.Take(n), &maz = s.Take(n);
  std::int32_t count = 0;  // directions made so far
  auto addDirection = [&]() -> bool {
    s.a.Mul(s.z.data(), az.data());
    s.m.Solve(az.data(), maz.data());
    const std::int32_t slot = count % k;
    const Span pn = p(slot), at = apTrue(slot), am = apPrec(slot);
    Assign(s.z, pn);
    Assign(az, at);
    Assign(maz, am);
    for (std::int32_t j = std::max<std::int32_t>(0, count - k); j < count; ++j) {
      const std::int32_t sj = j % k;
      if (sj == slot) continue;
      const double beta = Dot(maz, apPrec(sj)) / norms[sj];
      Axpy(-beta, p(sj), pn);
      Axpy(-beta, apTrue(sj), at);
      Axpy(-beta, apPrec(sj), am);
    }
    norms[slot] = Dot(am, am);
    ++count;
    return norms[slot] > Tiny;
  };
  while (!s.Done()) {
    if (s.Exhausted()) return errNoConv;
    if (!addDirection()) return errPAP;
    const std::int32_t slot = (count - 1) % k;
    const double alpha = Dot(s.z, apPrec(slot)) / norms[slot];
    const Span ps = p(slot), ats = apTrue(slot), ams = apPrec(slot);
    for (std::int32_t i = 0; i < n; ++i) {
      s.x[i] += alpha * ps[i];
      s.r[i] -= alpha * ats[i];
      s.z[i] -= alpha * ams[i];
    }
    ++s.iters;
  }
  return errOk;
}

}  // namespace

bool IsLowerTriangleOnly(std::int32_t n, const std::int32_t* ap, const std::int32_t* ai) {
  for (std::int32_t j = 0; j < n; ++j)
    for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k)
      if (ai[k] < j) return false;
  return true;
}

TSlapResult SlapSolve(const TSlapMatrix& a, const TSlapOptions& options, const double* b, double* x) {
  TSlapWorkspace work;
  return SlapSolve(a, options, b, x, work);
}

TSlapResult SlapSolve(const TSlapMatrix& a, const TSlapOptions& options, const double* b, double* x,
                      TSlapWorkspace& work) {
  TSlapResult res;
  if (a.n < 1 || options.maxIters < 0 || !(options.tolerance >= 0) || options.method > slapLUOM ||
      options.check > slapNorm2InvM) {
    res.ierr = errInput;
    return res;
  }
  // Tighter than roundoff allows: run at 500 * D1MACH(3) (the unit roundoff 2^-53) and say so.
  constexpr double floorTol = 500 * 0x1p-53;
  const bool tolReset = options.tolerance < floorTol;
  const double tol = tolReset ? floorTol : options.tolerance;

  TSlapWorkspace::Impl& w = *work.impl;
  w.used = 0;
  const Csr& csr = w.csr;
  slap::ToCsr(a, w.csr, w.scratch);
  PrecKind kind = PrecKind::Ilu;
  if (options.method == slapSGS) kind = PrecKind::Lower;
  if (options.method == slapJAC) kind = PrecKind::Diagonal;
  Preconditioner& m = w.m;
  const bool clean = m.Build(csr, kind, options.method == slapICCG);
  if (kind != PrecKind::Ilu && m.HasZeroDiagonal()) {
    res.ierr = errInput;
    return res;
  }
  Run run(csr, m, options, w, tol, b, x);
  int ierr = errOk;
  switch (options.method) {
    case slapSGS:
    case slapJAC:
    case slapILUR: ierr = Refine(run); break;
    case slapICCG: ierr = Cg(run); break;
    case slapLUBC: ierr = BiCg(run); break;
    case slapSLUCN: ierr = CgNormal(run); break;
    case slapLUCS: ierr = Cgs(run); break;
    case slapLUGMRES: ierr = Gmres(run); break;
    case slapLUOM: ierr = Orthomin(run); break;
  }
  if (ierr == errOk && !clean) ierr = errFudged;
  if (ierr == errOk && tolReset) ierr = errTolReset;
  res.ierr = ierr;
  res.iters = run.iters;
  res.error = run.err;
  return res;
}

const char* SlapErrorText(TSlapMethod method, int ierr) {
  const bool gmres = method == slapLUGMRES;
  switch (ierr) {
    case 0: return "";
    case 1: return gmres ? "Insufficient internal storage allocated." : "Insufficient internal storage allocated";
    case 2:
      return gmres ? "Routine DPIGMR failed to reduce the norm of the current residual on its last call, and so the "
                     "iteration has stalled.  In this case, X equals the last computed approximation.  The user "
                     "must either increase MAXL, or choose a different initial guess."
                   : "Method failed to converge in ITMAX steps";
    case 3: return "Error in user input. Check input value of N, ITOL";
    case 4: return "User error tolerance set too tight. Reset to 500.0*D1MACH(3). Iteration proceeded.";
    case 5: return "Preconditioning matrix, M, is notPositive Definite.  $(r,z) < 0.0$.";
    case 6: return "A is not Positive Definite $(p,Ap) < 0.0$.";
    case 7:
      return "Incomplete factorization broke down and was fudged. Resulting preconditioning may be less than the "
             "best.";
    case -1: return "Insufficient length for RGWK array.";
    case -2: return "Inconsistent ITOL and JPRE values.";
    default: return "";
  }
}

}  // namespace quorel::detail
