// G.711 encoders with AVX-512: sixteen samples a step, the segment from a leading-zero count
// and the step bits by a variable shift. The portable loop finds the segment by eight compares
// and packs their masks, which made it compute-bound at twice the cost of reading the doubles.
#pragma GCC target("avx512f,avx512cd,avx512bw,avx512dq,avx512vl,avx2")
// Vectors cross no boundary to baseline code here; the compiler's conversion intrinsics leave a
// deliberately undefined source operand it then warns about.
#pragma GCC diagnostic ignored "-Wpsabi"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include "quorel/platform/kernels/detail/g711_avx512.h"

#include <immintrin.h>

#include <cstdint>

namespace quorel::kern::detail {

namespace {

using std::ptrdiff_t;

constexpr int kNearest = _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC;

// Sixteen doubles to 16-bit samples in 32-bit lanes: clamped (NaN passes max and min as their
// second operand), rounded to single and then to an integer, ties to even, NaN to 0. The bounds
// are singles, so clamping first changes neither rounding.
[[gnu::always_inline]] inline __m512i Samples(__m512d lo, __m512d hi) {
  const auto clamp = [](__m512d v) {
    return _mm512_min_pd(_mm512_set1_pd(32767.0), _mm512_max_pd(_mm512_set1_pd(-32768.0), v));
  };
  const __m512 f = _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvt_roundpd_ps(clamp(lo), kNearest)),
                                      _mm512_cvt_roundpd_ps(clamp(hi), kNearest), 1);
  return _mm512_maskz_mov_epi32(_mm512_cmp_ps_mask(f, f, _CMP_ORD_Q), _mm512_cvt_roundps_epi32(f, kNearest));
}

// x >>= 2; v = min(|x|, 8159) + 33 lies in [33, 8192], so its segment is 26 - lzcnt(v) (8 only
// for the saturated 8192, which the minimum with 0x7F codes).
[[gnu::always_inline]] inline __m512i MuLaw(__m512i s) {
  const __m512i x = _mm512_srai_epi32(s, 2);
  const __m512i v = _mm512_add_epi32(_mm512_min_epi32(_mm512_abs_epi32(x), _mm512_set1_epi32(8159)), _mm512_set1_epi32(33));
  const __m512i seg = _mm512_sub_epi32(_mm512_set1_epi32(26), _mm512_lzcnt_epi32(v));
  const __m512i step = _mm512_srlv_epi32(v, _mm512_add_epi32(seg, _mm512_set1_epi32(1)));
  const __m512i code = _mm512_min_epi32(_mm512_ternarylogic_epi32(_mm512_slli_epi32(seg, 4), step, _mm512_set1_epi32(0xF), 0xF8),
                                        _mm512_set1_epi32(0x7F));
  const __m512i mask = _mm512_xor_si512(_mm512_set1_epi32(0xFF), _mm512_and_si512(_mm512_srai_epi32(x, 31), _mm512_set1_epi32(0x80)));
  return _mm512_xor_si512(code, mask);
}

// x >>= 3; v = x ^ sign (-x - 1 for negative x) lies in [0, 4095]: segment max(27 - lzcnt(v), 0)
// is at most 7, so no code needs saturating.
[[gnu::always_inline]] inline __m512i ALaw(__m512i s) {
  const __m512i x = _mm512_srai_epi32(s, 3);
  const __m512i sign = _mm512_srai_epi32(x, 31);
  const __m512i v = _mm512_xor_si512(x, sign);
  const __m512i seg = _mm512_max_epi32(_mm512_sub_epi32(_mm512_set1_epi32(27), _mm512_lzcnt_epi32(v)), _mm512_setzero_si512());
  const __m512i step = _mm512_srlv_epi32(v, _mm512_max_epi32(seg, _mm512_set1_epi32(1)));
  const __m512i code = _mm512_ternarylogic_epi32(_mm512_slli_epi32(seg, 4), step, _mm512_set1_epi32(0xF), 0xF8);
  const __m512i mask = _mm512_xor_si512(_mm512_set1_epi32(0xD5), _mm512_and_si512(sign, _mm512_set1_epi32(0x80)));
  return _mm512_xor_si512(code, mask);
}

template <__m512i (*Code)(__m512i)>
void Run(const double* x, std::uint8_t* r, ptrdiff_t n) {
  ptrdiff_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m512i c = Code(Samples(_mm512_loadu_pd(x + i), _mm512_loadu_pd(x + i + 8)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(r + i), _mm512_cvtepi32_epi8(c));
  }
  if (i < n) {
    const auto m = static_cast<__mmask16>((1u << (n - i)) - 1);
    const __m512i c = Code(Samples(_mm512_maskz_loadu_pd(static_cast<__mmask8>(m), x + i),
                                   _mm512_maskz_loadu_pd(static_cast<__mmask8>(m >> 8), x + i + 8)));
    _mm_mask_storeu_epi8(r + i, m, _mm512_cvtepi32_epi8(c));
  }
}

}  // namespace

void DoublesToMuLawAvx512(const double* x, std::uint8_t* r, ptrdiff_t n) { Run<MuLaw>(x, r, n); }
void DoublesToALawAvx512(const double* x, std::uint8_t* r, ptrdiff_t n) { Run<ALaw>(x, r, n); }

}  // namespace quorel::kern::detail
