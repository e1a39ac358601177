// Singular values, singular vectors and minimum-norm least squares.
#include <algorithm>

#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fpu_scope.h"
#include "quorel/platform/lapack/lapack_eig.h"

namespace quorel {

using namespace detail;
using lapack::TLapackWork;

namespace {
constexpr const char* kSvdFailed = "Bidiagonal form error: ";
}

TMtx& TMtx::SVD(TVec& s) {
  const FInt m = Rows(), n = Cols(), k = std::min(m, n);
  // The row-major storage read column-major is the transpose, which has the same singular values:
  // a plain copy will do.
  TLapackWork work;
  FpuScope fpu;
  s.Size(k, false);
  if (k == 0) return *this;
  OnKind(Complex(), [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    T* a = PackedCopy<T>(work, *this);
    double* e = work.Take<double>(k);
    T* tauq = work.Take<T>(k);
    T* taup = work.Take<T>(k);
    RaiseInfo(gebrd<T>(n, m, a, n, s.PValues(0), e, tauq, taup), kSvdFailed, true);
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
  // Every output is checked before the first is written.
  s.RequireSizable(k, false);
  if (u) u->RequireSizable(k == 0 ? 0 : m, k == 0 ? 0 : uCols, Complex());
  if (u && v) v->RequireSizable(k == 0 ? 0 : vRows, k == 0 ? 0 : n, Complex());
  TLapackWork work;
  double* ps = work.Take<double>(k);
  FpuScope fpu;
  OnKind(Complex(), [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    if (k == 0) {
      if (u) u->Size(0, 0, kComplex<T>);
      if (v && u) v->Size(0, 0, kComplex<T>);
      return;
    }
    T* a = ColMajorCopy<T>(work, *this);
    T dummy{};
    T *pu = &dummy, *pv = &dummy;
    if (u) {
      pu = work.Take<T>(std::int64_t{m} * uCols);  // column-major m x uCols
      pv = work.Take<T>(std::int64_t{vRows} * n);  // column-major vRows x n
    }
    RaiseInfo(gesdd<T>(jobz, m, n, a, m, ps, pu, u ? m : 1, pv, u ? vRows : 1), kSvdFailed, true);
    if (u) {
      FromColMajor<T>(*u, pu, m, uCols, m);
      if (v) FromColMajor<T>(*v, pv, vRows, n, vRows);
    }
  });
  s.Size(k, false);
  for (FInt i = 0; i < k; ++i) *s.PValues(i) = ps[i];
  return *this;
}

template <class T>
std::int32_t TMtx::SVDSolveInt(const T* b, T* x, std::int32_t nrhs, TVec& s, double threshold) {
  const FInt m = Rows(), n = Cols(), ldb = std::max({m, n, 1});
  // No right-hand side still gives the singular values and the rank: the driver gets one zero
  // column (it refuses none).
  const FInt cols = std::max(nrhs, 1);
  TLapackWork work;
  T* a = ColMajorCopy<T>(work, *this);
  T* pb = work.Take<T>(std::int64_t{cols} * ldb);
  std::fill_n(pb, std::int64_t{cols} * ldb, T{});
  for (FInt j = 0; j < nrhs; ++j) std::copy(b + std::int64_t{j} * m, b + std::int64_t{j + 1} * m, pb + std::int64_t{j} * ldb);
  FInt rank = 0;
  double* ps = work.Take<double>(std::min(m, n));
  {
    FpuScope fpu;
    RaiseInfo(lapack::gelsd<T>(m, n, cols, a, std::max(m, 1), pb, ldb, ps, threshold, rank), kSvdFailed, true);
  }
  for (FInt j = 0; j < nrhs; ++j) std::copy(pb + std::int64_t{j} * ldb, pb + std::int64_t{j} * ldb + n, x + std::int64_t{j} * n);
  s.Size(std::min(m, n), false);
  for (FInt i = 0; i < s.Length(); ++i) *s.PValues(i) = ps[i];
  return rank;
}

std::int32_t TMtx::SVDSolve(const TVec& b, TVec& x, TVec& s, double threshold) {
  Require(b.Length() == Rows(), "B.Lenght <> Rows");
  RequireSameComplex(b, *this, "B.Complex <> Complex");
  return OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    std::int32_t rank = 0;
    SolveColumns<T>(b, x, Cols(), [&](const T* bt, T* xt, std::int32_t) { rank = SVDSolveInt<T>(bt, xt, 1, s, threshold); });
    return rank;
  });
}

std::int32_t TMtx::SVDSolve(const TMtx& b, TMtx& x, TVec& s, double threshold) {
  Require(&b != this && &x != this, "(B = Self) or (X = Self)");
  Require(b.Rows() == Rows(), "B.Rows <> Rows");
  RequireSameComplex(b, *this, "B.Complex <> Complex");
  return OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    std::int32_t rank = 0;
    SolveColumns<T>(b, x, Cols(), [&](const T* bt, T* xt, std::int32_t nrhs) { rank = SVDSolveInt<T>(bt, xt, nrhs, s, threshold); });
    return rank;
  });
}

}  // namespace quorel
