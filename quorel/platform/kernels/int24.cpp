#include "quorel/platform/kernels/int24.h"

#include <cmath>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using std::ptrdiff_t;

namespace {

constexpr double kInt24Max = 8388607.0;

template <class R>
QUOREL_KERNEL_INLINE void Encode(const double* x, std::uint8_t* r, ptrdiff_t n, R round) {
  for (ptrdiff_t i = 0; i < n; ++i) {
    double t = x[i];
    t = t < -kInt24Max ? -kInt24Max : t;
    t = t > kInt24Max ? kInt24Max : t;
    const auto v = static_cast<std::uint32_t>(static_cast<std::int32_t>(t == t ? round(t) : 0.0));
    r[3 * i] = static_cast<std::uint8_t>(v);
    r[3 * i + 1] = static_cast<std::uint8_t>(v >> 8);
    r[3 * i + 2] = static_cast<std::uint8_t>(v >> 16);
  }
}

}  // namespace

QUOREL_KERNEL void FloatTo24Bit(const double* x, std::uint8_t* r, ptrdiff_t n, TRounding rounding) {
  if (rounding == rnRound) {
    Encode(x, r, n, [](double a) { return __builtin_roundeven(a); });
  } else {
    Encode(x, r, n, [](double a) { return std::trunc(a); });
  }
}

QUOREL_KERNEL void Bit24ToFloat(const std::uint8_t* x, double* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) {
    const std::uint32_t u = x[3 * i] | (std::uint32_t{x[3 * i + 1]} << 8) | (std::uint32_t{x[3 * i + 2]} << 16);
    // Move bit 23 to the sign bit, then shift back arithmetically.
    r[i] = static_cast<double>(static_cast<std::int32_t>(u << 8) >> 8);
  }
}

}  // namespace quorel::kern
