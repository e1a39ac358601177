#pragma once
// One chooser per BLAS/LAPACK routine family: `getrf<T>` calls dgetrf for T = double and zgetrf for
// T = TCplx, so real and complex paths are written once. The choosers take sizes as FInt (convert
// with ToFInt, which refuses what the Fortran integer cannot hold), pass the hidden character
// lengths, run the workspace query of the drivers that have one, borrow every work array from a
// scratch arena (work_arena.h), and return LAPACK's `info`. Nothing here checks arguments or raises on `info`:
// turning `info` into the library's messages is the caller's (see dense/detail/lapack_util.h).

#include <cstdint>
#include <type_traits>

#include "quorel/objects/detail/kind.h"
#include "quorel/platform/lapack/symbols.h"
#include "quorel/platform/lapack/work_arena.h"

namespace quorel::detail::lapack {

template <class T>
inline constexpr bool kComplex = std::is_same_v<T, TCplx>;

/// `value` as the Fortran integer; raises "LAPACK: dimension exceeds the integer range" otherwise.
FInt ToFInt(std::int64_t value);

/// A leading dimension as the choosers take it. BLAS and LAPACK refuse one below 1 even for an
/// empty operand, so an order-0 call gets 1 and returns at once instead of being rejected.
struct Ld {
  constexpr Ld(FInt ld) : v(ld < 1 ? 1 : ld) {}  // implicit: callers pass their plain sizes
  FInt v;
};

/// dst(j, i) := src(i, j) (conjugated when `conjugate`) for the rows x cols row-major src with
/// leading dimension lds into dst with leading dimension ldd: a row-major matrix to the column-major
/// layout LAPACK reads, or back.
template <Element T>
void TransposeCopy(std::int64_t rows, std::int64_t cols, const T* src, std::int64_t lds, T* dst, std::int64_t ldd,
                   bool conjugate = false);

/// Runs `call(work, lwork)` twice: first as a workspace query (lwork = -1), then with a work
/// array of the size LAPACK asked for. Returns the `info` of the failing or the second call.
template <Element T, class Call>
FInt Queried(Call&& call) {
  T size{};
  FInt info = call(&size, FInt{-1});
  if (info != 0) return info;
  double want;
  if constexpr (kComplex<T>) want = size.Re; else want = size;
  const FInt lwork = ToFInt(static_cast<std::int64_t>(want) < 1 ? 1 : static_cast<std::int64_t>(want));
  TLapackWork w;
  return call(w.Take<T>(lwork), lwork);
}

/// Scratch for the condition and refinement routines: `work` of 4n T, `aux` of 2n reals (the
/// real routines' integer work, the complex routines' real work).
template <Element T>
struct AuxWork {
  explicit AuxWork(FInt n) : work(w_.Take<T>(4 * std::int64_t{n})), aux(w_.Take<double>(2 * std::int64_t{n})) {}
  TLapackWork w_;
  T* work;
  double* aux;
  FInt* iwork() const { return reinterpret_cast<FInt*>(aux); }
};

template <Element T>
constexpr T One() { if constexpr (kComplex<T>) return TCplx{1, 0}; else return 1.0; }
template <Element T>
constexpr T Zero() { if constexpr (kComplex<T>) return TCplx{0, 0}; else return 0.0; }

// --- BLAS level 1 ---------------------------------------------------------------------------------
/// Sum of x[i] * y[i] over n contiguous values. The threaded BLAS splits a long one across cores.
inline double dot(FInt n, const double* x, const double* y) {
  const FInt one = 1;
  return ddot_(&n, x, &one, y, &one);
}

// --- BLAS level 3 ---------------------------------------------------------------------------------
template <Element T>
void gemm(char ta, char tb, FInt m, FInt n, FInt k, T alpha, const T* a, Ld lda, const T* b, Ld ldb, T beta, T* c,
          Ld ldc) {
  if constexpr (kComplex<T>) zgemm_(&ta, &tb, &m, &n, &k, &alpha, a, &lda.v, b, &ldb.v, &beta, c, &ldc.v, 1, 1);
  else dgemm_(&ta, &tb, &m, &n, &k, &alpha, a, &lda.v, b, &ldb.v, &beta, c, &ldc.v, 1, 1);
}
/// Symmetric product (complex: hermitian selects zhemm, else zsymm).
template <Element T>
void symm(bool hermitian, char side, char uplo, FInt m, FInt n, T alpha, const T* a, Ld lda, const T* b, Ld ldb,
          T beta, T* c, Ld ldc) {
  if constexpr (kComplex<T>) {
    if (hermitian) zhemm_(&side, &uplo, &m, &n, &alpha, a, &lda.v, b, &ldb.v, &beta, c, &ldc.v, 1, 1);
    else zsymm_(&side, &uplo, &m, &n, &alpha, a, &lda.v, b, &ldb.v, &beta, c, &ldc.v, 1, 1);
  } else {
    dsymm_(&side, &uplo, &m, &n, &alpha, a, &lda.v, b, &ldb.v, &beta, c, &ldc.v, 1, 1);
  }
}
template <Element T>
void trmm(char side, char uplo, char ta, char diag, FInt m, FInt n, T alpha, const T* a, Ld lda, T* b, Ld ldb) {
  if constexpr (kComplex<T>) ztrmm_(&side, &uplo, &ta, &diag, &m, &n, &alpha, a, &lda.v, b, &ldb.v, 1, 1, 1, 1);
  else dtrmm_(&side, &uplo, &ta, &diag, &m, &n, &alpha, a, &lda.v, b, &ldb.v, 1, 1, 1, 1);
}

// --- general LU --------------------------------------------------------------------------------------
template <Element T>
FInt getrf(FInt m, FInt n, T* a, Ld lda, FInt* ipiv) {
  FInt info = 0;
  if constexpr (kComplex<T>) zgetrf_(&m, &n, a, &lda.v, ipiv, &info); else dgetrf_(&m, &n, a, &lda.v, ipiv, &info);
  return info;
}
template <Element T>
FInt getrs(char trans, FInt n, FInt nrhs, const T* a, Ld lda, const FInt* ipiv, T* b, Ld ldb) {
  FInt info = 0;
  if constexpr (kComplex<T>) zgetrs_(&trans, &n, &nrhs, a, &lda.v, ipiv, b, &ldb.v, &info, 1);
  else dgetrs_(&trans, &n, &nrhs, a, &lda.v, ipiv, b, &ldb.v, &info, 1);
  return info;
}
template <Element T>
FInt gecon(char norm, FInt n, const T* a, Ld lda, double anorm, double& rcond) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>) zgecon_(&norm, &n, a, &lda.v, &anorm, &rcond, s.work, s.aux, &info, 1);
  else dgecon_(&norm, &n, a, &lda.v, &anorm, &rcond, s.work, s.iwork(), &info, 1);
  return info;
}
template <Element T>
FInt gerfs(char trans, FInt n, FInt nrhs, const T* a, Ld lda, const T* af, Ld ldaf, const FInt* ipiv, const T* b,
           Ld ldb, T* x, Ld ldx, double* ferr, double* berr) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>)
    zgerfs_(&trans, &n, &nrhs, a, &lda.v, af, &ldaf.v, ipiv, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.aux, &info, 1);
  else
    dgerfs_(&trans, &n, &nrhs, a, &lda.v, af, &ldaf.v, ipiv, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.iwork(),
            &info, 1);
  return info;
}
template <Element T>
FInt getri(FInt n, T* a, Ld lda, const FInt* ipiv) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) zgetri_(&n, a, &lda.v, ipiv, work, &lwork, &info);
    else dgetri_(&n, a, &lda.v, ipiv, work, &lwork, &info);
    return info;
  });
}

