#pragma once
// Sliding sums of products: the direct form of convolution and correlation.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// How the index into s moves with the coefficient index j.
enum class TSlide { Convolution, Correlation };

/// y[o] = sum of c[j] s[p] over j = 0, 1, ..., nc - 1 in that order, for o in [0, count), where
/// p = base + o - j (convolution) or base + o + j (correlation). Terms with p outside [0, ns)
/// are left out; a sum without terms is +0. With add set, the sums start from y[o] instead of
/// +0. Each product is rounded and then added, so every instruction set gives the same bits as
/// the written-out loop.
void SlidingSums(TSlide slide, const double* c, std::ptrdiff_t nc, const double* s, std::ptrdiff_t ns,
                 std::ptrdiff_t base, double* y, std::ptrdiff_t count, bool add = false);
/// The same for complex values; a correlation takes the conjugates of c.
void SlidingSums(TSlide slide, const TCplx* c, std::ptrdiff_t nc, const TCplx* s, std::ptrdiff_t ns,
                 std::ptrdiff_t base, TCplx* y, std::ptrdiff_t count, bool add = false);

}  // namespace quorel::kern
