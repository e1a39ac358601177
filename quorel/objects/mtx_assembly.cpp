// Block copies, vectors into rows, columns and diagonals, concatenation and splitting.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/detail/mtx_detail.h"
#include "quorel/platform/kernels/move.h"

namespace quorel {

using detail::At;
using detail::Require;
using detail::RequireState;
using detail::OnKind;
using detail::Ptr;

namespace {
// nrRows x nrCols elements from (sr, sc) of src to (dr, dc) of dst, row by row.
void CopyBlock(const TMtx& src, std::int32_t sr, std::int32_t sc, TMtx& dst, std::int32_t dr, std::int32_t dc,
               std::int32_t nrRows, std::int32_t nrCols) {
  if (nrCols <= 0) return;
  OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < nrRows; ++i) kern::Copy(At<T>(src, sr + i, sc), At<T>(dst, dr + i, dc), nrCols);
  });
}

// The same within one matrix, for blocks that may overlap: rows are taken in the order that reads
// every source row before it is overwritten.
void MoveBlock(TMtx& m, std::int32_t sr, std::int32_t sc, std::int32_t dr, std::int32_t dc, std::int32_t nrRows,
               std::int32_t nrCols) {
  if (nrCols <= 0) return;
  OnKind(m.Complex(), [&](auto t) {
    using T = decltype(t);
    if (dr > sr) {
      for (std::int32_t i = nrRows - 1; i >= 0; --i) kern::Move(At<T>(m, sr + i, sc), At<T>(m, dr + i, dc), nrCols);
    } else {
      for (std::int32_t i = 0; i < nrRows; ++i) kern::Move(At<T>(m, sr + i, sc), At<T>(m, dr + i, dc), nrCols);
    }
  });
}

// Writes len elements of vec from vecIndex to dst, stepping `stride` elements. A vec over dst's own
// storage (a row of dst written into a column) is read from a copy.
void Scatter(const TDenseQuorel& vec, std::int32_t vecIndex, TMtx& dst, std::int64_t start, std::int64_t stride,
             std::int32_t len) {
  std::optional<TWorkVec> keep;
  const TDenseQuorel& from = detail::SelfCopied(dst, vec, keep);
  OnKind(vec.Complex(), [&](auto t) {
    using T = decltype(t);
    const T* x = Ptr<T>(from, vecIndex);
    T* r = Ptr<T>(dst, start);
    if (stride == 1) {
      kern::Copy(x, r, len);
    } else {
      for (std::int32_t k = 0; k < len; ++k) r[k * stride] = x[k];
    }
  });
}

// Refuses a list with a missing matrix.
template <class M>
void NoNil(std::span<M* const> list) {
  for (const M* m : list) Require(m != nullptr, "Mtx = nil");
}
}  // namespace

TMtx& TMtx::Copy(const TMtx& mtx, std::int32_t mtxRow, std::int32_t mtxCol, std::int32_t row, std::int32_t col,
                 std::int32_t nrRows, std::int32_t nrCols) {
  if (fConditionCheck) {
    Require(!Is(mtx), "Mtx = Self");
    Require(mtx.fComplex == fComplex, "Mtx.Complex <> Complex");
  }
  Require(!(mtxRow < 0 || mtxCol < 0 || row < 0 || col < 0 || nrRows < 0 || nrCols < 0), "(Row < 0) or (Col < 0)");
  Require(std::int64_t{mtxRow} + nrRows <= mtx.fRows, "MtxRow + NrRows > Mtx.Rows");
  Require(std::int64_t{mtxCol} + nrCols <= mtx.fCols, "MtxCol + NrCols > Mtx.Cols");
  Require(std::int64_t{row} + nrRows <= fRows, "Row + NrRows > Rows");
  Require(std::int64_t{col} + nrCols <= fCols, "Col + NrCols > Cols");
  Require(mtx.fComplex == fComplex, "Mtx.Complex <> Complex");  // different element sizes cannot be copied
  if (Is(mtx)) {
    MoveBlock(*this, mtxRow, mtxCol, row, col, nrRows, nrCols);  // only with ConditionCheck off
  } else {
    CopyBlock(mtx, mtxRow, mtxCol, *this, row, col, nrRows, nrCols);
  }
  return *this;
}

// --- vectors into the storage ----------------------------------------------------------------------

TMtx& TMtx::CopyVec(const TDenseQuorel& vec) { return CopyVec(vec, 0, vec.Length(), 0); }

