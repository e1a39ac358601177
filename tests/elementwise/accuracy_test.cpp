// Accuracy of the vector members against high-precision reference values: real functions within
// one ulp of the correctly rounded result, complex functions within a small relative error.
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel {
namespace {

using test::ComplexRelError;
using test::ReadReference;
using test::ReadRows;
using test::UlpDistance;

constexpr std::uint64_t kRealUlps = 1;
// Complex members combine several one-ulp results (and sinh from one exponential, deliberately).
constexpr double kComplexRelTol = 8 * MACHEP;

using RealMember = TVec& (TVec::*)();
using Rows = std::vector<std::vector<double>>;

// Column k of reference rows as a real vector.
TVec ColumnOf(const Rows& rows, std::size_t k) {
  TVec v;
  v.SetLength(static_cast<std::int32_t>(rows.size()));
  for (std::size_t i = 0; i < rows.size(); ++i) v[static_cast<std::int32_t>(i)] = rows[i][k];
  return v;
}

std::uint64_t WorstUlp(const TVec& v, const Rows& rows, std::size_t column) {
  std::uint64_t worst = 0;
  for (std::size_t i = 0; i < rows.size(); ++i)
    worst = std::max(worst, UlpDistance(v[static_cast<std::int32_t>(i)], rows[i][column]));
  return worst;
}

TEST(Accuracy, RealMembersWithinOneUlp) {
  const struct {
    const char* name;  // of tests/data/kernels_<name>.txt
    RealMember member;
    std::size_t column = 1;  // which reference column this member produces
  } cases[] = {
      {"asin", &TVec::ArcSin},     {"acos", &TVec::ArcCos},   {"atan", &TVec::ArcTan},   {"asinh", &TVec::ArcSinh},
      {"acosh", &TVec::ArcCosh},   {"atanh", &TVec::ArcTanh}, {"sinh", &TVec::Sinh},     {"cosh", &TVec::Cosh},
      {"tanh", &TVec::Tanh},       {"tan", &TVec::Tan},       {"exp", &TVec::Exp},       {"ln", &TVec::Ln},
      {"exp2", &TVec::Exp2},       {"exp10", &TVec::Exp10},   {"log2", &TVec::Log2},     {"log10", &TVec::Log10},
      {"cbrt", &TVec::Cbrt},       {"invsqrt", &TVec::InvSqrt}, {"invcbrt", &TVec::InvCbrt},
      {"sincos", &TVec::Sin},      {"sincos", &TVec::Cos, 2},
  };
  for (const auto& c : cases) {
    const Rows rows = ReadRows(std::string("kernels_") + c.name + ".txt");
    ASSERT_GT(rows.size(), 100u) << c.name;
    TVec v = ColumnOf(rows, 0);
    (v.*c.member)();
    EXPECT_LE(WorstUlp(v, rows, c.column), kRealUlps) << c.name << " column " << c.column;
  }
  const Rows pow = ReadRows("kernels_pow.txt"), atan2 = ReadRows("kernels_atan2.txt");
  ASSERT_FALSE(pow.empty() || atan2.empty());
  TVec r;
  r.PowerVec(ColumnOf(pow, 0), ColumnOf(pow, 1));
  EXPECT_LE(WorstUlp(r, pow, 2), kRealUlps) << "PowerVec";
  r.ArcTan2(ColumnOf(atan2, 0), ColumnOf(atan2, 1));
  EXPECT_LE(WorstUlp(r, atan2, 2), kRealUlps) << "ArcTan2";
}

// Named rows of a reference file ("" for a plain file) through member, within kComplexRelTol.
void ExpectComplexMember(const char* file, const char* name, RealMember member) {
  const Rows rows = *name ? ReadReference(file)[name] : ReadRows(file);
  ASSERT_GT(rows.size(), 50u) << file << " " << name;
  TVec v;
  v.Size(static_cast<std::int32_t>(rows.size()), true);
  for (std::size_t i = 0; i < rows.size(); ++i) v.CValues()[i] = {rows[i][0], rows[i][1]};
  (v.*member)();
  double worst = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (!std::isfinite(rows[i][2]) || !std::isfinite(rows[i][3])) continue;
    worst = std::max(worst, ComplexRelError(v.CValues()[i], rows[i][2], rows[i][3]));
  }
  EXPECT_LE(worst, kComplexRelTol) << file << " " << name;
}

TEST(Accuracy, ComplexMembersWithinStatedRelativeError) {
  const std::pair<const char*, RealMember> kernels[] = {
      {"kernels_csin.txt", &TVec::Sin},   {"kernels_ccos.txt", &TVec::Cos},   {"kernels_ctan.txt", &TVec::Tan},
      {"kernels_csinh.txt", &TVec::Sinh}, {"kernels_ccosh.txt", &TVec::Cosh}, {"kernels_ctanh.txt", &TVec::Tanh},
      {"kernels_cexp.txt", &TVec::Exp}};
  const std::pair<const char*, RealMember> scalar[] = {
      {"Ln", &TVec::Ln},         {"CSqrt", &TVec::Sqrt},     {"ArcSin", &TVec::ArcSin},   {"ArcCos", &TVec::ArcCos},
      {"ArcTan", &TVec::ArcTan}, {"ArcSinh", &TVec::ArcSinh}, {"ArcCosh", &TVec::ArcCosh}, {"ArcTanh", &TVec::ArcTanh}};
  for (const auto& [file, member] : kernels) ExpectComplexMember(file, "", member);
  for (const auto& [name, member] : scalar) ExpectComplexMember("scalar_complex.txt", name, member);
}

}  // namespace
}  // namespace quorel
