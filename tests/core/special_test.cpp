// Special values of the gamma family, factorials and the Bessel functions.
#include <cmath>

#include <gtest/gtest.h>

#include "accuracy.h"
#include "quorel/core/bessel.h"
#include "quorel/core/constants.h"
#include "quorel/core/gamma.h"

namespace quorel {
namespace {

using test::kSpecialRelTol;
using test::RelativeError;

TEST(Gamma, PolesAndLimits) {
  EXPECT_EQ(Gamma(0.0), INF);
  EXPECT_EQ(Gamma(-0.0), -INF);
  EXPECT_TRUE(std::isnan(Gamma(-1)));
  EXPECT_TRUE(std::isnan(Gamma(-1e300)));
  EXPECT_TRUE(std::isnan(Gamma(-INF)));
  EXPECT_EQ(Gamma(INF), INF);
  EXPECT_EQ(Gamma(171.7), INF);
  EXPECT_LT(Gamma(MAXGAM), INF);
  EXPECT_EQ(Gamma(-300.5), 0);
  EXPECT_TRUE(std::signbit(Gamma(-300.5)));  // underflows keeping the sign of Gamma
  EXPECT_FALSE(std::signbit(Gamma(-301.5)));
  EXPECT_EQ(LnGamma(0.0), INF);
  EXPECT_EQ(LnGamma(-3), INF);
  EXPECT_EQ(LnGamma(-INF), INF);
  EXPECT_EQ(LnGamma(1), 0);
  EXPECT_EQ(LnGamma(2), 0);
  EXPECT_LT(LnGamma(MAXLGM), INF);
  EXPECT_EQ(LnGamma(1e308), INF);
  EXPECT_TRUE(std::isnan(LnGamma(NaN)));
}

TEST(Gamma, SignAlternatesBetweenPoles) {
  EXPECT_EQ(SgnGamma(0.5), 1);
  EXPECT_EQ(SgnGamma(-0.5), -1);
  EXPECT_EQ(SgnGamma(-1.5), 1);
  EXPECT_EQ(SgnGamma(-2.5), -1);
  EXPECT_EQ(SgnGamma(-0.0), -1);
  EXPECT_TRUE(std::isnan(SgnGamma(-2)));
  // Sign and log magnitude recombine to Gamma.
  for (double x : {-7.25, -2.5, -0.3, 0.7, 5.5, 30.1}) {
    EXPECT_LE(RelativeError(SgnGamma(x) * std::exp(LnGamma(x)), Gamma(x)), 1e-13) << x;
  }
}

TEST(Gamma, ClosedFormsAndRecurrenceNearPoles) {
  EXPECT_LE(RelativeError(Gamma(0.5), SQRTPI), kSpecialRelTol);
  EXPECT_LE(RelativeError(Gamma(-0.5), -2 * SQRTPI), kSpecialRelTol);
  EXPECT_LE(RelativeError(Gamma(1e-300), 1e300), kSpecialRelTol);
  // Gamma(-n + e) ~ (-1)^n / (n! e) near the pole -n; the next term is of relative size e.
  EXPECT_LE(RelativeError(Gamma(-3 + 0x1p-40), -1 / (6 * 0x1p-40)), 1e-11);
}

TEST(Fact, TableAboveAndOutOfRange) {
  EXPECT_TRUE(std::isnan(Fact(-1)));
  EXPECT_EQ(Fact(171), INF);
  EXPECT_EQ(Fact(0), 1);
  EXPECT_EQ(Fact(1), 1);
  EXPECT_EQ(Fact(20), 2432902008176640000.0);
  EXPECT_EQ(Fact(25), 15511210043330985984000000.0);
  EXPECT_LE(RelativeError(Fact(30), 265252859812191058636308480000000.0), kSpecialRelTol);
  EXPECT_LE(RelativeError(Fact(31), 8222838654177922817725562880000000.0), kSpecialRelTol);
  EXPECT_LE(RelativeError(Fact(170), 7.257415615307998967e306), kSpecialRelTol);
}

TEST(Bessel, ValuesAtZeroSymmetryAndInfinity) {
  EXPECT_EQ(BesselJ0(0), 1);
  EXPECT_EQ(BesselI0(0), 1);
  EXPECT_EQ(BesselJ0(INF), 0);
  EXPECT_EQ(BesselI0(-INF), INF);
  EXPECT_EQ(BesselI0(714), INF);
  EXPECT_TRUE(std::isnan(BesselJ0(NaN)));
  for (double x : {0.3, 2.404825557695773, 17.5, 80.0, 1234.5}) {
    EXPECT_EQ(BesselJ0(-x), BesselJ0(x));
    EXPECT_EQ(BesselI0(-x), BesselI0(x));
  }
  // Both sides of the switches between series, Taylor and asymptotic forms (mpmath values).
  const struct { double (*f)(double); double x, want; } sides[] = {
      {BesselJ0, 0x1.3333333333332p+0, 0.6711327442643628}, {BesselJ0, 0x1.3333333333333p+0, 0.6711327442643626},
      {BesselJ0, 0x1.3ffffffffffffp+6, -0.06974216551221082}, {BesselJ0, 80.0, -0.06974216551221002},
      {BesselI0, 0x1.3ffffffffffffp+5, 1.4894774793419796e+16}, {BesselI0, 40.0, 1.48947747934199e+16}};
  for (const auto& s : sides) EXPECT_LE(RelativeError(s.f(s.x), s.want), kSpecialRelTol) << s.x;
}

}  // namespace
}  // namespace quorel
