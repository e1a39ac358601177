#pragma once
// Kernels that move, fill, reorder and accumulate arrays. Conventions as in kernels_arith.h.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// r = x; x and r must not overlap unless they are the same array.
void Copy(const double* x, double* r, std::ptrdiff_t n);
void Copy(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// r = x for arrays that may overlap in any way (memmove semantics).
void Move(const double* x, double* r, std::ptrdiff_t n);
void Move(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// r[i] = v.
void Fill(double v, double* r, std::ptrdiff_t n);
void Fill(TCplx v, TCplx* r, std::ptrdiff_t n);
/// r[i] = x[n - 1 - i]; works in place.
void Reverse(const double* x, double* r, std::ptrdiff_t n);
void Reverse(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// Running sum r[i] = x[0] + ... + x[i], accumulated left to right.
void CumSum(const double* x, double* r, std::ptrdiff_t n);
void CumSum(const TCplx* x, TCplx* r, std::ptrdiff_t n);

}  // namespace quorel::kern
