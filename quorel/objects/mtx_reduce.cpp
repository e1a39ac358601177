// Reductions along rows and columns, trace and matrix norms, and column sorting.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "quorel/core/complex_compare.h"
#include "quorel/core/errors.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/detail/mtx_detail.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/reduce.h"

namespace quorel {

using detail::At;
using detail::Require;
using detail::OnKind;
using detail::Ptr;

namespace {
// Sizes dst to n elements of src's kind and runs fill(out) into it. A dst over src's own storage (a
// row of the matrix) would be overwritten before it is read: the values are then made in a work
// vector and copied over.
template <class Fill>
void Reduce(const TMtx& src, TVec& dst, std::int32_t n, Fill fill) {
  dst.Size(n, src.Complex());
  if (!detail::SharesStorage(src, dst)) [[likely]] {
    fill(dst);
    return;
  }
  TWorkVec work;
  work->Size(n, src.Complex());
  fill(*work);
  dst.Copy(*work);
}

// Columns accumulated row by row whose result left the range (1e308 + 1e308 - 1e308) are reduced
// again by the kernel, which rescales where its partial results overflow; finite results, the
// ordinary case, cost one scan.
template <class T, class Reduction>
void RedoColumnsOutOfRange(const TMtx& src, T* out, Reduction reduce) {
  const std::int32_t rows = src.Rows(), cols = src.Cols();
  std::optional<TWorkVec> column;
  for (std::int32_t j = 0; j < cols; ++j) {
    if (!IsNanInf(out[j])) [[likely]] continue;
    if (!column) {
      column.emplace();
      (*column)->Size(rows, src.Complex());
    }
    T* c = Ptr<T>(**column);
    for (std::int32_t i = 0; i < rows; ++i) c[i] = *At<T>(src, i, j);
    out[j] = reduce(c, rows);
  }
}

// Sums (or means) of the columns into out: rows added whole, a vectorised pass each.
void ColumnSums(const TMtx& src, TVec& out, bool mean) {
  out.SetZero();
  OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < src.Rows(); ++i) kern::Add(Ptr<T>(out), At<T>(src, i, 0), Ptr<T>(out), src.Cols());
    if (mean && src.Rows() > 0) kern::ScaleByValue(Ptr<T>(out), 1.0 / src.Rows(), Ptr<T>(out), src.Cols());
    RedoColumnsOutOfRange(src, Ptr<T>(out), [mean](const T* c, std::ptrdiff_t n) { return mean ? kern::Mean(c, n) : kern::Sum(c, n); });
  });
}
}  // namespace

void TMtx::SumRows(TVec& dst) const {
  Reduce(*this, dst, fRows, [&](TVec& out) {
    OnKind(fComplex, [&](auto t) {
      using T = decltype(t);
      for (std::int32_t i = 0; i < fRows; ++i) *Ptr<T>(out, i) = kern::Sum(At<T>(*this, i, 0), fCols);
    });
  });
}

void TMtx::MeanRows(TVec& dst) const {
  Reduce(*this, dst, fRows, [&](TVec& out) {
    OnKind(fComplex, [&](auto t) {
      using T = decltype(t);
      for (std::int32_t i = 0; i < fRows; ++i) *Ptr<T>(out, i) = kern::Mean(At<T>(*this, i, 0), fCols);
    });
  });
}

void TMtx::SumCols(TVec& dst) const {
  Reduce(*this, dst, fCols, [&](TVec& out) { ColumnSums(*this, out, false); });
}

void TMtx::MeanCols(TVec& dst) const {
  Reduce(*this, dst, fCols, [&](TVec& out) { ColumnSums(*this, out, true); });
}

namespace {
// Sum of the diagonal. In order while it stays finite; else by the kernel over a copy of the
// diagonal, which rescales where the running sum overflows although the trace need not.
template <class T>
T DiagonalSum(const TMtx& m) {
  const std::int32_t n = std::min(m.Rows(), m.Cols());
  T sum{};
  for (std::int32_t i = 0; i < n; ++i) sum = detail::Add(sum, *At<T>(m, i, i));
  if (!IsNanInf(sum)) [[likely]] return sum;
  TWorkVec diagonal;
  diagonal->Size(n, m.Complex());
  T* d = Ptr<T>(*diagonal);
  for (std::int32_t i = 0; i < n; ++i) d[i] = *At<T>(m, i, i);
  return kern::Sum(d, n);
}
}  // namespace

double TMtx::Trace() const {
  Require(!fComplex, "Complex = True");
  return DiagonalSum<double>(*this);
}

TCplx TMtx::Tracec() const {
  Require(fComplex, "Complex = False");
  return DiagonalSum<TCplx>(*this);
}

double TMtx::Norm1() const {
  if (fRows == 0 || fCols == 0) return 0.0;
  TWorkVec sums, mags;
  sums->Size(fCols, false);
  sums->SetZero();
  mags->Size(fCols, false);
  for (std::int32_t i = 0; i < fRows; ++i) {
    if (fComplex) {
      kern::Mag(At<TCplx>(*this, i, 0), mags->PValues(0), fCols);
    } else {
      kern::Abs(At<double>(*this, i, 0), mags->PValues(0), fCols);
    }
    kern::Add(sums->PValues(0), mags->PValues(0), sums->PValues(0), fCols);
  }
  return kern::NormInf(sums->PValues(0), fCols);
}

double TMtx::NormInf() const {
  if (fRows == 0 || fCols == 0) return 0.0;
  double norm = 0.0;
  OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    for (std::int32_t i = 0; i < fRows; ++i) {
      const double row = kern::NormL1(At<T>(*this, i, 0), fCols);
      if (row != row) {  // std::max would drop it
        norm = row;
        return;
      }
      norm = std::max(norm, row);
    }
  });
  return norm;
}

double Trace(const TMtx& a) { return a.Trace(); }
double Norm1(const TMtx& a) { return a.Norm1(); }
double NormInf(const TMtx& a) { return a.NormInf(); }

// --- sorting ---------------------------------------------------------------------------------------

namespace {
// Strict orders with NaN after every number, whichever the direction.
bool Before(double a, double b, bool ascending) {
  if (std::isnan(a)) return false;
  if (std::isnan(b)) return true;
  return ascending ? a < b : a > b;
}
bool Before(const TCplx& a, const TCplx& b, bool ascending) {
  if (IsNan(a)) return false;
  if (IsNan(b)) return true;
  return ascending ? Smaller(a, b) : Bigger(a, b);
}

// Sorts every column: the columns become contiguous rows of a transposed work copy.
void SortColumns(TMtx& m, bool ascending) {
  if (m.Rows() < 2) return;
  TWorkMtx t;
  t->Transp(m);
  OnKind(m.Complex(), [&](auto x) {
    using T = decltype(x);
    for (std::int32_t j = 0; j < t->Rows(); ++j) {
      T* row = At<T>(*t, j, 0);
      std::sort(row, row + t->Cols(), [ascending](const T& a, const T& b) { return Before(a, b, ascending); });
    }
  });
  m.Transp(*t);
}
}  // namespace

TMtx& TMtx::SortAscend() {
  SortColumns(*this, true);
  return *this;
}

TMtx& TMtx::SortDescend() {
  SortColumns(*this, false);
  return *this;
}

}  // namespace quorel
