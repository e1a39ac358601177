// Linear solves: one worker for every matrix type, with condition estimate and refinement.
#include <cmath>
#include <cstring>
#include <algorithm>

#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fpu_scope.h"

namespace quorel {

using namespace detail;
using lapack::TLapackWork;

namespace {

template <class T>
double Abs(const T& x) {
  if constexpr (lapack::kComplex<T>) return std::hypot(x.Re, x.Im); else return std::fabs(x);
}

// 1- or infinity norm of the n x n matrix held in the banded layout: rows `first` .. first +
// count - 1 of `band`, band row r of column j holding A(j + r - ku, j). A half band of a
// symmetric matrix (`mirrored`) counts each off-diagonal element for both of its places.
template <class T>
double BandNorm(const TMtx& band, std::int32_t first, std::int32_t count, std::int32_t ku, bool inf, bool mirrored,
                TLapackWork& work) {
  const std::int32_t n = band.Cols();
  double* sums = work.Take<double>(n);
  std::fill_n(sums, n, 0.0);
  for (std::int32_t r = 0; r < count; ++r)
    for (std::int32_t j = 0; j < n; ++j) {
      const std::int32_t i = j + r - ku;
      if (i < 0 || i >= n) continue;
      const double a = Abs(Ptr<T>(band)[std::int64_t{first + r} * band.LeadingCols() + j]);
      if (mirrored) {
        sums[j] += a;
        if (i != j) sums[i] += a;
      } else {
        sums[inf ? i : j] += a;
      }
    }
  return n > 0 ? *std::max_element(sums, sums + n) : 0.0;
}

// 1-norm (which is also the infinity norm) of the symmetric or Hermitian matrix held in the
// lower or upper triangle of `m`; like a mirrored half band, each off-diagonal element counts
// for both of its places, and the other triangle is never read.
template <class T>
double TriangleNorm(const TMtx& m, bool lower, TLapackWork& work) {
  const std::int32_t n = m.Cols();
  double* sums = work.Take<double>(n);
  std::fill_n(sums, n, 0.0);
  for (std::int32_t i = 0; i < n; ++i) {
    const T* row = Ptr<T>(m) + std::int64_t{i} * m.LeadingCols();
    for (std::int32_t j = lower ? 0 : i; j < (lower ? i + 1 : n); ++j) {
      const double a = Abs(row[j]);
      sums[j] += a;
      if (i != j) sums[i] += a;
    }
  }
  return n > 0 ? *std::max_element(sums, sums + n) : 0.0;
}

// Rows first .. first + count - 1 of the banded matrix `band` transposed into the column-major
// ld x n array dst from row `offset` on; the rest of dst is zero.
template <class T>
void BandCopy(const TMtx& band, std::int32_t first, std::int32_t count, T* dst, std::int32_t ld, std::int32_t offset) {
  const std::int32_t n = band.Cols();
  std::fill_n(dst, std::int64_t{ld} * n, T{});
  for (std::int32_t j = 0; j < n; ++j)
    for (std::int32_t r = 0; r < count; ++r)
      dst[std::int64_t{j} * ld + offset + r] = Ptr<T>(band)[std::int64_t{first + r} * band.LeadingCols() + j];
}

// dst := conj(src), n elements (dst may be src).
template <class T>
void Conjugate(const T* src, T* dst, std::int64_t n) {
  for (std::int64_t i = 0; i < n; ++i) {
    dst[i] = src[i];
    if constexpr (lapack::kComplex<T>) dst[i].Im = -dst[i].Im;
  }
}

}  // namespace

template <class T>
void TMtx::LUSolveT(const T* b, T* x, std::int32_t nrhs, TMtxType mtxType, TMtxOperation operation) {
  using namespace lapack;
  FpuScope fpu;
  fLapackMessage.clear();
  fLapackInfo = 0;
  if (AutoMtxType()) mtxType = DetectMtxType(false);
  const bool cplx = kComplex<T>;
  if (cplx && mtxType == mtSymmPosDef) ERaise("Eig: Complex symmetric positive definite matrix type not supported. Use general!");
  if (cplx && mtxType == mtBandSymmPosDef)
    ERaise("Eig: Complex band symmetric positive definite matrix type not supported. Use general!");
  if (!cplx && mtxType == mtHermitian) ERaise("Hermitian solve: not complex!");
  if (mtxType > mtBandGeneral) ERaise("MtxType not supported");
  const bool band = mtxType >= mtBandSymmPosDef;
  if (band) Require(SubDiag() + SuperDiag() + 1 == Rows(), "SubDiag+SuperDiag+1 <> Rows");

  const FInt n = band ? Cols() : Rows();
  const char uplo = UploChar(TriangleForm());
  const char trans = TransChar(operation);
  const char diag = TriangleUnit() ? 'U' : 'N';
  const FInt kl = SubDiag(), ku = SuperDiag();
  const FInt kd = TriangleForm() == tfLower ? kl : ku;
  const bool bandPosDef = mtxType == mtBandSymmPosDef || mtxType == mtBandHermPosDef;
  const bool posDef = mtxType == mtSymmPosDef || mtxType == mtHermPosDef;
  const bool hermitian = cplx && mtxType == mtHermitian;
  // The routines of these types know no `trans`. A^T of a Hermitian matrix and A^H of a complex
  // symmetric one are conj(A): the factor of A solves A conj(X) = conj(B), and X is conjugated back.
  const bool hermitianKind = IsHermitianType(mtxType) || mtxType == mtBandHermPosDef;
  const bool viaConj =
      cplx && ((operation == opHerm && mtxType == mtSymmetric) || (operation == opTran && hermitianKind));

  // The LAPACK copy (factored in place) and, for refinement, an unfactored one.
  TLapackWork work;
  FInt ld = n, ldOrig = n;
  if (mtxType == mtBandGeneral) {
    ld = 2 * kl + ku + 1;  // kl extra rows for the fill-in of the factorisation
    ldOrig = kl + ku + 1;
  } else if (bandPosDef) {
    ld = ldOrig = kd + 1;
  }
  T* af = band ? work.Take<T>(std::int64_t{ld} * n) : ColMajorCopy<T>(work, *this);
  T* orig = RefineSolution() ? work.Take<T>(std::int64_t{ldOrig} * n) : nullptr;
  if (mtxType == mtBandGeneral) {
    BandCopy<T>(*this, 0, kl + ku + 1, af, ld, kl);
    if (orig) BandCopy<T>(*this, 0, kl + ku + 1, orig, ldOrig, 0);
  } else if (bandPosDef) {
    BandCopy<T>(*this, TriangleForm() == tfLower ? ku : 0, kd + 1, af, ld, 0);
  }
  if (orig && mtxType != mtBandGeneral) std::memcpy(orig, af, sizeof(T) * std::size_t(ld) * n);
  FInt* ipiv = work.TakeInt(n);
  if (viaConj) {
    T* bc = work.Take<T>(std::int64_t{n} * nrhs);
    Conjugate(b, bc, std::int64_t{n} * nrhs);
    b = bc;
  }

  // Factor.
  FInt info = 0;
  TFactorKind kind = TFactorKind::LU;
  if (posDef) {
    info = potrf<T>(uplo, n, af, ld);
    kind = TFactorKind::Cholesky;
  } else if (mtxType == mtSymmetric || mtxType == mtHermitian) {
    info = sytrf<T>(hermitian, uplo, n, af, ld, ipiv);
    kind = TFactorKind::BunchKaufman;
  } else if (mtxType == mtGeneral) {
    info = getrf<T>(n, n, af, ld, ipiv);
  } else if (bandPosDef) {
    info = pbtrf<T>(uplo, n, kd, af, ld);
    kind = TFactorKind::Cholesky;
  } else if (mtxType == mtBandGeneral) {
    info = gbtrf<T>(n, n, kl, ku, af, ld, ipiv);
  }
  fLapackInfo = info;
  if (info != 0) fLapackMessage = FactorMessage(kind, info);

  // Solve, in x.
  if (fLapackInfo == 0) {
    std::copy_n(b, std::int64_t{n} * nrhs, x);  // b is null for an empty vector, which memcpy may not take
    const char* msg = nullptr;
    if (posDef) {
      info = potrs<T>(uplo, n, nrhs, af, ld, x, n), msg = "Cholesky: Erorr at solve: ";
    } else if (bandPosDef) {
      info = pbtrs<T>(uplo, n, kd, nrhs, af, ld, x, n), msg = "Cholesky: Erorr at solve: ";
    } else if (kind == TFactorKind::BunchKaufman) {
      info = sytrs<T>(hermitian, uplo, n, nrhs, af, ld, ipiv, x, n), msg = "Bunch-Kauffman: Erorr at solve: ";
    } else if (mtxType == mtTriangle) {
      info = trtrs<T>(uplo, trans, diag, n, nrhs, af, ld, x, n), msg = "Triangle: Erorr at solve:";
    } else {
      const char* luMsg = cplx ? "LU: Erorr at solve:" : "LU solve: Erorr at solve: ";
      if (mtxType == mtBandGeneral) info = gbtrs<T>(trans, n, kl, ku, nrhs, af, ld, ipiv, x, n), msg = luMsg;
      else info = getrs<T>(trans, n, nrhs, af, ld, ipiv, x, n), msg = luMsg;
    }
    fLapackInfo = info;
    if (info != 0) fLapackMessage = WithInfo(msg, info);
  }

  // Refine with the unfactored copy.
  if (fLapackInfo == 0 && RefineSolution()) {
    double* fe = work.Take<double>(nrhs);
    double* be = work.Take<double>(nrhs);
    const T* a = orig;
    const char* msg = "LU: Erorr at refine solution: ";
    if (posDef) {
      info = porfs<T>(uplo, n, nrhs, a, ldOrig, af, ld, b, n, x, n, fe, be);
    } else if (bandPosDef) {
      info = pbrfs<T>(uplo, n, kd, nrhs, a, ldOrig, af, ld, b, n, x, n, fe, be);
    } else if (kind == TFactorKind::BunchKaufman) {
      info = syrfs<T>(hermitian, uplo, n, nrhs, a, ldOrig, af, ld, ipiv, b, n, x, n, fe, be);
      msg = "Bunch-Kauffman: Erorr at refine solution: ";
    } else if (mtxType == mtTriangle) {
      info = trrfs<T>(uplo, trans, diag, n, nrhs, a, ldOrig, b, n, x, n, fe, be);
      msg = "Triangle: Erorr at refine solution: ";
    } else if (mtxType == mtBandGeneral) {
      info = gbrfs<T>(trans, n, kl, ku, nrhs, a, ldOrig, af, ld, ipiv, b, n, x, n, fe, be);
    } else {
      info = gerfs<T>(trans, n, nrhs, a, ldOrig, af, ld, ipiv, b, n, x, n, fe, be);
    }
    fLapackInfo = info;
    if (info != 0) fLapackMessage = WithInfo(msg, info);
  }

  // Condition estimate from the factor.
  if (fLapackInfo == 0 && ConditionNumber() != cnNone) {
    const bool inf = ConditionNumber() == cnNormInf;
    const char norm = inf ? 'I' : '1';
    double anorm;
    if (mtxType == mtBandGeneral) anorm = BandNorm<T>(*this, 0, kl + ku + 1, ku, inf, false, work);
    else if (bandPosDef) anorm = BandNorm<T>(*this, TriangleForm() == tfLower ? ku : 0, kd + 1, TriangleForm() == tfLower ? 0 : ku, inf, true, work);
    else if (kind != TFactorKind::LU) anorm = TriangleNorm<T>(*this, TriangleForm() == tfLower, work);
    else anorm = inf ? NormInf() : Norm1();
    const char* msg = "LU: Erorr at condition number estimate: ";
    if (posDef) {
      info = pocon<T>(uplo, n, af, ld, anorm, fRCond);
    } else if (bandPosDef) {
      info = pbcon<T>(uplo, n, kd, af, ld, anorm, fRCond), msg = "Band general: Erorr at condition number estimate: ";
    } else if (kind == TFactorKind::BunchKaufman) {
      info = sycon<T>(hermitian, uplo, n, af, ld, ipiv, anorm, fRCond);
      msg = "Bunch-Kauffman: Erorr at condition number estimate: ";
    } else if (mtxType == mtTriangle) {
      info = trcon<T>(norm, uplo, diag, n, af, ld, fRCond), msg = "Triangle: Erorr at condition number estimate: ";
    } else if (mtxType == mtBandGeneral) {
      info = gbcon<T>(norm, n, kl, ku, af, ld, ipiv, anorm, fRCond);
      msg = "Band general: Erorr at condition number estimate: ";
    } else {
      info = gecon<T>(norm, n, af, ld, anorm, fRCond);
    }
    fLapackInfo = info;
    if (info != 0) fLapackMessage = WithInfo(msg, info);
  }

  if (fLapackInfo != 0) ERaise("LUSolve: " + fLapackMessage);
  if (viaConj) Conjugate(x, x, std::int64_t{n} * nrhs);
}

TMtx& TMtx::LUSolve(const TMtx& b, TMtx& x, TMtxType mtxType, TMtxOperation operation) {
  Require(&b != this, "B = Self");
  Require(&x != this, "X = Self");
  RequireSameComplex(b, *this, "B.Complex <> Complex");
  const bool band = mtxType >= mtBandSymmPosDef && !AutoMtxType();
  Require(band || Quadratic(), "Quadratic = False");
  Require(b.Rows() == (band ? Cols() : Rows()), "B.Rows <> Rows");
  OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    SolveColumns<T>(b, x, b.Rows(), [&](const T* bt, T* xt, std::int32_t nrhs) { LUSolveT<T>(bt, xt, nrhs, mtxType, operation); });
  });
  return *this;
}