// --- Cholesky ------------------------------------------------------------------------------------------
template <Element T>
FInt potrf(char uplo, FInt n, T* a, Ld lda) {
  FInt info = 0;
  if constexpr (kComplex<T>) zpotrf_(&uplo, &n, a, &lda.v, &info, 1); else dpotrf_(&uplo, &n, a, &lda.v, &info, 1);
  return info;
}
template <Element T>
FInt potrs(char uplo, FInt n, FInt nrhs, const T* a, Ld lda, T* b, Ld ldb) {
  FInt info = 0;
  if constexpr (kComplex<T>) zpotrs_(&uplo, &n, &nrhs, a, &lda.v, b, &ldb.v, &info, 1);
  else dpotrs_(&uplo, &n, &nrhs, a, &lda.v, b, &ldb.v, &info, 1);
  return info;
}
template <Element T>
FInt pocon(char uplo, FInt n, const T* a, Ld lda, double anorm, double& rcond) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>) zpocon_(&uplo, &n, a, &lda.v, &anorm, &rcond, s.work, s.aux, &info, 1);
  else dpocon_(&uplo, &n, a, &lda.v, &anorm, &rcond, s.work, s.iwork(), &info, 1);
  return info;
}
template <Element T>
FInt porfs(char uplo, FInt n, FInt nrhs, const T* a, Ld lda, const T* af, Ld ldaf, const T* b, Ld ldb, T* x,
           Ld ldx, double* ferr, double* berr) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>)
    zporfs_(&uplo, &n, &nrhs, a, &lda.v, af, &ldaf.v, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.aux, &info, 1);
  else dporfs_(&uplo, &n, &nrhs, a, &lda.v, af, &ldaf.v, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.iwork(), &info, 1);
  return info;
}
template <Element T>
FInt potri(char uplo, FInt n, T* a, Ld lda) {
  FInt info = 0;
  if constexpr (kComplex<T>) zpotri_(&uplo, &n, a, &lda.v, &info, 1); else dpotri_(&uplo, &n, a, &lda.v, &info, 1);
  return info;
}

