#pragma once
// Small test matrices in compressed columns, built from coordinate lists, and the residual
// measure ||b - A x|| / (||A|| ||x||) (Frobenius norm of A, 2-norms of vectors).

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <tuple>
#include <vector>

#include "quorel/sparse/detail/solver_direct.h"
#include "quorel/sparse/detail/solver_iterative.h"

namespace quorel::test {

using Z = std::complex<double>;

template <class T>
struct Csc {
  std::int32_t n = 0;
  std::vector<std::int32_t> ap, ai;
  std::vector<T> ax;

  detail::TRawSparse Raw() const {
    return {std::is_same_v<T, Z>, n, ap.data(), ai.data(), reinterpret_cast<const double*>(ax.data())};
  }
  detail::TSlapMatrix Slap(bool lower) const { return {n, ap.data(), ai.data(), (const double*)ax.data(), lower}; }
};

/// Compressed columns from (row, col, value) entries (no duplicates); `lowerOnly` drops the upper ones.
template <class T>
Csc<T> FromEntries(std::int32_t n, std::vector<std::tuple<std::int32_t, std::int32_t, T>> e, bool lowerOnly) {
  if (lowerOnly) std::erase_if(e, [](const auto& t) { return std::get<0>(t) < std::get<1>(t); });
  std::sort(e.begin(), e.end(), [](const auto& p, const auto& q) {
    return std::tie(std::get<1>(p), std::get<0>(p)) < std::tie(std::get<1>(q), std::get<0>(q));
  });
  Csc<T> c;
  c.n = n;
  c.ap.assign(n + 1, 0);
  for (const auto& [i, j, v] : e) {
    ++c.ap[j + 1];
    c.ai.push_back(i);
    c.ax.push_back(v);
  }
  for (std::int32_t j = 0; j < n; ++j) c.ap[j + 1] += c.ap[j];
  return c;
}

/// m x m grid, 5-point Laplacian plus `shift` on the diagonal, plus `skew` * (i on horizontal
/// edges: +skew above, -skew below) when T is complex (a Hermitian perturbation), or
/// `convection` making it unsymmetric when real.
template <class T>
Csc<T> Grid(std::int32_t m, double shift, bool lowerOnly, T skew = T(0), double convection = 0) {
  std::vector<std::tuple<std::int32_t, std::int32_t, T>> e;
  auto id = [m](std::int32_t x, std::int32_t y) { return y * m + x; };
  for (std::int32_t y = 0; y < m; ++y)
    for (std::int32_t x = 0; x < m; ++x) {
      const std::int32_t i = id(x, y);
      e.emplace_back(i, i, T(4 + shift));
      if (x + 1 < m) {
        e.emplace_back(i, id(x + 1, y), T(-1 + convection) + skew);
        e.emplace_back(id(x + 1, y), i, T(-1 - convection) - skew);
      }
      if (y + 1 < m) {
        e.emplace_back(i, id(x, y + 1), T(-1));
        e.emplace_back(id(x, y + 1), i, T(-1));
      }
    }
  return FromEntries<T>(m * m, std::move(e), lowerOnly);
}

/// Unsymmetric convection-diffusion with each pair of rows swapped: a zero-free but weak
/// diagonal that a solver without pivoting handles badly.
inline Csc<double> SwappedRows(std::int32_t m) {
  Csc<double> a = Grid<double>(m, 0.0, false, 0.0, 0.4);
  for (auto& r : a.ai) r ^= 1;  // n is even
  return a;
}

template <class T>
double Norm(const std::vector<T>& v) {
  double s = 0;
  for (const T& x : v) s += std::norm(x);
  return std::sqrt(s);
}

/// A x for the stored matrix (`lower`: Hermitian/symmetric from its lower triangle; `conj`
/// mirrors with conjugates, otherwise plainly).
template <class T>
std::vector<T> Apply(const Csc<T>& a, const std::vector<T>& x, bool lower, bool conj = true) {
  std::vector<T> y(a.n, T(0));
  for (std::int32_t j = 0; j < a.n; ++j)
    for (std::int32_t k = a.ap[j]; k < a.ap[j + 1]; ++k) {
      const std::int32_t i = a.ai[k];
      y[i] += a.ax[k] * x[j];
      if (lower && i != j) {
        if constexpr (std::is_same_v<T, Z>)
          y[j] += (conj ? std::conj(a.ax[k]) : a.ax[k]) * x[i];
        else
          y[j] += a.ax[k] * x[i];
      }
    }
  return y;
}

template <class T>
double NormA(const Csc<T>& a, bool lower) {
  double s = 0;
  for (std::int32_t j = 0; j < a.n; ++j)
    for (std::int32_t k = a.ap[j]; k < a.ap[j + 1]; ++k) s += std::norm(a.ax[k]) * (lower && a.ai[k] != j ? 2 : 1);
  return std::sqrt(s);
}

/// ||b - A x|| / (||A|| ||x||).
template <class T>
double RelResidual(const Csc<T>& a, const std::vector<T>& b, const std::vector<T>& x, bool lower,
                   bool conj = true) {
  std::vector<T> r = Apply(a, x, lower, conj);
  for (std::size_t i = 0; i < r.size(); ++i) r[i] = b[i] - r[i];
  return Norm(r) / (NormA(a, lower) * Norm(x));
}

/// A deterministic right-hand side with every component non-zero.
template <class T>
std::vector<T> Rhs(std::int32_t n) {
  std::vector<T> b(n);
  for (std::int32_t i = 0; i < n; ++i) {
    const double v = 1.0 + std::sin(0.7 * i + 0.3);
    if constexpr (std::is_same_v<T, Z>)
      b[i] = Z(v, std::cos(1.3 * i));
    else
      b[i] = v;
  }
  return b;
}

}  // namespace quorel::test
