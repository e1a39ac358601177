// The gamma family and Bessel functions against reference values, and their special values.
#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/bessel.h"
#include "quorel/core/constants.h"
#include "quorel/core/gamma.h"

namespace quorel {
namespace {

using test::ReadReference;
using test::RelativeError;

// Tolerance for the gamma family and Bessel functions.
constexpr double kSpecialRelTol = 1e-15;

TEST(Special, PolesLimitsAndTableValues) {
  const double nans[] = {Gamma(-1), Gamma(-INF), LnGamma(NaN), SgnGamma(-INF), Fact(-1), BesselJ0(NaN)};
  for (const double& v : nans) EXPECT_TRUE(std::isnan(v)) << "entry " << &v - nans;
  const double exact[][2] = {
      {Gamma(0.0), INF},     {Gamma(-0.0), -INF},     {Gamma(INF), INF},        {Gamma(171.7), INF},
      {LnGamma(0.0), INF},   {LnGamma(-3), INF},      {LnGamma(1), 0},          {LnGamma(2), 0},
      {LnGamma(1e308), INF}, {SgnGamma(0.5), 1},      {SgnGamma(-0.5), -1},     {SgnGamma(-2.5), -1},
      {SgnGamma(-0.0), -1},  {SgnGamma(-1), -1},     {SgnGamma(-2), 1},        {SgnGamma(-3), -1},
      {Fact(0), 1},            {Fact(20), 2432902008176640000.0}, {Fact(171), INF},
      {BesselJ0(0), 1},      {BesselI0(0), 1},        {BesselJ0(INF), 0},       {BesselI0(-INF), INF},
      {BesselI0(714), INF}};
  for (const auto& e : exact) EXPECT_EQ(e[0], e[1]) << "entry " << &e - exact;
  EXPECT_TRUE(Gamma(MAXGAM) < INF && LnGamma(MAXLGM) < INF);
  EXPECT_TRUE(Gamma(-300.5) == 0 && std::signbit(Gamma(-300.5)));  // underflows keeping the sign of Gamma
  EXPECT_FALSE(std::signbit(Gamma(-301.5)));
  // Factorials past the exact table, and Gamma in closed form and next to a pole, where
  // Gamma(-n + e) ~ (-1)^n / (n! e) with a next term of relative size e.
  const double close[][2] = {
      {Fact(30), 265252859812191058636308480000000.0}, {Fact(31), 8222838654177922817725562880000000.0},
      {Fact(170), 7.257415615307998967e306}, {Gamma(0.5), SQRTPI}, {Gamma(-0.5), -2 * SQRTPI}, {Gamma(1e-300), 1e300}};
  for (const auto& e : close) EXPECT_LE(RelativeError(e[0], e[1]), kSpecialRelTol) << "entry " << &e - close;
  EXPECT_LE(RelativeError(Gamma(-3 + 0x1p-40), -1 / (6 * 0x1p-40)), 1e-11);
  // Sign and log magnitude recombine to Gamma.
  for (double x : {-7.25, -2.5, -0.3, 0.7, 5.5, 30.1})
    EXPECT_LE(RelativeError(SgnGamma(x) * std::exp(LnGamma(x)), Gamma(x)), 1e-13) << x;
}

TEST(Bessel, SymmetryAndBothSidesOfEachSwitch) {
  for (double x : {0.3, 2.404825557695773, 17.5, 80.0, 1234.5})
    EXPECT_TRUE(BesselJ0(-x) == BesselJ0(x) && BesselI0(-x) == BesselI0(x)) << x;
  // Both sides of the switches between series, Taylor and asymptotic forms (mpmath values).
  const struct { double (*f)(double); double x, want; } sides[] = {
      {BesselJ0, 0x1.3333333333332p+0, 0.6711327442643628}, {BesselJ0, 0x1.3333333333333p+0, 0.6711327442643626},
      {BesselJ0, 0x1.3ffffffffffffp+6, -0.06974216551221082}, {BesselJ0, 80.0, -0.06974216551221002},
      {BesselI0, 0x1.3ffffffffffffp+5, 1.4894774793419796e+16}, {BesselI0, 40.0, 1.48947747934199e+16}};
  for (const auto& s : sides) EXPECT_LE(RelativeError(s.f(s.x), s.want), kSpecialRelTol) << s.x;
}

// ln Gamma is well conditioned at its zeros (x psi(x) / ln Gamma(x) stays near 1), so its relative
// error must stay small as the value goes to zero (mpmath values at these doubles): at 1 and 2,
// and at the negative zeros, the nearest doubles included, up to those a few ulps from -16.
TEST(Special, LnGammaRelativeNearItsZeros) {
  const double cases[][2] = {
      {-2.4570247382208006, 5.6191923589500965e-17}, {-2.7476826467274127, 1.7335092440245009e-16},
      {-3.14358088834998, 1.6978655906121084e-15},   {-4.991544640560048, 1.7683619350849613e-14},
      {-7.000198333407325, -1.263203743493977e-12},  {-12.000000002087676, -5.8546199921133732e-8},
      {-15.999999999999952, -0.0034851246475472554}, {-2.4570247382208, 7.2925506126747033e-16},
      {-5.0082, 0.002243731795360634},               {-2.503, -0.059510258665499424},
      {1.0000000001, -5.772157125783244e-11},    {0.9999999999, 5.7721571274281784e-11},
      {1.0001, -5.7713342220471268e-5},          {0.999, 0.00057803853289138024},
      {2.0000000001, 4.2278437011204659e-11},    {1.9999999999, -4.2278437004755317e-11},
      {1.999999999999999, -4.6938490327715552e-16}, {1.999, -0.00042246180069210728},
      {2.001, 0.00042310673480011699},           {1.4616321449683622, -0.12148629053584961},
      {0.5, 0.57236494292470009},                {2.5, 0.28468287047291916}};
  for (const auto& c : cases) EXPECT_LE(RelativeError(LnGamma(c[0]), c[1]), kSpecialRelTol) << c[0];
  // Monotone across the ends of the expansion about 2 (increasing from the minimum near 1.4616).
  for (double edge : {0.5, 1.5, 2.5}) {
    double below = std::nextafter(edge, 0.0), above = std::nextafter(edge, 3.0);
    if (edge == 0.5) EXPECT_TRUE(LnGamma(below) >= LnGamma(edge) && LnGamma(edge) >= LnGamma(above));
    else EXPECT_TRUE(LnGamma(below) <= LnGamma(edge) && LnGamma(edge) <= LnGamma(above)) << edge;
  }
}

TEST(SpecialAccuracy, RelativeErrorAtMostOneE15) {
  const std::map<std::string, double (*)(double)> fns = {
      {"Gamma", Gamma}, {"LnGamma", LnGamma}, {"BesselJ0", BesselJ0}, {"BesselI0", BesselI0}};
  auto ref = ReadReference("scalar_special.txt");
  ASSERT_EQ(ref.size(), fns.size()) << "reference file missing or incomplete";
  for (const auto& [name, rows] : ref) {
    double worst = 0;
    for (const auto& r : rows) {
      double x = r[0], want = r[1], got = fns.at(name)(x);
      double err = RelativeError(got, want);
      worst = std::max(worst, err);
      EXPECT_LE(err, kSpecialRelTol) << name << "(" << x << ") = " << got << ", want " << want;
    }
    std::printf("%-8s %4zu points, max relative error %.3g\n", name.c_str(), rows.size(), worst);
  }
}

}  // namespace
}  // namespace quorel
