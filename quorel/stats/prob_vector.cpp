// Vector overloads of the distributions. Two kinds: element loops over the scalar function (the
// NaN rules hold per element), and block formulas that build the density or distribution of the
// common continuous families from whole-block vector kernels, with the parameters applied once
// per block and no per-element parameter check.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "quorel/core/constants.h"
#include "quorel/core/detail/checks.h"
#include "quorel/core/startup.h"
#include "quorel/objects/dense.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/math.h"
#include "quorel/stats/probabilities.h"
#include "quorel/stats/detail/block_path.h"
#include "quorel/stats/detail/erf_block.h"
#include "quorel/stats/detail/gamma_block.h"
#include "quorel/stats/detail/prob_core.h"
#include "quorel/core/gamma.h"

namespace quorel {

namespace {

constexpr const char* kX = " X.Complex = true ";
constexpr const char* kP = " P.Complex = true ";
constexpr const char* kY = " Y.Complex = true ";

// Res[i] = f(X[i]). `complexMsg` null: no complex check.
template <class F>
void EachElement(const TDenseQuorel& x, TDenseQuorel& res, const char* complexMsg, F f) {
  if (complexMsg) detail::RequireState(!x.Complex(), complexMsg);
  const std::int32_t n = x.Length();
  res.Size(x, false);
  const double* xs = x.PValues1D(0);
  double* rs = res.PValues1D(0);
  for (std::int32_t i = 0; i < n; ++i) rs[i] = f(xs[i]);
}

// Largest block the block formulas handle at once; the global block size when it is smaller.
constexpr std::int32_t kMaxBlock = 1024;

// Walks X in blocks; body(x, r, w, n) writes block results to r using scratch w (both kMaxBlock
// doubles, r may not alias x). The block results are copied to Res, so Res may be X.
template <class Body>
void EachBlock(const TDenseQuorel& x, TDenseQuorel& res, const char* complexMsg, Body body) {
  if (complexMsg) detail::RequireState(!x.Complex(), complexMsg);
  const std::int32_t n = x.Length();
  res.Size(x, false);
  const std::int32_t block = std::clamp<std::int32_t>(QuorelBlockSize, 1, kMaxBlock);
  alignas(32) double r[kMaxBlock];
  alignas(32) double w[kMaxBlock];
  const double* xs = x.PValues1D(0);
  double* rs = res.PValues1D(0);
  for (std::int32_t i = 0; i < n; i += block) {
    const std::int32_t len = std::min(block, n - i);
    body(xs + i, r, w, len);
    std::copy(r, r + len, rs + i);
  }
}

// r = exp(k * (x - s)^2): the Gaussian kernel of NormalPDF and LogNormalPDF.
inline void GaussKernel(const double* x, double s, double k, double* r, std::int32_t n) {
  for (std::int32_t i = 0; i < n; ++i) {
    const double d = x[i] - s;
    r[i] = k * d * d;
  }
  kern::Exp(r, r, n);
}

// r = ln(1 - p) for a block, without the loss of digits for small p: ln(u) (-p) / (u - 1) with
// u = 1 - p corrects the rounding of u (exact where u = 1).
inline void LnOneMinus(const double* p, double* r, std::int32_t n) {
  for (std::int32_t i = 0; i < n; ++i) r[i] = 1.0 - p[i];
  kern::Ln(r, r, n);
  for (std::int32_t i = 0; i < n; ++i) {
    const double u = 1.0 - p[i];
    r[i] = u == 1.0 ? -p[i] : (u == 0.0 ? r[i] : r[i] * -p[i] / (u - 1.0));
  }
}

// 1 - e^t for -ln 2 < t < 0, where 1 - e^t itself would cancel: -(t + t^2/2 + t^3 q(t)) with
// q a degree-9 Chebyshev fit of (expm1(t) - t - t^2/2) / t^3 on [-ln 2, 0] (fitted at 200 bits,
// 6e-18 off); within 1 ulp of -expm1(t).
[[gnu::always_inline]] inline double OneMinusExpSmall(double t) {
  double q = 1.6029669052762317e-09;
  q = q * t + 2.437139523115301e-08;
  q = q * t + 2.750310095229509e-07;
  q = q * t + 2.7554683782484818e-06;
  q = q * t + 2.480150762003247e-05;
  q = q * t + 0.0001984126837034251;
  q = q * t + 0.0013888888873262878;
  q = q * t + 0.008333333333248918;
  q = q * t + 0.041666666666664895;
  q = q * t + 0.16666666666666666;
  const double t2 = t * t;
  return -t - (t2 * 0.5 + t2 * t * q);
}

// r = -expm1(w) where r holds 1 - e^w, for the elements with -ln 2 < w < 0. Every element
// runs the polynomial so the loop has no branch and vectorises. Run only for blocks that need it,
// in one copy per instruction set like the other block code (no FMA, so the copies agree).
[[gnu::always_inline]] inline void OneMinusExpSmallBody(double* w, double* r, std::int32_t n) {
  for (std::int32_t i = 0; i < n; ++i) {
    const double t = w[i];
    const bool small = (t > -LN2) & (t < 0.0);
    w[i] = OneMinusExpSmall(t);
    r[i] = small ? w[i] : r[i];
  }
}

[[gnu::noinline]] void OneMinusExpSmallPlain(double* w, double* r, std::int32_t n) {
  OneMinusExpSmallBody(w, r, n);
}

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
[[gnu::noinline, gnu::target("avx2")]] void OneMinusExpSmallAvx2(double* w, double* r, std::int32_t n) {
  OneMinusExpSmallBody(w, r, n);
}
[[gnu::noinline, gnu::target("avx512f,avx512dq,avx512vl,avx2,prefer-vector-width=512")]]
void OneMinusExpSmallAvx512(double* w, double* r, std::int32_t n) {
  OneMinusExpSmallBody(w, r, n);
}
#endif

void OneMinusExpSmallBlock(double* w, double* r, std::int32_t n) {
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
  switch (detail::CurrentBlockPath()) {
    case detail::TBlockPath::Avx512: return OneMinusExpSmallAvx512(w, r, n);
    case detail::TBlockPath::Avx2: return OneMinusExpSmallAvx2(w, r, n);
    default: break;
  }
#endif
  OneMinusExpSmallPlain(w, r, n);
}

// r = 1 - e^t from t = w and e = r (the Exp kernel's result), with the digits of -expm1(t). Below
// -ln 2 the subtraction keeps them (e < 1/2); NaN, t >= 0 and t = -0 (which gives +0) run the
// plain formula. w is overwritten. Elements where zero(i) holds are 0; with zeroSmall they may
// have -ln 2 < t < 0 too.
template <class Zero>
inline void OneMinusExp(double* w, double* r, std::int32_t n, Zero zero, bool zeroSmall = false) {
  // Whether some t lies in (-ln 2, -0]: its bits less the sign bit are below those of ln 2, so the
  // difference wraps into the top bit (t >= ln 2 and +NaN may also set it, which only costs
  // time). Integer arithmetic keeps this loop vectorised, where comparisons of doubles do not.
  constexpr std::uint64_t kSign = 0x8000000000000000u;
  const std::uint64_t ln2 = std::bit_cast<std::uint64_t>(LN2);
  std::uint64_t any = 0;
  for (std::int32_t i = 0; i < n; ++i) {
    r[i] = 1.0 - r[i];
    r[i] = zero(i) ? 0.0 : r[i];
    any |= (std::bit_cast<std::uint64_t>(w[i]) - kSign) - ln2;
  }
  if (any & kSign) {
    OneMinusExpSmallBlock(w, r, n);
    if (zeroSmall)
      for (std::int32_t i = 0; i < n; ++i) r[i] = zero(i) ? 0.0 : r[i];
  }
}

}  // namespace

// --- element loops -----------------------------------------------------------------------------

#define QUOREL_ELEMENT_LOOP(NAME, MSG, PARAMS, ARGS)                                   \
  void NAME(const TDenseQuorel& X, PARAMS, TDenseQuorel& Res) {                        \
    EachElement(X, Res, MSG, [&](double v) { return NAME(v, ARGS); });                 \
  }
#define QUOREL_P2(T1, A1, T2, A2) T1 A1, T2 A2
#define QUOREL_P3(T1, A1, T2, A2, T3, A3) T1 A1, T2 A2, T3 A3

QUOREL_ELEMENT_LOOP(BetaCDFInv, kX, QUOREL_P2(double, a, double, b), QUOREL_P2(, a, , b))
QUOREL_ELEMENT_LOOP(BinomPDF, kX, QUOREL_P2(std::int32_t, n, double, p), QUOREL_P2(, n, , p))
QUOREL_ELEMENT_LOOP(BinomCDF, kX, QUOREL_P2(std::int32_t, n, double, p), QUOREL_P2(, n, , p))
QUOREL_ELEMENT_LOOP(BinomCDFInv, kY, QUOREL_P2(std::int32_t, n, double, p), QUOREL_P2(, n, , p))
QUOREL_ELEMENT_LOOP(FCDF, kX, QUOREL_P2(std::int32_t, nu1, std::int32_t, nu2), QUOREL_P2(, nu1, , nu2))
QUOREL_ELEMENT_LOOP(GeometricPDF, kX, double p, p)
QUOREL_ELEMENT_LOOP(GeometricCDF, kX, double p, p)
QUOREL_ELEMENT_LOOP(GeometricCDFInv, kY, double p, p)
QUOREL_ELEMENT_LOOP(HypGeometricPDF, kX, QUOREL_P3(std::int32_t, m, std::int32_t, k, std::int32_t, n),
                    QUOREL_P3(, m, , k, , n))
QUOREL_ELEMENT_LOOP(HypGeometricCDF, kX, QUOREL_P3(std::int32_t, m, std::int32_t, k, std::int32_t, n),
                    QUOREL_P3(, m, , k, , n))
QUOREL_ELEMENT_LOOP(HypGeometricCDFInv, kP, QUOREL_P3(std::int32_t, m, std::int32_t, k, std::int32_t, n),
                    QUOREL_P3(, m, , k, , n))
QUOREL_ELEMENT_LOOP(LaplaceCDFInv, kP, QUOREL_P2(double, m, double, b), QUOREL_P2(, m, , b))
QUOREL_ELEMENT_LOOP(LogNormalCDF, kX, QUOREL_P2(double, mu, double, sigma), QUOREL_P2(, mu, , sigma))
QUOREL_ELEMENT_LOOP(LogNormalCDFInv, kP, QUOREL_P2(double, mu, double, sigma), QUOREL_P2(, mu, , sigma))
QUOREL_ELEMENT_LOOP(MaxwellCDF, nullptr, double a, a)
QUOREL_ELEMENT_LOOP(MaxwellCDFInv, nullptr, double a, a)
QUOREL_ELEMENT_LOOP(NegBinomPDF, kX, QUOREL_P2(std::int32_t, r, double, p), QUOREL_P2(, r, , p))
QUOREL_ELEMENT_LOOP(NegBinomCDF, kX, QUOREL_P2(std::int32_t, r, double, p), QUOREL_P2(, r, , p))
QUOREL_ELEMENT_LOOP(NegBinomCDFInv, kY, QUOREL_P2(std::int32_t, r, double, p), QUOREL_P2(, r, , p))
QUOREL_ELEMENT_LOOP(PoissonCDF, kX, double lambda, lambda)
QUOREL_ELEMENT_LOOP(PoissonCDFInv, kP, double lambda, lambda)
QUOREL_ELEMENT_LOOP(StudentPDF, kX, std::int32_t nu, nu)
QUOREL_ELEMENT_LOOP(StudentCDFInv, kP, std::int32_t nu, nu)
QUOREL_ELEMENT_LOOP(TriangularPDF, kX, QUOREL_P3(double, a, double, b, double, c), QUOREL_P3(, a, , b, , c))
QUOREL_ELEMENT_LOOP(TriangularCDF, kX, QUOREL_P3(double, a, double, b, double, c), QUOREL_P3(, a, , b, , c))
QUOREL_ELEMENT_LOOP(TriangularCDFInv, kX, QUOREL_P3(double, a, double, b, double, c), QUOREL_P3(, a, , b, , c))
QUOREL_ELEMENT_LOOP(UniformDPDF, kX, std::int32_t n, n)
QUOREL_ELEMENT_LOOP(UniformDCDF, kX, std::int32_t n, n)
QUOREL_ELEMENT_LOOP(UniformDCDFInv, kP, std::int32_t n, n)

#undef QUOREL_ELEMENT_LOOP
#undef QUOREL_P2
#undef QUOREL_P3

// The families whose log-gamma terms depend only on the parameters take them once.
void BetaPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double lnB = a > 0.0 && b > 0.0 ? detail::LnInvBeta(a, b) : 0.0;
  EachElement(X, Res, kX, [&](double v) { return detail::BetaPDFLb(v, a, b, lnB); });
}
void BetaCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double lnB = a > 0.0 && b > 0.0 ? detail::LnInvBeta(a, b) : 0.0;
  EachElement(X, Res, kX, [&](double v) { return detail::BetaCDFLb(v, a, b, lnB); });
}
void GammaPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double lga = LnGamma(a);
  EachElement(X, Res, kX, [&](double v) { return detail::GammaPDFLg(v, a, b, lga); });
}
// The CDF and the quantile run the scalar functions' steps with the incomplete gamma function's
// series and fraction on whole blocks (the same values bit for bit); parameters the blocks do not
// take, invalid ones included, run the scalar function per element.
void GammaCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double lga = LnGamma(a);
  if (!(a > 0.0 && b > 0.0) || a + 1.0 == a || !std::isfinite(1.0 / a))
    return EachElement(X, Res, kX, [&](double v) { return detail::GammaCDFLg(v, a, b, lga); });
  detail::RequireState(!X.Complex(), kX);
  Res.Size(X, false);
  detail::GammaCdfBlock(X.PValues1D(0), Res.PValues1D(0), X.Length(), a, b, lga);
}
void GammaCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res) {
  detail::RequireState(!P.Complex(), kP);
  Res.Size(P, false);
  if (!detail::GammaCdfInvBlock(P.PValues1D(0), Res.PValues1D(0), P.Length(), a, b))
    EachElement(P, Res, kP, [&](double v) { return GammaCDFInv(v, a, b); });
}
void ChiSquareCDFInv(const TDenseQuorel& P, std::int32_t nu, TDenseQuorel& Res) {
  if (nu < 1) return EachElement(P, Res, kP, [](double) { return detail::NaNResult(); });
  GammaCDFInv(P, nu / 2.0, 2.0, Res);
}
void ChiSquarePDF(const TDenseQuorel& X, std::int32_t nu, TDenseQuorel& Res) {
  if (nu < 1) return EachElement(X, Res, kX, [](double) { return detail::NaNResult(); });
  GammaPDF(X, nu / 2.0, 2.0, Res);
}
void ChiSquareCDF(const TDenseQuorel& X, std::int32_t nu, TDenseQuorel& Res) {
  if (nu < 1) return EachElement(X, Res, kX, [](double) { return detail::NaNResult(); });
  GammaCDF(X, nu / 2.0, 2.0, Res);
}
void StudentCDF(const TDenseQuorel& X, std::int32_t nu, TDenseQuorel& Res) {
  const double lnB = nu >= 1 ? detail::LnInvBeta(nu / 2.0, 0.5) : 0.0;
  EachElement(X, Res, kX, [&](double v) { return detail::StudentCDFLb(v, nu, lnB); });
}

