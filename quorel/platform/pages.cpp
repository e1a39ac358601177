#include "quorel/platform/pages.h"

#include <sys/mman.h>
#include <unistd.h>

namespace quorel::detail {

void AdviseLargePages(void* p, std::size_t bytes) noexcept {
  if (p == nullptr || bytes < kLargePageMinimum) return;
  const TPageSpan span = LargePageSpan(reinterpret_cast<std::uintptr_t>(p), bytes);
  // Kernels without large pages, or with them switched off, answer EINVAL: nothing to do then.
  if (span.last > span.first) ::madvise(reinterpret_cast<void*>(span.first), span.last - span.first, MADV_HUGEPAGE);
}

void* MapPages(std::size_t bytes) noexcept {
  void* p = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  AdviseLargePages(p, bytes);
  return p;
}

void UnmapPages(void* p, std::size_t bytes) noexcept {
  if (p != nullptr) ::munmap(p, bytes);
}

TPageSpan DiscardPages(void* p, std::size_t bytes) noexcept {
  static const std::uintptr_t page = [] {
    const long size = ::sysconf(_SC_PAGESIZE);
    return size > 0 ? static_cast<std::uintptr_t>(size) : std::uintptr_t{4096};
  }();
  const auto at = reinterpret_cast<std::uintptr_t>(p);
  const std::uintptr_t first = (at + page - 1) / page * page;
  const std::uintptr_t last = (at + bytes) / page * page;
  if (p == nullptr || last <= first) return {first, first};
  // Private anonymous pages come back zero-filled on demand (shared or file pages would not).
  if (::madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED) != 0) return {first, first};
  return {first, last};
}

}  // namespace quorel::detail
