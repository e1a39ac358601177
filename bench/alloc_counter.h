#pragma once
// Include from exactly one translation unit of a benchmark program: counts heap allocations of the
// whole process (the library included) with the tests' interposing counter.

#include <benchmark/benchmark.h>

#include <cstdint>

#include "../tests/support/allocation_counter.h"

namespace bench {
/// Runs `body` once as a warm-up, then once per iteration, and records the allocations per call
/// in the "allocs" counter; `items` per iteration, when positive, feed the items/s column.
template <class F>
void RunCounted(benchmark::State& state, F&& body, std::int64_t items = 0) {
  body();
  const long before = quorel::test::AllocationCount();
  for (auto _ : state) {
    body();
    benchmark::ClobberMemory();
  }
  state.counters["allocs"] =
      static_cast<double>(quorel::test::AllocationCount() - before) / static_cast<double>(state.iterations());
  if (items > 0) state.SetItemsProcessed(state.iterations() * items);
}
}  // namespace bench