void PoissonPDF(const TDenseQuorel& X, double lambda, TDenseQuorel& Res) {
  EachElement(X, Res, kX, [&](double v) {
    if (std::isnan(v)) return v;
    return PoissonPDF(static_cast<std::int32_t>(std::clamp(v, -2147483648.0, 2147483647.0)), lambda);
  });
}

void FCDFInv(double P, const TDenseQuorel& Nu1, const TDenseQuorel& Nu2, TDenseQuorel& Res) {
  detail::RequireState(!Nu1.Complex(), " Nu.Complex = true ");
  detail::RequireState(Nu1.Length() == Nu2.Length(), " Nu1.Length <> Nu2.Length ");
  const double* nu2 = Nu2.PValues1D(0);
  std::int32_t i = 0;
  // Res may be Nu1 or Nu2: each element reads its own index before writing it
  EachElement(Nu1, Res, nullptr, [&](double nu1) {
    const double v = FCDFInv(P, static_cast<std::int32_t>(nu1), static_cast<std::int32_t>(nu2[i]));
    ++i;
    return v;
  });
}

// The normal CDF and its inverse are element loops of the scalar functions in effect: the same
// formulas and special values per element, with the error function evaluated on whole blocks by a
// series at least as accurate as the scalar route's (rounding-level agreement). Invalid sigma: the
// scalar loop, all NaN.
void NormalCDF(const TDenseQuorel& X, double mu, double sigma, TDenseQuorel& Res) {
  if (!(sigma > 0.0)) return EachElement(X, Res, kX, [&](double v) { return NormalCDF(v, mu, sigma); });
  static_assert(kMaxBlock <= detail::kErfBlock);
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = (x[i] - mu) / sigma * SQRT2DIV2;
    detail::ErfNormalCdfBlock(r, r, n);
  });
}

