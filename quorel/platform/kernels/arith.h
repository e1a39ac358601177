#pragma once
// Element-wise arithmetic kernels on raw arrays: real (double), complex (TCplx) and mixed.
//
// Conventions of every kernel in quorel::kern: inputs first, output last, then the count n.
// n <= 0 does nothing. The output may be exactly one of the inputs (in-place use); other overlap
// is not allowed unless a kernel says so. Any 8-byte aligned pointer works. Kernels never
// allocate, throw or touch errno; domain errors give NaN or infinity.
// Mixed forms: "cd" is a complex array with a real array acting on its real parts (add, sub) or
// on both parts (mul, div); "dc" is a real array with a complex operand and a complex result.
// Complex products and quotients are the textbook formulas without scaling; a quotient uses
// one reciprocal of |b|^2.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// r = a + b.
void Add(const double* a, const double* b, double* r, std::ptrdiff_t n);
void Add(const TCplx* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);
/// cd: (a.Re + b, a.Im).
void Add(const TCplx* a, const double* b, TCplx* r, std::ptrdiff_t n);
/// dc: (a + b.Re, b.Im).
void Add(const double* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);

/// r = a - b.
void Sub(const double* a, const double* b, double* r, std::ptrdiff_t n);
void Sub(const TCplx* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);
/// cd: (a.Re - b, a.Im).
void Sub(const TCplx* a, const double* b, TCplx* r, std::ptrdiff_t n);
/// dc: (a - b.Re, -b.Im).
void Sub(const double* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);

/// r = a * b.
void Mul(const double* a, const double* b, double* r, std::ptrdiff_t n);
void Mul(const TCplx* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);
/// cd: both parts of a scaled by b.
void Mul(const TCplx* a, const double* b, TCplx* r, std::ptrdiff_t n);
/// dc: a * b.
void Mul(const double* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);

/// r = a / b.
void Div(const double* a, const double* b, double* r, std::ptrdiff_t n);
void Div(const TCplx* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);
/// cd: both parts of a divided by b.
void Div(const TCplx* a, const double* b, TCplx* r, std::ptrdiff_t n);
/// dc: a / b.
void Div(const double* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);

/// r = x + v; a real v on a complex x adds to the real parts; a complex v on a real x gives a
/// complex result.
void AddValue(const double* x, double v, double* r, std::ptrdiff_t n);
void AddValue(const TCplx* x, double v, TCplx* r, std::ptrdiff_t n);
void AddValue(const TCplx* x, TCplx v, TCplx* r, std::ptrdiff_t n);
void AddValue(const double* x, TCplx v, TCplx* r, std::ptrdiff_t n);

/// r = v - x, in the same four forms.
void SubFromValue(const double* x, double v, double* r, std::ptrdiff_t n);
void SubFromValue(const TCplx* x, double v, TCplx* r, std::ptrdiff_t n);
void SubFromValue(const TCplx* x, TCplx v, TCplx* r, std::ptrdiff_t n);
void SubFromValue(const double* x, TCplx v, TCplx* r, std::ptrdiff_t n);

/// r = x * v, in the same four forms.
void ScaleByValue(const double* x, double v, double* r, std::ptrdiff_t n);
void ScaleByValue(const TCplx* x, double v, TCplx* r, std::ptrdiff_t n);
void ScaleByValue(const TCplx* x, TCplx v, TCplx* r, std::ptrdiff_t n);
void ScaleByValue(const double* x, TCplx v, TCplx* r, std::ptrdiff_t n);

/// r = x / v, rounded once (a product with 1/v can be an ulp off, and then 8 to base 2 is not 3).
void DivByValue(const double* x, double v, double* r, std::ptrdiff_t n);
void DivByValue(const TCplx* x, double v, TCplx* r, std::ptrdiff_t n);

/// r = v / x, in the same four forms.
void DivideValue(const double* x, double v, double* r, std::ptrdiff_t n);
void DivideValue(const TCplx* x, double v, TCplx* r, std::ptrdiff_t n);
void DivideValue(const TCplx* x, TCplx v, TCplx* r, std::ptrdiff_t n);
void DivideValue(const double* x, TCplx v, TCplx* r, std::ptrdiff_t n);

/// r = r + a * b (two roundings, no fused multiply-add).
void AddProduct(const double* a, const double* b, double* r, std::ptrdiff_t n);
void AddProduct(const TCplx* a, const TCplx* b, TCplx* r, std::ptrdiff_t n);

/// r = x * x.
void Sqr(const double* x, double* r, std::ptrdiff_t n);
void Sqr(const TCplx* x, TCplx* r, std::ptrdiff_t n);

/// Square root; NaN for negative reals.
void Sqrt(const double* x, double* r, std::ptrdiff_t n);
/// Principal complex root: t = sqrt((|z| + |Re|)/2); Re >= 0 gives (t, Im/(2t)), Re < 0 gives
/// (|Im|/(2t), +-t) with the sign of Im (-0 counts as positive); t = 0 gives (0, 0).
void Sqrt(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// Whether Re^2 + Im^2 of every value is a normal double or an exact 0 (the kernels' squared
/// modulus neither overflows nor underflows).
bool NormsInRange(const TCplx* x, std::ptrdiff_t n);

/// r = 1 / x.
void Inv(const double* x, double* r, std::ptrdiff_t n);
/// Clamped reciprocal: |x| < level is replaced by level with the sign of x (+level for +0)
/// before inverting.
void LTInv(const double* x, double level, double* r, std::ptrdiff_t n);
/// Complex form: |z| < level is replaced by level with the phase of z ((level, 0) for 0).
void LTInv(const TCplx* x, double level, TCplx* r, std::ptrdiff_t n);

/// r = |x|.
void Abs(const double* x, double* r, std::ptrdiff_t n);

/// r = (x - sub) / div.
void Normalize(const double* x, double sub, double div, double* r, std::ptrdiff_t n);
void Normalize(const TCplx* x, TCplx sub, double div, TCplx* r, std::ptrdiff_t n);
void Normalize(const TCplx* x, TCplx sub, TCplx div, TCplx* r, std::ptrdiff_t n);

}  // namespace quorel::kern
