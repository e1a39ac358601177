#pragma once
// Counts heap allocations by interposing malloc, its aligned forms and mmap for the whole program;
// glibc exports its allocator as __libc_*, which the interposed functions forward to. Include from
// exactly one translation unit of a program; the others include support/allocations.h. The C
// library declares these functions noexcept, and so must their replacements.

#include <atomic>
#include <functional>

#include "allocations.h"

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

namespace quorel::test::counter_detail {
inline std::atomic<long> process_count{0};
// Plain thread-local data, readable from a thread's first allocation on.
inline thread_local bool thread_counting = false;
inline thread_local long thread_count = 0;
}  // namespace quorel::test::counter_detail

namespace quorel::test {
bool AllocationCounting() { return QUOREL_COUNT_ALLOCATIONS != 0; }
long AllocationCount() { return counter_detail::process_count.load(std::memory_order_relaxed); }
long AllocationsDuring(const std::function<void()>& f) {
  using namespace counter_detail;
  thread_count = 0;
  thread_counting = true;
  f();
  thread_counting = false;
  return AllocationCounting() ? thread_count : -1;
}
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

static void CountOneAllocation() noexcept {
  using namespace quorel::test::counter_detail;
  process_count.fetch_add(1, std::memory_order_relaxed);
  if (thread_counting) ++thread_count;
}

void* malloc(std::size_t n) noexcept {
  CountOneAllocation();
  return __libc_malloc(n);
}
void* calloc(std::size_t n, std::size_t m) noexcept {
  CountOneAllocation();
  return __libc_calloc(n, m);
}
void* realloc(void* p, std::size_t n) noexcept {
  CountOneAllocation();
  return __libc_realloc(p, n);
}
void* memalign(std::size_t alignment, std::size_t n) noexcept {
  CountOneAllocation();
  return __libc_memalign(alignment, n);
}
void* aligned_alloc(std::size_t alignment, std::size_t n) noexcept {
  CountOneAllocation();
  return __libc_memalign(alignment, n);
}
int posix_memalign(void** p, std::size_t alignment, std::size_t n) noexcept {
  CountOneAllocation();
  if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0) return EINVAL;
  void* q = __libc_memalign(alignment, n);
  if (q == nullptr) return ENOMEM;
  *p = q;
  return 0;
}
void* valloc(std::size_t n) noexcept {
  CountOneAllocation();
  return __libc_valloc(n);
}
void* mmap(void* addr, std::size_t n, int prot, int flags, int fd, off_t offset) noexcept {
  using Mmap = void* (*)(void*, std::size_t, int, int, int, off_t);
  static const Mmap next = reinterpret_cast<Mmap>(dlsym(RTLD_NEXT, "mmap"));
  CountOneAllocation();
  return next(addr, n, prot, flags, fd, offset);
}
void free(void* p) noexcept { __libc_free(p); }
}
#endif
