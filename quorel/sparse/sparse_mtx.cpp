#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "quorel/core/errors.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/sparse/detail/sparse_kernels.h"
#include "quorel/sparse/detail/scratch.h"
#include "quorel/sparse/detail/solver_iterative.h"
#include "quorel/sparse/detail/sparse_rebuild.h"
#include "quorel/platform/umfpack.h"
#include "quorel/sparse/sparse.h"

namespace quorel {

using detail::SpAcc;
using detail::SpMag;
using detail::Find;


// --- start-up ----------------------------------------------------------------------------------

namespace {
std::atomic<int> sparse_users{0};
}

// Once per process: the library's print pointer is global, and solves on other threads read it.
header_detail::SparseModuleGuard::SparseModuleGuard() {
  if (sparse_users.fetch_add(1) == 0) detail::UmfInstallPrintCapture();
}

// --- construction and storage ------------------------------------------------------------------

TSparseMtx::TSparseMtx()
    : fUmf(std::make_unique<detail::TUmfFactors>()),
      fPardiso(std::make_unique<TPardisoSettings>()),
      fTaucs(std::make_unique<TTaucsSettings>()) {
  fUmfControl.assign(detail::UmfControlSize, 0.0);
  fUmfInfo.assign(detail::UmfInfoSize, 0.0);
  detail::UmfDefaults(fUmfControl.data());
  RefinmentIters = static_cast<std::int32_t>(fUmfControl[detail::UmfIrStepIndex]);
  SparseBlockSize = static_cast<std::int32_t>(fUmfControl[detail::UmfBlockSizeIndex]);
}

TSparseMtx::~TSparseMtx() { ReleaseMemory(); }

void TSparseMtx::StorageChanged() {
  fPattern = sppNone;
  ++fPatternStamp;
  ++fValueStamp;
  fUmf->Reset();
}

void TSparseMtx::ValuesChanged() {
  if (fPattern > sppSymbolic) fPattern = sppSymbolic;
  ++fValueStamp;
}

void TSparseMtx::SetSparsePattern(TSparsePattern value) {
  if (value != sppNumeric) ++fValueStamp;
  if (value == sppNone) ++fPatternStamp;
  fPattern = value;
}

int TSparseMtx::Reusable(const TFactorStamp& stamp, std::int64_t key) const {
  if (stamp.key != key || stamp.pattern != fPatternStamp) return 0;
  return stamp.values == fValueStamp ? 2 : 1;
}

void TSparseMtx::Made(TFactorStamp& stamp, std::int64_t key, bool ok) const {
  stamp = ok ? TFactorStamp{fPatternStamp, fValueStamp, key} : TFactorStamp{};
}

void TSparseMtx::SetShape(std::int32_t rows, std::int32_t cols, bool complex, std::int32_t nonZeros) {
  // Every builder comes here before it writes: a sub-range view must not be rebuilt under it.
  RequireFullRange();
  fComplex = complex;
  const std::int64_t doubles = DoublesFor(nonZeros);
  CheckCapacity(doubles);
  if (doubles > fActualSize || fActualSize == 0) SetActualSize(static_cast<std::int32_t>(std::max<std::int64_t>(doubles, 2)));
  fLength = nonZeros;
  WriteArrayHeader();
  fRows = rows;
  fCols = cols;
  fAp.assign(static_cast<std::size_t>(cols) + 1, 0);
  fAi.resize(static_cast<std::size_t>(nonZeros));
  StorageChanged();
  NotifySetSize();
}

void TSparseMtx::SetLength(std::int32_t value) {
  if (value < 0) EInvalidArgumentRaise("Value < 0");
  if (value == fLength) return;
  RequireFullRange();
  const std::int64_t doubles = DoublesFor(value);
  CheckCapacity(doubles);
  if (doubles > fActualSize) {
    std::vector<double> keep(Values().begin(), Values().end());
    SetActualSize(static_cast<std::int32_t>(doubles));
    std::copy(keep.begin(), keep.end(), fValues);
  }
  fLength = value;
  WriteArrayHeader();
  fAi.resize(static_cast<std::size_t>(value), 0);
  StorageChanged();
  NotifySetSize();
}

void TSparseMtx::Clear() {
  fRows = 0;
  fCols = 0;
  fAp.assign(1, 0);
  fAi.clear();
  fLength = 0;
  WriteArrayHeader();
  StorageChanged();
  NotifySetSize();
}

void TSparseMtx::DoSetComplex() {
  // The values are converted, not reinterpreted: Ai stays parallel to them.
  const std::int32_t n = fLength;
  if (fComplex) {
    std::vector<double> re(fValues, fValues + n);
    fComplex = false;
    if (2 * static_cast<std::int64_t>(n) > fActualSize) SetActualSize(2 * n);
    fComplex = true;
    for (std::int32_t k = 0; k < n; ++k) {
      fValues[2 * k] = re[k];
      fValues[2 * k + 1] = 0.0;
    }
  } else {
    for (std::int32_t k = 0; k < n; ++k) fValues[k] = fValues[2 * k];
  }
  WriteArrayHeader();
  StorageChanged();
  NotifySetSize();
}

TSparseMtx& TSparseMtx::Copy(const TSparseMtx& src) {
  if (&src == this) return *this;
  src.RequireStructure();
  std::vector<std::int32_t> ap(src.fAp), ai(src.fAi);
  std::vector<double> v(src.Values().begin(), src.Values().end());
  SetShape(src.fRows, src.fCols, src.fComplex, src.fLength);
  fAp = std::move(ap);
  fAi = std::move(ai);
  std::copy(v.begin(), v.end(), fValues);
  fDontStripZeros = src.fDontStripZeros;
  return *this;
}

template <class T>
static void CheckCompressed(std::int32_t rows, std::int32_t cols, std::span<const std::int32_t> ap,
                            std::span<const std::int32_t> ai, std::span<const T> values) {
  if (rows < 0 || cols < 0) ERaise("(Rows < 0) or (Cols < 0)");
  if (static_cast<std::int64_t>(ap.size()) != std::int64_t{cols} + 1) ERaise("Length(Ap) <> Cols + 1");
  if (ap[0] != 0) ERaise("Ap[0] <> 0");
  for (std::int32_t j = 0; j < cols; ++j)
    if (ap[j + 1] < ap[j]) ERaise("Ap is not non-decreasing");
  if (static_cast<std::size_t>(ap[cols]) != ai.size() || ai.size() != values.size())
    ERaise("Length(Ai) <> Ap[Cols]");
  for (std::int32_t i : ai)
    if (i < 0 || i >= rows) ERaise("Ai: row index out of range");
}

TSparseMtx& TSparseMtx::Assign(std::int32_t rows, std::int32_t cols, std::span<const std::int32_t> ap,
                               std::span<const std::int32_t> ai, std::span<const double> values) {
  CheckCompressed(rows, cols, ap, ai, values);
  SetShape(rows, cols, false, static_cast<std::int32_t>(ai.size()));
  std::copy(ap.begin(), ap.end(), fAp.begin());
  std::copy(ai.begin(), ai.end(), fAi.begin());
  std::copy(values.begin(), values.end(), fValues);
  return *this;
}

TSparseMtx& TSparseMtx::Assign(std::int32_t rows, std::int32_t cols, std::span<const std::int32_t> ap,
                               std::span<const std::int32_t> ai, std::span<const TCplx> values) {
  CheckCompressed(rows, cols, ap, ai, values);
  SetShape(rows, cols, true, static_cast<std::int32_t>(ai.size()));
  std::copy(ap.begin(), ap.end(), fAp.begin());
  std::copy(ai.begin(), ai.end(), fAi.begin());
  std::copy(values.begin(), values.end(), PCValues1D(0));
  return *this;
}

bool TSparseMtx::Equal(const TSparseMtx& b) const { return Equal(b, 0.0); }

bool TSparseMtx::Equal(const TSparseMtx& b, double tolerance) const {
  RequireFullRange();
  b.RequireFullRange();
  if (static_cast<std::int64_t>(fAp.size()) - 1 != fCols) ERaise("Length(ap)-1 <> FCols");
  if (fRows != b.fRows || fCols != b.fCols || fComplex != b.fComplex || fLength != b.fLength) return false;
  if (fAp != b.fAp || fAi != b.fAi) return false;
  auto x = Values(), y = b.Values();
  for (std::size_t k = 0; k < x.size(); ++k)
    if (!(std::fabs(x[k] - y[k]) <= tolerance)) return false;
  return true;
}

// --- triplets to compressed columns ------------------------------------------------------------------

namespace {

template <class T>
inline void Prefetch(const T* p) {
  __builtin_prefetch(p, 1);
}

/// A triplet laid out in its row: the column and the (thresholded) value.
template <class T>
struct TRowEntry {
  std::int32_t col;
  T value;
};

/// A kept triplet of a sparse build by sorting: its (column, row) key and its input position.
struct TKeyedTriplet {
  std::uint64_t key;
  std::int32_t t;
  friend bool operator<(const TKeyedTriplet& a, const TKeyedTriplet& b) {
    return a.key < b.key || (a.key == b.key && a.t < b.t);
  }
};

// Arrays as long as the matrix's side pay off only with about as many triplets: with fewer, the
// triplets are sorted instead, and only the column pointers of the result grow with the size.
constexpr std::int64_t kSortedRatio = 16;
constexpr std::int64_t kSortedMinimum = std::int64_t{1} << 16;

bool BuildBySorting(std::int32_t rowCount, std::int32_t colCount, std::int64_t n) {
  return std::max(rowCount, colCount) > kSortedRatio * n + kSortedMinimum;
}

}  // namespace

template <class T>
void TSparseMtx::BuildFromTriplets(std::int32_t rowCount, std::int32_t colCount, std::span<const std::int32_t> row,
                                   std::span<const std::int32_t> column, const T* values, double zeroThreshold,
                                   bool keepEvery) {
  if (rowCount <= 0 || colCount <= 0) ERaise("(RowCount <= 0) or (ColCount <= 0)");
  if (row.size() != column.size()) ERaise("(Length(Row) <> Length(Column))");
  if (row.empty()) ERaise("Length(Row) <= 0");
  const std::int64_t n = static_cast<std::int64_t>(row.size());
  if (n > 0x7FFFFFFF) ERaise("Length(Row) > MaxInt");
  const bool keepAll = fDontStripZeros;
  const std::size_t rows = static_cast<std::size_t>(rowCount);
  using detail::Scratch;
  const detail::TSparseScratchTrim trim;

  // Every triplet is checked before anything is sized by the matrix.
  bool bad = false;
  for (std::int64_t t = 0; t < n; ++t)
    bad |= (static_cast<std::uint32_t>(row[t]) >= static_cast<std::uint32_t>(rowCount)) |
           (static_cast<std::uint32_t>(column[t]) >= static_cast<std::uint32_t>(colCount));
  if (bad) ERaise("Invalid triplet!");

  if (BuildBySorting(rowCount, colCount, n)) {
    // The value a kept triplet contributes: a small diagonal one counts as an exact zero.
    auto kept = [&](std::int64_t t, T& value) {
      const std::int32_t r = row[t], c = column[t];
      const bool above = keepEvery || SpMag(values[t]) > zeroThreshold;
      if (!(keepAll || r == c || above)) return false;
      value = (above || r != c) ? values[t] : T{};
      return true;
    };
    // Sorted by column, then row, then input position: duplicates are summed in input order.
    auto* order = Scratch<TKeyedTriplet>(detail::sssEntries, static_cast<std::size_t>(n));
    std::int64_t m = 0;
    T value;
    for (std::int64_t t = 0; t < n; ++t)
      if (kept(t, value))
        order[m++] = {(static_cast<std::uint64_t>(column[t]) << 32) | static_cast<std::uint32_t>(row[t]),
                      static_cast<std::int32_t>(t)};
    std::sort(order, order + m);
    std::int32_t out = 0;
    for (std::int64_t k = 0; k < m; ++k) out += k == 0 || order[k].key != order[k - 1].key;
    SetShape(rowCount, colCount, std::is_same_v<T, TCplx>, out);
    T* v = detail::Ptr<T>(*this);
    std::int32_t* ai = fAi.data();
    std::int32_t q = -1;
    for (std::int64_t k = 0; k < m; ++k) {
      kept(order[k].t, value);
      if (k > 0 && order[k].key == order[k - 1].key) {
        SpAcc(v[q], value);
        continue;
      }
      ai[++q] = static_cast<std::int32_t>(order[k].key & 0xFFFFFFFF);
      v[q] = value;
      ++fAp[(order[k].key >> 32) + 1];
    }
    for (std::int32_t j = 0; j < colCount; ++j) fAp[j + 1] += fAp[j];
    return;
  }

  // Pass 1: count the triplets of each row. Rows get room for every triplet; the dropped ones
  // leave a gap at the end of their row.
  // The passes below jump through arrays far larger than the caches: the slot needed a few
  // steps ahead is prefetched.
  constexpr std::int64_t ahead = 16;
  std::int32_t* rowPtr = Scratch<std::int32_t>(detail::sssRowPtr, rows + 1);
  std::fill_n(rowPtr, rows + 1, 0);
  for (std::int64_t t = 0; t < n; ++t) {
    if (t + ahead < n) Prefetch(rowPtr + row[t + ahead] + 1);
    ++rowPtr[row[t] + 1];
  }
  for (std::size_t i = 0; i < rows; ++i) rowPtr[i + 1] += rowPtr[i];

  // Pass 2: lay the kept triplets out row by row, input order within a row; column and value
  // side by side so that each scattered write touches one cache line.
  auto* entry = Scratch<TRowEntry<T>>(detail::sssEntries, static_cast<std::size_t>(n));
  std::int32_t* rowEnd = Scratch<std::int32_t>(detail::sssNext, rows);
  std::copy_n(rowPtr, rows, rowEnd);
  for (std::int64_t t = 0; t < n; ++t) {
    if (t + 2 * ahead < n) Prefetch(rowEnd + row[t + 2 * ahead]);
    if (t + ahead < n) Prefetch(entry + rowEnd[row[t + ahead]]);
    const std::int32_t r = row[t], c = column[t];
    const bool above = keepEvery || SpMag(values[t]) > zeroThreshold;
    if (!(keepAll || r == c || above)) continue;
    // A small diagonal value is kept as an exact zero, whatever DontStripZeros says.
    entry[rowEnd[r]++] = {c, (above || r != c) ? values[t] : T{}};
  }

  // Sum duplicates within each row: a marker at or past the row's start means "claimed here".
  const std::size_t markers = static_cast<std::size_t>(std::max(rowCount, colCount));
  std::int32_t* marker = Scratch<std::int32_t>(detail::sssMarker, markers);
  std::fill_n(marker, markers, -1);
  std::int32_t* colPtr = Scratch<std::int32_t>(detail::sssColPtr, static_cast<std::size_t>(colCount) + 1);
  std::fill_n(colPtr, static_cast<std::size_t>(colCount) + 1, 0);
  std::int32_t out = 0;
  for (std::size_t i = 0; i < rows; ++i) {
    const std::int32_t start = out;
    for (std::int32_t p = rowPtr[i]; p < rowEnd[i]; ++p) {
      if (p + ahead < n) {
        // Past the row's end this may be a dropped triplet's slot: only a hint, kept in range.
        const auto c = std::min<std::uint32_t>(entry[p + ahead].col, colCount - 1);
        Prefetch(marker + c);
        Prefetch(colPtr + c + 1);
      }
      const std::int32_t c = entry[p].col;
      if (marker[c] >= start) {
        SpAcc(entry[marker[c]].value, entry[p].value);
      } else {
        marker[c] = out;
        entry[out] = entry[p];
        ++colPtr[c + 1];
        ++out;
      }
    }
    rowPtr[i] = start;
  }
  rowPtr[rows] = out;

  // Scatter into columns in ascending row order.
  SetShape(rowCount, colCount, std::is_same_v<T, TCplx>, out);
  for (std::int32_t j = 0; j < colCount; ++j) colPtr[j + 1] += colPtr[j];
  std::copy_n(colPtr, static_cast<std::size_t>(colCount) + 1, fAp.begin());
  T* v = detail::Ptr<T>(*this);
  std::int32_t* ai = fAi.data();
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::int32_t p = rowPtr[i]; p < rowPtr[i + 1]; ++p) {
      if (p + ahead < out) Prefetch(colPtr + entry[p + ahead].col);
      const std::int32_t q = colPtr[entry[p].col]++;
      ai[q] = static_cast<std::int32_t>(i);
      v[q] = entry[p].value;
    }
  }
}

