#pragma once
// Per-thread scratch buffers of the sparse builders (triplet conversion, products, sums). They
// only grow and are kept between calls, so a repeated conversion or product of the same size
// touches no fresh pages, but only up to a fixed budget: the triplet conversion releases them
// all when it returns with more. Controller.FreeMKLMemory (and the end of the thread) releases
// them in any case.

#include <cstddef>
#include <cstdint>

namespace quorel::detail {

enum TSparseScratchSlot : std::uint8_t {
  sssRowPtr,   // per-row counts and starts
  sssNext,     // per-row fill positions
  sssMarker,   // the marker array
  sssColPtr,   // per-column counts and pointers
  sssEntries,  // (column, value) entries laid out by row; the row indices of a product
  sssValues,   // the values of a product or sum
  sssCount
};

/// At least `bytes` bytes of the slot; the contents are not kept.
void* SparseScratch(TSparseScratchSlot slot, std::size_t bytes);
/// At least `bytes` bytes of the slot, keeping its first `keep` bytes.
void* SparseScratchGrow(TSparseScratchSlot slot, std::size_t bytes, std::size_t keep);

/// Releases every slot when together they hold more than the budget kept between calls.
void SparseScratchTrim() noexcept;

/// Trims the scratch when the scope ends, on every path.
class TSparseScratchTrim {
 public:
  TSparseScratchTrim() = default;
  TSparseScratchTrim(const TSparseScratchTrim&) = delete;
  TSparseScratchTrim& operator=(const TSparseScratchTrim&) = delete;
  ~TSparseScratchTrim() { SparseScratchTrim(); }
};

template <class T>
T* Scratch(TSparseScratchSlot slot, std::size_t count) {
  return static_cast<T*>(SparseScratch(slot, count * sizeof(T)));
}

}  // namespace quorel::detail
