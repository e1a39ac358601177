#pragma once
// Choosers of the eigenvalue, singular value, least-squares, orthogonal-factor and Sylvester
// routine families (see lapack.h for the conventions). Real outputs of complex routines (the
// tridiagonal d and e, singular values) are double for both kinds.

#include "quorel/platform/lapack/lapack.h"

namespace quorel::detail::lapack {

template <Element T>
void trsm(char side, char uplo, char ta, char diag, FInt m, FInt n, T alpha, const T* a, Ld lda, T* b, Ld ldb) {
  if constexpr (kComplex<T>) ztrsm_(&side, &uplo, &ta, &diag, &m, &n, &alpha, a, &lda.v, b, &ldb.v, 1, 1, 1, 1);
  else dtrsm_(&side, &uplo, &ta, &diag, &m, &n, &alpha, a, &lda.v, b, &ldb.v, 1, 1, 1, 1);
}

/// Tridiagonal reduction of a symmetric (Hermitian) matrix: d (n), e (n - 1), tau (n - 1).
template <Element T>
FInt sytrd(char uplo, FInt n, T* a, Ld lda, double* d, double* e, T* tau) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) zhetrd_(&uplo, &n, a, &lda.v, d, e, tau, work, &lwork, &info, 1);
    else dsytrd_(&uplo, &n, a, &lda.v, d, e, tau, work, &lwork, &info, 1);
    return info;
  });
}
/// The orthogonal (unitary) matrix of sytrd.
template <Element T>
FInt orgtr(char uplo, FInt n, T* a, Ld lda, const T* tau) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) zungtr_(&uplo, &n, a, &lda.v, tau, work, &lwork, &info, 1);
    else dorgtr_(&uplo, &n, a, &lda.v, tau, work, &lwork, &info, 1);
    return info;
  });
}
/// Eigenvalues (and with compz 'V'/'I' vectors) of a positive definite tridiagonal matrix.
template <Element T>
FInt pteqr(char compz, FInt n, double* d, double* e, T* z, Ld ldz) {
  FInt info = 0;
  TLapackWork w;
  double* work = w.Take<double>(4 * std::int64_t{n});
  if constexpr (kComplex<T>) zpteqr_(&compz, &n, d, e, z, &ldz.v, work, &info, 1);
  else dpteqr_(&compz, &n, d, e, z, &ldz.v, work, &info, 1);
  return info;
}
inline FInt sterf(FInt n, double* d, double* e) {
  FInt info = 0;
  dsterf_(&n, d, e, &info);
  return info;
}
template <Element T>
FInt steqr(char compz, FInt n, double* d, double* e, T* z, Ld ldz) {
  FInt info = 0;
  TLapackWork w;
  double* work = w.Take<double>(2 * std::int64_t{n});
  if constexpr (kComplex<T>) zsteqr_(&compz, &n, d, e, z, &ldz.v, work, &info, 1);
  else dsteqr_(&compz, &n, d, e, z, &ldz.v, work, &info, 1);
  return info;
}
template <Element T>
FInt gebal(char job, FInt n, T* a, Ld lda, FInt& ilo, FInt& ihi, double* scale) {
  FInt info = 0;
  if constexpr (kComplex<T>) zgebal_(&job, &n, a, &lda.v, &ilo, &ihi, scale, &info, 1);
  else dgebal_(&job, &n, a, &lda.v, &ilo, &ihi, scale, &info, 1);
  return info;
}
template <Element T>
FInt gehrd(FInt n, FInt ilo, FInt ihi, T* a, Ld lda, T* tau) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) zgehrd_(&n, &ilo, &ihi, a, &lda.v, tau, work, &lwork, &info);
    else dgehrd_(&n, &ilo, &ihi, a, &lda.v, tau, work, &lwork, &info);
    return info;
  });
}
template <Element T>
FInt orghr(FInt n, FInt ilo, FInt ihi, T* a, Ld lda, const T* tau) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) zunghr_(&n, &ilo, &ihi, a, &lda.v, tau, work, &lwork, &info);
    else dorghr_(&n, &ilo, &ihi, a, &lda.v, tau, work, &lwork, &info);
    return info;
  });
}
/// Eigenvalues of a Hessenberg matrix into w (n complex values).
template <Element T>
FInt hseqr(char job, char compz, FInt n, FInt ilo, FInt ihi, T* h, Ld ldh, TCplx* w, T* z, Ld ldz) {
  if constexpr (kComplex<T>) {
    return Queried<T>([&](T* work, FInt lwork) {
      FInt info = 0;
      zhseqr_(&job, &compz, &n, &ilo, &ihi, h, &ldh.v, w, z, &ldz.v, work, &lwork, &info, 1, 1);
      return info;
    });
  } else {
    TLapackWork parts;
    double* wr = parts.Take<double>(2 * std::int64_t{n});
    double* wi = wr + n;
    const FInt info = Queried<T>([&](T* work, FInt lwork) {
      FInt i = 0;
      dhseqr_(&job, &compz, &n, &ilo, &ihi, h, &ldh.v, wr, wi, z, &ldz.v, work, &lwork, &i, 1, 1);
      return i;
    });
    for (FInt k = 0; k < n; ++k) w[k] = {wr[k], wi[k]};
    return info;
  }
}
template <Element T>
FInt gebak(char job, char side, FInt n, FInt ilo, FInt ihi, const double* scale, FInt m, T* v, Ld ldv) {
  FInt info = 0;
  if constexpr (kComplex<T>) zgebak_(&job, &side, &n, &ilo, &ihi, scale, &m, v, &ldv.v, &info, 1, 1);
  else dgebak_(&job, &side, &n, &ilo, &ihi, scale, &m, v, &ldv.v, &info, 1, 1);
  return info;
}
/// Eigenvalues into w; left/right vectors when vl/vr are given. The real routine's vectors of a
/// complex pair come as real and imaginary parts in two consecutive columns.
template <Element T>
FInt geev(FInt n, T* a, Ld lda, TCplx* w, T* vl, Ld ldvl, T* vr, Ld ldvr) {
  const char jl = vl ? 'V' : 'N', jr = vr ? 'V' : 'N';
  T dummy{};
  if (!vl) vl = &dummy;
  if (!vr) vr = &dummy;
  if constexpr (kComplex<T>) {
    TLapackWork rw;
    double* rwork = rw.Take<double>(2 * std::int64_t{n});
    return Queried<T>([&](T* work, FInt lwork) {
      FInt info = 0;
      zgeev_(&jl, &jr, &n, a, &lda.v, w, vl, &ldvl.v, vr, &ldvr.v, work, &lwork, rwork, &info, 1, 1);
      return info;
    });
  } else {
    TLapackWork parts;
    double* wr = parts.Take<double>(2 * std::int64_t{n});
    double* wi = wr + n;
    const FInt info = Queried<T>([&](T* work, FInt lwork) {
      FInt i = 0;
      dgeev_(&jl, &jr, &n, a, &lda.v, wr, wi, vl, &ldvl.v, vr, &ldvr.v, work, &lwork, &i, 1, 1);
      return i;
    });
    for (FInt k = 0; k < n; ++k) w[k] = {wr[k], wi[k]};
    return info;
  }
}
template <Element T>
FInt sygst(FInt itype, char uplo, FInt n, T* a, Ld lda, const T* b, Ld ldb) {
  FInt info = 0;
  if constexpr (kComplex<T>) zhegst_(&itype, &uplo, &n, a, &lda.v, b, &ldb.v, &info, 1);
  else dsygst_(&itype, &uplo, &n, a, &lda.v, b, &ldb.v, &info, 1);
  return info;
}

