// Sparse products and sums: sparse x sparse and sparse + sparse column by column with one marker
// array, and sparse with dense operands through the sparse BLAS kernels.

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "quorel/core/detail/checks.h"
#include "quorel/core/errors.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/sparse/detail/scratch.h"
#include "quorel/sparse/detail/sparse_kernels.h"
#include "quorel/sparse/sparse.h"

namespace quorel {

using detail::Axpy;
using detail::Axpyi;
using detail::Doti;
using detail::SpAcc;
using detail::SpMul;
using detail::RequireState;

namespace {

/// A compressed-column result in the per-thread scratch, whose capacity doubles when full,
/// refusing to pass the limit. The first capacity is an upper bound of the result when that is
/// within the limit, so the doubling is rarely needed.
template <class T>
struct TGrowingColumns {
  std::int32_t* ap;
  std::int32_t* ai;
  T* v;
  std::int32_t count = 0;
  std::int64_t capacity = 0;
  std::int32_t limit;
  const char* msg;
  bool external = false;

  TGrowingColumns(std::int32_t cols, std::int64_t bound, std::int32_t maxNonZeroCount, const char* message)
      : limit(maxNonZeroCount), msg(message) {
    capacity = std::max<std::int64_t>(1, std::min<std::int64_t>(bound, maxNonZeroCount > 0 ? maxNonZeroCount : 1));
    ap = detail::Scratch<std::int32_t>(detail::sssColPtr, static_cast<std::size_t>(cols) + 1);
    ap[0] = 0;
    ai = detail::Scratch<std::int32_t>(detail::sssEntries, static_cast<std::size_t>(capacity));
    v = detail::Scratch<T>(detail::sssValues, static_cast<std::size_t>(capacity));
  }
  /// Writes straight into arrays of `capacity` entries that an upper bound says are enough.
  TGrowingColumns(std::int32_t* ap_, std::int32_t* ai_, T* v_, std::int64_t capacity_)
      : ap(ap_), ai(ai_), v(v_), capacity(capacity_), limit(0), msg(nullptr), external(true) {
    ap[0] = 0;
  }
  std::int32_t Append(std::int32_t row, const T& value) {
    if (count == capacity) Grow();
    ai[count] = row;
    v[count] = value;
    return count++;
  }
  [[gnu::noinline]] void Grow() {
    RequireState(!external, "Sparse product: bound exceeded");
    if (limit < 2 * capacity) ERaise(msg);
    capacity *= 2;
    const auto n = static_cast<std::size_t>(capacity), kept = static_cast<std::size_t>(count);
    ai = static_cast<std::int32_t*>(detail::SparseScratchGrow(detail::sssEntries, n * sizeof(std::int32_t),
                                                              kept * sizeof(std::int32_t)));
    v = static_cast<T*>(detail::SparseScratchGrow(detail::sssValues, n * sizeof(T), kept * sizeof(T)));
  }
};

/// A marker per row, all -1.
std::int32_t* Markers(std::int32_t rows) {
  std::int32_t* marker = detail::Scratch<std::int32_t>(detail::sssMarker, static_cast<std::size_t>(rows));
  std::fill_n(marker, rows, -1);
  return marker;
}

/// Values of a sparse matrix as T (complex copies of real values when T is complex).
template <class T>
const T* ValuesAs(const TSparseMtx& a, std::vector<T>& promoted) {
  if constexpr (std::is_same_v<T, TCplx>) {
    if (a.Complex()) return a.PCValues1D(0);
    promoted.resize(static_cast<std::size_t>(a.NonZeros()));
    for (std::int32_t k = 0; k < a.NonZeros(); ++k) promoted[k] = {a.PValues1D(0)[k], 0.0};
    return promoted.data();
  } else {
    return a.PValues1D(0);
  }
}

}  // namespace

template <class Columns>
void TSparseMtx::TakeColumns(std::int32_t rows, std::int32_t cols, Columns& out) {
  using T = std::remove_cvref_t<decltype(out.v[0])>;
  SetShape(rows, cols, std::is_same_v<T, TCplx>, out.count);
  std::copy_n(out.ap, static_cast<std::size_t>(cols) + 1, fAp.begin());
  std::copy_n(out.ai, out.count, fAi.begin());
  std::copy_n(out.v, out.count, detail::Ptr<T>(*this));
}

TSparseMtx& TSparseMtx::Mul(const TSparseMtx& b, const TSparseMtx& c, std::int32_t maxNonZeroCount) {
  b.RequireStructure();
  c.RequireStructure();
  if (c.fRows != b.fCols) ERaise("B.Rows <> C.Cols");
  const bool complex = b.fComplex || c.fComplex;
  detail::OnKind(complex, [&](auto t) {
    using T = decltype(t);
    std::vector<T> pb, pc;
    const T* bv = ValuesAs<T>(b, pb);
    const T* cv = ValuesAs<T>(c, pc);
    // Upper bound of the result: one entry per multiplication, at most Rows per column.
    std::int64_t bound = 0;
    for (std::int32_t j = 0; j < c.fCols; ++j) {
      std::int64_t col = 0;
      for (std::int32_t kc = c.fAp[j]; kc < c.fAp[j + 1]; ++kc) col += b.fAp[c.fAi[kc] + 1] - b.fAp[c.fAi[kc]];
      bound += std::min<std::int64_t>(col, b.fRows);
    }
    // Within the limit and not an operand: Self's own arrays take the product, so it is not copied.
    const bool direct = this != &b && this != &c && bound <= maxNonZeroCount &&
                        (complex ? 2 : 1) * bound < std::int64_t{0x7FFFFFFF} - 1;
    if (direct) SetShape(b.fRows, c.fCols, complex, static_cast<std::int32_t>(bound));
    TGrowingColumns<T> out = direct ? TGrowingColumns<T>(fAp.data(), fAi.data(), detail::Ptr<T>(*this), bound)
                                    : TGrowingColumns<T>(c.fCols, bound, maxNonZeroCount,
                                                         "Sparse matrix multiply: MaxNonZeroCount reached!");
    // marker[i] >= start of the current column: row i already has a slot there.
    std::int32_t* marker = Markers(b.fRows);
    // The loop keeps the output's count and pointers in locals: stores into the index arrays
    // would otherwise make the compiler reload them at every step.
    const std::int32_t *bap = b.fAp.data(), *bai = b.fAi.data(), *cap = c.fAp.data(), *cai = c.fAi.data();
    std::int32_t count = 0;
    std::int32_t* ai = out.ai;
    T* v = out.v;
    for (std::int32_t j = 0; j < c.fCols; ++j) {
      const std::int32_t start = count;
      for (std::int32_t kc = cap[j]; kc < cap[j + 1]; ++kc) {
        const std::int32_t k = cai[kc];
        const T ckj = cv[kc];
        for (std::int32_t kb = bap[k]; kb < bap[k + 1]; ++kb) {
          const std::int32_t i = bai[kb];
          const T prod = SpMul(ckj, bv[kb]);
          const std::int32_t slot = marker[i];
          if (slot >= start) {
            SpAcc(v[slot], prod);
            continue;
          }
          if (count == out.capacity) {
            out.count = count;
            out.Grow();
            ai = out.ai;
            v = out.v;
          }
          marker[i] = count;
          ai[count] = i;
          v[count] = prod;
          ++count;
        }
      }
      out.ap[j + 1] = count;
    }
    out.count = count;
    if (direct) {
      fLength = count;
      fAi.resize(static_cast<std::size_t>(count));
      WriteArrayHeader();
      NotifySetSize();
    } else {
      TakeColumns(b.fRows, c.fCols, out);
    }
  });
  return *this;
}

template <class T>
void TSparseMtx::MergeCols(const TSparseMtx& a, const TSparseMtx& b, T sign, std::int32_t maxNonZeroCount,
                           const char* msg) {
  std::vector<T> pa, pb;
  const T* av = ValuesAs<T>(a, pa);
  const T* bv = ValuesAs<T>(b, pb);
  TGrowingColumns<T> out(a.fCols, std::int64_t{a.fLength} + b.fLength, maxNonZeroCount, msg);
  std::int32_t* marker = Markers(a.fRows);
  for (std::int32_t j = 0; j < a.fCols; ++j) {
    const std::int32_t start = out.count;
    for (std::int32_t k = a.fAp[j]; k < a.fAp[j + 1]; ++k) {
      const std::int32_t i = a.fAi[k];
      if (marker[i] >= start) {
        SpAcc(out.v[marker[i]], av[k]);
      } else {
        marker[i] = out.Append(i, av[k]);
      }
    }
    for (std::int32_t k = b.fAp[j]; k < b.fAp[j + 1]; ++k) {
      const std::int32_t i = b.fAi[k];
      const T x = SpMul(sign, bv[k]);
      if (marker[i] >= start) {
        SpAcc(out.v[marker[i]], x);
      } else {
        marker[i] = out.Append(i, x);
      }
    }
    out.ap[j + 1] = out.count;
  }
  TakeColumns(a.fRows, a.fCols, out);
}

TSparseMtx& TSparseMtx::Add(const TSparseMtx& a, const TSparseMtx& b, std::int32_t maxNonZeroCount) {
  a.RequireStructure();
  b.RequireStructure();
  if (a.fRows != b.fRows || a.fCols != b.fCols) ERaise("(A.Rows <> B.Rows) or (A.Cols <> B.Cols)");
  if (a.fComplex || b.fComplex) {
    MergeCols<TCplx>(a, b, TCplx{1.0, 0.0}, maxNonZeroCount, "Sparse matrix add: MaxNonZeroCount reached!");
  } else {
    MergeCols<double>(a, b, 1.0, maxNonZeroCount, "Sparse matrix add: MaxNonZeroCount reached!");
  }
  return *this;
}

TSparseMtx& TSparseMtx::Sub(const TSparseMtx& a, const TSparseMtx& b, std::int32_t maxNonZeroCount) {
  a.RequireStructure();
  b.RequireStructure();
  if (a.fRows != b.fRows || a.fCols != b.fCols) ERaise("(A.Rows <> B.Rows) or (A.Cols <> B.Cols)");
  if (a.fComplex || b.fComplex) {
    MergeCols<TCplx>(a, b, TCplx{-1.0, 0.0}, maxNonZeroCount, "Sparse matrix add: MaxNonZeroCount reached!");
  } else {
    MergeCols<double>(a, b, -1.0, maxNonZeroCount, "Sparse matrix add: MaxNonZeroCount reached!");
  }
  return *this;
}

// --- with dense operands ----------------------------------------------------------------------------

void TSparseMtx::MulRight(TVec& x) const {
  RequireStructure();
  if (x.Length() != fCols) ERaise("x.Length <> FCols");
  if (x.Complex() != fComplex) ERaise("X.Complex <> Complex");
  TWorkVec y;
  y->Size(fRows, fComplex);
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    T* yv = detail::Ptr<T>(*y);
    std::fill(yv, yv + fRows, T{});
    const T* xv = detail::Ptr<T>(x);
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < fCols; ++j)
      Axpyi(fAp[j + 1] - fAp[j], xv[j], v + fAp[j], fAi.data() + fAp[j], yv);
    x.Size(fRows, fComplex);
    std::copy(yv, yv + fRows, detail::Ptr<T>(x));
  });
}

