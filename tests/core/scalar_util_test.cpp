// Rounding, remainders, signs, integer helpers and range clamps.
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/constants.h"
#include "quorel/core/scalar_util.h"

namespace quorel {
namespace {

using test::UlpDistance;

TEST(ScalarUtil, PowersOfTwo) {
  for (int k = 1; k < 62; ++k) {
    const std::int64_t p = std::int64_t{1} << k;
    EXPECT_TRUE(LargestExp2(p) == p && LargestExp2(p + 1) == 2 * p) << k;
    EXPECT_TRUE(LargestLog2(p) == k && LargestLog2(p - 1) == k - 1) << k;
  }
  EXPECT_EQ(LargestExp2(0), 2);  // at least 2
  EXPECT_EQ(LargestLog2(-8), 0);
}

TEST(ScalarUtil, RemaindersAndSignsFollowTheDividend) {
  // The exact values 7 - 2pi and 100 - 30pi, rounded once; no folding into (-pi, pi].
  EXPECT_LE(UlpDistance(FixAngle(7), 0.71681469282041352307), 1u);
  EXPECT_LE(UlpDistance(FixAngle(-7), -0.71681469282041352307), 1u);
  EXPECT_LE(UlpDistance(FixAngle(100), 5.7522203923062028461), 1u);
  EXPECT_EQ(FixAngle(-4), -4);
  EXPECT_TRUE(std::isnan(FixAngle(INF)));
  EXPECT_EQ(Rem(-7, 3), -1);
  EXPECT_EQ(Rem(7, -3), 1);
  EXPECT_EQ(Rem(-5.5, 2), -1.5);
  EXPECT_TRUE(std::isnan(Rem(1, 0)));
  // Signs: Sign(a, b) is |b| with the sign of a; Sgn of zero and NaN is 0.
  EXPECT_TRUE(Sign(-2, 5) == -5 && Sign(0, -5) == 5 && Sign(3, -5) == 5);
  EXPECT_TRUE(Sgn(2.5) == 1 && Sgn(-0.1) == -1 && Sgn(-0.0) == 0 && Sgn(NaN) == 0);
}

TEST(ScalarUtil, GcdAndLcm) {
  EXPECT_EQ(Gcd(-12, 18), 6);
  EXPECT_TRUE(Gcd(0, 7) == 7 && Gcd(7, 0) == 7 && Gcd(0, 0) == 0);
  EXPECT_EQ(Gcd(2147483647, 2147483646), 1);  // large quotients stay exact
  EXPECT_EQ(Gcd(2147483646, 1073741823), 1073741823);
  EXPECT_EQ(Gcd(std::numeric_limits<std::int32_t>::min(), 0), std::int64_t{1} << 31);
  EXPECT_EQ(Lcm(-4, 6), -12);  // the sign of a*b is kept
  EXPECT_TRUE(Lcm(0, 5) == 0 && Lcm(0, 0) == 0);
  EXPECT_EQ(Lcm(2147483647, 2147483646), std::int64_t{2147483647} * 2147483646);
}

TEST(ScalarUtil, TruncationsSaturate) {
  EXPECT_EQ(TruncDiv(-17, 5), -15);
  EXPECT_EQ(TruncDiv(17, 0), 0);
  EXPECT_EQ(TruncDiv(-17.5, 5.0), -15.0);
  double frac = 0;
  EXPECT_EQ(TruncAndFrac(-3.75, frac), -3);
  EXPECT_EQ(frac, -0.75);
  EXPECT_EQ(TruncAndFrac(1e20, frac), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(TruncAndFrac(NaN, frac), 0);
  EXPECT_TRUE(std::isnan(frac));
  EXPECT_EQ(TruncDiv(std::numeric_limits<std::int64_t>::min(), std::int64_t{-1}),
            std::numeric_limits<std::int64_t>::min());
}

TEST(ScalarUtil, CeilAndFloorStayReal) {
  static_assert(std::is_same_v<decltype(Ceil(1.5)), double> && std::is_same_v<decltype(Floor(1.5)), double>);
  EXPECT_TRUE(Ceil(-2.1) == -2 && Floor(-2.1) == -3 && Floor(2.0) == 2);
  EXPECT_EQ(Ceil(4503599627370495.5), 4503599627370496.0);
  EXPECT_TRUE(Floor(1e300) == 1e300 && Ceil(-1e20) == -1e20);  // no clipping to an integer range
  EXPECT_TRUE(Ceil(-INF) == -INF && Floor(INF) == INF);
  EXPECT_TRUE(std::isnan(Floor(NaN)) && std::isnan(Ceil(NaN)));
  EXPECT_TRUE(std::signbit(Ceil(-0.5)));
}

TEST(ScalarUtil, RangeChecksTestLowBoundFirstAndPassNaN) {
  EXPECT_EQ(EnsureRange(0, 5, 3), 3);
  EXPECT_EQ(EnsureRange(4, 2, 3), 4);
  EXPECT_TRUE(std::isnan(EnsureRange(0.0, NaN, 1.0)));
  EXPECT_TRUE(CheckRange(1.0, 1.0, 2.0) && CheckRange(1.0, 2.0, 2.0));
  EXPECT_FALSE(CheckRange(1.0, NaN, 2.0));
  EXPECT_FALSE(CheckRange(1, 3, 2));
  double v = -1;
  LimitRange(0.0, v, 1.0);
  EXPECT_EQ(v, 0.0);
  std::int32_t i = 9;
  LimitRange(0, i, 5);
  EXPECT_EQ(i, 5);
}

// Plain literals mixed with other types: a real argument selects the double form, integers the
// widest integer form, so nothing is truncated or wrapped on the way in.
TEST(ScalarUtil, MixedArgumentsPickTheDoubleOrWidestIntegerForm) {
  const double x = -2.5;
  const int n = 7;
  const std::int64_t big = std::int64_t{1} << 40;
  static_assert(std::is_same_v<decltype(Max(x, 0)), double> && std::is_same_v<decltype(Min(1, x)), double>);
  static_assert(std::is_same_v<decltype(EnsureRange(0, x, 1)), double>);
  static_assert(std::is_same_v<decltype(TruncDiv(x, 2)), double>);
  static_assert(std::is_same_v<decltype(Max(n, 0)), std::int32_t>);
  static_assert(std::is_same_v<decltype(Min(big, n)), std::int64_t>);
  EXPECT_EQ(Min(1, x), -2.5);
  EXPECT_EQ(Min(1, 0.5f), 0.5);
  EXPECT_EQ(Max(0.25, 0), 0.25);
  EXPECT_EQ(EnsureRange(0, 0.25, 1), 0.25);
  EXPECT_TRUE(CheckRange(1, n, 10) && !CheckRange(1, 0.5, 10) && CheckRange(0, 0.5, 1));
  EXPECT_EQ(TruncDiv(x, 2), -2.0);
  EXPECT_EQ(Max(big, 0), big);
  EXPECT_EQ(Min(-big, n), -big);
  EXPECT_FALSE(CheckRange(0, big, 1));
  EXPECT_EQ(EnsureRange(0, big + 5, big), big);
  EXPECT_EQ(TruncDiv(big + 3, 2), big + 2);
  EXPECT_EQ(Max(-1, 3u), 3);  // not compared as unsigned
  EXPECT_EQ(Min(std::int16_t{-4}, 2), -4);
  std::int64_t v = -big;
  LimitRange(0, v, 1);
  EXPECT_EQ(v, 0);
}

TEST(ScalarUtil, FreeAndNilClearsBeforeDeleting) {
  struct Probe {
    Probe** owner;
    ~Probe() { EXPECT_EQ(*owner, nullptr); }
  };
  Probe* p = nullptr;
  p = new Probe{&p};
  FreeAndNil(p);
  EXPECT_EQ(p, nullptr);
  FreeAndNil(p);  // null is accepted
}

}  // namespace
}  // namespace quorel
