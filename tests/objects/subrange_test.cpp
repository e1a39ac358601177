// Sub-ranges, views, block-wise processing and argument checks.
#include <functional>
#include <tuple>

#include <gtest/gtest.h>

#include "quorel/io/stream.h"
#include "support/support.h"

namespace quorel {
namespace {
using test::MessageOf;

// 0, 1, ..., n - 1.
TVec Ramp(int n) { return TVec(n).Ramp(); }

TEST(SubRange, OwnStorageAndNesting) {
  TVec v = Ramp(10);
  v.SetSubRange(3, -1);
  EXPECT_EQ(std::tuple(v.IsSubRange(), v.Length(), v[0]), std::tuple(true, 7, 3.0));
  EXPECT_EQ(MessageOf<EQuorelException>([&] { v.SetLength(2); }), "IsSubRange = True!");
  // A nested range is placed relative to the full range, not to the current one.
  v.SetSubRange(8, 2);
  EXPECT_EQ(v[0], 8);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { v.SetSubRange(9, 2); }),
            "Self params out of range: Index: 9, Len: 2, SavedLength: 10");
  v.set_Complex(true);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { v.SetSubRange(4, 2); }),
            "Self params out of range: 2*Index: 8, 2*Len: 4, SavedLength: 10");
  v.SetSubRange(4, 1);
  EXPECT_EQ(v.CValues()[0], (TCplx{8, 9}));
  v.SetFullRange();
  EXPECT_EQ(std::tuple(v.IsSubRange(), v.Complex(), v.Length()), std::tuple(false, false, 10));
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { v.SetSubRange(8, 3); }),
            "Self params out of range: Index: 8, Len: 3, Length: 10");
}

TEST(SubRange, ComplexFullRangeViewedAsReal) {
  TVec c = test::Cplx({{0, 1}, {2, 3}, {4, 5}});
  c.SetSubRange(0, 1);
  c.set_Complex(false);
  c.SetSubRange(4, 2);  // real index into the 6 doubles of the complex full range
  EXPECT_EQ(c[1], 5);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { c.SetSubRange(5, 2); }),
            "Self params out of range: Index: 5, Len: 2, SavedLength: 3");
  c.SetFullRange();
  EXPECT_EQ(std::pair(c.Complex(), c.Length()), std::pair(true, 3));
}

TEST(SubRange, SelectFlagsAreMirrored) {
  TVec v = Ramp(4);
  v.EnableSelect();
  EXPECT_EQ(MessageOf<EQuorelException>([&] { v.SetSubRange(0, 1); }), "Subrange is blocked!");
  v.DisableSelect();
  v.SetSubRange(0, 1);
  v.SetFullRange();
  v.DisableSubrange();
  EXPECT_THROW(v.Select(1, 1), EQuorelException);
  v.SelectAll();  // full range allows sub-ranges again
  EXPECT_NO_THROW(v.Select(1, 1));
}

TEST(SubRange, ViewOntoAnotherVector) {
  TVec src = Ramp(6);
  TVec view(2);
  view.SetSubRange(src, 2, 3);
  EXPECT_EQ(view.Length(), 3);
  view[0] = 42;
  EXPECT_EQ(src[2], 42);
  EXPECT_THROW(view.SetSubRange(src, 4, 3), EQuorelRangeError);
  view.SetFullRange();
  EXPECT_EQ(view.Length(), 2);  // its own storage comes back
  const TVec ints = test::IndexList({10, 11, 12, 13});
  view.SetSubRange(ints, 1, 2);  // integer data is addressed in 32-bit steps
  EXPECT_TRUE(view.IsInteger());
  EXPECT_EQ(view.IValues()[0], 11);
  view.SetFullRange();
  EXPECT_FALSE(view.IsInteger());  // back to its own real data
  TVec list = test::IndexList({3, 1});
  list.SetSubRange(src);
  EXPECT_FALSE(list.IsInteger());
  list.SetFullRange();
  EXPECT_TRUE(list.IsInteger());
  EXPECT_EQ(test::Ints(list.SortAscend()), (std::vector<int>{1, 3}));
  TVec empty;
  view.SetSubRange(empty);
  EXPECT_EQ(view.Length(), 0);
  view.SetFullRange();
}

// While a sub-range is active Complex switches only when the same doubles hold the requested
// length. A refusal leaves the range as it was: a caught error inside a block loop must not shift
// the blocks that follow.
TEST(SubRange, KindSwitchOnlyWhereTheDoublesFit) {
  const TVec c4 = test::Cplx({{1, 2}, {3, 4}, {5, 6}, {7, 8}}), c8(8, true), ints = test::IndexList({1, 2, 3});
  TVec v = Ramp(20);
  v.SetSubRange(6, 8);
  const std::vector<double> viewed = test::Doubles(v);
  const std::function<void()> refused[] = {
      [&] { v.Add(c8); },          [&] { v.Add(TCplx{1, 1}); }, [&] { v.Copy(ints); },
      [&] { v.ExtendToComplex(true); }, [&] { v.Size(8, true); },     [&] { v.Size(c8, true); },
  };
  for (std::size_t k = 0; k < std::size(refused); ++k) {
    SCOPED_TRACE(k);
    EXPECT_EQ(MessageOf<EQuorelException>(refused[k]), "IsSubRange = True!");
    EXPECT_FALSE(v.Complex());
    EXPECT_FALSE(v.IsInteger());
    EXPECT_EQ(test::Doubles(v), viewed);
  }
  TVec w = test::Cplx({{0, 1}, {-3, 4}, {5, -12}, {0, 0}});
  w.SetSubRange(1, 2);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { w.Abs(); }), "IsSubRange = True!");  // 2 reals in 4 doubles
  EXPECT_TRUE(w.Complex());
  EXPECT_EQ(test::Doubles(w), (std::vector<double>{-3, 4, 5, -12}));

  // The 8 doubles read as 4 complex elements: both Size forms and a stream load agree.
  v.Size(4, true);
  EXPECT_EQ(v.CValues()[0], (TCplx{6, 7}));
  v.Size(8, false);
  v.Size(c4, true);
  EXPECT_EQ(v.Length(), 4);
  v.Size(8, false);
  TQuorelMemoryStream stream;
  c4.SaveToStream(stream);
  stream.Seek(0, soBeginning);
  v.LoadFromStream(stream);
  EXPECT_TRUE(v.Complex());
  EXPECT_EQ(test::Doubles(v), test::Doubles(c4));
  v.SetFullRange();
  EXPECT_EQ(test::Doubles(v), (std::vector<double>{0, 1, 2, 3, 4, 5, 1, 2, 3, 4, 5, 6, 7, 8, 14, 15, 16, 17, 18, 19}));
}

