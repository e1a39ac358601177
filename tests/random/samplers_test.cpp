// Every sampler against its law by goodness of fit (gof.h states the false-failure budget), in
// each regime where the algorithm changes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <vector>

#include "gof.h"
#include "quorel/objects/vec.h"
#include "quorel/stats/random_streams.h"

using namespace quorel;

namespace {

constexpr int kN = 100000;

std::span<const double> D(const TVec& v) { return {v.Values().data(), v.Values().size()}; }
std::span<const std::int32_t> I(const TVec& v) { return {v.IValues().data(), v.IValues().size()}; }

double Phi(double z) { return 0.5 * std::erfc(-z / std::numbers::sqrt2); }

::testing::AssertionResult Fits(const gof::Result& r) {
  if (r.ok()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "statistic " << r.stat << " >= " << r.critical;
}
#define EXPECT_FIT(r) EXPECT_TRUE(Fits(r))

class RandomSamplers : public ::testing::TestWithParam<TBasicRandomGenerator> {
 protected:
  void SetUp() override { ASSERT_EQ(s.NewStream(GetParam(), 20240611), rngStatusOk); }
  TRngStream s;
};

TEST_P(RandomSamplers, ContinuousLaws) {
  TVec v(kN);
  ASSERT_EQ(s.RandomUniform(v, -2, 3), rngStatusOk);
  EXPECT_FIT(gof::KS(D(v), [](double x) { return (x + 2) / 5; }));
  for (auto m : {grmBoxMuller, grmBoxMuller2}) {
    ASSERT_EQ(s.RandomGaussian(v, 1.5, 2, m), rngStatusOk);
    EXPECT_FIT(gof::KS(D(v), [](double x) { return Phi((x - 1.5) / 2); }));
  }
  ASSERT_EQ(s.RandomExponential(v, 1, 3), rngStatusOk);
  EXPECT_FIT(gof::KS(D(v), [](double x) { return x < 1 ? 0 : 1 - std::exp(-(x - 1) / 3); }));
  ASSERT_EQ(s.RandomLaplace(v, -1, 0.5), rngStatusOk);
  EXPECT_FIT(gof::KS(D(v), [](double x) { return x < -1 ? 0.5 * std::exp((x + 1) / 0.5) : 1 - 0.5 * std::exp(-(x + 1) / 0.5); }));
  auto weibull = [](double alpha, double a, double beta) {
    return [=](double x) { return x <= a ? 0 : 1 - std::exp(-std::pow((x - a) / beta, alpha)); };
  };
  ASSERT_EQ(s.RandomWeibull(v, 0.7, 2, 1.5), rngStatusOk);
  EXPECT_FIT(gof::KS(D(v), weibull(0.7, 2, 1.5)));
  ASSERT_EQ(s.RandomRayleigh(v, 0.5, 2), rngStatusOk);
  EXPECT_FIT(gof::KS(D(v), weibull(2, 0.5, 2)));
  ASSERT_EQ(s.RandomCauchy(v, 3, 0.25), rngStatusOk);
  EXPECT_FIT(gof::KS(D(v), [](double x) { return 0.5 + std::atan((x - 3) / 0.25) / std::numbers::pi; }));
  ASSERT_EQ(s.RandomLognormal(v, 0.2, 0.8, -1, 2), rngStatusOk);
  EXPECT_FIT(gof::KS(D(v), [](double x) { return x <= -1 ? 0 : Phi((std::log((x + 1) / 2) - 0.2) / 0.8); }));
  ASSERT_EQ(s.RandomGumbel(v, 1, 2), rngStatusOk);
  EXPECT_FIT(gof::KS(D(v), [](double x) { return 1 - std::exp(-std::exp((x - 1) / 2)); }));
  for (double x : v.Values()) ASSERT_TRUE(std::isfinite(x));
}

TEST(RandomSamplersAtTheEdge, LogarithmicLawsStayFiniteAtTheLargestOutput) {
  // MCG59 seeded 3 and skipped by k is at the state 2^59 - 1 (see engines_test.cpp).
  constexpr std::int64_t k = 121703763459319166;
  TRngStream s;
  TVec v(1);
  for (int law = 0; law < 3; ++law) {
    ASSERT_EQ(s.NewStream(brgMCG59, 3), rngStatusOk);
    ASSERT_EQ(s.SkipAheadStream(k), rngStatusOk);
    const std::int32_t st = law == 0 ? s.RandomLaplace(v, 0, 1) : law == 1 ? s.RandomGumbel(v, 0, 1) : s.RandomExponential(v, 0, 1);
    ASSERT_EQ(st, rngStatusOk);
    EXPECT_TRUE(std::isfinite(v.Values()[0])) << law;
    EXPECT_NE(v.Values()[0], 0) << law;  // ln u = 0 would mean u = 1
  }
}

using RandomDiscrete = RandomSamplers;

double PoissonPmf(double l, double k) { return std::exp(k * std::log(l) - l - std::lgamma(k + 1)); }
double BinomialPmf(double n, double p, double k) {
  return k > n ? 0 : std::exp(gof::LnChoose(n, k) + k * std::log(p) + (n - k) * std::log1p(-p));
}

TEST_P(RandomDiscrete, DiscreteLaws) {
  TVec v(2 * kN);
  ASSERT_EQ(s.RandomBernoulli(v, 0.3), rngStatusOk);
  EXPECT_FIT(gof::ChiSquare(I(v), [](double k) { return k == 0 ? 0.7 : k == 1 ? 0.3 : 0; }));
  ASSERT_EQ(s.RandomGeometric(v, 0.2), rngStatusOk);
  EXPECT_FIT(gof::ChiSquare(I(v), [](double k) { return 0.2 * std::pow(0.8, k); }));
  ASSERT_EQ(s.RandomUniformI(v, -3, 7), rngStatusOk);
  EXPECT_FIT(gof::ChiSquare(I(v), [](double k) { return k < 10 ? 0.1 : 0; }, -3));
  // Inversion below n min(p, 1 - p) = 30, acceptance-rejection above; p above 1/2 by mirroring.
  for (auto [n, p] : {std::pair{20, 0.3}, {100, 0.95}, {29, 0.999}, {1000, 0.4}, {500, 0.9}, {3000000, 0.5}}) {
    ASSERT_EQ(s.RandomBinomial(v, n, p), rngStatusOk);
    // Cells from 12 standard deviations below the mean: the mass below is negligible.
    const auto from = static_cast<std::int64_t>(std::max(0.0, n * p - 12 * std::sqrt(n * p * (1 - p))));
    EXPECT_FIT(gof::ChiSquare(I(v), [=](double k) { return BinomialPmf(n, p, k); }, from)) << n << " " << p;
  }
  for (auto [l, sm, m] : {std::tuple{100, 30, 40}, {50, 45, 48}, {1000000, 5000, 300000}}) {
    ASSERT_EQ(s.RandomHypergeometric(v, l, sm, m), rngStatusOk);
    EXPECT_FIT(gof::ChiSquare(I(v), [=](double k) {
      return k > sm || k > m ? 0 : std::exp(gof::LnChoose(m, k) + gof::LnChoose(l - m, sm - k) - gof::LnChoose(l, sm));
    })) << l;
  }
  for (auto [a, p] : {std::pair{2.5, 0.3}, {0.4, 0.6}, {30.0, 0.05}}) {
    ASSERT_EQ(s.RandomNegbinomial(v, a, p), rngStatusOk);
    EXPECT_FIT(gof::ChiSquare(I(v), [=](double k) {
      return std::exp(std::lgamma(a + k) - std::lgamma(k + 1) - std::lgamma(a) + a * std::log(p) + k * std::log1p(-p));
    })) << a;
  }
}

TEST_P(RandomDiscrete, PoissonRegimes) {
  TVec v(2 * kN);
  // Inversion below 27, PTPE from 27 on.
  for (double l : {0.05, 3.0, 26.9, 27.0, 35.5, 400.0, 250000.0}) {
    ASSERT_EQ(s.RandomPoisson(v, l), rngStatusOk);
    const auto from = static_cast<std::int64_t>(std::max(0.0, l - 12 * std::sqrt(l)));
    EXPECT_FIT(gof::ChiSquare(I(v), [=](double k) { return PoissonPmf(l, k); }, from)) << l;
  }
  // The normal approximation is approximate by design: exact below 1, right moments above.
  ASSERT_EQ(s.RandomPoisson(v, 0.5, prmNormal), rngStatusOk);
  EXPECT_FIT(gof::ChiSquare(I(v), [=](double k) { return PoissonPmf(0.5, k); }));
  for (double l : {5.0, 1000.0}) {
    ASSERT_EQ(s.RandomPoisson(v, l, prmNormal), rngStatusOk);
    double m = 0, q = 0;
    for (std::int32_t k : I(v)) m += k;
    m /= v.Length();
    for (std::int32_t k : I(v)) q += (k - m) * (k - m);
    q /= v.Length() - 1;
    EXPECT_NEAR(m, l, gof::kZ * std::sqrt(l / v.Length()) + 0.02 * l / 5) << l;
    EXPECT_NEAR(q / l, 1, 0.05) << l;
  }
  // One draw per mean, means on both sides of the switch.
  TVec lam(2 * kN);
  for (int i = 0; i < 2 * kN; ++i) lam.Values()[i] = i % 2 ? 60 : 4;
  ASSERT_EQ(s.RandomPoisson(v, lam), rngStatusOk);
  std::vector<std::int32_t> odd, even;
  for (int i = 0; i < 2 * kN; ++i) (i % 2 ? odd : even).push_back(v.IValues()[i]);
  EXPECT_FIT(gof::ChiSquare(even, [](double k) { return PoissonPmf(4, k); }));
  EXPECT_FIT(gof::ChiSquare(odd, [](double k) { return PoissonPmf(60, k); }));
}

INSTANTIATE_TEST_SUITE_P(Generators, RandomSamplers,
                         ::testing::Values(brgMCG31, brgR250, brgMRG32K3A, brgMCG59, brgMT19937, brgPhilox4x32x10));
// The discrete samplers draw their uniforms through the same conversion as the continuous ones:
// the coarsest generator, the shift-register one and a counter-based one are enough.
INSTANTIATE_TEST_SUITE_P(Generators, RandomDiscrete, ::testing::Values(brgMCG31, brgR250, brgPhilox4x32x10));

}  // namespace
