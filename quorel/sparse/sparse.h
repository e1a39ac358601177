#pragma once
// TSparseMtx: a real or complex Rows x Cols matrix in compressed-column form. The non-zero values
// live in the inherited value storage (one per stored entry, parallel to Ai); Ap holds Cols + 1
// column pointers. Builders go through triplets; element writes are buffered until a flush.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "quorel/core/types.h"
#include "quorel/objects/mtx_types.h"
#include "quorel/objects/quorel_object.h"
#include "quorel/sparse/pardiso_settings.h"
#include "quorel/sparse/taucs_settings.h"

namespace quorel {

class TVec;
class TMtx;

enum TSparseFormat : std::uint8_t { spfMatrixMarket };

enum TSparseSolver : std::uint8_t { ssIterative, ssUmfPack, ssPardiso, ssTaucs };

/// The system UMFPACK solves, in the order of its system codes.
enum TSparseSystem : std::uint8_t {
  spsA, spsAT, spsAat, spsPtL, spsL, spsLTP, spsLaTP, spsLT, spsLaT, spsUQT, spsU, spsQUT, spsQUaT, spsUT, spsUaT
};

enum TIterativeMethod : std::uint8_t { itmSGS, itmICCG, itmILUR, itmJAC, itmLUBC, itmSLUCN, itmLUCS, itmLUGMRES, itmLUOM };
enum TConvergenceCheck : std::uint8_t { cvcNorm2, cvcNorm2InvA };
enum TReportLevel : std::uint8_t { prlNone, prlErrorsOnly, prlBasic, prlExtensive, prlComplete, prlAll };
/// Which retained factorisation results the next solve may reuse.
enum TSparsePattern : std::uint8_t { sppNone, sppSymbolic, sppNumericIterative, sppNumeric };

/// Report text of a system ("Ax=b", "A'x=b", ...).
const char* SparseSystemText(TSparseSystem system);

namespace header_detail {
class TUmfFactors;
class TSparseValueViews;
class TSlapWorkspace;
}

class TSparseMtx;

/// The element-wise methods of vectors, acting on the stored values of a sparse matrix; the
/// pattern stays as it is. Sparse operands must have the pattern of the first sparse source (or
/// of Self): a different one is refused with the method's usual length message. A method whose
/// source is a sparse matrix of another pattern gives Self that pattern.
class TSparseElementwise : public TQuorel {
  // The one list of element-wise methods, read with sparse matrices where it names dense objects.
  using TDenseQuorel = TSparseMtx;

 public:
#define QUOREL_SELF_METHOD(name, params, args) TSparseMtx& name params;
#include "quorel/objects/elementwise_methods.inc"
#include "quorel/objects/value_methods.inc"
#include "quorel/stats/random_methods.inc"
#undef QUOREL_SELF_METHOD

 protected:
  TSparseElementwise() = default;
};

/// Real or complex sparse matrix in compressed-column storage, with direct and iterative solvers.
/// While a sub-range of the stored values is active only the element-wise methods work on it;
/// the methods that read or rebuild the pattern raise "IsSubRange = True!".
class TSparseMtx : public TSparseElementwise {
 public:
  TSparseMtx();
  ~TSparseMtx() override;

