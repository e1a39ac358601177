// The pool of grow-only scratch arenas behind TLapackWork.
#include "quorel/platform/lapack/work_arena.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "quorel/core/errors.h"
#include "quorel/objects/detail/release_hooks.h"

namespace quorel::detail::lapack {

namespace {
constexpr std::uint64_t kAlign = 64;
constexpr std::uint64_t kMinBlock = 64 * 1024;

std::uint64_t RoundUp(std::uint64_t bytes) { return (bytes + kAlign - 1) / kAlign * kAlign; }
}  // namespace

struct TArena {
  struct TBlock {
    char* memory;
    std::uint64_t size;
  };
  std::vector<TBlock> blocks;  // the last one is being filled
  std::uint64_t used = 0;      // bytes used in the last block
  std::uint64_t taken = 0;     // bytes taken during the current loan
  std::uint64_t want = 0;      // the largest loan so far: the size of the next single block
  std::uint64_t generation = 0;
  TArena* next = nullptr;      // in the pool's idle list

  void Free() {
    for (const TBlock& b : blocks) std::free(b.memory);
    blocks.clear();
    used = 0;
  }
  void* Take(std::uint64_t bytes) {
    bytes = RoundUp(bytes);
    if (blocks.empty() || used + bytes > blocks.back().size) {
      // First use after a release, or the loan outgrew the arena: a new block, merged with the
      // others when the arena is given back.
      const std::uint64_t size = RoundUp(std::max({bytes, blocks.empty() ? want : 0, kMinBlock}));
      void* p = std::aligned_alloc(kAlign, size);
      if (p == nullptr) EOutOfMemoryRaise("Quorel: Out of memory!");
      blocks.push_back({static_cast<char*>(p), size});
      used = 0;
    }
    char* p = blocks.back().memory + used;
    used += bytes;
    taken += bytes;
    return p;
  }
};

namespace {
// Never destroyed: the release hooks also run from the controller's destructor at shut-down.
// The idle arenas form a stack, so a repeated call gets back the arena it used last time.
struct TPool {
  std::mutex lock;
  TArena* idle = nullptr;
  std::uint64_t generation = 0;  // advanced by every release
};

TPool& Pool() {
  static TPool* pool = [] {
    auto* p = new TPool;
    RegisterReleaseHook(&ReleaseLapackWork);
    return p;
  }();
  return *pool;
}
}  // namespace

TLapackWork::TLapackWork() {
  TPool& pool = Pool();
  std::uint64_t generation;
  {
    std::lock_guard hold(pool.lock);
    if ((arena_ = pool.idle) != nullptr) {
      pool.idle = arena_->next;
      return;
    }
    generation = pool.generation;
  }
  arena_ = new TArena;
  arena_->generation = generation;
}

TLapackWork::~TLapackWork() {
  TArena& a = *arena_;
  a.want = std::max(a.want, a.taken);
  a.taken = 0;
  a.used = 0;
  TPool& pool = Pool();
  std::lock_guard hold(pool.lock);
  // Released during the loan: forget the memory. More than one block: free them now and take
  // one block of the whole size on next use.
  if (a.generation != pool.generation) a.want = 0;
  if (a.blocks.size() > 1 || a.generation != pool.generation) a.Free();
  a.generation = pool.generation;
  a.next = pool.idle;
  pool.idle = arena_;
}

void* TLapackWork::TakeBytes(std::uint64_t bytes) { return arena_->Take(bytes); }

void ReleaseLapackWork() {
  TPool& pool = Pool();
  std::lock_guard hold(pool.lock);
  ++pool.generation;
  while (TArena* a = pool.idle) {
    pool.idle = a->next;
    a->Free();
    delete a;
  }
}

std::uint64_t IdleLapackWorkBytes() {
  TPool& pool = Pool();
  std::lock_guard hold(pool.lock);
  std::uint64_t bytes = 0;
  for (const TArena* a = pool.idle; a != nullptr; a = a->next)
    for (const auto& b : a->blocks) bytes += b.size;
  return bytes;
}

}  // namespace quorel::detail::lapack
