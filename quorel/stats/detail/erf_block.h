#pragma once
// Error functions and the incomplete gamma function on whole blocks, on SIMD registers; used by
// the vector normal and gamma distribution functions in place of a scalar call per element.

#include <cstdint>

namespace quorel::detail {

/// Instruction sets the functions below are built for, in order; the best one the processor has
/// is used.
enum class TErfPath { Plain, Avx2, Avx512 };

/// Runs the functions below on path p, or on the best the processor has if p is beyond it;
/// returns the previous path. For tests that compare the paths; not for concurrent use.
TErfPath SetErfPath(TErfPath p);

/// Longest block the functions below take.
inline constexpr std::int32_t kErfBlock = 1024;

/// r[i] = NormalCDFInv(p[i], mu, sigma) for sigma > 0: ErfInv(2 p[i] - 1) by the same start
/// value and two damped steps as the scalar function, to rounding level, with its special values.
/// r may be p.
void NormalCdfInvBlock(const double* p, double* r, std::int32_t n, double mu, double sigma);

/// r[i] = 0.5 erfc(-z[i]) for z[i] < 0, else min(1, 0.5 (1 + erf(z[i]))): the normal CDF of
/// z = (x - mu) / (sigma sqrt 2), NaN giving 1 as the scalar form does; r may be z.
void NormalCdfBlock(const double* z, double* r, std::int32_t n);

/// r[i] = GammaCDF(x[i], a, b) for a > 0, b > 0 and a + 1 > a, given lga = LnGamma(a): the
/// scalar function's series and fraction with its stopping tests, to rounding level. r may be x.
void GammaCdfBlock(const double* x, double* r, std::int32_t n, double a, double b, double lga);

}  // namespace quorel::detail
