// Inverse and determinant.
#include <cmath>

#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fpu_scope.h"

namespace quorel {

using namespace detail;

TMtx& TMtx::Inv(TMtxType mtxType) {
  Require(Quadratic(), "Quadratic = False");
  if (AutoMtxType()) mtxType = DetectMtxType(false);
  const bool cplx = Complex();
  const FInt n = Rows();
  // Inverted in a column-major copy, so a failed factorisation leaves Self as it was.
  lapack::TLapackWork work;
  FInt* ipiv = work.TakeInt(n);
  const char uplo = UploChar(TriangleForm());
  FpuScope fpu;
  OnKind(cplx, [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    T* a = ColMajorCopy<T>(work, *this);
    FInt info = 0;
    auto fail = [&](std::string text) {
      fLapackInfo = info;
      ERaise(text);
    };
    if (IsPosDefType(mtxType)) {  // complex and declared symmetric: read as Hermitian, as potrf does
      if ((info = potrf<T>(uplo, n, a, n)) != 0) fail(FactorMessage(TFactorKind::Cholesky, info));
      if ((info = potri<T>(uplo, n, a, n)) != 0)
        fail(WithInfo(cplx ? "Cholesky: Erorr at inverse: " : "Erorr at inverse: ", info));
    } else if (mtxType == mtSymmetric || (!cplx && mtxType == mtHermitian)) {
      if ((info = sytrf<T>(false, uplo, n, a, n, ipiv)) != 0) fail(FactorMessage(TFactorKind::BunchKaufman, info));
      if ((info = sytri<T>(false, uplo, n, a, n, ipiv)) != 0)
        fail(WithInfo(cplx ? "Bunch-Kauffman: Erorr at inverse: " : "Bunch-Kauffman: Erorr at inverse:", info));
    } else if (mtxType == mtHermitian) {
      // The inverse routine must match the factorisation's pivoting: the general inverse cannot
      // read the Hermitian factor (its 2 x 2 pivots are negative indices).
      if ((info = sytrf<T>(true, uplo, n, a, n, ipiv)) != 0) fail(FactorMessage(TFactorKind::Factorization, info));
      if ((info = sytri<T>(true, uplo, n, a, n, ipiv)) != 0) fail(WithInfo("Factorization: Erorr at inverse: ", info));
    } else if (mtxType == mtTriangle) {
      if ((info = trtri<T>(uplo, TriangleUnit() ? 'U' : 'N', n, a, n)) != 0)
        fail(WithInfo("Triangle: Erorr at inverse:", info));
    } else if (mtxType == mtGeneral) {
      if ((info = getrf<T>(n, n, a, n, ipiv)) != 0)
        fail(FactorMessage(cplx ? TFactorKind::Factorization : TFactorKind::LU, info));
      if ((info = getri<T>(n, a, n, ipiv)) != 0)
        fail(WithInfo(cplx ? "Factorization: Erorr at inverse: " : "LU factorization: Erorr at inverse: ", info));
    } else {
      ERaise("MtxType not supported");
    }
    fLapackInfo = 0;
    FromColMajor<T>(*this, a, n, n, n);
    if (mtxType == mtTriangle) {
      // The routine writes only its triangle (and not a unit diagonal): the rest is the input's.
      ZeroOtherTriangle(*this, TriangleForm());
      if (TriangleUnit())
        for (FInt i = 0; i < n; ++i) Ptr<T>(*this)[std::int64_t{i} * LeadingCols() + i] = T{1};
    }
  });
  if (IsPosDefType(mtxType) || IsSymmetricType(mtxType) || IsHermitianType(mtxType))
    MirrorTriangle(*this, TriangleForm(), cplx && (IsHermitianType(mtxType) || IsPosDefType(mtxType)));
  return *this;
}

namespace {
// Running product m * 10^e with 1 <= |m| < 10, so long products neither overflow nor underflow.
struct TScaledProduct {
  TCplx m{1, 0};
  int e = 0;
  bool Mul(const TCplx& x) {
    // Real factors multiply alone: the cross terms would turn an infinite pivot into NaN (0 * inf).
    if (m.Im == 0 && x.Im == 0) m = {m.Re * x.Re, 0};
    else m = {m.Re * x.Re - m.Im * x.Im, m.Re * x.Im + m.Im * x.Re};
    double a = std::hypot(m.Re, m.Im);
    if (a == 0) return false;
    if (!std::isfinite(a)) {  // an infinite or NaN factor: the value stays what it is
      e = 0;
      return true;
    }
    while (a < 1) m = {m.Re * 10, m.Im * 10}, a *= 10, --e;
    while (a >= 10) m = {m.Re / 10, m.Im / 10}, a /= 10, ++e;
    return true;
  }
  TCplx Value() const {
    const double s = std::pow(10.0, e);
    return {m.Re * s, m.Im * s};
  }
};

// The n x n column-major a made whole from its triangle `tf` (conjugated, with a real diagonal,
// when `hermitian`), as the symmetric factorisations would read it.
template <class T>
void MirrorColMajor(T* a, std::int32_t n, TTriangleForm tf, bool hermitian) {
  for (std::int32_t j = 0; j < n; ++j) {
    for (std::int32_t i = j + 1; i < n; ++i) {  // (i, j) below the diagonal, (j, i) above
      const T& src = tf == tfLower ? a[std::int64_t{j} * n + i] : a[std::int64_t{i} * n + j];
      T& dst = tf == tfLower ? a[std::int64_t{i} * n + j] : a[std::int64_t{j} * n + i];
      dst = src;
      if constexpr (lapack::kComplex<T>)
        if (hermitian) dst.Im = -dst.Im;
    }
    if constexpr (lapack::kComplex<T>)
      if (hermitian) a[std::int64_t{j} * n + j].Im = 0;
  }
}
}  // namespace

void TMtx::Determinant(TCplx& result, TMtxType mtxType) {
  Require(Quadratic(), "Quadratic = False");
  // The types LU factors (and the triangle, whose diagonal is the factor).
  if (!Complex() && mtxType == mtHermitian) ERaise("LU: Hermitian and not complex!");
  if (mtxType > mtGeneral) ERaise("MtxType not supported");
  const std::int32_t n = Rows();
  lapack::TLapackWork work;
  // The product of the factor's diagonal is the determinant up to sign for the triangular kinds
  // and LU; a Cholesky factor's diagonal counts twice. A complex matrix declared symmetric
  // positive definite is read as Hermitian, as potrf does in LU. Symmetric indefinite factors
  // have 2 x 2 blocks, so those matrices go through LU of the matrix their triangle describes.
  // A zero pivot is not an error here: it makes the determinant 0.
  const bool cholesky = IsPosDefType(mtxType);
  const bool mirror = mtxType == mtSymmetric || mtxType == mtHermitian;
  FInt* ipiv = work.TakeInt(n);
  for (std::int32_t i = 0; i < n; ++i) ipiv[i] = i + 1;
  // The diagonal of the factor as complex values.
  TCplx* diag = work.Take<TCplx>(n);
  OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    T* a = ColMajorCopy<T>(work, *this);
    if (mtxType != mtTriangle) {
      FpuScope fpu;
      if (cholesky) {
        const FInt info = lapack::potrf<T>(UploChar(TriangleForm()), n, a, n);
        fLapackInfo = info;
        if (info != 0) ERaise(FactorMessage(TFactorKind::Cholesky, info));
      } else {
        if (mirror) MirrorColMajor(a, n, TriangleForm(), mtxType == mtHermitian);
        fLapackInfo = lapack::getrf<T>(n, n, a, n, ipiv);
      }
    }
    for (std::int32_t i = 0; i < n; ++i) {
      if constexpr (lapack::kComplex<T>) diag[i] = a[std::int64_t{i} * n + i];
      else diag[i] = {a[std::int64_t{i} * n + i], 0};
    }
  });
  TScaledProduct p;
  for (std::int32_t i = 0; i < n; ++i) {
    TCplx d = diag[i];
    if (mtxType == mtTriangle && TriangleUnit()) d = {1, 0};
    if (ipiv[i] != i + 1) p.m = {-p.m.Re, -p.m.Im};
    if (!p.Mul(d) || (cholesky && !p.Mul({d.Re, -d.Im}))) {
      result = {0, 0};
      return;
    }
  }
  result = p.Value();
}

double TMtx::Determinant(TMtxType mtxType) {
  RequireReal(*this);
  TCplx r;
  Determinant(r, mtxType);
  return r.Re;
}

}  // namespace quorel
