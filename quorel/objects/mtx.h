#pragma once
// TMtx: the dense real or complex matrix, stored row after row in the one storage block of its
// base. Element (i, j) is storage element i * LeadingCols + j (of the double view when real, of
// the complex view when complex); LeadingCols equals Cols after every sizing.

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>

#include "quorel/core/errors.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/dense.h"
#include "quorel/objects/mtx_types.h"
#include "quorel/core/types.h"

namespace quorel {

class TQuorelStream;
class TVec;

/// Dense real or complex matrix. Usable on the stack or the heap; a copy is Assign.
///
/// Switching `Complex` reinterprets the same doubles row by row: becoming complex halves Cols
/// (toward zero: an odd column count loses the last double of the storage from view and rows
/// after the first no longer start where they did), becoming real doubles Cols. Rows never change.
///
/// A sub-range (SetSubRange(Index, Len)) that starts and ends on row boundaries is a
/// (Len / Cols) x Cols matrix of those rows; any other sub-range is a 1 x Len row.
class TMtx final : public TDenseOf<TMtx> {
 public:
  /// An empty real 0 x 0 matrix.
  TMtx();
  /// A rows x cols matrix of zeros, real or complex: TMtx m(3, 4).
  TMtx(std::int32_t rows, std::int32_t cols, bool complex = false);
  /// A real matrix from its rows: TMtx m{{1, 2}, {3, 4}}. Rows of different lengths raise
  /// "TMtx.CopyFromArray: rows of different length".
  TMtx(std::initializer_list<std::initializer_list<double>> rows) : TMtx() {
    CopyFromArray(T2DSampleArray(rows.begin(), rows.end()));
  }
  /// A complex matrix from its rows: TMtx m{{TCplx(1, 2), TCplx(0, 1)}}.
  TMtx(std::initializer_list<std::initializer_list<TCplx>> rows) : TMtx() {
    CopyFromArray(T2DCplxArray(rows.begin(), rows.end()));
  }
  ~TMtx() override;
  /// Copies shape, Complex, IsInteger, settings and values.
  TMtx(const TMtx& other);
  /// Copies shape, Complex, IsInteger, settings and values.
  TMtx& operator=(const TMtx& other);
  /// Takes over the storage of an ordinary matrix; cached or sub-ranged sources are copied.
  TMtx(TMtx&& other) noexcept;
  /// Takes over the storage of an ordinary matrix; otherwise (cached or sub-ranged source or Self)
  /// a copy-assignment, raising what that raises.
  TMtx& operator=(TMtx&& other);

  using TQuorel::CValues;
  using TQuorel::DefaultArray;
  using TQuorel::SetSubRange;
  using TQuorel::Values;

  // --- shape -------------------------------------------------------------------------------------
  /// Number of rows.
  std::int32_t Rows() const { return fRows; }
  /// Number of columns.
  std::int32_t Cols() const { return fCols; }
  /// Distance in elements between the starts of consecutive rows (= Cols after sizing).
  std::int32_t LeadingCols() const { return fLeadingCols; }
  /// Same as LeadingCols.
  std::int32_t GetLeadingCols() const { return fLeadingCols; }
  /// Overrides the row stride; the caller keeps LeadingCols x Rows within the storage.
  void SetLeadingCols(std::int32_t value) { fLeadingCols = value; }
  /// Rows = Cols.
  bool Quadratic() const { return fQuadratic; }

