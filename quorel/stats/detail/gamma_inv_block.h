#pragma once
// The gamma quantile on whole blocks, for the vector GammaCDFInv and ChiSquareCDFInv.

#include <cstdint>

namespace quorel::detail {

/// r[i] = GammaCDFInv(p[i], a, b) for a > 0, b > 0: the scalar function's start value and Newton
/// steps (tolerances, repair, 100-step rule, ends and NaN rule per element), with the CDF, the
/// density and the start evaluated on blocks, so the results agree to rounding level. Returns
/// false, writing nothing, when the parameters are outside what the block forms take (the
/// caller then runs the scalar function). r may be p. Raises "Failed to converge!" as the
/// scalar function does.
bool GammaCdfInvBlock(const double* p, double* r, std::int32_t n, double a, double b);

}  // namespace quorel::detail
