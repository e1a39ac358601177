#pragma once
// Raw memory helpers: the global heap for large blocks and the 32-byte alignment rule.

#include <cstddef>
#include <cstdint>

#include "quorel/core/types.h"

namespace quorel {

/// Blocks larger than this many bytes come from the global heap (GlobalAllocUnmanaged).
inline constexpr std::size_t HeapBlockLimit = 65536;

/// A block of `size` bytes from the global heap; nullptr when size < 1 or on failure.
void* GlobalAllocUnmanaged(std::intptr_t size);
/// Frees a block of GlobalAllocUnmanaged when p is not null; always sets p to null.
void GlobalFreeUnmanaged(void*& p);
/// Same for a block held as an integer handle.
void GlobalFreeUnmanaged(std::intptr_t& p);

/// ((p + 40) div 32) * 32: the first 32-byte boundary 9 to 40 bytes above p.
constexpr std::intptr_t AllignMem(std::intptr_t p) { return (p + 40) / 32 * 32; }
/// Same for an int, so that a literal such as AllignMem(0) is not ambiguous with the pointer form.
constexpr std::intptr_t AllignMem(int p) { return AllignMem(static_cast<std::intptr_t>(p)); }
/// Pointer form of AllignMem.
inline void* AllignMem(const void* p) {
  return reinterpret_cast<void*>(AllignMem(reinterpret_cast<std::intptr_t>(p)));
}

// Raw-memory accessors, for code that walks untyped buffers.
inline double PointerToDouble(const void* p) { return *static_cast<const double*>(p); }
inline double PointerToIndexDouble(const void* p, std::ptrdiff_t i) { return static_cast<const double*>(p)[i]; }
inline void WriteDouble(void* p, double x) { *static_cast<double*>(p) = x; }
inline TDCplx PointerToDCplx(const void* p) { return *static_cast<const TDCplx*>(p); }
inline TDCplx PointerToIndexDCplx(const void* p, std::ptrdiff_t i) { return static_cast<const TDCplx*>(p)[i]; }
inline void WriteDCplx(void* p, const TDCplx& z) { *static_cast<TDCplx*>(p) = z; }

}  // namespace quorel
