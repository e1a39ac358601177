#pragma once
// Counts the process's heap allocations (the library's included) by interposing malloc and its
// aligned forms and mmap; glibc exports its allocator as __libc_*, so the counter forwards there.
// Include from exactly one translation unit of a program. Under a sanitizer, which interposes the
// allocator itself, nothing is interposed and AllocationCounting() is false.

#include <atomic>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QUOREL_COUNT_ALLOCATIONS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define QUOREL_COUNT_ALLOCATIONS 0
#endif
#endif
#ifndef QUOREL_COUNT_ALLOCATIONS
#define QUOREL_COUNT_ALLOCATIONS 1
#endif

namespace quorel::test {
inline std::atomic<long> allocation_count{0};
/// Allocations so far (0 for ever when AllocationCounting() is false).
inline long AllocationCount() { return allocation_count.load(std::memory_order_relaxed); }
/// True when allocations are counted in this build.
constexpr bool AllocationCounting() { return QUOREL_COUNT_ALLOCATIONS != 0; }
}  // namespace quorel::test

#if QUOREL_COUNT_ALLOCATIONS
#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void* __libc_valloc(std::size_t);
void __libc_free(void*);

inline void CountOneAllocation() { quorel::test::allocation_count.fetch_add(1, std::memory_order_relaxed); }

void* malloc(std::size_t n) {
  CountOneAllocation();
  return __libc_malloc(n);
}
void* calloc(std::size_t n, std::size_t m) {
  CountOneAllocation();
  return __libc_calloc(n, m);
}
void* realloc(void* p, std::size_t n) {
  CountOneAllocation();
  return __libc_realloc(p, n);
}
void* memalign(std::size_t alignment, std::size_t n) {
  CountOneAllocation();
  return __libc_memalign(alignment, n);
}
void* aligned_alloc(std::size_t alignment, std::size_t n) {
  CountOneAllocation();
  return __libc_memalign(alignment, n);
}
int posix_memalign(void** p, std::size_t alignment, std::size_t n) {
  CountOneAllocation();
  if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0) return EINVAL;
  void* q = __libc_memalign(alignment, n);
  if (q == nullptr) return ENOMEM;
  *p = q;
  return 0;
}
void* valloc(std::size_t n) {
  CountOneAllocation();
  return __libc_valloc(n);
}
void* mmap(void* addr, std::size_t n, int prot, int flags, int fd, off_t offset) {
  using Mmap = void* (*)(void*, std::size_t, int, int, int, off_t);
  static const Mmap next = reinterpret_cast<Mmap>(dlsym(RTLD_NEXT, "mmap"));
  CountOneAllocation();
  return next(addr, n, prot, flags, fd, offset);
}
void free(void* p) { __libc_free(p); }
}
#endif
