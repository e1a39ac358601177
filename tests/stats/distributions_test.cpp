// Scalar distribution functions: special values and deliberate quirks, the NaN rules on grids,
// the raised messages, and consistency between PDF, CDF and inverse of each family.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "quorel/core/constants.h"
#include "quorel/core/errors.h"
#include "quorel/stats/probabilities.h"
#include "support/support.h"

namespace quorel {
namespace {


constexpr double kMax = std::numeric_limits<double>::max();

// NaN equals NaN; infinities compare with their sign.
bool Same(double a, double b, double tol) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  if (std::isinf(a) || std::isinf(b)) return a == b;
  return std::fabs(a - b) <= tol;
}

struct Case { const char* what; double got, want, tol = 0.0; };

void CheckCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) EXPECT_TRUE(Same(c.got, c.want, c.tol)) << c.what << ": got " << c.got << ", want " << c.want;
}

TEST(Distributions, SpecialValuesAndQuirks) {
  CheckCases({
      {"BetaCDF(0, 2, 3)", BetaCDF(0, 2, 3), 0}, {"BetaCDF(1, 2, 3)", BetaCDF(1, 2, 3), 1},
      {"BetaCDF(-0.5, 2, 3) is 0, not NaN", BetaCDF(-0.5, 2, 3), 0}, {"BetaPDF(0, 0.5, 2)", BetaPDF(0, 0.5, 2), INF},
      {"BetaPDF(0, 1, 3) = b", BetaPDF(0, 1, 3), 3, 1e-14}, {"ErfInv(1)", ErfInv(1), kMax},
      {"NormalCDFInv(0, 0, 1): +INF at the lower end too", NormalCDFInv(0, 0, 1), INF},
      {"NormalCDFInv(0.5, 3, 2)", NormalCDFInv(0.5, 3, 2), 3},
      {"GammaCDFInv(1, a, b) = 1, not INF", GammaCDFInv(1, 2.5, 3), 1},
      {"ChiSquareCDFInv(0, 3)", ChiSquareCDFInv(0, 3), 0}, {"GammaPDF(0, 0.5, 1)", GammaPDF(0, 0.5, 1), INF},
      {"GammaPDF(0, -1, 1): the INF rule comes before the NaN rule", GammaPDF(0, -1, 1), INF},
      {"GammaPDF(0, 1, 4) = 1/b", GammaPDF(0, 1, 4), 0.25},
      {"BinomCDFInv(0.5, 10, 0.5): the sum at the stop", BinomCDFInv(0.5, 10, 0.5), 0.623046875, 1e-15},
      {"BinomPDF(2.5, 4, 0.25): not whole", BinomPDF(2.5, 4, 0.25), 0},
      {"BinomCDF(2.5, 4, 0.25): not whole gives 0", BinomCDF(2.5, 4, 0.25), 0},
      {"GeometricCDF(3, 1) = 0, deliberately", GeometricCDF(3, 1), 0}, {"GeometricCDF(0, 1)", GeometricCDF(0, 1), 1},
      {"GeometricCDFInv(0.5, 0.5)", GeometricCDFInv(0.5, 0.5), 1},
      {"TriangularPDF(-1, 0, 2, 1): NaN outside the support", TriangularPDF(-1, 0, 2, 1), NaN},
      {"TriangularPDF(0, 0, 2, 0): mode at the lower end", TriangularPDF(0, 0, 2, 0), 1},
      {"TriangularCDFInv(0.1, 0, 1, 0.5), rising side", TriangularCDFInv(0.1, 0, 1, 0.5), std::sqrt(0.05), 1e-15},
      {"TriangularCDFInv(0.9, 0, 1, 0.5), falling side", TriangularCDFInv(0.9, 0, 1, 0.5), 1 - std::sqrt(0.05), 1e-15},
      {"PoissonCDFInv(1, 2): p = 1 is NaN", PoissonCDFInv(1, 2), NaN},
      {"PoissonCDFInv(0.5, 1000): e^-lambda underflows", PoissonCDFInv(0.5, 1000), 1000},
      {"PoissonPDF(-3, 2) = lambda e^-lambda", PoissonPDF(-3, 2), 2 * std::exp(-2.0), 1e-16},
      {"UniformDCDFInv(0, 5): p = 0 is NaN", UniformDCDFInv(0, 5), NaN}, {"FCDFInv(0, 2, 3)", FCDFInv(0, 2, 3), 0},
      {"FCDFInv(1, 2, 3)", FCDFInv(1, 2, 3), INF}, {"FCDFInv(-0.5, 2, 3): 0, not NaN", FCDFInv(-0.5, 2, 3), 0},
      {"StudentCDFInv(0.5, 5)", StudentCDFInv(0.5, 5), 0}, {"StudentCDFInv(0.75, 1)", StudentCDFInv(0.75, 1), 1, 1e-15},
      {"LogisticCDFInv(1, 1, 1)", LogisticCDFInv(1, 1, 1), INF},
      {"LogisticPDF(-1e4, 1, 1): no overflow", LogisticPDF(-1e4, 1, 1), 0},
      {"LogNormalCDFInv(0, 0, 1)", LogNormalCDFInv(0, 0, 1), 0}, {"WeibullPDF(0, 2, 0.5)", WeibullPDF(0, 2, 0.5), INF},
      {"WeibullPDF(0, 2, 1) = a", WeibullPDF(0, 2, 1), 2},
      {"NegBinomCDFInv(0.5, 3, 0): no mass at any k", NegBinomCDFInv(0.5, 3, 0), INF},
      {"NegBinomCDFInv(0.5, 1, 0.5)", NegBinomCDFInv(0.5, 1, 0.5), 0},
      {"NegBinomPDF(2, 3, 0.5) = C(4, 2) / 32", NegBinomPDF(2, 3, 0.5), 6.0 / 32, 1e-16},
      {"HypGeometricPDF(1, 10, 4, 3)", HypGeometricPDF(1, 10, 4, 3), 0.5, 1e-14},
      {"HypGeometricCDF(3, 10, 4, 3)", HypGeometricCDF(3, 10, 4, 3), 1, 1e-14},
      {"HypGeometricCDFInv(0.5, 10, 4, 3)", HypGeometricCDFInv(0.5, 10, 4, 3), 1},
      {"MaxwellCDFInv(1, 2): 2 sqrt(2), since GammaCDFInv(1) = 1", MaxwellCDFInv(1, 2), 2 * SQRT2, 1e-15},
      // an infinite F statistic (zero denominator variance), and nu1 x beyond the largest double
      {"FCDF(INF, 3, 5)", FCDF(INF, 3, 5), 1}, {"FCDF(1e308, 3, 5)", FCDF(1e308, 3, 5), 1},
      {"FCDF(1e300, 3, 5)", FCDF(1e300, 3, 5), 1},
      // the inverse checks p only: b <= 0 runs the formula
      {"RayleighCDFInv(0.5, -1)", RayleighCDFInv(0.5, -1), -1.1774100225154747, 1e-15},
      {"RayleighCDFInv(0.5, 0)", RayleighCDFInv(0.5, 0), 0}, {"RayleighCDFInv(1, -1)", RayleighCDFInv(1, -1), INF},
      {"NormalCDF(NaN, 0, 1): not capped to 1", NormalCDF(NaN, 0, 1), NaN},
      {"UniformPDF(NaN, 0, 1)", UniformPDF(NaN, 0, 1), NaN},
  });
}

