#pragma once
// Reference helpers for the linear-algebra tests: element access as std::complex for real and
// complex matrices alike, a naive product, residuals scaled by n * eps, and structured matrices.

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <vector>

#include <gmock/gmock.h>

#include "support/support.h"

namespace quorel::test {

using C = std::complex<double>;

inline C Get(const TMtx& a, std::int32_t i, std::int32_t j) {
  if (a.Complex()) return {a.CValues(i, j).Re, a.CValues(i, j).Im};
  return a.Values(i, j);
}
inline void Put(TMtx& a, std::int32_t i, std::int32_t j, C z) {
  if (a.Complex()) a.CValues(i, j) = {z.real(), z.imag()};
  else a.Values(i, j) = z.real();
}
inline C GetV(const TVec& v, std::int32_t i) {
  if (v.Complex()) return {v.PCValues(i)->Re, v.PCValues(i)->Im};
  return *v.PValues(i);
}

/// op(a) as a new matrix (0 none, 1 transpose, 2 conjugate transpose).
inline TMtx Op(const TMtx& a, TMtxOperation op) {
  if (op == opNone) return a;
  TMtx r(a.Cols(), a.Rows(), a.Complex());
  for (int i = 0; i < a.Rows(); ++i)
    for (int j = 0; j < a.Cols(); ++j) Put(r, j, i, op == opHerm ? std::conj(Get(a, i, j)) : Get(a, i, j));
  return r;
}

inline TMtx NaiveMul(const TMtx& a, const TMtx& b) {
  TMtx r(a.Rows(), b.Cols(), a.Complex());
  for (int i = 0; i < a.Rows(); ++i)
    for (int j = 0; j < b.Cols(); ++j) {
      C s = 0;
      for (int k = 0; k < a.Cols(); ++k) s += Get(a, i, k) * Get(b, k, j);
      Put(r, i, j, s);
    }
  return r;
}

inline double MaxAbs(const TMtx& a) {
  double m = 0;
  for (int i = 0; i < a.Rows(); ++i)
    for (int j = 0; j < a.Cols(); ++j) m = std::max(m, std::abs(Get(a, i, j)));
  return m;
}

/// a - b (complex when either is).
inline TMtx Minus(const TMtx& a, const TMtx& b) {
  TMtx r(a.Rows(), a.Cols(), a.Complex() || b.Complex());
  for (int i = 0; i < a.Rows(); ++i)
    for (int j = 0; j < a.Cols(); ++j) Put(r, i, j, Get(a, i, j) - Get(b, i, j));
  return r;
}

/// max|a - b| / (max|a| eps n): small (a few units) when a and b agree to working precision.
inline double Diff(const TMtx& a, const TMtx& b) {
  return MaxAbs(Minus(a, b)) / (std::max(MaxAbs(a), 1e-300) * kEps * std::max(a.Rows(), a.Cols()));
}

/// ||A X - B|| / (||A|| ||X|| eps n) with max norms.
inline double Residual(const TMtx& a, const TMtx& x, const TMtx& b) {
  return MaxAbs(Minus(NaiveMul(a, x), b)) / (MaxAbs(a) * MaxAbs(x) * kEps * a.Cols());
}

/// Tolerance of the scaled residuals above (LAPACK's own tests use 30).
constexpr double kResidualTol = 30;

inline TMtx Random(int rows, int cols, bool complex, unsigned seed) {
  std::mt19937 g(seed);
  std::uniform_real_distribution<double> u(-1, 1);
  TMtx r(rows, cols, complex);
  for (int i = 0; i < rows; ++i)
    for (int j = 0; j < cols; ++j) Put(r, i, j, complex ? C(u(g), u(g)) : C(u(g)));
  return r;
}

/// Hermitian (real: symmetric) positive definite: R R^H + n I.
inline TMtx PosDef(int n, bool complex, unsigned seed) {
  TMtx r = Random(n, n, complex, seed), a = NaiveMul(r, Op(r, opHerm));
  for (int i = 0; i < n; ++i) Put(a, i, i, Get(a, i, i) + C(n));
  return a;
}

/// Hermitian (or, with `symmetric`, complex symmetric) and indefinite.
inline TMtx Indefinite(int n, bool complex, unsigned seed, bool symmetric = false) {
  TMtx a = Random(n, n, complex, seed);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j <= i; ++j) {
      C z = Get(a, i, j);
      if (i == j && !symmetric) z = z.real();
      Put(a, i, j, z);
      Put(a, j, i, symmetric ? z : std::conj(z));
    }
  return a;
}

/// Lower (or upper) triangular with a dominant diagonal.
inline TMtx Triangular(int n, bool complex, unsigned seed, bool lower) {
  TMtx a = Random(n, n, complex, seed);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j)
      if (lower ? j > i : j < i) Put(a, i, j, 0);
    Put(a, i, i, Get(a, i, i) + C(2));
  }
  return a;
}

/// A real matrix of row-major values, made complex (same values) when `complex`.
inline TMtx Mtx(bool complex, int rows, int cols, std::initializer_list<double> values) {
  TMtx m = RealMtx(rows, cols, values);
  if (complex) m.ExtendToComplex(true);
  return m;
}

/// a with `value` in the triangle a TriangleForm tf type must not read.
inline TMtx Dirty(TMtx a, TTriangleForm tf, C value) {
  for (int i = 0; i < a.Rows(); ++i)
    for (int j = 0; j < a.Cols(); ++j)
      if (tf == tfLower ? j > i : j < i) Put(a, i, j, value);
  a.SetTriangleForm(tf);
  return a;
}

inline TVec RandomVec(int n, bool complex, unsigned seed) {
  std::mt19937 g(seed);
  std::uniform_real_distribution<double> u(-1, 1);
  TVec v;
  v.Size(n, complex);
  for (int i = 0; i < n; ++i) {
    if (complex) *v.PCValues(i) = {u(g), u(g)};
    else *v.PValues(i) = u(g);
  }
  return v;
}

inline TMtx Eye(int n, bool complex) {
  TMtx r(n, n, complex);
  r.Eye();
  return r;
}

/// The real parts of v in ascending order.
inline std::vector<double> Sorted(const TVec& v) {
  std::vector<double> r;
  for (int i = 0; i < v.Length(); ++i) r.push_back(GetV(v, i).real());
  std::sort(r.begin(), r.end());
  return r;
}

inline TMtx Hilbert(int n) {
  TMtx a(n, n, false);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) a.Values(i, j) = 1.0 / (i + j + 1);
  return a;
}

/// The vector as an n x 1 matrix.
inline TMtx Column(const TVec& v) {
  TMtx r(v.Length(), 1, v.Complex());
  for (int i = 0; i < v.Length(); ++i) Put(r, i, 0, GetV(v, i));
  return r;
}

}  // namespace quorel::test
