// Structure of a sparse matrix (transpose, diagonal, triangles, symmetry, splitting) and its
// reductions.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "quorel/core/errors.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/sparse/detail/scratch.h"
#include "quorel/sparse/detail/sparse_kernels.h"
#include "quorel/sparse/detail/sparse_rebuild.h"
#include "quorel/sparse/sparse.h"

namespace quorel {

using detail::SpAcc;
using detail::SpMag;
using detail::Find;

// --- structure -----------------------------------------------------------------------------------------

TSparseMtx& TSparseMtx::Transp(const TSparseMtx& a) {
  a.RequireStructure();
  const detail::TSparseScratchTrim trim;
  const std::int32_t rows = a.fRows, cols = a.fCols, nnz = a.fLength;
  detail::OnKind(a.fComplex, [&](auto t) {
    using T = decltype(t);
    // Self takes the transpose in its own arrays; only a transpose of itself goes through the
    // per-thread scratch, as A must stay readable until the end.
    const bool self = this == &a;
    std::int32_t* ap;
    std::int32_t* ai;
    T* v;
    if (self) {
      ap = detail::Scratch<std::int32_t>(detail::sssColPtr, static_cast<std::size_t>(rows) + 1);
      ai = detail::Scratch<std::int32_t>(detail::sssEntries, static_cast<std::size_t>(nnz));
      v = detail::Scratch<T>(detail::sssValues, static_cast<std::size_t>(nnz));
    } else {
      SetShape(cols, rows, a.fComplex, nnz);
      ap = fAp.data();
      ai = fAi.data();
      v = detail::Ptr<T>(*this);
    }
    std::fill_n(ap, static_cast<std::size_t>(rows) + 1, 0);
    for (std::int32_t k = 0; k < nnz; ++k) ++ap[a.fAi[k] + 1];
    for (std::int32_t i = 0; i < rows; ++i) ap[i + 1] += ap[i];
    std::int32_t* next = detail::Scratch<std::int32_t>(detail::sssNext, static_cast<std::size_t>(rows));
    std::copy_n(ap, rows, next);
    const T* av = detail::Ptr<T>(a);
    for (std::int32_t j = 0; j < cols; ++j)
      for (std::int32_t k = a.fAp[j]; k < a.fAp[j + 1]; ++k) {
        const std::int32_t q = next[a.fAi[k]]++;
        ai[q] = j;
        v[q] = av[k];
      }
    if (self) {
      SetShape(cols, rows, a.fComplex, nnz);
      std::copy_n(ap, static_cast<std::size_t>(rows) + 1, fAp.begin());
      std::copy_n(ai, nnz, fAi.begin());
      std::copy_n(v, nnz, detail::Ptr<T>(*this));
    }
  });
  return *this;
}

TSparseMtx& TSparseMtx::Transp() { return Transp(*this); }

void TSparseMtx::Diag(TVec& dst) const {
  RequireStructure();
  const std::int32_t n = std::min(fRows, fCols);
  dst.Size(n, fComplex);
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    T* d = detail::Ptr<T>(dst);
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < n; ++j) {
      const std::int32_t k = Find(fAp, fAi, j, j);
      d[j] = k < 0 ? T{} : v[k];
    }
  });
}

TSparseMtx& TSparseMtx::UpperTriangle(const TSparseMtx& a) {
  a.RequireStructure();
  TSparseMtx copy;
  copy.Copy(a);
  Rebuild(copy, nullptr, [](std::int32_t i, std::int32_t j) { return j >= i; });
  return *this;
}

TSparseMtx& TSparseMtx::LowerTriangle(const TSparseMtx& a) {
  a.RequireStructure();
  TSparseMtx copy;
  copy.Copy(a);
  Rebuild(copy, nullptr, [](std::int32_t i, std::int32_t j) { return i >= j; });
  return *this;
}

