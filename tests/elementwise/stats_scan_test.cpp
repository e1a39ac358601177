// Median, moments, complex extremes, First/Last, Find and tolerance equality.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "quorel/elementwise/statistics.h"
#include "support/support.h"

namespace quorel {
namespace {

using test::Cplx;
using test::MessageOf;
using test::Real;

TEST(Median, OddEvenEmptyAndUntouched) {
  TVec a = Real({3, 1, 2});
  EXPECT_EQ(a.Median(), 2);
  EXPECT_EQ(a[0], 3);  // Self keeps its order
  EXPECT_TRUE(std::isnan(Real({}).Median()));
  EXPECT_EQ(Real({9, 5, 1, 7, 3}).Median(1, 3), 5);
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Cplx({{1, 1}}).Median(); }), "Complex = True");
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

// NaN sorts last: the median is the middle of the sorted copy whatever the input order.
TEST(Median, NanSortsLastInEveryOrder) {
  for (const TVec& v : {Real({NaN, 1, 2}), Real({1, NaN, 2}), Real({2, 1, NaN})}) EXPECT_EQ(v.Median(), 2) << v[2];
  EXPECT_EQ(Real({NaN, 3, 1, 2}).Median(), 2.5);  // also the mean of the middle pair
  EXPECT_TRUE(std::isnan(Real({1, NaN, NaN, 2}).Median()));
  EXPECT_TRUE(std::isnan(Real({NaN, 1, NaN}).Median()));
  std::vector<double> x = {7, 6, 2, 8, NaN, 0, 2, 8, 0, 9, 7, NaN};  // sorted middle pair: 7, 7
  std::mt19937 rng(5);
  for (int trial = 0; trial < 20; ++trial) {
    std::shuffle(x.begin(), x.end(), rng);
    EXPECT_EQ(TVec().SetDouble(x).Median(), 7);
  }
}

// References: exact rational arithmetic on the doubles given (mean 5.3 and the sample StdDev).
TEST(Moments, AgainstExactValues) {
  const TVec x = Real({2, 4, 4, 4, 5, 5, 7, 9, 1, 12});
  EXPECT_NEAR(x.Skewness(5.3, 3.2676869155073254), 0.9324106933946175, 1e-13 * 0.9324106933946175);
  EXPECT_NEAR(x.Kurtosis(5.3, 3.2676869155073254), 0.7908042001365271, 1e-13 * 0.7908042001365271);
  EXPECT_TRUE(std::isnan(Real({1, 2}).Skewness(1.5, 1)));
  EXPECT_TRUE(std::isnan(Real({1, 2, 3}).Kurtosis(2, 1)));
  EXPECT_EQ(Real({1, 1, 1, 1}).Skewness(1, 0), INF);
  EXPECT_EQ(Real({1, 1, 1, 1}).Kurtosis(1, 0), INF);
}

// A subnormal StdDev: its reciprocal overflows, the quotients do not. References: mpmath at 300
// bits on the exact doubles, with mean 1.75e-310 and StdDev 3e-310 as given.
TEST(Moments, SubnormalStdDev) {
  const TVec x = Real({1e-310, -2e-310, 3e-310, 5e-310});
  EXPECT_NEAR(x.Skewness(1.75e-310, 3e-310), -0.4166666666666422, 1e-15);
  EXPECT_NEAR(x.Kurtosis(1.75e-310, 3e-310), -0.6572788065843964, 1e-14);
}

TEST(ComplexExtremes, ModulusThenPhase) {
  EXPECT_EQ(Cplx({{0, 1}, {1, 0}}).Maxc(), (TCplx{0, 1}));
  TCplx v;
  std::int32_t i;
  Cplx({{1, 0}, {0, 1}}).Max(v, i);
  EXPECT_TRUE(v == (TCplx{0, 1}) && i == 1) << i;
  EXPECT_EQ(Cplx({{0, -1}, {1, 0}}).Maxc(), (TCplx{1, 0}));
  Cplx({{2, 2}, {-1, 0}, {1, 0}}).Min(v, i);
  EXPECT_TRUE(v == (TCplx{1, 0}) && i == 2) << i;  // equal moduli: the smaller phase
  Cplx({{3, 0}, {3, 0}}).Max(v, i);
  EXPECT_EQ(i, 0);  // exact duplicates keep the first
  Cplx({}).Max(v, i);
  EXPECT_TRUE(i == -1 && std::isnan(v.Re)) << i;
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Real({1}).Maxc(); }), "Complex = False");
}

