// Gamma family and Bessel functions against high-precision reference values.
#include <functional>

#include <gtest/gtest.h>

#include "accuracy.h"
#include "quorel/core/bessel.h"
#include "quorel/core/gamma.h"

namespace quorel {
namespace {

using test::kSpecialRelTol;
using test::ReadReference;
using test::RelativeError;

// LnGamma passes through zero at 1 and 2, where only an absolute bound makes sense.
constexpr double kLnGammaAbsTolNearZeros = 1e-16;

TEST(SpecialAccuracy, RelativeErrorAtMostOneE15) {
  const std::map<std::string, std::function<double(double)>> fns = {
      {"Gamma", Gamma}, {"LnGamma", LnGamma}, {"BesselJ0", BesselJ0}, {"BesselI0", BesselI0}};
  auto ref = ReadReference("scalar_special.txt");
  ASSERT_EQ(ref.size(), fns.size()) << "reference file missing or incomplete";
  for (const auto& [name, rows] : ref) {
    double worst = 0;
    for (const auto& r : rows) {
      double x = r.v[0], want = r.v[1], got = fns.at(name)(x);
      double err = RelativeError(got, want);
      if (name == "LnGamma" && x > 0.5 && x < 2.5 && std::fabs(got - want) <= kLnGammaAbsTolNearZeros) err = 0;
      worst = std::max(worst, err);
      EXPECT_LE(err, kSpecialRelTol) << name << "(" << x << ") = " << got << ", want " << want;
    }
    std::printf("%-8s %4zu points, max relative error %.3g\n", name.c_str(), rows.size(), worst);
  }
}

}  // namespace
}  // namespace quorel