  // --- shape and storage --------------------------------------------------------------------
  /// Number of rows.
  std::int32_t Rows() const { return fRows; }
  /// Number of columns.
  std::int32_t Cols() const { return fCols; }
  /// Stored entries (= Length).
  std::int32_t NonZeros() const { return fLength; }
  /// Column pointers: Cols + 1 entries, Ap[0] = 0.
  std::span<const std::int32_t> Ap() const { return fAp; }
  /// Row index of each stored entry.
  std::span<const std::int32_t> Ai() const { return fAi; }
  /// Keep off-diagonal entries at or below the threshold in conversions.
  bool DontStripZeros() const { return fDontStripZeros; }
  void SetDontStripZeros(bool value) { fDontStripZeros = value; }
  /// Sets the number of stored entries (Ai grows with it); used by code that fills Ap/Ai itself.
  void SetLength(std::int32_t value) override;
  /// Empty matrix: no rows, columns or entries.
  void Clear() override;
  /// Replaces the whole storage with the given compressed columns (checked).
  TSparseMtx& Assign(std::int32_t rows, std::int32_t cols, std::span<const std::int32_t> ap,
                     std::span<const std::int32_t> ai, std::span<const double> values);
  TSparseMtx& Assign(std::int32_t rows, std::int32_t cols, std::span<const std::int32_t> ap,
                     std::span<const std::int32_t> ai, std::span<const TCplx> values);
  /// Copy of another sparse matrix (storage and DontStripZeros).
  TSparseMtx& Copy(const TSparseMtx& src);
  /// Same size, pattern, values and complexity.
  bool Equal(const TSparseMtx& b) const;
  bool Equal(const TSparseMtx& b, double tolerance) const;

  // --- triplets --------------------------------------------------------------------------------
  /// Builds the matrix from (row, column, value) triplets; duplicates are summed, entries at or below zeroThreshold dropped.
  TSparseMtx& TripletsToSparse(std::int32_t rowCount, std::int32_t colCount, std::span<const std::int32_t> row,
                               std::span<const std::int32_t> column, std::span<const double> values,
                               double zeroThreshold = 0);
  /// Complex triplets, as above.
  TSparseMtx& TripletsToSparse(std::int32_t rowCount, std::int32_t colCount, std::span<const std::int32_t> row,
                               std::span<const std::int32_t> column, std::span<const TCplx> values,
                               double zeroThreshold = 0);
  /// Triplets as a 3-row matrix (row indices, column indices, values; complex: values complex).
  TSparseMtx& TripletsToSparse(std::int32_t rowCount, std::int32_t colCount, const TMtx& triplets,
                               double zeroThreshold = 0);
  /// The stored entries as (row, column, value) triplets.
  void SparseToTriplets(TIntegerArray& row, TIntegerArray& column, TDoubleArray& values) const;
  /// The stored entries as complex triplets.
  void SparseToTriplets(TIntegerArray& row, TIntegerArray& column, TCplxArray& values) const;
  /// 3 x NonZeros (real or complex), or 4 x NonZeros real (row, column, re, im) with splitComplex.
  void SparseToTriplets(TMtx& triplets, bool splitComplex) const;

  // --- element access ----------------------------------------------------------------------------
  /// Buffers a write; the matrix changes at TripletsToSparseAndFlush.
  void SetValue(std::int32_t aRow, std::int32_t aCol, double value);
  /// Buffers a complex write, as SetValue.
  void SetMtxCValue(std::int32_t aRow, std::int32_t aCol, const TCplx& value);
  /// Rebuilds from the buffered writes; the size becomes the extents written.
  TSparseMtx& TripletsToSparseAndFlush();
  /// Triplets written but not yet flushed.
  std::int32_t PendingCount() const { return fPendingCount; }
  /// Element (aRow, aCol): the stored value or 0.
  double GetValue(std::int32_t aRow, std::int32_t aCol) const;
  /// Complex element (aRow, aCol): the stored value or 0.
  TCplx GetMtxCValue(std::int32_t aRow, std::int32_t aCol) const;

  // --- dense and banded conversions ------------------------------------------------------------
  /// Sparse copy of a dense matrix, dropping entries at or below zeroThreshold.
  TSparseMtx& DenseToSparse(const TMtx& src, double zeroThreshold = 0);
  /// Dense copy into dst; raises when it would exceed maxElemCount elements.
  void SparseToDense(TMtx& dst, std::int32_t maxElemCount = 0x7FFFFFFF) const;
  /// Src holds a band as TMtx::DenseToBanded writes it (SuperDiag, SubDiag set).
  TSparseMtx& BandedToSparse(const TMtx& src, double zeroThreshold = 0);
  /// Banded copy into dst, as TMtx::DenseToBanded writes it.
  void SparseToBanded(TMtx& dst, std::int32_t maxElemCount = 0x7FFFFFFF) const;
  /// Rebuilds through triplets, dropping off-diagonal entries at or below the threshold.
  TSparseMtx& ZeroThresh(double threshold);

