// Block error functions. erfc(a) = e^{-a^2} H(t) / (a + k) with t = (a - k) / (a + k), which maps
// [0, inf) onto [-1, 1); H is smooth there (it tends to 1/sqrt(pi)) and its Chebyshev series,
// computed once in ball arithmetic, falls below 1e-18 by 32 terms. e^{-a^2} takes the rounding
// error of a^2 into account, so the far tail keeps its relative accuracy. erf near 0 comes from
// its Taylor series, where 1 - erfc would lose the relative accuracy.

#include <algorithm>
#include <cmath>

#include "quorel/platform/arb.h"
#include "quorel/platform/kernels/math.h"
#include "quorel/stats/detail/erf_block.h"
#include "quorel/stats/detail/prob_core.h"

namespace quorel::detail {
namespace {

constexpr double kK = 3.0;
constexpr int kTerms = 32;
constexpr double kTaylorLimit = 0.5;  // erf from its Taylor series below this
constexpr int kTaylorTerms = 14;      // 0.25^14 / (14! 29) < 2^-70

struct Tables {
  double cheb[kTerms];
  double taylor[kTaylorTerms];  // (2/sqrt(pi)) (-1)^n / (n! (2n + 1))
  Tables() {
    ErfcChebyshev(kK, kTerms, cheb);
    double f = 1.1283791670955126;  // 2/sqrt(pi)
    for (int n = 0; n < kTaylorTerms; ++n) {
      taylor[n] = f / (2 * n + 1);
      f = -f / (n + 1);
    }
  }
};
const Tables& Table() {
  static const Tables t;
  return t;
}

}  // namespace

namespace erf_plain {
#define QUOREL_ERF_FMA 0
#include "quorel/stats/detail/erf_block_impl.inc"
#undef QUOREL_ERF_FMA
}  // namespace erf_plain

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define QUOREL_ERF_AVX2 1
#pragma GCC push_options
#pragma GCC target("avx2,fma")
namespace erf_avx2 {
#define QUOREL_ERF_FMA 1
#include "quorel/stats/detail/erf_block_impl.inc"
#undef QUOREL_ERF_FMA
}  // namespace erf_avx2
#pragma GCC pop_options
#endif

namespace {
bool UseAvx2() {
#ifdef QUOREL_ERF_AVX2
  static const bool yes = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
  return yes;
#else
  return false;
#endif
}
}  // namespace

void ErfcBlock(const double* a, double* r, std::int32_t n) {
#ifdef QUOREL_ERF_AVX2
  if (UseAvx2()) return erf_avx2::Erfc(a, r, n);
#endif
  erf_plain::Erfc(a, r, n);
}

void ErfBlock(const double* x, double* r, std::int32_t n, double* expSq) {
#ifdef QUOREL_ERF_AVX2
  if (UseAvx2()) return erf_avx2::Erf(x, r, n, expSq);
#endif
  erf_plain::Erf(x, r, n, expSq);
}

void ErfInvBlock(const double* y, double* x, std::int32_t n) {
#ifdef QUOREL_ERF_AVX2
  if (UseAvx2()) return erf_avx2::ErfInv(y, x, n);
#endif
  erf_plain::ErfInv(y, x, n);
}

void NormalCdfBlock(const double* z, double* r, std::int32_t n) {
#ifdef QUOREL_ERF_AVX2
  if (UseAvx2()) return erf_avx2::NormalCdf(z, r, n);
#endif
  erf_plain::NormalCdf(z, r, n);
}

}  // namespace quorel::detail
