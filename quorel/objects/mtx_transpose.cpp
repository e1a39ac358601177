// Transposition (cache-blocked), conjugate transposition, flips, rotation and exchanges.
#include <algorithm>
#include <cstdint>
#include <optional>

#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/detail/mtx_detail.h"
#include "quorel/platform/kernels/move.h"

namespace quorel {

using detail::At;
using detail::OnKind;
using detail::Require;
using detail::RequireChecked;

namespace {
struct Plain {
  template <class T>
  T operator()(const T& x) const { return x; }
};
struct Conjugate {
  TCplx operator()(const TCplx& x) const { return {x.Re, -x.Im}; }
  double operator()(double x) const { return x; }
};

// One tile: dst(j, i) = op(src(i, j)) for i in [i0, i1), j in [j0, j1). A 2 x 2 step reads two
// pairs from two source rows and writes two pairs to two destination rows, which the compiler
// turns into vector unpacks for doubles.
template <class T, class Op>
void TransposeTile(const T* src, std::int64_t ss, T* dst, std::int64_t ds, std::int32_t i0, std::int32_t i1,
                   std::int32_t j0, std::int32_t j1, Op op) {
  std::int32_t i = i0;
  for (; i + 1 < i1; i += 2) {
    const T* s0 = src + i * ss;
    const T* s1 = s0 + ss;
    std::int32_t j = j0;
    for (; j + 1 < j1; j += 2) {
      T* d0 = dst + j * ds + i;
      T* d1 = d0 + ds;
      const T a0 = op(s0[j]), a1 = op(s0[j + 1]), b0 = op(s1[j]), b1 = op(s1[j + 1]);
      d0[0] = a0;
      d0[1] = b0;
      d1[0] = a1;
      d1[1] = b1;
    }
    if (j < j1) {
      dst[j * ds + i] = op(s0[j]);
      dst[j * ds + i + 1] = op(s1[j]);
    }
  }
  if (i < i1)
    for (std::int32_t j = j0; j < j1; ++j) dst[j * ds + i] = op(src[i * ss + j]);
}

// dst(j, i) = op(src(i, j)) for a rows x cols block. Square tiles keep both the source rows read
// and the destination rows written in the first-level cache, where a naive strided loop touches a
// new cache line for every element written once the matrix outgrows the cache. Tiles are 32 x 32
// doubles or 16 x 16 complex values (8 KiB read, 8 KiB written).
template <class T, class Op>
void TransposeBlock(const T* src, std::int64_t srcStride, T* dst, std::int64_t dstStride, std::int32_t rows,
                    std::int32_t cols, Op op) {
  constexpr std::int32_t kTile = sizeof(T) == sizeof(double) ? 32 : 16;
  for (std::int32_t i0 = 0; i0 < rows; i0 += kTile)
    for (std::int32_t j0 = 0; j0 < cols; j0 += kTile)
      TransposeTile(src, srcStride, dst, dstStride, i0, std::min(i0 + kTile, rows), j0, std::min(j0 + kTile, cols), op);
}

// Self := op(src) transposed; Self is sized src.Cols x src.Rows.
template <class Op>
void TransposeInto(const TMtx& src, TMtx& dst, Op op) {
  dst.Size(src.Cols(), src.Rows(), src.IsInteger(), src.Complex());
  OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    TransposeBlock(At<T>(src, 0, 0), src.LeadingCols(), At<T>(dst, 0, 0), dst.LeadingCols(), src.Rows(), src.Cols(), op);
  });
}
}  // namespace

// The forms with a source refuse Self while ConditionCheck is on; with it off, Self is read from a
// copy (the in-place forms), since Self is resized before the source is read.

TMtx& TMtx::Transp(const TMtx& mtx) {
  if (Is(mtx)) {
    RequireChecked(*this, false, "Mtx = Self");
    return Transp();
  }
  TransposeInto(mtx, *this, Plain{});
  return *this;
}

TMtx& TMtx::Transp() {
  TWorkMtx copy;
  copy->Copy(*this);
  return Transp(*copy);
}

