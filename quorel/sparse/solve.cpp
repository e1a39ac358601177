// Sparse solves: the dispatch over the back ends, the direct LU back end, residuals and the
// matrix-type codes of the other back ends.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "quorel/core/errors.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/detail/kind.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/umfpack.h"
#include "quorel/sparse/detail/solver_direct.h"
#include "quorel/sparse/detail/solver_iterative.h"
#include "quorel/sparse/detail/sparse_kernels.h"
#include "quorel/sparse/sparse.h"

namespace quorel {

const char* SparseSystemText(TSparseSystem system) {
  static const char* const texts[] = {"Ax=b",    "A'x=b",  "A.'x=b", "P'Lx=b", "Lx=b",  "L'Px=b", "L.'Px=b", "L'x=b",
                                      "L.'x=b",  "UQ'x=b", "Ux=b",   "QU'x=b", "QU.'x=b", "U'x=b", "U.'x=b"};
  return system <= spsUaT ? texts[system] : "";
}

namespace {

const char* UmfStatusText(int status) {
  switch (status) {
    case -1: return ": Out of memory!";
    case -3: return ": invalid Numeric object!";
    case -4: return ": invalid Symbolic object";
    case -5: return ": argument missing";
    case -6: return ": n nonpositive";
    case -8: return ": invalid matrix";
    case -11: return ": different pattern";
    case -13: return ": invalid system";
    case -15: return ": invalid permutation";
    case -17: return ": File I/O";
    case -18: return ": ordering failed";
    case -911: return ": internal error";
    case detail::UmfWarningSingular: return ": matrix is singular";
    default: return ": unknown status";
  }
}

}  // namespace

// --- dispatch ------------------------------------------------------------------------------------------

template <class V>
static void RefuseBanded(TMtxType mtxType) {
  if (mtxType == mtBandSymmPosDef || mtxType == mtBandHermPosDef || mtxType == mtBandGeneral)
    ERaise("Use TMtx.LUSolve for banded matrices!");
}

void TSparseMtx::Solve(const TVec& b, TVec& x, TMtxType mtxType) {
  RefuseBanded<TVec>(mtxType);
  switch (SparseSolver) {
    case ssIterative: SolveIterative(b, x, mtxType == mtSymmPosDef || mtxType == mtSymmetric); break;
    case ssUmfPack: SolveUmfPack(b, x); break;
    case ssPardiso: SolvePardiso(b, x, mtxType); break;
    case ssTaucs: SolveTaucs(b, x, mtxType); break;
  }
}

void TSparseMtx::Solve(const TMtx& b, TMtx& x, TMtxType mtxType) {
  RefuseBanded<TMtx>(mtxType);
  switch (SparseSolver) {
    case ssIterative: SolveIterative(b, x, mtxType == mtSymmPosDef || mtxType == mtSymmetric); break;
    case ssUmfPack: SolveUmfPack(b, x); break;
    case ssPardiso: SolvePardiso(b, x, mtxType); break;
    case ssTaucs: SolveTaucs(b, x, mtxType); break;
  }
}

// --- shared by the three bound back ends ------------------------------------------------------------

void TSparseMtx::ReportFailure(const std::string& text) {
  if (!text.empty() && ReportLevel >= prlErrorsOnly) fReport.push_back(text + "\n");
}

void TSparseMtx::ClearReport() {
  // A few lines of the usual sizes cover the report of one solve; the factor listings of the
  // higher report levels are not worth holding on to.
  constexpr std::size_t keptLines = 4, keptBytes = std::size_t{64} << 10;
  for (std::string& line : fReport) {
    if (fSpareLines.size() == keptLines) break;
    if (line.capacity() > keptBytes) continue;
    line.clear();
    fSpareLines.push_back(std::move(line));
  }
  fReport.clear();
}

std::string TSparseMtx::SpareLine() {
  if (fSpareLines.empty()) return {};
  std::string line = std::move(fSpareLines.back());
  fSpareLines.pop_back();
  return line;
}

namespace {

/// The direct back ends read an n x n matrix from Ap (n + 1 pointers).
void RequireSquare(std::int32_t rows, std::int32_t cols) {
  if (rows != cols) ERaise("Rows <> Cols");
}

/// Copies `count` doubles.
void CopyDoubles(const double* src, double* dst, std::int64_t count) {
  if (count > 0) std::memcpy(dst, src, static_cast<std::size_t>(count) * sizeof(double));
}

/// Copies a solution of n (complex: 2n) doubles into X, sized to n elements.
void TakeSolution(const TVec& work, TVec& x, std::int32_t n, bool complex) {
  x.Size(n, complex);
  CopyDoubles(work.PValues1D(0), x.PValues1D(0), work.Length());
}

/// Columns stored one after the other (count x n) into X as n x count.
void TakeSolution(const TVec& work, TMtx& x, std::int32_t n, std::int32_t count, bool complex) {
  TWorkMtx xt;
  xt->Size(count, n, complex);
  CopyDoubles(work.PValues1D(0), xt->PValues1D(0), work.Length());
  x.Transp(*xt);
}

void CheckIterativeMatrix(std::int32_t rows, std::int32_t cols, const std::vector<std::int32_t>& ap,
                          const std::vector<std::int32_t>& ai, bool symmetric) {
  RequireSquare(rows, cols);
  if (symmetric && !detail::IsLowerTriangleOnly(cols, ap.data(), ai.data()))
    ERaise("Iterative solve: Symmetric matrix must contain only lower triangle!");
}

}  // namespace

// --- iterative ---------------------------------------------------------------------------------------------

void TSparseMtx::SolveIterativeColumns(const double* b, double* x, std::int32_t count, bool symmetric) {
  if (AutoClearReport) fReport.clear();
  const detail::TSlapMatrix a{fCols, fAp.data(), fAi.data(), fValues, symmetric};
  if (!fSlap) fSlap = std::make_unique<detail::TSlapWorkspace>();
  detail::TSlapOptions o;
  o.method = static_cast<detail::TSlapMethod>(IterativeMethod);
  o.check = static_cast<detail::TSlapCheck>(ConvergenceCheck);
  o.maxIters = MaxIters;
  o.tolerance = Tolerance;
  fActualIters = 0;
  fBackError = 0;
  fErrorText.clear();
  // Several right-hand sides: the most iterations, the worst error and the first failure.
  for (std::int32_t c = 0; c < count; ++c) {
    const std::int64_t off = static_cast<std::int64_t>(c) * fCols;
    const detail::TSlapResult r = detail::SlapSolve(a, o, b + off, x + off, *fSlap);
    fActualIters = std::max(fActualIters, r.iters);
    fBackError = std::max(fBackError, r.error);
    if (r.ierr != 0 && fErrorText.empty()) {
      fErrorText = detail::SlapErrorText(o.method, r.ierr);
      ReportFailure(fErrorText);
    }
  }
}

void TSparseMtx::SolveIterative(const TVec& b, TVec& x, bool symmetric) {
  RequireStructure();
  if (b.Length() != x.Length()) ERaise("B.Length <> X.Length");
  if (b.Complex() || x.Complex()) ERaise("B.Complex or X.Complex");
  if (fCols != b.Length()) ERaise("FCols <> B.Length");
  if (fComplex) ERaise("B.Complex or X.Complex");
  CheckIterativeMatrix(fRows, fCols, fAp, fAi, symmetric);
  if (&b == &x) {
    // The start guess is B itself; the solver must still read the right-hand side unchanged.
    TWorkVec copy;
    copy->Size(b.Length(), false);
    CopyDoubles(b.PValues1D(0), copy->PValues1D(0), b.Length());
    SolveIterativeColumns(copy->PValues1D(0), x.PValues1D(0), 1, symmetric);
    return;
  }
  SolveIterativeColumns(b.PValues1D(0), x.PValues1D(0), 1, symmetric);
}

void TSparseMtx::SolveIterative(const TMtx& b, TMtx& x, bool symmetric) {
  RequireStructure();
  if (b.Rows() != x.Rows() || b.Cols() != x.Cols()) ERaise("B.Length <> X.Length");
  if (b.Complex() || x.Complex()) ERaise("B.Complex or X.Complex");
  if (fCols != b.Rows()) ERaise("FCols <> B.Rows");
  if (fComplex) ERaise("B.Complex or X.Complex");
  CheckIterativeMatrix(fRows, fCols, fAp, fAi, symmetric);
  // Column by column: the columns of B and of the start guess become rows of work copies.
  TWorkMtx bt, xt;
  bt->Transp(b);
  xt->Transp(x);
  SolveIterativeColumns(bt->PValues1D(0), xt->PValues1D(0), b.Cols(), symmetric);
  x.Transp(*xt);
}

// --- direct LDL'/LU back end -----------------------------------------------------------------------------

bool TSparseMtx::SolvePardisoColumns(const double* b, TVec& x, std::int32_t count, std::int32_t mtype) {
  if (AutoClearReport) fReport.clear();
  const detail::TRawSparse a{fComplex, fRows, fAp.data(), fAi.data(), fValues};
  x.Size(static_cast<std::int32_t>(DoublesFor(fRows) * count), false);
  // Everything the factorisation depends on besides the matrix.
  const std::int64_t key = (std::int64_t{mtype} + 64) | std::int64_t{fPardiso->Reordering} << 8 |
                           std::int64_t{fPardiso->IterativeStep} << 16 | (fPardiso->Iparm[7] & 0xFFFF) << 24;
  const auto reuse = static_cast<detail::TFactorReuse>(Reusable(fPardisoStamp, key));
  const int code = detail::PardisoSolveRaw(*fPardiso, a, mtype, count, b, x.PValues1D(0), nullptr, reuse);
  Made(fPardisoStamp, key, code == 0);
  fErrorText = fPardiso->ErrorText();
  if (code != 0) {
    ReportFailure(fErrorText);
    return false;
  }
  // The lines are built only when shown: they cost a dozen allocations.
  const bool failedRefinement = fPardiso->Iparm[19] < 0;
  if (ReportLevel >= prlBasic || (ReportLevel >= prlErrorsOnly && failedRefinement)) {
    std::vector<std::string> lines = fPardiso->ReportLines();
    if (ReportLevel >= prlBasic)
      for (std::string& line : lines) fReport.push_back(std::move(line));
    else
      fReport.push_back(std::move(lines.back()));  // the failed refinement's line
  }
  return true;
}

void TSparseMtx::SolvePardiso(const TVec& b, TVec& x, TMtxType mtxType) {
  RequireStructure();
  if (b.Length() != fRows) ERaise("B.Length <> Rows");
  if (b.Complex() != fComplex) ERaise("B.Complex <> Complex");
  RequireSquare(fRows, fCols);
  const std::int32_t mtype = MtxTypePardiso(mtxType);
  TWorkVec work;
  if (SolvePardisoColumns(b.PValues1D(0), *work, 1, mtype)) TakeSolution(*work, x, fRows, fComplex);
}

void TSparseMtx::SolvePardiso(const TMtx& b, TMtx& x, TMtxType mtxType) {
  RequireStructure();
  if (b.Rows() != fRows) ERaise("B.Rows <> Rows");
  if (b.Complex() != fComplex) ERaise("B.Complex <> Complex");
  RequireSquare(fRows, fCols);
  const std::int32_t mtype = MtxTypePardiso(mtxType);
  TWorkMtx bt;
  bt->Transp(b);
  TWorkVec work;
  if (SolvePardisoColumns(bt->PValues1D(0), *work, b.Cols(), mtype)) TakeSolution(*work, x, fRows, b.Cols(), fComplex);
}

// --- direct Cholesky back end ------------------------------------------------------------------------------

bool TSparseMtx::SolveTaucsColumns(const double* b, TVec& x, std::int32_t count, std::int32_t flags) {
  if (AutoClearReport) fReport.clear();
  const detail::TRawSparse a{fComplex, fRows, fAp.data(), fAi.data(), fValues};
  x.Size(static_cast<std::int32_t>(DoublesFor(fRows) * count), false);
  const std::int64_t key = (std::int64_t{flags} + 64) | std::int64_t{fTaucs->Factor} << 8 |
                           std::int64_t{fTaucs->Reordering} << 16 | std::int64_t{fTaucs->OutOfCore} << 24;
  const auto reuse = static_cast<detail::TFactorReuse>(Reusable(fTaucsStamp, key));
  const int code =
      detail::TaucsSolveRaw(*fTaucs, a, flags, count, b, x.PValues1D(0), MaxIters, Tolerance, reuse);
  Made(fTaucsStamp, key, code == 0 && !fTaucs->OutOfCore);
  fErrorText = fTaucs->ErrorText();
  if (code != 0) ReportFailure(fErrorText);
  return code == 0;
}


namespace {

constexpr std::int32_t TaucsSymmetricFlags = 8 | 16;

/// Sorts the row indices of one column, carrying the values along.
template <class T>
void SortColumn(std::int32_t* ai, T* v, std::int32_t count) {
  std::vector<std::pair<std::int32_t, T>> e(static_cast<std::size_t>(count));
  for (std::int32_t k = 0; k < count; ++k) e[k] = {ai[k], v[k]};
  std::sort(e.begin(), e.end(), [](const auto& p, const auto& q) { return p.first < q.first; });
  for (std::int32_t k = 0; k < count; ++k) {
    ai[k] = e[k].first;
    v[k] = e[k].second;
  }
}

/// The whole n x n matrix a stored lower triangle stands for: every strictly lower entry is
/// mirrored, conjugated, above the diagonal (a complex definite type is Hermitian, as for the
/// Cholesky factorisations). Rows ascend in every column.
template <class T>
void MirrorLower(std::int32_t n, const std::int32_t* ap, const std::int32_t* ai, const T* v,
                 std::vector<std::int32_t>& fp, std::vector<std::int32_t>& fi, std::vector<T>& fv) {
  fp.assign(static_cast<std::size_t>(n) + 1, 0);
  for (std::int32_t j = 0; j < n; ++j)
    for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k) {
      ++fp[j + 1];
      if (ai[k] != j) ++fp[ai[k] + 1];
    }
  for (std::int32_t j = 0; j < n; ++j) fp[j + 1] += fp[j];
  fi.resize(static_cast<std::size_t>(fp[n]));
  fv.resize(static_cast<std::size_t>(fp[n]));
  std::vector<std::int32_t> next(fp.begin(), fp.end() - 1);
  // A column gets its mirrored entries (rows above it, ascending) before its own stored ones.
  for (std::int32_t j = 0; j < n; ++j)
    for (std::int32_t k = ap[j]; k < ap[j + 1]; ++k) {
      const std::int32_t i = ai[k];
      fi[next[j]] = i;
      fv[next[j]++] = v[k];
      if (i == j) continue;
      fi[next[i]] = j;
      fv[next[i]++] = detail::SpConj(v[k]);
    }
  // Only a column stored out of order (a product's) needs sorting.
  for (std::int32_t j = 0; j < n; ++j)
    if (!std::is_sorted(fi.begin() + fp[j], fi.begin() + fp[j + 1]))
      SortColumn(fi.data() + fp[j], fv.data() + fp[j], fp[j + 1] - fp[j]);
}

}  // namespace

