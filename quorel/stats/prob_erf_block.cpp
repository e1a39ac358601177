// Block error functions, one copy per instruction set, the best the processor has chosen at run
// time. erfc(a) = e^{-a^2} H(t) / (a + k) with
// t = (a - k) / (a + k), which maps [0, inf) onto [-1, 1); H is smooth there (it tends to
// 1/sqrt(pi)) and its Chebyshev series, computed once in ball arithmetic, falls below 1e-18 by 32
// terms. e^{-a^2} takes the rounding error of a^2 into account, so the far tail keeps its relative
// accuracy. erf near 0 comes from its Taylor series, where 1 - erfc would lose the relative
// accuracy. The normal quantile evaluates erf once per point; see TwoSteps in erf_block_impl.inc.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "quorel/core/constants.h"
#include "quorel/core/detail/checks.h"
#include "quorel/platform/arb.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/math.h"
#include "quorel/stats/detail/block_path.h"
#include "quorel/stats/detail/erf_block.h"
#include "quorel/stats/detail/prob_core.h"

namespace quorel::detail {
namespace {

constexpr double kK = 3.0;
constexpr int kTerms = 32;
constexpr double kTaylorLimit = 0.5;  // erf from its Taylor series below this
constexpr int kTaylorTerms = 14;      // 0.25^14 / (14! 29) < 2^-70
constexpr double kExpCap = 40.0;      // erfc(40) and e^{-40^2} are far below the smallest double

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

// The vector types below never cross a call boundary once inlined: no ABI to keep.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpsabi"

namespace erf_plain {
#define QUOREL_ERF_FMA 0
#define QUOREL_ERF_LANES 2
#include "quorel/stats/detail/erf_block_impl.inc"
#undef QUOREL_ERF_FMA
#undef QUOREL_ERF_LANES
}  // namespace erf_plain

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define QUOREL_ERF_CLONES 1
#pragma GCC push_options
#pragma GCC target("avx2,fma")
namespace erf_avx2 {
#define QUOREL_ERF_FMA 1
#define QUOREL_ERF_LANES 4
#include "quorel/stats/detail/erf_block_impl.inc"
#undef QUOREL_ERF_FMA
#undef QUOREL_ERF_LANES
}  // namespace erf_avx2
#pragma GCC pop_options
#pragma GCC push_options
#pragma GCC target("avx512f,avx512dq,avx512vl,avx2,fma,prefer-vector-width=512")
namespace erf_avx512 {
#define QUOREL_ERF_FMA 1
#define QUOREL_ERF_LANES 8
#include "quorel/stats/detail/erf_block_impl.inc"
#undef QUOREL_ERF_FMA
#undef QUOREL_ERF_LANES
}  // namespace erf_avx512
#pragma GCC pop_options
#endif

#pragma GCC diagnostic pop

#ifdef QUOREL_ERF_CLONES
#define QUOREL_ERF_DISPATCH(CALL)                  \
  switch (CurrentBlockPath()) {                    \
    case TBlockPath::Avx512: return erf_avx512::CALL; \
    case TBlockPath::Avx2: return erf_avx2::CALL;     \
    default: return erf_plain::CALL;                \
  }
#else
#define QUOREL_ERF_DISPATCH(CALL) return erf_plain::CALL;
#endif

void ErfNormalCdfInvBlock(const double* p, double* r, std::int32_t n, double mu, double sigma) {
  QUOREL_ERF_DISPATCH(NormalCdfInv(p, r, n, mu, sigma))
}
void ErfNormalCdfBlock(const double* z, double* r, std::int32_t n) { QUOREL_ERF_DISPATCH(NormalCdf(z, r, n)) }

#undef QUOREL_ERF_DISPATCH

}  // namespace quorel::detail
