// Copy of two vectors, Concat and Split: lengths, kinds, round trips and refusals.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/support.h"

namespace quorel {
namespace {
using ::testing::ElementsAre;
using test::Cplx;
using test::Doubles;
using test::IndexList;
using test::Ints;
using test::MessageOf;
using test::Real;

TEST(Assembly, CopyOfTwoTakesBothLengthsAndWidens) {
  const TVec a = Real({1, 2}), b = Real({3, 4, 5});
  TVec self;
  self.Copy(a, b);
  EXPECT_FALSE(self.Complex());
  EXPECT_THAT(Doubles(self), ElementsAre(1, 2, 3, 4, 5));
  // A real part next to a complex one becomes complex with zero imaginary parts.
  EXPECT_THAT(Doubles(self.Copy(a, Cplx({{7, 8}}))), ElementsAre(1, 0, 2, 0, 7, 8));
  EXPECT_TRUE(self.Complex());
  // Index lists stay 32-bit integers; next to reals they are widened.
  const TVec i1 = IndexList({4, 5}), i2 = IndexList({6});
  EXPECT_THAT(Ints(self.Copy(i1, i2)), ElementsAre(4, 5, 6));
  EXPECT_THAT(Doubles(self.Copy(i1, b)), ElementsAre(4, 5, 3, 4, 5));
}

TEST(Assembly, ConcatAndSplitRoundTrip) {
  const TVec a = Cplx({{1, -1}, {2, -2}}), b = Cplx({{3, -3}, {4, -4}, {5, -5}});
  TVec empty, whole;
  empty.set_Complex(true);
  whole.Concat({&a, &empty, &b});
  EXPECT_THAT(Doubles(whole), ElementsAre(1, -1, 2, -2, 3, -3, 4, -4, 5, -5));

  TVec p, q, r;
  whole.Split({&p, &q, &r}, {2, 0, 3});
  EXPECT_EQ((std::vector{Doubles(p), Doubles(q), Doubles(r)}), (std::vector{Doubles(a), Doubles(empty), Doubles(b)}));
  whole.Split(q, r, 4);
  EXPECT_EQ(r.CValues()[0], (TCplx{5, -5}));
  // Pieces of the destinations' current lengths; the tail is left out.
  p.Size(1, false);
  q.Size(3, false);
  whole.Split({&p, &q});
  EXPECT_THAT(Doubles(q), ElementsAre(2, -2, 3, -3, 4, -4));  // complex now

  // Self among the sources appends; the in-place form writes from Index on.
  TVec v = Real({1, 2});
  v.Concat({&v, &v});
  EXPECT_THAT(Doubles(v), ElementsAre(1, 2, 1, 2));
  const TVec x = Real({9, 8});
  EXPECT_THAT(Doubles(v.Concat(1, {&x})), ElementsAre(1, 9, 8, 2));
  // A view over Self's own storage is read as it was before Self changed.
  TVec w = Real({1, 2, 3, 4}), head;
  head.SetSubRange(w, 0, 2);  // 1, 2: overwritten by x before it is read
  EXPECT_THAT(Doubles(w.Concat(0, {&x, &head})), ElementsAre(9, 8, 1, 2));
  head.SetFullRange();
}

TEST(Assembly, RefusalsKeepEverything) {
  TVec self = Real({1, 2, 3, 4}), a = Real({5}), b = Real({6, 7, 7, 7}), c = Cplx({{1, 1}}), v1 = Real({-1}), v2;
  TVec view;
  view.SetSubRange(b, 0, 1);
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { self.Copy(self, a); }, "TVec.Copy: Self = Vec1"},
      {[&] { self.Copy(a, self); }, "TVec.Copy: Self = Vec2"},
      {[&] { self.Concat({&a, &c}); }, "src[i].Complex <> src[0].Complex"},
      {[&] { self.Concat({&a, nullptr}); }, "src[1] = nil"},
      {[&] { self.Split(self, v2, 1); }, "Self = Vec1"},
      {[&] { self.Split(v1, self, 1); }, "Self = Vec2"},
      {[&] { self.Split({&v1, &v2}, {1}); }, "High(Dst) <> High(DstSize)"},
  });
  test::ExpectMessages<EQuorelRangeError>({
      {[&] { self.Concat(3, {&a, &b}); }, "(Index + Sum(Src[i].Length)) > Length"},
      {[&] { self.Split(v1, v2, 5); }, "Offset > fLength"},
      {[&] { self.Split({&a, &b}); }, "Size mismatch at vec 1"},
      {[&] { self.Split({&v1, &v2}, {3, 2}); }, "Self.Length exceeded at vec 1"},
  });
  // A sub-range destination that cannot take its piece is refused before the first piece is written.
  EXPECT_EQ(MessageOf<EQuorelException>([&] { self.Split(v1, view, 1); }), "IsSubRange = True!");
  EXPECT_THAT(Doubles(self), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(Doubles(v1), ElementsAre(-1));
  EXPECT_EQ(v2.Length(), 0);
}

}  // namespace
}  // namespace quorel