bool TSparseMtx::SolveTaucsLU(const double* b, TVec& work, std::int32_t count, std::int32_t flags) {
  fTaucs->BuildOptions(MaxIters, Tolerance);
  TSparseMtx* lu = this;
  if ((flags & TaucsSymmetricFlags) != 0) {
    if (!detail::IsLowerTriangleOnly(fCols, fAp.data(), fAi.data()))
      ERaise("Symmetric matrix must contain only lower triangle!");
    // The LU back end needs the whole matrix: it is built once and kept, with its factors, for
    // as long as this matrix and the settings stay the same.
    const std::int64_t key = (std::int64_t{flags} + 64) | std::int64_t{fTaucs->Factor} << 8;
    const bool kept = fTaucs->HasLUMatrix() && Reusable(fTaucsStamp, key) == 2;
    TSparseMtx& full = fTaucs->LUMatrix();
    if (!kept) {
      detail::OnKind(fComplex, [&](auto t) {
        using T = decltype(t);
        std::vector<std::int32_t> fp, fi;
        std::vector<T> fv;
        MirrorLower(fCols, fAp.data(), fAi.data(), detail::Ptr<T>(*this), fp, fi, fv);
        full.Assign(fRows, fCols, fp, fi, std::span<const T>(fv));
      });
      Made(fTaucsStamp, key, true);
    }
    full.SparseSystem = SparseSystem;
    full.ReportLevel = ReportLevel;
    full.AutoClearReport = true;
    full.RefinmentIters = RefinmentIters;
    full.SparseBlockSize = SparseBlockSize;
    std::copy(fUmfControl.begin(), fUmfControl.end(), full.fUmfControl.begin());
    lu = &full;
  }
  if (AutoClearReport) fReport.clear();
  work.Size(static_cast<std::int32_t>(DoublesFor(fRows) * count), false);
  const int status = lu->SolveUmfColumns(b, work.PValues1D(0), count, false);
  if (lu != this) {
    fReport.insert(fReport.end(), lu->fReport.begin(), lu->fReport.end());
    fUmfInfo = lu->fUmfInfo;
  }
  // A failed LU is the Cholesky back end's failure: its code and text, reported, no raise.
  fTaucs->CheckError(status == 0 ? 0 : status == -1 ? -2 : -1);
  fErrorText = fTaucs->ErrorText();
  if (status != 0) ReportFailure(fErrorText);
  return status == 0;
}

