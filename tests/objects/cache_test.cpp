// The object cache, vector and matrix pools: hand-out order, holes and recollection, exhaustion,
// resets on return, rebuilding, loans, the leak report and use from many threads.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <cstdint>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "support/allocation_counter.h"
#include "support/support.h"
#include "quorel/signal/dfti_cache.h"

namespace quorel {
namespace {
using test::MessageOf;

// The default sizes (40 and 24 objects of 3,020 doubles) show in the exhaustion and fit tests below.
TEST(Cache, DefaultPoolLayout) {
  ASSERT_NE(Controller, nullptr);
  // Consecutive slots are 32-byte aligned and far enough apart for 3020 doubles plus a header.
  for (int i = 1; i < 40; ++i) {
    auto a = reinterpret_cast<std::intptr_t>(Controller->VecCachePointer(i - 1));
    auto b = reinterpret_cast<std::intptr_t>(Controller->VecCachePointer(i));
    EXPECT_EQ(b % 32, 0);
    EXPECT_GE(b - a, 3020 * 8 + 9);
    EXPECT_LE(b - a, 3020 * 8 + 49);
  }
}

TEST(Cache, StackOrderHolesAndRecollection) {
  TVec *a = nullptr, *b = nullptr, *c = nullptr;
  CreateIt(a, b, c);
  EXPECT_EQ(a->CacheIndex(), 0);
  EXPECT_EQ(c->CacheIndex(), 2);
  FreeIt(b);
  TVec* d = CreateIt();
  EXPECT_EQ(d->CacheIndex(), 3);  // the hole below is not reused yet
  FreeIt(c, d);  // reverse order: d leaves the top first, then c does
  TVec* e = CreateIt();
  EXPECT_EQ(e->CacheIndex(), 2);
  // Fill the pool to its top; the next request recollects: used entries move to the front.
  std::vector<TVec*> rest(37);
  for (auto& v : rest) CreateIt(v);
  TVec* f = CreateIt();
  EXPECT_EQ(Controller->VecCacheUsed(), 40);
  EXPECT_EQ(a->CacheIndex(), 0);
  EXPECT_EQ(e->CacheIndex(), 1);
  EXPECT_EQ(f->CacheIndex(), 39);
  FreeIt(f);
  for (auto& v : rest) FreeIt(v);
  FreeIt(a, e);
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

// Takes the whole pool and one more: the extra object is ordinary and is destroyed on return.
template <class T>
void ExhaustPool(std::int32_t size, bool (TQuorelController::*full)() const,
                 std::int32_t (TQuorelController::*count)() const) {
  std::vector<T*> held(static_cast<std::size_t>(size));
  for (auto& o : held) CreateIt(o);
  const std::int32_t live = (Controller->*count)();
  T* extra = nullptr;
  CreateIt(extra);
  EXPECT_EQ(extra->CacheIndex(), -1);
  EXPECT_TRUE((Controller->*full)());
  EXPECT_EQ((Controller->*count)(), live + 1);
  FreeIt(extra);
  EXPECT_EQ(extra, nullptr);
  EXPECT_EQ((Controller->*count)(), live);
  for (std::size_t k = held.size(); k >= 4; k -= 4) FreeIt(held[k - 4], held[k - 3], held[k - 2], held[k - 1]);
}

TEST(Cache, ExhaustedPoolsHandOutOrdinaryObjects) {
  ExhaustPool<TVec>(40, &TQuorelController::VecCacheFull, &TQuorelController::VecCount);
  ExhaustPool<TMtx>(24, &TQuorelController::MtxCacheFull, &TQuorelController::MtxCount);
  EXPECT_EQ(Controller->VecCacheUsed() + Controller->MtxCacheUsed(), 0);
}

TEST(Cache, CacheMemoryUntilItNoLongerFits) {
  TWorkVec v;
  const double* slot = Controller->VecCachePointer(v->CacheSlot());
  v->SetLength(3020);
  EXPECT_EQ(v->PValues1D(0), slot);
  v->Size(3021, false);
  EXPECT_NE(v->PValues1D(0), slot);
  v->SetLength(10);
  EXPECT_EQ(v->PValues1D(0), slot);  // back in its cache memory, all of which it holds
  EXPECT_EQ(v->ActualSize(), 3020);
  TWorkMtx m;
  slot = Controller->MtxCachePointer(m->CacheSlot());
  m->Size(1, 1510, true);  // 3,020 doubles still fit
  EXPECT_EQ(m->PValues1D(0), slot);
  m->Size(3021, 1, false);
  EXPECT_NE(m->PValues1D(0), slot);
}

TEST(Cache, ReturnResetsAndSecondReturnIsRefused) {
  TVec* v = CreateIt();
  TVec* alias = v;
  v->Size(10, true);
  v->SetCaption("work");
  v->SetConditionCheck(false);
  v->SetFFTStorageFormat(fsfPack);
  v->SetFFTOddLength(true);
  int calls = 0;
  v->OnSetSize = [&calls](TQuorel&) { ++calls; };  // captures a local of this borrower
  FreeIt(v);
  EXPECT_GT(calls, 0);  // the give-back's resizing is the handler's last event
  // Handler, length, FFT layout, kind, check flag and caption all back to a new object's.
  EXPECT_EQ(std::tuple(bool(alias->OnSetSize), alias->Length(), alias->FFTStorageFormat(), alias->FFTOddLength(),
                       alias->Complex(), alias->ConditionCheck(), alias->Caption()),
            std::tuple(false, 0, fsfCCS, false, false, true, std::string()));
  FreeIt(v);  // the variable is null now: nothing happens
  EXPECT_EQ(MessageOf<EQuorelException>([&] { FreeIt(alias); }), "FreeIt: object is not in use");
  TMtx* m = nullptr;
  CreateIt(m);
  TMtx* mAlias = m;
  m->Size(3, 3, true);
  m->SetAutoMtxType(true);
  m->SetSubDiag(2);
  m->SetFFTScrambledOrder(true);
  m->OnSetSize = [&calls](TQuorel&) { ++calls; };
  FreeIt(m);
  EXPECT_EQ(std::tuple(bool(mAlias->OnSetSize), mAlias->FFTScrambledOrder(), mAlias->Rows(), mAlias->Complex(),
                       mAlias->AutoMtxType(), mAlias->SubDiag()),
            std::tuple(false, false, 0, false, false, 0));
  // Sub-range references keep a cached object out of the pool.
  v = CreateIt();
  alias = v;
  v->AddRefSubrange();
  v->ReleaseUsage();
  EXPECT_EQ(Controller->VecCacheUsed(), 1);
  alias->ReleaseSubrange();
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
  // The member forms make the same loan.
  v = TVec::CreateFromCache();
  EXPECT_EQ(Controller->VecCacheUsed(), 1);
  v->FreeToCache();
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
}

// A guard left in the middle of block-wise processing (an exception, a break out of the block
// loop) ends it and gives the object back; an explicit FreeIt there still raises.
TEST(Cache, GuardsLeavingBlockProcessingGiveBack) {
  const std::int32_t used = Controller->VecCacheUsed(), mtxUsed = Controller->MtxCacheUsed();
  TVec* seen = nullptr;
  EXPECT_THROW(
      {
        TWorkVec w;
        seen = w.get();
        w->Size(2000);
        w->BlockInit();
        while (!w->BlockEnd()) {
          w->Sqrt(0, 5000);  // beyond the block: a range error
          w->BlockNext();
        }
      },
      EQuorelRangeError);
  EXPECT_EQ(Controller->VecCacheUsed(), used);
  EXPECT_EQ(std::tuple(seen->BlockLevel(), seen->IsSubRange(), seen->Length()), std::tuple(0, false, 0));
  [] {
    TWorkMtx m;
    m->Size(40, 40);
    m->BlockInit();
    m->BlockInit();  // nested: level 2
    if (!m->BlockEnd()) return;
    ADD_FAILURE() << "no block to leave";
  }();
  EXPECT_EQ(Controller->MtxCacheUsed(), mtxUsed);

  TVec* v = CreateIt();
  v->Size(2000);
  v->BlockInit();
  EXPECT_EQ(MessageOf<EQuorelException>([&] { FreeIt(v); }), "BlockLevel > 0");
  EXPECT_EQ(Controller->VecCacheUsed(), used + 1);  // still handed out, and still the caller's
  while (!v->BlockEnd()) v->BlockNext();
  FreeIt(v);
  EXPECT_EQ(Controller->VecCacheUsed(), used);
}

// Giving back runs user code (the OnSetSize handler of a reset, an ordinary object's destructor)
// that may borrow a work object itself; it must not find the cache locked by its own thread.
TEST(Cache, HandlersThatBorrowWhileGivingBack) {
  std::promise<int> done;
  auto result = done.get_future();
  std::thread([&done] {
    int calls = 0;
    const auto borrow = [&calls](TQuorel&) {
      ++calls;
      TWorkVec tmp;
      tmp->Size(3);
    };
    TVec* pooled = CreateIt();
    pooled->OnSetSize = borrow;
    pooled->Size(10);
    FreeIt(pooled);  // the reset changes the size
    TVec* ordinary = new TVec();
    ordinary->Size(10);
    ordinary->SetSubRange(0, 5);
    ordinary->OnSetSize = borrow;
    FreeIt(ordinary);  // destroyed: back to the full range first
    TMtx* m = nullptr;
    CreateIt(m);
    m->OnSetSize = borrow;
    m->Size(2, 2);
    FreeIt(m);
    done.set_value(calls);
  }).detach();
  if (result.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
    ADD_FAILURE() << "FreeIt deadlocked on the cache lock";
    std::_Exit(1);  // the lock stays held: every later test would hang
  }
  EXPECT_GE(result.get(), 5);
  EXPECT_EQ(Controller->VecCacheUsed() + Controller->MtxCacheUsed(), 0);
}

TEST(Cache, LargeLoansReuseTheirBlock) {
  if (!test::AllocationCounting()) GTEST_SKIP() << "the sanitizer owns the allocator";
  // A work object larger than its cache memory keeps its block in the pool: the next loans of the
  // same or a smaller size allocate nothing; a larger one allocates once more.
  const auto allocationsOfLoan = [](std::int32_t vecLen, std::int32_t rows) {
    const long before = test::AllocationCount();
    {
      TWorkVec v;
      TWorkMtx m;
      v->Size(vecLen, true);
      m->Size(rows, rows, false);
      v->SetZero();
      m->SetZero();
    }
    return test::AllocationCount() - before;
  };
  allocationsOfLoan(50000, 100);
  for (int k = 0; k < 5; ++k) EXPECT_EQ(allocationsOfLoan(50000 - 1000 * k, 100 - k), 0) << k;
  EXPECT_EQ(allocationsOfLoan(60000, 120), 2);
  // Releasing the back-end memory frees the spares; the next large loan allocates again.
  Controller->FreeMKLMemory();
  EXPECT_EQ(allocationsOfLoan(60000, 120), 2);
}

TEST(Cache, DefaultConditionCheckReachesPooledAndNewMatrices) {
  Controller->SetMtxConditionCheck(false);
  TMtx fresh;
  TWorkMtx pooled;
  EXPECT_EQ(std::pair(fresh.ConditionCheck(), pooled->ConditionCheck()), std::pair(false, false));
  Controller->SetMtxConditionCheck(true);
  EXPECT_TRUE(pooled->ConditionCheck());
}

TEST(Cache, RebuildRefusedWhileAnEntryIsUsed) {
  // The text names the first used entry.
  auto used = [](const char* pool, const TQuorel* o) {
    return pool + ("[" + std::to_string(o->CacheIndex()) + "] = Used");
  };
  TVec *a = nullptr, *b = nullptr;
  CreateIt(a, b);
  FreeIt(a);
  EXPECT_EQ(MessageOf<EQuorelException>([] { Controller->SetVecCacheSize(10, 100); }), used("VecCache", b));
  TVec* c = CreateIt();  // the refused rebuild left the pool working
  EXPECT_GE(c->CacheIndex(), 0);
  FreeIt(c, b);
  TMtx* m = nullptr;
  CreateIt(m);
  EXPECT_EQ(MessageOf<EQuorelException>([] { Controller->SetMtxCacheSize(4, 16); }), used("MtxCache", m));
  FreeIt(m);
  Controller->SetVecCacheSize(8, 64);
  Controller->SetMtxCacheSize(2, 16);
  CreateIt(c);
  CreateIt(m);
  c->SetLength(64);
  m->Size(4, 4);
  EXPECT_EQ(c->PValues1D(0), Controller->VecCachePointer(0));
  EXPECT_EQ(m->PValues1D(0), Controller->MtxCachePointer(0));
  FreeIt(c);
  FreeIt(m);
  Controller->SetVecCacheSize(40, 3020);
  Controller->SetMtxCacheSize(24, 3020);
}

TEST(Cache, LoansAndTestNil) {
  TVec v = test::Real({1, 2, 3}), c = test::Cplx({{1, 2}});
  std::span<double> d;
  std::span<TCplx> z;
  Enlist(v, d, c, z);
  d[1] = 5;
  EXPECT_EQ(v[1], 5);
  EXPECT_EQ(z[0], (TCplx{1, 2}));
  DismissIt(v, d, c, z);
  EXPECT_TRUE(d.empty() && z.empty());

  TMtx a, b;
  SetMtxSize(2, 3, false, {&a, &b});
  EXPECT_EQ(b.Cols(), 3);
  std::vector<std::span<double>> rows;
  std::vector<std::span<TCplx>> crows;
  EXPECT_EQ(MessageOf<EQuorelException>([&] { Enlist(a, crows); }), "Matrix.Complex = false!");
  b.Size(2, 2, true);
  Enlist(a, rows, b, crows);
  ASSERT_EQ(std::pair(rows.size(), crows.size()), std::pair(std::size_t{2}, std::size_t{2}));
  rows[1][2] = 7;
  crows[1][0] = {1, 2};
  EXPECT_EQ(a.Values(1, 2), 7);
  EXPECT_EQ(b.CValues(1, 0), (TCplx{1, 2}));
  DismissIt(a, rows, b, crows);
  EXPECT_TRUE(rows.empty() && crows.empty());

  int x = 0;
  EXPECT_NO_THROW(TestNil(&x, &x));
  EXPECT_EQ(MessageOf<EQuorelInvalidArgument>([&] { TestNil(&x, nullptr, &x); }), "TestNil: Nil pointer");
}

TEST(Cache, LeakReportTexts) {
  const std::string leak = "Quorel memory controller has detected memory leaks. There are at least ";
  std::vector<std::string> texts;
  // Back-end caches hold vectors of their own: freed first, so that the counts below are stable.
  TVec signal = test::Real({1, 2, 3, 4}), spectrum;
  spectrum.FFTFromReal(signal);
  ASSERT_NE(header_detail::dfti_cache, nullptr);
  Controller->FreeMKLMemory();
  const std::int32_t vecsBefore = Controller->VecCount(), mtxBefore = Controller->MtxCount();
  TQuorelController ctl;
  // Handlers run the user's code, which may borrow: the lock must be free while they run.
  int lockedInHandler = 0;
  const auto lockIsFree = [&] {
    if (!ctl.Lock().try_lock()) return ++lockedInHandler, false;
    ctl.Lock().unlock();
    return true;
  };
  ctl.SetReportHandler([&](const std::string& t) {
    lockIsFree();
    texts.push_back(t);
  });
  ctl.SetVecCacheSize(2, 8);
  ctl.SetMtxCacheSize(2, 8);
  TVec* keptVec = nullptr;
  TMtx* kept = nullptr;
  {
    std::lock_guard hold(ctl.Lock());
    ctl.CreateItx(keptVec);
    ctl.CreateItx(kept);
  }
  kept->Size(2, 2);
  // Left in a sub-range, it notifies its handler as it is destroyed.
  keptVec->Size(4);
  keptVec->SetSubRange(0, 2);
  bool notified = false;
  keptVec->OnSetSize = [&](TQuorel&) {
    notified = true;
    lockIsFree();
  };
  spectrum.FFTFromReal(signal);
  ASSERT_NE(header_detail::dfti_cache, nullptr);
  ctl.DestroyQuorelCache();
  EXPECT_EQ(header_detail::dfti_cache, nullptr);  // the descriptor cache goes first
  ASSERT_EQ(texts.size(), 4u);
  EXPECT_EQ(texts[0], leak + "1 calls to CreateIt(TVec) without a matching call to FreeIt.");
  EXPECT_EQ(texts[1], leak + "1 calls to CreateIt(TMtx) without a matching call to TVec.Free.");
  // Live objects outside this pool are counted last; the kept ones went with their pool and are
  // not counted again.
  EXPECT_EQ(texts[2], leak + std::to_string(vecsBefore) + " calls to TVec.Create without a matching call to TVec.Free.");
  EXPECT_EQ(texts[3], leak + std::to_string(mtxBefore) + " calls to TMtx.Create without a matching call to TMtx.Free.");
  EXPECT_EQ(Controller->VecCount(), vecsBefore);
  EXPECT_TRUE(notified);
  EXPECT_EQ(lockedInHandler, 0);
}

TEST(Cache, EightThreadsMixedArity) {
  const int live = Controller->VecCount();
  std::vector<std::thread> threads;
  std::atomic<int> bad{0};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([t, &bad] {
      std::mt19937 rng(static_cast<unsigned>(t));
      for (int i = 0; i < 100000; ++i) {
        TVec *a = nullptr, *b = nullptr, *c = nullptr;
        const unsigned arity = rng() % 3;
        if (arity == 0) CreateIt(a);
        if (arity == 1) CreateIt(a, b);
        if (arity == 2) CreateIt(a, b, c);
        const int len = static_cast<int>(rng() % 4000);
        a->Size(len, (i & 1) != 0);
        if (len > 0) {
          a->PValues1D(0)[0] = t;
          if (a->PValues1D(0)[0] != t) ++bad;
        }
        if (b) b->SetLength(static_cast<int>(rng() % 100));
        FreeIt(a, b, c);
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(bad.load(), 0);
  EXPECT_EQ(Controller->VecCacheUsed(), 0);
  EXPECT_EQ(Controller->VecCount(), live);
}

}  // namespace
}  // namespace quorel