TMtx& TMtx::CopyVec(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t len, std::int32_t startPos) {
  // The element size must agree whatever ConditionCheck says.
  Require(vec.Complex() == fComplex, "Vec.Complex <> Complex");
  Require(vec.Length() != 0, "Vec.Length = 0");
  Require(!(vecIndex < 0 || len < 0 || std::int64_t{vecIndex} + len > vec.Length()), "(VecIndex+Len-1) > Vec.Length");
  Require(!(startPos < 0 || std::int64_t{startPos} + len > std::int64_t{fCols} * fRows),
       "(StartPos +VecIndex + Len) > Mtx.Cols*Mtx.Rows");
  Scatter(vec, vecIndex, *this, startPos, 1, len);
  return *this;
}

TMtx& TMtx::CopyVec(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t len, std::int32_t row,
                    std::int32_t col) {
  Require(!(row < 0 || col < 0), "(Row < 0) or (Col < 0)");
  return CopyVec(vec, vecIndex, len, static_cast<std::int32_t>(std::int64_t{row} * fLeadingCols + col));
}

TMtx& TMtx::CopyVec(const TDenseQuorel* vec, std::int32_t nrRows) {
  Require(vec != nullptr, "Vec = nil");
  Require(!(nrRows <= 0 || vec->Length() % nrRows != 0), "Vec.Length mod NrRows <> 0");
  Size(nrRows, vec->Length() / nrRows, vec->Complex());
  if (fLength > 0) Scatter(*vec, 0, *this, 0, 1, fLength);
  return *this;
}

// --- rows, columns, diagonals ----------------------------------------------------------------------

TMtx& TMtx::SetRow(const TDenseQuorel* vec, std::int32_t row) {
  Require(vec != nullptr, "Vec = nil");
  return SetRow(vec, 0, row, 0, vec->Length());
}

TMtx& TMtx::SetRow(const TDenseQuorel* vec, std::int32_t vecIndex, std::int32_t row, std::int32_t col,
                   std::int32_t len) {
  Require(vec != nullptr, "Vec = nil");
  Require(vec->Complex() == fComplex, "Complex <> Vec.Complex");
  Require(!(row < 0 || row > fRows - 1), "Row > (Rows-1)");
  Require(!(col < 0 || len < 0 || std::int64_t{col} + len > fCols), "(Col+Len) > Cols");
  Require(!(vecIndex < 0 || std::int64_t{vecIndex} + len > vec->Length()), "(VecIndex+Len) > Vec.Length");
  Scatter(*vec, vecIndex, *this, std::int64_t{row} * fLeadingCols + col, 1, len);
  return *this;
}

TMtx& TMtx::SetCol(const TDenseQuorel* vec, std::int32_t col) {
  Require(vec != nullptr, "Vec = nil");
  return SetCol(vec, 0, 0, col, vec->Length());
}

TMtx& TMtx::SetCol(const TDenseQuorel* vec, std::int32_t vecIndex, std::int32_t row, std::int32_t col,
                   std::int32_t len) {
  Require(vec != nullptr, "Vec = nil");
  Require(vec->Complex() == fComplex, "Complex <> Vec.Complex");
  Require(!(col < 0 || col > fCols - 1), "Col > (Cols-1)");
  Require(!(row < 0 || len < 0 || std::int64_t{row} + len > fRows), "(Row+Len) > Rows");
  Require(!(vecIndex < 0 || std::int64_t{vecIndex} + len > vec->Length()), "(VecIndex+Len) > Vec.Length");
  Scatter(*vec, vecIndex, *this, std::int64_t{row} * fLeadingCols + col, fLeadingCols, len);
  return *this;
}

TMtx& TMtx::SetRows(std::span<const TDenseQuorel* const> vecs) {
  for (std::size_t k = 0; k < vecs.size(); ++k) SetRow(vecs[k], static_cast<std::int32_t>(k));
  return *this;
}

TMtx& TMtx::SetCols(std::span<const TDenseQuorel* const> vecs) {
  for (std::size_t k = 0; k < vecs.size(); ++k) SetCol(vecs[k], static_cast<std::int32_t>(k));
  return *this;
}

TMtx& TMtx::Diag(const TDenseQuorel& vec, std::int32_t k) {
  const std::int64_t n = vec.Length();
  Require(n != 0, "Vec.Length = 0");
  Require(vec.Complex() == fComplex, "Vec.Complex <> Complex");
  if (k >= 0) {
    Require(!(n + k > fCols || n > fRows), "(((n + k) > fCols) or (n > fRows))");
  } else {
    Require(!(n - k > fRows || n > fCols), "(((n - k) > fRows) or (n > fCols))");
  }
  const std::int64_t start = k >= 0 ? k : -std::int64_t{k} * fLeadingCols;
  Scatter(vec, 0, *this, start, std::int64_t{fLeadingCols} + 1, static_cast<std::int32_t>(n));
  return *this;
}