TSparseMtx& TSparseMtx::StructurizeSymmetric() {
  RequireStructure();
  if (fRows != fCols) ERaise("Rows <> Cols");
  if (fLength == 0) return *this;
  TIntegerArray r, c;
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    std::vector<T> val;
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < fCols; ++j)
      for (std::int32_t k = fAp[j]; k < fAp[j + 1]; ++k) {
        r.insert(r.end(), {fAi[k], j});
        c.insert(c.end(), {j, fAi[k]});
        val.insert(val.end(), {v[k], T{}});
      }
    BuildFromTriplets<T>(fRows, fCols, r, c, val.data(), 0.0, true);
  });
  return *this;
}

TSparseMtx& TSparseMtx::RandomSparse(std::int32_t rows, std::int32_t cols, std::int32_t nonZeroCount,
                                     std::int32_t maxNonZeroCount, std::uint32_t seed) {
  if (rows <= 0 || cols <= 0) ERaise("(RowCount <= 0) or (ColCount <= 0)");
  if (nonZeroCount < 0) ERaise("NonZeroCount < 0");
  if (nonZeroCount > maxNonZeroCount) ERaise("Random sparse: MaxNonZeroCount reached!");
  std::mt19937 gen(seed);
  std::uniform_int_distribution<std::int32_t> ri(0, rows - 1), ci(0, cols - 1);
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  const std::int32_t diag = std::min({rows, cols, nonZeroCount});
  TIntegerArray r, c;
  TDoubleArray v;
  for (std::int32_t i = 0; i < diag; ++i) {
    r.push_back(i);
    c.push_back(i);
    v.push_back(value(gen));
  }
  for (std::int32_t k = diag; k < nonZeroCount; ++k) {
    r.push_back(ri(gen));
    c.push_back(ci(gen));
    v.push_back(value(gen));
  }
  if (r.empty()) {
    r.push_back(0);
    c.push_back(0);
    v.push_back(0.0);
  }
  BuildFromTriplets<double>(rows, cols, r, c, v.data(), 0.0, true);
  return *this;
}

void TSparseMtx::Split(TSparseMtx& lower, TVec& diag, TSparseMtx& upper) const {
  RequireStructure();
  TSparseMtx copy;
  copy.Copy(*this);
  copy.Diag(diag);
  lower.Rebuild(copy, nullptr, [](std::int32_t i, std::int32_t j) { return i > j; });
  upper.Rebuild(copy, nullptr, [](std::int32_t i, std::int32_t j) { return i < j; });
}

TSparseMtx& TSparseMtx::AddSplit(const TSparseMtx& lower, const TVec& diag, const TSparseMtx& upper) {
  if (lower.fRows != upper.fRows || lower.fCols != upper.fCols) ERaise("(A.Rows <> B.Rows) or (A.Cols <> B.Cols)");
  if (diag.Length() != std::min(lower.fRows, lower.fCols)) ERaise("Diag.Length <> Min(Rows, Cols)");
  TSparseMtx d;
  detail::OnKind(diag.Complex(), [&](auto t) {
    using T = decltype(t);
    const std::int32_t n = diag.Length();
    std::vector<std::int32_t> ap(static_cast<std::size_t>(lower.fCols) + 1, n), ai(static_cast<std::size_t>(n));
    for (std::int32_t j = 0; j <= n; ++j) ap[j] = j;
    for (std::int32_t j = 0; j < n; ++j) ai[j] = j;
    d.Assign(lower.fRows, lower.fCols, ap, ai, std::span<const T>(detail::Ptr<T>(diag), n));
  });
  TSparseMtx sum;
  sum.Add(lower, d);
  Add(sum, upper);
  return *this;
}

