#pragma once
// Heap allocation counts for tests and benchmarks. The counter itself (support/allocation_counter.h)
// is included by exactly one translation unit of each program that uses these.

#include <functional>

namespace quorel::test {
/// True when this build counts allocations (sanitizer builds keep their own allocator).
bool AllocationCounting();
/// Allocations of the whole process so far (the libraries' own C allocations included).
long AllocationCount();
/// Allocations of the calling thread while `f` runs, or -1 in builds that cannot count them.
long AllocationsDuring(const std::function<void()>& f);
}  // namespace quorel::test
