// Cholesky and QR solves of the Marquardt steps (see detail/damped_solve.h).

#include "quorel/optim/detail/damped_solve.h"

#include <algorithm>
#include <cmath>

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

}  // namespace quorel::detail
