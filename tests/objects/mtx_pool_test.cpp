// The matrix pool of the object cache, row loans and the leak report.
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "mtx_test_util.h"

namespace quorel {
namespace {
using test::MessageOf;

const std::string kLeak = "Quorel memory controller has detected memory leaks. There are at least ";

TEST(MtxPool, TwentyFourPooledThenOrdinary) {
  ASSERT_EQ(Controller->MtxCacheSize(), 24);
  ASSERT_EQ(Controller->MtxCacheElements(), 3020);
  std::vector<TMtx*> held(24);
  for (auto& m : held) CreateIt(m);
  for (auto* m : held) EXPECT_GE(m->CacheIndex(), 0);
  const int live = Controller->MtxCount();
  TMtx* extra = nullptr;
  CreateIt(extra);
  EXPECT_EQ(extra->CacheIndex(), -1);
  EXPECT_TRUE(Controller->MtxCacheFull());
  EXPECT_EQ(Controller->MtxCount(), live + 1);
  FreeIt(extra);
  EXPECT_EQ(extra, nullptr);
  EXPECT_EQ(Controller->MtxCount(), live);  // destroyed, not pooled
  for (std::size_t k = 0; k < held.size(); k += 4) FreeIt(held[k], held[k + 1], held[k + 2], held[k + 3]);
  EXPECT_EQ(Controller->MtxCacheUsed(), 0);
}

TEST(MtxPool, CacheMemoryUntilItNoLongerFits) {
  TWorkMtx w;
  const double* cache = Controller->MtxCachePointer(w->CacheSlot());
  w->Size(2, 1510);
  EXPECT_EQ(w->PValues1D(0), cache);
  w->Size(1, 1510, true);  // 3,020 doubles still fit
  EXPECT_EQ(w->PValues1D(0), cache);
  w->Size(3021, 1, false);
  EXPECT_NE(w->PValues1D(0), cache);
  w->Size(3, 3);
  EXPECT_EQ(w->PValues1D(0), cache);  // back in its cache memory
}

TEST(MtxPool, ReturnResetsShapeAndSettings) {
  TMtx* m = nullptr;
  CreateIt(m);
  TMtx* alias = m;
  m->Size(3, 3, true);
  m->SetAutoMtxType(true);
  m->SetSubDiag(2);
  FreeIt(m);
  EXPECT_EQ(alias->Rows(), 0);
  EXPECT_FALSE(alias->Complex());
  EXPECT_FALSE(alias->AutoMtxType());
  EXPECT_EQ(alias->SubDiag(), 0);
  try {
    TWorkMtx w;
    w->Size(4, 4);
    throw std::runtime_error("boom");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(Controller->MtxCacheUsed(), 0);
  // The default ConditionCheck reaches pooled and new matrices alike.
  Controller->SetMtxConditionCheck(false);
  TMtx fresh;
  TWorkMtx pooled;
  EXPECT_FALSE(fresh.ConditionCheck());
  EXPECT_FALSE(pooled->ConditionCheck());
  Controller->SetMtxConditionCheck(true);
  EXPECT_TRUE(pooled->ConditionCheck());
}

TEST(MtxPool, RebuildRefusedWhileUsed) {
  TMtx *a = nullptr, *b = nullptr;
  CreateIt(a, b);
  const std::string used = "MtxCache[" + std::to_string(a->CacheIndex()) + "] = Used";
  EXPECT_EQ(MessageOf<EQuorelException>([] { Controller->SetMtxCacheSize(4, 16); }), used);
  FreeIt(a, b);
  Controller->SetMtxCacheSize(2, 16);
  CreateIt(a);
  a->Size(4, 4);
  EXPECT_EQ(a->PValues1D(0), Controller->MtxCachePointer(0));
  FreeIt(a);
  Controller->SetMtxCacheSize(24, 3020);
}

TEST(MtxPool, EnlistRowsAndSetMtxSize) {
  TMtx a, b;
  SetMtxSize(2, 3, false, {&a, &b});
  EXPECT_EQ(b.Cols(), 3);
  a.SetZero();
  std::vector<std::span<double>> rows;
  std::vector<std::span<TCplx>> crows;
  Enlist(a, rows);
  ASSERT_EQ(rows.size(), 2u);
  rows[1][2] = 7;
  EXPECT_EQ(a.Values(1, 2), 7);
  EXPECT_EQ(MessageOf<EQuorelException>([&] { Enlist(a, crows); }), "Matrix.Complex = false!");
  b.Size(2, 2, true);
  Enlist(a, rows, b, crows);
  ASSERT_EQ(crows.size(), 2u);
  crows[1][0] = {1, 2};
  EXPECT_EQ(b.CValues(1, 0), (TCplx{1, 2}));
  DismissIt(a, rows, b, crows);
  EXPECT_TRUE(rows.empty());
  EXPECT_TRUE(crows.empty());
}

TEST(MtxPool, LeakReportTexts) {
  std::vector<std::string> texts;
  TQuorelController ctl;
  ctl.SetReportHandler([&](const std::string& t) { texts.push_back(t); });
  ctl.SetMtxCacheSize(2, 8);
  TMtx* kept = nullptr;
  {
    std::lock_guard<std::mutex> hold(ctl.Lock());
    ctl.CreateItx(kept);
  }
  kept->Size(2, 2);
  ctl.DestroyQuorelCache();
  ASSERT_FALSE(texts.empty());
  EXPECT_EQ(texts[0], kLeak + "1 calls to CreateIt(TMtx) without a matching call to TVec.Free.");
  // Live ordinary matrices (here at least the global pool's and `kept`) are counted last.
  EXPECT_EQ(texts.back(), kLeak + std::to_string(Controller->MtxCount()) +
                              " calls to TMtx.Create without a matching call to TMtx.Free.");
  EXPECT_EQ(kept->CacheIndex(), -1);  // handed-out objects survive as ordinary ones
  EXPECT_EQ(kept->Length(), 0);
  delete kept;
}

}  // namespace
}  // namespace quorel
