// Vector members that read matrices: rows, columns, diagonals, storage runs and products.
#include <algorithm>
#include <cstdint>
#include <optional>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/detail/mtx_detail.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/move.h"
#include "quorel/platform/kernels/reduce.h"

namespace quorel {

using detail::At;
using detail::Require;
using detail::OnKind;
using detail::Ptr;
using detail::SelfCopied;

namespace {
// Self := len elements of mtx from storage element start, stepping `stride` elements.
void GatherStrided(TVec& self, const TMtx& mtx, std::int64_t start, std::int64_t stride, std::int32_t len) {
  self.Size(len, mtx.Complex());
  OnKind(mtx.Complex(), [&](auto t) {
    using T = decltype(t);
    const T* x = Ptr<T>(mtx, start);
    T* r = Ptr<T>(self);
    if (stride == 1) {
      kern::Copy(x, r, len);
    } else {
      for (std::int32_t k = 0; k < len; ++k) r[k] = x[k * stride];
    }
  });
}
}  // namespace

TVec& TVec::CopyMtx(const TMtx& mtx, std::int32_t row, std::int32_t col, std::int32_t index, std::int32_t len) {
  Require(!(col < 0 || row < 0), "(Col < 0) or (Row < 0)");
  Require(!(row >= mtx.Rows() || col >= mtx.Cols()), "(Row >= Mtx.Rows) or (Col >= Mtx.Cols)");
  Require(!(index < 0 || len < 0 || std::int64_t{index} + len > fLength), "Index+Len > Length");
  const std::int64_t start = std::int64_t{row} * mtx.LeadingCols() + col;
  Require(start + len <= mtx.Length(), "(Row*Mtx.Cols+Col+Len) > Mtx.Length");
  Require(fComplex == mtx.Complex(), "Complex <> Mtx.Complex");
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    kern::Copy(Ptr<T>(mtx, start), Ptr<T>(*this, index), len);
  });
  return *this;
}

TVec& TVec::GetCol(const TMtx& mtx, std::int32_t col) {
  if (col < 0 || col >= mtx.Cols())
    ERangeErrorRaise(FormatMsg("TVec.GetCol: Col out of range. (Col: %d, Cols: %d)", col, mtx.Cols()));
  GatherStrided(*this, mtx, col, mtx.LeadingCols(), mtx.Rows());
  return *this;
}

TVec& TVec::GetCol(const TMtx& mtx, std::int32_t row, std::int32_t col, std::int32_t len) {
  if (col < 0 || col >= mtx.Cols())
    ERangeErrorRaise(FormatMsg("TVec.GetCol: Col out of range. (Col: %d, Cols: %d)", col, mtx.Cols()));
  if (row < 0 || row >= mtx.Rows())
    ERangeErrorRaise(FormatMsg("TVec.GetCol: Row out of range (Row: %d, Len: %d, Rows: %d)", row, len, mtx.Rows()));
  if (len < 0 || std::int64_t{row} + len > mtx.Rows())
    ERangeErrorRaise(FormatMsg("TVec.GetCol: Row/Len out of range (Row: %d, Len: %d, Rows: %d)", row, len, mtx.Rows()));
  GatherStrided(*this, mtx, std::int64_t{row} * mtx.LeadingCols() + col, mtx.LeadingCols(), len);
  return *this;
}

TVec& TVec::GetRow(const TMtx& mtx, std::int32_t row) {
  if (row < 0 || row >= mtx.Rows())
    ERangeErrorRaise(FormatMsg("TVec.GetRow: Row out of range. (Row: %d, Rows: %d)", row, mtx.Rows()));
  GatherStrided(*this, mtx, std::int64_t{row} * mtx.LeadingCols(), 1, mtx.Cols());
  return *this;
}

TVec& TVec::GetRow(const TMtx& mtx, std::int32_t row, std::int32_t col, std::int32_t len) {
  if (row < 0 || row >= mtx.Rows())
    ERangeErrorRaise(FormatMsg("TVec.GetRow: Row out of range. (Row: %d, Rows: %d)", row, mtx.Rows()));
  if (col < 0 || col >= mtx.Cols())
    ERangeErrorRaise(FormatMsg("TVec.GetRow: Col out of range (Col: %d, Len: %d, Cols: %d)", col, len, mtx.Cols()));
  if (len < 0 || std::int64_t{col} + len > mtx.Cols())
    ERangeErrorRaise(FormatMsg("TVec.GetRow: Col/Len out of range (Col: %d, Len: %d, Cols: %d)", col, len, mtx.Cols()));
  GatherStrided(*this, mtx, std::int64_t{row} * mtx.LeadingCols() + col, 1, len);
  return *this;
}

