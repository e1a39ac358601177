// Generated matrices (identity, triangles, Vandermonde, Pascal, Toeplitz) and the Kronecker and
// outer products.
#include <algorithm>
#include <cstdint>
#include <optional>

#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/detail/mtx_detail.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/axpy.h"
#include "quorel/platform/kernels/move.h"

namespace quorel {

using detail::At;
using detail::Require;
using detail::OnKind;
using detail::Ptr;
using detail::SelfCopied;

TMtx& TMtx::Eye() {
  SetZero();
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    const std::int32_t n = std::min(fRows, fCols);
    for (std::int32_t i = 0; i < n; ++i) *At<T>(*this, i, i) = detail::One<T>();
  });
  return *this;
}

TMtx& TMtx::Eye(std::int32_t rows, std::int32_t cols) {
  Size(rows, cols);
  return Eye();
}

namespace {
// Copies columns [from(i), to(i)) of every row of src into dst and, when zeroOther, zeroes the rest.
// src may be dst itself: the kept triangle is then already in place.
template <class Range>
void CopyRowRanges(const TMtx& src, TMtx& dst, bool zeroOther, Range range) {
  OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    const std::int32_t cols = src.Cols();
    for (std::int32_t i = 0; i < src.Rows(); ++i) {
      const auto [from, to] = range(i);
      const std::int32_t a = std::clamp(from, 0, cols), b = std::clamp(to, a, cols);
      if (&src != &dst) kern::Copy(At<T>(src, i, a), At<T>(dst, i, a), b - a);
      if (zeroOther) {
        kern::Fill(T{}, At<T>(dst, i, 0), a);
        kern::Fill(T{}, At<T>(dst, i, b), cols - b);
      }
    }
  });
}
}  // namespace

TMtx& TMtx::UpperTriangle(const TMtx& mtx, bool zeroOther, bool diagonal) {
  Size(mtx.fRows, mtx.fCols, mtx.fIsInteger, mtx.fComplex);
  const std::int32_t shift = diagonal ? 0 : 1;
  CopyRowRanges(mtx, *this, zeroOther, [&](std::int32_t i) { return std::pair{i + shift, mtx.fCols}; });
  return *this;
}

TMtx& TMtx::LowerTriangle(const TMtx& mtx, bool zeroOther, bool diagonal) {
  detail::RequireChecked(*this, !Is(mtx), "TMtx.LowerTriangle: Mtx = Self");
  Size(mtx.fRows, mtx.fCols, mtx.fIsInteger, mtx.fComplex);
  const std::int32_t shift = diagonal ? 1 : 0;
  CopyRowRanges(mtx, *this, zeroOther, [&](std::int32_t i) { return std::pair{0, i + shift}; });
  return *this;
}

// --- products ---------------------------------------------------------------------------------------

TMtx& TMtx::Kron(const TMtx& a, const TMtx& b) {
  std::optional<TWorkMtx> keepA, keepB;  // Self is resized before it is read
  const TMtx& x = SelfCopied(*this, a, keepA);
  const TMtx& y = SelfCopied(*this, b, keepB);
  const bool complex = x.fComplex || y.fComplex;
  TWorkMtx wa, wb;
  const TDenseQuorel& pa = detail::Promoted(x, complex, wa);
  const TDenseQuorel& pb = detail::Promoted(y, complex, wb);
  const std::int64_t rows = std::int64_t{x.fRows} * y.fRows, cols = std::int64_t{x.fCols} * y.fCols;
  Require(!(rows > 0x7FFFFFFF || cols > 0x7FFFFFFF), "Out of memory! Attempted to allocate over 2GB!");
  Size(static_cast<std::int32_t>(rows), static_cast<std::int32_t>(cols), complex);
  OnKind(complex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < x.fRows; ++i)
      for (std::int32_t k = 0; k < y.fRows; ++k) {
        T* dst = At<T>(*this, i * y.fRows + k, 0);
        const T* bRow = Ptr<T>(pb, std::int64_t{k} * y.fLeadingCols);
        for (std::int32_t j = 0; j < x.fCols; ++j)
          kern::ScaleByValue(bRow, *Ptr<T>(pa, std::int64_t{i} * x.fLeadingCols + j), dst + std::int64_t{j} * y.fCols,
                             y.fCols);
      }
  });
  return *this;
}