// --- symmetric (complex: hermitian selects the he* routine, else sy*) --------------------------------
template <Element T>
FInt sytrf(bool hermitian, char uplo, FInt n, T* a, Ld lda, FInt* ipiv) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) {
      if (hermitian) zhetrf_(&uplo, &n, a, &lda.v, ipiv, work, &lwork, &info, 1);
      else zsytrf_(&uplo, &n, a, &lda.v, ipiv, work, &lwork, &info, 1);
    } else {
      dsytrf_(&uplo, &n, a, &lda.v, ipiv, work, &lwork, &info, 1);
    }
    return info;
  });
}
template <Element T>
FInt sytrs(bool hermitian, char uplo, FInt n, FInt nrhs, const T* a, Ld lda, const FInt* ipiv, T* b, Ld ldb) {
  FInt info = 0;
  if constexpr (kComplex<T>) {
    if (hermitian) zhetrs_(&uplo, &n, &nrhs, a, &lda.v, ipiv, b, &ldb.v, &info, 1);
    else zsytrs_(&uplo, &n, &nrhs, a, &lda.v, ipiv, b, &ldb.v, &info, 1);
  } else {
    dsytrs_(&uplo, &n, &nrhs, a, &lda.v, ipiv, b, &ldb.v, &info, 1);
  }
  return info;
}
template <Element T>
FInt sycon(bool hermitian, char uplo, FInt n, const T* a, Ld lda, const FInt* ipiv, double anorm, double& rcond) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>) {
    if (hermitian) zhecon_(&uplo, &n, a, &lda.v, ipiv, &anorm, &rcond, s.work, &info, 1);
    else zsycon_(&uplo, &n, a, &lda.v, ipiv, &anorm, &rcond, s.work, &info, 1);
  } else {
    dsycon_(&uplo, &n, a, &lda.v, ipiv, &anorm, &rcond, s.work, s.iwork(), &info, 1);
  }
  return info;
}
template <Element T>
FInt syrfs(bool hermitian, char uplo, FInt n, FInt nrhs, const T* a, Ld lda, const T* af, Ld ldaf,
           const FInt* ipiv, const T* b, Ld ldb, T* x, Ld ldx, double* ferr, double* berr) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>) {
    auto f = hermitian ? zherfs_ : zsyrfs_;
    f(&uplo, &n, &nrhs, a, &lda.v, af, &ldaf.v, ipiv, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.aux, &info, 1);
  } else {
    dsyrfs_(&uplo, &n, &nrhs, a, &lda.v, af, &ldaf.v, ipiv, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.iwork(),
            &info, 1);
  }
  return info;
}
template <Element T>
FInt sytri(bool hermitian, char uplo, FInt n, T* a, Ld lda, const FInt* ipiv) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>) {
    if (hermitian) zhetri_(&uplo, &n, a, &lda.v, ipiv, s.work, &info, 1);
    else zsytri_(&uplo, &n, a, &lda.v, ipiv, s.work, &info, 1);
  } else {
    dsytri_(&uplo, &n, a, &lda.v, ipiv, s.work, &info, 1);
  }
  return info;
}