  // --- structure -----------------------------------------------------------------------------------
  /// Self := A transposed (plain, not conjugated).
  TSparseMtx& Transp(const TSparseMtx& a);
  TSparseMtx& Transp();
  /// The main diagonal into a vector of min(Rows, Cols) elements.
  void Diag(TVec& dst) const;
  /// Self := the upper (j >= i) or lower (i >= j) triangle of A, diagonal included.
  TSparseMtx& UpperTriangle(const TSparseMtx& a);
  /// Self := the lower (i >= j) triangle of A, diagonal included.
  TSparseMtx& LowerTriangle(const TSparseMtx& a);
  /// Makes the pattern symmetric (A + A' pattern) by adding explicit zeros; values unchanged.
  TSparseMtx& StructurizeSymmetric();
  /// Random pattern with about nonZeroCount entries (diagonal always stored), values uniform in
  /// (-1, 1); Rows x Cols, real.
  TSparseMtx& RandomSparse(std::int32_t rows, std::int32_t cols, std::int32_t nonZeroCount,
                           std::int32_t maxNonZeroCount, std::uint32_t seed = 0);
  /// Diag gets the main diagonal, Lower the strictly lower part, Upper the strictly upper part.
  void Split(TSparseMtx& lower, TVec& diag, TSparseMtx& upper) const;
  /// Self := Lower + Diag + Upper.
  TSparseMtx& AddSplit(const TSparseMtx& lower, const TVec& diag, const TSparseMtx& upper);
  /// Divides every stored entry by the same position of a sparse matrix of the same pattern.
  TSparseMtx& DivideElem(const TSparseMtx& b);
  /// Self := a matrix of ceil(A.Rows/Factor) x ceil(A.Cols/Factor) whose entry is the sum of
  /// each Factor x Factor block of A.
  TSparseMtx& PixelDownSample(const TSparseMtx& a, std::int32_t factor);

  // --- products and sums ---------------------------------------------------------------------------
  // The two-operand Mul is the matrix product (the element-wise product is Copy(B).Mul(C)); the
  // two-operand Add and Sub merge any two patterns.
  using TSparseElementwise::Add;
  using TSparseElementwise::Mul;
  using TSparseElementwise::Sub;
  /// Self := B * C.
  TSparseMtx& Mul(const TSparseMtx& b, const TSparseMtx& c) { return Mul(b, c, 0x7FFFFFFF); }
  /// The same, refusing to store more than maxNonZeroCount entries.
  TSparseMtx& Mul(const TSparseMtx& b, const TSparseMtx& c, std::int32_t maxNonZeroCount);
  /// Self := A + B.
  TSparseMtx& Add(const TSparseMtx& a, const TSparseMtx& b) { return Add(a, b, 0x7FFFFFFF); }
  /// The same, refusing to store more than maxNonZeroCount entries.
  TSparseMtx& Add(const TSparseMtx& a, const TSparseMtx& b, std::int32_t maxNonZeroCount);
  /// Self := A - B.
  TSparseMtx& Sub(const TSparseMtx& a, const TSparseMtx& b) { return Sub(a, b, 0x7FFFFFFF); }
  /// The same, refusing to store more than maxNonZeroCount entries.
  TSparseMtx& Sub(const TSparseMtx& a, const TSparseMtx& b, std::int32_t maxNonZeroCount);
  /// X := Self * X.
  void MulRight(TVec& x) const;
  void MulRight(TMtx& x) const;
  /// X := X * Self (X a row vector, or a matrix of Rows columns).
  void MulLeft(TVec& x) const;
  void MulLeft(TMtx& x) const;
  /// Y := Y + Self.
  void Add(TMtx& y) const;

