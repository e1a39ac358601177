// TVecList: ownership and counts, the stream layout of a list, and the bridge to matrices.
#include <cstdint>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/objects/lists.h"

namespace quorel::test {
namespace {

TMtx Ramp(std::int32_t rows, std::int32_t cols, bool complex) {
  TMtx m(rows, cols, complex);
  for (std::size_t k = 0; k < m.Values().size(); ++k) m.Values()[k] = static_cast<double>(k);
  return m;
}

TEST(VecList, CountsItemsAndCopies) {
  TVecList list;
  EXPECT_EQ(list.Add(), 0);
  EXPECT_EQ(list.Add(), 1);
  TVec* second = &list[1];
  list.SetItems(1, Real({1, 2, 3}));
  EXPECT_EQ(&list[1], second);  // written into, not replaced
  EXPECT_EQ(list[1].Length(), 3);
  list.SetCount(4);
  EXPECT_EQ(list.Count(), 4);
  EXPECT_EQ(&list[1], second);
  EXPECT_EQ(list[3].Length(), 0);
  EXPECT_EQ(list[3].CacheIndex(), -1);
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { list.Items(4); }), "List index out of bounds (4)");
  EXPECT_EQ(MessageOf<EQuorelRangeError>([&] { list.SetCount(-1); }), "List count out of bounds (-1)");
  list.Delete(0);
  EXPECT_EQ(&list[0], second);

  TVecList copy;
  copy.SetCount(7);
  copy.Assign(list);
  EXPECT_EQ(copy.Count(), 3);
  EXPECT_EQ(copy[0][2], 3);
  EXPECT_NE(&copy[0], second);
  copy.Clear();
  EXPECT_EQ(copy.Count(), 0);
}

TEST(VecList, StreamLayoutAndLoadingIntoExistingItems) {
  TVecList empty;
  TQuorelMemoryStream e;
  empty.SaveToStream(e);
  EXPECT_EQ(BytesOf(e), (TBytes{0, 0, 0, 0}));
  TVecList three;
  three.SetCount(3);
  e.Seek(0, soBeginning);
  three.LoadFromStream(e);
  EXPECT_EQ(three.Count(), 0);

  // Items keep their own encodings: the list is its count followed by each item as saved alone.
  TVecList list;
  list.SetCount(2);
  list.SetItems(0, Real({1.5, -2}));
  list.SetItems(1, Cplx({{3, 4}}));
  list[1].SetPrecision(prSmallInt);
  TQuorelMemoryStream s, a, b;
  list.SaveToStream(s);
  list[0].SaveToStream(a);
  list[1].SaveToStream(b);
  TBytes expected;
  Put<std::int32_t>(expected, {2});
  expected.insert(expected.end(), a.Bytes().begin(), a.Bytes().end());
  expected.insert(expected.end(), b.Bytes().begin(), b.Bytes().end());
  EXPECT_EQ(BytesOf(s), expected);

  TVecList target;
  target.SetCount(1);
  TVec* kept = &target[0];
  s.Seek(0, soBeginning);
  target.LoadFromStream(s);
  EXPECT_EQ(target.Count(), 2);
  EXPECT_EQ(&target[0], kept);
  EXPECT_EQ(target[0][1], -2);
  EXPECT_EQ(target[1].CValues()[0], (TCplx{3, 4}));
  EXPECT_EQ(target[1].Precision(), prSmallInt);
}

TEST(VecList, FailedLoadRemovesTheItemsItAdded) {
  TQuorelMemoryStream s;
  const std::int32_t count = 3;
  s.Write(&count, 4);
  Real({7}).SaveToStream(s);  // only one of the three announced items
  TVecList list;
  list.SetCount(1);
  s.Seek(0, soBeginning);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { list.LoadFromStream(s); }), "Error reading stream!");
  EXPECT_EQ(list.Count(), 1);
  EXPECT_EQ(list[0][0], 7);  // the item that existed was loaded

  TQuorelMemoryStream shortCount(TBytes{1, 0});
  EXPECT_EQ(MessageOf<EReadError>([&] { list.LoadFromStream(shortCount); }), "Stream read error");
  EXPECT_EQ(list.Count(), 1);
}

TEST(VecList, DecomposeAndComposeRoundTrip) {
  for (bool complex : {false, true}) {
    const TMtx m = Ramp(3, 2, complex);
    TVecList rows, cols;
    rows.DecomposeRowMatrix(m);
    cols.DecomposeColumnMatrix(m);
    ASSERT_EQ(rows.Count(), 3);
    ASSERT_EQ(cols.Count(), 2);
    EXPECT_EQ(rows[2].Length(), 2);
    EXPECT_EQ(cols[1].Length(), 3);
    EXPECT_EQ(rows[2].Complex(), complex);
    if (complex) {
      EXPECT_EQ(rows[2].CValues()[1], m.CValues(2, 1));
      EXPECT_EQ(cols[1].CValues()[2], m.CValues(2, 1));
    } else {
      EXPECT_EQ(rows[2][1], 5);
      EXPECT_EQ(cols[1][0], 1);
      EXPECT_EQ(cols[1][2], 5);
    }
    TMtx fromRows, fromCols(1, 1);
    rows.ComposeRowMatrix(fromRows);
    cols.ComposeColumnMatrix(fromCols);
    for (const TMtx* r : {&fromRows, &fromCols}) {
      EXPECT_EQ(r->Rows(), 3);
      EXPECT_EQ(r->Cols(), 2);
      EXPECT_EQ(r->Complex(), complex);
      EXPECT_TRUE(std::equal(r->Values().begin(), r->Values().end(), m.Values().begin()));
    }
  }
}

TEST(VecList, ComposeRefusesMismatchedItems) {
  TVecList list;
  list.SetCount(2);
  list.SetItems(0, Real({1, 2}));
  list.SetItems(1, Real({1, 2, 3}));
  TMtx dst = Ramp(1, 1, false);
  const char* msg = "(Dst.Rows <> Items[i].Length) or (Dst.Complex <> Items[i].Length)";
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { list.ComposeColumnMatrix(dst); }), msg);
  list.SetItems(1, Cplx({{1, 2}, {3, 4}}));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { list.ComposeRowMatrix(dst); }), msg);
  EXPECT_EQ(dst.Rows(), 1);
  list.Clear();
  list.ComposeRowMatrix(dst);
  EXPECT_EQ(dst.Length(), 0);
}

TEST(VecList, RowViewsShareTheMatrixStorage) {
  TMtx m = Ramp(3, 2, false);
  TVecList rows;
  rows.SetCount(5);
  rows.SetItems(0, Real({9, 9, 9, 9}));
  rows.SetSubRange(m);
  ASSERT_EQ(rows.Count(), 3);
  EXPECT_TRUE(rows[1].IsSubRange());
  rows[1][0] = -1;
  EXPECT_EQ(m.Values(1, 0), -1);
  EXPECT_EQ(rows[2][1], 5);
  rows.SetFullRange();
  EXPECT_FALSE(rows[0].IsSubRange());
  EXPECT_EQ(rows[0].Length(), 4);  // back to its own storage
  EXPECT_EQ(rows[0][3], 9);

  TMtx c = Ramp(2, 2, true);
  rows.SetSubRange(c);
  EXPECT_TRUE(rows[1].Complex());
  EXPECT_EQ(rows[1].CValues()[1], c.CValues(1, 1));
  rows.SetFullRange();
}

}  // namespace
}  // namespace quorel::test