TSparseMtx& TSparseMtx::DivideElem(const TSparseMtx& b) {
  RequireStructure();
  b.RequireStructure();
  if (fRows != b.fRows || fCols != b.fCols) ERaise("(A.Rows <> B.Rows) or (A.Cols <> B.Cols)");
  if (b.fComplex && !fComplex) set_Complex(true);
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    std::vector<T> col(static_cast<std::size_t>(fRows), T{});
    T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < fCols; ++j) {
      for (std::int32_t k = b.fAp[j]; k < b.fAp[j + 1]; ++k) {
        if constexpr (std::is_same_v<T, TCplx>) {
          col[b.fAi[k]] = b.fComplex ? b.PCValues1D(0)[k] : TCplx{b.fValues[k], 0.0};
        } else {
          col[b.fAi[k]] = b.fValues[k];
        }
      }
      for (std::int32_t k = fAp[j]; k < fAp[j + 1]; ++k) {
        const T d = col[fAi[k]];
        if constexpr (std::is_same_v<T, TCplx>) {
          const double den = d.Re * d.Re + d.Im * d.Im;
          const TCplx x = v[k];
          v[k] = {(x.Re * d.Re + x.Im * d.Im) / den, (x.Im * d.Re - x.Re * d.Im) / den};
        } else {
          v[k] /= d;
        }
      }
      for (std::int32_t k = b.fAp[j]; k < b.fAp[j + 1]; ++k) col[b.fAi[k]] = T{};
    }
  });
  ValuesChanged();
  return *this;
}

TSparseMtx& TSparseMtx::PixelDownSample(const TSparseMtx& a, std::int32_t factor) {
  a.RequireStructure();
  if (factor <= 0) ERaise("Factor <= 0");
  const std::int32_t rows = (a.fRows + factor - 1) / factor, cols = (a.fCols + factor - 1) / factor;
  TSparseMtx copy;
  copy.Copy(a);
  TIntegerArray r, c;
  detail::OnKind(a.fComplex, [&](auto t) {
    using T = decltype(t);
    std::vector<T> val;
    const T* v = detail::Ptr<T>(copy);
    for (std::int32_t j = 0; j < copy.fCols; ++j)
      for (std::int32_t k = copy.fAp[j]; k < copy.fAp[j + 1]; ++k) {
        r.push_back(copy.fAi[k] / factor);
        c.push_back(j / factor);
        val.push_back(v[k]);
      }
    if (r.empty()) {
      Assign(rows, cols, std::vector<std::int32_t>(static_cast<std::size_t>(cols) + 1, 0), {}, std::span<const T>{});
      return;
    }
    BuildFromTriplets<T>(rows, cols, r, c, val.data(), 0.0, true);
  });
  return *this;
}

// --- reductions ----------------------------------------------------------------------------------------------
// The implicit zeros are counted from the shape, which a sub-range of the values does not have.

double TSparseMtx::Max() const {
  RequireFullRange();
  if (fComplex) ERaise("Complex = True");
  double m = 0.0;
  for (double x : Values()) m = std::max(m, x);
  return m;
}

double TSparseMtx::Min() const {
  RequireFullRange();
  if (fComplex) ERaise("Complex = True");
  double m = 0.0;
  for (double x : Values()) m = std::min(m, x);
  return m;
}

double TSparseMtx::Mean() const {
  RequireFullRange();
  if (fComplex) ERaise("Complex = True");
  double s = 0.0;
  for (double x : Values()) s += x;
  return s / (double(fRows) * fCols);
}

double TSparseMtx::RMS() const {
  RequireFullRange();
  double s = 0.0;
  for (double x : Values()) s += x * x;
  return std::sqrt(s / (double(fRows) * fCols));
}

TCplx TSparseMtx::Maxc() const {
  RequireFullRange();
  if (!fComplex) ERaise("Complex = False");
  TCplx m{0.0, 0.0};
  for (const TCplx& z : CValues())
    if (detail::SpMag2(z) > detail::SpMag2(m)) m = z;
  return m;
}

TCplx TSparseMtx::Minc() const {
  RequireFullRange();
  if (!fComplex) ERaise("Complex = False");
  // The implicit zeros take part only when there are any.
  TCplx m{0.0, 0.0};
  if (std::int64_t{fLength} < std::int64_t{fRows} * fCols || fLength == 0) return m;
  m = CValues()[0];
  for (const TCplx& z : CValues())
    if (detail::SpMag2(z) < detail::SpMag2(m)) m = z;
  return m;
}

TCplx TSparseMtx::Meanc() const {
  RequireFullRange();
  if (!fComplex) ERaise("Complex = False");
  TCplx s{0.0, 0.0};
  for (const TCplx& z : CValues()) SpAcc(s, z);
  const double n = double(fRows) * fCols;
  return {s.Re / n, s.Im / n};
}

}  // namespace quorel
