// G.711 coders with AVX-512: sixteen samples a step. The encoders find the segment from a
// leading-zero count and the step bits by a variable shift (the portable loop finds the segment
// by eight compares and packs their masks, which made it compute-bound at twice the cost of
// reading the doubles); the decoders form the level by a variable shift where the portable
// loop looks it up one code at a time.
#pragma GCC target("avx512f,avx512cd,avx512bw,avx512dq,avx512vl,avx2")
// Vectors cross no boundary to baseline code here; the compiler's conversion intrinsics leave a
// deliberately undefined source operand it then warns about.
#pragma GCC diagnostic ignored "-Wpsabi"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include "quorel/platform/kernels/detail/g711_avx512.h"

#include <immintrin.h>

#include <cstdint>

#include "quorel/platform/kernels/detail/widen_avx512.h"

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

// Mu-law level: u = ~code, t = (2 step + 33) << (segment + 2), the level +-(t - 132).
[[gnu::always_inline]] inline __m512i MuLawLevel(__m512i code) {
  const __m512i u = _mm512_xor_si512(code, _mm512_set1_epi32(0xFF));
  const __m512i step = _mm512_slli_epi32(_mm512_and_si512(u, _mm512_set1_epi32(0xF)), 3);
  const __m512i seg = _mm512_and_si512(_mm512_srli_epi32(u, 4), _mm512_set1_epi32(7));
  const __m512i y = _mm512_sub_epi32(_mm512_sllv_epi32(_mm512_add_epi32(step, _mm512_set1_epi32(0x84)), seg),
                                     _mm512_set1_epi32(0x84));
  return _mm512_mask_sub_epi32(y, _mm512_test_epi32_mask(u, _mm512_set1_epi32(0x80)), _mm512_setzero_si512(), y);
}

// A-law level: a = code ^ 0x55; segment 0 gives 16 step + 8, segment s > 0 gives
// (16 step + 264) << (s - 1); the sign bit set means positive.
[[gnu::always_inline]] inline __m512i ALawLevel(__m512i code) {
  const __m512i a = _mm512_xor_si512(code, _mm512_set1_epi32(0x55));
  const __m512i step = _mm512_slli_epi32(_mm512_and_si512(a, _mm512_set1_epi32(0xF)), 4);
  const __m512i seg = _mm512_and_si512(_mm512_srli_epi32(a, 4), _mm512_set1_epi32(7));
  const __m512i base = _mm512_mask_blend_epi32(_mm512_test_epi32_mask(seg, seg), _mm512_set1_epi32(8),
                                               _mm512_set1_epi32(0x108));
  const __m512i y = _mm512_sllv_epi32(_mm512_add_epi32(step, base),
                                      _mm512_max_epi32(_mm512_sub_epi32(seg, _mm512_set1_epi32(1)), _mm512_setzero_si512()));
  return _mm512_mask_sub_epi32(y, _mm512_testn_epi32_mask(a, _mm512_set1_epi32(0x80)), _mm512_setzero_si512(), y);
}

template <__m512i (*Level)(__m512i)>
void Expand(const std::uint8_t* x, double* r, ptrdiff_t n, TStores stores) {
  StoreWidened(r, n, stores, [x](ptrdiff_t at, ptrdiff_t count) {
    return Level(_mm512_cvtepu8_epi32(_mm_maskz_loadu_epi8(FirstBits16(count), x + at)));
  });
}

}  // namespace

void MuLawToDoublesAvx512(const std::uint8_t* x, double* r, ptrdiff_t n, TStores stores) {
  Expand<MuLawLevel>(x, r, n, stores);
}
void ALawToDoublesAvx512(const std::uint8_t* x, double* r, ptrdiff_t n, TStores stores) {
  Expand<ALawLevel>(x, r, n, stores);
}

void DoublesToMuLawAvx512(const double* x, std::uint8_t* r, ptrdiff_t n) { Run<MuLaw>(x, r, n); }
void DoublesToALawAvx512(const double* x, std::uint8_t* r, ptrdiff_t n) { Run<ALaw>(x, r, n); }

}  // namespace quorel::kern::detail