// Instantiated here for the other sources of the class (structure operations, rebuilds).
template void TSparseMtx::BuildFromTriplets<double>(std::int32_t, std::int32_t, std::span<const std::int32_t>,
                                                    std::span<const std::int32_t>, const double*, double, bool);
template void TSparseMtx::BuildFromTriplets<TCplx>(std::int32_t, std::int32_t, std::span<const std::int32_t>,
                                                   std::span<const std::int32_t>, const TCplx*, double, bool);

TSparseMtx& TSparseMtx::TripletsToSparse(std::int32_t rowCount, std::int32_t colCount,
                                         std::span<const std::int32_t> row, std::span<const std::int32_t> column,
                                         std::span<const double> values, double zeroThreshold) {
  if (values.size() < row.size() && row.size() == column.size() && rowCount > 0 && colCount > 0)
    ERaise("Length(Values) < Length(Row)");
  BuildFromTriplets(rowCount, colCount, row, column, values.data(), zeroThreshold);
  return *this;
}

TSparseMtx& TSparseMtx::TripletsToSparse(std::int32_t rowCount, std::int32_t colCount,
                                         std::span<const std::int32_t> row, std::span<const std::int32_t> column,
                                         std::span<const TCplx> values, double zeroThreshold) {
  if (values.size() < row.size() && row.size() == column.size() && rowCount > 0 && colCount > 0)
    ERaise("Length(Values) < Length(Row)");
  BuildFromTriplets(rowCount, colCount, row, column, values.data(), zeroThreshold);
  return *this;
}

