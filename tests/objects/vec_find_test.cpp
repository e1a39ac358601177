// The comparison family: operator texts, NaN and infinity rules, complex ordering, outputs, refusals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/support.h"
#include "quorel/core/constants.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using test::Cplx;
using test::Doubles;
using test::Ints;
using test::MessageOf;
using test::Real;

TEST(Find, RealNanAndInfinityRules) {
  const TVec a = Real({NaN, 1, 3});
  TVec m;
  struct Case {
    const char* op;
    double b;
    std::vector<int> mask;
  };
  // A pair with a NaN is "less"; "=" matches NaN only with NaN.
  const Case cases[] = {{"<", 2, {1, 1, 0}},   {"<=", 2, {1, 1, 0}},  {"=<", 2, {1, 1, 0}},   {">", 2, {0, 0, 1}},
                        {">=", 2, {0, 0, 1}},  {"=>", 2, {0, 0, 1}},  {"=", NaN, {1, 0, 0}},  {"==", NaN, {1, 0, 0}},
                        {"<>", NaN, {0, 1, 1}}, {"<", NaN, {1, 1, 1}}, {">=", NaN, {0, 0, 0}}, {"=", 3, {0, 0, 1}},
                        {"<>", 3, {1, 1, 0}}};
  for (const Case& c : cases) {
    m.FindMask(a, c.op, c.b);
    EXPECT_EQ(Ints(m), c.mask) << c.op << " " << c.b;
    EXPECT_TRUE(m.IsInteger());
    EXPECT_FALSE(m.Complex());
  }
  // Infinities of either sign are equal.
  const TVec inf = Real({INF, -INF, 1e308});
  EXPECT_THAT(Ints(m.FindMask(inf, "=", INF)), ElementsAre(1, 1, 0));
  EXPECT_THAT(Ints(m.FindMask(inf, "<>", -INF)), ElementsAre(0, 0, 1));
  // The same rules with the NaN on b's side, element by element.
  const TVec b = Real({NaN, NaN, INF});
  EXPECT_THAT(Ints(m.FindMask(a, "<", b)), ElementsAre(1, 1, 1));
  EXPECT_THAT(Ints(m.FindMask(a, "=", b)), ElementsAre(1, 0, 0));
  EXPECT_THAT(Ints(m.FindMask(a, ">", b)), ElementsAre(0, 0, 0));
}

TEST(Find, ComplexOrderingAndSpecialValues) {
  // Equal moduli except (1, 1): the order is by modulus, then by phase from -pi.
  const TVec z = Cplx({{3, 4}, {0, 5}, {-5, 0}, {0, -5}, {1, 1}, {5, 0}});
  TVec m;
  EXPECT_THAT(Ints(m.FindMask(z, ">", TCplx{5, 0})), ElementsAre(1, 1, 1, 0, 0, 0));
  EXPECT_THAT(Ints(m.FindMask(z, "<", TCplx{5, 0})), ElementsAre(0, 0, 0, 1, 1, 0));
  EXPECT_THAT(Ints(m.FindMask(z, ">=", TCplx{5, 0})), ElementsAre(1, 1, 1, 0, 0, 1));
  EXPECT_THAT(Ints(m.FindMask(z, "=", TCplx{5, 0})), ElementsAre(0, 0, 0, 0, 0, 1));
  // A real b is (b, 0): its sign does not change which moduli are larger.
  EXPECT_THAT(Ints(m.FindMask(z, ">", -4.0)), ElementsAre(1, 1, 1, 1, 0, 1));
  const TVec s = Cplx({{NaN, 0}, {INF, 1}, {1, 2}});
  EXPECT_THAT(Ints(m.FindMask(s, "=", CNAN)), ElementsAre(1, 0, 0));
  EXPECT_THAT(Ints(m.FindMask(s, "=", TCplx{0, -INF})), ElementsAre(0, 1, 0));
  EXPECT_THAT(Ints(m.FindMask(s, "<>", CINF)), ElementsAre(1, 0, 1));
}

TEST(Find, IndexesGatherAndSplit) {
  const TVec a = Real({1, 5, 2, 7, 0}), b = Real({3, 3, 3});
  TVec idx, vals, where, yes, no, mask;
  // Lengths 5 and 3 compare three elements: a[4] < 3 is not reported.
  EXPECT_THAT(Ints(idx.FindIndexes(a, "<", b)), ElementsAre(0, 2));
  EXPECT_THAT(Ints(idx.FindIndexes(a, ">", 100.0)), IsEmpty());
  EXPECT_THAT(Doubles(vals.FindAndGather(a, ">=", 2.0, where)), ElementsAre(5, 2, 7));
  EXPECT_THAT(Ints(where), ElementsAre(1, 2, 3));
  EXPECT_THAT(Ints(mask.FindAndSplit(a, "<", 2.0, yes, no)), ElementsAre(1, 0, 0, 0, 1));
  EXPECT_THAT(Doubles(yes), ElementsAre(1, 0));
  EXPECT_THAT(Doubles(no), ElementsAre(5, 2, 7));

  EXPECT_THAT(Doubles(vals.FindAndGather(Cplx({{3, 4}, {1, 0}, {-5, 0}}), ">", TCplx{2, 0}, where)),
              ElementsAre(3, 4, -5, 0));
  EXPECT_THAT(Ints(where), ElementsAre(0, 2));
  // An integer mask compares as numbers.
  mask.FindMask(a, ">", 1.5);
  EXPECT_THAT(Ints(idx.FindIndexes(mask, "=", 1.0)), ElementsAre(1, 2, 3));
}

TEST(Find, RefusalsKeepEverything) {
  TVec a = Real({1, 2}), c = Cplx({{1, 2}}), self = Real({7}), out1 = Real({8}), out2 = Real({9});
  const auto outputs = [&] { return std::vector{Doubles(self), Doubles(out1), Doubles(out2)}; };
  const auto before = outputs();
  auto refuses = [&](auto call, const std::string& message) {
    EXPECT_EQ(MessageOf<EQuorelInvalidArgument>(call), message);
    EXPECT_EQ(outputs(), before) << message;
  };
  refuses([&] { self.FindMask(a, "=!", 1.0); }, "Parameter: =! not recognized!");
  refuses([&] { self.FindIndexes(a, "", 1.0); }, "Parameter:  not recognized!");
  refuses([&] { self.FindMask(self, "<", 1.0); }, "a = Self");
  refuses([&] { self.FindMask(a, "<", self); }, "b = Self");
  refuses([&] { self.FindIndexes(a, "<", c); }, "a.Complex <> b.Complex");
  refuses([&] { self.FindAndGather(a, "<", 1.0, self); }, "Indexes = Self");
  refuses([&] { self.FindAndSplit(a, "<", 1.0, self, out2); }, "MaskVec = Self");
  refuses([&] { self.FindAndSplit(a, "<", 1.0, out1, self); }, "NotMaskVec = Self");
  // No misses do not fit a one-element view: refused before Self or MaskVec is written.
  TVec spare = Real({0, 0}), view;
  view.SetSubRange(spare, 0, 1);
  EXPECT_THROW(self.FindAndSplit(a, "<", 5.0, out1, view), EQuorelException);
  EXPECT_EQ(outputs(), before);
  // Without checks a = Self compares Self as it was before the call.
  self.SetIt(false, {1, 5, 3});
  self.SetConditionCheck(false);
  EXPECT_THAT(Ints(self.FindMask(self, ">", 2.0)), ElementsAre(0, 1, 1));
}

}  // namespace
}  // namespace quorel
