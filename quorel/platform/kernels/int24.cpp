#include "quorel/platform/kernels/int24.h"

#include <algorithm>
#include <cstring>

#include "quorel/platform/kernels/detail/convert_avx512.h"
#include "quorel/platform/kernels/detail/int_rounding.h"
#include "quorel/platform/kernels/loops.h"
#include "quorel/platform/kernels/math.h"

namespace quorel::kern {

using std::ptrdiff_t;

namespace {

constexpr double kInt24Max = 8388607.0;
constexpr ptrdiff_t kChunk = 256;

// The values are rounded a chunk at a time (a loop the compiler vectorises), then stored as
// 4-byte little-endian words 3 bytes apart, each word's top byte overwritten by the next one; only
// the array's last value is stored byte by byte, so nothing is written past its end.
template <class R>
QUOREL_KERNEL_INLINE void Encode(const double* x, std::uint8_t* r, ptrdiff_t n, R round) {
  std::int32_t v[kChunk];
  for (ptrdiff_t b = 0; b < n; b += kChunk) {
    const ptrdiff_t m = std::min(kChunk, n - b);
    for (ptrdiff_t i = 0; i < m; ++i)
      v[i] = detail::ToIntOrZero<std::int32_t>(round(detail::ClampTo(x[b + i], -kInt24Max, kInt24Max)));
    std::uint8_t* out = r + 3 * b;
    const ptrdiff_t words = b + m == n ? m - 1 : m;
    for (ptrdiff_t i = 0; i < words; ++i) std::memcpy(out + 3 * i, &v[i], 4);
    if (words < m) {
      const auto u = static_cast<std::uint32_t>(v[words]);
      for (int k = 0; k < 3; ++k) out[3 * words + k] = static_cast<std::uint8_t>(u >> (8 * k));
    }
  }
}

}  // namespace

QUOREL_KERNEL_WIDE void FloatTo24Bit(const double* x, std::uint8_t* r, ptrdiff_t n, TRounding rounding) {
  if (KernelIsa() == TKernelIsa::Avx512) return detail::ToInt24Avx512(x, r, n, rounding);
  if (rounding == rnRound) {
    const detail::NearestRounding nearest;
    Encode(x, r, n, [](double a) { return detail::RoundEven(a); });
  } else {
    Encode(x, r, n, [](double a) { return a; });
  }
}

// Only the vector path stores around the caches; the portable loop stores in place.
QUOREL_KERNEL void Bit24ToFloat(const std::uint8_t* x, double* r, ptrdiff_t n, TStores stores) {
  if (KernelIsa() == TKernelIsa::Avx512) return detail::FromInt24Avx512(x, r, n, stores);
  for (ptrdiff_t i = 0; i < n; ++i) {
    const std::uint32_t u = x[3 * i] | (std::uint32_t{x[3 * i + 1]} << 8) | (std::uint32_t{x[3 * i + 2]} << 16);
    // Move bit 23 to the sign bit, then shift back arithmetically.
    r[i] = static_cast<double>(static_cast<std::int32_t>(u << 8) >> 8);
  }
}

}  // namespace quorel::kern
