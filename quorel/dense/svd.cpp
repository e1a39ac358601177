// Singular values, singular vectors and minimum-norm least squares.
#include <algorithm>

#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fpu_scope.h"
#include "quorel/platform/lapack/lapack_eig.h"

namespace quorel {

using namespace detail;

namespace {
constexpr const char* kSvdFailed = "Bidiagonal form error: ";
}

TMtx& TMtx::SVD(TVec& s) {
  const FInt m = Rows(), n = Cols(), k = std::min(m, n);
  // The row-major storage read column-major is the transpose, which has the same singular values:
  // a plain copy will do.
  TWorkMtx a;
  TWorkVec ev, qv, pv;
  a->Copy(*this);
  FpuScope fpu;
  s.Size(k, false);
  if (k == 0) return *this;
  OnKind(Complex(), [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    double* e = Scratch<double>(*ev, k);
    T* tauq = Scratch<T>(*qv, k);
    T* taup = Scratch<T>(*pv, k);
    RaiseInfo(gebrd<T>(n, m, Ptr<T>(*a), a->LeadingCols(), s.PValues(0), e, tauq, taup), kSvdFailed, true);
    RaiseInfo(bdsqr<T>(n >= m ? 'U' : 'L', k, s.PValues(0), e), kSvdFailed, true);
  });
  return *this;
}

TMtx& TMtx::SVD(TMtx* u, TVec& s, TMtx* v, bool minSize) {
  Require(u != this, "U = Self");
  Require(v != this, "V = Self");
  const FInt m = Rows(), n = Cols(), k = std::min(m, n);
  const char jobz = !u ? 'N' : minSize ? 'S' : 'A';
  const FInt uCols = jobz == 'A' ? m : k, vRows = jobz == 'A' ? n : k;
  TWorkMtx a, uc, vc;
  TWorkVec sv;
  a->Transp(*this);
  FpuScope fpu;
  OnKind(Complex(), [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    double* ps = Scratch<double>(*sv, k);
    if (k == 0) return;
    T dummy{};
    T *pu = &dummy, *pv = &dummy;
    if (u) {
      uc->Size(uCols, m, kComplex<T>);  // column-major m x uCols
      vc->Size(n, vRows, kComplex<T>);  // column-major vRows x n
      pu = Ptr<T>(*uc);
      pv = Ptr<T>(*vc);
    }
    RaiseInfo(gesdd<T>(jobz, m, n, Ptr<T>(*a), m, ps, pu, u ? m : 1, pv, u ? vRows : 1), kSvdFailed, true);
  });
  s.Size(k, false);
  for (FInt i = 0; i < k; ++i) *s.PValues(i) = *sv->PValues(i);
  if (u) {
    u->Transp(*uc);
    if (v) v->Transp(*vc);
  }
  return *this;
}

template <class T>
std::int32_t TMtx::SVDSolveInt(const T* b, T* x, std::int32_t nrhs, TVec& s, double threshold) {
  const FInt m = Rows(), n = Cols(), ldb = std::max({m, n, 1});
  TWorkMtx a, bw;
  TWorkVec sv;
  a->Transp(*this);
  bw->Size(nrhs, ldb, Complex());
  bw->SetZero();
  T* pb = Ptr<T>(*bw);
  for (FInt j = 0; j < nrhs; ++j) std::copy(b + std::int64_t{j} * m, b + std::int64_t{j + 1} * m, pb + std::int64_t{j} * ldb);
  FInt rank = 0;
  double* ps = lapack::Scratch<double>(*sv, std::min(m, n));
  {
    FpuScope fpu;
    RaiseInfo(lapack::gelsd<T>(m, n, nrhs, Ptr<T>(*a), std::max(m, 1), pb, ldb, ps, threshold, rank), kSvdFailed, true);
  }
  for (FInt j = 0; j < nrhs; ++j) std::copy(pb + std::int64_t{j} * ldb, pb + std::int64_t{j} * ldb + n, x + std::int64_t{j} * n);
  s.Size(std::min(m, n), false);
  for (FInt i = 0; i < s.Length(); ++i) *s.PValues(i) = ps[i];
  return rank;
}

std::int32_t TMtx::SVDSolve(const TVec& b, TVec& x, TVec& s, double threshold) {
  Require(b.Length() == Rows(), "B.Lenght <> Rows");
  RequireSameComplex(b, *this, "B.Complex <> Complex");
  TWorkVec xt;
  xt->Size(Cols(), Complex());
  const std::int32_t rank = OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    return SVDSolveInt<T>(Ptr<T>(b), Ptr<T>(*xt), 1, s, threshold);
  });
  x.Copy(*xt);
  return rank;
}

std::int32_t TMtx::SVDSolve(const TMtx& b, TMtx& x, TVec& s, double threshold) {
  Require(&b != this && &x != this, "(B = Self) or (X = Self)");
  Require(b.Rows() == Rows(), "B.Rows <> Rows");
  RequireSameComplex(b, *this, "B.Complex <> Complex");
  TWorkMtx bt, xt;
  bt->Transp(b);
  xt->Size(b.Cols(), Cols(), Complex());
  const std::int32_t rank = OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    return SVDSolveInt<T>(Ptr<T>(*bt), Ptr<T>(*xt), b.Cols(), s, threshold);
  });
  x.Transp(*xt);
  return rank;
}

}  // namespace quorel