TSparseMtx& TSparseMtx::TripletsToSparse(std::int32_t rowCount, std::int32_t colCount, const TMtx& triplets,
                                         double zeroThreshold) {
  if (triplets.Rows() != 3) ERaise("Triplets.Rows <> 3");
  const std::int32_t n = triplets.Cols();
  TIntegerArray r(static_cast<std::size_t>(n)), c(static_cast<std::size_t>(n));
  if (triplets.Complex()) {
    const TCplx* p = triplets.PCValues1D(0);
    TCplxArray v(p + 2 * std::int64_t{n}, p + 3 * std::int64_t{n});
    for (std::int32_t k = 0; k < n; ++k) {
      r[k] = static_cast<std::int32_t>(p[k].Re);
      c[k] = static_cast<std::int32_t>(p[n + k].Re);
    }
    return TripletsToSparse(rowCount, colCount, r, c, v, zeroThreshold);
  }
  const double* p = triplets.PValues1D(0);
  for (std::int32_t k = 0; k < n; ++k) {
    r[k] = static_cast<std::int32_t>(p[k]);
    c[k] = static_cast<std::int32_t>(p[n + k]);
  }
  return TripletsToSparse(rowCount, colCount, r, c, std::span<const double>(p + 2 * std::int64_t{n}, n), zeroThreshold);
}

