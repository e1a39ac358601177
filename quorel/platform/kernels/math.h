#pragma once
// Transcendental kernels. Conventions as in kernels_arith.h.
//
// Real functions are within 1 ulp of the exact result for every element, the tail included.
// Complex functions use the formulas below with those real functions and are accurate to a
// small relative error (below 8 eps in the tests), except where a formula loses
// accuracy by design: sinh and cosh of a complex value's part come from one exponential and its
// reciprocal, so sinh of a part near 0 has an absolute rather than a relative error of a few eps.
// The widest code path the processor has is chosen when the library loads: AVX-512 (F and
// DQ), else AVX2+FMA, else SSE2; all give results of the same accuracy.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::kern {

/// Sine, cosine and tangent (any argument, exact reduction).
void Sin(const double* x, double* r, std::ptrdiff_t n);
void Cos(const double* x, double* r, std::ptrdiff_t n);
void Tan(const double* x, double* r, std::ptrdiff_t n);
/// Sine into s and cosine into c (s and c distinct).
void SinCos(const double* x, double* s, double* c, std::ptrdiff_t n);
/// Inverse sine and cosine (NaN outside [-1, 1]) and inverse tangent.
void ArcSin(const double* x, double* r, std::ptrdiff_t n);
void ArcCos(const double* x, double* r, std::ptrdiff_t n);
void ArcTan(const double* x, double* r, std::ptrdiff_t n);
/// atan2(y, x), the angle of the point (x, y).
void ArcTan2(const double* y, const double* x, double* r, std::ptrdiff_t n);
/// Hyperbolic sine, cosine and tangent.
void Sinh(const double* x, double* r, std::ptrdiff_t n);
void Cosh(const double* x, double* r, std::ptrdiff_t n);
void Tanh(const double* x, double* r, std::ptrdiff_t n);
/// sinh and cosh from e = exp(x): (e - 1/e)/2 and (e + 1/e)/2, deliberately one exponential;
/// sinh near 0 has an absolute error of a few eps, not a relative one.
void SinhCosh(const double* x, double* s, double* c, std::ptrdiff_t n);
/// Inverse hyperbolic functions (acosh: NaN below 1; atanh: NaN outside [-1, 1]).
void ArcSinh(const double* x, double* r, std::ptrdiff_t n);
void ArcCosh(const double* x, double* r, std::ptrdiff_t n);
void ArcTanh(const double* x, double* r, std::ptrdiff_t n);
/// e^x.
void Exp(const double* x, double* r, std::ptrdiff_t n);
/// 2^x and 10^x (not e^(x ln 2): the rounded product would cost up to |x| ulps).
void Exp2(const double* x, double* r, std::ptrdiff_t n);
void Exp10(const double* x, double* r, std::ptrdiff_t n);
/// Natural, binary and decimal logarithms (-inf at 0, NaN below).
void Ln(const double* x, double* r, std::ptrdiff_t n);
void Log2(const double* x, double* r, std::ptrdiff_t n);
void Log10(const double* x, double* r, std::ptrdiff_t n);
/// a^b element by element.
void Pow(const double* a, const double* b, double* r, std::ptrdiff_t n);
/// x^v for one exponent v.
void Powx(const double* x, double v, double* r, std::ptrdiff_t n);
/// Real cube root.
void Cbrt(const double* x, double* r, std::ptrdiff_t n);
/// 1/sqrt(x); -0 gives -inf.
void InvSqrt(const double* x, double* r, std::ptrdiff_t n);
/// 1/cbrt(x).
void InvCbrt(const double* x, double* r, std::ptrdiff_t n);

/// sin z = (sin x cosh y, cos x sinh y) for z = x + iy.
void Sin(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// cos z = (cos x cosh y, -sin x sinh y).
void Cos(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// tan z = sin z * (1 / cos z), with the textbook complex reciprocal.
void Tan(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// sinh z = (sinh x cos y, cosh x sin y).
void Sinh(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// cosh z = (cosh x cos y, sinh x sin y).
void Cosh(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// tanh z = sinh z * (1 / cosh z).
void Tanh(const TCplx* x, TCplx* r, std::ptrdiff_t n);
/// exp z = e^x (cos y, sin y).
void Exp(const TCplx* x, TCplx* r, std::ptrdiff_t n);

/// Phase atan2(Im, Re) of each element.
void Phase(const TCplx* x, double* r, std::ptrdiff_t n);
/// Modulus (textbook, as Mag) and phase (mag and phase distinct).
void CartToPolar(const TCplx* x, double* mag, double* phase, std::ptrdiff_t n);
/// (mag cos phase, mag sin phase).
void PolarToCart(const double* mag, const double* phase, TCplx* r, std::ptrdiff_t n);

/// Instruction sets of the transcendental kernels.
enum class TKernelIsa { Sse2, Avx2Fma, Avx512 };
/// The code path in use.
TKernelIsa KernelIsa();
/// Forces a code path, for tests and benchmarks (not thread-safe); false when the processor
/// lacks it, and nothing changes.
bool SetKernelIsa(TKernelIsa isa);

}  // namespace quorel::kern