TEST(Distributions, LogWeibullPairIsNotInverse) {
  const double a = 1.5, b = 2;
  for (double p : {0.1, 0.5, 0.9}) {
    const double x = LogWeibullCDFInv(p, a, b);
    EXPECT_EQ(x, a + b * std::log(-std::log(p)));
    EXPECT_GT(std::fabs(LogWeibullCDF(x, a, b) - p), 0.01) << p;
  }
  // the one point where the two meet
  EXPECT_NEAR(LogWeibullCDF(LogWeibullCDFInv(std::exp(-1.0), a, b), a, b), std::exp(-1.0), 1e-15);
}

TEST(Distributions, IncompleteFunctionsBoundaries) {
  CheckCases({
      {"IGamma(2, 0)", IGamma(2, 0), 0}, {"IGamma(0, 3): a <= 0 is 0, not NaN", IGamma(0, 3), 0},
      {"JGamma(2, 0)", JGamma(2, 0), 1}, {"JGamma(2, -1)", JGamma(2, -1), 0}, {"IGamma(2, INF)", IGamma(2, INF), 1},
      {"IGamma(2, NaN)", IGamma(2, NaN), NaN},
      // a <= 0 and x <= 0 decide before a NaN in the other argument does
      {"IGamma(-1, NaN)", IGamma(-1, NaN), 0}, {"IGamma(NaN, 0)", IGamma(NaN, 0), 0},
      {"JGamma(0, NaN)", JGamma(0, NaN), 0}, {"JGamma(NaN, -1)", JGamma(NaN, -1), 0},
      {"JGamma(NaN, 0)", JGamma(NaN, 0), 1}, {"JGamma(NaN, 1)", JGamma(NaN, 1), NaN},
      {"complex IGamma(NaN, 0)", IGamma(NaN, TCplx{0, 0}).Re, 0},
      {"complex JGamma(-1, NaN)", JGamma(-1, TCplx{NaN, 0}).Re, 0},
      {"complex JGamma(NaN, 0)", JGamma(NaN, TCplx{0, 0}).Re, 1},
      {"complex IGamma(2, NaN)", IGamma(2, TCplx{NaN, 0}).Re, NaN},
      {"GammaSer(2, NaN): no endless loop", GammaSer(2, NaN), NaN},
      // the switch: x = a + 1 is taken by the fraction, just below by the series
      {"IGamma(3, 4)", IGamma(3, 4), 1 - GammaFrac(3, 4)}, {"JGamma(3, 4)", JGamma(3, 4), GammaFrac(3, 4)},
      {"IGamma(3, 3.9999)", IGamma(3, 3.9999), GammaSer(3, 3.9999)},
      {"BetaIncomplete(0.5, -1, 2): 0, not NaN", BetaIncomplete(0.5, -1, 2), 0},
      {"BetaIncomplete(0.3, 1, 1) = x", BetaIncomplete(0.3, 1, 1), 0.3, 1e-16},
      {"Beta(2, 3)", Beta(2, 3), 1.0 / 12, 1e-17}, {"Beta(0, 3): a pole", Beta(0, 3), kMax},
      {"Beta(-0.5, 0.5): Gamma(a + b) at a pole", Beta(-0.5, 0.5), 0},
      {"Beta(-0.5, 2): signs of the gammas", Beta(-0.5, 2), -4, 1e-14},
      // a pole at a negative integer: the sign of Gamma just right of it
      {"Beta(-1, 2)", Beta(-1, 2), -kMax}, {"Beta(-2, 0.5)", Beta(-2, 0.5), kMax},
      {"Beta(0.5, -3)", Beta(0.5, -3), kMax}, {"Beta(2, -3): Gamma(a + b) at a pole", Beta(2, -3), 0},
      {"Binomial(5, 2)", Binomial(5, 2), 10}, {"Binomial(5, -1)", Binomial(5, -1), 0},
      {"Binomial(7, 7)", Binomial(7, 7), 1}, {"Binomial(60, 30)", Binomial(60, 30), 118264581564861424.0, 1e3},
  });
}