void TSparseMtx::MulLeft(TVec& x) const {
  RequireStructure();
  if (x.Length() != fRows) ERaise("X.Length <> FRows");
  if (x.Complex() != fComplex) ERaise("X.Complex <> Complex");
  TWorkVec y;
  y->Size(fCols, fComplex);
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    T* yv = detail::Ptr<T>(*y);
    const T* xv = detail::Ptr<T>(x);
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < fCols; ++j) yv[j] = Doti(fAp[j + 1] - fAp[j], v + fAp[j], fAi.data() + fAp[j], xv);
    x.Size(fCols, fComplex);
    std::copy(yv, yv + fCols, detail::Ptr<T>(x));
  });
}

void TSparseMtx::MulRight(TMtx& x) const {
  RequireStructure();
  if (fCols != x.Rows()) ERaise("Cols <> X.Rows");
  if (x.Complex() != fComplex) ERaise("X.Complex <> Complex");
  const std::int32_t m = x.Cols();
  TWorkMtx y;
  y->Size(fRows, m, fComplex);
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    T* yv = detail::Ptr<T>(*y);
    std::fill(yv, yv + std::int64_t{fRows} * m, T{});
    const T* v = detail::Ptr<T>(*this);
    // Row i of the result gathers A(i, j) times row j of X.
    for (std::int32_t j = 0; j < fCols; ++j) {
      const T* xr = detail::Ptr<T>(x, detail::At(x, j, 0));
      for (std::int32_t k = fAp[j]; k < fAp[j + 1]; ++k) Axpy(m, v[k], xr, yv + std::int64_t{fAi[k]} * m);
    }
    x.Size(fRows, m, fComplex);
    for (std::int32_t i = 0; i < fRows; ++i) std::copy(yv + std::int64_t{i} * m, yv + std::int64_t{i + 1} * m, detail::Ptr<T>(x, detail::At(x, i, 0)));
  });
}