  // --- sizing ------------------------------------------------------------------------------------
  /// Sets the shape, IsInteger and Complex. Contents are not kept. More than 268,435,455
  /// elements raise "Out of memory! Attempted to allocate over 2GB!".
  TMtx& Size(std::int32_t rows, std::int32_t cols, bool isInteger, bool complex);
  TMtx& Size(std::int32_t rows, std::int32_t cols, bool complex);
  /// Sets the shape keeping Complex.
  TMtx& Size(std::int32_t rows, std::int32_t cols);
  /// A matrix src gives its shape; a vector src must have Self's Length and only sets Complex.
  void Size(const TQuorel& src, bool complex) override;
  void RequireSizable(const TQuorel& src, bool complex) const override;
  /// Raises now, changing nothing, what Size(rows, cols, ..., complex) would raise.
  void RequireSizable(std::int32_t rows, std::int32_t cols, bool complex) const;
  /// Refused unless value is the current Length: "TMtx: Length can not be set. Use Size!".
  void SetLength(std::int32_t value) override;
  /// Sets the capacity; a matrix that no longer fits becomes 0 x 0.
  void SetActualSize(std::int32_t value) override;
  /// 0 x 0.
  void Clear() override { Size(0, 0); }
  /// Back to a real 0 x 0 matrix with default settings (what a pooled matrix gets on return).
  void Reset() override;
  /// New row count, same columns and Complex. Contents are not kept.
  TMtx& SetRows(std::int32_t rows) { return Size(rows, fCols); }
  /// New column count, same rows and Complex. Contents are not kept.
  TMtx& SetCols(std::int32_t cols) { return Size(fRows, cols); }

  // --- sub-ranges ----------------------------------------------------------------------------------
  /// Views storage elements index .. index + len - 1 (shape as described above the class).
  void SetSubRange(std::int32_t index, std::int32_t len) override;
  /// Restores the full range with its saved Rows and Cols.
  void SetFullRange() override;

  // --- element access ------------------------------------------------------------------------------
  // No range checks: these are the inner-loop accessors.
  /// Real element (i, j).
  double& Values(std::int32_t i, std::int32_t j) { return *PValues(i, j); }
  double Values(std::int32_t i, std::int32_t j) const { return *PValues(i, j); }
  /// Complex element (i, j).
  TCplx& CValues(std::int32_t i, std::int32_t j) { return *PCValues(i, j); }
  const TCplx& CValues(std::int32_t i, std::int32_t j) const { return *PCValues(i, j); }
  /// Real element (i, j), under its other name.
  double& DefaultArray(std::int32_t i, std::int32_t j) { return *PValues(i, j); }
  /// Address of real element (i, j).
  double* PValues(std::int32_t i, std::int32_t j) const { return fValues + Offset(i, j); }
  /// Address of complex element (i, j).
  TCplx* PCValues(std::int32_t i, std::int32_t j) const { return reinterpret_cast<TCplx*>(fValues) + Offset(i, j); }
  /// Real element (i, j), unchecked like Values(i, j): m(i, j) = 1.
  double& operator()(std::int32_t i, std::int32_t j) { return *PValues(i, j); }
  /// Real element (i, j) of a const matrix, unchecked.
  double operator()(std::int32_t i, std::int32_t j) const { return *PValues(i, j); }
  /// Real element (i, j), checked: EQuorelRangeError outside the matrix, EQuorelInvalidArgument
  /// when it is complex.
  double& at(std::int32_t i, std::int32_t j) { return *PValues(i, CheckedCol(i, j, false)); }
  /// Real element (i, j) of a const matrix, checked alike.
  double at(std::int32_t i, std::int32_t j) const { return *PValues(i, CheckedCol(i, j, false)); }
  /// Complex element (i, j), checked alike (EQuorelInvalidArgument when the matrix is real).
  TCplx& atc(std::int32_t i, std::int32_t j) { return *PCValues(i, CheckedCol(i, j, true)); }
  /// Complex element (i, j) of a const matrix, checked alike.
  const TCplx& atc(std::int32_t i, std::int32_t j) const { return *PCValues(i, CheckedCol(i, j, true)); }
  /// The real elements of the current range row after row, for range-for and standard algorithms; a
  /// complex matrix raises EQuorelInvalidArgument here (iterate CValues() instead).
  double* begin() { return RealRangeStart("TMtx.begin"); }
  /// Same, read-only.
  const double* begin() const { return RealRangeStart("TMtx.begin"); }
  /// One past the last real element of the current range.
  double* end() { return RealRangeStart("TMtx.end") + fLength; }
  /// Same, read-only.
  const double* end() const { return RealRangeStart("TMtx.end") + fLength; }

