// Taking and giving back a work vector against creating one and against std::vector; the value
// operators (c = a + b, a new object per result) against the methods into a sized c.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "alloc_counter.h"
#include "quorel/objects/value_ops.h"
#include "quorel/objects/vec.h"
#include "ratio_reporter.h"

using quorel::TVec;

namespace {

// Allocations per iteration, measured around the timed loop.
template <class F>
void Measure(benchmark::State& state, F&& body) {
  const long before = quorel::test::AllocationCount();
  for (auto _ : state) body();
  state.counters["allocs/iter"] =
      static_cast<double>(quorel::test::AllocationCount() - before) / static_cast<double>(state.iterations());
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

// Operands for the operator benchmarks, one set per length, made once.
struct TOperands {
  explicit TOperands(std::int32_t n) : a(n), b(n), c(n) {
    a.Ramp(1.0, 0.5);
    b.Ramp(-3.0, 0.25);
  }
  TVec a, b, c;
};

TOperands& OperandsFor(std::int32_t n) {
  static std::vector<std::unique_ptr<TOperands>> made;
  for (auto& o : made)
    if (o->a.Length() == n) return *o;
  return *made.emplace_back(std::make_unique<TOperands>(n));
}

#define QUOREL_OPERATOR_BENCH(op, impl, ...)                                                       \
  void BM_##op##_##impl(benchmark::State& state) {                                               \
    TOperands& d = OperandsFor(static_cast<std::int32_t>(state.range(0)));                        \
    Measure(state, [&] {                                                                          \
      __VA_ARGS__;                                                                                \
      benchmark::DoNotOptimize(d.c.PValues1D(0));                                                 \
    });                                                                                           \
  }                                                                                               \
  BENCHMARK(BM_##op##_##impl)->Name(#op "/" #impl)->Arg(1000)->Arg(100000)->Arg(10000000)->UseRealTime();

// "quorel" is the operator, "method" the call it stands for.
QUOREL_OPERATOR_BENCH(ValueAdd, quorel, d.c = d.a + d.b)
QUOREL_OPERATOR_BENCH(ValueAdd, method, d.c.Add(d.a, d.b))
QUOREL_OPERATOR_BENCH(ValueScale, quorel, d.c = d.a * 1.5)
QUOREL_OPERATOR_BENCH(ValueScale, method, d.c.Mul(d.a, 1.5))
QUOREL_OPERATOR_BENCH(CompoundAdd, quorel, d.c += d.b)
QUOREL_OPERATOR_BENCH(CompoundAdd, method, d.c.Add(d.b))

}  // namespace

BENCHMARK(BM_CreateItFreeIt);
BENCHMARK(BM_CreateItFreeItPair);
BENCHMARK(BM_WorkVecGuard);
BENCHMARK(BM_NewDeleteTVec);
BENCHMARK(BM_StdVector3000);
int main(int argc, char** argv) { return bench::RunWithRatios(argc, argv, {"method"}, "allocs/iter"); }
