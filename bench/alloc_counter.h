#pragma once
// Include from exactly one translation unit of a benchmark program.
// Counts heap allocations of the whole process (the library included) by interposing malloc.
// glibc exports its allocator as __libc_*, so the counter forwards there.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace bench {
inline std::atomic<long> allocations{0};

/// Runs `body` once as a warm-up, then once per iteration, and records the allocations per call
/// in the "allocs" counter; `items` per iteration, when positive, feed the items/s column.
template <class F>
void RunCounted(benchmark::State& state, F&& body, std::int64_t items = 0) {
  body();
  const long before = allocations.load();
  for (auto _ : state) {
    body();
    benchmark::ClobberMemory();
  }
  state.counters["allocs"] = static_cast<double>(allocations.load() - before) / static_cast<double>(state.iterations());
  if (items > 0) state.SetItemsProcessed(state.iterations() * items);
}
}  // namespace bench

extern "C" {
void* malloc(std::size_t n) {
  bench::allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(n);
}
void* calloc(std::size_t n, std::size_t m) {
  bench::allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_calloc(n, m);
}
void* realloc(void* p, std::size_t n) {
  bench::allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_realloc(p, n);
}
void free(void* p) { __libc_free(p); }
}