// Huge shapes and long walks: limits and closed forms take over where the series, fractions and
// sums would not end in reasonable time.
TEST(Distributions, ExtremeParametersEnd) {
  const double p = 1e-10;
  CheckCases({
      {"IGamma(1e300, 1e300)", IGamma(1e300, 1e300), 0.5, 1e-12},
      {"IGamma(2^70, 2^70 + 2^35) = Phi(1)", IGamma(std::ldexp(1.0, 70), std::ldexp(1.0, 70) + std::ldexp(1.0, 35)),
       0.8413447460685429, 1e-15},
      {"BetaIncomplete(0.5, 1e300, 1e300)", BetaIncomplete(0.5, 1e300, 1e300), 0.5, 1e-12},
      {"BetaIncomplete(1e-300, 1, 1e300) = 1 - 1/e", BetaIncomplete(1e-300, 1, 1e300), 1 - std::exp(-1.0), 1e-15},
      // Large but not huge shapes: the power terms must not come from differences of LnGamma.
      {"BetaIncomplete(0.5, 1e6, 1e6) = 1/2", BetaIncomplete(0.5, 1e6, 1e6), 0.5, 1e-12},
      {"BetaIncomplete(0.5, 1e13, 1e13) = 1/2", BetaIncomplete(0.5, 1e13, 1e13), 0.5, 1e-9},
      // ... nor lose x where it is far below the shape (mpmath).
      {"IGamma(10, 1e-30)", IGamma(10, 1e-30), 2.7557319223985890652e-307, 1e-320},
      {"IGamma(20, 1e-14)", IGamma(20, 1e-14), 4.1103176233121257126e-299, 1e-312},
      {"BetaIncomplete(1e-30, 10, 20)", BetaIncomplete(1e-30, 10, 20), 2.003001e-293, 1e-306},
      {"ChiSquareCDFInv(0.01, 200000) (mpmath)", ChiSquareCDFInv(0.01, 200000), 198531.630326922694, 1e-9},
      {"BetaIncomplete(1/2 + sd, 1e13, 1e13) = Phi(1)", BetaIncomplete(0.5 + std::sqrt(0.25 / (2e13 + 1)), 1e13, 1e13),
       0.8413447460685429, 1e-9},
      {"NegBinomCDFInv(0.5, 1, 1e-10): geometric median", NegBinomCDFInv(0.5, 1, p),
       std::ceil(std::log(0.5) / std::log1p(-p)) - 1, 1e-5 * 7e9},  // LnGamma differences of b ~ 7e9 cancel
      {"NegBinomCDF(1e12, 1, 1e-10)", NegBinomCDF(1e12, 1, p), 1 - std::exp((1e12 + 1) * std::log1p(-p)), 1e-14},
      // The whole coefficient overflows and p^r underflows; the product is a double (mpmath; to
      // 1e-11 relative, what differences of LnGamma near 3e4 leave).
      {"NegBinomPDF(2000, 2000, 0.5)", NegBinomPDF(2000, 2000, 0.5), 0.00630743707791766723, 6e-14},
      {"NegBinomPDF(1500, 2000, 0.7)", NegBinomPDF(1500, 2000, 0.7), 6.46473834277226565e-59, 6e-70},
      {"NegBinomCDF(2000, 2000, 0.5)", NegBinomCDF(2000, 2000, 0.5), 0.50630743707791766723, 1e-11},
      {"PoissonCDFInv(0.5, 1e8): the median", PoissonCDFInv(0.5, 1e8), 1e8},
      {"PoissonCDF(1e9 + 0.5, 3)", PoissonCDF(1e9 + 0.5, 3), 1},
  });
  // a coarse grid of extreme arguments through every iterating function: each call returns
  const double vals[] = {-1e300, -1, 0, 1e-300, 0.5, 1, 3, 1e10, 1e300, INF, NaN};
  for (double a : vals)
    for (double b : vals)
      for (double x : vals) {
        const int ia = static_cast<int>(std::fmax(-5, std::fmin(a, 50)));
        (void)(IGamma(a, x) + JGamma(a, x) + BetaIncomplete(x, a, b) + BetaCDF(x, a, b) + GammaCDF(x, a, b) +
               StudentCDF(x, ia) + FCDF(x, ia, ia) + PoissonCDF(x, a) + PoissonCDFInv(x, a) + NegBinomCDF(x, ia, b) +
               NegBinomCDFInv(x, ia, b) + BinomCDFInv(x, ia, b) + HypGeometricCDFInv(x, ia + 10, ia, 3));
        try {
          (void)(BetaCDFInv(x, a, b) + GammaCDFInv(x, a, b) + StudentCDFInv(x, ia) + ChiSquareCDFInv(x, ia));
        } catch (const EQuorelException&) {
        }
      }
}

