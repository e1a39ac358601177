#pragma once
// Rounding to integers the vector units can do in bulk: clamp, round ties to even, convert.
// For the kernel sources only (their clones inline these).

#include <xmmintrin.h>

#include <limits>
#include <type_traits>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern::detail {

// The integer conversions clamp first: the bounds are doubles (and singles), so clamping is exact,
// and as they are integers, rounding a clamped value cannot leave them. NaN passes the
// comparisons unchanged and becomes 0 at the end.
template <class T>
QUOREL_KERNEL_INLINE T ClampTo(T a, T lo, T hi) {
  const T t = a < lo ? lo : a;
  return t > hi ? hi : t;
}
template <class I>
QUOREL_KERNEL_INLINE double Clamp(double a) {
  return ClampTo<double>(a, std::numeric_limits<I>::min(), std::numeric_limits<I>::max());
}

// Round to nearest, ties to even, by the shifter: exact for magnitudes below 2^51 (2^22 for a
// single), which every clamped value has. Unlike roundeven it vectorises; it needs the
// processor's rounding mode at nearest, which NearestRounding provides.
QUOREL_KERNEL_INLINE double RoundEven(double t) { return (t + 0x1.8p52) - 0x1.8p52; }
QUOREL_KERNEL_INLINE float RoundEven(float t) { return (t + 0x1.8p23f) - 0x1.8p23f; }

// A clamped, integral value (or NaN) to I; the conversion truncates. Narrow types go through int,
// which the vector units convert to directly.
template <class I, class T>
QUOREL_KERNEL_INLINE I ToIntOrZero(T t) {
  using Wide = std::conditional_t<(sizeof(I) < 4), int, I>;
  return t == t ? static_cast<I>(static_cast<Wide>(t)) : I{0};
}

// The SSE rounding mode at nearest for the guard's lifetime when the caller runs in another one:
// ties go to even whatever the mode, and so does the rounding to single of the narrow formats.
// (The x87 control word, which Set8087CW sets, does not govern these units.)
class NearestRounding {
 public:
  NearestRounding() : saved_(_mm_getcsr()) {
    if (saved_ & kModeBits) _mm_setcsr(saved_ & ~kModeBits);
  }
  ~NearestRounding() {
    if (saved_ & kModeBits) _mm_setcsr(saved_);
  }
  NearestRounding(const NearestRounding&) = delete;
  NearestRounding& operator=(const NearestRounding&) = delete;

 private:
  static constexpr unsigned kModeBits = 0x6000;
  unsigned saved_;
};

}  // namespace quorel::kern::detail