void TSparseMtx::SolveTaucs(const TVec& b, TVec& x, TMtxType mtxType) {
  RequireStructure();
  const std::int32_t flags = MtxTypeTaucs(mtxType);
  if (b.Length() != fRows) ERaise("B.Length <> Rows");
  if (b.Complex() != fComplex) ERaise("B.Complex <> Complex");
  RequireSquare(fRows, fCols);
  TWorkVec work;
  const bool ok = fTaucs->UsesLU() ? SolveTaucsLU(b.PValues1D(0), *work, 1, flags)
                                   : SolveTaucsColumns(b.PValues1D(0), *work, 1, flags);
  if (ok) TakeSolution(*work, x, fRows, fComplex);
}

void TSparseMtx::SolveTaucs(const TMtx& b, TMtx& x, TMtxType mtxType) {
  RequireStructure();
  const std::int32_t flags = MtxTypeTaucs(mtxType);
  if (b.Rows() != fRows) ERaise("B.Rows <> Rows");
  if (b.Complex() != fComplex) ERaise("B.Complex <> Complex");
  RequireSquare(fRows, fCols);
  TWorkMtx bt;
  bt->Transp(b);
  TWorkVec work;
  const bool ok = fTaucs->UsesLU() ? SolveTaucsLU(bt->PValues1D(0), *work, b.Cols(), flags)
                                   : SolveTaucsColumns(bt->PValues1D(0), *work, b.Cols(), flags);
  if (ok) TakeSolution(*work, x, fRows, b.Cols(), fComplex);
}