// Close to p = 1 the running sums level off below p; the quantile must still be the smallest k
// whose upper tail is at most 1 - p. The references are from mpmath (50 digits, the regularised
// incomplete gamma and beta functions); SciPy's poisson.ppf and nbinom.ppf agree except where
// marked, and the k coming from the geometric closed form is exact.
TEST(Distributions, DiscreteInversesReachTheFarUpperTail) {
  const double below1 = std::nextafter(1.0, 0.0);
  CheckCases({
      {"PoissonCDFInv(1 - 1e-15, 20)", PoissonCDFInv(1 - 1e-15, 20), 65},
      {"PoissonCDFInv(1 - 1e-13, 1000)", PoissonCDFInv(1 - 1e-13, 1000), 1241},
      {"PoissonCDFInv(1 - 1e-12, 3000)", PoissonCDFInv(1 - 1e-12, 3000), 3393},
      {"PoissonCDFInv(1 - 1e-10, 1e5)", PoissonCDFInv(1 - 1e-10, 1e5), 102018},
      {"PoissonCDFInv(1 - 1e-7, 1e5): tail 1.00012e-7 at 101648", PoissonCDFInv(1 - 1e-7, 1e5), 101649},
      {"PoissonCDFInv(1 - 1e-9, 9e5)", PoissonCDFInv(1 - 1e-9, 9e5), 905696},
      {"PoissonCDFInv(1 - 2^-53, 2e6) (SciPy: 2011620)", PoissonCDFInv(below1, 2e6), 2011621},
      {"NegBinomCDFInv(1 - 5e-15, 2, 0.01) (SciPy: 3637)", NegBinomCDFInv(0.999999999999995, 2, 0.01), 3636},
      {"NegBinomCDFInv(1 - 1e-15, 20, 0.35)", NegBinomCDFInv(0.999999999999999, 20, 0.35), 172},
      {"NegBinomCDFInv(1 - 1e-13, 1, 1e-4) (SciPy: 299322)", NegBinomCDFInv(1 - 1e-13, 1, 1e-4), 299317},
      {"NegBinomCDFInv(1 - 2^-53, 3, 0.3) (SciPy: 123)", NegBinomCDFInv(below1, 3, 0.3), 121},
      // mean 1e7: I_p(r, k + 1) near 1 cannot tell 1 - 2^-53 apart; the geometric tail is (1 - p)^(k + 1)
      {"NegBinomCDFInv(1 - 2^-53, 1, 1e-7)", NegBinomCDFInv(below1, 1, 1e-7),
       std::ceil(std::log(std::ldexp(1.0, -53)) / std::log1p(-1e-7)) - 1, 1e-7 * 3.7e8},
      // p^r = 2^-1000: the whole coefficients overflow long before the median
      {"NegBinomCDFInv(0.3, 1000, 0.5)", NegBinomCDFInv(0.3, 1000, 0.5), 976},
      {"NegBinomCDFInv(1e-6, 1000, 0.35)", NegBinomCDFInv(1e-6, 1000, 0.35), 1528},
  });
}

