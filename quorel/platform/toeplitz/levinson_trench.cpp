// The Levinson-Trench recursion. With T(i, j) = t(i - j) it keeps, for the leading k x k block,
// f (T f = e_1), g (T g = e_k) and x (T x = y(1 .. k)) and grows all three by one per step.
#include "quorel/platform/toeplitz/levinson_trench.h"

#include <complex>
#include <utility>

#include "quorel/platform/lapack/work_arena.h"

namespace quorel::detail {

namespace {

template <class T>
std::int32_t Solve(const T* row, const T* col, const T* y, T* x, std::int32_t n) {
  if (n == 0) return 0;
  if (row[0] == T(0)) return 1;
  // t(m) for m > 0 lies below the diagonal (col[m - 1]), t(-m) above it (row[m]). The sums run
  // over t(k - j) for j = 0 .. k - 1: kept reversed, rev[n - 1 - k + j] = t(k - j), so that every
  // loop walks its arrays forward.
  // Five work arrays from a kept arena, so a repeated solve allocates nothing. Every element is
  // written before it is read: rev[n - 1] is never read, f and g grow by one per step.
  lapack::TLapackWork work;
  T* rev = reinterpret_cast<T*>(work.Take<double>(5 * std::int64_t{n} * (sizeof(T) / sizeof(double))));
  T* f = rev + n;
  T* g = f + n;
  T* nf = g + n;
  T* ng = nf + n;
  for (std::int32_t m = 1; m < n; ++m) rev[n - 1 - m] = col[m - 1];
  f[0] = g[0] = T(1) / row[0];
  x[0] = y[0] / row[0];
  for (std::int32_t k = 1; k < n; ++k) {
    const T* t = rev + (n - 1 - k);
    T ef(0), eg(0), theta(0);
    for (std::int32_t j = 0; j < k; ++j) {
      ef += t[j] * f[j];
      eg += row[j + 1] * g[j];
      theta += t[j] * x[j];
    }
    const T d = T(1) - ef * eg;
    if (d == T(0)) return k + 1;
    const T inv = T(1) / d;
    // f' = ([f; 0] - ef [0; g]) / d, g' = ([0; g] - eg [f; 0]) / d.
    nf[0] = f[0] * inv;
    ng[0] = -eg * f[0] * inv;
    for (std::int32_t j = 1; j < k; ++j) {
      nf[j] = (f[j] - ef * g[j - 1]) * inv;
      ng[j] = (g[j - 1] - eg * f[j]) * inv;
    }
    nf[k] = -ef * g[k - 1] * inv;
    ng[k] = g[k - 1] * inv;
    std::swap(f, nf);
    std::swap(g, ng);
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
