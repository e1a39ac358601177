// Complex functions against high-precision reference values, including both sides of the cuts.
#include <functional>

#include <gtest/gtest.h>

#include "accuracy.h"
#include "quorel/core/complex_trig.h"
#include "quorel/core/scalar_complex.h"

namespace quorel {
namespace {

// Normwise: |got - want| / |want| in units of the double rounding error 2^-53.
constexpr double kComplexTolUnits = 4;

double NormwiseUnits(const TCplx& got, const TCplx& want) {
  if (got.Re == want.Re && got.Im == want.Im) return 0;  // also infinities of the same sign
  double d = std::hypot(got.Re - want.Re, got.Im - want.Im), w = std::hypot(want.Re, want.Im);
  return (w == 0 ? d : d / w) / 0x1p-53;
}

TEST(ComplexAccuracy, NormwiseWithinFewRoundings) {
  using F = std::function<TCplx(const TCplx&)>;
  const std::map<std::string, F> unary = {
      {"Exp", [](const TCplx& z) { return Exp(z); }},         {"Ln", [](const TCplx& z) { return Ln(z); }},
      {"CSqrt", [](const TCplx& z) { return CSqrt(z); }},     {"Sin", [](const TCplx& z) { return Sin(z); }},
      {"Cos", [](const TCplx& z) { return Cos(z); }},         {"Tan", [](const TCplx& z) { return Tan(z); }},
      {"Tanh", [](const TCplx& z) { return Tanh(z); }},       {"ArcSin", [](const TCplx& z) { return ArcSin(z); }},
      {"ArcCos", [](const TCplx& z) { return ArcCos(z); }},   {"ArcTan", [](const TCplx& z) { return ArcTan(z); }},
      {"ArcSinh", [](const TCplx& z) { return ArcSinh(z); }}, {"ArcCosh", [](const TCplx& z) { return ArcCosh(z); }},
      {"ArcTanh", [](const TCplx& z) { return ArcTanh(z); }},
  };
  auto ref = test::ReadReference("scalar_complex.txt");
  ASSERT_EQ(ref.size(), unary.size() + 1) << "reference file missing or incomplete";
  for (const auto& [name, rows] : ref) {
    double worst = 0;
    for (const auto& r : rows) {
      TCplx z{r.v[0], r.v[1]}, got, want;
      if (name == "Power") {
        got = Power(z, TCplx{r.v[2], r.v[3]});
        want = {r.v[4], r.v[5]};
      } else {
        got = unary.at(name)(z);
        want = {r.v[2], r.v[3]};
      }
      double u = NormwiseUnits(got, want);
      worst = std::max(worst, u);
      EXPECT_LE(u, kComplexTolUnits) << name << "(" << z.Re << ", " << z.Im << ") = (" << got.Re << ", " << got.Im
                                     << "), want (" << want.Re << ", " << want.Im << ")";
    }
    std::printf("%-8s %4zu points, max %.2f roundings\n", name.c_str(), rows.size(), worst);
  }
}

}  // namespace
}  // namespace quorel