// --- concatenation ---------------------------------------------------------------------------------
// A source that is Self is read from a copy taken before Self is sized or written.

namespace {
// Writes the sources side by side (`horz`) or one above another into dst from (row, col); every
// check has been made. selfCopy stands in for dst among the sources.
void Place(TMtx& dst, std::int32_t row, std::int32_t col, std::span<const TMtx* const> src, const TMtx& selfCopy,
           bool horz) {
  for (const TMtx* m : src) {
    const TMtx& from = m == &dst ? selfCopy : *m;
    CopyBlock(from, 0, 0, dst, row, col, from.Rows(), from.Cols());
    if (horz) {
      col += from.Cols();
    } else {
      row += from.Rows();
    }
  }
}

bool Contains(std::span<const TMtx* const> src, const TMtx& m) {
  return std::find(src.begin(), src.end(), &m) != src.end();
}
}  // namespace

TMtx& TMtx::ConcatHorz(std::span<const TMtx* const> src) {
  NoNil(src);
  if (src.empty()) return Size(0, 0);
  std::int64_t cols = 0;
  for (const TMtx* m : src) {
    Require(m->fRows == src[0]->fRows, "Src[0].Rows <> Src[i].Rows");
    Require(m->fComplex == src[0]->fComplex, "Src[0].Complex <> Src[i].Complex");
    cols += m->fCols;
  }
  std::optional<TWorkMtx> keep;
  const TMtx& selfCopy = detail::SelfOrCopy(*this, Contains(src, *this), keep);
  Size(src[0]->fRows, static_cast<std::int32_t>(std::min<std::int64_t>(cols, 0x7FFFFFFF)), src[0]->fComplex);
  Place(*this, 0, 0, src, selfCopy, true);
  return *this;
}

TMtx& TMtx::ConcatHorz(std::int32_t destRow, std::int32_t destCol, std::span<const TMtx* const> src) {
  NoNil(src);
  Require(!(destRow < 0 || destCol < 0), "(Row < 0) or (Col < 0)");
  std::int64_t col = destCol;
  for (const TMtx* m : src) {
    Require(std::int64_t{destRow} + m->fRows <= fRows, "DestRow + Src[i].Rows > Rows");
    Require(fComplex == m->fComplex, "Complex <> Src[i].Complex");
    col += m->fCols;
  }
  Require(col <= fCols, "Too many columns!");
  std::optional<TWorkMtx> keep;
  const TMtx& selfCopy = detail::SelfOrCopy(*this, Contains(src, *this), keep);
  Place(*this, destRow, destCol, src, selfCopy, true);
  return *this;
}

TMtx& TMtx::ConcatVert(std::span<const TMtx* const> src) {
  NoNil(src);
  if (src.empty()) return Size(0, 0);
  std::int64_t rows = 0;
  for (const TMtx* m : src) {
    Require(m->fCols == src[0]->fCols, "Src[0].Cols <> Src[i].Cols");
    Require(m->fComplex == src[0]->fComplex, "Src[0].Complex <> Src[i].Complex");
    rows += m->fRows;
  }
  std::optional<TWorkMtx> keep;
  const TMtx& selfCopy = detail::SelfOrCopy(*this, Contains(src, *this), keep);
  Size(static_cast<std::int32_t>(std::min<std::int64_t>(rows, 0x7FFFFFFF)), src[0]->fCols, src[0]->fComplex);
  Place(*this, 0, 0, src, selfCopy, false);
  return *this;
}

TMtx& TMtx::ConcatVert(std::int32_t destRow, std::int32_t destCol, std::span<const TMtx* const> src) {
  NoNil(src);
  Require(!(destRow < 0 || destCol < 0), "(Row < 0) or (Col < 0)");
  std::int64_t row = destRow;
  for (const TMtx* m : src) {
    Require(std::int64_t{destCol} + m->fCols <= fCols, "DestCol + Src[i].Cols > Cols");
    Require(fComplex == m->fComplex, "Complex <> Src[i].Complex");
    row += m->fRows;
  }
  Require(row <= fRows, "Too many rows!");
  std::optional<TWorkMtx> keep;
  const TMtx& selfCopy = detail::SelfOrCopy(*this, Contains(src, *this), keep);
  Place(*this, destRow, destCol, src, selfCopy, false);
  return *this;
}

