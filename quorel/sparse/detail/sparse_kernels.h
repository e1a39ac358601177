#pragma once
// Element arithmetic for code written once over double and TCplx, and the sparse BLAS kernels
// (scaled sparse vector added into a dense one, sparse dot product) the products are built on.

#include <cmath>
#include <cstdint>

#include "quorel/core/types.h"

namespace quorel::detail {

inline double SpMul(double a, double b) { return a * b; }
inline TCplx SpMul(const TCplx& a, const TCplx& b) { return {a.Re * b.Re - a.Im * b.Im, a.Re * b.Im + a.Im * b.Re}; }
inline void SpAcc(double& s, double v) { s += v; }
inline void SpAcc(TCplx& s, const TCplx& v) {
  s.Re += v.Re;
  s.Im += v.Im;
}
inline double SpNeg(double v) { return -v; }
inline TCplx SpNeg(const TCplx& v) { return {-v.Re, -v.Im}; }
inline double SpConj(double v) { return v; }
inline TCplx SpConj(const TCplx& v) { return {v.Re, -v.Im}; }
inline double SpMag(double v) { return std::fabs(v); }
inline double SpMag(const TCplx& v) { return std::hypot(v.Re, v.Im); }
inline double SpMag2(double v) { return v * v; }
inline double SpMag2(const TCplx& v) { return v.Re * v.Re + v.Im * v.Im; }

/// y[idx[k]] += a * x[k], k < n (daxpyi / zaxpyi).
template <class T>
inline void Axpyi(std::int32_t n, const T& a, const T* x, const std::int32_t* idx, T* y) {
  for (std::int32_t k = 0; k < n; ++k) SpAcc(y[idx[k]], SpMul(a, x[k]));
}

/// sum of x[k] * y[idx[k]], k < n, without conjugation (ddoti / zdotui).
template <class T>
inline T Doti(std::int32_t n, const T* x, const std::int32_t* idx, const T* y) {
  T s{};
  for (std::int32_t k = 0; k < n; ++k) SpAcc(s, SpMul(x[k], y[idx[k]]));
  return s;
}

/// y[k] += a * x[k], k < n (daxpy / zaxpy).
template <class T>
inline void Axpy(std::int32_t n, const T& a, const T* x, T* y) {
  for (std::int32_t k = 0; k < n; ++k) SpAcc(y[k], SpMul(a, x[k]));
}

}  // namespace quorel::detail

namespace quorel::detail {
/// Storage index of element (i, j) of a dense matrix (row-major, stride LeadingCols).
template <class M>
inline std::int64_t At(const M& m, std::int32_t i, std::int32_t j) {
  return std::int64_t{i} * m.LeadingCols() + j;
}
}  // namespace quorel::detail
