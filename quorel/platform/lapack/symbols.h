#pragma once
// The Fortran entry points of BLAS and LAPACK that the library calls, each declared once. OpenBLAS
// exports them with the gfortran convention: lower-case name with a trailing underscore, every
// argument by address, and one hidden length per character argument appended at the end. Only
// the choosers in lapack.h call these; they pass the hidden lengths.

#include <cstddef>

#include "quorel/core/types.h"

namespace quorel::detail::lapack {

using FInt = int;             // the Fortran INTEGER of the LP64 OpenBLAS build
using FLen = std::size_t;     // a hidden character-argument length
using Z = TCplx;              // COMPLEX*16, layout-compatible

}  // namespace quorel::detail::lapack

extern "C" {
using quorel::detail::lapack::FInt;
using quorel::detail::lapack::FLen;
using quorel::detail::lapack::Z;

// --- BLAS level 1 -------------------------------------------------------------------------------
double ddot_(const FInt*, const double*, const FInt*, const double*, const FInt*);

// --- BLAS level 3 -------------------------------------------------------------------------------
void dgemm_(const char*, const char*, const FInt*, const FInt*, const FInt*, const double*, const double*,
            const FInt*, const double*, const FInt*, const double*, double*, const FInt*, FLen, FLen);
void zgemm_(const char*, const char*, const FInt*, const FInt*, const FInt*, const Z*, const Z*, const FInt*,
            const Z*, const FInt*, const Z*, Z*, const FInt*, FLen, FLen);
void dsymm_(const char*, const char*, const FInt*, const FInt*, const double*, const double*, const FInt*,
            const double*, const FInt*, const double*, double*, const FInt*, FLen, FLen);
void zsymm_(const char*, const char*, const FInt*, const FInt*, const Z*, const Z*, const FInt*, const Z*,
            const FInt*, const Z*, Z*, const FInt*, FLen, FLen);
void zhemm_(const char*, const char*, const FInt*, const FInt*, const Z*, const Z*, const FInt*, const Z*,
            const FInt*, const Z*, Z*, const FInt*, FLen, FLen);
void dtrmm_(const char*, const char*, const char*, const char*, const FInt*, const FInt*, const double*,
            const double*, const FInt*, double*, const FInt*, FLen, FLen, FLen, FLen);
void ztrmm_(const char*, const char*, const char*, const char*, const FInt*, const FInt*, const Z*, const Z*,
            const FInt*, Z*, const FInt*, FLen, FLen, FLen, FLen);
void dtrsm_(const char*, const char*, const char*, const char*, const FInt*, const FInt*, const double*,
            const double*, const FInt*, double*, const FInt*, FLen, FLen, FLen, FLen);
void ztrsm_(const char*, const char*, const char*, const char*, const FInt*, const FInt*, const Z*, const Z*,
            const FInt*, Z*, const FInt*, FLen, FLen, FLen, FLen);

// --- general LU --------------------------------------------------------------------------------------
void dgetrf_(const FInt*, const FInt*, double*, const FInt*, FInt*, FInt*);
void zgetrf_(const FInt*, const FInt*, Z*, const FInt*, FInt*, FInt*);
void dgetrs_(const char*, const FInt*, const FInt*, const double*, const FInt*, const FInt*, double*, const FInt*,
             FInt*, FLen);
void zgetrs_(const char*, const FInt*, const FInt*, const Z*, const FInt*, const FInt*, Z*, const FInt*, FInt*,
             FLen);
void dgecon_(const char*, const FInt*, const double*, const FInt*, const double*, double*, double*, FInt*, FInt*,
             FLen);
void zgecon_(const char*, const FInt*, const Z*, const FInt*, const double*, double*, Z*, double*, FInt*, FLen);
void dgerfs_(const char*, const FInt*, const FInt*, const double*, const FInt*, const double*, const FInt*,
             const FInt*, const double*, const FInt*, double*, const FInt*, double*, double*, double*, FInt*,
             FInt*, FLen);
void zgerfs_(const char*, const FInt*, const FInt*, const Z*, const FInt*, const Z*, const FInt*, const FInt*,
             const Z*, const FInt*, Z*, const FInt*, double*, double*, Z*, double*, FInt*, FLen);
void dgetri_(const FInt*, double*, const FInt*, const FInt*, double*, const FInt*, FInt*);
void zgetri_(const FInt*, Z*, const FInt*, const FInt*, Z*, const FInt*, FInt*);

// --- Cholesky ------------------------------------------------------------------------------------------
void dpotrf_(const char*, const FInt*, double*, const FInt*, FInt*, FLen);
void zpotrf_(const char*, const FInt*, Z*, const FInt*, FInt*, FLen);
void dpotrs_(const char*, const FInt*, const FInt*, const double*, const FInt*, double*, const FInt*, FInt*, FLen);
void zpotrs_(const char*, const FInt*, const FInt*, const Z*, const FInt*, Z*, const FInt*, FInt*, FLen);
void dpocon_(const char*, const FInt*, const double*, const FInt*, const double*, double*, double*, FInt*, FInt*,
             FLen);
void zpocon_(const char*, const FInt*, const Z*, const FInt*, const double*, double*, Z*, double*, FInt*, FLen);
void dporfs_(const char*, const FInt*, const FInt*, const double*, const FInt*, const double*, const FInt*,
             const double*, const FInt*, double*, const FInt*, double*, double*, double*, FInt*, FInt*, FLen);
void zporfs_(const char*, const FInt*, const FInt*, const Z*, const FInt*, const Z*, const FInt*, const Z*,
             const FInt*, Z*, const FInt*, double*, double*, Z*, double*, FInt*, FLen);
void dpotri_(const char*, const FInt*, double*, const FInt*, FInt*, FLen);
void zpotri_(const char*, const FInt*, Z*, const FInt*, FInt*, FLen);

// --- symmetric and Hermitian indefinite (Bunch-Kaufman) ------------------------------------------------
void dsytrf_(const char*, const FInt*, double*, const FInt*, FInt*, double*, const FInt*, FInt*, FLen);
void zsytrf_(const char*, const FInt*, Z*, const FInt*, FInt*, Z*, const FInt*, FInt*, FLen);
void zhetrf_(const char*, const FInt*, Z*, const FInt*, FInt*, Z*, const FInt*, FInt*, FLen);
void dsytrs_(const char*, const FInt*, const FInt*, const double*, const FInt*, const FInt*, double*, const FInt*,
             FInt*, FLen);
void zsytrs_(const char*, const FInt*, const FInt*, const Z*, const FInt*, const FInt*, Z*, const FInt*, FInt*,
             FLen);
void zhetrs_(const char*, const FInt*, const FInt*, const Z*, const FInt*, const FInt*, Z*, const FInt*, FInt*,
             FLen);
void dsycon_(const char*, const FInt*, const double*, const FInt*, const FInt*, const double*, double*, double*,
             FInt*, FInt*, FLen);
void zsycon_(const char*, const FInt*, const Z*, const FInt*, const FInt*, const double*, double*, Z*, FInt*, FLen);
void zhecon_(const char*, const FInt*, const Z*, const FInt*, const FInt*, const double*, double*, Z*, FInt*, FLen);
void dsyrfs_(const char*, const FInt*, const FInt*, const double*, const FInt*, const double*, const FInt*,
             const FInt*, const double*, const FInt*, double*, const FInt*, double*, double*, double*, FInt*,
             FInt*, FLen);
void zsyrfs_(const char*, const FInt*, const FInt*, const Z*, const FInt*, const Z*, const FInt*, const FInt*,
             const Z*, const FInt*, Z*, const FInt*, double*, double*, Z*, double*, FInt*, FLen);
void zherfs_(const char*, const FInt*, const FInt*, const Z*, const FInt*, const Z*, const FInt*, const FInt*,
             const Z*, const FInt*, Z*, const FInt*, double*, double*, Z*, double*, FInt*, FLen);
void dsytri_(const char*, const FInt*, double*, const FInt*, const FInt*, double*, FInt*, FLen);
void zsytri_(const char*, const FInt*, Z*, const FInt*, const FInt*, Z*, FInt*, FLen);
void zhetri_(const char*, const FInt*, Z*, const FInt*, const FInt*, Z*, FInt*, FLen);

// --- triangular ------------------------------------------------------------------------------------------
void dtrtrs_(const char*, const char*, const char*, const FInt*, const FInt*, const double*, const FInt*, double*,
             const FInt*, FInt*, FLen, FLen, FLen);
void ztrtrs_(const char*, const char*, const char*, const FInt*, const FInt*, const Z*, const FInt*, Z*, const FInt*,
             FInt*, FLen, FLen, FLen);
void dtrcon_(const char*, const char*, const char*, const FInt*, const double*, const FInt*, double*, double*, FInt*,
             FInt*, FLen, FLen, FLen);
void ztrcon_(const char*, const char*, const char*, const FInt*, const Z*, const FInt*, double*, Z*, double*, FInt*,
             FLen, FLen, FLen);
void dtrrfs_(const char*, const char*, const char*, const FInt*, const FInt*, const double*, const FInt*,
             const double*, const FInt*, const double*, const FInt*, double*, double*, double*, FInt*, FInt*, FLen,
             FLen, FLen);
void ztrrfs_(const char*, const char*, const char*, const FInt*, const FInt*, const Z*, const FInt*, const Z*,
             const FInt*, const Z*, const FInt*, double*, double*, Z*, double*, FInt*, FLen, FLen, FLen);
void dtrtri_(const char*, const char*, const FInt*, double*, const FInt*, FInt*, FLen, FLen);
void ztrtri_(const char*, const char*, const FInt*, Z*, const FInt*, FInt*, FLen, FLen);

// --- banded ------------------------------------------------------------------------------------------------
void dpbtrf_(const char*, const FInt*, const FInt*, double*, const FInt*, FInt*, FLen);
void zpbtrf_(const char*, const FInt*, const FInt*, Z*, const FInt*, FInt*, FLen);
void dpbtrs_(const char*, const FInt*, const FInt*, const FInt*, const double*, const FInt*, double*, const FInt*,
             FInt*, FLen);
void zpbtrs_(const char*, const FInt*, const FInt*, const FInt*, const Z*, const FInt*, Z*, const FInt*, FInt*, FLen);
void dpbcon_(const char*, const FInt*, const FInt*, const double*, const FInt*, const double*, double*, double*,
             FInt*, FInt*, FLen);
void zpbcon_(const char*, const FInt*, const FInt*, const Z*, const FInt*, const double*, double*, Z*, double*,
             FInt*, FLen);
void dpbrfs_(const char*, const FInt*, const FInt*, const FInt*, const double*, const FInt*, const double*,
             const FInt*, const double*, const FInt*, double*, const FInt*, double*, double*, double*, FInt*, FInt*,
             FLen);
void zpbrfs_(const char*, const FInt*, const FInt*, const FInt*, const Z*, const FInt*, const Z*, const FInt*,
             const Z*, const FInt*, Z*, const FInt*, double*, double*, Z*, double*, FInt*, FLen);
void dgbtrf_(const FInt*, const FInt*, const FInt*, const FInt*, double*, const FInt*, FInt*, FInt*);
void zgbtrf_(const FInt*, const FInt*, const FInt*, const FInt*, Z*, const FInt*, FInt*, FInt*);
void dgbtrs_(const char*, const FInt*, const FInt*, const FInt*, const FInt*, const double*, const FInt*,
             const FInt*, double*, const FInt*, FInt*, FLen);
void zgbtrs_(const char*, const FInt*, const FInt*, const FInt*, const FInt*, const Z*, const FInt*, const FInt*, Z*,
             const FInt*, FInt*, FLen);
void dgbcon_(const char*, const FInt*, const FInt*, const FInt*, const double*, const FInt*, const FInt*,
             const double*, double*, double*, FInt*, FInt*, FLen);
void zgbcon_(const char*, const FInt*, const FInt*, const FInt*, const Z*, const FInt*, const FInt*, const double*,
             double*, Z*, double*, FInt*, FLen);
void dgbrfs_(const char*, const FInt*, const FInt*, const FInt*, const FInt*, const double*, const FInt*,
             const double*, const FInt*, const FInt*, const double*, const FInt*, double*, const FInt*, double*,
             double*, double*, FInt*, FInt*, FLen);
void zgbrfs_(const char*, const FInt*, const FInt*, const FInt*, const FInt*, const Z*, const FInt*, const Z*,
             const FInt*, const FInt*, const Z*, const FInt*, Z*, const FInt*, double*, double*, Z*, double*, FInt*,
             FLen);

// --- eigenvalues -------------------------------------------------------------------------------------------
void dsytrd_(const char*, const FInt*, double*, const FInt*, double*, double*, double*, double*, const FInt*, FInt*,
             FLen);
void zhetrd_(const char*, const FInt*, Z*, const FInt*, double*, double*, Z*, Z*, const FInt*, FInt*, FLen);
void dorgtr_(const char*, const FInt*, double*, const FInt*, const double*, double*, const FInt*, FInt*, FLen);
void zungtr_(const char*, const FInt*, Z*, const FInt*, const Z*, Z*, const FInt*, FInt*, FLen);
void dpteqr_(const char*, const FInt*, double*, double*, double*, const FInt*, double*, FInt*, FLen);
void zpteqr_(const char*, const FInt*, double*, double*, Z*, const FInt*, double*, FInt*, FLen);
void dsterf_(const FInt*, double*, double*, FInt*);
void dsteqr_(const char*, const FInt*, double*, double*, double*, const FInt*, double*, FInt*, FLen);
void zsteqr_(const char*, const FInt*, double*, double*, Z*, const FInt*, double*, FInt*, FLen);
void dgebal_(const char*, const FInt*, double*, const FInt*, FInt*, FInt*, double*, FInt*, FLen);
void zgebal_(const char*, const FInt*, Z*, const FInt*, FInt*, FInt*, double*, FInt*, FLen);
void dgehrd_(const FInt*, const FInt*, const FInt*, double*, const FInt*, double*, double*, const FInt*, FInt*);
void zgehrd_(const FInt*, const FInt*, const FInt*, Z*, const FInt*, Z*, Z*, const FInt*, FInt*);
void dorghr_(const FInt*, const FInt*, const FInt*, double*, const FInt*, const double*, double*, const FInt*, FInt*);
void zunghr_(const FInt*, const FInt*, const FInt*, Z*, const FInt*, const Z*, Z*, const FInt*, FInt*);
void dhseqr_(const char*, const char*, const FInt*, const FInt*, const FInt*, double*, const FInt*, double*, double*,
             double*, const FInt*, double*, const FInt*, FInt*, FLen, FLen);
void zhseqr_(const char*, const char*, const FInt*, const FInt*, const FInt*, Z*, const FInt*, Z*, Z*, const FInt*,
             Z*, const FInt*, FInt*, FLen, FLen);
void dgebak_(const char*, const char*, const FInt*, const FInt*, const FInt*, const double*, const FInt*, double*,
             const FInt*, FInt*, FLen, FLen);
void zgebak_(const char*, const char*, const FInt*, const FInt*, const FInt*, const double*, const FInt*, Z*,
             const FInt*, FInt*, FLen, FLen);
void dgeev_(const char*, const char*, const FInt*, double*, const FInt*, double*, double*, double*, const FInt*,
            double*, const FInt*, double*, const FInt*, FInt*, FLen, FLen);
void zgeev_(const char*, const char*, const FInt*, Z*, const FInt*, Z*, Z*, const FInt*, Z*, const FInt*, Z*,
            const FInt*, double*, FInt*, FLen, FLen);
void dsygst_(const FInt*, const char*, const FInt*, double*, const FInt*, const double*, const FInt*, FInt*, FLen);
void zhegst_(const FInt*, const char*, const FInt*, Z*, const FInt*, const Z*, const FInt*, FInt*, FLen);

// --- singular values, least squares, orthogonal factorisations ----------------------------------------------
void dgebrd_(const FInt*, const FInt*, double*, const FInt*, double*, double*, double*, double*, double*,
             const FInt*, FInt*);
void zgebrd_(const FInt*, const FInt*, Z*, const FInt*, double*, double*, Z*, Z*, Z*, const FInt*, FInt*);
void dbdsqr_(const char*, const FInt*, const FInt*, const FInt*, const FInt*, double*, double*, double*, const FInt*,
             double*, const FInt*, double*, const FInt*, double*, FInt*, FLen);
void zbdsqr_(const char*, const FInt*, const FInt*, const FInt*, const FInt*, double*, double*, Z*, const FInt*, Z*,
             const FInt*, Z*, const FInt*, double*, FInt*, FLen);
void dgesdd_(const char*, const FInt*, const FInt*, double*, const FInt*, double*, double*, const FInt*, double*,
             const FInt*, double*, const FInt*, FInt*, FInt*, FLen);
void zgesdd_(const char*, const FInt*, const FInt*, Z*, const FInt*, double*, Z*, const FInt*, Z*, const FInt*, Z*,
             const FInt*, double*, FInt*, FInt*, FLen);
void dgelsd_(const FInt*, const FInt*, const FInt*, double*, const FInt*, double*, const FInt*, double*,
             const double*, FInt*, double*, const FInt*, FInt*, FInt*);
void zgelsd_(const FInt*, const FInt*, const FInt*, Z*, const FInt*, Z*, const FInt*, double*, const double*, FInt*,
             Z*, const FInt*, double*, FInt*, FInt*);
void dgeqrf_(const FInt*, const FInt*, double*, const FInt*, double*, double*, const FInt*, FInt*);
void zgeqrf_(const FInt*, const FInt*, Z*, const FInt*, Z*, Z*, const FInt*, FInt*);
void dgelqf_(const FInt*, const FInt*, double*, const FInt*, double*, double*, const FInt*, FInt*);
void zgelqf_(const FInt*, const FInt*, Z*, const FInt*, Z*, Z*, const FInt*, FInt*);
void dorgqr_(const FInt*, const FInt*, const FInt*, double*, const FInt*, const double*, double*, const FInt*, FInt*);
void zungqr_(const FInt*, const FInt*, const FInt*, Z*, const FInt*, const Z*, Z*, const FInt*, FInt*);
void dorglq_(const FInt*, const FInt*, const FInt*, double*, const FInt*, const double*, double*, const FInt*, FInt*);
void zunglq_(const FInt*, const FInt*, const FInt*, Z*, const FInt*, const Z*, Z*, const FInt*, FInt*);
void dgels_(const char*, const FInt*, const FInt*, const FInt*, double*, const FInt*, double*, const FInt*, double*,
            const FInt*, FInt*, FLen);
void zgels_(const char*, const FInt*, const FInt*, const FInt*, Z*, const FInt*, Z*, const FInt*, Z*, const FInt*,
            FInt*, FLen);

// --- simple drivers (used by the benchmarks as the raw calls the library's methods stand for) ------------
void dgesv_(const FInt*, const FInt*, double*, const FInt*, FInt*, double*, const FInt*, FInt*);
void zgesv_(const FInt*, const FInt*, Z*, const FInt*, FInt*, Z*, const FInt*, FInt*);
void dsyev_(const char*, const char*, const FInt*, double*, const FInt*, double*, double*, const FInt*, FInt*, FLen,
            FLen);
void dgesvd_(const char*, const char*, const FInt*, const FInt*, double*, const FInt*, double*, double*, const FInt*,
             double*, const FInt*, double*, const FInt*, FInt*, FLen, FLen);

// --- Sylvester equation ----------------------------------------------------------------------------------------
void dtrsyl_(const char*, const char*, const FInt*, const FInt*, const FInt*, const double*, const FInt*,
             const double*, const FInt*, double*, const FInt*, double*, FInt*, FLen, FLen);
void ztrsyl_(const char*, const char*, const FInt*, const FInt*, const FInt*, const Z*, const FInt*, const Z*,
             const FInt*, Z*, const FInt*, double*, FInt*, FLen, FLen);
}
