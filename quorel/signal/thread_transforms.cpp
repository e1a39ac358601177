// Per-thread descriptors and DCT plans (see detail/thread_transforms.h).
#include "quorel/signal/detail/thread_transforms.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

#include "quorel/objects/detail/release_hooks.h"
#include "quorel/signal/detail/dfti.h"

namespace quorel::detail {

namespace {

constexpr int kMaxDescs = 15;  // as many as the descriptor cache keeps by default
constexpr int kMaxDctPlans = 8;

struct TDctPlan {
  std::int32_t N = 0;
  FftwKind Kind = FftwKind::Dct2;
  int Align = 0;
  FftwPlan Plan;
};

// Bumped by every release: a thread's cache filled under an older count empties itself on its
// next use, on its own thread, so no thread touches another's plans.
std::atomic<std::uint64_t> gReleases{0};

// One thread's descriptors and DCT plans, most recently used first. Fixed arrays: a warm cache
// allocates nothing.
struct TThreadTransforms {
  std::uint64_t Releases = 0;
  int DescCount = 0;
  int DctCount = 0;
  std::unique_ptr<TDftiDescriptor> Descs[kMaxDescs];
  TDctPlan Dcts[kMaxDctPlans];

  void Clear() {
    for (int i = 0; i < DescCount; ++i) Descs[i].reset();
    for (int i = 0; i < DctCount; ++i) Dcts[i].Plan.Reset();
    DescCount = DctCount = 0;
  }
};

// Trivially destructible, so that a release during shut-down (after the thread's owner is gone)
// finds null rather than a destroyed object.
thread_local TThreadTransforms* tCache = nullptr;

void ReleaseThreadTransforms() {
  gReleases.fetch_add(1, std::memory_order_relaxed);
  if (tCache) tCache->Clear();
}

struct TCacheOwner {
  ~TCacheOwner() { delete std::exchange(tCache, nullptr); }
};

// Out of line: the lookup's fast path stays a TLS load and a compare.
[[gnu::noinline]] TThreadTransforms& Refresh() {
  if (tCache == nullptr) {
    static const bool hooked = (RegisterReleaseHook(&ReleaseThreadTransforms), true);
    (void)hooked;
    tCache = new TThreadTransforms;
    // Frees the cache at the thread's end. A transform run by a later thread-exit destructor
    // makes a cache nobody frees.
    thread_local TCacheOwner owner;
    (void)owner;
  } else {
    tCache->Clear();
  }
  tCache->Releases = gReleases.load(std::memory_order_relaxed);
  return *tCache;
}

inline TThreadTransforms& Cache() {
  TThreadTransforms* c = tCache;
  if (c != nullptr && c->Releases == gReleases.load(std::memory_order_relaxed)) [[likely]]
    return *c;
  return Refresh();
}

// Moves element i of a to the front.
template <class T>
void ToFront(T* a, int i) {
  if (i > 0) std::rotate(a, a + i, a + i + 1);
}

}  // namespace

TDftiHandle ThreadDesc(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags) {
  TThreadTransforms& c = Cache();
  const TCacheEntryFlags key = TDFTIDescriptorCache::NormalisedFlags(length2, flags);
  for (int i = 0; i < c.DescCount; ++i) {
    const TDftiDescriptor& d = *c.Descs[i];
    if (d.Length1 == length1 && d.Length2 == length2 && d.Flags == key) {
      ToFront(c.Descs, i);
      return c.Descs[0].get();
    }
  }
  // Made before the cache changes: a failure leaves it as it was.
  auto made = MakeThreadDescriptor(length1, length2, flags);
  if (c.DescCount == kMaxDescs) c.Descs[--c.DescCount].reset();
  c.Descs[c.DescCount] = std::move(made);
  ToFront(c.Descs, c.DescCount++);
  return c.Descs[0].get();
}

namespace {
[[gnu::noinline]] FftwPlanPtr DctPlanBehindHead(std::int32_t n, FftwKind kind, int align, FftwFailure& why) {
  TThreadTransforms& c = Cache();
  for (int i = 0; i < c.DctCount; ++i) {
    const TDctPlan& p = c.Dcts[i];
    if (p.N == n && p.Kind == kind && p.Align == align) {
      ToFront(c.Dcts, i);
      return c.Dcts[0].Plan.Get();
    }
  }
  FftwShape s;
  s.n[0] = n;
  s.inplace = true;
  FftwPlan plan = FftwMakePlan(kind, s, nullptr, align, align, &why);
  if (!plan) return nullptr;
  if (c.DctCount == kMaxDctPlans) c.Dcts[--c.DctCount].Plan.Reset();
  c.Dcts[c.DctCount] = {n, kind, align, std::move(plan)};
  ToFront(c.Dcts, c.DctCount++);
  return c.Dcts[0].Plan.Get();
}
}  // namespace

FftwPlanPtr ThreadDctPlan(std::int32_t n, FftwKind kind, int align, FftwFailure& why) {
  // Repeated transforms of one length hit the head: short DCTs cost little more than this lookup.
  const TThreadTransforms* c = tCache;
  if (c != nullptr && c->DctCount > 0 && c->Releases == gReleases.load(std::memory_order_relaxed)) {
    const TDctPlan& p = c->Dcts[0];
    if (p.N == n && p.Kind == kind && p.Align == align) return p.Plan.Get();
  }
  return DctPlanBehindHead(n, kind, align, why);
}

}  // namespace quorel::detail