  // --- settings used by the linear-algebra methods --------------------------------------------------
  /// Iterative refinement after a solve (default false).
  bool RefineSolution() const { return fSettings.RefineSolution; }
  void SetRefineSolution(bool value) { fSettings.RefineSolution = value; }
  /// Condition estimate after a solve (default cnNone).
  TConditionNumber ConditionNumber() const { return fSettings.ConditionNumber; }
  void SetConditionNumber(TConditionNumber value) { fSettings.ConditionNumber = value; }
  /// Triangle that holds the data of triangular and symmetric matrices (default tfLower).
  TTriangleForm TriangleForm() const { return fSettings.TriangleForm; }
  void SetTriangleForm(TTriangleForm value) { fSettings.TriangleForm = value; }
  /// Triangular matrices have a unit diagonal (default false).
  bool TriangleUnit() const { return fSettings.TriangleUnit; }
  void SetTriangleUnit(bool value) { fSettings.TriangleUnit = value; }
  /// Balancing before eigenvalues (default btFull: scaling and permutation, the safer choice for
  /// badly scaled matrices).
  TBalanceType Balance() const { return fSettings.Balance; }
  void SetBalance(TBalanceType value) { fSettings.Balance = value; }
  /// Generalised eigenproblem kind (default etAzBz).
  TEigGenType EigGenType() const { return fSettings.EigGenType; }
  void SetEigGenType(TEigGenType value) { fSettings.EigGenType = value; }
  /// Solvers detect the matrix type themselves (default false).
  bool AutoMtxType() const { return fSettings.AutoMtxType; }
  void SetAutoMtxType(bool value) { fSettings.AutoMtxType = value; }
  /// Super-diagonals of a banded matrix (default 0).
  std::int32_t SuperDiag() const { return fSettings.SuperDiag; }
  void SetSuperDiag(std::int32_t value) { fSettings.SuperDiag = value; }
  /// Sub-diagonals of a banded matrix (default 0).
  std::int32_t SubDiag() const { return fSettings.SubDiag; }
  void SetSubDiag(std::int32_t value) { fSettings.SubDiag = value; }

  // --- persistence: the header of this kind (saving and loading are TDenseQuorel's) ---------
  /// The 104-byte header (values announced in the given precision) and the caption block.
  void WriteHeader(TQuorelStream& stream, TPrecision precision, TRounding rounding) const override;
  /// Reads header and caption, sizes the matrix, restores its settings and returns the precision
  /// of the values.
  TPrecision ReadHeader(TQuorelStream& stream) override;

  // --- values as lines of text (quorel/io/text_values.h has the same as free functions) ----------
  /// Appends one line per row of the rowCount x colCount block at (row, col) (-1: to the end),
  /// the columns joined by delimiter, each element by the patterns.
  void ValuesToStrings(TStringList& list, const std::string& delimiter, const std::string& reFormat,
                       const std::string& imFormat, std::int32_t row, std::int32_t col, std::int32_t rowCount,
                       std::int32_t colCount) const;
  void ValuesToStrings(TStringList& list, const std::string& delimiter, const std::string& reFormat,
                       const std::string& imFormat) const;
  /// Same, each value in the shortest text that reads back exactly.
  void ValuesToStrings(TStringList& list, const std::string& delimiter, std::int32_t row, std::int32_t col,
                       std::int32_t rowCount, std::int32_t colCount) const;
  void ValuesToStrings(TStringList& list, const std::string& delimiter) const;
  /// Reads such lines: one row per line, the columns of the first line (unchanged on any error).
  void StringsToValues(const TStringList& list, const std::string& delimiter);
  /// Saves the matrix as a Matrix Market array file.
  void SaveToMatrixMarketFile(const std::string& fileName) const;

