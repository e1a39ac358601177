#pragma once
// Helpers of the polynomial tests: complex element access, sorted roots, relative error.

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

#include "support/support.h"

namespace quorel::test {

using C = std::complex<double>;

inline C At(const TVec& v, std::int32_t i) {
  if (v.Complex()) return {v.PCValues(i)->Re, v.PCValues(i)->Im};
  return *v.PValues(i);
}

/// The elements in order, as complex numbers.
inline std::vector<C> Values(const TVec& v) {
  std::vector<C> r;
  for (int i = 0; i < v.Length(); ++i) r.push_back(At(v, i));
  return r;
}

inline TVec FromStd(const std::vector<double>& v) {
  TVec r;
  r.SetDouble(v);
  return r;
}

/// The elements sorted by real part, then imaginary part (real parts within 1e-9 count as equal,
/// so rounding does not reorder a conjugate pair).
inline std::vector<C> Sorted(const TVec& v) {
  std::vector<C> r = Values(v);
  std::sort(r.begin(), r.end(), [](C a, C b) { return std::fabs(a.real() - b.real()) > 1e-9 ? a.real() < b.real() : a.imag() < b.imag(); });
  return r;
}

/// Largest |got[i] - want[i]| / max(1, |want[i]|).
inline double MaxRelErr(const std::vector<C>& got, const std::vector<C>& want) {
  if (got.size() != want.size()) return INFINITY;
  double e = 0;
  for (std::size_t i = 0; i < got.size(); ++i) e = std::max(e, std::abs(got[i] - want[i]) / std::max(1.0, std::abs(want[i])));
  return e;
}

/// Agreement expected of short computations on O(1) data: a few hundred eps.
constexpr double kClose = 512 * kEps;

}  // namespace quorel::test
