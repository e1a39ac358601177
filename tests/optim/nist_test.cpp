// Marquardt and NewMarquardt on the NIST StRD nonlinear regression problems, from both certified
// start vectors: the certified parameters must be reached to at least 6 significant digits.

#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "classic_functions.h"
#include "nist_problems.h"
#include "quorel/objects/vec.h"
#include "quorel/optim/optimization.h"

using namespace quorel;
using namespace optim_test;

namespace {

constexpr double kCertifiedDigits = 6;

double WorstDigits(const std::vector<double>& got, const std::vector<double>& want) {
  double d = 17;
  for (std::size_t i = 0; i < want.size(); ++i) d = std::min(d, SignificantDigits(got[i], want[i]));
  return d;
}

// The data travel as object constants, as a user would pass them.
double SumOfSquares(std::span<const double> b, std::span<const double>, std::span<TQuorel* const> obj,
                    double (*model)(const double*, double)) {
  const auto& x = static_cast<const TVec&>(*obj[0]);
  const auto& y = static_cast<const TVec&>(*obj[1]);
  double s = 0;
  for (std::int32_t i = 0; i < x.Length(); ++i) {
    const double r = y[i] - model(b.data(), x[i]);
    s += r * r;
  }
  return s;
}

}  // namespace

TEST(NistNonlinear, BothMarquardtsReachCertifiedValues) {
  for (const std::string& name : NistNames()) {
    const TNistProblem prob = ReadNist(QUOREL_TEST_DATA_DIR "/nist", name);
    ASSERT_EQ(prob.X.size(), prob.Y.size());
    ASSERT_GT(prob.X.size(), prob.Certified.size());
    TVec xs, ys;
    xs.SetDouble(prob.X);
    ys.SetDouble(prob.Y);
    TQuorel* const data[] = {&xs, &ys};
    const auto residuals = [&](std::span<const double> b, std::span<const double>, std::span<TQuorel* const>,
                               std::span<double> r) {
      for (std::size_t i = 0; i < prob.X.size(); ++i) r[i] = prob.Y[i] - prob.Model(b.data(), prob.X[i]);
    };
    const auto ssr = [&](std::span<const double> b, std::span<const double> c, std::span<TQuorel* const> o) {
      return SumOfSquares(b, c, o, prob.Model);
    };
    for (int start = 1; start <= 2; ++start) {
      for (bool general : {false, true}) {
        const char* method = general ? "Marquardt" : "NewMarquardt";
        std::vector<double> b = start == 1 ? prob.Start1 : prob.Start2;
        double fmin;
        TOptStopReason reason;
        if (general) Marquardt(ssr, nullptr, b, {}, data, fmin, reason, 1000, 1e-12, 0, nullptr);
        else NewMarquardt(residuals, static_cast<std::int32_t>(prob.X.size()), b, {}, {}, fmin, reason, 1000, 1e-12, nullptr);
        const double digits = WorstDigits(b, prob.Certified);
        std::printf("%-9s start %d %-13s %5.1f digits (worst parameter)\n", name.c_str(), start, method, digits);
        EXPECT_GE(digits, kCertifiedDigits) << name << " start " << start << " " << method;
      }
    }
  }
}
