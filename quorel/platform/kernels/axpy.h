#pragma once
// Scaled accumulation r += f * x, the BLAS axpy family, real, complex and mixed.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// r += f * x.
void AddScaled(const double* x, double f, double* r, std::ptrdiff_t n);
void AddScaled(const TCplx* x, TCplx f, TCplx* r, std::ptrdiff_t n);
/// Real x, complex factor, complex r.
void AddScaled(const double* x, TCplx f, TCplx* r, std::ptrdiff_t n);

}  // namespace quorel::kern
