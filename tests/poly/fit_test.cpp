// Least-squares polynomial fitting: argument checks, weights, and the NIST StRD linear datasets.
#include "optim/nist_problems.h"
#include "poly/poly_util.h"
#include "quorel/poly/polynoms.h"

namespace quorel::test {
namespace {

// Fewest correct significant digits over the coefficients (16 when exact).
double Digits(const TVec& coeff, const std::vector<double>& certified) {
  const int n = static_cast<int>(certified.size());
  double digits = 16;
  for (int k = 0; k < n; ++k) {
    const double err = std::fabs(*coeff.PValues(n - 1 - k) - certified[k]) / std::fabs(certified[k]);  // descending
    digits = std::min(digits, err == 0 ? 16.0 : -std::log10(err));
  }
  return digits;
}

// Digits reached (measured): Norris 12.8, Wampler1 9.2, Wampler4 9.4, Filip 13.5. Wampler's
// constant terms are tiny beside the largest y, so any backward-stable fit loses digits there.
TEST(PolyFit, NistLinearDatasetsReachCertifiedValues) {
  struct Case { const char* file; double minDigits; };
  for (const Case& c : {Case{"Norris", 12}, Case{"Wampler1", 8.5}, Case{"Wampler4", 8.5}, Case{"Filip", 12}}) {
    const optim_test::TNistProblem d = optim_test::ReadNist(QUOREL_TEST_DATA_DIR "/nist", c.file);
    TVec coeff;
    PolyFit(FromStd(d.X), FromStd(d.Y), static_cast<int>(d.Certified.size()) - 1, coeff);
    ASSERT_EQ(coeff.Length(), static_cast<int>(d.Certified.size()));
    const double digits = Digits(coeff, d.Certified);
    std::printf("  %-13s %.1f significant digits\n", c.file, digits);
    EXPECT_GE(digits, c.minDigits) << c.file;
  }
}

TEST(PolyFit, ExactDataWeightsAndResidual) {
  // y = 2x^2 - 3 exactly, with one corrupted point switched off by a zero weight.
  TVec x = Real({-2, -1, 0, 1, 2, 3}), y = Real({5, -1, -3, -1, 5, 100}), w = Real({1, 1, 1, 1, 1, 0}), c;
  const double res = PolyFit(x, y, 2, c, &w);
  EXPECT_LT(MaxRelErr(Sorted(c), {-3.0, 0.0, 2.0}), 64 * kEps);
  EXPECT_LT(res, 10 * kClose);
  // Unweighted, the corrupted point pulls the fit and leaves a residual.
  EXPECT_GT(PolyFit(x, y, 2, c, nullptr), 1);
  // Weights are squared-residual weights: w = 4 on a point equals that point given twice.
  TVec c1, c2;
  PolyFit(Real({0, 1, 2, 3}), Real({1, 0, 4, 2}), 1, c1, Real({1, 4, 1, 1}));
  PolyFit(Real({0, 1, 1, 1, 1, 2, 3}), Real({1, 0, 0, 0, 0, 4, 2}), 1, c2);
  EXPECT_LT(MaxRelErr(Sorted(c1), Sorted(c2)), 64 * kEps);
  // Order 0 is the (weighted) mean.
  PolyFit(Real({5, 6, 7}), Real({1, 2, 6}), 0, c);
  EXPECT_NEAR(*c.PValues(0), 3, 4 * kEps);
}

TEST(PolyFit, BadArgumentsLeaveCoeffUntouched) {
  TVec x = Real({1, 2, 3}), y = Real({1, 2, 3}), coeff = Real({9});
  ExpectMessages<Exception>({
      {[&] { PolyFit(Cplx({{1, 0}, {2, 0}, {3, 0}}), y, 1, coeff); }, "PolyFit : XValues.Complex or YValues.Complex"},
      {[&] { PolyFit(x, Real({1, 2}), 1, coeff); }, "PolyFit : XValues.Length <> YValues.Length"},
      {[&] { PolyFit(x, y, 1, coeff, Real({1, 1})); }, "PolyFit : Weights.Length <> YValues.Length"},
      {[&] { PolyFit(x, y, 1, coeff, Real({1, -1, 1})); }, "PolyFit : Weights.Complex or Weights < 0"},
      {[&] { PolyFit(x, y, -1, coeff); }, "PolyFit : Order < 0"},
      {[&] { PolyFit(x, y, 3, coeff); }, "PolyFit : XValues.Length <= Order"},
  });
  EXPECT_EQ(Doubles(coeff), (std::vector<double>{9}));
}

}  // namespace
}  // namespace quorel::test