  // --- whole-object copies -------------------------------------------------------------------------
  /// Copy of shape, Complex, IsInteger, settings and values; "Mtx = Self" for itself.
  TMtx& Assign(const TMtx& src);
  /// Loads rows x cols values (pairs re, im when complex) in storage order.
  TMtx& SetIt(std::int32_t rows, std::int32_t cols, bool complex, std::span<const double> values);
  TMtx& SetIt(std::int32_t rows, std::int32_t cols, bool complex, std::initializer_list<double> values) {
    return SetIt(rows, cols, complex, std::span<const double>(values.begin(), values.size()));
  }
  /// Loads values keeping the shape; the element count must be Length.
  TMtx& SetIt(bool complex, std::span<const double> values);
  TMtx& SetIt(bool complex, std::initializer_list<double> values) {
    return SetIt(complex, std::span<const double>(values.begin(), values.size()));
  }
  using TDenseOf<TMtx>::SetCplx;
  using TDenseOf<TMtx>::SetVal;
  /// Fills with a complex value; a real matrix becomes complex of the same shape.
  TMtx& SetVal(const TCplx& value);

  // Checks: identity and real/complex agreement are tested while ConditionCheck is on; the index
  // and dimension checks of the matrix methods always run, because they guard the storage. The
  // element-wise range forms (Index, Len over the elements) follow ConditionCheck, as for vectors.

  // --- sizing that keeps data --------------------------------------------------------------------------
  /// New shape keeping the overlapping top-left block; new elements are zero when zeroIt.
  TMtx& Resize(std::int32_t rows, std::int32_t cols, bool zeroIt = false);
  /// Self := the transpose of src's top-left block, as a rows x cols matrix zero-padded where src
  /// has no elements (a transposed copy with room to spare, as solvers need).
  TMtx& ResizeAndTranspose(const TMtx& src, std::int32_t rows, std::int32_t cols);
  /// Checks that rows row..toRow and columns col..toCol lie in the matrix.
  void ValidateRange(std::int32_t row, std::int32_t col, std::int32_t toRow, std::int32_t toCol) const;