void NormalCDFInv(const TDenseQuorel& P, double mu, double sigma, TDenseQuorel& Res) {
  if (!(sigma > 0.0)) return EachElement(P, Res, kP, [&](double v) { return NormalCDFInv(v, mu, sigma); });
  detail::RequireState(!P.Complex(), kP);
  Res.Size(P, false);
  detail::ErfNormalCdfInvBlock(P.PValues1D(0), Res.PValues1D(0), P.Length(), mu, sigma);
}

// --- block formulas ----------------------------------------------------------------------------

void NormalPDF(const TDenseQuorel& X, double mu, double sigma, TDenseQuorel& Res) {
  const double k = -0.5 / (sigma * sigma), scale = 1.0 / (SQRT2PI * sigma);
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double*, std::int32_t n) {
    GaussKernel(x, mu, k, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] *= scale;
  });
}

void LogNormalPDF(const TDenseQuorel& X, double mu, double sigma, TDenseQuorel& Res) {
  const double k = -0.5 / (sigma * sigma), scale = 1.0 / (SQRT2PI * sigma);
  EachBlock(X, Res, kX, [&](const double* x, double* r, double* w, std::int32_t n) {
    kern::Ln(x, w, n);
    GaussKernel(w, mu, k, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = r[i] * scale / x[i];
  });
}

void CauchyPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double num = 2.0 * INVTWOPI * b, b2 = b * b;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) {
      const double d = x[i] - a;
      r[i] = num / (d * d + b2);
    }
  });
}

void CauchyCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  EachBlock(X, Res, kX, [&](const double* x, double* r, double* w, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) w[i] = b;
    for (std::int32_t i = 0; i < n; ++i) r[i] = x[i] - a;
    kern::ArcTan2(r, w, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = 0.5 + 2.0 * INVTWOPI * r[i];
  });
}

void CauchyCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res) {
  EachBlock(P, Res, kP, [&](const double* p, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = (p[i] - 0.5) * PI;
    kern::Tan(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = a + b * r[i];
  });
}

void ExpPDF(const TDenseQuorel& X, double mu, TDenseQuorel& Res) {
  detail::RequireState(!(mu <= 0.0), "mu <= 0");
  const double k = -1.0 / mu, scale = 1.0 / mu;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = k * x[i];
    kern::Exp(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = x[i] <= 0.0 ? 0.0 : r[i] * scale;  // NaN runs the formula
  });
}

void ExpCDF(const TDenseQuorel& X, double mu, TDenseQuorel& Res) {
  detail::RequireState(!(mu <= 0.0), "mu <= 0");
  const double k = -1.0 / mu;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double* w, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) w[i] = k * x[i];
    kern::Exp(w, r, n);
    OneMinusExp(w, r, n, [x](std::int32_t i) { return x[i] <= 0.0; });  // NaN runs the formula
  });
}

