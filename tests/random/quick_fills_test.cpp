// The objects' quick fills: the seed is the whole MCG31m1 state and is carried between calls.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"

namespace quorel {
namespace {

// x <- 1132489760 x mod (2^31 - 1), computed here independently of the library's engine.
std::uint64_t Next(std::uint64_t x) { return x * 1132489760u % 2147483647u; }

TEST(QuickFills, UniformFollowsTheRecurrenceAndContinuesAcrossCalls) {
  TVec v(3);
  v.RandUniform(12345u, 2.0, 4.0);
  std::uint64_t x = 12345;
  for (int i = 0; i < 3; ++i) {
    x = Next(x);
    EXPECT_DOUBLE_EQ(v[i], 2.0 + 2.0 * static_cast<double>(x) / 2147483647.0) << i;
  }
  EXPECT_EQ(v.RandSeed(), x);
  v.RandUniform(2.0, 4.0);  // continues where the first call stopped
  x = Next(x);
  EXPECT_DOUBLE_EQ(v[0], 2.0 + 2.0 * static_cast<double>(x) / 2147483647.0);

  // Near 2^40 the doubles are 2^-12 apart, so Low + u rounds to High for u above 1 - 2^-13.
  const double low = 0x1p40, high = low + 1;
  v.SetLength(100000);
  v.RandUniform(7u, low, high);
  for (int i = 0; i < v.Length(); ++i) ASSERT_TRUE(v[i] >= low && v[i] < high) << i;
}

TEST(QuickFills, GaussianSplitCallsEqualOneCallAndComplexDrawsBothParts) {
  TVec whole(8), part(4), cplx(4, true);
  whole.RandGauss(7u, 1.0, 2.0);
  part.RandGauss(7u, 1.0, 2.0);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(part[i], whole[i]);
  part.RandGauss(1.0, 2.0);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(part[i], whole[4 + i]);
  cplx.RandGauss(7u, 1.0, 2.0);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(cplx.PCValues(i)->Re, whole[2 * i]);
    EXPECT_EQ(cplx.PCValues(i)->Im, whole[2 * i + 1]);
  }
}

TEST(QuickFills, GaussianMomentsAndSeedRules) {
  TVec v(100000);
  v.RandGauss(99u, 3.0, 0.5);
  double sum = 0, sq = 0;
  for (int i = 0; i < v.Length(); ++i) sum += v[i];
  const double mean = sum / v.Length();
  for (int i = 0; i < v.Length(); ++i) sq += (v[i] - mean) * (v[i] - mean);
  // Five standard errors: a false failure is below 1e-6.
  EXPECT_NEAR(mean, 3.0, 5 * 0.5 / std::sqrt(100000.0));
  EXPECT_NEAR(std::sqrt(sq / (v.Length() - 1)), 0.5, 5 * 0.5 / std::sqrt(2 * 100000.0));

  TVec w{5.0, 5.0};
  try {
    w.RandGauss(0u, 0.0, 1.0);
    FAIL() << "no exception";
  } catch (const EQuorelInvalidArgument&) {
    FAIL() << "wrong class";
  } catch (const EQuorelException& e) {
    EXPECT_STREQ(e.what(), "Seed = 0");
  }
  EXPECT_EQ(w[0], 5.0);
  TVec empty;
  empty.RandUniform(0.0, 1.0);
  EXPECT_EQ(empty.RandSeed(), 0u);  // nothing drawn, never seeded
  w.RandUniform(0.0, 1.0);
  EXPECT_NE(w.RandSeed(), 0u);
}

}  // namespace
}  // namespace quorel