  // --- reductions (the implicit zeros count) ---------------------------------------------------------
  /// Largest value, the implicit zeros included.
  double Max() const;
  /// Smallest value, the implicit zeros included.
  double Min() const;
  /// Mean over all Rows x Cols elements.
  double Mean() const;
  /// Root mean square over all Rows x Cols elements.
  double RMS() const;
  /// Complex element of largest modulus, the implicit zeros included.
  TCplx Maxc() const;
  /// Complex element of smallest modulus, the implicit zeros included.
  TCplx Minc() const;
  /// Complex mean over all Rows x Cols elements.
  TCplx Meanc() const;

  // --- text and files ------------------------------------------------------------------------------
  /// The matrix as text lines in the given format.
  void ValuesToStrings(TStringList& strings, TSparseFormat format) const;
  /// Reads the matrix from text lines in the given format.
  void StringsToValues(const TStringList& strings, TSparseFormat format);
  /// Writes the matrix as a Matrix Market coordinate file.
  void SaveToMatrixMarketFile(const std::string& fileName) const;
  /// Reads a Matrix Market coordinate file.
  void LoadFromMatrixMarketFile(const std::string& fileName);
  /// Kept as placeholders: write an empty file / read and discard.
  void SaveToHarwellBoeingFile(const std::string& fileName) const;
  /// Placeholder: reads the file and discards it.
  void LoadFromHarwellBoeingFile(const std::string& fileName);

  // --- solver settings --------------------------------------------------------------------------------
  /// Back end used by Solve.
  TSparseSolver SparseSolver = ssIterative;
  /// System solved: A x = b or a transposed form.
  TSparseSystem SparseSystem = spsA;
  /// Method of the iterative solver.
  TIterativeMethod IterativeMethod = itmSGS;
  /// Stopping test of the iterative solver.
  TConvergenceCheck ConvergenceCheck = cvcNorm2;
  /// Tolerance of the iterative solver's stopping test.
  double Tolerance = 1.1102230246251565e-13;
  /// Iteration limit of the iterative solver.
  std::int32_t MaxIters = 500;
  /// How much the solvers write to Report.
  TReportLevel ReportLevel = prlBasic;
  /// Report is cleared before each solve.
  bool AutoClearReport = true;
  /// Iterative refinement steps of the sparse LU solver.
  std::int32_t RefinmentIters = 0;   // from the UMFPACK defaults at construction
  /// Block size of the sparse LU solver.
  std::int32_t SparseBlockSize = 0;  // from the UMFPACK defaults at construction
  /// Stored with the other settings; the solvers do not read it.
  std::int32_t VectorCount = 0;
  /// Settings of the LDL'/LU back end and of the Cholesky back end (owned by the matrix).
  TPardisoSettings& Pardiso() { return *fPardiso; }
  const TPardisoSettings& Pardiso() const { return *fPardiso; }
  /// Settings of the Cholesky back end.
  TTaucsSettings& Taucs() { return *fTaucs; }
  /// Settings of the Cholesky back end.
  const TTaucsSettings& Taucs() const { return *fTaucs; }
  /// Iterations and error estimate of the last iterative solve.
  std::int32_t ActualIters() const { return fActualIters; }
  /// Error estimate of the last iterative solve.
  double BackError() const { return fBackError; }
  /// Text of the last solver failure ("" after a success).
  const std::string& ErrorText() const { return fErrorText; }
  /// Lines written by the solvers (cleared before each solve when AutoClearReport).
  const TStringList& Report() const { return fReport; }
  /// What changed since the last factorisation (sppNone: everything).
  TSparsePattern SparsePattern() const { return fPattern; }
  /// Declares the numeric values (sppSymbolic) or everything (sppNone) changed since the last
  /// factorisation; builders reset it to sppNone themselves.
  void SetSparsePattern(TSparsePattern value);
  /// UMFPACK Control (20) and Info (90) arrays.
  std::span<double> UmfControl() { return fUmfControl; }
  /// UMFPACK Info array (90 entries) of the last solve.
  std::span<const double> UmfInfo() const { return fUmfInfo; }