// --- UMFPACK ---------------------------------------------------------------------------------------------

void TSparseMtx::FreeSymbolic() {
  fUmf->FreeSymbolic();
  fUmf->FreeNumeric();
  fPattern = sppNone;
}

void TSparseMtx::FreeNumeric() {
  fUmf->FreeNumeric();
  if (fPattern > sppSymbolic) fPattern = fUmf->HasSymbolic() ? sppSymbolic : sppNone;
}

/// Runs whatever factorisation the pattern flag does not allow to reuse, then solves `count`
/// right-hand sides stored one after the other (n elements each, interleaved when complex).
/// Returns the failing status (0 when all went well); raises on failure when `raise` is set,
/// otherwise leaves the failure for the caller to name and report.
int TSparseMtx::SolveUmfColumns(const double* b, double* x, std::int32_t count, bool raise) {
  if (AutoClearReport) ClearReport();
  double* control = fUmfControl.data();
  double* info = fUmfInfo.data();
  control[detail::UmfPrintLevelIndex] = static_cast<double>(ReportLevel == prlAll ? 6 : ReportLevel);
  control[detail::UmfIrStepIndex] = RefinmentIters;
  control[detail::UmfBlockSizeIndex] = SparseBlockSize;

  int failure = 0;
  auto failed = [&](const char* routine, int status) {
    if (status == detail::UmfStatusOk) {
      fErrorText.clear();
      return false;
    }
    // Determinant under- and overflow are harmless for a solve.
    if (status == 2 || status == 3) return false;
    failure = status;
    fErrorText = std::string(routine) + UmfStatusText(status) + " failed!";
    if (raise && ReportLevel >= prlErrorsOnly) fReport.push_back(fErrorText + "\n");
    if (ReportLevel >= prlBasic) {
      std::string s = SpareLine();
      detail::UmfReportStatus(control, status, s);
      if (!s.empty()) fReport.push_back(std::move(s));
    }
    if (raise) ERaise(fErrorText);
    return true;
  };
  // Each report line takes the storage of a line the last clear let go, when there is one.
  auto report = [&](auto&& write) {
    std::string text = SpareLine();
    write(text);
    if (!text.empty()) fReport.push_back(std::move(text));
  };

  const std::int32_t* ap = fAp.data();
  const std::int32_t* ai = fAi.data();
  const double* ax = fValues;
  if (fPattern < sppSymbolic || !fUmf->HasSymbolic()) {
    if (failed("umfpack_symbolic", fUmf->Analyse(fComplex, fRows, fCols, ap, ai, ax, control, info))) return failure;
    fPattern = sppSymbolic;
    if (ReportLevel >= prlExtensive)
      report([&](std::string& t) { detail::UmfReportSymbolic(fComplex, fUmf->Symbolic(), control, t); });
  }
  if (fPattern < sppNumeric || !fUmf->HasNumeric()) {
    const int status = fUmf->Factorise(ap, ai, ax, control, info);
    if (status != detail::UmfStatusOk) fUmf->FreeNumeric();
    if (failed("umfpack_numeric", status)) return failure;
    fPattern = sppNumeric;
    if (ReportLevel >= prlExtensive)
      report([&](std::string& t) { detail::UmfReportNumeric(fComplex, fUmf->Numeric(), control, t); });
  }
  const std::int64_t stride = DoublesFor(fRows);
  for (std::int32_t c = 0; c < count; ++c)
    if (failed("umfpack_solve",
               fUmf->SolveSystem(SparseSystem, ap, ai, ax, x + c * stride, b + c * stride, control, info)))
      return failure;
  if (ReportLevel >= prlBasic) report([&](std::string& t) { detail::UmfReportInfo(control, info, t); });
  return 0;
}

