#pragma once
// Complex parts, conjugates and moduli: kernels between complex (TCplx) and real arrays.
// Conventions as in kernels_arith.h. Kernels that narrow (complex in, real out) may also write
// over their input starting at the same address; kernels that widen (real in, complex out) may
// write into storage that starts at their input's address and is twice as long.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// (Re, -Im).
void Conj(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// (Im, Re): real and imaginary parts swapped.
void Flip(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// (Im, -Re).
void FlipConj(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// i * x = (-Im, Re).
void MulI(const TCplx* x, TCplx* r, std::ptrdiff_t n);

/// Modulus sqrt(Re^2 + Im^2), textbook (overflows for moduli above about 1e154).
void Mag(const TCplx* x, double* r, std::ptrdiff_t n);
/// Power spectrum Re^2 + Im^2.
void PowerSpectrum(const TCplx* x, double* r, std::ptrdiff_t n);
/// Real parts.
void RealPart(const TCplx* x, double* r, std::ptrdiff_t n);
/// Imaginary parts.
void ImagPart(const TCplx* x, double* r, std::ptrdiff_t n);
/// Splits into real and imaginary parts (re and im are distinct arrays apart from x).
void CplxToReal(const TCplx* x, double* re, double* im, std::ptrdiff_t n);
/// Joins real and imaginary parts (r apart from re and im).
void RealToCplx(const double* re, const double* im, TCplx* r, std::ptrdiff_t n);

/// Up-sampling by 2 with zeros: (x, 0). Widening in place is allowed.
void SampleUp2(const double* x, TCplx* r, std::ptrdiff_t n);
/// Each value into both parts: (x, x). Widening in place is allowed.
void Duplicate(const double* x, TCplx* r, std::ptrdiff_t n);

}  // namespace quorel::kern
