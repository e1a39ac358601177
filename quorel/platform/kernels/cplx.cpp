#include "quorel/platform/kernels/cplx.h"

#include <cmath>
#include <cstdint>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::CNorm;
using detail::Map;
using std::ptrdiff_t;

namespace {

// True when the n reals of x share storage with the n complex values of r.
bool Widens(const double* x, const TCplx* r, ptrdiff_t n) {
  const auto xb = reinterpret_cast<std::uintptr_t>(x);
  const auto rb = reinterpret_cast<std::uintptr_t>(r);
  const auto len = static_cast<std::uintptr_t>(n) * sizeof(double);
  return xb < rb + 2 * len && rb < xb + len;
}

// Widening in place runs backwards: element i lands at or after where it was read.
template <class F>
QUOREL_KERNEL_INLINE void Widen(const double* x, TCplx* r, ptrdiff_t n, F f) {
  if (Widens(x, r, n)) {
    for (ptrdiff_t i = n - 1; i >= 0; --i) r[i] = f(x[i]);
  } else {
    Map(x, r, n, f);
  }
}

}  // namespace

QUOREL_KERNEL void Conj(const TCplx* x, TCplx* r, ptrdiff_t n) {
  detail::MapParts(x, r, n, [](double re) { return re; }, [](double im) { return -im; });
}
QUOREL_KERNEL void Flip(const TCplx* x, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [](TCplx z) { return TCplx{z.Im, z.Re}; });
}
QUOREL_KERNEL_PAIRS void FlipConj(const TCplx* x, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [](TCplx z) { return TCplx{z.Im, -z.Re}; });
}
QUOREL_KERNEL_PAIRS void MulI(const TCplx* x, TCplx* r, ptrdiff_t n) {
  Map(x, r, n, [](TCplx z) { return TCplx{-z.Im, z.Re}; });
}

QUOREL_KERNEL void Mag(const TCplx* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](TCplx z) { return std::sqrt(CNorm(z)); });
}
QUOREL_KERNEL void PowerSpectrum(const TCplx* x, double* r, ptrdiff_t n) {
  Map(x, r, n, CNorm);
}
QUOREL_KERNEL void RealPart(const TCplx* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](TCplx z) { return z.Re; });
}
QUOREL_KERNEL void ImagPart(const TCplx* x, double* r, ptrdiff_t n) {
  Map(x, r, n, [](TCplx z) { return z.Im; });
}
QUOREL_KERNEL void CplxToReal(const TCplx* x, double* re, double* im, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) {
    const TCplx z = x[i];
    re[i] = z.Re;
    im[i] = z.Im;
  }
}
QUOREL_KERNEL_PAIRS void RealToCplx(const double* re, const double* im, TCplx* r, ptrdiff_t n) {
  Map(re, im, r, n, [](double a, double b) { return TCplx{a, b}; });
}

QUOREL_KERNEL void SampleUp2(const double* x, TCplx* r, ptrdiff_t n) {
  Widen(x, r, n, [](double a) { return TCplx{a, 0.0}; });
}
QUOREL_KERNEL void Duplicate(const double* x, TCplx* r, ptrdiff_t n) {
  Widen(x, r, n, [](double a) { return TCplx{a, a}; });
}

}  // namespace quorel::kern