// --- triangular ------------------------------------------------------------------------------------------
template <Element T>
FInt trtrs(char uplo, char trans, char diag, FInt n, FInt nrhs, const T* a, Ld lda, T* b, Ld ldb) {
  FInt info = 0;
  if constexpr (kComplex<T>) ztrtrs_(&uplo, &trans, &diag, &n, &nrhs, a, &lda.v, b, &ldb.v, &info, 1, 1, 1);
  else dtrtrs_(&uplo, &trans, &diag, &n, &nrhs, a, &lda.v, b, &ldb.v, &info, 1, 1, 1);
  return info;
}
template <Element T>
FInt trcon(char norm, char uplo, char diag, FInt n, const T* a, Ld lda, double& rcond) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>) ztrcon_(&norm, &uplo, &diag, &n, a, &lda.v, &rcond, s.work, s.aux, &info, 1, 1, 1);
  else dtrcon_(&norm, &uplo, &diag, &n, a, &lda.v, &rcond, s.work, s.iwork(), &info, 1, 1, 1);
  return info;
}
template <Element T>
FInt trrfs(char uplo, char trans, char diag, FInt n, FInt nrhs, const T* a, Ld lda, const T* b, Ld ldb, const T* x,
           Ld ldx, double* ferr, double* berr) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>)
    ztrrfs_(&uplo, &trans, &diag, &n, &nrhs, a, &lda.v, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.aux,
            &info, 1, 1, 1);
  else
    dtrrfs_(&uplo, &trans, &diag, &n, &nrhs, a, &lda.v, b, &ldb.v, x, &ldx.v, ferr, berr, s.work,
            s.iwork(), &info, 1, 1, 1);
  return info;
}
template <Element T>
FInt trtri(char uplo, char diag, FInt n, T* a, Ld lda) {
  FInt info = 0;
  if constexpr (kComplex<T>) ztrtri_(&uplo, &diag, &n, a, &lda.v, &info, 1, 1);
  else dtrtri_(&uplo, &diag, &n, a, &lda.v, &info, 1, 1);
  return info;
}