TMtx& TMtx::TensorProd(const TDenseQuorel& vec1, const TDenseQuorel& vec2) {
  std::optional<TWorkVec> keep1, keep2;  // Self is resized before it is read
  const TDenseQuorel& x = SelfCopied(*this, vec1, keep1);
  const TDenseQuorel& y = SelfCopied(*this, vec2, keep2);
  const bool complex = x.Complex() || y.Complex();
  Size(x.Length(), y.Length(), complex);
  SetZero();
  return AddTensorProd(x, y);
}

TMtx& TMtx::AddTensorProd(const TDenseQuorel& vec1, const TDenseQuorel& vec2) {
  Require(vec1.Length() == fRows, "Vec1.Length <> Rows");
  Require(vec2.Length() == fCols, "Vec2.Length <> Cols");
  Require(!(!fComplex && (vec1.Complex() || vec2.Complex())), "Complex <> Vec.Complex");
  std::optional<TWorkVec> keep1, keep2;  // Self is overwritten row by row while it is read
  const TDenseQuorel& x = SelfCopied(*this, vec1, keep1);
  const TDenseQuorel& y = SelfCopied(*this, vec2, keep2);
  TWorkVec w1, w2;
  const TDenseQuorel& p1 = detail::Promoted(x, fComplex, w1);
  const TDenseQuorel& p2 = detail::Promoted(y, fComplex, w2);
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < fRows; ++i) kern::AddScaled(Ptr<T>(p2), *Ptr<T>(p1, i), At<T>(*this, i, 0), fCols);
  });
  return *this;
}

// --- generated matrices ----------------------------------------------------------------------------

TMtx& TMtx::VanderMonde(std::int32_t cols, const TDenseQuorel& vec) {
  std::optional<TWorkVec> keep;  // Self is resized before it is read
  const TDenseQuorel& v = SelfCopied(*this, vec, keep);
  Size(v.Length(), cols, v.Complex());
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < fRows; ++i) {
      T* r = At<T>(*this, i, 0);
      const T x = *Ptr<T>(v, i);
      T p = detail::One<T>();
      for (std::int32_t j = cols - 1; j >= 0; --j) {
        r[j] = p;
        p = detail::Mul(p, x);
      }
    }
  });
  return *this;
}

TMtx& TMtx::Pascl(std::int32_t n) {
  Size(n, n, false);
  for (std::int32_t i = 0; i < n; ++i)
    for (std::int32_t j = 0; j < n; ++j)
      Values(i, j) = (i == 0 || j == 0) ? 1.0 : Values(i - 1, j) + Values(i, j - 1);
  return *this;
}

TMtx& TMtx::Toeplitz(const TDenseQuorel& vec) { return Toeplitz(vec, vec); }

TMtx& TMtx::Toeplitz(const TDenseQuorel& col, const TDenseQuorel& row) {
  Require(col.Complex() == row.Complex(), "Col.Complex <> Row.Complex");
  std::optional<TWorkVec> keepCol, keepRow;  // Self is resized before it is read
  const TDenseQuorel& c = SelfCopied(*this, col, keepCol);
  const TDenseQuorel& rw = SelfCopied(*this, row, keepRow);
  Size(c.Length(), rw.Length(), c.Complex());
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < fRows; ++i) {
      T* r = At<T>(*this, i, 0);
      const std::int32_t below = std::min(i, fCols);  // columns left of the diagonal
      kern::Reverse(Ptr<T>(c, i - below + 1), r, below);
      if (i < fCols) kern::Copy(Ptr<T>(rw), r + i, fCols - i);
    }
  });
  return *this;
}

}  // namespace quorel
