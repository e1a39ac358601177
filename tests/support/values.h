#pragma once
// Small vectors and matrices written inline in tests; see support/support.h.

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel::test {

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

/// An integer vector (index list or mask).
inline TVec IndexList(std::initializer_list<int> values) {
  TVec v;
  v.Size(static_cast<std::int32_t>(values.size()), false);
  v.SetIsInteger(true);
  std::copy(values.begin(), values.end(), v.IValues().begin());
  return v;
}

/// The doubles in use, in storage order (complex: re, im pairs).
inline std::vector<double> Doubles(const TQuorel& q) {
  auto v = q.Values();
  return {v.begin(), v.end()};
}

/// The data read as 32-bit integers.
inline std::vector<int> Ints(const TQuorel& q) {
  auto v = q.IValues();
  return {v.begin(), v.end()};
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

/// rows x cols matrix whose element (i, j) encodes its position: 100 i + j (+ i*j + 0.5 imaginary).
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

}  // namespace quorel::test