void TSparseMtx::SparseToTriplets(TIntegerArray& row, TIntegerArray& column, TDoubleArray& values) const {
  RequireStructure();
  if (fComplex) ERaise("Complex = True");
  row.assign(fAi.begin(), fAi.end());
  column.resize(fAi.size());
  for (std::int32_t j = 0; j < fCols; ++j) std::fill(column.begin() + fAp[j], column.begin() + fAp[j + 1], j);
  values.assign(fValues, fValues + fLength);
}

void TSparseMtx::SparseToTriplets(TIntegerArray& row, TIntegerArray& column, TCplxArray& values) const {
  RequireStructure();
  if (!fComplex) ERaise("Not complex!");
  row.assign(fAi.begin(), fAi.end());
  column.resize(fAi.size());
  for (std::int32_t j = 0; j < fCols; ++j) std::fill(column.begin() + fAp[j], column.begin() + fAp[j + 1], j);
  values.assign(PCValues1D(0), PCValues1D(0) + fLength);
}

void TSparseMtx::SparseToTriplets(TMtx& triplets, bool splitComplex) const {
  RequireStructure();
  const std::int32_t n = fLength;
  const bool cplxOut = fComplex && !splitComplex;
  triplets.Size(fComplex && splitComplex ? 4 : 3, n, cplxOut);
  for (std::int32_t j = 0; j < fCols; ++j) {
    for (std::int32_t k = fAp[j]; k < fAp[j + 1]; ++k) {
      if (cplxOut) {
        TCplx* t = triplets.PCValues1D(0);
        t[k] = {double(fAi[k]), 0.0};
        t[n + k] = {double(j), 0.0};
        t[2 * n + k] = PCValues1D(0)[k];
      } else {
        double* t = triplets.PValues1D(0);
        t[k] = fAi[k];
        t[n + k] = j;
        if (fComplex) {
          t[2 * n + k] = PCValues1D(0)[k].Re;
          t[3 * n + k] = PCValues1D(0)[k].Im;
        } else {
          t[2 * n + k] = fValues[k];
        }
      }
    }
  }
}

