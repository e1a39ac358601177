#include "quorel/platform/kernels/axpy.h"

namespace quorel::kern {

// Plain loops the compiler vectorises; two roundings per element, no fused multiply-add, so the
// result matches the written-out expression.
void AddScaled(const double* x, double f, double* r, std::ptrdiff_t n) {
  for (std::ptrdiff_t i = 0; i < n; ++i) r[i] += f * x[i];
}

void AddScaled(const TCplx* x, TCplx f, TCplx* r, std::ptrdiff_t n) {
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    const double re = x[i].Re, im = x[i].Im;
    r[i].Re += f.Re * re - f.Im * im;
    r[i].Im += f.Re * im + f.Im * re;
  }
}

void AddScaled(const double* x, TCplx f, TCplx* r, std::ptrdiff_t n) {
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    r[i].Re += f.Re * x[i];
    r[i].Im += f.Im * x[i];
  }
}

}  // namespace quorel::kern
