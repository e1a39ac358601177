#pragma once
// Helpers shared by the dense linear-algebra methods: LAPACK's character arguments from the
// library's enumerations, the messages made from `info`, and column-major scratch copies.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/mtx_types.h"
#include "quorel/platform/lapack/lapack.h"
#include "quorel/platform/lapack/work_arena.h"

namespace quorel::detail {

using lapack::FInt;

/// LAPACK's `trans` for an operation.
constexpr char TransChar(TMtxOperation op) { return op == opNone ? 'N' : op == opTran ? 'T' : 'C'; }
/// LAPACK's `uplo` for the triangle of a column-major copy of a row-major matrix holding `tf`
/// (the transposed copy keeps the triangle; the matrix memory read as is swaps it).
constexpr char UploChar(TTriangleForm tf) { return tf == tfUpper ? 'U' : 'L'; }
constexpr char SwappedUplo(TTriangleForm tf) { return tf == tfUpper ? 'L' : 'U'; }

/// The factorisations whose `info` > 0 has a message of its own.
enum class TFactorKind { Cholesky, BunchKaufman, LU, Factorization };

/// The message of a failed factorisation: "<info> parameter is invalid!" (no blank when
/// `blank` is false) for info < 0, else the kind's text for a zero pivot or minor.
std::string FactorMessage(TFactorKind kind, FInt info, bool blank = true);
/// `prefix` followed by the number.
std::string WithInfo(const char* prefix, FInt info);

/// Symmetric (or complex symmetric) and Hermitian kinds of TMtxType.
constexpr bool IsSymmetricType(TMtxType t) { return t == mtSymmetric || t == mtSymmPosDef; }
constexpr bool IsHermitianType(TMtxType t) { return t == mtHermitian || t == mtHermPosDef; }
constexpr bool IsPosDefType(TMtxType t) { return t == mtSymmPosDef || t == mtHermPosDef; }

/// Copies the triangle `tf` of a row-major square matrix onto the other one (conjugated when
/// `conjugate`): what LAPACK's one-triangle inverses leave behind made whole.
void MirrorTriangle(TMtx& a, TTriangleForm tf, bool conjugate);
/// Zeroes the triangle opposite to `tf`, diagonal excluded.
void ZeroOtherTriangle(TMtx& a, TTriangleForm tf);

/// Raises the message of a driver's `info` unless it is 0: "<info> parameter is invalid!" for
/// info < 0, else `failure` (followed by the number when `withInfo`).
void RaiseInfo(FInt info, const char* failure, bool withInfo = false);

/// dst (rows x cols, kind T) := the column-major array src with leading dimension ld, element
/// (i, j) taken only where keep(i, j) and zero elsewhere.
template <class T, class Keep>
void FromColMajor(TMtx& dst, const T* src, std::int32_t rows, std::int32_t cols, std::int64_t ld, Keep keep) {
  dst.Size(rows, cols, lapack::kComplex<T>);
  T* d = Ptr<T>(dst);
  for (std::int32_t i = 0; i < rows; ++i)
    for (std::int32_t j = 0; j < cols; ++j) d[std::int64_t{i} * dst.LeadingCols() + j] = keep(i, j) ? src[j * ld + i] : T{};
}
/// dst sized rows x cols := the column-major array src with leading dimension ld.
template <class T>
void FromColMajor(TMtx& dst, const T* src, std::int32_t rows, std::int32_t cols, std::int64_t ld) {
  dst.Size(rows, cols, lapack::kComplex<T>);
  lapack::TransposeCopy<T>(cols, rows, src, ld, Ptr<T>(dst), dst.LeadingCols());
}
/// The row-major matrix src as a column-major array with leading dimension src.Rows(), in `work`.
template <class T>
T* ColMajorCopy(lapack::TLapackWork& work, const TMtx& src) {
  T* a = work.Take<T>(std::int64_t{src.Rows()} * src.Cols());
  lapack::TransposeCopy<T>(src.Rows(), src.Cols(), Ptr<T>(src), src.LeadingCols(), a, src.Rows());
  return a;
}
/// The row-major matrix src packed row after row (leading dimension Cols) into `work`: LAPACK
/// reads it as the transpose, which has the same singular values and definiteness.
template <class T>
T* PackedCopy(lapack::TLapackWork& work, const TMtx& src) {
  T* a = work.Take<T>(std::int64_t{src.Rows()} * src.Cols());
  for (std::int32_t i = 0; i < src.Rows(); ++i)
    std::memcpy(a + std::int64_t{i} * src.Cols(), Ptr<T>(src, std::int64_t{i} * src.LeadingCols()), sizeof(T) * std::size_t(src.Cols()));
  return a;
}
/// Runs solve(bt, xt, nrhs) on the right-hand sides b as a column-major array (leading dimension
/// b.Rows()) and gives x the xRows x nrhs solution from xt. x (which may be b) is written only
/// once solve has returned.
template <class T, class Solve>
void SolveColumns(const TMtx& b, TMtx& x, std::int32_t xRows, Solve&& solve) {
  lapack::TLapackWork work;
  const T* bt = ColMajorCopy<T>(work, b);
  T* xt = work.Take<T>(std::int64_t{xRows} * b.Cols());
  solve(bt, xt, b.Cols());
  FromColMajor<T>(x, xt, xRows, b.Cols(), xRows);
}
/// The same for one right-hand side.
template <class T, class Solve>
void SolveColumns(const TVec& b, TVec& x, std::int32_t xRows, Solve&& solve) {
  lapack::TLapackWork work;
  T* xt = work.Take<T>(xRows);
  solve(Ptr<T>(b), xt, 1);
  x.Size(xRows, lapack::kComplex<T>);
  std::copy_n(xt, xRows, Ptr<T>(x));  // an empty x may have no storage, which memcpy may not take
}

}  // namespace quorel::detail