// --- element writes and reads ----------------------------------------------------------------------------

void TSparseMtx::SetValue(std::int32_t aRow, std::int32_t aCol, double value) {
  if (fComplex) ERaise("Complex = True");
  AppendPending(aRow, aCol, value, 0.0);
}

void TSparseMtx::SetMtxCValue(std::int32_t aRow, std::int32_t aCol, const TCplx& value) {
  if (!fComplex) ERaise("not Complex");
  AppendPending(aRow, aCol, value.Re, value.Im);
}

void TSparseMtx::AppendPending(std::int32_t aRow, std::int32_t aCol, double re, double im) {
  if (static_cast<std::size_t>(fPendingCount) == fPendRow.size()) {
    const std::size_t grown = std::max<std::size_t>(2 * static_cast<std::size_t>(fPendingCount), 1024);
    fPendRow.resize(grown);
    fPendCol.resize(grown);
    fPendRe.resize(grown);
  }
  if (fComplex && fPendIm.size() < fPendRow.size()) fPendIm.resize(fPendRow.size());
  fPendRow[fPendingCount] = aRow;
  fPendCol[fPendingCount] = aCol;
  fPendRe[fPendingCount] = re;
  if (fComplex) fPendIm[fPendingCount] = im;
  ++fPendingCount;
  fPendRows = std::max(fPendRows, aRow + 1);
  fPendCols = std::max(fPendCols, aCol + 1);
}