TMtx& TMtx::LUSolve(const TVec& b, TVec& x, TMtxType mtxType, TMtxOperation operation) {
  RequireSameComplex(b, *this, "B.Complex <> Complex");
  const bool band = mtxType >= mtBandSymmPosDef && !AutoMtxType();
  Require(band || Quadratic(), "Quadratic = False");
  Require(b.Length() == (band ? Cols() : Rows()), "B.Length <> Rows");
  OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    SolveColumns<T>(b, x, b.Length(), [&](const T* bt, T* xt, std::int32_t) { LUSolveT<T>(bt, xt, 1, mtxType, operation); });
  });
  return *this;
}

TMtx& TMtx::LU(const TMtx& mtx, TVec& p, TMtxType mtxType) {
  Require(mtx.Quadratic(), "Quadratic = False");
  if (!mtx.Complex() && mtxType == mtHermitian) ERaise("LU: Hermitian and not complex!");
  const bool posDef = IsPosDefType(mtxType), symmetric = mtxType == mtSymmetric || mtxType == mtHermitian;
  if (!posDef && !symmetric && mtxType != mtGeneral) ERaise("MtxType not supported");
  const FInt n = mtx.Rows();
  p.RequireSizable(n, false);  // before Self is overwritten
  TLapackWork work;
  FInt* ipiv = work.TakeInt(n);
  FpuScope fpu;
  OnKind(mtx.Complex(), [&](auto t) {
    using T = decltype(t);
    T* a = ColMajorCopy<T>(work, mtx);
    const char uplo = UploChar(mtx.TriangleForm());
    FInt info;
    TFactorKind kind = TFactorKind::LU;
    if (posDef) {
      info = lapack::potrf<T>(uplo, n, a, n), kind = TFactorKind::Cholesky;
      for (FInt i = 0; i < n; ++i) ipiv[i] = i + 1;
    } else if (symmetric) {
      info = lapack::sytrf<T>(mtxType == mtHermitian, uplo, n, a, n, ipiv), kind = TFactorKind::BunchKaufman;
    } else {
      info = lapack::getrf<T>(n, n, a, n, ipiv);
    }
    fLapackInfo = info;
    if (info != 0) ERaise(FactorMessage(kind, info, false));
    FromColMajor<T>(*this, a, n, n, n);
  });
  p.Size(n, false);
  for (FInt i = 0; i < n; ++i) *p.PValues(i) = ipiv[i];
  return *this;
}

TMtx& TMtx::Cholesky() {
  Require(Quadratic(), "not Quadratic");
  const FInt n = Rows();
  TLapackWork work;
  FpuScope fpu;
  OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    T* a = ColMajorCopy<T>(work, *this);
    const FInt info = lapack::potrf<T>(UploChar(TriangleForm()), n, a, n);
    fLapackInfo = info;
    if (info != 0) ERaise(FactorMessage(TFactorKind::Cholesky, info));
    FromColMajor<T>(*this, a, n, n, n);
  });
  ZeroOtherTriangle(*this, TriangleForm());
  return *this;
}

}  // namespace quorel
