// Ramp, slices, sorting with index vectors, primes and mask negation.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/constants.h"
#include "quorel/core/startup.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using ::testing::IsNan;
using test::Doubles;
using test::Ints;
using test::MessageOf;
using test::Real;

TEST(Order, RampForms) {
  TVec v(10001);
  v.Ramp(0.0, 0.1);
  EXPECT_EQ(v[10000], 1000.0);  // a running sum of 0.1 would have drifted by ~1e-10
  TVec c = test::Cplx({{9, 9}, {9, 9}, {9, 9}});
  EXPECT_EQ(c.Ramp(1.0, 2.0).CValues()[2], (TCplx{5, 0}));
  EXPECT_THAT(Doubles(c.Ramp(TCplx{1, 1}, TCplx{0, -1}, 1, 2)), ElementsAre(1, 0, 1, 1, 1, 0));
  TVec r = Real({0, 0, 0});
  EXPECT_THAT(Doubles(r.Ramp(TCplx{0, 1}, 0.5)), ElementsAre(0, 1, 0.5, 1, 1, 1));  // complex, same length
  TVec idx = test::IndexList({9, 9, 9, 9});
  EXPECT_THAT(Ints(idx.Ramp(5.0, -2.5)), ElementsAre(5, 2, 0, -2));

  TVec real = Real({1, 2, 3});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { real.Ramp(TCplx{1, 1}, 1.0, 0, 1); }), "Complex = False");
  EXPECT_THROW(real.Ramp(0.0, 1.0, 2, 5), EQuorelRangeError);
  EXPECT_THAT(Doubles(real), ElementsAre(1, 2, 3));
}

TEST(Order, SortPlacesNanLastAndIndexesAreStable) {
  // Equal values keep their original order in both directions; NaN goes last.
  TVec v = Real({3, NaN, 1, 2, 1}), idx;
  EXPECT_THAT(Doubles(v.SortAscend(&idx)), ElementsAre(1, 1, 2, 3, IsNan()));
  EXPECT_THAT(Ints(idx), ElementsAre(2, 4, 3, 0, 1));
  v.SetIt(false, {3, NaN, 1, 2, 1});
  EXPECT_THAT(Doubles(v.SortDescend(&idx)), ElementsAre(3, 2, 1, 1, IsNan()));
  EXPECT_THAT(Ints(idx), ElementsAre(0, 3, 2, 4, 1));
  // Long lists with many ties (past any small-list sort), NaNs spread through them.
  TVec many;
  many.Size(1000);
  for (std::int32_t i = 0; i < 1000; ++i) many[i] = i % 11 == 5 ? NaN : double((i * 37) % 7);
  many.SortAscend(&idx);
  for (std::int32_t k = 1; k < 1000; ++k) {
    const bool sameValue = many[k] == many[k - 1] || (std::isnan(many[k]) && std::isnan(many[k - 1]));
    if (sameValue) EXPECT_LT(idx.IValues()[k - 1], idx.IValues()[k]) << k;
    if (!std::isnan(many[k])) EXPECT_LE(many[k - 1], many[k]) << k;
  }

  // Complex: by modulus, then by phase from -pi.
  TVec z = test::Cplx({{0, -5}, {3, 4}, {1, 0}, {-5, 0}, {NaN, 0}});
  z.SortAscend(&idx);
  EXPECT_THAT(Ints(idx), ElementsAre(2, 0, 1, 3, 4));
  EXPECT_EQ(z.CValues()[1], (TCplx{0, -5}));
  EXPECT_THAT(Doubles(z.SortDescend()), ElementsAre(-5, 0, 3, 4, 0, -5, 1, 0, IsNan(), 0));
  EXPECT_THAT(Ints(idx.SortDescend()), ElementsAre(4, 3, 2, 1, 0));  // index lists sort as integers

  v.SetIt(false, {2, 1});
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { v.SortAscend(nullptr); }), "IndexVec = nil");
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { v.SortDescend(&v); }), "IndexVec = Self");
  EXPECT_THAT(Doubles(v), ElementsAre(2, 1));
}

TEST(Order, SlicesPrimesAndMasks) {
  TVec x = Real({0, 1, 2, 3, 4, 5, 6}), s;
  EXPECT_THAT(Doubles(s.SliceIt(x, 2, 1, -1)), ElementsAre(1, 3, 5));
  EXPECT_THAT(Doubles(s.SliceIt(x, -3, 6, -1)), ElementsAre(6, 3, 0));
  EXPECT_THAT(Doubles(s.SliceIt(x, 3, 0, 2)), ElementsAre(0, 3));
  EXPECT_THAT(Doubles(s.SliceItc(x, 1, 1, 2)), ElementsAre(2, 3, 4, 5));  // x read as (0, 1), (2, 3), (4, 5)
  EXPECT_THROW(s.SliceIt(x, 3, 1, 3), EQuorelRangeError);  // position 7 of 7
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { s.SliceIt(x, 0, 1, 1); }), "TVec.SliceIt: Step = 0");
  EXPECT_EQ(s.Length(), 2);

  TVec p;
  EXPECT_EQ(p.PrimeNumbers(1).Length(), 0);
  EXPECT_THAT(Doubles(p.PrimeNumbers(2)), ElementsAre(2));
  ASSERT_EQ(p.PrimeNumbers(7919).Length(), 1000);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(p[i], QuorelPrimeArray[static_cast<std::size_t>(i)]) << i;

  TVec m = test::IndexList({-1, 0, 1, 2});
  EXPECT_THAT(Ints(m.NotMask()), ElementsAre(0, 1, 0, 0));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { x.NotMask(); }), "TVec.NotMask: Self is not integer");
}

}  // namespace
}  // namespace quorel
