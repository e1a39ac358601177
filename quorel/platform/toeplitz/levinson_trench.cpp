// The Levinson-Trench recursion. With T(i, j) = t(i - j) it keeps, for the leading k x k block,
// f (T f = e_1), g (T g = e_k) and x (T x = y(1 .. k)) and grows all three by one per step.
#include "quorel/platform/toeplitz/levinson_trench.h"

#include <complex>
#include <vector>

namespace quorel::detail {

namespace {

template <class T>
std::int32_t Solve(const T* row, const T* col, const T* y, T* x, std::int32_t n) {
  if (n == 0) return 0;
  // t(m) for m > 0 lies below the diagonal, t(-m) above it.
  auto below = [&](std::int32_t m) { return col[m - 1]; };
  if (row[0] == T(0)) return 1;
  std::vector<T> f(n), g(n), nf(n), ng(n);
  f[0] = g[0] = T(1) / row[0];
  x[0] = y[0] / row[0];
  for (std::int32_t k = 1; k < n; ++k) {
    T ef(0), eg(0), theta(0);
    for (std::int32_t j = 0; j < k; ++j) {
      ef += below(k - j) * f[j];
      eg += row[j + 1] * g[j];
      theta += below(k - j) * x[j];
    }
    const T d = T(1) - ef * eg;
    if (d == T(0)) return k + 1;
    for (std::int32_t j = 0; j <= k; ++j) {
      const T fj = j < k ? f[j] : T(0);       // [f; 0]
      const T gj = j > 0 ? g[j - 1] : T(0);   // [0; g]
      nf[j] = (fj - ef * gj) / d;
      ng[j] = (gj - eg * fj) / d;
    }
    f.swap(nf);
    g.swap(ng);
    const T c = y[k] - theta;
    x[k] = T(0);
    for (std::int32_t j = 0; j <= k; ++j) x[j] += c * g[j];
  }
  return 0;
}

}  // namespace

std::int32_t LevinsonTrenchSolve(const double* row, const double* col, const double* y, double* x, std::int32_t n) {
  return Solve(row, col, y, x, n);
}

std::int32_t LevinsonTrenchSolve(const TCplx* row, const TCplx* col, const TCplx* y, TCplx* x, std::int32_t n) {
  using Z = std::complex<double>;  // TCplx is layout-compatible
  return Solve(reinterpret_cast<const Z*>(row), reinterpret_cast<const Z*>(col), reinterpret_cast<const Z*>(y),
               reinterpret_cast<Z*>(x), n);
}

}  // namespace quorel::detail
