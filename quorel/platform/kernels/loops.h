#pragma once
// Loop shapes and scalar complex helpers shared by the kernel sources (kernels_*.cpp only).
// Every kernel is one of these loops with a small lambda; the compiler vectorises the loop once
// per clone of the enclosing kernel.

#include <cstddef>
#include <cmath>
#include <cstring>

#include "quorel/core/types.h"

// One clone for AVX2 and one for the x86-64 baseline, chosen once by the dynamic loader.
#define QUOREL_KERNEL __attribute__((target_clones("avx2", "default")))
// Element-wise arithmetic and conversions also get an AVX-512 clone: the loads and stores of
// arrays held in the second-level cache and beyond go at twice the width.
#define QUOREL_KERNEL_WIDE __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
// Marks kernels built for the baseline only: complex values combined with a real operand or
// across their parts run fastest one value per 128-bit vector; the 256-bit code the compiler
// makes for them spends more on shuffles than it saves (measured up to 1.5x slower).
#define QUOREL_KERNEL_PAIRS
// The loop bodies must be inlined into each clone to be compiled for that clone's target.
#define QUOREL_KERNEL_INLINE [[gnu::always_inline]] inline

namespace quorel::kern::detail {

// Inlined into code built for the vector's width, so the ABI note about passing wide vectors
// never applies.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpsabi"
/// The compiler vector V read from p, which need not be aligned.
template <class V>
QUOREL_KERNEL_INLINE V LoadVector(const double* p) {
  V v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
/// v written to p, which need not be aligned.
template <class V>
QUOREL_KERNEL_INLINE void StoreVector(double* p, V v) {
  std::memcpy(p, &v, sizeof v);
}
#pragma GCC diagnostic pop

/// A complex array as its 2n interleaved doubles (null stays null, for n = 0).
inline const double* Parts(const TCplx* p) { return reinterpret_cast<const double*>(p); }
inline double* Parts(TCplx* p) { return reinterpret_cast<double*>(p); }

/// r[i] = f(x[i]). Safe when r and x are the same array.
template <class X, class R, class F>
QUOREL_KERNEL_INLINE void Map(const X* x, R* r, std::ptrdiff_t n, F f) {
  for (std::ptrdiff_t i = 0; i < n; ++i) r[i] = f(x[i]);
}

/// r[i] = f(a[i], b[i]). Safe when r is exactly a or b.
template <class A, class B, class R, class F>
QUOREL_KERNEL_INLINE void Map(const A* a, const B* b, R* r, std::ptrdiff_t n, F f) {
  for (std::ptrdiff_t i = 0; i < n; ++i) r[i] = f(a[i], b[i]);
}

/// Part by part over the interleaved doubles: real parts through re, imaginary parts through
/// im. In this form the compiler keeps whole 256-bit vectors for sign changes and offsets.
template <class Re, class Im>
QUOREL_KERNEL_INLINE void MapParts(const TCplx* x, TCplx* r, std::ptrdiff_t n, Re re, Im im) {
  const double* xd = Parts(x);
  double* rd = Parts(r);
  for (std::ptrdiff_t j = 0; j < 2 * n; ++j) rd[j] = (j & 1) ? im(xd[j]) : re(xd[j]);
}

QUOREL_KERNEL_INLINE TCplx CMul(TCplx a, TCplx b) {
  return {a.Re * b.Re - a.Im * b.Im, a.Re * b.Im + a.Im * b.Re};
}

/// Textbook quotient with one reciprocal of |b|^2, no scaling.
QUOREL_KERNEL_INLINE TCplx CDiv(TCplx a, TCplx b) {
  const double s = 1.0 / (b.Re * b.Re + b.Im * b.Im);
  return {(a.Re * b.Re + a.Im * b.Im) * s, (a.Im * b.Re - a.Re * b.Im) * s};
}

/// 1/b, textbook.
QUOREL_KERNEL_INLINE TCplx CInv(TCplx b) {
  const double s = 1.0 / (b.Re * b.Re + b.Im * b.Im);
  return {b.Re * s, -b.Im * s};
}

QUOREL_KERNEL_INLINE double CNorm(TCplx z) { return z.Re * z.Re + z.Im * z.Im; }

/// Whether CNorm(z) neither overflows nor underflows (0 itself is exact).
QUOREL_KERNEL_INLINE bool NormInRange(TCplx z) {
  const double m = CNorm(z);
  return (m >= 2.2250738585072014e-308 || (z.Re == 0.0 && z.Im == 0.0)) && m <= 1.7976931348623157e308;
}

/// r[i] = fast(x[i]) where ok(x[i]), else slow(x[i]). One vectorised scan of x first, so the
/// common call with every lane ok runs the fast loop unchanged; safe in place.
template <class X, class R, class Ok, class Fast, class Slow>
QUOREL_KERNEL_INLINE void MapUnlessRare(const X* x, R* r, std::ptrdiff_t n, Ok ok, Fast fast, Slow slow) {
  bool all = true;
  for (std::ptrdiff_t i = 0; i < n; ++i) all &= ok(x[i]);
  if (all) {
    Map(x, r, n, fast);
    return;
  }
  for (std::ptrdiff_t i = 0; i < n; ++i) r[i] = ok(x[i]) ? fast(x[i]) : slow(x[i]);
}

/// z with its modulus m moved to level when move is set, keeping the phase; 0 becomes
/// (level, 0). Parts are selected one by one: a select on the whole record keeps loops scalar.
QUOREL_KERNEL_INLINE TCplx ToModulus(TCplx z, double m, double level, bool move) {
  const double s = level / m;
  const double re = move ? (m == 0.0 ? level : z.Re * s) : z.Re;
  const double im = move ? (m == 0.0 ? 0.0 : z.Im * s) : z.Im;
  return {re, im};
}

/// ToModulus for any finite or infinite z, with m its modulus taken without over- or underflow:
/// an infinite z keeps its phase by angle.
QUOREL_KERNEL_INLINE TCplx ToModulusWide(TCplx z, double m, double level, bool move) {
  if (!move) return z;
  if (m == 0.0) return {level, 0.0};
  if (m > 1.7976931348623157e308) {
    const double a = std::atan2(z.Im, z.Re);
    return {level * std::cos(a), level * std::sin(a)};
  }
  return {z.Re / m * level, z.Im / m * level};
}

}  // namespace quorel::kern::detail