  // --- blocks and assembly ---------------------------------------------------------------------------
  using TDenseOf<TMtx>::Copy;
  /// Copies nrRows x nrCols elements from (mtxRow, mtxCol) of mtx to (row, col) of Self.
  TMtx& Copy(const TMtx& mtx, std::int32_t mtxRow, std::int32_t mtxCol, std::int32_t row, std::int32_t col,
             std::int32_t nrRows, std::int32_t nrCols);
  /// Writes all of vec into the storage from element 0 on; Self keeps its shape.
  TMtx& CopyVec(const TDenseQuorel& vec);
  /// Writes len elements of vec from vecIndex into the storage from element startPos on.
  TMtx& CopyVec(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t len, std::int32_t startPos);
  /// Same, starting at element (row, col).
  TMtx& CopyVec(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t len, std::int32_t row,
                std::int32_t col);
  /// Reshapes vec into nrRows rows of vec->Length / nrRows columns.
  TMtx& CopyVec(const TDenseQuorel* vec, std::int32_t nrRows);
  /// Tiles aRows x aCols matrices, given row by row; tiles in one row share Rows, in one column Cols.
  TMtx& Concat(std::int32_t aRows, std::int32_t aCols, std::span<const TMtx* const> src);
  TMtx& Concat(std::int32_t aRows, std::int32_t aCols, std::initializer_list<const TMtx*> src) {
    return Concat(aRows, aCols, std::span<const TMtx* const>(src.begin(), src.size()));
  }
  /// Places the matrices side by side.
  TMtx& ConcatHorz(std::span<const TMtx* const> src);
  TMtx& ConcatHorz(std::initializer_list<const TMtx*> src) { return ConcatHorz(Span(src)); }
  /// Writes the matrices side by side into Self from (destRow, destCol), without resizing.
  TMtx& ConcatHorz(std::int32_t destRow, std::int32_t destCol, std::span<const TMtx* const> src);
  TMtx& ConcatHorz(std::int32_t destRow, std::int32_t destCol, std::initializer_list<const TMtx*> src) {
    return ConcatHorz(destRow, destCol, Span(src));
  }
  /// Places the matrices one above another.
  TMtx& ConcatVert(std::span<const TMtx* const> src);
  TMtx& ConcatVert(std::initializer_list<const TMtx*> src) { return ConcatVert(Span(src)); }
  /// Writes the matrices one above another into Self from (destRow, destCol), without resizing.
  TMtx& ConcatVert(std::int32_t destRow, std::int32_t destCol, std::span<const TMtx* const> src);
  TMtx& ConcatVert(std::int32_t destRow, std::int32_t destCol, std::initializer_list<const TMtx*> src) {
    return ConcatVert(destRow, destCol, Span(src));
  }
  /// The inverse of Concat: cuts Self into aRows x aCols tiles whose shapes are the destinations'
  /// current Rows and Cols; each destination takes Self's Complex.
  void Split(std::int32_t aRows, std::int32_t aCols, std::span<TMtx* const> dst) const;
  void Split(std::int32_t aRows, std::int32_t aCols, std::initializer_list<TMtx*> dst) const {
    Split(aRows, aCols, std::span<TMtx* const>(dst.begin(), dst.size()));
  }
  /// Writes all of vec into row `row` from column 0.
  TMtx& SetRow(const TDenseQuorel* vec, std::int32_t row);
  /// Writes len elements of vec from vecIndex into row `row` from column `col`.
  TMtx& SetRow(const TDenseQuorel* vec, std::int32_t vecIndex, std::int32_t row, std::int32_t col, std::int32_t len);
  /// Writes all of vec into column `col` from row 0.
  TMtx& SetCol(const TDenseQuorel* vec, std::int32_t col);
  /// Writes len elements of vec from vecIndex into column `col` from row `row`.
  TMtx& SetCol(const TDenseQuorel* vec, std::int32_t vecIndex, std::int32_t row, std::int32_t col, std::int32_t len);
  /// Writes vecs[k] into row k (column k), each from column (row) 0.
  TMtx& SetRows(std::span<const TDenseQuorel* const> vecs);
  /// Writes vecs[k] into column k, each from row 0.
  TMtx& SetCols(std::span<const TDenseQuorel* const> vecs);
  /// Writes vec onto diagonal k (k > 0 above the main diagonal, k < 0 below), from its start.
  TMtx& Diag(const TDenseQuorel& vec, std::int32_t k);

  // --- structure and rearrangement -------------------------------------------------------------------
  /// Ones on the main diagonal, zeros elsewhere; shape and Complex kept.
  TMtx& Eye();
  /// rows x cols identity, Complex kept.
  TMtx& Eye(std::int32_t rows, std::int32_t cols);
  /// Self := the upper (lower) triangle of mtx, with its diagonal when `diagonal`. The other
  /// triangle is zeroed when zeroOther; otherwise it keeps Self's values (Self already mtx's shape).
  TMtx& UpperTriangle(const TMtx& mtx, bool zeroOther, bool diagonal);
  /// Self := the lower triangle of mtx, as UpperTriangle does for the upper one.
  TMtx& LowerTriangle(const TMtx& mtx, bool zeroOther, bool diagonal);
  /// Self := mtx transposed (Cols x Rows).
  TMtx& Transp(const TMtx& mtx);
  /// Transposes in place.
  TMtx& Transp();
  /// Self := the conjugate transpose of x (the transpose when real).
  TMtx& Adjung(const TMtx& x);
  TMtx& Adjung();
  /// Mirrors left to right (column j goes to Cols - 1 - j).
  TMtx& FlipHor(const TMtx& srcMtx);
  TMtx& FlipHor();
  /// Mirrors top to bottom (row i goes to Rows - 1 - i).
  TMtx& FlipVer(const TMtx& srcMtx);
  TMtx& FlipVer();
  /// Self := mtx rotated 90 degrees counter-clockwise: Self(i, j) = mtx(j, Cols - 1 - i).
  TMtx& Rotate90(const TMtx& mtx);
  TMtx& Rotate90();
  /// Swaps rows i and j.
  TMtx& RowExchange(std::int32_t i, std::int32_t j);
  /// Swaps columns i and j.
  TMtx& ColExchange(std::int32_t i, std::int32_t j);
  /// Sorts every column ascending (descending), independently; complex values in the library's
  /// complex order (modulus, then phase).
  TMtx& SortAscend();
  /// Sorts every column descending, independently.
  TMtx& SortDescend();

