#pragma once
// Our own vector elementary functions for the AVX-512 path (math_avx512.cpp): logarithms,
// exponentials, power, sin, cos, tan, atan and the hyperbolic sine, cosine and tangent. Call only
// when the processor has AVX-512F and DQ. Accuracy: about 0.5 ulp (within 1 ulp everywhere).

#include <cstddef>

namespace quorel::kern::detail {

enum class TFastFn { Ln, Log2, Log10, Exp, Exp2, Exp10, Sinh, Cosh, Sin, Cos, Tan, Tanh, ATan };

/// r[i] = f(x[i]); r may be x.
void FastUnaryAvx512(TFastFn f, const double* x, double* r, std::ptrdiff_t n);
/// r[i] = a[i]^b[i]; r may be a or b.
void FastPowAvx512(const double* a, const double* b, double* r, std::ptrdiff_t n);
/// r[i] = x[i]^v; r may be x.
void FastPowxAvx512(const double* x, double v, double* r, std::ptrdiff_t n);

}  // namespace quorel::kern::detail