namespace {
// Checks an aRows x aCols tiling of matrices given row by row: every tile shares the rows of the
// first tile of its row and the columns of the first tile of its column. Returns the tile row
// heights and column widths.
// `sameKind` false skips the kind test, for tiles that are about to take one kind.
template <class M>
void CheckTiling(std::int32_t aRows, std::int32_t aCols, std::span<M* const> tiles, std::vector<std::int32_t>& heights,
                 std::vector<std::int32_t>& widths, bool sameKind = true) {
  NoNil(tiles);
  if (aRows <= 0 || aCols <= 0)
    ERangeErrorRaise(FormatMsg("TMtx.Concat: Invalid ARows,ACols values: %d,%d", aRows, aCols));
  if (std::int64_t{aRows} * aCols != static_cast<std::int64_t>(tiles.size()))
    ERangeErrorRaise(FormatMsg("TMtx.Concat: (ARows*ACols)<>Length(Src): (%d*%d) <> %d", aRows, aCols,
                               static_cast<int>(tiles.size())));
  heights.assign(static_cast<std::size_t>(aRows), 0);
  widths.assign(static_cast<std::size_t>(aCols), 0);
  for (std::int32_t r = 0; r < aRows; ++r) heights[r] = tiles[static_cast<std::size_t>(r) * aCols]->Rows();
  for (std::int32_t c = 0; c < aCols; ++c) widths[c] = tiles[c]->Cols();
  for (std::size_t k = 0; k < tiles.size(); ++k) {
    const M* m = tiles[k];
    if (m->Rows() != heights[k / aCols] || m->Cols() != widths[k % aCols])
      ERangeErrorRaise(
          FormatMsg("TMtx.Concat: Invalid source matrix dimension: %d (%d,%d)", static_cast<int>(k), m->Rows(), m->Cols()));
    if (sameKind)
      Require(m->Complex() == tiles[0]->Complex(), "TMtx.Concat: Source matrixes have mixed real/complex type");
  }
}

std::int64_t Total(const std::vector<std::int32_t>& sizes) {
  std::int64_t sum = 0;
  for (std::int32_t s : sizes) sum += s;
  return sum;
}
}  // namespace

TMtx& TMtx::Concat(std::int32_t aRows, std::int32_t aCols, std::span<const TMtx* const> src) {
  std::vector<std::int32_t> heights, widths;
  CheckTiling(aRows, aCols, src, heights, widths);
  const std::int64_t rows = Total(heights), cols = Total(widths);
  Require(!(rows > 0x7FFFFFFF || cols > 0x7FFFFFFF), "Out of memory! Attempted to allocate over 2GB!");
  std::optional<TWorkMtx> keep;
  const TMtx& selfCopy = detail::SelfOrCopy(*this, Contains(src, *this), keep);
  Size(static_cast<std::int32_t>(rows), static_cast<std::int32_t>(cols), src[0]->fComplex);
  std::int32_t row = 0;
  for (std::int32_t r = 0; r < aRows; ++r) {
    Place(*this, row, 0, src.subspan(static_cast<std::size_t>(r) * aCols, static_cast<std::size_t>(aCols)), selfCopy,
          true);
    row += heights[r];
  }
  return *this;
}

void TMtx::Split(std::int32_t aRows, std::int32_t aCols, std::span<TMtx* const> dst) const {
  // Every check before the first tile takes Self's kind: a refused call leaves the tiles as they were.
  std::vector<std::int32_t> heights, widths;
  CheckTiling(aRows, aCols, dst, heights, widths, false);
  Require(!(Total(heights) != fRows || Total(widths) != fCols), "TMtx.Split: tiles do not cover Self");
  for (const TMtx* m : dst) RequireState(!(m->fIsSubRange && m->fComplex != fComplex), "IsSubRange = True!");
  // A tile that is Self is written before every block has been read: read from a copy.
  std::optional<TWorkMtx> keep;
  const TMtx& src = detail::SelfOrCopy(*this, std::find(dst.begin(), dst.end(), this) != dst.end(), keep);
  for (TMtx* m : dst) m->Size(m->fRows, m->fCols, src.fComplex);
  std::int32_t row = 0;
  for (std::int32_t r = 0; r < aRows; ++r) {
    std::int32_t col = 0;
    for (std::int32_t c = 0; c < aCols; ++c) {
      TMtx& m = *dst[static_cast<std::size_t>(r) * aCols + c];
      CopyBlock(src, row, col, m, 0, 0, m.fRows, m.fCols);
      col += widths[c];
    }
    row += heights[r];
  }
}

}  // namespace quorel
