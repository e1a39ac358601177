// Eigenvalues and eigenvectors, standard and generalised.
#include <cstring>

#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fpu_scope.h"
#include "quorel/platform/lapack/lapack_eig.h"

namespace quorel {

using namespace detail;
using lapack::TLapackWork;

namespace {

constexpr const char* kEigFailed = "Failed to find eigenvalues!";

TMtxType EigType(TMtx& a, TMtxType t) {
  Require(a.Quadratic(), "Quadratic = False");
  if (a.AutoMtxType()) t = a.DetectMtxType(false);
  // A complex matrix declared symmetric positive definite is read as Hermitian, like its Cholesky
  // factor; only plain complex symmetry has no tridiagonal path.
  if (a.Complex() && t == mtSymmetric) ERaise("Eig: Complex symmetric matrix type not supported. Use general!");
  if (t > mtGeneral) ERaise("MtxType not supported");
  return t;
}

constexpr char BalanceJob(TBalanceType b) { return "NSPB"[b]; }

// Tridiagonal eigen-decomposition of the symmetric (Hermitian) column-major a: eigenvalues into
// d, and with vectors the eigenvectors into a.
template <class T>
void SymmetricEig(T* a, FInt n, char uplo, bool posDef, bool vectors, double* d) {
  using namespace lapack;
  TLapackWork work;
  double* e = work.Take<double>(n);
  T* tau = work.Take<T>(n);
  RaiseInfo(sytrd<T>(uplo, n, a, n, d, e, tau), kEigFailed);
  if (vectors) RaiseInfo(orgtr<T>(uplo, n, a, n, tau), kEigFailed);
  T dummy{};
  const char compz = vectors ? 'V' : 'N';
  T* z = vectors ? a : &dummy;
  const FInt ldz = vectors ? n : 1;
  FInt info;
  if (posDef) info = pteqr<T>(compz, n, d, e, z, ldz);
  else if (vectors) info = steqr<T>(compz, n, d, e, z, ldz);
  else info = sterf(n, d, e);
  RaiseInfo(info, kEigFailed);
}

// Complex eigenvectors from geev's column-major output: the real routine stores the vectors of a
// conjugate pair (eigenvalue k with positive imaginary part) as re, im in columns k and k + 1.
template <class T>
void EigenvectorsOut(TMtx& dst, const T* v, FInt n, const TCplx* w) {
  if constexpr (lapack::kComplex<T>) {
    FromColMajor<T>(dst, v, n, n, n);
  } else {
    dst.Size(n, n, true);
    for (FInt k = 0; k < n; ++k) {
      const bool pair = w[k].Im != 0;
      for (FInt i = 0; i < n; ++i) {
        const double re = v[std::int64_t{k} * n + i];
        if (!pair) {
          dst.CValues(i, k) = {re, 0};
        } else {
          const double im = v[std::int64_t{k + 1} * n + i];
          dst.CValues(i, k) = {re, im};
          dst.CValues(i, k + 1) = {re, -im};
        }
      }
      if (pair) ++k;
    }
  }
}

// Balancing (job from the Balance setting) and reduction to Hessenberg form of the column-major a.
template <class T>
struct THessenberg {
  THessenberg(T* a, FInt n, char job)
      : scale(work_.Take<double>(n)), tau(work_.Take<T>(n)), ihi(n) {
    RaiseInfo(lapack::gebal<T>(job, n, a, n, ilo, ihi, scale), kEigFailed);
    RaiseInfo(lapack::gehrd<T>(n, ilo, ihi, a, n, tau), kEigFailed);
  }
  TLapackWork work_;
  double* scale;
  T* tau;
  FInt ilo = 1, ihi;
};

}  // namespace

TMtx& TMtx::Eig(TVec& d, TMtxType mtxType) {
  mtxType = EigType(*this, mtxType);
  const FInt n = Rows();
  TLapackWork work;
  FpuScope fpu;
  OnKind(Complex(), [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    T* pa = ColMajorCopy<T>(work, *this);
    if (mtxType != mtGeneral && mtxType != mtTriangle) {
      d.Size(n, false);
      SymmetricEig<T>(pa, n, UploChar(TriangleForm()), IsPosDefType(mtxType), false, d.PValues(0));
      return;
    }
    THessenberg<T> h(pa, n, BalanceJob(Balance()));
    d.Size(n, true);
    T dummy{};
    RaiseInfo(hseqr<T>('E', 'N', n, h.ilo, h.ihi, pa, n, d.PCValues(0), &dummy, 1), kEigFailed);
  });
  return *this;
}

TMtx& TMtx::Eig(TMtx* vl, TVec& d, TMtx* vr, TMtxType mtxType, TVectorForm vectorForm) {
  Require(vl != this, "VL = Self");
  Require(vr != this, "VR = Self");
  mtxType = EigType(*this, mtxType);
  const bool symmetric = mtxType != mtGeneral && mtxType != mtTriangle;
  if (symmetric) Require(vr != nullptr, "V = nil");
  else if (vectorForm == vfSchur) Require(vl != nullptr, "VL = nil");
  else Require(vl || vr, "VL or VR must be <> nil!");
  const FInt n = Rows();
  // Every output is checked before the first is written.
  if (symmetric) {
    d.RequireSizable(n, false);
    vr->RequireSizable(n, n, Complex());
  } else {
    d.RequireSizable(n, true);
    const bool vectorsComplex = vectorForm == vfEig || Complex();
    if (vl) vl->RequireSizable(n, n, vectorsComplex);
    if (vr) vr->RequireSizable(n, n, vectorsComplex);
  }
  TLapackWork work;
  FpuScope fpu;
  OnKind(Complex(), [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    T* pa = ColMajorCopy<T>(work, *this);
    if (symmetric) {
      double* pd = work.Take<double>(n);
      SymmetricEig<T>(pa, n, UploChar(TriangleForm()), IsPosDefType(mtxType), true, pd);
      d.Size(n, false);
      for (FInt i = 0; i < n; ++i) *d.PValues(i) = pd[i];
      FromColMajor<T>(*vr, pa, n, n, n);
      return;
    }
    TCplx* w = work.Take<TCplx>(n);
    if (vectorForm == vfEig) {
      T* pl = vl ? work.Take<T>(std::int64_t{n} * n) : nullptr;
      T* pr = vr ? work.Take<T>(std::int64_t{n} * n) : nullptr;
      RaiseInfo(geev<T>(n, pa, n, w, pl, n, pr, n), kEigFailed);
      if (vl) EigenvectorsOut<T>(*vl, pl, n, w);
      if (vr) EigenvectorsOut<T>(*vr, pr, n, w);
    } else {
      const char job = BalanceJob(Balance());
      THessenberg<T> h(pa, n, job);
      T dummy{};
      T* z = &dummy;
      if (vr) {
        z = work.Take<T>(std::int64_t{n} * n);
        std::memcpy(z, pa, sizeof(T) * std::size_t(n) * n);
        RaiseInfo(orghr<T>(n, h.ilo, h.ihi, z, n, h.tau), kEigFailed);
      }
      RaiseInfo(hseqr<T>('S', vr ? 'V' : 'N', n, h.ilo, h.ihi, pa, n, w, z, vr ? n : 1), kEigFailed);
      if (vr) {
        RaiseInfo(gebak<T>(job, 'R', n, h.ilo, h.ihi, h.scale, n, z, n), kEigFailed);
        FromColMajor<T>(*vr, z, n, n, n);
      }
      FromColMajor<T>(*vl, pa, n, n, n);
    }
    d.Size(n, true);
    for (FInt i = 0; i < n; ++i) *d.PCValues(i) = w[i];
  });
  return *this;
}

TMtx& TMtx::EigGen(const TMtx& b, TMtx& v, TVec& d, TEigGenType eigGenType) {
  Require(Quadratic(), "not Quadratic");
  Require(&b != this, "B = Self");
  Require(&v != this, "V = Self");
  Require(b.Rows() == Rows(), "B.Rows <> Rows");
  Require(b.Cols() == Cols(), "B.Cols <> Cols");
  RequireSameComplex(b, *this, "B.Complex <> Complex");
  const FInt n = Rows();
  v.RequireSizable(n, n, Complex());
  d.RequireSizable(n, false);
  TLapackWork work;
  double* pd = work.Take<double>(n);
  FpuScope fpu;
  OnKind(Complex(), [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    T *pa = ColMajorCopy<T>(work, *this), *pb = ColMajorCopy<T>(work, b);
    const char uplo = UploChar(TriangleForm());
    const FInt info = potrf<T>(uplo, n, pb, n);
    if (info != 0) ERaise(FactorMessage(TFactorKind::Cholesky, info));
    RaiseInfo(sygst<T>(FInt{eigGenType} + 1, uplo, n, pa, n, pb, n), kEigFailed);
    SymmetricEig<T>(pa, n, uplo, false, true, pd);
    // Back to the vectors of the original problem: x = inv(U) y or inv(L^H) y for the first two
    // kinds, x = U^H y or L y for the third.
    const T one = One<T>();
    if (eigGenType != etBAz) trsm<T>('L', uplo, uplo == 'U' ? 'N' : 'C', 'N', n, n, one, pb, n, pa, n);
    else trmm<T>('L', uplo, uplo == 'U' ? 'C' : 'N', 'N', n, n, one, pb, n, pa, n);
    FromColMajor<T>(v, pa, n, n, n);
  });
  d.Size(n, false);
  for (FInt i = 0; i < n; ++i) *d.PValues(i) = pd[i];
  return *this;
}

}  // namespace quorel
