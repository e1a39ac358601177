// Gather and scatter by increment, index list and mask: round trips, bounds and refusals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using test::Doubles;
using test::IndexList;
using test::MessageOf;
using test::Real;

TEST(Gather, EachFormThenItsScatterRestores) {
  const TVec x = Real({10, 11, 12, 13, 14, 15, 16});
  const TVec perm = IndexList({6, 0, 3});
  const TVec mask = IndexList({0, 1, 1, 0, 0, 2, 0});
  struct Form {
    const TVec* indexes;
    int type, incr, offset;
    std::vector<double> gathered;
  };
  const Form forms[] = {{nullptr, 0, 3, 1, {11, 14}}, {&perm, 1, 0, 0, {16, 10, 13}}, {&mask, 2, 0, 0, {11, 12, 15}}};
  for (const Form& f : forms) {
    TVec g, back(x.Length());
    g.Gather(x, f.indexes, f.type, f.incr, f.offset);
    EXPECT_EQ(Doubles(g), f.gathered) << f.type;
    back.Scatter(g, f.indexes, f.type, f.incr, f.offset);
    for (std::int32_t i = 0; i < x.Length(); ++i) {
      if (back[i] != 0) EXPECT_EQ(back[i], x[i]) << f.type << " at " << i;
    }
    EXPECT_EQ(std::count(back.Values().begin(), back.Values().end(), 0.0), 7 - std::ssize(f.gathered));
  }
}

TEST(Gather, ComplexDataAndSplitByMaskRoundTrip) {
  TVec z = test::Cplx({{1, 1}, {2, 2}, {3, 3}, {4, 4}}), on, off, merged;
  const TVec mask = IndexList({1, 0, 0, 1});
  z.SplitByMask(mask, on, off);
  EXPECT_THAT(Doubles(on), ElementsAre(1, 1, 4, 4));
  EXPECT_THAT(Doubles(off), ElementsAre(2, 2, 3, 3));
  EXPECT_EQ(Doubles(merged.GatherSplit(mask, on, off)), Doubles(z));
  // A real source scattered into a complex Self gets zero imaginary parts.
  z.ScatterByIndex(Real({-7}), IndexList({2}));
  EXPECT_EQ(z.CValues()[2], (TCplx{-7, 0}));
}

TEST(Gather, IndexValuesAreBoundedEvenWithoutChecks) {
  TVec x = Real({1, 2, 3}), self = Real({9});
  self.SetConditionCheck(false);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { self.GatherByIndex(x, IndexList({0, 3})); }),
            "TVec.GatherByIndex: Indexes[1] = 3 out of range (X.Length: 3)");
  EXPECT_THROW(x.ScatterByIndex(self, IndexList({-1})), EQuorelRangeError);
  EXPECT_THROW(self.ScatterByIncr(x, 1, 0), EQuorelRangeError);  // three elements into one
  EXPECT_THAT(Doubles(self), ElementsAre(9));
  EXPECT_THAT(Doubles(x), ElementsAre(1, 2, 3));
  // Without checks Self may be its own source: it is read as it was before the call.
  self.SetIt(false, {5, 6, 7, 8});
  EXPECT_THAT(Doubles(self.GatherByIncr(self, 2, 1)), ElementsAre(6, 8));
}

TEST(Gather, RefusalsKeepEverything) {
  TVec x = Real({1, 2, 3}), self = Real({4, 5}), real = Real({1, 0}), cplx = test::Cplx({{1, 1}});
  const TVec mask = IndexList({1, 0, 1, 1});
  auto refuses = [&](auto call, const char* message) {
    EXPECT_EQ(MessageOf<EQuorelInvalidArgument>(call), message);
    EXPECT_THAT(Doubles(self), ElementsAre(4, 5)) << message;
  };
  refuses([&] { self.Gather(x, nullptr, 1, 0, 0); }, "TVec.Gather: Indexes = nil");
  refuses([&] { self.Gather(x, nullptr, 3, 1, 0); }, "TVec.Gather: Unexpected IndexType value: 3");
  refuses([&] { self.GatherByIncr(x, 0, 0); }, "TVec.GatherByIncr: Increment <= 0");
  refuses([&] { self.GatherByIncr(self, 1, 0); }, "TVec.GatherByIncr: X = Self");
  refuses([&] { self.GatherByIndex(self, mask); }, "TVec.GatherByIndex: X = Self");
  refuses([&] { self.GatherByIndex(x, self); }, "TVec.GatherByIndex: Indexes = Self");
  refuses([&] { self.GatherByMask(self, &mask); }, "TVec.GatherMyMask: X = Self");
  refuses([&] { self.GatherByMask(x, &self); }, "TVec.GatherMyMask: Mask = Self");
  refuses([&] { self.GatherByMask(x, nullptr); }, "TVec.GatherMyMask: Mask = nil");
  refuses([&] { self.GatherByMask(x, &real); }, "TVec.GatherMyMask: Mask is not integer");
  refuses([&] { self.GatherByMask(x, &mask); }, "X.Length < Mask.Length");
  refuses([&] { self.GatherSplit(self, x, x); }, "Self = Mask");
  refuses([&] { self.GatherSplit(mask, self, x); }, "Self = MaskVec");
  refuses([&] { self.GatherSplit(mask, x, self); }, "Self = NotMaskVec");
  refuses([&] { self.GatherSplit(real, x, x); }, "Mask is not integer");
  refuses([&] { self.GatherSplit(mask, x, cplx); }, "MaskVec.Complex <> NotMaskVec.Complex");
  refuses([&] { self.ScatterByIndex(cplx, IndexList({0})); }, "TVec.ScatterByIndex: Src is complex, Self is real");
  // GatherSplit needs one element per mask entry: 3 true entries, MaskVec has 2.
  EXPECT_THROW(self.GatherSplit(mask, real, x), EQuorelRangeError);
  EXPECT_THAT(Doubles(self), ElementsAre(4, 5));
}

}  // namespace
}  // namespace quorel