// The product of the Poisson mass overflows once lambda passes about 710 and e^-lambda leaves
// the normal range; far out the mass is 0 and must come at once (references: mpmath).
TEST(Distributions, PoissonMassForLargeLambdaAndArguments) {
  // the logarithms near x ln lambda ~ 7e3 and 1.4e7 round to these relative errors
  const double kRel1000 = 1e-11, kRel1e6 = 1e-8;
  EXPECT_LT(test::RelativeError(PoissonPDF(1000, 1000), 0.012614611348721500), kRel1000);
  EXPECT_LT(test::RelativeError(PoissonPDF(1000000, 1e6), 3.9894224715624403e-4), kRel1e6);
  EXPECT_LT(test::RelativeError(PoissonPDF(-5, 701), 2.5426477802317152e-302), kRel1000);  // lambda e^-lambda
  EXPECT_EQ(PoissonPDF(std::numeric_limits<std::int32_t>::max(), 3), 0);
  EXPECT_EQ(PoissonPDF(std::numeric_limits<std::int32_t>::max(), 1e9), 0);
}

TEST(Distributions, ZetaSpecialValues) {
  // the functional equations: zeta(-1) = -1/12, beta(-2) = E_2 / 2 = -1/2; zeta(2) through the
  // series, lambda(2) = pi^2 / 8, beta(1) = pi / 4
  const struct { TCplx got; double want, tol; } cases[] = {
      {DirichletEta({0, 0}, 20), 0.5, 0}, {DirichletEta({1, 0}, 20), LN2, 0}, {DirichletEta({-4, 0}, 20), 0, 0},
      {DirichletBeta({0, 0}), 0.5, 0}, {DirichletBeta({-3, 0}), 0, 0}, {RiemannZeta({-1, 0}, 30), -1.0 / 12, 1e-14},
      {DirichletBeta({-2, 0}), -0.5, 1e-14}, {RiemannZeta({2, 0}, 30), PI * PI / 6, 1e-14},
      {DirichletLambda({2, 0}, 30), PI * PI / 8, 1e-14}, {DirichletBeta({1, 0}), PI / 4, 1e-14},
  };
  for (const auto& c : cases)
    EXPECT_TRUE(std::fabs(c.got.Re - c.want) <= c.tol && std::fabs(c.got.Im) <= c.tol) << c.want << " " << c.got.Re;
}