// --- banded ------------------------------------------------------------------------------------------------
template <Element T>
FInt pbtrf(char uplo, FInt n, FInt kd, T* ab, Ld ldab) {
  FInt info = 0;
  if constexpr (kComplex<T>) zpbtrf_(&uplo, &n, &kd, ab, &ldab.v, &info, 1);
  else dpbtrf_(&uplo, &n, &kd, ab, &ldab.v, &info, 1);
  return info;
}
template <Element T>
FInt pbtrs(char uplo, FInt n, FInt kd, FInt nrhs, const T* ab, Ld ldab, T* b, Ld ldb) {
  FInt info = 0;
  if constexpr (kComplex<T>) zpbtrs_(&uplo, &n, &kd, &nrhs, ab, &ldab.v, b, &ldb.v, &info, 1);
  else dpbtrs_(&uplo, &n, &kd, &nrhs, ab, &ldab.v, b, &ldb.v, &info, 1);
  return info;
}
template <Element T>
FInt pbcon(char uplo, FInt n, FInt kd, const T* ab, Ld ldab, double anorm, double& rcond) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>) zpbcon_(&uplo, &n, &kd, ab, &ldab.v, &anorm, &rcond, s.work, s.aux, &info, 1);
  else dpbcon_(&uplo, &n, &kd, ab, &ldab.v, &anorm, &rcond, s.work, s.iwork(), &info, 1);
  return info;
}
template <Element T>
FInt pbrfs(char uplo, FInt n, FInt kd, FInt nrhs, const T* ab, Ld ldab, const T* afb, Ld ldafb, const T* b,
           Ld ldb, T* x, Ld ldx, double* ferr, double* berr) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>)
    zpbrfs_(&uplo, &n, &kd, &nrhs, ab, &ldab.v, afb, &ldafb.v, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.aux,
            &info, 1);
  else
    dpbrfs_(&uplo, &n, &kd, &nrhs, ab, &ldab.v, afb, &ldafb.v, b, &ldb.v, x, &ldx.v, ferr, berr, s.work, s.iwork(),
            &info, 1);
  return info;
}
template <Element T>
FInt gbtrf(FInt m, FInt n, FInt kl, FInt ku, T* ab, Ld ldab, FInt* ipiv) {
  FInt info = 0;
  if constexpr (kComplex<T>) zgbtrf_(&m, &n, &kl, &ku, ab, &ldab.v, ipiv, &info);
  else dgbtrf_(&m, &n, &kl, &ku, ab, &ldab.v, ipiv, &info);
  return info;
}
template <Element T>
FInt gbtrs(char trans, FInt n, FInt kl, FInt ku, FInt nrhs, const T* ab, Ld ldab, const FInt* ipiv, T* b, Ld ldb) {
  FInt info = 0;
  if constexpr (kComplex<T>) zgbtrs_(&trans, &n, &kl, &ku, &nrhs, ab, &ldab.v, ipiv, b, &ldb.v, &info, 1);
  else dgbtrs_(&trans, &n, &kl, &ku, &nrhs, ab, &ldab.v, ipiv, b, &ldb.v, &info, 1);
  return info;
}
template <Element T>
FInt gbcon(char norm, FInt n, FInt kl, FInt ku, const T* ab, Ld ldab, const FInt* ipiv, double anorm,
           double& rcond) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>) zgbcon_(&norm, &n, &kl, &ku, ab, &ldab.v, ipiv, &anorm, &rcond, s.work, s.aux, &info, 1);
  else dgbcon_(&norm, &n, &kl, &ku, ab, &ldab.v, ipiv, &anorm, &rcond, s.work, s.iwork(), &info, 1);
  return info;
}
template <Element T>
FInt gbrfs(char trans, FInt n, FInt kl, FInt ku, FInt nrhs, const T* ab, Ld ldab, const T* afb, Ld ldafb,
           const FInt* ipiv, const T* b, Ld ldb, T* x, Ld ldx, double* ferr, double* berr) {
  FInt info = 0;
  AuxWork<T> s(n);
  if constexpr (kComplex<T>)
    zgbrfs_(&trans, &n, &kl, &ku, &nrhs, ab, &ldab.v, afb, &ldafb.v, ipiv, b, &ldb.v, x, &ldx.v, ferr, berr, s.work,
            s.aux, &info, 1);
  else
    dgbrfs_(&trans, &n, &kl, &ku, &nrhs, ab, &ldab.v, afb, &ldafb.v, ipiv, b, &ldb.v, x, &ldx.v, ferr, berr, s.work,
            s.iwork(), &info, 1);
  return info;
}

}  // namespace quorel::detail::lapack
