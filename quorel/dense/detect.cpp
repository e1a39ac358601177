// Detection of the matrix type.
#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/platform/fpu_scope.h"

namespace quorel {

using namespace detail;

namespace {
// True when every double at k = i * cols + j with j > i (above) or j < i (below) is zero. For a
// complex matrix this reads the interleaved storage as reals with the complex column count, so
// only its first half is looked at and real and imaginary parts mix: the established behaviour.
bool TriangleZero(const double* d, std::int32_t n, std::int64_t cols, bool above) {
  for (std::int32_t i = 0; i < n; ++i) {
    const std::int32_t j0 = above ? i + 1 : 0, j1 = above ? n : i;
    for (std::int32_t j = j0; j < j1; ++j)
      if (d[i * cols + j] != 0) return false;
  }
  return true;
}
}  // namespace

TMtxType TMtx::DetectMtxType(bool doPosDefCheck) {
  if (!Quadratic()) return mtGeneral;
  const std::int32_t n = Rows();
  const std::int64_t cols = Complex() ? Cols() : LeadingCols();
  SetTriangleForm(tfLower);
  if (TriangleZero(PValues1D(0), n, cols, true)) return mtTriangle;
  SetTriangleForm(tfUpper);
  if (TriangleZero(PValues1D(0), n, cols, false)) return mtTriangle;

  bool symmetric = true, hermitian = Complex();
  OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    const std::int64_t ld = LeadingCols();
    const T* a = Ptr<T>(*this);
    for (std::int32_t i = 0; i < n && (symmetric || hermitian); ++i)
      for (std::int32_t j = i + 1; j < n; ++j) {
        const T x = a[i * ld + j], y = a[j * ld + i];
        if constexpr (lapack::kComplex<T>) {
          symmetric = symmetric && x.Re == y.Re && x.Im == y.Im;
          hermitian = hermitian && x.Re == y.Re && x.Im == -y.Im;
        } else {
          symmetric = symmetric && x == y;
        }
      }
  });

  bool posDef = false;
  if (doPosDefCheck && (symmetric || hermitian)) {
    // The packed rows are the transpose (the conjugate), definite exactly when the matrix is.
    lapack::TLapackWork work;
    FpuScope fpu;
    OnKind(Complex(), [&](auto t) {
      using T = decltype(t);
      posDef = lapack::potrf<T>('U', n, PackedCopy<T>(work, *this), n) == 0;
    });
    fLapackInfo = 0;
  }

  TMtxType result = mtGeneral;
  if (symmetric) result = mtSymmetric;
  if (hermitian) result = mtHermitian;
  if (symmetric && posDef) result = mtSymmPosDef;
  if (hermitian && posDef) result = mtHermPosDef;
  return result;
}

}  // namespace quorel
