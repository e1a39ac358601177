#pragma once
// The incomplete gamma function's series and continued fraction on SIMD registers, and the vector
// gamma distribution functions built on them. Each lane performs the scalar function's
// operations in the scalar function's order, without fused multiply-add, and the prefactors come
// from the same library calls, so every result equals the scalar function's bit for bit (and the
// Newton quantile takes the same steps and fails to converge on the same points).

#include <cstdint>

namespace quorel::detail {

/// r[i] = GammaSer's sum times pf[i] where t[i] < a + 1, else pf[i] times GammaFrac's fraction:
/// the two forms of IGamma and JGamma at (a, t[i]) given their prefactor pf[i]. Requires
/// 0 < t[i] < INF, a > 0 with 1/a finite and a + 1 > a. r may be t or pf.
void GammaFormsBlock(const double* t, const double* pf, double* r, std::int32_t n, double a);

/// r[i] = GammaCDFLg(x[i], a, b, lga) for a > 0, b > 0, a + 1 > a and 1/a finite. r may be x.
void GammaCdfBlock(const double* x, double* r, std::int32_t n, double a, double b, double lga);

/// r[i] = NormalCDFInv(p[i], mu, sigma) bit for bit: the gamma quantile's Newton start. r may be p.
void NormalCdfInvBlock(const double* p, double* r, std::int32_t n, double mu, double sigma);

/// r[i] = GammaCDFInv(p[i], a, b), raising "Failed to converge!" where the scalar function does.
/// Returns false, writing nothing, for parameters the blocks do not take (the caller then runs
/// the scalar function). r may be p.
bool GammaCdfInvBlock(const double* p, double* r, std::int32_t n, double a, double b);

}  // namespace quorel::detail
