// Cholesky and Householder QR for the Marquardt steps (see detail/damped_solve.h).

#include "quorel/optim/detail/damped_solve.h"

#include <cmath>

namespace quorel::detail {

bool DampedCholeskySolve(std::span<const double> h, std::span<const double> g, std::span<const double> d, double lambda,
                         std::size_t n, std::span<double> l, std::span<double> p) {
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j <= i; ++j) {
      double s = h[i * n + j] + (i == j ? lambda * d[i] : 0.0);
      for (std::size_t k = 0; k < j; ++k) s -= l[i * n + k] * l[j * n + k];
      if (i == j) {
        if (!(s > 0)) return false;
        l[i * n + i] = std::sqrt(s);
      } else {
        l[i * n + j] = s / l[j * n + j];
      }
    }
  }
  // L y = -g, then L' p = y.
  for (std::size_t i = 0; i < n; ++i) {
    double s = -g[i];
    for (std::size_t k = 0; k < i; ++k) s -= l[i * n + k] * p[k];
    p[i] = s / l[i * n + i];
  }
  for (std::size_t i = n; i-- > 0;) {
    double s = p[i];
    for (std::size_t k = i + 1; k < n; ++k) s -= l[k * n + i] * p[k];
    p[i] = s / l[i * n + i];
  }
  return true;
}

void HouseholderQR(std::span<double> a, std::size_t m, std::size_t n, std::span<double> tau) {
  const std::size_t steps = std::min(m, n);
  for (std::size_t k = 0; k < steps; ++k) {
    // Reflector v = x - alpha e1 with v[k] scaled to 1, so H = I - tau v v'.
    double norm = 0, scale = 0;
    for (std::size_t i = k; i < m; ++i) scale = std::max(scale, std::abs(a[i * n + k]));
    if (scale == 0) {
      tau[k] = 0;
      continue;
    }
    for (std::size_t i = k; i < m; ++i) norm += (a[i * n + k] / scale) * (a[i * n + k] / scale);
    norm = scale * std::sqrt(norm);
    const double x0 = a[k * n + k];
    const double alpha = x0 > 0 ? -norm : norm;
    const double v0 = x0 - alpha;
    for (std::size_t i = k + 1; i < m; ++i) a[i * n + k] /= v0;
    tau[k] = -v0 / alpha;
    a[k * n + k] = alpha;
    for (std::size_t j = k + 1; j < n; ++j) {
      double s = a[k * n + j];
      for (std::size_t i = k + 1; i < m; ++i) s += a[i * n + k] * a[i * n + j];
      s *= tau[k];
      a[k * n + j] -= s;
      for (std::size_t i = k + 1; i < m; ++i) a[i * n + j] -= s * a[i * n + k];
    }
  }
}

void QtApply(std::span<const double> a, std::size_t m, std::size_t n, std::span<const double> tau, std::span<double> b) {
  const std::size_t steps = std::min(m, n);
  for (std::size_t k = 0; k < steps; ++k) {
    if (tau[k] == 0) continue;
    double s = b[k];
    for (std::size_t i = k + 1; i < m; ++i) s += a[i * n + k] * b[i];
    s *= tau[k];
    b[k] -= s;
    for (std::size_t i = k + 1; i < m; ++i) b[i] -= s * a[i * n + k];
  }
}

bool DampedLeastSquaresStep(std::span<const double> r, std::span<const double> c, std::span<const double> d, double lambda,
                            std::size_t n, std::span<double> work, std::span<double> p) {
  const std::size_t rows = 2 * n;
  const std::span<double> aug = work.subspan(0, rows * n), rhs = work.subspan(rows * n, rows),
                          tau = work.subspan(rows * n + rows, n);
  const double root = std::sqrt(lambda);
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j < n; ++j) {
      aug[i * n + j] = j >= i ? r[i * n + j] : 0.0;
      aug[(n + i) * n + j] = i == j ? root * d[i] : 0.0;
    }
    rhs[i] = c[i];
    rhs[n + i] = 0;
  }
  HouseholderQR(aug, rows, n, tau);
  QtApply(aug, rows, n, tau, rhs);
  for (std::size_t i = n; i-- > 0;) {
    const double diag = aug[i * n + i];
    if (diag == 0 || !std::isfinite(diag)) return false;
    double s = rhs[i];
    for (std::size_t k = i + 1; k < n; ++k) s -= aug[i * n + k] * p[k];
    p[i] = s / diag;
  }
  return true;
}

}  // namespace quorel::detail
