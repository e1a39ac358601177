#pragma once
// Include from exactly one translation unit of a benchmark program.
// Counts heap allocations of the whole process (the library included) by interposing malloc, the
// aligned forms (FFTW and our large blocks use them) and mmap. glibc exports its allocator as
// __libc_*, so the counter forwards there; mmap goes to the next definition.

#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/types.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void* __libc_valloc(std::size_t);
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
void* memalign(std::size_t alignment, std::size_t n) {
  bench::allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_memalign(alignment, n);
}
void* aligned_alloc(std::size_t alignment, std::size_t n) {
  bench::allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_memalign(alignment, n);
}
int posix_memalign(void** p, std::size_t alignment, std::size_t n) {
  bench::allocations.fetch_add(1, std::memory_order_relaxed);
  if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0) return EINVAL;
  void* q = __libc_memalign(alignment, n);
  if (q == nullptr) return ENOMEM;
  *p = q;
  return 0;
}
void* valloc(std::size_t n) {
  bench::allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_valloc(n);
}
void* mmap(void* addr, std::size_t n, int prot, int flags, int fd, off_t offset) {
  using Mmap = void* (*)(void*, std::size_t, int, int, int, off_t);
  static const Mmap next = reinterpret_cast<Mmap>(dlsym(RTLD_NEXT, "mmap"));
  bench::allocations.fetch_add(1, std::memory_order_relaxed);
  return next(addr, n, prot, flags, fd, offset);
}
void free(void* p) { __libc_free(p); }
}
