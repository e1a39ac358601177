#pragma once
// Transforms the signal routines run for themselves (convolution, correlation, DCT) come from a
// cache of the calling thread, apart from the descriptor cache that the FFT methods share, so
// those routines run on distinct objects from several threads at once. A thread's cache goes at
// the thread's end; Controller.FreeMKLMemory and DestroyQuorelCache empty the calling thread's
// at once and every other thread's at its next use.

#include <cstdint>

#include "quorel/platform/fftw.h"
#include "quorel/signal/dfti_cache.h"

namespace quorel::detail {

/// The calling thread's committed descriptor for these lengths and flags (as DftiCache().GetDesc
/// would make it), valid until the thread's next call of ThreadDesc or ThreadDctPlan; raises as
/// FindOrCreateDscr does.
TDftiHandle ThreadDesc(std::int32_t length1, std::int32_t length2, TCacheEntryFlags flags);

/// The calling thread's in-place plan of `kind` (Dct2 or Dct3) on n doubles at alignment class
/// `align`, valid until the thread's next call of either function; null, with the reason in
/// `why`, when FFTW cannot make it.
FftwPlanPtr ThreadDctPlan(std::int32_t n, FftwKind kind, int align, FftwFailure& why);

}  // namespace quorel::detail