  // --- solvers -----------------------------------------------------------------------------------------
  /// Solves Self * x = b (or the form SparseSystem names) with SparseSolver; mtxType describes Self.
  void Solve(const TVec& b, TVec& x, TMtxType mtxType);
  /// Solves for every column of b.
  void Solve(const TMtx& b, TMtx& x, TMtxType mtxType);
  /// Solves with the sparse LU back end.
  void SolveUmfPack(const TVec& b, TVec& x);
  /// Solves for every column of b with the sparse LU back end.
  void SolveUmfPack(const TMtx& b, TMtx& x);
  /// Releases the retained UMFPACK factorisation objects.
  void FreeSymbolic();
  /// Releases the retained numeric factorisation.
  void FreeNumeric();
  /// ||B - A X||_2 (vector) or the largest column 2-norm (matrix).
  double ResidualNorm(const TVec& b, const TVec& x) const;
  double ResidualNorm(const TMtx& b, const TMtx& x) const;
  /// The PARDISO matrix-type code for this matrix's complexity.
  std::int32_t MtxTypePardiso(TMtxType mtxType) const;
  /// The TAUCS matrix flags for this matrix's complexity.
  std::int32_t MtxTypeTaucs(TMtxType mtxType) const;
  // The back ends behind Solve, callable directly (overridable).
  /// The iterative solver (its symmetric variant chosen by the caller, Tolerance and MaxIters).
  virtual void SolveIterative(const TVec& b, TVec& x, bool symmetric);
  /// The LDL'/LU solver of the Pardiso() settings.
  virtual void SolvePardiso(const TVec& b, TVec& x, TMtxType mtxType);
  /// The Cholesky solver of the Taucs() settings.
  virtual void SolveTaucs(const TVec& b, TVec& x, TMtxType mtxType);
  /// The iterative solver for every column of b.
  virtual void SolveIterative(const TMtx& b, TMtx& x, bool symmetric);
  /// The LDL'/LU solver for every column of b.
  virtual void SolvePardiso(const TMtx& b, TMtx& x, TMtxType mtxType);
  /// The Cholesky solver for every column of b.
  virtual void SolveTaucs(const TMtx& b, TMtx& x, TMtxType mtxType);

 protected:
  double* CachePointer() const override { return nullptr; }
  std::int32_t CacheLength() const override { return 0; }
  void FreeToCache() override {}
  /// Converts the values (real <-> complex) instead of reinterpreting them.
  void DoSetComplex() override;


