#pragma once
// Goodness-of-fit checks for the samplers. Every check runs at significance 1e-4 with a fixed
// seed; the suite makes about 45 of them, so a correct sampler fails one with probability below
// 0.5% over the choice of seeds (the false-failure budget), and the fixed seeds make each run the
// same.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace gof {

inline constexpr double kAlpha = 1e-4;
inline constexpr double kZ = 3.719;  // upper 1e-4 point of the standard normal

/// Upper kAlpha point of chi-square with df degrees of freedom (Wilson-Hilferty).
inline double ChiSquareCritical(int df) {
  const double k = df, t = 2.0 / (9 * k);
  return k * std::pow(1 - t + kZ * std::sqrt(t), 3);
}

struct Result {
  double stat, critical;
  bool ok() const { return stat < critical; }
};

/// Chi-square of integer draws against pmf on k >= support, cells merged until each expects 5.
inline Result ChiSquare(std::span<const std::int32_t> x, const std::function<double(double)>& pmf, std::int64_t support = 0) {
  const double n = static_cast<double>(x.size());
  std::int64_t hi = support;
  double cum = 0;
  std::vector<double> expect;
  while (cum < 1 - 1e-12 && hi - support < 2000000) {
    const double p = pmf(static_cast<double>(hi));
    if (p == 0 && cum > 0.5) break;  // past the end of a finite support
    expect.push_back(n * p);
    cum += p;
    ++hi;
  }
  expect.back() += n * std::max(0.0, 1 - cum);  // the last cell takes the upper tail
  std::vector<double> obs(expect.size(), 0);
  for (std::int32_t v : x) {
    const std::int64_t k = std::clamp<std::int64_t>(v, support, hi - 1);
    obs[static_cast<std::size_t>(k - support)] += 1;
  }
  std::vector<double> ce, co;
  double e = 0, o = 0;
  for (std::size_t i = 0; i < expect.size(); ++i) {
    e += expect[i];
    o += obs[i];
    if (e >= 5) {
      ce.push_back(e);
      co.push_back(o);
      e = o = 0;
    }
  }
  if (ce.empty()) return {0, 1};
  ce.back() += e;
  co.back() += o;
  double stat = 0;
  for (std::size_t i = 0; i < ce.size(); ++i) stat += (co[i] - ce[i]) * (co[i] - ce[i]) / ce[i];
  return {stat, ChiSquareCritical(std::max<int>(1, static_cast<int>(ce.size()) - 1))};
}

/// Kolmogorov-Smirnov distance of real draws to cdf, against the asymptotic kAlpha point.
inline Result KS(std::span<const double> x, const std::function<double(double)>& cdf) {
  std::vector<double> s(x.begin(), x.end());
  std::sort(s.begin(), s.end());
  const double n = static_cast<double>(s.size());
  double d = 0;
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double f = cdf(s[i]);
    d = std::max({d, f - i / n, (i + 1) / n - f});
  }
  return {d * std::sqrt(n), std::sqrt(-std::log(kAlpha / 2) / 2)};
}

inline double LnChoose(double a, double b) { return std::lgamma(a + 1) - std::lgamma(b + 1) - std::lgamma(a - b + 1); }

}  // namespace gof
