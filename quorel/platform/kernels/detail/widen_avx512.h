#pragma once
// The store loop of the AVX-512 decoders that widen sixteen narrow values at a time to doubles.
// Include only from files built for AVX-512 (F, BW, DQ, VL), after their target pragma.

#include <immintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "quorel/platform/kernels/convert.h"

namespace quorel::kern::detail {

/// A mask of the first count bits.
[[gnu::always_inline]] inline __mmask16 FirstBits16(std::ptrdiff_t count) {
  return static_cast<__mmask16>((1u << count) - 1);
}

/// r[0 .. n) from load(at, count), which gives the values at..at+count-1 (count <= 16) as
/// int32 lanes, reading nothing beyond them. Stored as Convert stores doubles: around the
/// caches when `stores` asks or the result fills kStreamBytes, fenced unless the caller
/// finishes the stores itself.
template <class Load>
[[gnu::always_inline]] inline void StoreWidened(double* r, std::ptrdiff_t n, TStores stores, Load load) {
  const auto low = [](__m512i v) { return _mm512_cvtepi32_pd(_mm512_castsi512_si256(v)); };
  const auto high = [](__m512i v) { return _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(v, 1)); };
  const auto part = [&](std::ptrdiff_t at, std::ptrdiff_t count) {
    const __mmask16 m = FirstBits16(count);
    const __m512i v = load(at, count);
    _mm512_mask_storeu_pd(r + at, static_cast<__mmask8>(m), low(v));
    _mm512_mask_storeu_pd(r + at + 8, static_cast<__mmask8>(m >> 8), high(v));
  };
  std::ptrdiff_t i = 0;
  const auto address = reinterpret_cast<std::uintptr_t>(r);
  const bool around = stores == TStores::Around || StoresFor(n * 8) == TStores::Around;
  if (around && address % 8 == 0) {
    // Up to the first line boundary of r, then whole lines past the caches.
    i = std::min(n, static_cast<std::ptrdiff_t>((64 - address % 64) % 64 / 8));
    if (i > 0) part(0, i);
    for (; i + 16 <= n; i += 16) {
      const __m512i v = load(i, 16);
      _mm512_stream_pd(r + i, low(v));
      _mm512_stream_pd(r + i + 8, high(v));
    }
    // A fence per piece would drain the write-combining buffers every few kilobytes.
    if (stores == TStores::Auto) _mm_sfence();
  } else {
    for (; i + 16 <= n; i += 16) {
      const __m512i v = load(i, 16);
      _mm512_storeu_pd(r + i, low(v));
      _mm512_storeu_pd(r + i + 8, high(v));
    }
  }
  if (i < n) part(i, n - i);
}

}  // namespace quorel::kern::detail
