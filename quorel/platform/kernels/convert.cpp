#include "quorel/platform/kernels/convert.h"

#include <cfloat>
#include <cmath>
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

template <class S>
QUOREL_KERNEL_INLINE void ToDouble(const S* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](S a) { return static_cast<double>(a); });
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
