// The vector gamma distribution functions run the incomplete gamma function's series and
// fraction on registers, one copy per instruction set (plain, AVX2, AVX-512). On every copy
// the processor can run, each result must be the scalar function's bit for bit, and the gamma
// quantile must fail to converge on exactly the points where the scalar function does. The grids
// sweep the switch between series and fraction, the tails, the special values, registers mixing
// both forms, ragged lengths and results written over the arguments.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"
#include "quorel/stats/detail/gamma_block.h"
#include "quorel/stats/probabilities.h"
#include "support/support.h"
#include "stats/block_path_support.h"

namespace quorel {
namespace {


bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b)); }

TVec ToVec(const std::vector<double>& v) {
  TVec x;
  x.SetDouble(v);
  return x;
}

// The vector overload on the grid, fresh and in place, against the scalar function per element.
void ExpectScalarBits(const char* name, const std::vector<double>& grid,
                      const std::function<void(const TDenseQuorel&, TDenseQuorel&)>& vec,
                      const std::function<double(double)>& scalar) {
  std::vector<double> want(grid.size());
  for (std::size_t i = 0; i < grid.size(); ++i) want[i] = scalar(grid[i]);
  test::OnEachBlockPath([&] {
    const TVec x = ToVec(grid);
    TVec r, same = ToVec(grid);
    vec(x, r);
    vec(same, same);
    for (std::int32_t i = 0; i < x.Length(); ++i) {
      ASSERT_TRUE(SameBits(r[i], want[i])) << name << " at " << grid[i] << ": " << r[i] << " vs " << want[i];
      ASSERT_TRUE(SameBits(same[i], want[i])) << name << " in place at " << grid[i];
    }
    for (std::size_t n = 1; n <= std::min<std::size_t>(40, grid.size()); ++n) {  // ragged ends
      const TVec head = ToVec(std::vector<double>(grid.end() - n, grid.end()));
      vec(head, r);
      for (std::int32_t i = 0; i < head.Length(); ++i) ASSERT_TRUE(SameBits(r[i], want[grid.size() - n + i])) << name;
    }
  });
}

// ExpectScalarBits for F(x, args...), vector and scalar.
#define SAME_AS_SCALAR(grid, F, ...)                                                                     \
  ExpectScalarBits(#F, grid, [=](const TDenseQuorel& v, TDenseQuorel& r) { F(v, __VA_ARGS__, r); }, \
                   [=](double v) { return F(v, __VA_ARGS__); })

const double kSpecials[] = {NAN, INF, -INF, 0.0, -0.0, 1e-300, -1e-300, 1e300, -1e300};

std::vector<double> Shuffled(std::vector<double> v) {
  std::vector<double> s = v;
  std::shuffle(s.begin(), s.end(), std::mt19937(7));
  v.insert(v.end(), s.begin(), s.end());
  return v;
}

TEST(BlockPaths, NormalQuantileOfTheGammaStartIsTheScalarFunction) {
  std::vector<double> p;
  for (int i = 1; i < 20000; ++i) p.push_back(i / 20000.0);
  for (int i = -500; i <= 500; ++i) p.push_back(0.85 + i * 1e-9);  // the start value's seam
  for (int i = 1; i <= 600; ++i) p.push_back(std::pow(10.0, -300.0 * i / 600));
  for (int i = 0; i < 600; ++i) p.push_back(1 - std::ldexp(1.0, -1 - 52 * i / 600));
  for (double v : {0.0, 1.0, -0.1, 1.1, 1e-17, double(NAN), INF}) p.push_back(v);  // 2p - 1 = -1 at 1e-17
  ExpectScalarBits(
      "NormalCDFInv", Shuffled(p),
      [](const TDenseQuorel& v, TDenseQuorel& r) {
        r.Size(v, false);
        detail::NormalCdfInvBlock(v.PValues1D(0), r.PValues1D(0), v.Length(), 1, 3);
      },
      [](double v) { return NormalCDFInv(v, 1, 3); });
}