TEST(Distributions, Messages) {
  EXPECT_EQ(test::MessageOf<EQuorelException>([] { ErfInv(1.5); }), "abs(y) > 0");
  EXPECT_EQ(test::MessageOf<EQuorelException>([] { ErfInv(-1.0000001); }), "abs(y) > 0");
  EXPECT_EQ(test::MessageOf<EQuorelException>([] { BetaCDFInv(1e-100, 10, 0.001); }), "Failed to converge!");
}

// Parameters that break each function's rule: NaN, the densities at every x.
TEST(Distributions, InvalidParametersGiveNaN) {
  const std::vector<std::pair<const char*, std::function<double(double)>>> rows = {
      {"BetaPDF a<=0", [](double x) { return BetaPDF(x, 0, 2); }},
      {"BinomPDF n<1", [](double x) { return BinomPDF(x, 0, 0.5); }},
      {"CauchyPDF b<=0", [](double x) { return CauchyPDF(x, 0, 0); }},
      {"ChiSquarePDF nu<1", [](double x) { return ChiSquarePDF(x, 0); }},
      {"ExpPDF mu<=0", [](double x) { return ExpPDF(x, 0); }},
      {"FPDF nu1<1", [](double x) { return FPDF(x, 0, 3); }},
      {"GammaPDF b<=0", [](double x) { return GammaPDF(x + 1, 2, 0); }},
      {"GeometricPDF p<=0", [](double x) { return GeometricPDF(x, 0); }},
      {"HypGeometricPDF n>m", [](double x) { return HypGeometricPDF(x, 5, 2, 6); }},
      {"LaplacePDF b<=0", [](double x) { return LaplacePDF(x, 0, -1); }},
      {"LogisticPDF m<=0: refused", [](double x) { return LogisticPDF(x, 0, 1); }},
      {"LogWeibullPDF b=0", [](double x) { return LogWeibullPDF(x, 0, 0); }},
      {"NegBinomPDF r<1", [](double x) { return NegBinomPDF(x, 0, 0.5); }},
      {"NormalPDF sigma<=0", [](double x) { return NormalPDF(x, 0, 0); }},
      {"StudentPDF nu<1", [](double x) { return StudentPDF(x, 0); }},
      {"TriangularPDF c>b", [](double x) { return TriangularPDF(x, 0, 1, 2); }},
      {"UniformPDF b<=a", [](double x) { return UniformPDF(x, 1, 1); }},
      {"UniformDPDF n<1", [](double x) { return UniformDPDF(x, 0); }},
      {"WeibullPDF a<=0", [](double x) { return WeibullPDF(x, 0, 1); }},
  };
  for (const auto& [what, f] : rows)
    for (double x : {0.0, 0.25, 1.0, 3.0}) EXPECT_TRUE(std::isnan(f(x))) << what << " at " << x;
  CheckCases({
      {"BetaCDFInv p>1", BetaCDFInv(1.5, 2, 2), NaN}, {"BinomCDFInv n<0", BinomCDFInv(0.5, -1, 0.5), NaN},
      {"CauchyCDFInv p<0", CauchyCDFInv(-0.1, 0, 1), NaN}, {"ExpCDFInv p>1", ExpCDFInv(1.1, 1), NaN},
      {"FCDFInv nu1<1", FCDFInv(0.5, 0, 3), NaN}, {"GammaCDFInv p<0", GammaCDFInv(-0.1, 2, 1), NaN},
      {"GeometricCDFInv y>1", GeometricCDFInv(1.5, 0.5), NaN},
      {"HypGeometricCDFInv p>1", HypGeometricCDFInv(1.5, 10, 2, 5), NaN},
      {"LogisticCDFInv b<=0", LogisticCDFInv(0.5, 1, 0), NaN}, {"LogNormalPDF x=0", LogNormalPDF(0, 0, 1), NaN},
      {"LogNormalCDFInv p>1", LogNormalCDFInv(1.5, 0, 1), NaN},
      {"LogWeibullCDFInv p>1", LogWeibullCDFInv(1.5, 0, 1), NaN}, {"MaxwellPDF x<0", MaxwellPDF(-1, 1), NaN},
      {"MaxwellCDFInv p>1", MaxwellCDFInv(1.5, 1), NaN}, {"NegBinomCDFInv y>1", NegBinomCDFInv(1.5, 2, 0.5), NaN},
      {"NormalCDFInv p<0", NormalCDFInv(-0.5, 0, 1), NaN}, {"ParetoPDF x<b", ParetoPDF(0.5, 2, 1), NaN},
      {"ParetoCDFInv p>1", ParetoCDFInv(1.5, 2, 1), NaN}, {"PoissonPDF lambda<=0", PoissonPDF(2, 0), NaN},
      {"RayleighPDF x<0", RayleighPDF(-1, 1), NaN}, {"RayleighCDFInv p>1", RayleighCDFInv(1.5, 1), NaN},
      {"StudentCDFInv p>1", StudentCDFInv(1.5, 3), NaN}, {"TriangularCDFInv b<=a", TriangularCDFInv(0.5, 1, 1, 1), NaN},
      {"UniformDCDFInv p>1", UniformDCDFInv(1.5, 3), NaN},
  });
  // a NaN argument gives NaN (and ends) in every family that sums or iterates
  for (double v : {GammaCDF(NaN, 2, 1), BetaCDF(NaN, 2, 2), PoissonCDF(NaN, 2), StudentCDF(NaN, 4), FCDF(NaN, 2, 3),
                   NegBinomCDF(NaN, 2, 0.5), GammaCDFInv(NaN, 2, 1), BetaCDFInv(NaN, 2, 2)})
    EXPECT_TRUE(std::isnan(v));
}

