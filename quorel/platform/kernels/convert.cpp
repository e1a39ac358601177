#include "quorel/platform/kernels/convert.h"

#include <emmintrin.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "quorel/platform/kernels/detail/convert_avx512.h"
#include "quorel/platform/kernels/detail/int_rounding.h"
#include "quorel/platform/kernels/loops.h"
#include "quorel/platform/kernels/math.h"

namespace quorel::kern {

using detail::Clamp;
using detail::Map;
using detail::NearestRounding;
using detail::RoundEven;
using detail::ToIntOrZero;
using std::ptrdiff_t;

namespace {

// r[i] = f(x[i]) with whole 64-byte lines of r stored around the caches. Each block is made by
// the ordinary loop in a buffer that stays in L1 and then copied out a line at a time: the
// loop keeps its vector code, and every non-temporal store is a full line.
template <class S, class R, class F>
QUOREL_KERNEL_INLINE void MapAround(const S* x, R* r, ptrdiff_t n, F f) {
  constexpr ptrdiff_t kBlock = 2048 / static_cast<ptrdiff_t>(sizeof(R));
  if (reinterpret_cast<std::uintptr_t>(r) % sizeof(R) != 0) return Map(x, r, n, f);
  const auto head = static_cast<ptrdiff_t>((64 - reinterpret_cast<std::uintptr_t>(r) % 64) % 64 / sizeof(R));
  ptrdiff_t i = std::min(head, n);
  Map(x, r, i, f);
  alignas(64) R block[kBlock];
  for (; i + kBlock <= n; i += kBlock) {
    Map(x + i, block, kBlock, f);
    const auto* from = reinterpret_cast<const __m128i*>(block);
    auto* to = reinterpret_cast<__m128i*>(r + i);
    for (ptrdiff_t k = 0; k < kBlock * static_cast<ptrdiff_t>(sizeof(R)) / 16; ++k) _mm_stream_si128(to + k, _mm_load_si128(from + k));
  }
  _mm_sfence();
  Map(x + i, r + i, n - i, f);
}

// r[i] = f(x[i]), long results stored around the caches.
template <class S, class R, class F>
QUOREL_KERNEL_INLINE void MapStored(const S* x, R* r, ptrdiff_t n, F f) {
  if (StoresFor(n * static_cast<ptrdiff_t>(sizeof(R))) == TStores::Auto) return Map(x, r, n, f);
  MapAround(x, r, n, f);
}

template <class I>
QUOREL_KERNEL_INLINE void ToInt(const double* x, I* r, ptrdiff_t n, TRounding rounding) {
  if constexpr (sizeof(I) == 4) {
    if (KernelIsa() == TKernelIsa::Avx512) return detail::ToInt32Avx512(x, r, n, rounding);
  }
  if (rounding == rnRound) {
    const NearestRounding nearest;
    MapStored(x, r, n, [](double a) { return ToIntOrZero<I>(RoundEven(Clamp<I>(a))); });
  } else {
    MapStored(x, r, n, [](double a) { return ToIntOrZero<I>(Clamp<I>(a)); });
  }
}

// Single precision, finite values beyond its range saturated to +-FLT_MAX.
QUOREL_KERNEL_INLINE float ToSingle(double a) {
  const double m = std::fabs(a);
  return static_cast<float>(m > FLT_MAX && m <= DBL_MAX ? std::copysign(double{FLT_MAX}, a) : a);
}

// The single of a value is rounded to the integer. Clamping before the rounding to single changes
// nothing: both roundings are monotonic and the bounds are singles.
template <class I>
QUOREL_KERNEL_INLINE void ToIntViaSingle(const double* x, I* r, ptrdiff_t n, TRounding rounding) {
  const NearestRounding nearest;
  if (rounding == rnRound) {
    MapStored(x, r, n, [](double a) { return ToIntOrZero<I>(RoundEven(static_cast<float>(Clamp<I>(a)))); });
  } else {
    MapStored(x, r, n, [](double a) { return ToIntOrZero<I>(static_cast<float>(Clamp<I>(a))); });
  }
}

// 8 values widened to doubles and stored around the caches, 16 bytes at a time (the baseline's
// widest non-temporal store; wider ones would need code per instruction set). Narrow integers
// widen to int32 first, which the vector units convert directly.
template <class S>
QUOREL_KERNEL_INLINE void StreamLine(const S (&in)[8], double* r) {
  typedef double D8 __attribute__((vector_size(64)));
  typedef S S8 __attribute__((vector_size(8 * sizeof(S))));
  typedef std::int32_t I8 __attribute__((vector_size(32)));
  S8 v;
  std::memcpy(&v, in, sizeof v);
  D8 line;
  if constexpr (sizeof(S) < 4) {
    line = __builtin_convertvector(__builtin_convertvector(v, I8), D8);
  } else {
    line = __builtin_convertvector(v, D8);
  }
  for (int k = 0; k < 8; k += 2) _mm_stream_pd(r + k, __m128d{line[k], line[k + 1]});
}

template <class S>
QUOREL_KERNEL_INLINE void ToDouble(const S* x, double* r, ptrdiff_t n, TStores stores) {
  if constexpr (sizeof(S) < 4) {
    if (KernelIsa() == TKernelIsa::Avx512) return detail::WidenAvx512(x, r, n, stores);
  }
  const auto widen = [](S a) { return static_cast<double>(a); };
  const bool around = stores == TStores::Around || StoresFor(n * 8) == TStores::Around;
  if (!around || reinterpret_cast<std::uintptr_t>(r) % 8 != 0) return Map(x, r, n, widen);
  ptrdiff_t i = 0;
  for (; i < n && reinterpret_cast<std::uintptr_t>(r + i) % 64 != 0; ++i) r[i] = widen(x[i]);
  if constexpr (sizeof(S) == 1) {
    // The compiler widens a vector of eight bytes one byte at a time; sixteen go to 16-bit lanes
    // in one step.
    typedef S S16 __attribute__((vector_size(16)));
    typedef std::int16_t H16 __attribute__((vector_size(32)));
    for (; i + 16 <= n; i += 16) {
      S16 in;
      std::memcpy(&in, x + i, sizeof in);
      const H16 h = __builtin_convertvector(in, H16);
      std::int16_t half[2][8];
      std::memcpy(half, &h, sizeof h);
      StreamLine(half[0], r + i);
      StreamLine(half[1], r + i + 8);
    }
  } else {
    for (; i + 8 <= n; i += 8) StreamLine(*reinterpret_cast<const S(*)[8]>(x + i), r + i);
  }
  // A fence per piece would drain the write-combining buffers every few kilobytes.
  if (stores == TStores::Auto) _mm_sfence();
  for (; i < n; ++i) r[i] = widen(x[i]);
}

}  // namespace

// Each storage type: to it from double and back. target_clones needs plain functions, hence the macros.
#define QUOREL_CONVERT_BOTH_WAYS(I)                                                               \
  QUOREL_KERNEL_WIDE void Convert(const double* x, I* r, ptrdiff_t n, TRounding rounding) { ToInt(x, r, n, rounding); } \
  QUOREL_KERNEL_WIDE void Convert(const I* x, double* r, ptrdiff_t n, TStores stores) { ToDouble(x, r, n, stores); }
#define QUOREL_CONVERT_VIA_SINGLE(I)                                                              \
  QUOREL_KERNEL_WIDE void ConvertViaSingle(const double* x, I* r, ptrdiff_t n, TRounding rounding) { \
    ToIntViaSingle(x, r, n, rounding);                                                            \
  }

QUOREL_CONVERT_BOTH_WAYS(std::int32_t)
QUOREL_CONVERT_BOTH_WAYS(std::uint32_t)
QUOREL_CONVERT_BOTH_WAYS(std::int16_t)
QUOREL_CONVERT_BOTH_WAYS(std::uint16_t)
QUOREL_CONVERT_BOTH_WAYS(std::int8_t)
QUOREL_CONVERT_BOTH_WAYS(std::uint8_t)
QUOREL_CONVERT_VIA_SINGLE(std::int16_t)
QUOREL_CONVERT_VIA_SINGLE(std::uint16_t)
QUOREL_CONVERT_VIA_SINGLE(std::int8_t)
QUOREL_CONVERT_VIA_SINGLE(std::uint8_t)

void FinishStores() { _mm_sfence(); }

QUOREL_KERNEL_WIDE void Convert(const double* x, float* r, ptrdiff_t n) { MapStored(x, r, n, ToSingle); }
QUOREL_KERNEL_WIDE void Convert(const float* x, double* r, ptrdiff_t n, TStores stores) { ToDouble(x, r, n, stores); }

}  // namespace quorel::kern
