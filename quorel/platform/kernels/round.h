#pragma once
// Rounding, remainders and sign kernels on doubles. Conventions as in kernels_arith.h.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// Smallest integer value not below x.
void Ceil(const double* x, double* r, std::ptrdiff_t n);
/// Largest integer value not above x.
void Floor(const double* x, double* r, std::ptrdiff_t n);
/// t = trunc(x) (toward zero, no integer range limit) and f = x - t; t and f distinct.
void TruncAndFrac(const double* x, double* t, double* f, std::ptrdiff_t n);
/// x - trunc(x); NaN for infinities.
void Frac(const double* x, double* r, std::ptrdiff_t n);
/// x - y * trunc(x / y): the sign of x; NaN for y = 0.
void Rem(const double* x, const double* y, double* r, std::ptrdiff_t n);
void Rem(const double* x, double y, double* r, std::ptrdiff_t n);

/// r = a * sgn(b), sgn in {-1, 0, 1} and 0 for NaN; the product is a real multiplication, so
/// an infinite a with a zero sign gives NaN.
void SgnMul(const double* a, const double* b, double* r, std::ptrdiff_t n);
/// Complex sign: the sign of Re, or of Im when Re is 0 (so 0 only for (0, 0)).
void SgnMul(const TCplx* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);
void SgnMul(const TCplx* a, const double* b, TCplx* r, std::ptrdiff_t n);
void SgnMul(const double* a, const TCplx* b, double* r, std::ptrdiff_t n);

}  // namespace quorel::kern