TMtx& TMtx::Adjung(const TMtx& x) {
  if (Is(x)) {
    RequireChecked(*this, false, "X = Self");
    return Adjung();
  }
  TransposeInto(x, *this, Conjugate{});
  return *this;
}

TMtx& TMtx::Adjung() {
  TWorkMtx copy;
  copy->Copy(*this);
  return Adjung(*copy);
}

TMtx& TMtx::ResizeAndTranspose(const TMtx& src, std::int32_t rows, std::int32_t cols) {
  std::optional<TWorkMtx> keep;
  const TMtx& from = detail::SelfCopied(*this, src, keep);  // Self is resized before it is read
  Size(rows, cols, from.fComplex);
  SetZero();
  const std::int32_t srcRows = std::min(cols, from.fRows);
  const std::int32_t srcCols = std::min(rows, from.fCols);
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    if (srcRows > 0 && srcCols > 0)
      TransposeBlock(At<T>(from, 0, 0), from.fLeadingCols, At<T>(*this, 0, 0), fLeadingCols, srcRows, srcCols, Plain{});
  });
  return *this;
}

// --- flips and rotation ----------------------------------------------------------------------------

TMtx& TMtx::FlipHor(const TMtx& srcMtx) {
  if (Is(srcMtx)) {
    RequireChecked(*this, false, "Self = SrcMtx");
    return FlipHor();
  }
  Size(srcMtx.fRows, srcMtx.fCols, srcMtx.fIsInteger, srcMtx.fComplex);
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < fRows; ++i) kern::Reverse(At<T>(srcMtx, i, 0), At<T>(*this, i, 0), fCols);
  });
  return *this;
}

TMtx& TMtx::FlipHor() {
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < fRows; ++i) kern::Reverse(At<T>(*this, i, 0), At<T>(*this, i, 0), fCols);
  });
  return *this;
}

TMtx& TMtx::FlipVer(const TMtx& srcMtx) {
  if (Is(srcMtx)) {
    RequireChecked(*this, false, "Self = SrcMtx");
    return FlipVer();
  }
  Size(srcMtx.fRows, srcMtx.fCols, srcMtx.fIsInteger, srcMtx.fComplex);
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < fRows; ++i) kern::Copy(At<T>(srcMtx, i, 0), At<T>(*this, fRows - 1 - i, 0), fCols);
  });
  return *this;
}

TMtx& TMtx::FlipVer() {
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0, k = fRows - 1; i < k; ++i, --k) std::swap_ranges(At<T>(*this, i, 0), At<T>(*this, i, fCols), At<T>(*this, k, 0));
  });
  return *this;
}

TMtx& TMtx::Rotate90(const TMtx& mtx) {
  if (Is(mtx)) {
    RequireChecked(*this, false, "Mtx = Self");
    return Rotate90();
  }
  // Counter-clockwise: the transpose turned upside down.
  Transp(mtx);
  return FlipVer();
}

TMtx& TMtx::Rotate90() {
  TWorkMtx copy;
  copy->Copy(*this);
  return Rotate90(*copy);
}

// --- exchanges -------------------------------------------------------------------------------------

TMtx& TMtx::RowExchange(std::int32_t i, std::int32_t j) {
  Require(!(i < 0 || i >= fRows), "i >= FRows");
  Require(!(j < 0 || j >= fRows), "j >= FRows");
  if (i == j) return *this;
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    std::swap_ranges(At<T>(*this, i, 0), At<T>(*this, i, fCols), At<T>(*this, j, 0));
  });
  return *this;
}

TMtx& TMtx::ColExchange(std::int32_t i, std::int32_t j) {
  Require(!(i < 0 || i >= fCols), "i >= fCols");
  Require(!(j < 0 || j >= fCols), "j >= fCols");
  if (i == j) return *this;
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t r = 0; r < fRows; ++r) std::swap(*At<T>(*this, r, i), *At<T>(*this, r, j));
  });
  return *this;
}

}  // namespace quorel