void TSparseMtx::SolveUmfPack(const TVec& b, TVec& x) {
  RequireStructure();
  if (fCols != b.Length()) ERaise("FCols <> B.Length");
  if (b.Complex() != fComplex) ERaise("B.Complex <> Complex");
  // Solved into a work vector: a failure raises with X as it was, and B may be X.
  TWorkVec sol;
  sol->Size(fRows, fComplex);
  SolveUmfColumns(b.PValues1D(0), sol->PValues1D(0), 1);
  x.Copy(*sol);
}

void TSparseMtx::SolveUmfPack(const TMtx& b, TMtx& x) {
  RequireStructure();
  if (b.Rows() == 0) ERaise("B.Rows = 0!");
  if (fCols != b.Rows()) ERaise("FCols <> B.Rows");
  if (b.Complex() != fComplex) ERaise("B.Complex <> Complex");
  // The library wants each right-hand side contiguous: columns of B become rows of a work copy.
  const std::int32_t m = b.Cols();
  TWorkMtx bt, xt;
  bt->Transp(b);
  xt->Size(m, fRows, fComplex);
  SolveUmfColumns(bt->PValues1D(0), xt->PValues1D(0), m);
  x.Transp(*xt);
}

// --- residuals and type codes ------------------------------------------------------------------------------

