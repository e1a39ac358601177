// Reductions along rows and columns, trace and matrix norms, and column sorting.
#include <algorithm>
#include <cmath>
#include <cstdint>

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
  Reduce(*this, dst, fCols, [&](TVec& out) {
    out.SetZero();
    OnKind(fComplex, [&](auto t) {
      using T = decltype(t);
      for (std::int32_t i = 0; i < fRows; ++i) kern::Add(Ptr<T>(out), At<T>(*this, i, 0), Ptr<T>(out), fCols);
    });
  });
}

void TMtx::MeanCols(TVec& dst) const {
  SumCols(dst);
  if (fRows > 0) dst.Scale(1.0 / fRows);
}

double TMtx::Trace() const {
  Require(!fComplex, "Complex = True");
  double sum = 0.0;
  for (std::int32_t i = 0, n = std::min(fRows, fCols); i < n; ++i) sum += Values(i, i);
  return sum;
}

TCplx TMtx::Tracec() const {
  Require(fComplex, "Complex = False");
  TCplx sum{0.0, 0.0};
  for (std::int32_t i = 0, n = std::min(fRows, fCols); i < n; ++i) sum = detail::Add(sum, CValues(i, i));
  return sum;
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