void ExpCDFInv(const TDenseQuorel& P, double mu, TDenseQuorel& Res) {
  EachBlock(P, Res, kP, [&](const double* p, double* r, double*, std::int32_t n) {
    LnOneMinus(p, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = p[i] == 0.0 ? 0.0 : -mu * r[i];
  });
}

void FPDF(const TDenseQuorel& X, std::int32_t nu1, std::int32_t nu2, TDenseQuorel& Res) {
  const double n1 = nu1, n2 = nu2;
  const double scale = std::pow(n1 / n2, n1 / 2.0) / Beta(n1 / 2.0, n2 / 2.0);
  const double e1 = (n1 - 2.0) / 2.0, e2 = -(n1 + n2) / 2.0, k = n1 / n2;
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double* w, std::int32_t n) {
    kern::Powx(x, e1, r, n);
    for (std::int32_t i = 0; i < n; ++i) w[i] = 1.0 + k * x[i];
    kern::Powx(w, e2, w, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = x[i] <= 0.0 ? 0.0 : scale * r[i] * w[i];  // NaN runs the formula
  });
}

namespace {
// x^s / (exp(x - mu) + sign): the occupation densities.
void Occupation(const TDenseQuorel& X, double mu, double s, double sign, const char* msg, TDenseQuorel& Res) {
  EachBlock(X, Res, msg, [&](const double* x, double* r, double* w, std::int32_t n) {
    kern::Powx(x, s, r, n);
    for (std::int32_t i = 0; i < n; ++i) w[i] = x[i] - mu;
    kern::Exp(w, w, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] /= (w[i] + sign);
  });
}
}  // namespace

