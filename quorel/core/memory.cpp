#include "quorel/core/memory.h"

#include <sys/mman.h>

#include <cstring>

namespace quorel {

namespace {
// The mapping length is kept in front of the block so that freeing needs only the pointer.
constexpr std::size_t kHeader = 64;
}  // namespace

void* GlobalAllocUnmanaged(std::intptr_t size) {
  if (size < 1) return nullptr;
  std::size_t total = static_cast<std::size_t>(size) + kHeader;
  void* map = ::mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (map == MAP_FAILED) return nullptr;
  std::memcpy(map, &total, sizeof total);
  return static_cast<char*>(map) + kHeader;
}

void GlobalFreeUnmanaged(void*& p) {
  if (p != nullptr) {
    char* map = static_cast<char*>(p) - kHeader;
    std::size_t total;
    std::memcpy(&total, map, sizeof total);
    ::munmap(map, total);
  }
  p = nullptr;
}

void GlobalFreeUnmanaged(std::intptr_t& p) {
  void* ptr = p > 0 ? reinterpret_cast<void*>(p) : nullptr;
  GlobalFreeUnmanaged(ptr);
  p = 0;
}

}  // namespace quorel
