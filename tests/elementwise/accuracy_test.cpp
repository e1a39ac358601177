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
    const char* file;
    RealMember member;
    std::size_t column;  // which reference column this member produces
  } cases[] = {
      {"kernels_asin.txt", &TVec::ArcSin, 1},   {"kernels_acos.txt", &TVec::ArcCos, 1},
      {"kernels_atan.txt", &TVec::ArcTan, 1},   {"kernels_asinh.txt", &TVec::ArcSinh, 1},
      {"kernels_acosh.txt", &TVec::ArcCosh, 1}, {"kernels_atanh.txt", &TVec::ArcTanh, 1},
      {"kernels_sinh.txt", &TVec::Sinh, 1},     {"kernels_cosh.txt", &TVec::Cosh, 1},
      {"kernels_tanh.txt", &TVec::Tanh, 1},     {"kernels_tan.txt", &TVec::Tan, 1},
      {"kernels_exp.txt", &TVec::Exp, 1},       {"kernels_ln.txt", &TVec::Ln, 1},
      {"kernels_exp2.txt", &TVec::Exp2, 1},     {"kernels_exp10.txt", &TVec::Exp10, 1},
      {"kernels_log2.txt", &TVec::Log2, 1},
      {"kernels_log10.txt", &TVec::Log10, 1},   {"kernels_cbrt.txt", &TVec::Cbrt, 1},
      {"kernels_invsqrt.txt", &TVec::InvSqrt, 1}, {"kernels_invcbrt.txt", &TVec::InvCbrt, 1},
      {"kernels_sincos.txt", &TVec::Sin, 1},    {"kernels_sincos.txt", &TVec::Cos, 2},
  };
  for (const auto& c : cases) {
    const Rows rows = ReadRows(c.file);
    ASSERT_GT(rows.size(), 100u) << c.file;
    TVec v = ColumnOf(rows, 0);
    (v.*c.member)();
    EXPECT_LE(WorstUlp(v, rows, c.column), kRealUlps) << c.file << " column " << c.column;
  }
  const Rows pow = ReadRows("kernels_pow.txt"), atan2 = ReadRows("kernels_atan2.txt");
  ASSERT_FALSE(pow.empty() || atan2.empty());
  TVec r;
  r.PowerVec(ColumnOf(pow, 0), ColumnOf(pow, 1));
  EXPECT_LE(WorstUlp(r, pow, 2), kRealUlps) << "PowerVec";
  r.ArcTan2(ColumnOf(atan2, 0), ColumnOf(atan2, 1));
  EXPECT_LE(WorstUlp(r, atan2, 2), kRealUlps) << "ArcTan2";
}

struct ComplexCase {
  const char* file;
  const char* name;  // row name in a named file, empty for a plain one
  RealMember member;
};

TEST(Accuracy, ComplexMembersWithinStatedRelativeError) {
  const ComplexCase cases[] = {
      {"kernels_csin.txt", "", &TVec::Sin},         {"kernels_ccos.txt", "", &TVec::Cos},
      {"kernels_ctan.txt", "", &TVec::Tan},         {"kernels_csinh.txt", "", &TVec::Sinh},
      {"kernels_ccosh.txt", "", &TVec::Cosh},       {"kernels_ctanh.txt", "", &TVec::Tanh},
      {"kernels_cexp.txt", "", &TVec::Exp},         {"scalar_complex.txt", "Ln", &TVec::Ln},
      {"scalar_complex.txt", "CSqrt", &TVec::Sqrt}, {"scalar_complex.txt", "ArcSin", &TVec::ArcSin},
      {"scalar_complex.txt", "ArcCos", &TVec::ArcCos}, {"scalar_complex.txt", "ArcTan", &TVec::ArcTan},
      {"scalar_complex.txt", "ArcSinh", &TVec::ArcSinh}, {"scalar_complex.txt", "ArcCosh", &TVec::ArcCosh},
      {"scalar_complex.txt", "ArcTanh", &TVec::ArcTanh},
  };
  for (const ComplexCase& c : cases) {
    const auto rows = *c.name ? ReadReference(c.file)[c.name] : ReadRows(c.file);
    ASSERT_GT(rows.size(), 50u) << c.file << " " << c.name;
    TVec v;
    v.Size(static_cast<std::int32_t>(rows.size()), true);
    for (std::size_t i = 0; i < rows.size(); ++i) v.CValues()[i] = {rows[i][0], rows[i][1]};
    (v.*c.member)();
    double worst = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (!std::isfinite(rows[i][2]) || !std::isfinite(rows[i][3])) continue;
      worst = std::max(worst, ComplexRelError(v.CValues()[i], rows[i][2], rows[i][3]));
    }
    EXPECT_LE(worst, kComplexRelTol) << c.file << " " << c.name;
  }
}

}  // namespace
}  // namespace quorel