TVec& TVec::Diag(const TMtx* mtx, std::int32_t k) {
  Require(mtx != nullptr, "TVec.Diag: Mtx = nil");
  const std::int64_t len = k >= 0 ? std::min<std::int64_t>(mtx->Rows(), std::int64_t{mtx->Cols()} - k)
                                  : std::min<std::int64_t>(std::int64_t{mtx->Rows()} + k, mtx->Cols());
  if (len < 0)
    ERangeErrorRaise(
        FormatMsg("TVec.Diag: K out of range (K: %d, Rows: %d, Cols: %d)", k, mtx->Rows(), mtx->Cols()));
  const std::int64_t start = k >= 0 ? k : -std::int64_t{k} * mtx->LeadingCols();
  GatherStrided(*this, *mtx, start, std::int64_t{mtx->LeadingCols()} + 1, static_cast<std::int32_t>(len));
  return *this;
}

// --- products ---------------------------------------------------------------------------------------

TVec& TVec::Kron(const TDenseQuorel& a, const TDenseQuorel& b) {
  const std::int32_t na = a.Length(), nb = b.Length();
  const std::int64_t len = std::int64_t{na} * nb;
  Require(len <= 0x7FFFFFFF, "Out of memory! Attempted to allocate over 2GB!");
  const bool complex = a.Complex() || b.Complex();
  std::optional<TWorkVec> keepA, keepB;  // Self is resized before it is read
  TWorkVec wa, wb;
  const TDenseQuorel& pa = detail::Promoted(SelfCopied(*this, a, keepA), complex, wa);
  const TDenseQuorel& pb = detail::Promoted(SelfCopied(*this, b, keepB), complex, wb);
  Size(static_cast<std::int32_t>(len), complex);
  OnKind(complex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < na; ++i)
      kern::ScaleByValue(Ptr<T>(pb), *Ptr<T>(pa, i), Ptr<T>(*this, std::int64_t{i} * nb), nb);
  });
  return *this;
}

namespace {
TCplx Conj(const TCplx& z) { return {z.Re, -z.Im}; }
double Conj(double x) { return x; }

// y = A x with A(i, j) given by elem for j in [lo(i), hi(i)).
template <class T, class Elem, class Lo, class Hi>
void MulByElements(std::int32_t rows, const T* x, T* y, Elem elem, Lo lo, Hi hi) {
  for (std::int32_t i = 0; i < rows; ++i) {
    T sum{};
    for (std::int32_t j = lo(i), h = hi(i); j < h; ++j) sum = detail::Add(sum, detail::Mul(elem(i, j), x[j]));
    y[i] = sum;
  }
}

// y = A x for A = mtx read as `type` (see TVec::TensorProd); mtx, x and y of kind T.
template <class T>
void MulTyped(const TMtx& m, TMtxType type, const T* x, T* y) {
  const bool upper = m.TriangleForm() == tfUpper;
  const bool herm = type == mtHermitian || type == mtHermPosDef || type == mtBandHermPosDef;
  const std::int32_t rows = m.Rows(), cols = m.Cols();
  auto stored = [&](std::int32_t i, std::int32_t j) { return *At<T>(m, i, j); };
  // The other half of a symmetric or Hermitian matrix mirrors the stored one.
  auto mirrored = [&](auto get) {
    return [=](std::int32_t i, std::int32_t j) {
      if ((j >= i) == upper || i == j) return get(i, j);
      return herm ? Conj(get(j, i)) : get(j, i);
    };
  };
  auto all = [](std::int32_t) { return 0; };
  switch (type) {
    case mtSymmPosDef:
    case mtSymmetric:
    case mtHermPosDef:
    case mtHermitian:
      MulByElements(rows, x, y, mirrored(stored), all, [=](std::int32_t) { return cols; });
      return;
    case mtTriangle: {
      const bool unit = m.TriangleUnit();
      auto elem = [=](std::int32_t i, std::int32_t j) { return i == j && unit ? detail::One<T>() : stored(i, j); };
      if (upper) {
        MulByElements(rows, x, y, elem, [](std::int32_t i) { return i; }, [=](std::int32_t) { return cols; });
      } else {
        MulByElements(rows, x, y, elem, all, [=](std::int32_t i) { return std::min(i + 1, cols); });
      }
      return;
    }
    case mtBandSymmPosDef:
    case mtBandHermPosDef:
    case mtBandGeneral: {
      const std::int32_t ku = m.SuperDiag(), kl = m.SubDiag(), n = cols;
      auto band = [=](std::int32_t i, std::int32_t j) { return stored(ku + i - j, j); };
      // A symmetric band uses the half the triangle form names, mirrored over the other.
      const std::int32_t above = type == mtBandGeneral ? ku : (upper ? ku : kl);
      const std::int32_t below = type == mtBandGeneral ? kl : (upper ? ku : kl);
      auto lo = [=](std::int32_t i) { return std::max(0, i - below); };
      auto hi = [=](std::int32_t i) { return std::min(n, i + above + 1); };
      if (type == mtBandGeneral) {
        MulByElements(n, x, y, band, lo, hi);
      } else {
        MulByElements(n, x, y, mirrored(band), lo, hi);
      }
      return;
    }
    case mtGeneral:
      for (std::int32_t i = 0; i < rows; ++i) y[i] = kern::Dot(At<T>(m, i, 0), x, cols);
      return;
  }
}
}  // namespace

