// The integer cast of the LAPACK choosers and the transposing copy into and out of LAPACK's layout.
#include "quorel/platform/lapack/lapack.h"

#include <cblas.h>

#include <limits>

#include "quorel/core/errors.h"

namespace quorel::detail::lapack {

FInt ToFInt(std::int64_t value) {
  if (value < std::numeric_limits<FInt>::min() || value > std::numeric_limits<FInt>::max()) [[unlikely]]
    ERaise("LAPACK: dimension exceeds the integer range");
  return static_cast<FInt>(value);
}

template <Element T>
void TransposeCopy(std::int64_t rows, std::int64_t cols, const T* src, std::int64_t lds, T* dst, std::int64_t ldd,
                   bool conjugate) {
  if (rows == 0 || cols == 0) return;
  // OpenBLAS's blocked out-of-place transpose.
  const FInt r = ToFInt(rows), c = ToFInt(cols), ls = ToFInt(lds), ld = ToFInt(ldd);
  if constexpr (kComplex<T>) {
    const double one[2] = {1, 0};
    cblas_zomatcopy(CblasRowMajor, conjugate ? CblasConjTrans : CblasTrans, r, c, one,
                    reinterpret_cast<const double*>(src), ls, reinterpret_cast<double*>(dst), ld);
  } else {
    cblas_domatcopy(CblasRowMajor, CblasTrans, r, c, 1.0, src, ls, dst, ld);
  }
}
template void TransposeCopy<double>(std::int64_t, std::int64_t, const double*, std::int64_t, double*, std::int64_t,
                                    bool);
template void TransposeCopy<TCplx>(std::int64_t, std::int64_t, const TCplx*, std::int64_t, TCplx*, std::int64_t, bool);

}  // namespace quorel::detail::lapack
