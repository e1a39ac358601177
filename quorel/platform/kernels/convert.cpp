#include "quorel/platform/kernels/convert.h"

#include <emmintrin.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::Map;
using std::ptrdiff_t;

namespace {

// Clamping in double is exact: every integer bound below is a double.
template <class I>
QUOREL_KERNEL_INLINE I Saturate(double t) {
  constexpr double lo = std::numeric_limits<I>::min();
  constexpr double hi = std::numeric_limits<I>::max();
  t = t < lo ? lo : t;
  t = t > hi ? hi : t;
  return static_cast<I>(t == t ? t : 0.0);
}

template <class I>
QUOREL_KERNEL_INLINE void ToInt(const double* x, I* r, ptrdiff_t n, TRounding rounding) {
  if (rounding == rnRound) {
    Map(x, r, n, [](double a) { return Saturate<I>(__builtin_roundeven(a)); });
  } else {
    Map(x, r, n, [](double a) { return Saturate<I>(std::trunc(a)); });
  }
}

// Single precision, finite values beyond its range saturated to +-FLT_MAX.
QUOREL_KERNEL_INLINE float ToSingle(double a) {
  const double m = std::fabs(a);
  return static_cast<float>(m > FLT_MAX && m <= DBL_MAX ? std::copysign(double{FLT_MAX}, a) : a);
}

template <class I>
QUOREL_KERNEL_INLINE void ToIntViaSingle(const double* x, I* r, ptrdiff_t n, TRounding rounding) {
  if (rounding == rnRound) {
    Map(x, r, n, [](double a) { return Saturate<I>(__builtin_roundeven(double{ToSingle(a)})); });
  } else {
    Map(x, r, n, [](double a) { return Saturate<I>(std::trunc(double{ToSingle(a)})); });
  }
}

// From 8 MB of doubles on, the result cannot stay in the caches: it is stored around them
// (non-temporal stores), so its lines are not read before they are overwritten; for 2-byte
// sources that read is nearly half the memory traffic.
constexpr ptrdiff_t kStreamMin = ptrdiff_t{1} << 20;

template <class S>
QUOREL_KERNEL_INLINE void ToDouble(const S* x, double* r, ptrdiff_t n) {
  const auto widen = [](S a) { return static_cast<double>(a); };
  if (n < kStreamMin || reinterpret_cast<std::uintptr_t>(r) % 8 != 0) return Map(x, r, n, widen);
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

QUOREL_KERNEL_WIDE void Convert(const double* x, float* r, ptrdiff_t n) { Map(x, r, n, ToSingle); }
QUOREL_KERNEL_WIDE void Convert(const float* x, double* r, ptrdiff_t n) { ToDouble(x, r, n); }

}  // namespace quorel::kern
