// TMtxList: a list of matrices in one stream, each in its own encoding.
#include <cstdint>

#include <gtest/gtest.h>

#include "persist_test_util.h"
#include "quorel/core/errors.h"
#include "quorel/objects/lists.h"

namespace quorel::test {
namespace {

TEST(MtxList, MixedEncodingsRoundTripAndSurplusItemsGo) {
  TMtxList list;
  list.SetCount(3);
  list[0].Size(2, 2);
  list[0].Values(1, 1) = 4.75;
  list[1].Size(1, 3, true);
  list[1].CValues(0, 2) = {-7, 8};
  list[1].SetPrecision(prInteger);
  list[1].SetCaption("ints");
  TQuorelMemoryStream s;
  list.SaveToStream(s);
  EXPECT_EQ(s.Size(), 4 + (104 + 4 + 32) + (104 + 4 + 4 + 24) + (104 + 4));

  TMtxList target;
  target.SetCount(5);
  s.Seek(0, soBeginning);
  target.LoadFromStream(s);
  ASSERT_EQ(target.Count(), 3);
  EXPECT_EQ(target[0].Values(1, 1), 4.75);
  EXPECT_EQ(target[1].CValues(0, 2), (TCplx{-7, 8}));
  EXPECT_EQ(target[1].Caption(), "ints");
  EXPECT_EQ(target[2].Length(), 0);

  TMtxList copy;
  copy.Assign(target);
  EXPECT_EQ(copy[1].Cols(), 3);
  EXPECT_NE(&copy[1], &target[1]);
}

}  // namespace
}  // namespace quorel::test
