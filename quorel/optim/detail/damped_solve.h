#pragma once
// The small dense solves behind the Marquardt steps, on LAPACK (Cholesky, Householder QR, triangular
// solve) through the platform chooser. Sizes are the optimiser's (n parameters, m residuals); no
// routine allocates once the object cache is warm: the caller passes every buffer.

#include <cstddef>
#include <span>

namespace quorel::detail {

/// Solves (H + lambda diag(d)) p = -g by Cholesky (H symmetric n x n). `l` (n x n) receives the
/// factor. False when the damped matrix is not positive definite.
bool DampedCholeskySolve(std::span<const double> h, std::span<const double> g, std::span<const double> d, double lambda,
                         std::size_t n, std::span<double> l, std::span<double> p);

/// QR of the column-major m x (n + 1) matrix a = [J | b] (m >= n): afterwards its leading n x n
/// upper triangle is R and the first n entries of column n are c = (Q' b)[0, n), so J p ~ b is
/// R p = c in the least-squares sense. `tau` holds n + 1 scales.
void LeastSquaresQR(std::span<double> a, std::size_t m, std::size_t n, std::span<double> tau);

/// The damped least-squares step: given R (leading triangle of the column-major `r`, leading
/// dimension `ldr`) and c from LeastSquaresQR, solves min |J p - b|^2 + lambda |D p|^2 through a
/// second QR of [R c; sqrt(lambda) D 0], never forming J'J. `work` holds at least
/// 2n (n + 1) + n + 1 doubles. False when the augmented triangle is singular (lambda = 0 with a
/// rank-deficient J).
bool DampedLeastSquaresStep(std::span<const double> r, std::size_t ldr, std::span<const double> c,
                            std::span<const double> d, double lambda, std::size_t n, std::span<double> work,
                            std::span<double> p);

/// The step of a scaled trust region of radius delta: lambda >= 0 (started from the caller's value,
/// returned) such that the damped least-squares step p has |D p| within 10% of delta, or lambda = 0
/// when the Gauss-Newton step is no longer than 1.1 delta. Lambda comes from safeguarded Newton
/// iterations on 1/|D p(lambda)| between bounds from the gradient and the Gauss-Newton step, at
/// most ten solves. `work` holds at least 2n (n + 1) + 2n + 1 doubles. False when no step exists.
bool TrustRegionStep(std::span<const double> r, std::size_t ldr, std::span<const double> c, std::span<const double> d,
                     double delta, double& lambda, std::size_t n, std::span<double> work, std::span<double> p);

}  // namespace quorel::detail
