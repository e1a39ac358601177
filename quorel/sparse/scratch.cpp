#include "quorel/sparse/detail/scratch.h"

#include <algorithm>
#include <cstring>

#include "quorel/core/errors.h"
#include "quorel/objects/detail/release_hooks.h"
#include "quorel/platform/pages.h"

namespace quorel::detail {

namespace {

constexpr std::size_t kMinimum = std::size_t{64} << 10;
// Kept between calls, all slots together: room for a conversion of about 10^7 triplets to find
// warm pages again. More would tie up memory in proportion to the largest build ever made.
constexpr std::size_t kKeptBudget = std::size_t{256} << 20;

// Plain data, so that it stays readable after the thread's destructors have run (the release hook
// can be called during static destruction).
struct TScratch {
  void* block[sssCount];
  std::size_t size[sssCount];
};
thread_local TScratch scratch{};

void Release() {
  for (int s = 0; s < sssCount; ++s) {
    if (scratch.block[s] != nullptr) UnmapPages(scratch.block[s], scratch.size[s]);
    scratch.block[s] = nullptr;
    scratch.size[s] = 0;
  }
}

struct TScratchOwner {
  TScratchOwner() { RegisterReleaseHook(&Release); }
  ~TScratchOwner() { Release(); }
};

std::size_t Rounded(std::size_t bytes) {
  const std::size_t unit = bytes >= kLargePage ? kLargePage : kMinimum;
  return std::max(kMinimum, (bytes + unit - 1) / unit * unit);
}

// Random scatters over large arrays are bound by TLB misses without large pages, which MapPages
// asks for.
void* Map(std::size_t bytes) {
  void* p = MapPages(bytes);
  if (p == nullptr) EOutOfMemoryRaise("Quorel: Out of memory!");
  return p;
}

}  // namespace

void* SparseScratchGrow(TSparseScratchSlot slot, std::size_t bytes, std::size_t keep) {
  thread_local TScratchOwner owner;
  if (bytes <= scratch.size[slot]) return scratch.block[slot];
  const std::size_t size = Rounded(bytes);
  void* grown = Map(size);
  if (keep > 0) std::memcpy(grown, scratch.block[slot], std::min(keep, scratch.size[slot]));
  UnmapPages(scratch.block[slot], scratch.size[slot]);
  scratch.block[slot] = grown;
  scratch.size[slot] = size;
  return grown;
}

void SparseScratchTrim() noexcept {
  std::size_t total = 0;
  for (int s = 0; s < sssCount; ++s) total += scratch.size[s];
  if (total > kKeptBudget) Release();
}

void* SparseScratch(TSparseScratchSlot slot, std::size_t bytes) { return SparseScratchGrow(slot, bytes, 0); }

}  // namespace quorel::detail
