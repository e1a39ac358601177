// The objects' quick fills: the seed is the whole MCG31m1 state and is carried between calls.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"
#include "quorel/stats/random_streams.h"
#include "support/values.h"

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

// The Gaussian fill is the streams' Box-Muller sampler (held to its law in samplers_test.cpp) on an
// MCG31 started at the object's seed: a second call continues it, and a complex vector draws its
// parts in turn.
TEST(QuickFills, GaussianIsTheStreamSamplerAndSplitCallsEqualOneCall) {
  TVec whole(8), want(8), part(4), cplx(4, true);
  whole.RandGauss(7u, 1.0, 2.0);
  TRngStream s;
  ASSERT_EQ(s.NewStream(brgMCG31, 7), rngStatusOk);
  ASSERT_EQ(s.RandomGaussian(want, 1.0, 2.0, grmBoxMuller2), rngStatusOk);
  const auto w = test::Doubles(whole);
  EXPECT_EQ(w, test::Doubles(want));
  part.RandGauss(7u, 1.0, 2.0);
  EXPECT_EQ(test::Doubles(part), std::vector<double>(w.begin(), w.begin() + 4));
  part.RandGauss(1.0, 2.0);
  EXPECT_EQ(test::Doubles(part), std::vector<double>(w.begin() + 4, w.end()));
  cplx.RandGauss(7u, 1.0, 2.0);
  EXPECT_EQ(test::Doubles(cplx), w);  // (re, im) pairs in storage order
}

TEST(QuickFills, SeedRules) {
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
