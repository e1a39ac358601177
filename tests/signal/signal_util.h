#pragma once
// References for the signal tests: naive transforms in long double and a relative-error helper.

#include <cmath>
#include <complex>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel::test {

using LCplx = std::complex<long double>;

/// The DFT of x by the defining sum; sign -1 forward, +1 inverse (unscaled).
inline std::vector<LCplx> NaiveDft(const std::vector<LCplx>& x, int sign) {
  const std::size_t n = x.size();
  std::vector<LCplx> y(n);
  const long double pi = 3.141592653589793238462643383279502884L;
  for (std::size_t k = 0; k < n; ++k) {
    LCplx s = 0;
    for (std::size_t j = 0; j < n; ++j) {
      const long double a = sign * 2 * pi * static_cast<long double>((j * k) % n) / n;
      s += x[j] * LCplx(std::cos(a), std::sin(a));
    }
    y[k] = s;
  }
  return y;
}

/// Reproducible values in [-1, 1).
inline std::vector<double> Noise(std::size_t n, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> v(n);
  for (auto& x : v) x = u(rng);
  return v;
}

inline TVec RealVec(const std::vector<double>& v) {
  TVec r;
  r.SetDouble(v);
  return r;
}
inline TVec CplxVec(const std::vector<double>& re, const std::vector<double>& im) {
  TVec r;
  r.Size(static_cast<std::int32_t>(re.size()), true);
  for (std::size_t i = 0; i < re.size(); ++i) r.CValues()[i] = {re[i], im[i]};
  return r;
}
inline std::vector<LCplx> AsL(const TVec& v) {
  std::vector<LCplx> r;
  if (v.Complex())
    for (auto c : v.CValues()) r.emplace_back(c.Re, c.Im);
  else
    for (auto x : v.Values()) r.emplace_back(x, 0);
  return r;
}

/// Elements [from, from + count) of v.
inline std::vector<LCplx> Slice(const TVec& v, std::int32_t from, std::int32_t count) {
  const auto l = AsL(v);
  return {l.begin() + from, l.begin() + from + count};
}

/// max |got - want| / max(max |want|, tiny): the transform error measure, in units of eps.
inline double ErrEps(const std::vector<LCplx>& got, const std::vector<LCplx>& want) {
  long double err = 0, scale = 1e-300L;
  for (std::size_t i = 0; i < want.size(); ++i) {
    err = std::max(err, std::abs(got[i] - want[i]));
    scale = std::max(scale, std::abs(want[i]));
  }
  return static_cast<double>(err / scale / 2.220446049250313e-16L);
}

/// A rows x cols matrix of Noise values (complex: interleaved re, im).
inline TMtx NoiseMtx(std::int32_t rows, std::int32_t cols, bool complex, unsigned seed) {
  TMtx m(rows, cols, complex);
  const auto v = Noise(static_cast<std::size_t>(rows) * cols * (complex ? 2 : 1), seed);
  std::copy(v.begin(), v.end(), m.PValues1D(0));
  return m;
}

/// Tolerance for an FFT of length n, in eps: a few log2 n.
inline double FftTol(std::size_t n) { return 4.0 * (1.0 + std::log2(static_cast<double>(std::max<std::size_t>(n, 2)))); }

}  // namespace quorel::test