  // --- products and generated matrices ---------------------------------------------------------------
  /// Kronecker product: block (i, j) of Self is a(i, j) * b.
  TMtx& Kron(const TMtx& a, const TMtx& b);
  /// Outer product: Self(i, j) = vec1[i] * vec2[j] (no conjugation).
  TMtx& TensorProd(const TDenseQuorel& vec1, const TDenseQuorel& vec2);
  /// Self(i, j) += vec1[i] * vec2[j]; Self must be vec1.Length x vec2.Length.
  TMtx& AddTensorProd(const TDenseQuorel& vec1, const TDenseQuorel& vec2);
  /// Vandermonde matrix: Self(i, j) = vec[i]^(cols - 1 - j), powers descending like polynomials.
  TMtx& VanderMonde(std::int32_t cols, const TDenseQuorel& vec);
  /// Symmetric Pascal matrix of order n: Self(i, j) = C(i + j, i).
  TMtx& Pascl(std::int32_t n);
  /// Symmetric Toeplitz matrix: Self(i, j) = vec[|i - j|].
  TMtx& Toeplitz(const TDenseQuorel& vec);
  /// General Toeplitz matrix: Self(i, j) = row[j - i] for j >= i, col[i - j] below (col[0] unused).
  TMtx& Toeplitz(const TDenseQuorel& col, const TDenseQuorel& row);

  // --- reductions along rows and columns ---------------------------------------------------------------
  /// dst[i] = sum (mean) of row i.
  void SumRows(TVec& dst) const;
  /// dst[i] = mean of row i.
  void MeanRows(TVec& dst) const;
  /// dst[j] = sum (mean) of column j.
  void SumCols(TVec& dst) const;
  /// dst[j] = mean of column j.
  void MeanCols(TVec& dst) const;
  /// Sum of the main diagonal (real; "Complex = True" otherwise).
  double Trace() const;
  /// Sum of the main diagonal of a complex matrix ("Complex = False" otherwise).
  TCplx Tracec() const;
  /// Largest column sum of magnitudes.
  double Norm1() const;
  /// Largest row sum of magnitudes.
  double NormInf() const;

  // --- banded storage ----------------------------------------------------------------------------------
  // A banded matrix with ku super- and kl sub-diagonals of an m x n matrix A is a (ku + kl + 1) x n
  // matrix B with B(ku + i - j, j) = A(i, j): row ku holds the main diagonal, the rows above it the
  // super-diagonals, the rows below the sub-diagonals, each aligned by column. Transposed, this is
  // LAPACK's column-major band storage (leading dimension ku + kl + 1). Unused corners are zero.

  /// Outermost non-zero super- and sub-diagonal of Self.
  void DiagonalsCount(std::int32_t& superDiag, std::int32_t& subDiag) const;
  /// Dst := the band of Self, with its SuperDiag and SubDiag set.
  void DenseToBanded(TMtx& dst, std::int32_t maxElemCount = 0x7FFFFFFF) const;
  /// Self := the square A.Cols x A.Cols matrix whose band A holds (real A only).
  TMtx& BandedToDense(const TMtx& a);

