#pragma once
// Helpers shared by the matrix tests.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel::test {

/// Message of the exception of type E that f raises, or "<no exception>".
template <class E, class F>
std::string MessageOf(F&& f) {
  try {
    f();
  } catch (const E& e) {
    return e.what();
  }
  return "<no exception>";
}

/// A real rows x cols matrix from values in row order.
inline TMtx RealMtx(std::int32_t rows, std::int32_t cols, std::initializer_list<double> values) {
  TMtx m;
  m.SetIt(rows, cols, false, values);
  return m;
}

/// A complex rows x cols matrix from values in row order.
inline TMtx CplxMtx(std::int32_t rows, std::int32_t cols, std::initializer_list<TCplx> values) {
  TMtx m(rows, cols, true);
  std::int32_t k = 0;
  for (const TCplx& z : values) *m.PCValues1D(k++) = z;
  return m;
}

/// rows x cols matrix whose element (i, j) encodes its position: 100 i + j (+ i*j imaginary).
inline TMtx Numbered(std::int32_t rows, std::int32_t cols, bool complex) {
  TMtx m(rows, cols, complex);
  for (std::int32_t i = 0; i < rows; ++i)
    for (std::int32_t j = 0; j < cols; ++j) {
      if (complex) {
        m.CValues(i, j) = {100.0 * i + j, 1.0 * i * j + 0.5};
      } else {
        m.Values(i, j) = 100.0 * i + j;
      }
    }
  return m;
}

/// The elements of a matrix in row order, as doubles (complex: re, im pairs).
inline std::vector<double> Doubles(const TMtx& m) {
  auto v = m.Values();
  return {v.begin(), v.end()};
}

inline TVec Real(std::initializer_list<double> values) {
  TVec v;
  v.SetIt(false, values);
  return v;
}

inline TVec Cplx(std::initializer_list<TCplx> values) {
  TVec v;
  v.SetCplx(values);
  return v;
}

/// Relative error |a - b| / max(|b|, 1) used for accumulated sums.
inline double RelErr(double a, double b) { return std::abs(a - b) / std::max(std::abs(b), 1.0); }
/// Tolerance for a few roundings in sums of small integers and halves.
constexpr double kSumTol = 1e-14;

}  // namespace quorel::test
