// Elementary real functions against correctly rounded reference values.
#include <functional>

#include <gtest/gtest.h>

#include "accuracy.h"
#include "quorel/core/scalar_real.h"

namespace quorel {
namespace {

using test::ReadReference;
using test::UlpDistance;

const std::map<std::string, std::function<double(const std::vector<double>&)>>& Functions() {
  using V = const std::vector<double>&;
  static const std::map<std::string, std::function<double(V)>> f = {
      {"Sin", [](V a) { return Sin(a[0]); }},         {"Cos", [](V a) { return Cos(a[0]); }},
      {"Tan", [](V a) { return Tan(a[0]); }},         {"ArcSin", [](V a) { return ArcSin(a[0]); }},
      {"ArcCos", [](V a) { return ArcCos(a[0]); }},   {"ArcTan", [](V a) { return ArcTan(a[0]); }},
      {"ArcTan2", [](V a) { return ArcTan2(a[0], a[1]); }},
      {"Ln", [](V a) { return Ln(a[0]); }},           {"Ln1", [](V a) { return Ln1(a[0]); }},
      {"Log2", [](V a) { return Log2(a[0]); }},       {"Log2X", [](V a) { return Log2X(a[0]); }},
      {"Log10", [](V a) { return Log10(a[0]); }},     {"LogN", [](V a) { return LogN(a[0], a[1]); }},
      {"Exp", [](V a) { return Exp(a[0]); }},         {"Exp2", [](V a) { return Exp2(a[0]); }},
      {"Exp10", [](V a) { return Exp10(a[0]); }},     {"Power", [](V a) { return Power(a[0], a[1]); }},
      {"IntPower", [](V a) { return IntPower(a[0], static_cast<int>(a[1])); }},
      {"Sinh", [](V a) { return Sinh(a[0]); }},       {"Cosh", [](V a) { return Cosh(a[0]); }},
      {"Tanh", [](V a) { return Tanh(a[0]); }},       {"TanhX", [](V a) { return TanhX(a[0]); }},
      {"ArcSinh", [](V a) { return ArcSinh(a[0]); }}, {"ArcCosh", [](V a) { return ArcCosh(a[0]); }},
      {"ArcTanh", [](V a) { return ArcTanh(a[0]); }}, {"Sec", [](V a) { return Sec(a[0]); }},
      {"Csc", [](V a) { return Csc(a[0]); }},         {"Cot", [](V a) { return Cot(a[0]); }},
      {"Sech", [](V a) { return Sech(a[0]); }},       {"Csch", [](V a) { return Csch(a[0]); }},
      {"Coth", [](V a) { return Coth(a[0]); }},       {"ArcSec", [](V a) { return ArcSec(a[0]); }},
      {"ArcCsc", [](V a) { return ArcCsc(a[0]); }},   {"ArcCot", [](V a) { return ArcCot(a[0]); }},
      {"ArcSech", [](V a) { return ArcSech(a[0]); }}, {"ArcCsch", [](V a) { return ArcCsch(a[0]); }},
      {"ArcCoth", [](V a) { return ArcCoth(a[0]); }}, {"Pythag", [](V a) { return Pythag(a[0], a[1]); }},
      {"DegToRad", [](V a) { return DegToRad(a[0]); }}, {"RadToDeg", [](V a) { return RadToDeg(a[0]); }},
  };
  return f;
}

TEST(RealAccuracy, WithinOneUlpOfCorrectlyRounded) {
  auto ref = ReadReference("scalar_real.txt");
  ASSERT_GE(ref.size(), Functions().size()) << "reference file missing or incomplete";
  for (const auto& [name, rows] : ref) {
    auto it = Functions().find(name);
    ASSERT_NE(it, Functions().end()) << name;
    std::uint64_t worst = 0;
    for (const auto& r : rows) {
      std::vector<double> args(r.v.begin(), r.v.end() - 1);
      double got = it->second(args), want = r.v.back();
      std::uint64_t d = UlpDistance(got, want);
      worst = std::max(worst, d);
      EXPECT_LE(d, 1u) << name << "(" << args[0] << (args.size() > 1 ? ", " + std::to_string(args[1]) : "")
                       << ") = " << got << ", want " << want;
    }
    std::printf("%-8s %4zu points, max %llu ulp\n", name.c_str(), rows.size(), static_cast<unsigned long long>(worst));
    EXPECT_GE(rows.size(), 30u) << name;
  }
}

}  // namespace
}  // namespace quorel
