#pragma once
// Helpers shared by the sparse tests: exact-message checks, dense references and generators.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/sparse/sparse.h"
#include "support/allocations.h"
#include "support/messages.h"
#include "support/values.h"

namespace quorel::test {

#define SKIP_UNLESS_ALLOCATIONS_COUNTED() \
  if (!AllocationCounting()) GTEST_SKIP() << "allocations are not counted in this build"

#define EXPECT_RAISES(stmt, msg) \
  EXPECT_THAT([&] { stmt; }, ::testing::ThrowsMessage<::quorel::EQuorelException>(::testing::StrEq(msg)))

inline std::string MatrixFile(const std::string& name) {
  return std::string(QUOREL_TEST_DATA_DIR) + "/matrices/" + name;
}

/// Dense copy of a sparse matrix as rows of complex values (real matrices have zero imaginary parts).
inline std::vector<std::vector<TCplx>> Dense(const TSparseMtx& a) {
  std::vector<std::vector<TCplx>> d(a.Rows(), std::vector<TCplx>(a.Cols(), TCplx{0, 0}));
  for (std::int32_t j = 0; j < a.Cols(); ++j)
    for (std::int32_t k = a.Ap()[j]; k < a.Ap()[j + 1]; ++k)
      d[a.Ai()[k]][j] = a.Complex() ? a.CValues()[k] : TCplx{a.Values()[k], 0.0};
  return d;
}

/// Random sparse matrix with about `density` of its positions filled.
inline void RandomPattern(TSparseMtx& a, std::int32_t rows, std::int32_t cols, double density, bool complex,
                          unsigned seed) {
  std::mt19937 g(seed);
  std::uniform_real_distribution<double> u(-1, 1), p(0, 1);
  TIntegerArray r, c;
  TCplxArray v;
  TDoubleArray re;
  for (std::int32_t i = 0; i < rows; ++i)
    for (std::int32_t j = 0; j < cols; ++j)
      if (p(g) < density || (i == 0 && j == 0)) {
        r.push_back(i);
        c.push_back(j);
        v.push_back({u(g), complex ? u(g) : 0.0});
        re.push_back(v.back().Re);
      }
  if (complex) a.TripletsToSparse(rows, cols, r, c, std::span<const TCplx>(v));
  else a.TripletsToSparse(rows, cols, r, c, std::span<const double>(re));
}

/// 5-point stencil on an m x m grid (n = m^2 unknowns): diagonal, west, east, south, north.
inline void Stencil2D(TSparseMtx& a, std::int32_t m, double d, double w, double e, double s, double n) {
  TIntegerArray r, c;
  TDoubleArray v;
  auto add = [&](int i, int j, double x) {
    r.push_back(i);
    c.push_back(j);
    v.push_back(x);
  };
  for (int y = 0; y < m; ++y)
    for (int x = 0; x < m; ++x) {
      const int k = y * m + x;
      add(k, k, d);
      if (x > 0) add(k, k - 1, w);
      if (x < m - 1) add(k, k + 1, e);
      if (y > 0) add(k, k - m, s);
      if (y < m - 1) add(k, k + m, n);
    }
  a.TripletsToSparse(m * m, m * m, r, c, std::span<const double>(v));
}

/// 5-point Laplacian on an m x m grid, SPD.
inline void Poisson2D(TSparseMtx& a, std::int32_t m) { Stencil2D(a, m, 4, -1, -1, -1, -1); }

/// Out := A's pattern with values f(i, j, a_ij), real or complex by f's result.
template <class F>
TSparseMtx& Mapped(TSparseMtx& out, const TSparseMtx& a, F f) {
  using T = decltype(f(0, 0, 0.0));
  TIntegerArray r, c;
  std::vector<T> v;
  for (std::int32_t j = 0; j < a.Cols(); ++j)
    for (std::int32_t k = a.Ap()[j]; k < a.Ap()[j + 1]; ++k) {
      r.push_back(a.Ai()[k]);
      c.push_back(j);
      v.push_back(f(a.Ai()[k], j, a.Values()[k]));
    }
  return out.TripletsToSparse(a.Rows(), a.Cols(), r, c, std::span<const T>(v));
}

/// Swaps rows 2k and 2k+1: a weak diagonal that a solver without pivoting handles badly.
inline void SwapRowPairs(TSparseMtx& a) {
  TIntegerArray r, c;
  TDoubleArray v;
  a.SparseToTriplets(r, c, v);
  for (auto& i : r) i ^= 1;
  a.TripletsToSparse(a.Rows(), a.Cols(), r, c, v);
}

/// A with `shift` subtracted from its diagonal (Poisson shifted into its spectrum is indefinite).
inline TSparseMtx& Shifted(TSparseMtx& out, const TSparseMtx& a, double shift) {
  return Mapped(out, a, [=](int i, int j, double v) { return i == j ? v - shift : v; });
}

/// Hermitian: A's values, diagonal less `shift`, imaginary +0.3 below and -0.3 above it.
inline TSparseMtx& Hermitian(TSparseMtx& out, const TSparseMtx& a, double shift) {
  return Mapped(out, a, [=](int i, int j, double v) {
    return TCplx{i == j ? v - shift : v, i > j ? 0.3 : i < j ? -0.3 : 0.0};
  });
}

/// 2-norm of the stored values (Frobenius for a matrix).
inline double Norm2(const TQuorel& q) {
  double s = 0;
  for (double v : q.Values()) s += v * v;
  return std::sqrt(s);
}

/// V sized to n zeros (a re-sized block keeps no values).
inline TVec& Zeros(TVec& v, std::int32_t n, bool complex = false) {
  v.Size(n, complex);
  std::fill(v.Values().begin(), v.Values().end(), 0.0);
  return v;
}

/// B := A * xTrue for a varied xTrue (returned); X := zeros (the iterative start guess).
inline TVec KnownRhs(const TSparseMtx& a, TVec& b, TVec& x) {
  TVec xTrue;
  Zeros(xTrue, a.Cols(), a.Complex());
  for (std::size_t k = 0; k < xTrue.Values().size(); ++k) xTrue.Values()[k] = 1.0 + 0.01 * double(k % 97);
  b.Copy(xTrue);
  a.MulRight(b);
  Zeros(x, a.Cols(), a.Complex());
  return xTrue;
}

/// ||b - A x|| / (||A|| ||x||) against the full matrix (the solver may have seen only a triangle).
inline double RelativeResidual(const TSparseMtx& full, const TVec& b, const TVec& x) {
  return full.ResidualNorm(b, x) / (Norm2(full) * Norm2(x));
}

/// Solves with `tri` (the stored form) and checks the residual against `full`, or on a failure
/// that X kept its zeros; returns the text.
inline std::string SolveChecked(TSparseMtx& tri, const TSparseMtx& full, TMtxType type, double bound) {
  TVec b, x;
  KnownRhs(full, b, x);
  tri.Solve(b, x, type);
  if (tri.ErrorText().empty()) EXPECT_LT(RelativeResidual(full, b, x), bound) << int(type);
  else EXPECT_EQ(Norm2(x), 0.0) << tri.ErrorText();
  return tri.ErrorText();
}

inline bool Near(const TCplx& a, const TCplx& b, double tol) {
  return std::hypot(a.Re - b.Re, a.Im - b.Im) <= tol;
}

}  // namespace quorel::test