 private:
  friend class header_detail::TSparseValueViews;
  /// keepEvery: every triplet is kept with its value as it is (NaN included), the threshold and
  /// DontStripZeros aside; the library's own rebuilds use it.
  template <class T>
  void BuildFromTriplets(std::int32_t rowCount, std::int32_t colCount, std::span<const std::int32_t> row,
                         std::span<const std::int32_t> column, const T* values, double zeroThreshold,
                         bool keepEvery = false);
  /// Self := the entries of A that keep(i, j) accepts; all their values when threshold is null,
  /// else those the threshold leaves, as TripletsToSparse does.
  template <class Keep>
  void Rebuild(const TSparseMtx& a, const double* threshold, Keep keep);
  template <class T>
  void MergeCols(const TSparseMtx& a, const TSparseMtx& b, T sign, std::int32_t maxNonZeroCount, const char* msg);
  void RequireFlushed() const;
  /// Raises "IsSubRange = True!" while a sub-range is active: Ap and Ai index the whole storage.
  void RequireFullRange() const;
  /// What a method that reads the pattern needs: flushed writes and the full range.
  void RequireStructure() const;
  /// Takes over a finished product or sum (row indices and pointers moved, values copied).
  template <class Columns>
  void TakeColumns(std::int32_t rows, std::int32_t cols, Columns& out);
  void AppendPending(std::int32_t aRow, std::int32_t aCol, double re, double im);
  /// Storage changed: retained factorisations are stale.
  void StorageChanged();
  /// The values changed in place, the pattern did not: analyses stay usable, factors do not.
  void ValuesChanged();
  /// What the factor held by a direct back end may be reused for, given the settings it was
  /// made with (0: nothing, 1: its analysis, 2: all of it); Made records a new one.
  struct TFactorStamp {
    std::uint64_t pattern = ~std::uint64_t{0}, values = ~std::uint64_t{0};
    std::int64_t key = 0;
  };
  int Reusable(const TFactorStamp& stamp, std::int64_t key) const;
  void Made(TFactorStamp& stamp, std::int64_t key, bool ok) const;
  void SetShape(std::int32_t rows, std::int32_t cols, bool complex, std::int32_t nonZeros);
  /// The sparse LU solve of `count` right-hand sides; the failing status, or 0 (raises unless told not to).
  int SolveUmfColumns(const double* b, double* x, std::int32_t count, bool raise = true);
  /// Iterative solve of `count` real right-hand sides of n values each; x holds the start guesses.
  void SolveIterativeColumns(const double* b, double* x, std::int32_t count, bool symmetric);
  /// Direct solves of `count` right-hand sides stored one after the other, into a work vector
  /// (so that X stays unchanged when the library fails); false on failure.
  bool SolvePardisoColumns(const double* b, TVec& work, std::int32_t count, std::int32_t mtype);
  bool SolveTaucsColumns(const double* b, TVec& work, std::int32_t count, std::int32_t flags);
  /// The Cholesky back end's LU factorisation, through the sparse LU back end; a symmetric or
  /// Hermitian type is solved on the whole matrix its lower triangle stands for. Fails as
  /// SolveTaucsColumns does.
  bool SolveTaucsLU(const double* b, TVec& work, std::int32_t count, std::int32_t flags);
  /// A library failure: the error text into the report (no raise; the text stays readable).
  void ReportFailure(const std::string& text);
  /// Empties Report, keeping the storage of a few of its lines for the next ones.
  void ClearReport();
  /// An empty string, with the storage of a line ClearReport kept when there is one.
  std::string SpareLine();

  std::int32_t fRows = 0;
  std::int32_t fCols = 0;
  std::vector<std::int32_t> fAp{0};
  std::vector<std::int32_t> fAi;
  bool fDontStripZeros = false;
  // pending element writes
  std::vector<std::int32_t> fPendRow, fPendCol;
  std::vector<double> fPendRe, fPendIm;
  std::int32_t fPendingCount = 0;
  std::int32_t fPendRows = 0, fPendCols = 0;
  // solver state
  std::int32_t fActualIters = 0;
  double fBackError = 0;
  std::string fErrorText;
  TStringList fReport;
  TStringList fSpareLines;
  TSparsePattern fPattern = sppNone;
  // Counts of pattern and value changes; a held factor records the counts it was made at.
  std::uint64_t fPatternStamp = 0, fValueStamp = 0;
  TFactorStamp fPardisoStamp, fTaucsStamp;
  std::unique_ptr<header_detail::TSlapWorkspace> fSlap;
  std::vector<double> fUmfControl;
  std::vector<double> fUmfInfo;
  std::unique_ptr<header_detail::TUmfFactors> fUmf;
  std::unique_ptr<TPardisoSettings> fPardiso;
  std::unique_ptr<TTaucsSettings> fTaucs;
};

namespace header_detail {
/// Start-up of the sparse module, held by every translation unit that includes this header: the
/// first guard hands the sparse LU library its print function, before any matrix exists.
struct SparseModuleGuard {
  SparseModuleGuard();
};
static const SparseModuleGuard sparse_module_guard;
}  // namespace header_detail

}  // namespace quorel