TVec& TVec::TensorProd(const TMtx& mtx, const TDenseQuorel& vec, TMtxType mtxType) {
  const bool band = mtxType == mtBandGeneral || mtxType == mtBandSymmPosDef || mtxType == mtBandHermPosDef;
  Require(vec.Length() == mtx.Cols(), "Length <> Mtx.Cols");
  if (band) {
    Require(!(mtx.SuperDiag() < 0 || mtx.SubDiag() < 0 || std::int64_t{mtx.SuperDiag()} + mtx.SubDiag() + 1 != mtx.Rows()),
         "SubDiag+SuperDiag+1 <> Rows");
  } else if (mtxType != mtGeneral && mtxType != mtTriangle) {
    Require(mtx.Quadratic(), "Quadratic = False");
  }
  const bool complex = mtx.Complex() || vec.Complex();
  TWorkMtx wm;
  TWorkVec wv;
  std::optional<TWorkVec> keep;  // Self is resized before it is read
  std::optional<TWorkMtx> keepMtx;
  const TMtx& m = SelfCopied(*this, mtx, keepMtx);
  const auto& pm = static_cast<const TMtx&>(detail::Promoted(m, complex, wm));
  const TDenseQuorel& pv = detail::Promoted(SelfCopied(*this, vec, keep), complex, wv);
  if (&pm != &m) {
    // The promoted copy carries the settings that steer the product.
    wm->SetTriangleForm(mtx.TriangleForm());
    wm->SetTriangleUnit(mtx.TriangleUnit());
    wm->SetSuperDiag(mtx.SuperDiag());
    wm->SetSubDiag(mtx.SubDiag());
  }
  Size(band ? mtx.Cols() : mtx.Rows(), complex);
  OnKind(complex, [&](auto t) {
    using T = decltype(t);
    MulTyped(pm, mtxType, Ptr<T>(pv), Ptr<T>(*this));
  });
  return *this;
}

TVec& TVec::TensorProdInt(const TMtx& mtx, const TDenseQuorel& vec) {
  Require(vec.Complex() == mtx.Complex(), "Complex <> Mtx.Complex");
  Require(vec.Length() == mtx.Cols(), "Length <> Mtx.Cols");
  std::optional<TWorkVec> keep;  // Self is resized before it is read
  std::optional<TWorkMtx> keepMtx;
  const TDenseQuorel& x = SelfCopied(*this, vec, keep);
  const TMtx& m = SelfCopied(*this, mtx, keepMtx);
  Size(mtx.Rows(), mtx.Complex());
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    MulTyped(m, mtGeneral, Ptr<T>(x), Ptr<T>(*this));
  });
  return *this;
}

}  // namespace quorel
