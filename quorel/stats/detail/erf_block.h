#pragma once
// The error function on whole blocks, on SIMD registers, by a Chebyshev series of erfc that keeps
// its relative accuracy in the far tails: the vector normal CDF and quantile. The scalar functions
// reach erf through the incomplete gamma function, which loses a few dozen ulps for tiny arguments
// and a few hundred in the far lower tail; these blocks are at least as accurate.

#include <cstdint>

namespace quorel::detail {

/// Longest block the functions below take.
inline constexpr std::int32_t kErfBlock = 1024;

/// r[i] = NormalCDFInv(p[i], mu, sigma) for sigma > 0: ErfInv(2 p[i] - 1) by the same start
/// value and two damped steps as the scalar function, to rounding level, with its special values.
/// r may be p.
void ErfNormalCdfInvBlock(const double* p, double* r, std::int32_t n, double mu, double sigma);

/// r[i] = 0.5 erfc(-z[i]) for z[i] < 0, else min(1, 0.5 (1 + erf(z[i]))): the normal CDF of
/// z = (x - mu) / (sigma sqrt 2), NaN staying NaN as in the scalar form; r may be z.
void ErfNormalCdfBlock(const double* z, double* r, std::int32_t n);

}  // namespace quorel::detail