TSparseMtx& TSparseMtx::TripletsToSparseAndFlush() {
  const std::span<const std::int32_t> r(fPendRow.data(), fPendingCount), c(fPendCol.data(), fPendingCount);
  if (fComplex) {
    // Writes made while the matrix was real carry no imaginary part.
    if (fPendIm.size() < static_cast<std::size_t>(fPendingCount)) fPendIm.resize(static_cast<std::size_t>(fPendingCount), 0.0);
    TCplxArray v(static_cast<std::size_t>(fPendingCount));
    for (std::int32_t k = 0; k < fPendingCount; ++k) v[k] = {fPendRe[k], fPendIm[k]};
    BuildFromTriplets(fPendRows, fPendCols, r, c, v.data(), 0.0);
  } else {
    BuildFromTriplets(fPendRows, fPendCols, r, c, fPendRe.data(), 0.0);
  }
  fPendRow.clear();
  fPendCol.clear();
  fPendRe.clear();
  fPendIm.clear();
  fPendingCount = 0;
  fPendRows = 0;
  fPendCols = 0;
  return *this;
}

void TSparseMtx::RequireFlushed() const {
  if (fPendingCount > 0) ERaise("Call TripletsToSparseAndFlush first!");
}

void TSparseMtx::RequireFullRange() const {
  if (fIsSubRange) ERaise("IsSubRange = True!");
}

void TSparseMtx::RequireStructure() const {
  RequireFlushed();
  RequireFullRange();
}


double TSparseMtx::GetValue(std::int32_t aRow, std::int32_t aCol) const {
  RequireStructure();
  if (aCol > fCols - 1) ERaise("ACol > (FCols-1)");
  if (aRow > fRows - 1) ERaise("ARow > (FRows-1)");
  if (fComplex) ERaise("Complex = True");
  const std::int32_t k = Find(fAp, fAi, aRow, aCol);
  return k < 0 ? 0.0 : fValues[k];
}

TCplx TSparseMtx::GetMtxCValue(std::int32_t aRow, std::int32_t aCol) const {
  RequireStructure();
  if (aCol > fCols - 1) ERaise("ACol > (FCols-1)");
  if (aRow > fRows - 1) ERaise("ARow > (FRows-1)");
  if (!fComplex) ERaise("not Complex");
  const std::int32_t k = Find(fAp, fAi, aRow, aCol);
  return k < 0 ? TCplx{0.0, 0.0} : PCValues1D(0)[k];
}

