#include "quorel/core/memory.h"

#include <cstdlib>

#include "quorel/platform/pages.h"

namespace quorel {

// The process heap stands in for the system's global heap: a block freed and taken again at the
// same size is reused instead of being mapped afresh, so a temporary large object does not pay
// a page fault per page on every use. Very large blocks still get their own mapping from malloc,
// and these are the ones the large-page hint is for.
void* GlobalAllocUnmanaged(std::intptr_t size) {
  if (size < 1) return nullptr;
  void* p = std::malloc(static_cast<std::size_t>(size));
  detail::AdviseLargePages(p, static_cast<std::size_t>(size));
  return p;
}

void GlobalFreeUnmanaged(void*& p) {
  std::free(p);
  p = nullptr;
}

void GlobalFreeUnmanaged(std::intptr_t& p) {
  void* ptr = p > 0 ? reinterpret_cast<void*>(p) : nullptr;
  GlobalFreeUnmanaged(ptr);
  p = 0;
}

}  // namespace quorel