  // --- two-dimensional arrays ----------------------------------------------------------------------------
  /// Sizes Self to the array's rows and columns (real for doubles, complex for TCplx).
  TMtx& SizeFromArray(const T2DSampleArray& src);
  TMtx& SizeFromArray(const T2DCplxArray& src);
  /// Sizes the array to Rows x Cols.
  void SizeToArray(T2DSampleArray& dst) const;
  void SizeToArray(T2DCplxArray& dst) const;
  /// Sizes Self from the array and copies it; rows must have equal lengths.
  TMtx& CopyFromArray(const T2DSampleArray& src);
  TMtx& CopyFromArray(const T2DCplxArray& src);
  /// Sizes the array and copies Self into it (a real matrix gives zero imaginary parts).
  void CopyToArray(T2DSampleArray& dst) const;
  void CopyToArray(T2DCplxArray& dst) const;

  // Members added by the subsystems, each from its own fragment.
#include "quorel/signal/mtx_signal.inc"
#include "quorel/dense/mtx_linalg.inc"

  /// Gives this cached matrix back to the cache (FreeIt on itself).
  void FreeToCache() override;

 protected:
  void DoSetComplex() override;
  double* CachePointer() const override;
  std::int32_t CacheLength() const override;

 private:
  std::int64_t Offset(std::int32_t i, std::int32_t j) const { return std::int64_t{i} * fLeadingCols + j; }
  std::int32_t CheckedCol(std::int32_t i, std::int32_t j, bool complex) const {
    if (fComplex != complex) [[unlikely]]
      EInvalidArgumentRaise(complex ? "TMtx.atc: Complex = False" : "TMtx.at: Complex = True");
    if (i < 0 || i >= fRows || j < 0 || j >= fCols) [[unlikely]]
      ERangeErrorRaise(FormatMsg("TMtx.at: Index out of range: Row: %d, Col: %d, Rows: %d, Cols: %d", i, j, fRows, fCols));
    return j;
  }
  double* RealRangeStart(const char* method) const {
    if (fComplex) [[unlikely]]
      EInvalidArgumentRaise(std::string(method) + ": Complex = True (iterate CValues())");
    return fValues;
  }
  /// Stores the shape with LeadingCols = Cols and Quadratic recomputed.
  void SetShape(std::int32_t rows, std::int32_t cols);
  static std::span<const TMtx* const> Span(std::initializer_list<const TMtx*> list) {
    return {list.begin(), list.size()};
  }
  /// Takes over other's block as a move; false, with nothing changed, when it cannot.
  bool MoveStorage(TMtx& other) noexcept;

  // The settings steer later solves; kept together so copies and resets treat them as one.
  struct TSettings {
    bool RefineSolution = false;
    TConditionNumber ConditionNumber = cnNone;
    TTriangleForm TriangleForm = tfLower;
    bool TriangleUnit = false;
    TBalanceType Balance = btFull;
    TEigGenType EigGenType = etAzBz;
    bool AutoMtxType = false;
    std::int32_t SuperDiag = 0;
    std::int32_t SubDiag = 0;
  };

  bool fQuadratic = true;
  std::int32_t fRows = 0;
  std::int32_t fCols = 0;
  TSettings fSettings;
  std::int32_t fLeadingCols = 0;
  std::int32_t fSavedRows = 0;  // full-range shape while a sub-range is active
  std::int32_t fSavedCols = 0;
};

/// Sum of the main diagonal of a real matrix.
double Trace(const TMtx& a);
/// Largest column sum of magnitudes.
double Norm1(const TMtx& a);
/// Largest row sum of magnitudes.
double NormInf(const TMtx& a);

}  // namespace quorel
