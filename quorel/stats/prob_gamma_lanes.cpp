// The lanes of detail/gamma_block.h, one copy per instruction set (plain x86-64 with SSE2, AVX2,
// AVX-512), the best the processor has chosen at run time. No copy contracts multiplications
// and additions into fused multiply-adds: the scalar functions, built for plain x86-64, cannot.

#include <algorithm>
#include <cmath>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "quorel/core/constants.h"
#include "quorel/stats/detail/block_path.h"
#include "quorel/stats/detail/gamma_block.h"

namespace quorel::detail {

// The vector types below never cross a call boundary once inlined: no ABI to keep.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpsabi"
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC push_options
#pragma GCC optimize("fp-contract=off")
#endif

namespace gamma_plain {
#define QUOREL_GAMMA_LANES 2
#include "quorel/stats/detail/gamma_lanes_impl.inc"
#undef QUOREL_GAMMA_LANES
}  // namespace gamma_plain

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__)
#define QUOREL_GAMMA_CLONES 1
#pragma GCC push_options
#pragma GCC target("avx2")
namespace gamma_avx2 {
#define QUOREL_GAMMA_LANES 4
#include "quorel/stats/detail/gamma_lanes_impl.inc"
#undef QUOREL_GAMMA_LANES
}  // namespace gamma_avx2
#pragma GCC pop_options
#pragma GCC push_options
#pragma GCC target("avx512f,avx512dq,avx512vl,avx2,prefer-vector-width=512")
namespace gamma_avx512 {
#define QUOREL_GAMMA_LANES 8
#include "quorel/stats/detail/gamma_lanes_impl.inc"
#undef QUOREL_GAMMA_LANES
}  // namespace gamma_avx512
#pragma GCC pop_options
#endif

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC pop_options
#endif
#pragma GCC diagnostic pop

void GammaFormsBlock(const double* t, const double* pf, double* r, std::int32_t n, double a) {
#ifdef QUOREL_GAMMA_CLONES
  switch (CurrentBlockPath()) {
    case TBlockPath::Avx512: return gamma_avx512::GammaForms(t, pf, r, n, a);
    case TBlockPath::Avx2: return gamma_avx2::GammaForms(t, pf, r, n, a);
    default: break;
  }
#endif
  gamma_plain::GammaForms(t, pf, r, n, a);
}

}  // namespace quorel::detail
