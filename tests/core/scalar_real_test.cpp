// The elementary real functions against correctly rounded reference values, and their special values.
#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/constants.h"
#include "quorel/core/scalar_real.h"

namespace quorel {
namespace {

using test::ReadReference;
using test::UlpDistance;

TEST(RealFunctions, DomainErrorsLimitsAndSignsOfZeros) {
  const double nans[] = {Ln(-1),       Ln1(-2),      Log10(-1e-300), ArcSin(1.0000000000000002), ArcCosh(0.5),
                         ArcTanh(1.5), ArcSec(0.5),  ArcSech(-0.5),  ArcCoth(0.5), Power(-8, 1.0 / 3), Sin(INF)};
  for (const double& v : nans) EXPECT_TRUE(std::isnan(v)) << "entry " << &v - nans;
  const double exact[][2] = {
      {Ln(0), -INF},        {Ln1(-1), -INF},           {ArcTanh(1), INF},        {Exp(710), INF},
      {Exp(-INF), 0},       {IntPower(0, -1), INF},    {IntPower(NaN, 0), 1},    {Log2(1), 0},
      {Log2X(1), 0},        {TanhX(-1000), -1},        {ArcCot(0.0), PIDIV2},    {ArcCot(-0.0), -PIDIV2},
      {ArcSec(-1.0), PI},   {ArcSec(INF), PIDIV2},     {ArcTan2(0.0, -1.0), PI}, {ArcTan2(-0.0, -1.0), -PI},
      {Csc(-0.0), -INF},    {Cot(-0.0), -INF},         {Csc(0.0), INF},          {Cot(0.0), INF}};
  for (const auto& e : exact) EXPECT_EQ(e[0], e[1]) << "entry " << &e - exact;
  EXPECT_TRUE(std::signbit(ArcSin(-0.0)) && std::signbit(TanhX(-0.0)));
}

TEST(RealFunctions, SmallArgumentsKeepRelativeAccuracy) {
  // Values whose correctly rounded results are known in closed form to double precision.
  EXPECT_EQ(Ln1(1e-300), 1e-300);
  EXPECT_LE(UlpDistance(Ln1(-1e-10), -1.00000000005000000000333e-10), 1u);
  EXPECT_LE(UlpDistance(Log2X(1 + 0x1p-52), 0x1p-52 / 0.69314718055994530942), 1u);
  EXPECT_LE(UlpDistance(Log2X(0.8), -0.32192809488736234787), 1u);
  EXPECT_LE(UlpDistance(ArcCos(1 - 0x1p-53), 1.4901161193847656803e-8), 1u);
  EXPECT_EQ(TanhX(1e-300), 1e-300);
  EXPECT_LE(UlpDistance(IntPower(2, -1074), 4.9406564584124654e-324), 0u);
  EXPECT_EQ(IntPower(10, 22), 1e22);
  EXPECT_EQ(Pythag(3e300, 4e300), 5e300);
  EXPECT_EQ(Pythag(3e-300, 4e-300), 5e-300);
}

TEST(RealAccuracy, WithinOneUlpOfCorrectlyRounded) {
  using F1 = double (*)(double);
  using F2 = double (*)(double, double);
  const std::map<std::string, F1> unary = {
      {"Sin", Sin},         {"Cos", Cos},         {"Tan", Tan},         {"ArcSin", ArcSin},   {"ArcCos", ArcCos},
      {"ArcTan", ArcTan},   {"Ln", Ln},           {"Ln1", Ln1},         {"Log2", Log2},       {"Log2X", Log2X},
      {"Log10", Log10},     {"Exp", Exp},         {"Exp2", Exp2},       {"Exp10", Exp10},     {"Sinh", Sinh},
      {"Cosh", Cosh},       {"Tanh", Tanh},       {"TanhX", TanhX},     {"ArcSinh", ArcSinh}, {"ArcCosh", ArcCosh},
      {"ArcTanh", ArcTanh}, {"Sec", Sec},         {"Csc", Csc},         {"Cot", Cot},         {"Sech", Sech},
      {"Csch", Csch},       {"Coth", Coth},       {"ArcSec", ArcSec},   {"ArcCsc", ArcCsc},   {"ArcCot", ArcCot},
      {"ArcSech", ArcSech}, {"ArcCsch", ArcCsch}, {"ArcCoth", ArcCoth}, {"DegToRad", DegToRad}, {"RadToDeg", RadToDeg}};
  const std::map<std::string, F2> binary = {
      {"ArcTan2", ArcTan2}, {"LogN", LogN}, {"Power", Power}, {"Pythag", Pythag},
      {"IntPower", [](double x, double n) { return IntPower(x, static_cast<int>(n)); }}};
  auto ref = ReadReference("scalar_real.txt");
  ASSERT_EQ(ref.size(), unary.size() + binary.size()) << "reference file missing or incomplete";
  for (const auto& [name, rows] : ref) {
    ASSERT_TRUE(unary.count(name) + binary.count(name) == 1) << name;
    std::uint64_t worst = 0;
    for (const auto& r : rows) {
      const double got = unary.count(name) ? unary.at(name)(r[0]) : binary.at(name)(r[0], r[1]), want = r.back();
      worst = std::max(worst, UlpDistance(got, want));
      EXPECT_LE(UlpDistance(got, want), 1u) << name << "(" << r[0] << (r.size() > 2 ? ", " + std::to_string(r[1]) : "")
                                            << ") = " << got << ", want " << want;
    }
    std::printf("%-8s %4zu points, max %llu ulp\n", name.c_str(), rows.size(), static_cast<unsigned long long>(worst));
    EXPECT_GE(rows.size(), 30u) << name;
  }
}

}  // namespace
}  // namespace quorel
