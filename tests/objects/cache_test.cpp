// The object cache: hand-out order, holes and recollection, exhaustion, rebuilding, leaks.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"

namespace quorel {
namespace {

TEST(Cache, DefaultPoolLayout) {
  ASSERT_NE(Controller, nullptr);
  EXPECT_EQ(Controller->VecCacheSize(), 40);
  EXPECT_EQ(Controller->VecCacheElements(), 3020);
  EXPECT_EQ(Controller->MtxCacheSize(), 24);
  EXPECT_EQ(Controller->MtxCacheElements(), 3020);
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
  // Consecutive slots are 32-byte aligned and far enough apart for 3020 doubles plus a header.
  for (int i = 1; i < 40; ++i) {
    auto a = reinterpret_cast<std::intptr_t>(Controller->VecCachePointer(i - 1));
    auto b = reinterpret_cast<std::intptr_t>(Controller->VecCachePointer(i));
    EXPECT_EQ(b % 32, 0);
    EXPECT_GE(b - a, 3020 * 8 + 9);
    EXPECT_LE(b - a, 3020 * 8 + 49);
  }
  Controller->SetVecCacheUsed(7);  // read-only: ignored
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(Cache, StackOrderAndHoles) {
  TVec *a = nullptr, *b = nullptr, *c = nullptr;
  CreateIt(a, b, c);
  EXPECT_EQ(a->CacheIndex(), 0);
  EXPECT_EQ(c->CacheIndex(), 2);
  EXPECT_EQ(Controller->VecCacheUsed(), 3);
  FreeIt(b);
  EXPECT_EQ(b, nullptr);
  TVec* d = CreateIt();
  EXPECT_EQ(d->CacheIndex(), 3);  // the hole below is not reused yet
  // Fill the pool to its top; the next request recollects: used entries move to the front.
  std::vector<TVec*> rest(36);
  for (auto& v : rest) CreateIt(v);
  TVec* e = CreateIt();
  EXPECT_EQ(Controller->VecCacheUsed(), 40);
  EXPECT_EQ(a->CacheIndex(), 0);
  EXPECT_EQ(c->CacheIndex(), 1);
  EXPECT_EQ(d->CacheIndex(), 2);
  EXPECT_EQ(e->CacheIndex(), 39);
  FreeIt(e);
  for (auto& v : rest) FreeIt(v);
  FreeIt(a, c, d);
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(Cache, FreeItGivesBackInReverseOrder) {
  TVec* probe = CreateIt();
  const int top = probe->CacheIndex();
  FreeIt(probe);
  TVec *a = nullptr, *b = nullptr;
  CreateIt(a, b);
  EXPECT_EQ(b->CacheIndex(), top + 1);
  FreeIt(a, b);  // b first, then a: the top moves down twice
  TVec* c = CreateIt();
  EXPECT_EQ(c->CacheIndex(), top);
  FreeIt(c);
}

TEST(Cache, ExhaustionMakesOrdinaryVectors) {
  std::vector<TVec*> held(40);
  for (auto& v : held) CreateIt(v);
  const int live = Controller->VecCount();
  TVec* extra = CreateIt();
  EXPECT_EQ(extra->CacheIndex(), -1);
  EXPECT_TRUE(Controller->VecCacheFull());
  EXPECT_EQ(Controller->VecCount(), live + 1);
  FreeIt(extra);
  EXPECT_EQ(Controller->VecCount(), live);  // destroyed, not pooled
  for (auto& v : held) FreeIt(v);
}

TEST(Cache, CacheMemoryUntilItNoLongerFits) {
  TWorkVec w;
  const double* cache = Controller->VecCachePointer(w->CacheSlot());
  w->SetLength(3020);
  EXPECT_EQ(w->PValues1D(0), cache);
  EXPECT_EQ(w->ActualSize(), 3020);
  w->Size(1510, true);
  EXPECT_EQ(w->PValues1D(0), cache);
  w->Size(3021, false);
  EXPECT_NE(w->PValues1D(0), cache);
  w->SetLength(10);
  EXPECT_EQ(w->PValues1D(0), cache);  // back in its cache memory
}

TEST(Cache, ResetOnReturnAndDoubleFree) {
  TVec* v = CreateIt();
  TVec* alias = v;
  v->Size(10, true);
  v->SetCaption("work");
  v->SetConditionCheck(false);
  FreeIt(v);
  EXPECT_EQ(alias->Length(), 0);
  EXPECT_FALSE(alias->Complex());
  EXPECT_TRUE(alias->ConditionCheck());
  EXPECT_EQ(alias->Caption(), "");
  FreeIt(v);  // the variable is null now: nothing happens
  try {
    FreeIt(alias);  // a second reference to a returned object is refused
    FAIL();
  } catch (const EQuorelException& e) {
    EXPECT_STREQ(e.what(), "FreeIt: object is not in use");
  }
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(Cache, RebuildRefusedWhileUsed) {
  TVec *a = nullptr, *b = nullptr;
  CreateIt(a, b);
  FreeIt(a);
  try {
    Controller->SetVecCacheSize(10, 100);
    FAIL();
  } catch (const EQuorelException& e) {
    EXPECT_STREQ(e.what(), "VecCache[1] = Used");
  }
  // The refused rebuild left the pool working.
  TVec* c = CreateIt();
  EXPECT_GE(c->CacheIndex(), 0);
  FreeIt(c, b);
  Controller->SetVecCacheSize(8, 64);
  EXPECT_EQ(Controller->VecCacheSize(), 8);
  TVec* d = CreateIt();
  d->SetLength(64);
  EXPECT_EQ(d->PValues1D(0), Controller->VecCachePointer(0));
  FreeIt(d);
  Controller->SetVecCacheSize(40, 3020);
}

TEST(Cache, ReferenceCountsReturnToCache) {
  TVec* v = CreateIt();
  TVec* raw = v;
  v->AddRefSubrange();
  v->ReleaseUsage();  // one sub-range reference keeps it
  EXPECT_EQ(Controller->VecCacheUsed(), 1);
  raw->ReleaseSubrange();
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(Cache, GuardReturnsOnException) {
  try {
    TWorkVec w;
    w->SetLength(5);
    throw std::runtime_error("boom");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

TEST(Cache, EnlistAndTestNil) {
  TVec v;
  std::span<double> d;
  Enlist(v, d);
  EXPECT_TRUE(d.empty());
  v.SetIt(false, {1, 2, 3});
  Enlist(v, d);
  d[1] = 5;
  EXPECT_EQ(v[1], 5);
  DismissIt(d);
  EXPECT_TRUE(d.empty());
  TVec c;
  c.SetCplx({{1, 2}});
  std::span<TCplx> z;
  Enlist(v, d, c, z);
  EXPECT_EQ(d.size(), 3u);
  EXPECT_EQ(z[0], (TCplx{1, 2}));
  DismissIt(v, d, c, z);
  EXPECT_TRUE(d.empty() && z.empty());
  int x = 0;
  EXPECT_NO_THROW(TestNil(&x, &x));
  try {
    TestNil(&x, nullptr, &x);
    FAIL();
  } catch (const EQuorelInvalidArgument& e) {
    EXPECT_STREQ(e.what(), "TestNil: Nil pointer");
  }
}

}  // namespace
}  // namespace quorel
