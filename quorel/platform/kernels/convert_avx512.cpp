// Doubles to 32-bit and 24-bit integers with AVX-512: the conversions round by an embedded mode
// and the unsigned one exists, so a block is a clamp, one conversion and a NaN mask. The portable
// loop's compares and mask logic cost three times as much. Back to doubles, narrow integers and
// 24-bit samples widen sixteen at a time with full-line stores.
#pragma GCC target("avx512f,avx512bw,avx512dq,avx512vl,avx2")
// Vectors cross no boundary to baseline code here; the compiler's conversion intrinsics leave a
// deliberately undefined source operand it then warns about.
#pragma GCC diagnostic ignored "-Wpsabi"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

#include "quorel/platform/kernels/detail/convert_avx512.h"

#include <immintrin.h>

#include <cstdint>
#include <type_traits>

#include "quorel/platform/kernels/convert.h"
#include "quorel/platform/kernels/detail/widen_avx512.h"

namespace quorel::kern::detail {

namespace {

using std::ptrdiff_t;

template <class I, bool kNearest, double kLo = (static_cast<I>(-1) > 0 ? 0.0 : -2147483648.0),
          double kHi = (static_cast<I>(-1) > 0 ? 4294967295.0 : 2147483647.0)>
[[gnu::always_inline]] inline __m256i Block(__m512d v) {
  constexpr bool kUnsigned = static_cast<I>(-1) > 0;
  // max and min return their second operand when either is NaN: NaN stays NaN here. The bounds
  // are integers, so clamping before rounding gives what rounding first would.
  const __m512d t = _mm512_min_pd(_mm512_set1_pd(kHi), _mm512_max_pd(_mm512_set1_pd(kLo), v));
  constexpr int kMode = (kNearest ? _MM_FROUND_TO_NEAREST_INT : _MM_FROUND_TO_ZERO) | _MM_FROUND_NO_EXC;
  __m256i y;
  if constexpr (kUnsigned) {
    y = _mm512_cvt_roundpd_epu32(t, kMode);
  } else {
    y = _mm512_cvt_roundpd_epi32(t, kMode);
  }
  return _mm256_maskz_mov_epi32(_mm512_cmp_pd_mask(t, t, _CMP_ORD_Q), y);
}

template <class I, bool kNearest>
void Run(const double* x, I* r, ptrdiff_t n) {
  const auto part = [&](ptrdiff_t i, ptrdiff_t count) {
    const auto m = static_cast<__mmask8>((1u << count) - 1);
    _mm256_mask_storeu_epi32(r + i, m, Block<I, kNearest>(_mm512_maskz_loadu_pd(m, x + i)));
  };
  ptrdiff_t i = 0;
  const auto at = reinterpret_cast<std::uintptr_t>(r);
  if (n * 4 >= kStreamBytes && at % 4 == 0) {
    // Up to the first 32-byte boundary of r, then whole vectors around the caches.
    i = static_cast<ptrdiff_t>((32 - at % 32) % 32 / 4);
    if (i > 0) part(0, i);
    for (; i + 8 <= n; i += 8) _mm256_stream_si256(reinterpret_cast<__m256i*>(r + i), Block<I, kNearest>(_mm512_loadu_pd(x + i)));
    _mm_sfence();
  } else {
    for (; i + 8 <= n; i += 8) _mm256_storeu_si256(reinterpret_cast<__m256i*>(r + i), Block<I, kNearest>(_mm512_loadu_pd(x + i)));
  }
  if (i < n) part(i, n - i);
}

template <class I>
void Dispatch(const double* x, I* r, ptrdiff_t n, TRounding rounding) {
  if (rounding == rnRound) {
    Run<I, true>(x, r, n);
  } else {
    Run<I, false>(x, r, n);
  }
}

// Sixteen values to 24-bit samples, packed into the low 48 bytes: each 128-bit lane drops the
// top byte of its four words, then the lanes' twelve bytes are joined.
template <bool kNearest>
[[gnu::always_inline]] inline __m512i Int24Block(__m512d lo, __m512d hi) {
  constexpr double kMax = 8388607.0;
  const __m512i words = _mm512_inserti64x4(_mm512_castsi256_si512(Block<std::int32_t, kNearest, -kMax, kMax>(lo)),
                                           Block<std::int32_t, kNearest, -kMax, kMax>(hi), 1);
  const __m512i lanes = _mm512_shuffle_epi8(
      words, _mm512_broadcast_i32x4(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)));
  return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 3, 7, 11, 15), lanes);
}

