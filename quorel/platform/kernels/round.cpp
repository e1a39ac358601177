#include "quorel/platform/kernels/round.h"

#include <cmath>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using detail::Map;
using std::ptrdiff_t;

namespace {

QUOREL_KERNEL_INLINE double Sgn(double b) { return b > 0.0 ? 1.0 : (b < 0.0 ? -1.0 : 0.0); }
QUOREL_KERNEL_INLINE double Sgn(TCplx b) { return Sgn(b.Re == 0.0 ? b.Im : b.Re); }
QUOREL_KERNEL_INLINE double RemOf(double x, double y) { return x - y * std::trunc(x / y); }

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
QUOREL_KERNEL void Rem(const double* x, const double* y, double* r, ptrdiff_t n) {
  Map(x, y, r, n, RemOf);
}
QUOREL_KERNEL void Rem(const double* x, double y, double* r, ptrdiff_t n) {
  Map(x, r, n, [y](double a) { return RemOf(a, y); });
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
