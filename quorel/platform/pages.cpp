#include "quorel/platform/pages.h"

#include <sys/mman.h>

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

}  // namespace quorel::detail