template <bool kNearest>
void RunInt24(const double* x, std::uint8_t* r, ptrdiff_t n) {
  ptrdiff_t i = 0;
  for (; i + 16 <= n; i += 16)
    _mm512_mask_storeu_epi32(r + 3 * i, 0x0FFF, Int24Block<kNearest>(_mm512_loadu_pd(x + i), _mm512_loadu_pd(x + i + 8)));
  if (i < n) {
    const auto m = static_cast<__mmask16>((1u << (n - i)) - 1);
    const __m512i v = Int24Block<kNearest>(_mm512_maskz_loadu_pd(static_cast<__mmask8>(m), x + i),
                                           _mm512_maskz_loadu_pd(static_cast<__mmask8>(m >> 8), x + i + 8));
    _mm512_mask_storeu_epi8(r + 3 * i, (__mmask64{1} << (3 * (n - i))) - 1, v);
  }
}

// Sixteen 24-bit samples from their 48 bytes: int32 lane k takes the two words that hold bytes
// 3k .. 3k+2, which sit in its low three bytes for even k and its high three for odd k.
[[gnu::always_inline]] inline __m512i Int24Values(const std::uint8_t* x, ptrdiff_t count) {
  alignas(64) static constexpr std::int16_t kWords[32] = {0,  1,  1,  2,  3,  4,  4,  5,  6,  7,  7,
                                                           8,  9,  10, 10, 11, 12, 13, 13, 14, 15, 16,
                                                           16, 17, 18, 19, 19, 20, 21, 22, 22, 23};
  const __m512i bytes = _mm512_maskz_loadu_epi8((__mmask64{1} << (3 * count)) - 1, x);
  const __m512i v = _mm512_permutexvar_epi16(_mm512_load_si512(kWords), bytes);
  return _mm512_srai_epi32(_mm512_mask_slli_epi32(v, 0x5555, v, 8), 8);
}

template <class S>
[[gnu::always_inline]] inline __m512i Int32Lanes(const S* x, ptrdiff_t count) {
  const __mmask16 m = FirstBits16(count);
  if constexpr (sizeof(S) == 1) {
    const __m128i v = _mm_maskz_loadu_epi8(m, x);
    return std::is_signed_v<S> ? _mm512_cvtepi8_epi32(v) : _mm512_cvtepu8_epi32(v);
  } else {
    const __m256i v = _mm256_maskz_loadu_epi16(m, x);
    return std::is_signed_v<S> ? _mm512_cvtepi16_epi32(v) : _mm512_cvtepu16_epi32(v);
  }
}

}  // namespace

void FromInt24Avx512(const std::uint8_t* x, double* r, ptrdiff_t n, TStores stores) {
  StoreWidened(r, n, stores, [x](ptrdiff_t at, ptrdiff_t count) { return Int24Values(x + 3 * at, count); });
}

template <class S>
void WidenAvx512(const S* x, double* r, ptrdiff_t n, TStores stores) {
  StoreWidened(r, n, stores, [x](ptrdiff_t at, ptrdiff_t count) { return Int32Lanes(x + at, count); });
}
template void WidenAvx512(const std::int8_t*, double*, ptrdiff_t, TStores);
template void WidenAvx512(const std::uint8_t*, double*, ptrdiff_t, TStores);
template void WidenAvx512(const std::int16_t*, double*, ptrdiff_t, TStores);
template void WidenAvx512(const std::uint16_t*, double*, ptrdiff_t, TStores);

void ToInt24Avx512(const double* x, std::uint8_t* r, ptrdiff_t n, TRounding rounding) {
  if (rounding == rnRound) {
    RunInt24<true>(x, r, n);
  } else {
    RunInt24<false>(x, r, n);
  }
}

void ToInt32Avx512(const double* x, std::int32_t* r, ptrdiff_t n, TRounding rounding) { Dispatch(x, r, n, rounding); }
void ToInt32Avx512(const double* x, std::uint32_t* r, ptrdiff_t n, TRounding rounding) { Dispatch(x, r, n, rounding); }

}  // namespace quorel::kern::detail
