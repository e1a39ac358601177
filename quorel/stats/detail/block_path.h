#pragma once
// Which instruction-set copy of the distribution block code runs (the error-function blocks and the
// incomplete-gamma lanes are each built plain, for AVX2 and for AVX-512): the best the processor
// has, unless a test asks for another.

#include <cstdint>

namespace quorel::detail {

/// Instruction sets the block code is built for, in order.
enum class TBlockPath : std::uint8_t { Plain, Avx2, Avx512 };

/// The copy to run now.
TBlockPath CurrentBlockPath();

/// Runs the block code on path p, or on the best the processor has if p is beyond it; returns the
/// previous path. For tests that compare the paths; not for concurrent use.
TBlockPath SetBlockPath(TBlockPath p);

}  // namespace quorel::detail