double TSparseMtx::ResidualNorm(const TVec& b, const TVec& x) const {
  RequireStructure();
  if (x.Length() != fCols) ERaise("x.Length <> FCols");
  if (b.Length() != fRows) ERaise("B.Length <> Rows");
  if (b.Complex() != fComplex || x.Complex() != fComplex) ERaise("B.Complex <> Complex");
  return detail::OnKind(fComplex, [&](auto t) {
    using T = decltype(t);
    TWorkVec r;
    r->Size(fRows, fComplex);
    T* rv = detail::Ptr<T>(*r);
    const T* bv = detail::Ptr<T>(b);
    for (std::int32_t i = 0; i < fRows; ++i) rv[i] = bv[i];
    const T* xv = detail::Ptr<T>(x);
    const T* v = detail::Ptr<T>(*this);
    for (std::int32_t j = 0; j < fCols; ++j)
      detail::Axpyi(fAp[j + 1] - fAp[j], detail::SpNeg(xv[j]), v + fAp[j], fAi.data() + fAp[j], rv);
    double s = 0;
    for (std::int32_t i = 0; i < fRows; ++i) s += detail::SpMag2(rv[i]);
    return std::sqrt(s);
  });
}

double TSparseMtx::ResidualNorm(const TMtx& b, const TMtx& x) const {
  RequireStructure();
  if (x.Rows() != fCols) ERaise("X.Rows <> FCols");
  if (b.Rows() != fRows || b.Cols() != x.Cols()) ERaise("B.Rows <> Rows");
  double worst = 0;
  TWorkVec bc, xc;
  for (std::int32_t c = 0; c < b.Cols(); ++c) {
    bc->Size(fRows, b.Complex());
    xc->Size(fCols, x.Complex());
    detail::OnKind(b.Complex(), [&](auto t) {
      using T = decltype(t);
      for (std::int32_t i = 0; i < fRows; ++i) detail::Ptr<T>(*bc)[i] = detail::Ptr<T>(b, detail::At(b, i, c))[0];
    });
    detail::OnKind(x.Complex(), [&](auto t) {
      using T = decltype(t);
      for (std::int32_t i = 0; i < fCols; ++i) detail::Ptr<T>(*xc)[i] = detail::Ptr<T>(x, detail::At(x, i, c))[0];
    });
    worst = std::max(worst, ResidualNorm(*bc, *xc));
  }
  return worst;
}

std::int32_t TSparseMtx::MtxTypePardiso(TMtxType mtxType) const {
  switch (mtxType) {
    case mtSymmPosDef:
      if (!fComplex) return 2;
      break;
    case mtSymmetric: return fComplex ? 6 : -2;
    case mtHermPosDef:
      if (fComplex) return 4;
      break;
    case mtHermitian:
      if (fComplex) return -4;
      break;
    case mtTriangle:
    case mtGeneral: return fComplex ? 13 : 11;
    default: break;
  }
  ERaise("Not supported");
}

std::int32_t TSparseMtx::MtxTypeTaucs(TMtxType mtxType) const {
  switch (mtxType) {
    case mtSymmPosDef: return fComplex ? 8 : 9;
    case mtSymmetric: ERaise("Taucs does not support symmetric matrices which are not positive definite!");
    case mtHermPosDef:
      if (!fComplex) ERaise("Taucs: A hermitian matrix must be complex!");
      return 16;
    case mtHermitian: ERaise("Taucs does not support hermitian matrices which are not positive definite!");
    case mtTriangle: return 5;
    case mtGeneral: return 0;
    default: ERaise("Not supported");
  }
}

}  // namespace quorel
