// The block error function is built once per instruction set (plain, AVX2, AVX-512); each copy
// the processor can run must give the scalar values. The normal quantile evaluates erf once per
// point and takes the second step's erf from a Taylor expansion, valid only because the start
// value is good: the grids sweep the start's two branches and their seam at |2p - 1| = 0.7, the
// far tails, the neighbourhood of p = 1/2 (relative accuracy of tiny results), and registers
// mixing the small-argument series with the Chebyshev one.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <random>
#include <vector>

#include "quorel/core/constants.h"
#include "quorel/stats/detail/erf_block.h"
#include "quorel/stats/detail/prob_core.h"
#include "quorel/stats/probabilities.h"
#include "support/support.h"
#include "stats/block_path_support.h"

namespace quorel {
namespace {


std::vector<double> QuantileGrid() {
  std::vector<double> p;
  for (int i = 1; i < 200000; ++i) p.push_back(i / 200000.0);              // the whole range
  for (int i = -3000; i <= 3000; ++i) p.push_back(0.85 + i * 1e-9);        // seam, upper
  for (int i = -3000; i <= 3000; ++i) p.push_back(0.15 + i * 1e-9);        // seam, lower
  for (int i = 1; i <= 3000; ++i) p.push_back(std::pow(10.0, -300.0 * i / 3000));  // lower tail
  for (int i = 0; i < 3000; ++i) p.push_back(1 - std::ldexp(1.0, -1 - 52 * i / 3000));  // upper
  for (int i = 1; i < 3000; ++i) p.push_back(0.5 + std::ldexp(i % 2 ? 1.0 : -1.0, -i / 60 - 2));
  return p;
}

// The prescribed iteration carried out in long double from the double start value. The scalar
// route is no reference here: its erf (through the incomplete gamma function) is off by up to a
// few dozen ulps for tiny arguments, and the iteration passes that on.
long double Quantile(double p, double sigma) {
  const double y = 2.0 * p - 1.0, ay = std::fabs(y);
  if (ay == 1.0) return NormalCDFInv(p, 0.0, sigma);  // the special values, checked below
  long double x = detail::ErfInvStart(y, ay > 0.7 ? std::log((1.0 - ay) / 2.0) : 0.0);
  for (int i = 0; i < 2; ++i) x -= (std::erf(x) - y) / (1.1283791670955125739L * std::exp(x * x));
  return 1.4142135623730950488L * sigma * x;
}

TEST(ErfPaths, NormalQuantileIsThePrescribedIterationOnEveryPath) {
  std::vector<double> p = QuantileGrid();
  std::vector<double> shuffled = p;  // registers that mix the series
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
  p.insert(p.end(), shuffled.begin(), shuffled.end());
  const std::int32_t n = static_cast<std::int32_t>(p.size());
  std::vector<long double> want(n);
  std::vector<double> got(n);
  for (std::int32_t i = 0; i < n; ++i) want[i] = Quantile(p[i], 3.0);
  test::OnEachBlockPath([&] {
    detail::ErfNormalCdfInvBlock(p.data(), got.data(), n, 0.0, 3.0);
    double worst = 0;
    for (std::int32_t i = 0; i < n; ++i) {
      const double e = test::UlpError(got[i], want[i]);
      worst = std::max(worst, e);
      ASSERT_LE(e, 8.0) << "p = " << p[i] << ": " << got[i] << " vs " << static_cast<double>(want[i]);
    }
    std::printf("  normal quantile: worst %.2f ulp\n", worst);
  });
}

TEST(ErfPaths, NormalQuantileSpecialValuesRaggedLengthsAndInPlace) {
  const std::vector<double> in = {0.5, 0, 1, -0.1, 1.1, NAN, 1e-17, INF, -INF, 0.3, 0.999, 1e-300, 0.7};
  test::OnEachBlockPath([&] {
    for (std::int32_t n = 1; n <= static_cast<std::int32_t>(in.size()); ++n) {
      std::vector<double> r(in.begin(), in.begin() + n);
      detail::ErfNormalCdfInvBlock(r.data(), r.data(), n, 2.0, 1.5);  // in place
      for (std::int32_t i = 0; i < n; ++i) {
        const double want = NormalCDFInv(in[i], 2.0, 1.5);
        if (std::isnan(want)) {
          EXPECT_TRUE(std::isnan(r[i])) << in[i];
        } else {
          EXPECT_LE(test::UlpDistance(r[i], want), 16u) << in[i] << ": " << r[i] << " vs " << want;
        }
      }
    }
  });
}

// Within the scalar route's own error: a few hundred ulps in the lower tail, from the rounding of
// z^2 inside the incomplete gamma function (the accuracy test holds both forms to the references).
TEST(ErfPaths, NormalCdfMatchesScalarOnEveryPath) {
  std::vector<double> x;
  for (int i = 0; i <= 40000; ++i) x.push_back(-38.0 + 47.0 * i / 40000);  // both erf branches
  x.insert(x.end(), {NAN, -INF, INF});
  const std::int32_t n = static_cast<std::int32_t>(x.size());
  test::OnEachBlockPath([&] {
    for (std::int32_t s = 0; s < n; s += detail::kErfBlock) {
      const std::int32_t m = std::min(detail::kErfBlock, n - s);
      std::vector<double> r(m);
      for (std::int32_t i = 0; i < m; ++i) r[i] = x[s + i] * SQRT2DIV2;  // as NormalCDF(X, 0, 1)
      detail::ErfNormalCdfBlock(r.data(), r.data(), m);
      for (std::int32_t i = 0; i < m; ++i) {
        const double z = x[s + i] * SQRT2DIV2, want = NormalCDF(x[s + i], 0.0, 1.0);
        if (!(std::fabs(z) < INF)) {
          ASSERT_TRUE(r[i] == want || (std::isnan(r[i]) && std::isnan(want))) << x[s + i];
          continue;
        }
        ASSERT_LE(test::UlpDistance(r[i], want), 64 + 3 * z * z) << x[s + i];
      }
    }
  });
}

}  // namespace
}  // namespace quorel
