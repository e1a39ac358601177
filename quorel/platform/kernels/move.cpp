#include "quorel/platform/kernels/move.h"

#include <cstring>
#include <utility>

#include "quorel/platform/kernels/loops.h"

namespace quorel::kern {

using std::ptrdiff_t;

namespace {

template <class T>
void CopyItems(const T* x, T* r, ptrdiff_t n) {
  if (n > 0 && x != r) std::memcpy(r, x, static_cast<std::size_t>(n) * sizeof(T));
}
template <class T>
void MoveItems(const T* x, T* r, ptrdiff_t n) {
  if (n > 0 && x != r) std::memmove(r, x, static_cast<std::size_t>(n) * sizeof(T));
}

template <class T>
QUOREL_KERNEL_INLINE void ReverseItems(const T* x, T* r, ptrdiff_t n) {
  if (x == r) {
    for (ptrdiff_t i = 0, j = n - 1; i < j; ++i, --j) std::swap(r[i], r[j]);
  } else {
    for (ptrdiff_t i = 0; i < n; ++i) r[i] = x[n - 1 - i];
  }
}

}  // namespace

void Copy(const double* x, double* r, ptrdiff_t n) { CopyItems(x, r, n); }
void Copy(const TCplx* x, TCplx* r, ptrdiff_t n) { CopyItems(x, r, n); }
void Move(const double* x, double* r, ptrdiff_t n) { MoveItems(x, r, n); }
void Move(const TCplx* x, TCplx* r, ptrdiff_t n) { MoveItems(x, r, n); }

QUOREL_KERNEL void Fill(double v, double* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = v;
}
QUOREL_KERNEL void Fill(TCplx v, TCplx* r, ptrdiff_t n) {
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = v;
}

QUOREL_KERNEL void Reverse(const double* x, double* r, ptrdiff_t n) { ReverseItems(x, r, n); }
QUOREL_KERNEL void Reverse(const TCplx* x, TCplx* r, ptrdiff_t n) { ReverseItems(x, r, n); }

void CumSum(const double* x, double* r, ptrdiff_t n) {
  double s = 0.0;
  for (ptrdiff_t i = 0; i < n; ++i) r[i] = s = s + x[i];
}
void CumSum(const TCplx* x, TCplx* r, ptrdiff_t n) {
  TCplx s{0.0, 0.0};
  for (ptrdiff_t i = 0; i < n; ++i) {
    s = TCplx{s.Re + x[i].Re, s.Im + x[i].Im};
    r[i] = s;
  }
}

}  // namespace quorel::kern
