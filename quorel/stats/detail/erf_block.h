#pragma once
// Error functions on whole blocks, branch-free so the element loops vectorise; used by the
// vector normal distribution functions in place of the scalar incomplete-gamma route.

#include <cstdint>

namespace quorel::detail {

/// Longest block the functions below take.
inline constexpr std::int32_t kErfBlock = 1024;

/// r[i] = erfc(a[i]) for a[i] >= 0 (NaN stays NaN), within a few ulp; r may be a.
void ErfcBlock(const double* a, double* r, std::int32_t n);

/// r[i] = erf(x[i]) for any x[i], within a few ulp (relative, also near 0); r may be x. When
/// expSq is given it receives e^{x[i]^2} (from the same exponential, to about an ulp).
void ErfBlock(const double* x, double* r, std::int32_t n, double* expSq = nullptr);

/// x[i] = ErfInv(y[i]) for -1 < y[i] < 1 by the same start value and two damped steps as the
/// scalar function, to rounding level; other y[i] give values the caller replaces. x may not be y.
void ErfInvBlock(const double* y, double* x, std::int32_t n);

/// r[i] = 0.5 erfc(-z[i]) for z[i] < 0, else min(1, 0.5 (1 + erf(z[i]))): the normal CDF of
/// z = (x - mu) / (sigma sqrt 2), NaN giving 1 as the scalar form does; r may be z.
void NormalCdfBlock(const double* z, double* r, std::int32_t n);

}  // namespace quorel::detail
