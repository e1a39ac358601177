// Copy of two vectors, Concat and Split: lengths, kinds, round trips and refusals.
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"

namespace quorel {
namespace {

using ::testing::ElementsAre;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

std::vector<double> Reals(const TVec& v) { return {v.Values().begin(), v.Values().end()}; }
std::vector<int> Ints(const TVec& v) { return {v.IValues().begin(), v.IValues().end()}; }

TVec IndexList(std::initializer_list<int> values) {
  TVec v;
  v.Size(static_cast<std::int32_t>(values.size()), false);
  v.SetIsInteger(true);
  std::copy(values.begin(), values.end(), v.IValues().begin());
  return v;
}

TEST(Assembly, CopyOfTwoTakesBothLengthsAndWidens) {
  TVec a, b, c, self;
  a.SetIt(false, {1, 2});
  b.SetIt(false, {3, 4, 5});
  self.Copy(a, b);
  EXPECT_FALSE(self.Complex());
  EXPECT_THAT(Reals(self), ElementsAre(1, 2, 3, 4, 5));
  // A real part next to a complex one becomes complex with zero imaginary parts.
  c.SetCplx({{7, 8}});
  self.Copy(a, c);
  ASSERT_TRUE(self.Complex());
  EXPECT_EQ(self.Length(), 3);
  EXPECT_EQ(self.CValues()[0], (TCplx{1, 0}));
  EXPECT_EQ(self.CValues()[2], (TCplx{7, 8}));
  // Index lists stay 32-bit integers; next to reals they are widened.
  const TVec i1 = IndexList({4, 5}), i2 = IndexList({6});
  EXPECT_THAT(Ints(self.Copy(i1, i2)), ElementsAre(4, 5, 6));
  EXPECT_THAT(Reals(self.Copy(i1, b)), ElementsAre(4, 5, 3, 4, 5));
}

TEST(Assembly, ConcatAndSplitRoundTrip) {
  TVec a, b, empty, whole;
  a.SetCplx({{1, -1}, {2, -2}});
  b.SetCplx({{3, -3}, {4, -4}, {5, -5}});
  empty.set_Complex(true);
  whole.Concat({&a, &empty, &b});
  ASSERT_EQ(whole.Length(), 5);
  EXPECT_EQ(whole.CValues()[4], (TCplx{5, -5}));

  TVec p, q, r;
  whole.Split({&p, &q, &r}, {2, 0, 3});
  EXPECT_EQ(Reals(p), Reals(a));
  EXPECT_EQ(q.Length(), 0);
  EXPECT_EQ(Reals(r), Reals(b));
  whole.Split(q, r, 4);
  EXPECT_EQ(r.CValues()[0], (TCplx{5, -5}));
  // Pieces of the destinations' current lengths; the tail is left out.
  p.Size(1, false);
  q.Size(3, false);
  whole.Split({&p, &q});
  EXPECT_TRUE(q.Complex());
  EXPECT_EQ(q.CValues()[2], (TCplx{4, -4}));

  // Self among the sources appends; the in-place form writes from Index on.
  TVec v;
  v.SetIt(false, {1, 2});
  v.Concat({&v, &v});
  EXPECT_THAT(Reals(v), ElementsAre(1, 2, 1, 2));
  TVec x;
  x.SetIt(false, {9, 8});
  EXPECT_THAT(Reals(v.Concat(1, {&x})), ElementsAre(1, 9, 8, 2));
}

TEST(Assembly, RefusalsKeepEverything) {
  TVec self, a, b, c, v1, v2;
  self.SetIt(false, {1, 2, 3, 4});
  a.SetIt(false, {5});
  b.SetIt(false, {6, 7});
  c.SetCplx({{1, 1}});
  v1.SetIt(false, {-1});
  const auto before = Reals(self);
  using Invalid = EQuorelInvalidArgument;
  using Range = EQuorelRangeError;
  EXPECT_THAT([&] { self.Copy(self, a); }, ThrowsMessage<Invalid>(StrEq("TVec.Copy: Self = Vec1")));
  EXPECT_THAT([&] { self.Copy(a, self); }, ThrowsMessage<Invalid>(StrEq("TVec.Copy: Self = Vec2")));
  EXPECT_THAT([&] { self.Concat({&a, &c}); }, ThrowsMessage<Invalid>(StrEq("src[i].Complex <> src[0].Complex")));
  EXPECT_THAT([&] { self.Concat(3, {&a, &b}); }, ThrowsMessage<Range>(StrEq("(Index + Sum(Src[i].Length)) > Length")));
  EXPECT_THAT([&] { self.Concat({&a, nullptr}); }, ThrowsMessage<Invalid>(StrEq("src[1] = nil")));
  EXPECT_THAT([&] { self.Split(v1, v2, 5); }, ThrowsMessage<Range>(StrEq("Offset > fLength")));
  EXPECT_THAT([&] { self.Split(self, v2, 1); }, ThrowsMessage<Invalid>(StrEq("Self = Vec1")));
  EXPECT_THAT([&] { self.Split(v1, self, 1); }, ThrowsMessage<Invalid>(StrEq("Self = Vec2")));
  b.Size(4);
  EXPECT_THAT([&] { self.Split({&a, &b}); }, ThrowsMessage<Range>(StrEq("Size mismatch at vec 1")));
  EXPECT_THAT([&] { self.Split({&v1, &v2}, {1}); }, ThrowsMessage<Invalid>(StrEq("High(Dst) <> High(DstSize)")));
  EXPECT_THAT([&] { self.Split({&v1, &v2}, {3, 2}); }, ThrowsMessage<Range>(StrEq("Self.Length exceeded at vec 1")));
  // A sub-range destination that cannot take its piece is refused before the first piece is written.
  TVec view;
  view.SetSubRange(b, 0, 1);
  EXPECT_THAT([&] { self.Split(v1, view, 1); }, ThrowsMessage<EQuorelException>(StrEq("IsSubRange = True!")));
  EXPECT_EQ(Reals(self), before);
  EXPECT_THAT(Reals(v1), ElementsAre(-1));
  EXPECT_EQ(v2.Length(), 0);
}

}  // namespace
}  // namespace quorel