// --- dense and banded conversions ----------------------------------------------------------------------------

TSparseMtx& TSparseMtx::DenseToSparse(const TMtx& src, double zeroThreshold) {
  const std::int32_t rows = src.Rows(), cols = src.Cols();
  const std::int64_t n = std::int64_t{rows} * cols;
  if (n > 0x7FFFFFFF) ERaise("Src too large");
  TIntegerArray r(static_cast<std::size_t>(n)), c(static_cast<std::size_t>(n));
  for (std::int32_t i = 0; i < rows; ++i)
    for (std::int32_t j = 0; j < cols; ++j) {
      r[std::int64_t{i} * cols + j] = i;
      c[std::int64_t{i} * cols + j] = j;
    }
  detail::OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    std::vector<T> v(static_cast<std::size_t>(n));
    for (std::int32_t i = 0; i < rows; ++i)
      for (std::int32_t j = 0; j < cols; ++j) v[std::int64_t{i} * cols + j] = detail::Ptr<T>(src, detail::At(src, i, j))[0];
    BuildFromTriplets<T>(rows, cols, r, c, v.data(), zeroThreshold);
  });
  return *this;
}

void TSparseMtx::SparseToDense(TMtx& dst, std::int32_t maxElemCount) const {
  RequireStructure();
  if (std::int64_t{fRows} * fCols > maxElemCount) ERaise("MaxElemCount reached!");
  dst.Size(fRows, fCols, fComplex);
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    T* d = detail::Ptr<T>(dst);
    std::fill(d, d + std::int64_t{fRows} * fCols, T{});
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < fCols; ++j)
      for (std::int32_t k = fAp[j]; k < fAp[j + 1]; ++k) d[detail::At(dst, fAi[k], j)] = v[k];
  });
}

TSparseMtx& TSparseMtx::BandedToSparse(const TMtx& src, double zeroThreshold) {
  const std::int32_t ku = src.SuperDiag(), kl = src.SubDiag(), n = src.Cols();
  if (ku < 0 || kl < 0 || src.Rows() != ku + kl + 1) ERaise("Src.Rows <> SuperDiag + SubDiag + 1");
  TIntegerArray r, c;
  detail::OnKind(src.Complex(), [&](auto t) {
    using T = decltype(t);
    std::vector<T> v;
    for (std::int32_t j = 0; j < n; ++j)
      for (std::int32_t i = std::max(0, j - ku); i <= std::min(n - 1, j + kl); ++i) {
        r.push_back(i);
        c.push_back(j);
        v.push_back(detail::Ptr<T>(src, detail::At(src, ku + i - j, j))[0]);
      }
    BuildFromTriplets<T>(n, n, r, c, v.data(), zeroThreshold);
  });
  return *this;
}

void TSparseMtx::SparseToBanded(TMtx& dst, std::int32_t maxElemCount) const {
  RequireStructure();
  std::int32_t ku = 0, kl = 0;
  for (std::int32_t j = 0; j < fCols; ++j)
    for (std::int32_t k = fAp[j]; k < fAp[j + 1]; ++k) {
      ku = std::max(ku, j - fAi[k]);
      kl = std::max(kl, fAi[k] - j);
    }
  if (std::int64_t{ku + kl} * fCols > maxElemCount) ERaise("(SuperDiag+SubDiag)*Cols > MaxElemCount");
  dst.Size(ku + kl + 1, fCols, fComplex);
  detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    T* d = detail::Ptr<T>(dst);
    std::fill(d, d + std::int64_t{ku + kl + 1} * fCols, T{});
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < fCols; ++j)
      for (std::int32_t k = fAp[j]; k < fAp[j + 1]; ++k) d[detail::At(dst, ku + fAi[k] - j, j)] = v[k];
  });
  dst.SetSuperDiag(ku);
  dst.SetSubDiag(kl);
}


TSparseMtx& TSparseMtx::ZeroThresh(double threshold) {
  RequireStructure();
  TSparseMtx copy;
  copy.Copy(*this);
  Rebuild(copy, &threshold, [](std::int32_t, std::int32_t) { return true; });
  return *this;
}

}  // namespace quorel