void BoseEinsteinPDF(const TDenseQuorel& X, double mu, double s, TDenseQuorel& Res) {
  Occupation(X, mu, s, -1.0, kX, Res);
}

void FermiDiracPDF(const TDenseQuorel& X, double mu, double s, TDenseQuorel& Res) {
  Occupation(X, mu, s, 1.0, nullptr, Res);
}

void LaplacePDF(const TDenseQuorel& X, double m, double b, TDenseQuorel& Res) {
  const double k = -1.0 / b, scale = 1.0 / (2.0 * b);
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = k * std::fabs(x[i] - m);
    kern::Exp(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] *= scale;
  });
}

void LaplaceCDF(const TDenseQuorel& X, double m, double b, TDenseQuorel& Res) {
  const double k = -1.0 / b;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = k * std::fabs(x[i] - m);
    kern::Exp(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) {
      const double d = x[i] - m;
      const double half = 0.5 * r[i];
      r[i] = d > 0.0 ? 1.0 - half : (d < 0.0 ? half : (d == 0.0 ? 0.5 : d));  // Sgn(NaN) = 0 times NaN
    }
  });
}

void LogisticPDF(const TDenseQuorel& X, double m, double b, TDenseQuorel& Res) {
  const double k = -1.0 / b;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = k * std::fabs(x[i] - m);
    kern::Exp(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = r[i] / (b * (1.0 + r[i]) * (1.0 + r[i]));
  });
}

void LogisticCDF(const TDenseQuorel& X, double m, double b, TDenseQuorel& Res) {
  const double k = -1.0 / b;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = k * (x[i] - m);
    kern::Exp(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = 1.0 / (1.0 + r[i]);
  });
}

void LogisticCDFInv(const TDenseQuorel& P, double m, double b, TDenseQuorel& Res) {
  EachBlock(P, Res, kP, [&](const double* p, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = 1.0 / p[i] - 1.0;
    kern::Ln(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = m - b * r[i];
  });
}

void LogWeibullPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double k = 1.0 / b;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double* w, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) w[i] = (a - x[i]) * k;
    kern::Exp(w, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = w[i] - r[i];
    kern::Exp(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] *= k;
  });
}

void LogWeibullCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double k = 1.0 / b;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = (a - x[i]) * k;
    kern::Exp(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = -r[i];
    kern::Exp(r, r, n);
  });
}

void LogWeibullCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res) {
  EachBlock(P, Res, kP, [&](const double* p, double* r, double*, std::int32_t n) {
    kern::Ln(p, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = -r[i];
    kern::Ln(r, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = a + b * r[i];
  });
}

void MaxwellPDF(const TDenseQuorel& X, double a, TDenseQuorel& Res) {
  const double scale = std::sqrt(4.0 * a * INVTWOPI) * a, k = -a / 2.0;
  EachBlock(X, Res, kX, [&](const double* x, double* r, double*, std::int32_t n) {
    GaussKernel(x, 0.0, k, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] *= scale * x[i] * x[i];
  });
}

void ParetoPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double scale = a * std::pow(b, a);
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double*, std::int32_t n) {
    kern::Powx(x, -a - 1.0, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] *= scale;
  });
}

void ParetoCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = b / x[i];
    kern::Powx(r, a, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = 1.0 - r[i];
  });
}

void ParetoCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res) {
  EachBlock(P, Res, nullptr, [&](const double* p, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = 1.0 - p[i];
    kern::Powx(r, -1.0 / a, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] *= b;
  });
}

void RayleighPDF(const TDenseQuorel& X, double b, TDenseQuorel& Res) {
  const double k = -0.5 / (b * b), scale = 1.0 / (b * b);
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double*, std::int32_t n) {
    GaussKernel(x, 0.0, k, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] *= scale * x[i];
  });
}

void RayleighCDF(const TDenseQuorel& X, double b, TDenseQuorel& Res) {
  const double k = -0.5 / (b * b);
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double* w, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) w[i] = k * x[i] * x[i];
    kern::Exp(w, r, n);
    OneMinusExp(w, r, n, [](std::int32_t) { return false; });
  });
}

void RayleighCDFInv(const TDenseQuorel& P, double b, TDenseQuorel& Res) {
  EachBlock(P, Res, nullptr, [&](const double* p, double* r, double*, std::int32_t n) {
    LnOneMinus(p, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = p[i] == 1.0 ? INF : b * std::sqrt(-2.0 * r[i]);
  });
}

void UniformPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double v = 1.0 / (b - a);
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = (x[i] >= a && x[i] <= b) ? v : (x[i] != x[i] ? x[i] : 0.0);
  });
}

void UniformCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double k = 1.0 / (b - a);
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double*, std::int32_t n) {
    // NaN runs the middle formula
    for (std::int32_t i = 0; i < n; ++i) r[i] = x[i] >= b ? 1.0 : (x[i] <= a ? 0.0 : (x[i] - a) * k);
  });
}

void UniformCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res) {
  EachBlock(P, Res, nullptr, [&](const double* p, double* r, double*, std::int32_t n) {
    for (std::int32_t i = 0; i < n; ++i) r[i] = a + p[i] * (b - a);
  });
}

// Of x^b and x^(b-1), one is a power of its own and the other that power times or divided by x.
// The power taken is the one that cannot overflow or underflow alone: x^b for b < 1/2 (else
// x^(b-1) * x is 0 * INF at x = INF, and x^(b-1) overflows at a subnormal x), x^(b-1) from 1/2 on
// (else x^b / x loses x^(b-1) where x^b underflows or overflows). Both cost one power.
void WeibullPDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  const double ab = a * b;
  const double atZero = b < 1.0 ? INF : (b == 1.0 ? a : 0.0);
  const double atInf = ab * std::pow(INF, b - 1.0) * 0.0;  // the formula, where x^b / x is INF / INF
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double* w, std::int32_t n) {
    if (b < 0.5) {
      kern::Powx(x, b, r, n);
      kern::Div(r, x, w, n);
    } else {
      kern::Powx(x, b - 1.0, w, n);
      kern::Mul(w, x, r, n);
    }
    kern::ScaleByValue(r, -a, r, n);
    kern::Exp(r, r, n);
    kern::Mul(w, r, w, n);
    for (std::int32_t i = 0; i < n; ++i) {
      const double v = ab * w[i];  // NaN runs the formula
      r[i] = x[i] > 0.0 ? (x[i] == INF ? atInf : v) : (x[i] == 0.0 ? atZero : (x[i] < 0.0 ? 0.0 : v));
    }
  });
}

void WeibullCDF(const TDenseQuorel& X, double a, double b, TDenseQuorel& Res) {
  EachBlock(X, Res, nullptr, [&](const double* x, double* r, double* w, std::int32_t n) {
    kern::Powx(x, b, w, n);
    for (std::int32_t i = 0; i < n; ++i) w[i] *= -a;
    kern::Exp(w, r, n);
    // an even b gives x < 0 a negative t; NaN runs the formula
    OneMinusExp(w, r, n, [x](std::int32_t i) { return x[i] < 0.0; }, true);
  });
}

void WeibullCDFInv(const TDenseQuorel& P, double a, double b, TDenseQuorel& Res) {
  EachBlock(P, Res, nullptr, [&](const double* p, double* r, double*, std::int32_t n) {
    LnOneMinus(p, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = -r[i] / a;
    kern::Powx(r, 1.0 / b, r, n);
    for (std::int32_t i = 0; i < n; ++i) r[i] = p[i] == 1.0 ? INF : r[i];
  });
}

}  // namespace quorel
