// Vector and matrix lists: ownership and counts, the stream layout of a list, and the bridge
// between vector lists and matrices.
#include <algorithm>
#include <cstdint>
#include <iterator>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/io/lists.h"

namespace quorel::test {
namespace {

TEST(VecList, ItemsAreKeptAndCopied) {
  TVecList list;
  list.SetCount(2);
  TVec* second = &list[1];
  list.SetItems(1, Real({1, 2, 3}));
  list.SetCount(4);
  list.Delete(0);
  EXPECT_TRUE(&list[0] == second && list[0].Length() == 3);  // written into and kept, not replaced
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { list.Items(3); }), "List index out of bounds (3)");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { list.SetCount(-1); }), "List count out of bounds (-1)");
  TVecList copy;
  copy.SetCount(7);
  copy.Assign(list);
  EXPECT_EQ(std::pair(copy.Count(), copy[0][2]), std::pair(3, 3.0));
  EXPECT_NE(&copy[0], second);
}

TEST(VecList, StreamLayoutAndLoadingIntoExistingItems) {
  TVecList empty, three;
  EXPECT_EQ(Saved(empty), (TBytes{0, 0, 0, 0}));
  three.SetCount(3);
  SaveAndLoad(empty, three);
  EXPECT_EQ(three.Count(), 0);

  // The list is its count followed by each item as saved alone, in the item's own encoding (one
  // template serves vector and matrix lists).
  TVecList list;
  list.SetCount(2);
  list.SetItems(0, Real({1.5, -2}));
  list.SetItems(1, Cplx({{3, 4}}));
  list[1].SetPrecision(prSmallInt);
  TBytes expected = Put<std::int32_t>({2});
  for (int i : {0, 1}) std::ranges::copy(Saved(list[i]), std::back_inserter(expected));
  EXPECT_EQ(Saved(list), expected);

  TVecList target;
  target.SetCount(1);
  TVec* kept = &target[0];
  SaveAndLoad(list, target);
  EXPECT_EQ(&target[0], kept);
  EXPECT_EQ(Doubles(target[0]), (std::vector<double>{1.5, -2}));
  EXPECT_TRUE(target[1].Complex() && Doubles(target[1]) == (std::vector<double>{3, 4}));
  EXPECT_EQ(target[1].Precision(), prSmallInt);
}

TEST(VecList, FailedLoadLeavesTheListAsItWas) {
  TQuorelMemoryStream s;
  const std::int32_t count = 3;
  s.Write(&count, 4);
  Real({7}).SaveToStream(s);  // only one of the three announced items
  s.Seek(0, soBeginning);
  TVecList list;
  list.SetCount(1);
  list[0].Copy(Real({9, 8}));
  list[0].SetCaption("kept");
  const TVec* first = &list[0];
  EXPECT_EQ(MessageOf<EQuorelException>([&] { list.LoadFromStream(s); }), "Error reading stream!");
  EXPECT_EQ(std::tuple(list.Count(), Doubles(list[0]), list[0].Caption()),
            std::tuple(1, std::vector<double>{9, 8}, "kept"));  // not the 7 the stream held
  // A complete load replaces the values in the same item objects.
  const std::int32_t one = 1;
  s.Seek(0, soBeginning);
  s.Write(&one, 4);
  s.Seek(0, soBeginning);
  list.LoadFromStream(s);
  EXPECT_EQ(&list[0], first);
  EXPECT_EQ(Doubles(list[0]), std::vector<double>{7});
  TQuorelMemoryStream shortCount(TBytes{1, 0});
  EXPECT_EQ(MessageOf<EReadError>([&] { list.LoadFromStream(shortCount); }), "Stream read error");
}

TEST(VecList, DecomposeAndComposeRoundTrip) {
  for (bool complex : {false, true}) {
    const TMtx m = Numbered(3, 2, complex);
    TVecList rows, cols;
    rows.DecomposeRowMatrix(m);
    cols.DecomposeColumnMatrix(m);
    ASSERT_TRUE(rows.Count() == 3 && cols.Count() == 2);
    EXPECT_TRUE(rows[2].Length() == 2 && cols[1].Length() == 3);
    EXPECT_EQ(rows[2].Values()[complex ? 3 : 1], m.Values()[complex ? 11 : 5]);
    EXPECT_EQ(cols[1].Values()[complex ? 5 : 2], m.Values()[complex ? 11 : 5]);
    TMtx fromRows, fromCols(1, 1);
    rows.ComposeRowMatrix(fromRows);
    cols.ComposeColumnMatrix(fromCols);
    for (const TMtx* r : {&fromRows, &fromCols})
      EXPECT_TRUE(r->Rows() == 3 && r->Cols() == 2 && std::ranges::equal(r->Values(), m.Values()));
  }
  TVecList list;
  list.SetCount(2);
  list.SetItems(0, Real({1, 2}));
  list.SetItems(1, Cplx({{1, 2}, {3, 4}}));
  TMtx dst = Numbered(1, 1, false);
  const char* msg = "(Dst.Rows <> Items[i].Length) or (Dst.Complex <> Items[i].Length)";
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { list.ComposeColumnMatrix(dst); }), msg);
  list.SetItems(1, Real({1, 2, 3}));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { list.ComposeRowMatrix(dst); }), msg);
  EXPECT_EQ(dst.Rows(), 1);
}

TEST(VecList, RowViewsShareTheMatrixStorage) {
  TMtx m = Numbered(3, 2, false);
  TVecList rows;
  rows.SetCount(5);
  rows.SetItems(0, Real({9, 9, 9, 9}));
  rows.SetSubRange(m);
  ASSERT_EQ(rows.Count(), 3);
  rows[1][0] = -1;
  EXPECT_EQ(m.Values(1, 0), -1);
  EXPECT_EQ(rows[2][1], 201);
  rows.SetFullRange();
  EXPECT_EQ(rows[0].Length(), 4);  // back to its own storage
  EXPECT_EQ(rows[0][3], 9);
  TMtx c = Numbered(2, 2, true);
  rows.SetSubRange(c);
  EXPECT_EQ(rows[1].CValues()[1], c.CValues(1, 1));
}

}  // namespace
}  // namespace quorel::test