TEST(BlockPaths, GammaCdfIsTheScalarFunction) {
  for (const double a : {0.001, 0.3, 1.0, 3.2, 47.5, 3000.0, 1e5}) {
    const double b = 1.5;
    std::vector<double> x;
    const double top = 3 * b * (a + 1 + 10 * std::sqrt(a));
    for (int i = -5; i <= 5000; ++i) x.push_back(top * i / 5000);
    for (int i = -200; i <= 200; ++i) x.push_back(b * (a + 1) * (1 + i * 1e-13));  // the switch
    for (double v : kSpecials) x.push_back(v);
    SCOPED_TRACE(a);
    SAME_AS_SCALAR(Shuffled(x), GammaCDF, a, b);
  }
  std::vector<double> x;
  for (int i = 0; i <= 400; ++i) x.push_back(i / 10.0);
  SAME_AS_SCALAR(x, ChiSquareCDF, 7);
}

TEST(BlockPaths, GammaQuantileIsTheScalarFunction) {
  std::vector<double> p;
  for (int i = 1; i < 2000; ++i) p.push_back(i / 2000.0);
  for (int i = 1; i <= 300; ++i) p.push_back(std::pow(10.0, -300.0 * i / 300));
  for (int i = 0; i < 300; ++i) p.push_back(1 - std::ldexp(1.0, -1 - 52 * i / 300));
  for (double v : {0.0, -0.0, 1.0, -0.1, 1.1, double(NAN), INF}) p.push_back(v);
  for (const double a : {0.001, 0.05, 1.0, 3.2, 40.0, 2500.0}) {
    SCOPED_TRACE(a);
    SAME_AS_SCALAR(p, GammaCDFInv, a, 1.5);
  }
  SAME_AS_SCALAR(p, ChiSquareCDFInv, 5);
}

// At large shapes Newton's steps turn on the last bits of the CDF: the vector form must agree
// with the scalar function bit for bit, and raise on a point exactly when it does.
TEST(BlockPaths, GammaQuantileAtLargeShapesMatchesTheScalarFunction) {
  for (const std::int32_t nu : {100000, 200000}) {
    std::vector<double> p;
    std::vector<bool> fails;
    std::vector<double> want;
    for (int i = 1; i < 100; ++i) {
      p.push_back(i / 100.0);
      const std::string m = test::MessageOf<EQuorelException>([&] { want.push_back(ChiSquareCDFInv(p.back(), nu)); });
      fails.push_back(m == "Failed to converge!");
      if (fails.back()) want.push_back(0);
    }
    test::OnEachBlockPath([&] {
      TVec x, r;
      x.SetLength(1);
      for (std::size_t i = 0; i < p.size(); ++i) {
        x[0] = p[i];
        const std::string m = test::MessageOf<EQuorelException>([&] { ChiSquareCDFInv(x, nu, r); });
        ASSERT_EQ(m == "Failed to converge!", fails[i]) << "nu = " << nu << ", p = " << p[i] << ": " << m;
        if (!fails[i]) ASSERT_TRUE(SameBits(r[0], want[i])) << "nu = " << nu << ", p = " << p[i];
      }
    });
  }
}

TEST(BlockPaths, ParametersTheBlocksDoNotTakeRunTheScalarFunction) {
  const std::vector<double> p{0, 0.25, 0.5, 0.75, 1};
  for (const double a : {-1.0, double(NAN), 1e17}) {  // invalid, and a + 1 = a
    SAME_AS_SCALAR(p, GammaCDFInv, a, 1);
    SAME_AS_SCALAR(p, GammaCDF, a, 1);
  }
  SAME_AS_SCALAR(p, ChiSquareCDFInv, 0);
  SAME_AS_SCALAR(p, NormalCDF, 0, -1);
}

#undef SAME_AS_SCALAR

}  // namespace
}  // namespace quorel
