#pragma once
// Page-level memory from the operating system: anonymous mappings and the large-page hint.

#include <cstddef>
#include <cstdint>

namespace quorel::detail {

/// The large-page size the hint works in (2 MB on x86-64).
inline constexpr std::size_t kLargePage = std::size_t{2} << 20;
/// Blocks at least this large get the hint: below it a block holds at most one aligned large page.
inline constexpr std::size_t kLargePageMinimum = 2 * kLargePage;

/// The large-page-aligned part [first, last) of the block [p, p + bytes); empty (first == last)
/// when the block holds no whole large page.
struct TPageSpan {
  std::uintptr_t first, last;
};
constexpr TPageSpan LargePageSpan(std::uintptr_t p, std::size_t bytes) {
  const std::uintptr_t first = (p + kLargePage - 1) / kLargePage * kLargePage;
  const std::uintptr_t last = (p + bytes) / kLargePage * kLargePage;
  return last > first ? TPageSpan{first, last} : TPageSpan{first, first};
}

/// Asks the kernel to back the whole large pages inside a block of at least kLargePageMinimum bytes
/// with large pages (fewer TLB misses on long streams, and one page fault per 2 MB on first
/// touch); smaller blocks are left alone. A hint only: it never fails.
void AdviseLargePages(void* p, std::size_t bytes) noexcept;

/// A zeroed anonymous mapping of `bytes`, advised as above; nullptr when the system refuses.
void* MapPages(std::size_t bytes) noexcept;
/// Returns a mapping of MapPages.
void UnmapPages(void* p, std::size_t bytes) noexcept;

/// Zeroes the whole pages inside [p, p + bytes) of private anonymous memory (the heap's, a
/// MapPages block) by handing them back to the system: they then read as zero and take neither
/// memory nor page tables until written. Returns the part [first, last) so zeroed; empty when the
/// block holds no whole page or the system refuses, and the caller zeroes the rest itself.
TPageSpan DiscardPages(void* p, std::size_t bytes) noexcept;

}  // namespace quorel::detail
