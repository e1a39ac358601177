#pragma once
// The small dense solvers behind the Marquardt steps. They stand in for the library's LAPACK layer
// and can be replaced by its chooser; everything is row-major, sizes are the optimiser's (n
// parameters, m residuals), and no routine allocates: the caller passes every buffer.

#include <cstddef>
#include <span>

namespace quorel::detail {

/// Solves (H + lambda diag(d)) p = -g by Cholesky (H symmetric n x n). `l` (n x n) receives the
/// factor. False when the damped matrix is not positive definite.
bool DampedCholeskySolve(std::span<const double> h, std::span<const double> g, std::span<const double> d, double lambda,
                         std::size_t n, std::span<double> l, std::span<double> p);

/// Householder QR of the m x n matrix a (m >= 1): R in the upper triangle, the reflectors below it
/// with their scales in tau (min(m, n)). Then QtApply(a, tau, b) makes b = Q' b.
void HouseholderQR(std::span<double> a, std::size_t m, std::size_t n, std::span<double> tau);
void QtApply(std::span<const double> a, std::size_t m, std::size_t n, std::span<const double> tau, std::span<double> b);

/// The damped least-squares step: given the n x n triangle R and c = (Q' b)[0..n) of a QR of J
/// (J p ~ b), solves min |J p - b|^2 + lambda |D p|^2 through a second QR of [R; sqrt(lambda) D],
/// never forming J'J. `work` holds at least 2n (n + 1) + 3n doubles. False when the augmented
/// triangle is singular (lambda = 0 with a rank-deficient J).
bool DampedLeastSquaresStep(std::span<const double> r, std::span<const double> c, std::span<const double> d, double lambda,
                            std::size_t n, std::span<double> work, std::span<double> p);

}  // namespace quorel::detail
