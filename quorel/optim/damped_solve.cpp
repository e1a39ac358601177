// Cholesky and QR solves of the Marquardt steps (see detail/damped_solve.h).

#include "quorel/optim/detail/damped_solve.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "quorel/platform/fpu_scope.h"
#include "quorel/platform/lapack/lapack.h"
#include "quorel/platform/lapack/lapack_eig.h"

namespace quorel::detail {

namespace {

lapack::FInt F(std::size_t v) { return lapack::ToFInt(static_cast<std::int64_t>(v)); }

}  // namespace

bool DampedCholeskySolve(std::span<const double> h, std::span<const double> g, std::span<const double> d, double lambda,
                         std::size_t n, std::span<double> l, std::span<double> p) {
  // Symmetric, so the row-major matrix is its own column-major form.
  std::copy(h.begin(), h.begin() + static_cast<std::ptrdiff_t>(n * n), l.begin());
  for (std::size_t i = 0; i < n; ++i) {
    l[i * n + i] += lambda * d[i];
    p[i] = -g[i];
  }
  FpuScope fpu;
  const lapack::FInt fn = F(n);
  if (lapack::potrf<double>('L', fn, l.data(), fn) != 0) return false;
  return lapack::potrs<double>('L', fn, 1, l.data(), fn, p.data(), fn) == 0;
}

void LeastSquaresQR(std::span<double> a, std::size_t m, std::size_t n, std::span<double> tau) {
  FpuScope fpu;
  lapack::geqrf<double>(false, F(m), F(n + 1), a.data(), F(m), tau.data());
}

bool DampedLeastSquaresStep(std::span<const double> r, std::size_t ldr, std::span<const double> c,
                            std::span<const double> d, double lambda, std::size_t n, std::span<double> work,
                            std::span<double> p) {
  const std::size_t rows = 2 * n;
  const std::span<double> aug = work.subspan(0, rows * (n + 1)), tau = work.subspan(rows * (n + 1), n + 1);
  std::fill(aug.begin(), aug.end(), 0.0);
  const double root = std::sqrt(lambda);
  for (std::size_t j = 0; j < n; ++j) {
    for (std::size_t i = 0; i <= j; ++i) aug[j * rows + i] = r[j * ldr + i];
    aug[j * rows + n + j] = root * d[j];
    aug[n * rows + j] = c[j];
  }
  LeastSquaresQR(aug, rows, n, tau);
  for (std::size_t i = 0; i < n; ++i) {
    const double diag = aug[i * rows + i];
    if (diag == 0 || !std::isfinite(diag)) return false;
    p[i] = aug[n * rows + i];
  }
  FpuScope fpu;
  return lapack::trtrs<double>('U', 'N', 'N', F(n), 1, aug.data(), F(rows), p.data(), F(n)) == 0;
}

namespace {

double ScaledNorm(std::span<const double> d, std::span<const double> p, std::size_t n) {
  double s = 0;
  for (std::size_t j = 0; j < n; ++j) s += (d[j] * p[j]) * (d[j] * p[j]);
  return std::sqrt(s);
}

// |R^-T w|^2 for w = D^2 p / |D p|, R the triangle DampedLeastSquaresStep left in `work`:
// minus the derivative of |D p(lambda)| with respect to lambda, divided by |D p|.
double NormSlope(std::span<const double> d, std::span<const double> p, std::size_t n, double q, std::span<double> work) {
  const std::size_t rows = 2 * n;
  const std::span<double> w = work.subspan(rows * (n + 1) + n + 1, n);
  for (std::size_t j = 0; j < n; ++j) w[j] = d[j] * d[j] * p[j] / q;
  {
    FpuScope fpu;
    if (lapack::trtrs<double>('U', 'T', 'N', F(n), 1, work.data(), F(rows), w.data(), F(n)) != 0) return 0;
  }
  double s = 0;
  for (double v : w) s += v * v;
  return s;
}

}  // namespace

bool TrustRegionStep(std::span<const double> r, std::size_t ldr, std::span<const double> c, std::span<const double> d,
                     double delta, double& lambda, std::size_t n, std::span<double> work, std::span<double> p) {
  constexpr int kMaxTries = 10;
  // The Gauss-Newton step when it exists and fits: no damping at all.
  double lower = 0;
  if (DampedLeastSquaresStep(r, ldr, c, d, 0, n, work, p)) {
    const double q = ScaledNorm(d, p, n);
    if (std::isfinite(q) && q <= 1.1 * delta) {
      lambda = 0;
      return true;
    }
    // One Newton step on 1/|D p| from lambda = 0 cannot overshoot: a lower bound for lambda.
    if (std::isfinite(q)) {
      const double slope = NormSlope(d, p, n, q, work);
      if (slope > 0) lower = (q - delta) / (delta * slope);
    }
  }
  // |D^-1 J'b| / delta bounds lambda from above; J'b = R'c.
  double gnorm = 0;
  for (std::size_t j = 0; j < n; ++j) {
    double s = 0;
    for (std::size_t i = 0; i <= j; ++i) s += r[j * ldr + i] * c[i];
    gnorm += (s / d[j]) * (s / d[j]);
  }
  gnorm = std::sqrt(gnorm);
  double upper = gnorm / delta;
  if (!(upper > 0) || !std::isfinite(upper)) upper = std::numeric_limits<double>::min() / std::min(delta, 0.1);
  lambda = std::clamp(lambda, lower, upper);
  if (lambda == 0) lambda = upper * 1e-3;
  double lastPhi = 0;
  for (int tries = 0;; ++tries) {
    if (!(lambda > 0)) lambda = std::max(std::numeric_limits<double>::min(), 1e-3 * upper);
    if (!DampedLeastSquaresStep(r, ldr, c, d, lambda, n, work, p)) return false;
    const double q = ScaledNorm(d, p, n), phi = q - delta;
    if (!std::isfinite(q)) return false;
    // Done within 10% of the radius; or, without a lower bound (J rank-deficient), when lambda
    // sinking towards 0 keeps the step inside the region anyway.
    const bool sinking = lower == 0 && phi < 0 && phi <= lastPhi && lastPhi < 0;
    if (std::abs(phi) <= 0.1 * delta || sinking || tries + 1 == kMaxTries) return true;
    lastPhi = phi;
    if (phi > 0) lower = std::max(lower, lambda);
    else upper = std::min(upper, lambda);
    const double slope = NormSlope(d, p, n, q, work);
    if (!(slope > 0)) return true;
    lambda = std::max(lower, lambda + phi / (delta * slope));
    if (lambda > upper) lambda = std::sqrt(lower * upper);  // the Newton step left the bracket
  }
}

}  // namespace quorel::detail
