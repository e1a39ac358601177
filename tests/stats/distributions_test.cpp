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

// A case named by its call: V(call, want) or V(call, want, tol).
#define V(call, ...) Case{#call, call, __VA_ARGS__}

TEST(Distributions, SpecialValuesAndQuirks) {
  CheckCases({
      V(BetaCDF(0, 2, 3), 0), V(BetaCDF(1, 2, 3), 1), V(BetaCDF(-0.5, 2, 3), 0),  // 0, not NaN
      V(BetaPDF(0, 0.5, 2), INF), V(BetaPDF(0, 1, 3), 3, 1e-14), V(ErfInv(1), kMax),
      V(NormalCDFInv(0, 0, 1), INF),  // +INF at the lower end too
      V(NormalCDFInv(0.5, 3, 2), 3), V(GammaCDFInv(1, 2.5, 3), 1),  // 1, not INF
      V(ChiSquareCDFInv(0, 3), 0), V(GammaPDF(0, 0.5, 1), INF),
      V(GammaPDF(0, -1, 1), INF),  // the INF rule comes before the NaN rule
      V(GammaPDF(0, 1, 4), 0.25), V(BinomCDFInv(0.5, 10, 0.5), 0.623046875, 1e-15),  // the sum at the stop
      V(BinomPDF(2.5, 4, 0.25), 0), V(BinomCDF(2.5, 4, 0.25), 0),  // not whole
      V(GeometricCDF(3, 1), 0),  // deliberately
      V(GeometricCDF(0, 1), 1), V(GeometricCDFInv(0.5, 0.5), 1),
      V(TriangularPDF(-1, 0, 2, 1), NaN),  // outside the support
      V(TriangularPDF(0, 0, 2, 0), 1),     // mode at the lower end
      V(TriangularCDFInv(0.1, 0, 1, 0.5), std::sqrt(0.05), 1e-15),  // rising side, then falling side
      V(TriangularCDFInv(0.9, 0, 1, 0.5), 1 - std::sqrt(0.05), 1e-15),
      V(PoissonCDFInv(1, 2), NaN), V(PoissonCDFInv(0.5, 1000), 1000),  // p = 1; e^-lambda underflows
      V(PoissonPDF(-3, 2), 2 * std::exp(-2.0), 1e-16),  // lambda e^-lambda
      V(UniformDCDFInv(0, 5), NaN), V(FCDFInv(0, 2, 3), 0), V(FCDFInv(1, 2, 3), INF),
      V(FCDFInv(-0.5, 2, 3), 0),  // 0, not NaN
      V(StudentCDFInv(0.5, 5), 0), V(StudentCDFInv(0.75, 1), 1, 1e-15), V(LogisticCDFInv(1, 1, 1), INF),
      V(LogisticPDF(-1e4, 1, 1), 0),  // no overflow
      V(LogNormalCDFInv(0, 0, 1), 0), V(WeibullPDF(0, 2, 0.5), INF), V(WeibullPDF(0, 2, 1), 2),
      V(NegBinomCDFInv(0.5, 3, 0), INF),  // no mass at any k
      V(NegBinomCDFInv(0.5, 1, 0.5), 0), V(NegBinomPDF(2, 3, 0.5), 6.0 / 32, 1e-16),  // C(4, 2) / 32
      V(HypGeometricPDF(1, 10, 4, 3), 0.5, 1e-14), V(HypGeometricCDF(3, 10, 4, 3), 1, 1e-14),
      V(HypGeometricCDFInv(0.5, 10, 4, 3), 1),
      V(MaxwellCDFInv(1, 2), 2 * SQRT2, 1e-15),  // since GammaCDFInv(1) = 1
      // an infinite F statistic (zero denominator variance), and nu1 x beyond the largest double
      V(FCDF(INF, 3, 5), 1), V(FCDF(1e308, 3, 5), 1), V(FCDF(1e300, 3, 5), 1),
      // the inverse checks p only: b <= 0 runs the formula
      V(RayleighCDFInv(0.5, -1), -1.1774100225154747, 1e-15), V(RayleighCDFInv(0.5, 0), 0),
      V(RayleighCDFInv(1, -1), INF),
      V(NormalCDF(NaN, 0, 1), NaN), V(UniformPDF(NaN, 0, 1), NaN),  // not capped to 1
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
      V(IGamma(2, 0), 0), V(IGamma(0, 3), 0),  // a <= 0 is 0, not NaN
      V(JGamma(2, 0), 1), V(JGamma(2, -1), 0), V(IGamma(2, INF), 1), V(IGamma(2, NaN), NaN),
      // a <= 0 and x <= 0 decide before a NaN in the other argument does
      V(IGamma(-1, NaN), 0), V(IGamma(NaN, 0), 0), V(JGamma(0, NaN), 0), V(JGamma(NaN, -1), 0),
      V(JGamma(NaN, 0), 1), V(JGamma(NaN, 1), NaN), V(IGamma(NaN, TCplx{0, 0}).Re, 0),
      V(JGamma(-1, TCplx{NaN, 0}).Re, 0), V(JGamma(NaN, TCplx{0, 0}).Re, 1), V(IGamma(2, TCplx{NaN, 0}).Re, NaN),
      V(GammaSer(2, NaN), NaN),  // no endless loop
      // the switch: x = a + 1 is taken by the fraction, just below by the series
      V(IGamma(3, 4), 1 - GammaFrac(3, 4)), V(JGamma(3, 4), GammaFrac(3, 4)), V(IGamma(3, 3.9999), GammaSer(3, 3.9999)),
      V(BetaIncomplete(0.5, -1, 2), 0), V(BetaIncomplete(0.3, 1, 1), 0.3, 1e-16),  // 0, not NaN; x
      V(Beta(2, 3), 1.0 / 12, 1e-17), V(Beta(0, 3), kMax),  // a pole
      V(Beta(-0.5, 0.5), 0), V(Beta(2, -3), 0),  // Gamma(a + b) at a pole
      V(Beta(-0.5, 2), -4, 1e-14),               // signs of the gammas
      // a pole at a negative integer: the sign of Gamma just right of it
      V(Beta(-1, 2), -kMax), V(Beta(-2, 0.5), kMax), V(Beta(0.5, -3), kMax),
      V(Binomial(5, 2), 10), V(Binomial(5, -1), 0), V(Binomial(7, 7), 1),
      V(Binomial(60, 30), 118264581564861424.0, 1e3),
  });
}

