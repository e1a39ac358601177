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

}  // namespace quorel::detail