TEST(BlockProcessing, WalksBlocksNestedUsersJoinAndRestores) {
  TVec v = Ramp(10);
  std::vector<std::pair<double, int>> seen;
  int inner = 0;
  v.BlockInit(4);
  while (!v.BlockEnd()) {
    seen.emplace_back(v[0], v.Length());
    v.BlockInit();  // a routine called on the current block joins the loop
    while (!v.BlockEnd()) {
      ++inner;
      v.BlockNext();
    }
    v.BlockNext();
  }
  EXPECT_EQ(seen, (std::vector<std::pair<double, int>>{{0, 4}, {4, 4}, {8, 2}}));
  EXPECT_EQ(inner, 3);
  EXPECT_EQ(std::tuple(v.IsSubRange(), v.Length(), v.BlockLevel()), std::tuple(false, 10, 0));
}

TEST(BlockProcessing, ErrorStatesAndEmpty) {
  TVec v = Ramp(3);
  v.SetSubRange(0, 1);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { v.BlockInit(); }), "IsSubRange = True!");
  v.SetFullRange();
  TVec empty;
  empty.BlockInit();
  EXPECT_TRUE(empty.BlockEnd());
  empty.BlockNext();
  EXPECT_EQ(empty.BlockLevel(), 0);
  v.BlockInit(2);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { v.Reset(); }), "BlockLevel > 0");
  while (!v.BlockEnd()) v.BlockNext();
}

TEST(Validate, MessagesAndMinusOneRule) {
  TVec s = Ramp(5), x = Ramp(3);
  int len = -1;
  s.ValidateParams(2, len);
  EXPECT_EQ(len, 3);
  len = 2;
  EXPECT_NO_THROW(s.ValidateParams2(s, 0, 0, len));
  test::ExpectMessages<EQuorelInvalidArgument>({
      {[&] { s.ValidateParams(s, 0, 0, len); }, "Invalid params: X is equal to Self"},
      {[&] { s.ValidateParams(x, s, 0, 0, 0, len); }, "Invalid params: X1 or X2 is equal to Self"},
      {[&] { s.ValidateCplxArrayIndexes(0, 2, 0, len); }, "ValidateCplxArrayIndexes: Self must be Complex"},
  });
  int negative = -2;
  test::ExpectMessages<EQuorelRangeError>({
      {[&] { s.ValidateParams(x, 2, 0, len); }, "X params out of range: XIndex: 2, Len: 2, X.Length: 3"},
      // A negative Len is Self's, whichever form checks it.
      {[&] { s.ValidateParams(x, 0, 0, negative); }, "Self params out of range: Index: 0, Len: -2, Length: 5"},
      {[&] { s.ValidateParams2(x, 0, 0, negative); }, "Self params out of range: Index: 0, Len: -2, Length: 5"},
      {[&] { s.ValidateParams(x, x, 0, 0, 0, negative); }, "Self params out of range: Index: 0, Len: -2, Length: 5"},
      {[&] { s.ValidateParams(x, x, 0, 2, 0, len); }, "X2 params out of range: Index: 2, Len: 2, Length: 3"},
      {[&] { s.ValidateRealIndexLen(4, 2); }, "Index params out of range: Index: 4, RealSrcLen: 2, Self.Length: 5"},
      {[&] { s.ValidateRealArrayIndexes(1, 2, 0, len); }, "ValidateRealArrayIndexes: SrcIndex + Len > SrcLen (1 + 2 > 2)"},
  });
  // The count of reals comes back: doubled for a complex Self.
  TVec c = test::Cplx({{1, 2}, {3, 4}, {5, 6}, {7, 8}});
  len = -1;
  c.ValidateRealArrayIndexes(0, 8, 0, len);
  EXPECT_EQ(len, 8);
  len = 2;
  c.ValidateRealArrayIndexes(4, 8, 2, len);
  EXPECT_EQ(len, 4);
  s.CondDisable();
  len = -1;
  s.ValidateParams(4, len);  // the -1 rule applies with checks off
  EXPECT_EQ(len, 1);
  len = 100;
  EXPECT_NO_THROW(s.ValidateParams(x, 50, 0, len));
  s.CondEnable();
  EXPECT_TRUE(s.ConditionCheck());
}

}  // namespace
}  // namespace quorel