void TSparseMtx::MulLeft(TMtx& x) const {
  RequireStructure();
  if (x.Cols() != fRows) ERaise("X.Cols <> FRows");
  if (x.Complex() != fComplex) ERaise("X.Complex <> Complex");
  const std::int32_t p = x.Rows();
  TWorkMtx y;
  y->Size(p, fCols, fComplex);
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    T* yv = detail::Ptr<T>(*y);
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t r = 0; r < p; ++r) {
      const T* xr = detail::Ptr<T>(x, detail::At(x, r, 0));
      for (std::int32_t j = 0; j < fCols; ++j)
        yv[std::int64_t{r} * fCols + j] = Doti(fAp[j + 1] - fAp[j], v + fAp[j], fAi.data() + fAp[j], xr);
    }
    x.Size(p, fCols, fComplex);
    for (std::int32_t r = 0; r < p; ++r)
      std::copy(yv + std::int64_t{r} * fCols, yv + std::int64_t{r + 1} * fCols, detail::Ptr<T>(x, detail::At(x, r, 0)));
  });
}

void TSparseMtx::Add(TMtx& y) const {
  RequireStructure();
  if (fRows != y.Rows()) ERaise("fRows <> Y.Rows");
  if (fCols != y.Cols()) ERaise("fCols <> Y.Cols");
  if (fComplex != y.Complex()) ERaise("Complex <> Y.Complex");
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < fCols; ++j)
      for (std::int32_t k = fAp[j]; k < fAp[j + 1]; ++k) SpAcc(detail::Ptr<T>(y, detail::At(y, fAi[k], j))[0], v[k]);
  });
}

}  // namespace quorel
