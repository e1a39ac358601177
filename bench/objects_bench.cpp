// Taking and giving back a work vector against creating one and against std::vector.
#include <benchmark/benchmark.h>

#include <vector>

#include "alloc_counter.h"
#include "quorel/objects/vec.h"

using quorel::TVec;

namespace {

// Allocations per iteration, measured around the timed loop.
template <class F>
void Measure(benchmark::State& state, F&& body) {
  const long before = bench::allocations.load();
  for (auto _ : state) body();
  state.counters["allocs/iter"] =
      static_cast<double>(bench::allocations.load() - before) / static_cast<double>(state.iterations());
}

void BM_CreateItFreeIt(benchmark::State& state) {
  Measure(state, [] {
    TVec* v = nullptr;
    quorel::CreateIt(v);
    v->SetLength(3000);
    benchmark::DoNotOptimize(v->PValues1D(0));
    quorel::FreeIt(v);
  });
}

// The pair alone, with nothing done to the vector in between.
void BM_CreateItFreeItPair(benchmark::State& state) {
  Measure(state, [] {
    TVec* v = nullptr;
    quorel::CreateIt(v);
    benchmark::DoNotOptimize(v);
    quorel::FreeIt(v);
  });
}

void BM_WorkVecGuard(benchmark::State& state) {
  Measure(state, [] {
    quorel::TWorkVec v;
    v->SetLength(3000);
    benchmark::DoNotOptimize(v->PValues1D(0));
  });
}

void BM_NewDeleteTVec(benchmark::State& state) {
  Measure(state, [] {
    TVec* v = new TVec();
    v->SetLength(3000);
    benchmark::DoNotOptimize(v->PValues1D(0));
    delete v;
  });
}

void BM_StdVector3000(benchmark::State& state) {
  Measure(state, [] {
    std::vector<double> v(3000);
    benchmark::DoNotOptimize(v.data());
  });
}

}  // namespace

BENCHMARK(BM_CreateItFreeIt);
BENCHMARK(BM_CreateItFreeItPair);
BENCHMARK(BM_WorkVecGuard);
BENCHMARK(BM_NewDeleteTVec);
BENCHMARK(BM_StdVector3000);
BENCHMARK_MAIN();