// Huge shapes and long walks: limits and closed forms take over where the series, fractions and
// sums would not end in reasonable time.
TEST(Distributions, ExtremeParametersEnd) {
  const double p = 1e-10;
  CheckCases({
      V(IGamma(1e300, 1e300), 0.5, 1e-12),
      {"IGamma(2^70, 2^70 + 2^35) = Phi(1)", IGamma(std::ldexp(1.0, 70), std::ldexp(1.0, 70) + std::ldexp(1.0, 35)),
       0.8413447460685429, 1e-15},
      V(BetaIncomplete(0.5, 1e300, 1e300), 0.5, 1e-12), V(BetaIncomplete(1e-300, 1, 1e300), 1 - std::exp(-1.0), 1e-15),
      // Large but not huge shapes: the power terms must not come from differences of LnGamma ...
      V(BetaIncomplete(0.5, 1e6, 1e6), 0.5, 1e-12), V(BetaIncomplete(0.5, 1e13, 1e13), 0.5, 1e-9),
      // ... nor lose x where it is far below the shape (mpmath).
      V(IGamma(10, 1e-30), 2.7557319223985890652e-307, 1e-320),
      V(IGamma(20, 1e-14), 4.1103176233121257126e-299, 1e-312),
      V(BetaIncomplete(1e-30, 10, 20), 2.003001e-293, 1e-306),
      V(ChiSquareCDFInv(0.01, 200000), 198531.630326922694, 1e-9),  // mpmath
      {"BetaIncomplete(1/2 + sd, 1e13, 1e13) = Phi(1)", BetaIncomplete(0.5 + std::sqrt(0.25 / (2e13 + 1)), 1e13, 1e13),
       0.8413447460685429, 1e-9},
      // the geometric median; LnGamma differences of b ~ 7e9 cancel
      V(NegBinomCDFInv(0.5, 1, p), std::ceil(std::log(0.5) / std::log1p(-p)) - 1, 1e-5 * 7e9),
      V(NegBinomCDF(1e12, 1, p), 1 - std::exp((1e12 + 1) * std::log1p(-p)), 1e-14),
      // The whole coefficient overflows and p^r underflows; the product is a double (mpmath; to
      // 1e-11 relative, what differences of LnGamma near 3e4 leave).
      V(NegBinomPDF(2000, 2000, 0.5), 0.00630743707791766723, 6e-14),
      V(NegBinomPDF(1500, 2000, 0.7), 6.46473834277226565e-59, 6e-70),
      V(NegBinomCDF(2000, 2000, 0.5), 0.50630743707791766723, 1e-11),
      V(PoissonCDFInv(0.5, 1e8), 1e8), V(PoissonCDF(1e9 + 0.5, 3), 1),
      // The Poisson mass's product overflows past lambda ~ 710 (mpmath; to what the logarithms near
      // x ln lambda ~ 7e3 and 1.4e7 leave; -5: lambda e^-lambda); far out the mass is 0 at once.
      V(PoissonPDF(1000, 1000), 0.012614611348721500, 1e-11 * 0.0126146),
      V(PoissonPDF(1000000, 1e6), 3.9894224715624403e-4, 1e-8 * 3.98942e-4),
      V(PoissonPDF(-5, 701), 2.5426477802317152e-302, 1e-11 * 2.54264e-302),
      V(PoissonPDF(std::numeric_limits<std::int32_t>::max(), 3), 0),
      V(PoissonPDF(std::numeric_limits<std::int32_t>::max(), 1e9), 0),
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
      V(PoissonCDFInv(1 - 1e-15, 20), 65), V(PoissonCDFInv(1 - 1e-13, 1000), 1241),
      V(PoissonCDFInv(1 - 1e-12, 3000), 3393), V(PoissonCDFInv(1 - 1e-10, 1e5), 102018),
      V(PoissonCDFInv(1 - 1e-7, 1e5), 101649),  // the tail is 1.00012e-7 at 101648
      V(PoissonCDFInv(1 - 1e-9, 9e5), 905696),
      V(PoissonCDFInv(below1, 2e6), 2011621),                  // SciPy: 2011620
      V(NegBinomCDFInv(0.999999999999995, 2, 0.01), 3636),     // SciPy: 3637
      V(NegBinomCDFInv(0.999999999999999, 20, 0.35), 172),
      V(NegBinomCDFInv(1 - 1e-13, 1, 1e-4), 299317),           // SciPy: 299322
      V(NegBinomCDFInv(below1, 3, 0.3), 121),                  // SciPy: 123
      // mean 1e7: I_p(r, k + 1) near 1 cannot tell 1 - 2^-53 apart; the geometric tail is (1 - p)^(k + 1)
      V(NegBinomCDFInv(below1, 1, 1e-7), std::ceil(std::log(std::ldexp(1.0, -53)) / std::log1p(-1e-7)) - 1,
        1e-7 * 3.7e8),
      // p^r = 2^-1000: the whole coefficients overflow long before the median
      V(NegBinomCDFInv(0.3, 1000, 0.5), 976), V(NegBinomCDFInv(1e-6, 1000, 0.35), 1528),
  });
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

// Parameters that break each function's rule: NaN, the densities at every x (LogisticPDF refuses
// m <= 0 as well); and a NaN argument gives NaN (and ends) in every family that sums or iterates.
TEST(Distributions, InvalidParametersGiveNaN) {
#define AT_X(call) std::pair<const char*, std::function<double(double)>>(#call, [](double x) { return call; })
  const std::pair<const char*, std::function<double(double)>> densities[] = {
      AT_X(BetaPDF(x, 0, 2)),          AT_X(BinomPDF(x, 0, 0.5)),  AT_X(CauchyPDF(x, 0, 0)),
      AT_X(ChiSquarePDF(x, 0)),        AT_X(ExpPDF(x, 0)),         AT_X(FPDF(x, 0, 3)),
      AT_X(GammaPDF(x + 1, 2, 0)),     AT_X(GeometricPDF(x, 0)),   AT_X(HypGeometricPDF(x, 5, 2, 6)),
      AT_X(LaplacePDF(x, 0, -1)),      AT_X(LogisticPDF(x, 0, 1)), AT_X(LogWeibullPDF(x, 0, 0)),
      AT_X(NegBinomPDF(x, 0, 0.5)),    AT_X(NormalPDF(x, 0, 0)),   AT_X(StudentPDF(x, 0)),
      AT_X(TriangularPDF(x, 0, 1, 2)), AT_X(UniformPDF(x, 1, 1)),  AT_X(UniformDPDF(x, 0)),
      AT_X(WeibullPDF(x, 0, 1)),
  };
#undef AT_X
  for (const auto& [what, f] : densities)
    for (double x : {0.0, 0.25, 1.0, 3.0}) EXPECT_TRUE(std::isnan(f(x))) << what << " at " << x;
#define NAMED(call) std::pair<const char*, double>(#call, call)
  const std::pair<const char*, double> values[] = {
      NAMED(BetaCDFInv(1.5, 2, 2)),      NAMED(BinomCDFInv(0.5, -1, 0.5)),  NAMED(CauchyCDFInv(-0.1, 0, 1)),
      NAMED(ExpCDFInv(1.1, 1)),          NAMED(FCDFInv(0.5, 0, 3)),         NAMED(GammaCDFInv(-0.1, 2, 1)),
      NAMED(GeometricCDFInv(1.5, 0.5)),  NAMED(LogisticCDFInv(0.5, 1, 0)),  NAMED(HypGeometricCDFInv(1.5, 10, 2, 5)),
      NAMED(LogNormalPDF(0, 0, 1)),      NAMED(LogNormalCDFInv(1.5, 0, 1)), NAMED(LogWeibullCDFInv(1.5, 0, 1)),
      NAMED(MaxwellPDF(-1, 1)),          NAMED(MaxwellCDFInv(1.5, 1)),      NAMED(NegBinomCDFInv(1.5, 2, 0.5)),
      NAMED(NormalCDFInv(-0.5, 0, 1)),   NAMED(ParetoPDF(0.5, 2, 1)),       NAMED(ParetoCDFInv(1.5, 2, 1)),
      NAMED(PoissonPDF(2, 0)),           NAMED(RayleighPDF(-1, 1)),         NAMED(RayleighCDFInv(1.5, 1)),
      NAMED(StudentCDFInv(1.5, 3)),      NAMED(UniformDCDFInv(1.5, 3)),     NAMED(TriangularCDFInv(0.5, 1, 1, 1)),
      NAMED(GammaCDF(NaN, 2, 1)),        NAMED(BetaCDF(NaN, 2, 2)),         NAMED(PoissonCDF(NaN, 2)),
      NAMED(StudentCDF(NaN, 4)),         NAMED(FCDF(NaN, 2, 3)),            NAMED(NegBinomCDF(NaN, 2, 0.5)),
      NAMED(GammaCDFInv(NaN, 2, 1)),     NAMED(BetaCDFInv(NaN, 2, 2)),
  };
#undef NAMED
  for (const auto& [what, v] : values) EXPECT_TRUE(std::isnan(v)) << what;
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