TEST(FirstLast, ValuesAndMessages) {
  EXPECT_EQ(Real({4, 5, 6}).First(), 4);
  EXPECT_EQ(Real({4, 5, 6}).Last(), 6);
  EXPECT_EQ(Cplx({{1, 2}, {3, 4}}).Lastc(), (TCplx{3, 4}));
  EXPECT_EQ(MessageOf<EQuorelRangeError>([] { Real({}).First(); }), "TQuorel.First: fLength = 0");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([] { Real({}).Last(); }), "TQuorel.Last: fLength = 0");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([] { Cplx({}).Firstc(); }), "TQuorel.Firstc: fLength = 0");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([] { Cplx({}).Lastc(); }), "TQuorel.Lastc: fLength = 0");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Cplx({{1, 1}}).First(); }), "TQuorel.First: Complex!");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([] { Real({1}).Firstc(); }), "TQuorel.Firstc: not Complex!");
}

TEST(Find, SpecialValues) {
  EXPECT_EQ(Real({1, NaN, NaN}).Find(NaN), 1);
  EXPECT_EQ(Real({1, 3}).Find(2), -1);
  EXPECT_EQ(Real({1, -INF, INF}).Find(INF), 1);  // an infinity of either sign
  EXPECT_EQ(Real({INF, 2}).Find(2), 1);
  EXPECT_EQ(Cplx({{1, 1}, {2, 0}}).Find(2.0), 1);
  EXPECT_EQ(Cplx({{1, NaN}, {2, 0}}).Find(TCplx{NaN, 0}), 0);
}

TEST(IsEqual, AbsoluteRelativeAndFlags) {
  TVec a = Real({1000, 1e-20}), b = Real({1000.9, 2e-20});
  a.SetZeroTolerance(1e-15);
  EXPECT_TRUE(a.IsEqual(b, 1e-3, cmpRelative));
  EXPECT_FALSE(a.IsEqual(b, 1e-4, cmpRelative));
  EXPECT_FALSE(a.IsEqual(b, 0.5, cmpAbsolute));
  EXPECT_TRUE(a.IsEqual(b, 0.9, cmpAbsolute));
  EXPECT_TRUE(a.Equal(b, 0.9));
  EXPECT_FALSE(Real({1, 2}).IsEqual(Cplx({{1, 2}})));  // kinds differ
  TVec c = Cplx({{1, 2}, {3, 4}}), d = Cplx({{1.4, 2.4}, {3, 4}});
  EXPECT_TRUE(c.IsEqual(d, 0.5, cmpAbsolute));  // parts compared, not moduli
  EXPECT_FALSE(c.IsEqual(d, 0.3, cmpAbsolute));
  EXPECT_TRUE(Real({1, 2}).IsEqual(Real({1, 2 + 1e-15})));  // ten MACHEP by default
  EXPECT_FALSE(Real({1, 2}).IsEqual(Real({1, 2, 3})));
  EXPECT_TRUE(Real({NaN, INF}).IsEqual(Real({NaN, -INF}), 0.1, cmpRelative));
  EXPECT_FALSE(Real({NaN}).IsEqual(Real({NaN}), 0.1, cmpAbsolute));
  EXPECT_TRUE(Real({1, 2, 3}).IsEqual(Real({5, 2, 3}), 1, 1, 2, 0, cmpAbsolute));
  EXPECT_TRUE(Real({3, 3}).IsEqual(3.0));
  EXPECT_TRUE(Cplx({{3, 1}}).IsEqual(TCplx{3, 1}));
  TVec ints = Real({1, 2});
  ints.SetIsInteger(true);
  EXPECT_FALSE(ints.IsEqual(Real({1, 2})));
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(FreeFunctions, ForwardAndPrime) {
  TVec x = test::Real({1, 2, 3, 10});
  EXPECT_EQ(Sum(x), 16);
  EXPECT_EQ(Mean(x, 0, 3), 2);
  EXPECT_EQ(Median(x), 2.5);
  EXPECT_EQ(Max(x), 10);
  EXPECT_EQ(Find(x, 3.0), 2);
  EXPECT_TRUE(Equal(x, test::Real({1, 2, 3, 10.5}), 0.5));
  EXPECT_DOUBLE_EQ(NormL2(x, test::Real({1, 2, 3, 0}), false), 10);
  for (int n : {1, -8, 3, 97, 7919}) EXPECT_TRUE(Prime(n)) << n;
  for (int n : {4, 7917}) EXPECT_FALSE(Prime(n)) << n;  // 7917 = 3 * 7 * 13 * 29
}

}  // namespace
}  // namespace quorel
