#pragma once
// TMtx: the dense real or complex matrix, stored row after row in the one storage block of its
// base. Element (i, j) is storage element i * LeadingCols + j (of the double view when real, of
// the complex view when complex); LeadingCols equals Cols after every sizing.

#include <cstdint>
#include <initializer_list>
#include <span>

#include "quorel/objects/controller.h"
#include "quorel/objects/dense.h"
#include "quorel/objects/mtx_types.h"

namespace quorel {

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
  TMtx();
  /// A rows x cols matrix (contents undefined).
  TMtx(std::int32_t rows, std::int32_t cols, bool complex = false);
  ~TMtx() override;
  /// Copies shape, Complex, IsInteger, settings and values.
  TMtx(const TMtx& other);
  TMtx& operator=(const TMtx& other);
  /// Takes over the storage of an ordinary matrix; cached or sub-ranged sources are copied.
  TMtx(TMtx&& other) noexcept;
  TMtx& operator=(TMtx&& other) noexcept;

  using TQuorel::CValues;
  using TQuorel::DefaultArray;
  using TQuorel::SetSubRange;
  using TQuorel::Values;

  // --- shape -------------------------------------------------------------------------------------
  std::int32_t Rows() const { return fRows; }
  std::int32_t Cols() const { return fCols; }
  /// Distance in elements between the starts of consecutive rows (= Cols after sizing).
  std::int32_t LeadingCols() const { return fLeadingCols; }
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
  /// Refused unless value is the current Length: "TMtx: Length can not be set. Use Size!".
  void SetLength(std::int32_t value) override;
  void SetActualSize(std::int32_t value) override;
  /// 0 x 0.
  void Clear() override { Size(0, 0); }
  void Reset() override;
  /// New row count, same columns and Complex. Contents are not kept.
  TMtx& SetRows(std::int32_t rows) { return Size(rows, fCols); }
  /// New column count, same rows and Complex. Contents are not kept.
  TMtx& SetCols(std::int32_t cols) { return Size(fRows, cols); }

  // --- sub-ranges ----------------------------------------------------------------------------------
  void SetSubRange(std::int32_t index, std::int32_t len) override;
  /// Restores the full range with its saved Rows and Cols.
  void SetFullRange() override;

  // --- element access ------------------------------------------------------------------------------
  double& Values(std::int32_t i, std::int32_t j) { return fValues[Offset(i, j)]; }
  double Values(std::int32_t i, std::int32_t j) const { return fValues[Offset(i, j)]; }
  TCplx& CValues(std::int32_t i, std::int32_t j) { return *PCValues1D(Offset(i, j)); }
  const TCplx& CValues(std::int32_t i, std::int32_t j) const { return *PCValues1D(Offset(i, j)); }
  double& DefaultArray(std::int32_t i, std::int32_t j) { return fValues[Offset(i, j)]; }
  /// Address of real element (i, j).
  double* PValues(std::int32_t i, std::int32_t j) const { return fValues + Offset(i, j); }
  /// Address of complex element (i, j).
  TCplx* PCValues(std::int32_t i, std::int32_t j) const { return PCValues1D(Offset(i, j)); }

  // --- settings used by the linear-algebra methods --------------------------------------------------
  /// Iterative refinement after a solve (default false).
  bool RefineSolution() const { return fRefineSolution; }
  void SetRefineSolution(bool value) { fRefineSolution = value; }
  /// Condition estimate after a solve (default cnNone).
  TConditionNumber ConditionNumber() const { return fConditionNumber; }
  void SetConditionNumber(TConditionNumber value) { fConditionNumber = value; }
  /// Triangle that holds the data of triangular and symmetric matrices (default tfLower).
  TTriangleForm TriangleForm() const { return fTriangleForm; }
  void SetTriangleForm(TTriangleForm value) { fTriangleForm = value; }
  /// Triangular matrices have a unit diagonal (default false).
  bool TriangleUnit() const { return fTriangleUnit; }
  void SetTriangleUnit(bool value) { fTriangleUnit = value; }
  /// Balancing before eigenvalues (default btFull: scaling and permutation, the safer choice for
  /// badly scaled matrices).
  TBalanceType Balance() const { return fBalance; }
  void SetBalance(TBalanceType value) { fBalance = value; }
  /// Generalised eigenproblem kind (default etAzBz).
  TEigGenType EigGenType() const { return fEigGenType; }
  void SetEigGenType(TEigGenType value) { fEigGenType = value; }
  /// Solvers detect the matrix type themselves (default false).
  bool AutoMtxType() const { return fAutoMtxType; }
  void SetAutoMtxType(bool value) { fAutoMtxType = value; }
  /// Super-diagonals of a banded matrix (default 0).
  std::int32_t SuperDiag() const { return fSuperDiag; }
  void SetSuperDiag(std::int32_t value) { fSuperDiag = value; }
  /// Sub-diagonals of a banded matrix (default 0).
  std::int32_t SubDiag() const { return fSubDiag; }
  void SetSubDiag(std::int32_t value) { fSubDiag = value; }

  // --- whole-object copies -------------------------------------------------------------------------
  /// Copy of shape, Complex, IsInteger, settings and values; "Mtx = Self" for itself.
  TMtx& Assign(const TMtx& src);

 protected:
  void DoSetComplex() override;
  double* CachePointer() const override;
  std::int32_t CacheLength() const override;
  void FreeToCache() override;

 private:
  std::int64_t Offset(std::int32_t i, std::int32_t j) const { return std::int64_t{i} * fLeadingCols + j; }
  /// Rows, Cols and LeadingCols for the current Length, keeping the column count when it fits.
  void SetShape(std::int32_t rows, std::int32_t cols);
  void CopySettings(const TMtx& src);
  void MoveFrom(TMtx& other) noexcept;

  bool fQuadratic = true;
  std::int32_t fRows = 0;
  std::int32_t fCols = 0;
  bool fRefineSolution = false;
  TConditionNumber fConditionNumber = cnNone;
  TTriangleForm fTriangleForm = tfLower;
  bool fTriangleUnit = false;
  TBalanceType fBalance = btFull;
  TEigGenType fEigGenType = etAzBz;
  bool fAutoMtxType = false;
  std::int32_t fSuperDiag = 0;
  std::int32_t fSubDiag = 0;
  std::int32_t fLeadingCols = 0;
  std::int32_t fSavedRows = 0;  // full-range shape while a sub-range is active
  std::int32_t fSavedCols = 0;
};

}  // namespace quorel
