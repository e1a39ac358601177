#pragma once
// Scratch memory for LAPACK calls. Matrix copies, pivots and driver work arrays are mostly larger
// than an object-cache slot, so taking them from the cache would allocate (and, above the heap
// limit, map fresh pages) on every call. Instead each call borrows an arena from a process-wide
// pool; an arena keeps its memory between calls and only grows, so a repeated call of the same
// size allocates nothing. Controller.FreeMKLMemory gives the memory of idle arenas back.

#include <cstdint>

#include "quorel/objects/detail/kind.h"
#include "quorel/platform/lapack/symbols.h"

namespace quorel::detail::lapack {

struct TArena;

/// One arena borrowed for the guard's lifetime; everything taken from it stays valid until the
/// guard ends. Guards may nest (each borrows its own arena) and be used from several threads.
class TLapackWork {
 public:
  TLapackWork();
  ~TLapackWork();
  TLapackWork(const TLapackWork&) = delete;
  TLapackWork& operator=(const TLapackWork&) = delete;

  /// `n` uninitialised elements of T (at least one), 64-byte aligned.
  template <Element T>
  T* Take(std::int64_t n) {
    return static_cast<T*>(TakeBytes(sizeof(T) * static_cast<std::uint64_t>(n < 1 ? 1 : n)));
  }
  /// `n` Fortran integers (at least one).
  FInt* TakeInt(std::int64_t n) { return static_cast<FInt*>(TakeBytes(sizeof(FInt) * static_cast<std::uint64_t>(n < 1 ? 1 : n))); }

 private:
  void* TakeBytes(std::uint64_t bytes);
  TArena* arena_;
};

/// Frees the memory of every arena not currently borrowed; borrowed ones free theirs when given
/// back. Registered as a release hook.
void ReleaseLapackWork();
/// Bytes held by the arenas nobody borrows at the moment.
std::uint64_t IdleLapackWorkBytes();

}  // namespace quorel::detail::lapack