// Each continuous family: CDF(CDFInv(p)) = p where the pair is a true inverse, and the density
// is the derivative of the distribution (central difference), which catches a density and a
// distribution that read the parameters differently. LogWeibull's pair is not inverse, and
// Maxwell's PDF reads a as 1/sigma^2 and its CDF as sigma, deliberately: those are left out.
TEST(Distributions, ContinuousFamiliesAreConsistent) {
  using Fn = std::function<double(double)>;
  struct Family {
    const char* name;
    Fn pdf, cdf, inv;
    double tol;  // of the round trip
    double x1, x2;  // where the density is checked
  };
#define FAMILY(N, TOL, X1, X2, ...)                                                    \
  Family {                                                                             \
    #N, [](double x) { return N##PDF(x, __VA_ARGS__); },                               \
        [](double x) { return N##CDF(x, __VA_ARGS__); },                               \
        [](double p) { return N##CDFInv(p, __VA_ARGS__); }, TOL, X1, X2                \
  }
  const std::vector<Family> families = {
      FAMILY(Beta, 1e-12, 0.2, 0.6, 2.5, 0.7), FAMILY(Gamma, 1e-13, 1, 6, 3.2, 1.5),
      FAMILY(ChiSquare, 1e-13, 0.5, 4, 7), FAMILY(Cauchy, 1e-15, -2, 3, 1, 2), FAMILY(Exp, 1e-15, 0.5, 4, 2),
      FAMILY(F, 1e-10, 0.5, 2, 4, 9), FAMILY(Laplace, 1e-15, -1, 3, 1, 2), FAMILY(Logistic, 1e-15, -1, 3, 1, 2),
      // the inverse error function stops after two damped steps: about 1e-8 near the ends
      FAMILY(Normal, 1e-7, -2, 1.5, 1, 2), FAMILY(LogNormal, 1e-7, 0.5, 3, 0.5, 0.8),
      FAMILY(Pareto, 1e-15, 1.5, 4, 2, 1), FAMILY(Rayleigh, 1e-15, 1, 4, 2), FAMILY(Student, 1e-10, -2, 0.5, 5),
      FAMILY(Triangular, 1e-15, 0.5, 2, 0, 3, 1), FAMILY(Uniform, 1e-15, 0, 2, -1, 3),
      FAMILY(Weibull, 1e-15, 0.3, 1, 2, 1.5),
      {"Maxwell", nullptr, [](double x) { return MaxwellCDF(x, 1.5); }, [](double p) { return MaxwellCDFInv(p, 1.5); }, 1e-13},
      {"Student1", nullptr, [](double x) { return StudentCDF(x, 1); }, [](double p) { return StudentCDFInv(p, 1); }, 1e-15},
      {"LogWeibull", [](double x) { return LogWeibullPDF(x, 1, 2); }, [](double x) { return LogWeibullCDF(x, 1, 2); },
       nullptr, 0, -1, 3},
  };
#undef FAMILY
  const double h = 1e-5;
  for (const Family& f : families) {
    if (f.inv)
      for (double p : {0.001, 0.05, 0.3, 0.5, 0.7, 0.95, 0.999})
        EXPECT_NEAR(f.cdf(f.inv(p)), p, f.tol) << f.name << " at " << p;
    if (f.pdf)
      for (double x : {f.x1, f.x2}) {
        const double slope = (f.cdf(x + h) - f.cdf(x - h)) / (2 * h);
        EXPECT_NEAR(f.pdf(x), slope, 1e-7 * std::fmax(1.0, f.pdf(x))) << f.name << " at " << x;
      }
  }
}

// The mass functions sum to the distribution functions, and the inverse walks stop where the
// distribution first reaches p.
TEST(Distributions, DiscreteMassSumsToDistribution) {
  struct Family {
    const char* name;
    std::function<double(int)> pmf;
    std::function<double(double)> cdf, inv;
    int top;
    bool steps = true;  // the CDF is a step function between whole x (Binom gives 0, Geometric rounds)
  };
  const std::vector<Family> families = {
      {"Binom", [](int k) { return BinomPDF(k, 12, 0.3); }, [](double x) { return BinomCDF(x, 12, 0.3); }, nullptr, 11, false},
      {"Geometric", [](int k) { return GeometricPDF(k, 0.3); }, [](double x) { return GeometricCDF(x, 0.3); }, nullptr, 15, false},
      {"HypGeometric", [](int k) { return HypGeometricPDF(k, 20, 7, 9); }, [](double x) { return HypGeometricCDF(x, 20, 7, 9); },
       nullptr, 7},
      {"NegBinom", [](int k) { return NegBinomPDF(k, 4, 0.4); }, [](double x) { return NegBinomCDF(x, 4, 0.4); },
       [](double p) { return NegBinomCDFInv(p, 4, 0.4); }, 20},
      {"Poisson", [](int k) { return PoissonPDF(k, 3.5); }, [](double x) { return PoissonCDF(x, 3.5); },
       [](double p) { return PoissonCDFInv(p, 3.5); }, 15},
      {"UniformD", [](int k) { return UniformDPDF(k, 6); }, [](double x) { return UniformDCDF(x, 6); },
       [](double p) { return UniformDCDFInv(p, 6); }, 6},
  };
  for (const Family& f : families) {
    double sum = 0;
    for (int k = 0; k <= f.top; ++k) {
      sum += f.pmf(k);
      EXPECT_NEAR(f.cdf(k), sum, 1e-14) << f.name << " at " << k;
      if (f.steps && k < f.top) EXPECT_NEAR(f.cdf(k + 0.25), sum, 1e-14) << f.name << " after " << k;
      if (f.inv && k > 0 && k < f.top && f.pmf(k) > 1e-6) {
        EXPECT_EQ(f.inv(sum - 1e-9), k) << f.name;
        EXPECT_EQ(f.inv(sum + 1e-9), k + 1) << f.name;
      }
    }
  }
}

}  // namespace
}  // namespace quorel
