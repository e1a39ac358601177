// QR and LQ factorisations and least-squares solves through them.
#include <algorithm>

#include "quorel/core/detail/checks.h"
#include "quorel/dense/detail/lapack_util.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/fpu_scope.h"
#include "quorel/platform/lapack/lapack_eig.h"

namespace quorel {

using namespace detail;

void TMtx::LQRInt(TMtx* l, TMtx* q, TMtx* r, bool minSize) {
  const FInt m = Rows(), n = Cols(), k = std::min(m, n);
  const bool tall = m >= n;
  lapack::TLapackWork work;
  FpuScope fpu;
  OnKind(Complex(), [&](auto t) {
    using namespace lapack;
    using T = decltype(t);
    T* pa = ColMajorCopy<T>(work, *this);  // column-major m x n
    T* tau = work.Take<T>(k);
    const FInt lda = std::max(m, 1);
    const FInt info = geqrf<T>(!tall, m, n, pa, lda, tau);
    if (info != 0) ERaise(WithInfo(tall ? "QR: Invalid parameter: " : "LQ: Invalid parameter: ", info));
    if (tall && r) FromColMajor<T>(*r, pa, minSize ? n : m, n, lda, [](int i, int j) { return i <= j; });
    if (!tall && l) FromColMajor<T>(*l, pa, m, minSize ? m : n, lda, [](int i, int j) { return j <= i; });
    if (!q) return;
    // Q from the reflectors: economy Q is generated in place, the full square one in a copy
    // with room for the extra columns (rows).
    const FInt qr = tall ? m : (minSize ? m : n), qcols = tall ? (minSize ? n : m) : n;
    T* pq = work.Take<T>(std::int64_t{qr} * qcols);
    for (FInt j = 0; j < std::min(n, qcols); ++j)
      for (FInt i = 0; i < std::min(m, qr); ++i) pq[std::int64_t{j} * qr + i] = pa[std::int64_t{j} * lda + i];
    const FInt qinfo = orgqr<T>(!tall, qr, qcols, k, pq, qr, tau);
    if (qinfo != 0) ERaise(WithInfo("Q: Invalid parameter: ", qinfo));
    FromColMajor<T>(*q, pq, qr, qcols, qr);
  });
}

TMtx& TMtx::LQR(TMtx* l, TMtx* q, TMtx* r) {
  Require(l != this, "L=Self");
  Require(q != this, "Q=Self");
  Require(r != this, "R=Self");
  LQRInt(l, q, r, false);
  return *this;
}

TMtx& TMtx::LMinQR(TMtx* l, TMtx* q, TMtx* r) {
  Require(l != this, "L = Self");
  Require(q != this, "Q = Self");
  Require(r != this, "R = Self");
  LQRInt(l, q, r, true);
  return *this;
}

namespace {
template <class T>
void Conjugate(T* p, std::int64_t n) {
  if constexpr (lapack::kComplex<T>)
    for (std::int64_t i = 0; i < n; ++i) p[i].Im = -p[i].Im;
}
}  // namespace

template <class T>
void TMtx::LQRSolveInt(const T* b, T* x, std::int32_t nrhs, TMtx* r, TMtxOperation operation) {
  const FInt m = Rows(), n = Cols(), ldb = std::max({m, n, 1});
  const FInt bRows = operation == opNone ? m : n, xRows = operation == opNone ? n : m;
  lapack::TLapackWork work;
  T* a = ColMajorCopy<T>(work, *this);
  T* pb = work.Take<T>(std::int64_t{nrhs} * ldb);
  std::fill_n(pb, std::int64_t{nrhs} * ldb, T{});
  for (FInt j = 0; j < nrhs; ++j)
    std::copy(b + std::int64_t{j} * bRows, b + std::int64_t{j + 1} * bRows, pb + std::int64_t{j} * ldb);
  // The complex routine knows only the conjugate transpose: A^T x = b is A^H conj(x) = conj(b).
  const bool viaConj = lapack::kComplex<T> && operation == opTran;
  if (viaConj) Conjugate(pb, std::int64_t{ldb} * nrhs);
  const char trans = operation == opNone ? 'N' : lapack::kComplex<T> ? 'C' : 'T';
  {
    FpuScope fpu;
    const FInt info = lapack::gels<T>(trans, m, n, nrhs, a, std::max(m, 1), pb, ldb);
    RaiseInfo(info, "LQRSolve: matrix is rank deficient at ", true);
  }
  if (viaConj) Conjugate(pb, std::int64_t{ldb} * nrhs);
  for (FInt j = 0; j < nrhs; ++j)
    std::copy(pb + std::int64_t{j} * ldb, pb + std::int64_t{j} * ldb + xRows, x + std::int64_t{j} * xRows);
  if (r) {
    if (m >= n) FromColMajor<T>(*r, a, n, n, std::max(m, 1), [](int i, int j) { return i <= j; });
    else FromColMajor<T>(*r, a, m, m, m, [](int i, int j) { return j <= i; });
  }
}

TMtx& TMtx::LQRSolve(const TVec& b, TVec& x, TMtx* r, TMtxOperation operation) {
  RequireSameComplex(*this, b, "fComplex <> B.Complex");
  if (operation == opNone) Require(Rows() == b.Length(), "fRows <> B.Length");
  else Require(Cols() == b.Length(), "fCols <> B.Length");
  Require(r != this, "B = Self or X = Self");
  OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    SolveColumns<T>(b, x, operation == opNone ? Cols() : Rows(),
                    [&](const T* bt, T* xt, std::int32_t) { LQRSolveInt<T>(bt, xt, 1, r, operation); });
  });
  return *this;
}

TMtx& TMtx::LQRSolve(const TMtx& b, TMtx& x, TMtx* r, TMtxOperation operation) {
  RequireSameComplex(*this, b, "fComplex <> B.Complex");
  if (operation == opNone) Require(Rows() == b.Rows(), "fRows <> B.Rows");
  else Require(Cols() == b.Rows(), "fCols <> B.Rows");
  Require(&b != this && &x != this && r != this, "B = Self or X = Self");
  OnKind(Complex(), [&](auto t) {
    using T = decltype(t);
    SolveColumns<T>(b, x, operation == opNone ? Cols() : Rows(),
                    [&](const T* bt, T* xt, std::int32_t nrhs) { LQRSolveInt<T>(bt, xt, nrhs, r, operation); });
  });
  return *this;
}

}  // namespace quorel
