#include "quorel/platform/kernels/convert.h"

#include <emmintrin.h>

#include <cfloat>
#include <cmath>
#include <cstdint>

#include "quorel/platform/kernels/detail/int_rounding.h"
#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::Clamp;
using detail::Map;
using detail::NearestRounding;
using detail::RoundEven;
using detail::ToIntOrZero;
using std::ptrdiff_t;

namespace {

// From 8 MB of results on, they cannot stay in the caches: they are stored around them
// (non-temporal stores), so their lines are not read before they are overwritten; for 2-byte
// values on one side that read is a sixth to nearly half of the memory traffic.
constexpr ptrdiff_t kStreamBytes = ptrdiff_t{1} << 23;

// r[i] = f(x[i]) for results narrower than double, whole 64-byte lines streamed when long.
template <class R, class F>
QUOREL_KERNEL_INLINE void MapNarrow(const double* x, R* r, ptrdiff_t n, F f) {
  constexpr ptrdiff_t kLine = 64 / sizeof(R);
  if (n * static_cast<ptrdiff_t>(sizeof(R)) < kStreamBytes) return Map(x, r, n, f);
  ptrdiff_t i = 0;
  for (; i < n && reinterpret_cast<std::uintptr_t>(r + i) % 64 != 0; ++i) r[i] = f(x[i]);
  for (; i + kLine <= n; i += kLine) {
    alignas(64) R line[kLine];
    for (ptrdiff_t k = 0; k < kLine; ++k) line[k] = f(x[i + k]);
    for (int k = 0; k < 4; ++k)
      _mm_stream_si128(reinterpret_cast<__m128i*>(r + i) + k, _mm_load_si128(reinterpret_cast<const __m128i*>(line) + k));
  }
  _mm_sfence();
  for (; i < n; ++i) r[i] = f(x[i]);
}

template <class I>
QUOREL_KERNEL_INLINE void ToInt(const double* x, I* r, ptrdiff_t n, TRounding rounding) {
  if (rounding == rnRound) {
    const NearestRounding nearest;
    MapNarrow(x, r, n, [](double a) { return ToIntOrZero<I>(RoundEven(Clamp<I>(a))); });
  } else {
    MapNarrow(x, r, n, [](double a) { return ToIntOrZero<I>(Clamp<I>(a)); });
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
    MapNarrow(x, r, n, [](double a) { return ToIntOrZero<I>(RoundEven(static_cast<float>(Clamp<I>(a)))); });
  } else {
    MapNarrow(x, r, n, [](double a) { return ToIntOrZero<I>(static_cast<float>(Clamp<I>(a))); });
  }
}

template <class S>
QUOREL_KERNEL_INLINE void ToDouble(const S* x, double* r, ptrdiff_t n) {
  const auto widen = [](S a) { return static_cast<double>(a); };
  if (n * 8 < kStreamBytes || reinterpret_cast<std::uintptr_t>(r) % 8 != 0) return Map(x, r, n, widen);
  using V2 = double __attribute__((vector_size(16)));
  ptrdiff_t i = 0;
  for (; reinterpret_cast<std::uintptr_t>(r + i) % 64 != 0; ++i) r[i] = widen(x[i]);
  for (; i + 8 <= n; i += 8)
    for (int k = 0; k < 8; k += 2) _mm_stream_pd(r + i + k, V2{widen(x[i + k]), widen(x[i + k + 1])});
  _mm_sfence();
  for (; i < n; ++i) r[i] = widen(x[i]);
}

}  // namespace

// Each storage type: to it from double and back. target_clones needs plain functions, hence the macros.
#define QUOREL_CONVERT_BOTH_WAYS(I)                                                               \
  QUOREL_KERNEL_WIDE void Convert(const double* x, I* r, ptrdiff_t n, TRounding rounding) { ToInt(x, r, n, rounding); } \
  QUOREL_KERNEL_WIDE void Convert(const I* x, double* r, ptrdiff_t n) { ToDouble(x, r, n); }
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

QUOREL_KERNEL_WIDE void Convert(const double* x, float* r, ptrdiff_t n) { MapNarrow(x, r, n, ToSingle); }
QUOREL_KERNEL_WIDE void Convert(const float* x, double* r, ptrdiff_t n) { ToDouble(x, r, n); }

}  // namespace quorel::kern