/// Bidiagonal reduction: d (min(m, n)), e (min - 1), tauq, taup (min).
template <Element T>
FInt gebrd(FInt m, FInt n, T* a, Ld lda, double* d, double* e, T* tauq, T* taup) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) zgebrd_(&m, &n, a, &lda.v, d, e, tauq, taup, work, &lwork, &info);
    else dgebrd_(&m, &n, a, &lda.v, d, e, tauq, taup, work, &lwork, &info);
    return info;
  });
}
/// Singular values of a bidiagonal matrix (no vectors).
template <Element T>
FInt bdsqr(char uplo, FInt n, double* d, double* e) {
  FInt info = 0, zero = 0, one = 1;
  T dummy{};
  TLapackWork w;
  double* work = w.Take<double>(4 * std::int64_t{n});
  if constexpr (kComplex<T>)
    zbdsqr_(&uplo, &n, &zero, &zero, &zero, d, e, &dummy, &one, &dummy, &one, &dummy, &one, work, &info, 1);
  else dbdsqr_(&uplo, &n, &zero, &zero, &zero, d, e, &dummy, &one, &dummy, &one, &dummy, &one, work, &info, 1);
  return info;
}
/// Divide-and-conquer SVD; jobz 'N', 'S' or 'A'.
template <Element T>
FInt gesdd(char jobz, FInt m, FInt n, T* a, Ld lda, double* s, T* u, Ld ldu, T* vt, Ld ldvt) {
  const std::int64_t mn = std::min(m, n), mx = std::max(m, n);
  TLapackWork w;
  FInt* iwork = w.TakeInt(8 * mn);
  if constexpr (kComplex<T>) {
    const std::int64_t lr = jobz == 'N' ? 7 * mn : mn * std::max(5 * mn + 7, 2 * mx + 2 * mn + 1);
    double* rwork = w.Take<double>(lr);
    return Queried<T>([&](T* work, FInt lwork) {
      FInt info = 0;
      zgesdd_(&jobz, &m, &n, a, &lda.v, s, u, &ldu.v, vt, &ldvt.v, work, &lwork, rwork, iwork, &info, 1);
      return info;
    });
  } else {
    return Queried<T>([&](T* work, FInt lwork) {
      FInt info = 0;
      dgesdd_(&jobz, &m, &n, a, &lda.v, s, u, &ldu.v, vt, &ldvt.v, work, &lwork, iwork, &info, 1);
      return info;
    });
  }
}
/// Minimum-norm least squares by SVD; rank receives the effective rank.
template <Element T>
FInt gelsd(FInt m, FInt n, FInt nrhs, T* a, Ld lda, T* b, Ld ldb, double* s, double rcond, FInt& rank) {
  // The query reports the integer and real work sizes in iwork[0] and rwork[0].
  FInt iq = 1, info = 0, query = -1;
  T wq{};
  double rq = 1;
  if constexpr (kComplex<T>)
    zgelsd_(&m, &n, &nrhs, a, &lda.v, b, &ldb.v, s, &rcond, &rank, &wq, &query, &rq, &iq, &info);
  else dgelsd_(&m, &n, &nrhs, a, &lda.v, b, &ldb.v, s, &rcond, &rank, &wq, &query, &iq, &info);
  if (info != 0) return info;
  TLapackWork w;
  FInt* iwork = w.TakeInt(std::max<FInt>(iq, 1));
  double* rwork = w.Take<double>(static_cast<std::int64_t>(rq));
  return Queried<T>([&](T* work, FInt lwork) {
    FInt i = 0;
    if constexpr (kComplex<T>)
      zgelsd_(&m, &n, &nrhs, a, &lda.v, b, &ldb.v, s, &rcond, &rank, work, &lwork, rwork, iwork, &i);
    else dgelsd_(&m, &n, &nrhs, a, &lda.v, b, &ldb.v, s, &rcond, &rank, work, &lwork, iwork, &i);
    return i;
  });
}
/// QR (lq = false) or LQ factorisation.
template <Element T>
FInt geqrf(bool lq, FInt m, FInt n, T* a, Ld lda, T* tau) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) (lq ? zgelqf_ : zgeqrf_)(&m, &n, a, &lda.v, tau, work, &lwork, &info);
    else (lq ? dgelqf_ : dgeqrf_)(&m, &n, a, &lda.v, tau, work, &lwork, &info);
    return info;
  });
}
/// The explicit m x n orthogonal factor of geqrf (lq = false) or gelqf from k reflectors.
template <Element T>
FInt orgqr(bool lq, FInt m, FInt n, FInt k, T* a, Ld lda, const T* tau) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) (lq ? zunglq_ : zungqr_)(&m, &n, &k, a, &lda.v, tau, work, &lwork, &info);
    else (lq ? dorglq_ : dorgqr_)(&m, &n, &k, a, &lda.v, tau, work, &lwork, &info);
    return info;
  });
}
template <Element T>
FInt gels(char trans, FInt m, FInt n, FInt nrhs, T* a, Ld lda, T* b, Ld ldb) {
  return Queried<T>([&](T* work, FInt lwork) {
    FInt info = 0;
    if constexpr (kComplex<T>) zgels_(&trans, &m, &n, &nrhs, a, &lda.v, b, &ldb.v, work, &lwork, &info, 1);
    else dgels_(&trans, &m, &n, &nrhs, a, &lda.v, b, &ldb.v, work, &lwork, &info, 1);
    return info;
  });
}
template <Element T>
FInt trsyl(char trana, char tranb, FInt isgn, FInt m, FInt n, const T* a, Ld lda, const T* b, Ld ldb, T* c,
           Ld ldc, double& scale) {
  FInt info = 0;
  if constexpr (kComplex<T>) ztrsyl_(&trana, &tranb, &isgn, &m, &n, a, &lda.v, b, &ldb.v, c, &ldc.v, &scale, &info, 1,
                                     1);
  else dtrsyl_(&trana, &tranb, &isgn, &m, &n, a, &lda.v, b, &ldb.v, c, &ldc.v, &scale, &info, 1, 1);
  return info;
}

}  // namespace quorel::detail::lapack
