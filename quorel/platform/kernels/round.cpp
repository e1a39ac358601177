#include "quorel/platform/kernels/round.h"

#include <cmath>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::Map;
using std::ptrdiff_t;

namespace {

QUOREL_KERNEL_INLINE double Sgn(double b) { return b > 0.0 ? 1.0 : (b < 0.0 ? -1.0 : 0.0); }
QUOREL_KERNEL_INLINE double Sgn(TCplx b) { return Sgn(b.Re == 0.0 ? b.Im : b.Re); }

// x - y * trunc(x / y) as the scalar Rem forms it: quotient and product in extended precision.
double RemExtended(double x, double y) {
  const long double q = std::trunc(static_cast<long double>(x) / y);
  return static_cast<double>(x - y * q);
}

// The double quotient may round across an integer (Rem(1, -0.1)), so its remainder is taken with
// one rounding and kept only when it lies in (-|y|, |y|) with the sign of x. Then the quotient is
// right, and for |q| <= 256 the extended-precision evaluation is exact too, so both agree bit for bit.
QUOREL_KERNEL_INLINE double RemFast(double x, double y, bool& ok) {
  const double q = std::trunc(x / y);
  const double r = std::fma(-q, y, x);
  ok = std::fabs(q) <= 256.0 && std::fabs(r) < std::fabs(y) && (r == 0.0 || (r < 0.0) == (x < 0.0));
  return r;
}

// Blocks of the fast remainder; a block with a lane outside its range is redone in extended
// precision lane by lane. The block is written only when done, so r may be x or y.
template <class X, class Y>
QUOREL_KERNEL_INLINE void RemBlocks(ptrdiff_t n, X xAt, Y yAt, double* r) {
  constexpr ptrdiff_t kBlock = 64;
  double t[kBlock];
  for (ptrdiff_t i0 = 0; i0 < n; i0 += kBlock) {
    const ptrdiff_t m = n - i0 < kBlock ? n - i0 : kBlock;
    bool all = true;
    for (ptrdiff_t i = 0; i < m; ++i) {
      bool ok;
      t[i] = RemFast(xAt(i0 + i), yAt(i0 + i), ok);
      all &= ok;
    }
    if (!all) {
      for (ptrdiff_t i = 0; i < m; ++i) {
        bool ok;
        RemFast(xAt(i0 + i), yAt(i0 + i), ok);
        if (!ok) t[i] = RemExtended(xAt(i0 + i), yAt(i0 + i));
      }
    }
    for (ptrdiff_t i = 0; i < m; ++i) r[i0 + i] = t[i];
  }
}

}  // namespace

QUOREL_KERNEL void Ceil(const double* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](double a) { return std::ceil(a); });
}
QUOREL_KERNEL void Floor(const double* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](double a) { return std::floor(a); });
}
QUOREL_KERNEL void TruncAndFrac(const double* x, double* t, double* f, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) {
    const double a = x[i];
    const double whole = std::trunc(a);
    t[i] = whole;
    f[i] = a - whole;
  }
}
QUOREL_KERNEL void Frac(const double* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](double a) { return a - std::trunc(a); });
}
// The remainder needs fused multiply-add in hardware to stay fast; hence its own clones.
#define QUOREL_KERNEL_FMA __attribute__((target_clones("arch=x86-64-v3", "default")))
QUOREL_KERNEL_FMA void Rem(const double* x, const double* y, double* r, ptrdiff_t n) {
  RemBlocks(n, [x](ptrdiff_t i) { return x[i]; }, [y](ptrdiff_t i) { return y[i]; }, r);
}
QUOREL_KERNEL_FMA void Rem(const double* x, double y, double* r, ptrdiff_t n) {
  RemBlocks(n, [x](ptrdiff_t i) { return x[i]; }, [y](ptrdiff_t) { return y; }, r);
}

QUOREL_KERNEL void SgnMul(const double* a, const double* b, double* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, double y) { return x * Sgn(y); });
}
QUOREL_KERNEL void SgnMul(const TCplx* a, const TCplx* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](TCplx x, TCplx y) {
    const double s = Sgn(y);
    return TCplx{x.Re * s, x.Im * s};
  });
}
QUOREL_KERNEL void SgnMul(const TCplx* a, const double* b, TCplx* r, ptrdiff_t n) {
  Map(a, b, r, n, [](TCplx x, double y) {
    const double s = Sgn(y);
    return TCplx{x.Re * s, x.Im * s};
  });
}
QUOREL_KERNEL void SgnMul(const double* a, const TCplx* b, double* r, ptrdiff_t n) {
  Map(a, b, r, n, [](double x, TCplx y) { return x * Sgn(y); });
}

}  // namespace quorel::kern
