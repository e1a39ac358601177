#pragma once
// TVec: the one-dimensional real or complex dense vector.

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>

#include "quorel/objects/controller.h"
#include "quorel/objects/dense.h"
#include "quorel/objects/mtx_types.h"

namespace quorel {

class TQuorelStream;

/// Real or complex dense vector. Usable on the stack or the heap; a copy is Assign.
class TVec final : public TDenseOf<TVec> {
 public:
  TVec();
  ~TVec() override;
  /// Copies size, Complex, IsInteger and values.
  TVec(const TVec& other);
  TVec& operator=(const TVec& other);
  /// Takes over the storage of an ordinary vector; cached, adopted or sub-ranged sources are copied.
  TVec(TVec&& other) noexcept;
  TVec& operator=(TVec&& other) noexcept;

  using TQuorel::Size;
  using TQuorel::SetSubRange;
  using TQuorel::SetSubIndex;
  using TDenseOf<TVec>::SetCplx;
  using TDenseOf<TVec>::SetIt;

  // --- sizing -------------------------------------------------------------------------------
  void SetLength(std::int32_t value) override;
  void SetActualSize(std::int32_t value) override;
  void Clear() override { SetLength(0); }
  void Reset() override;
  /// Sets Complex, then the length. Contents are not kept.
  TVec& Size(std::int32_t len, bool complex);
  /// Sets the length, keeping Complex.
  TVec& Size(std::int32_t len) { return Size(len, fComplex); }
  /// Changes the length keeping the leading elements; new elements are zero when zeroIt.
  TVec& Resize(std::int32_t len, bool zeroIt = false);
  /// Real vector holding the given values.
  TVec& SetDouble(std::span<const double> values);
  /// Real vector holding the given values, widened to double.
  TVec& SetSingle(std::span<const float> values);
  /// Real vector holding the given integers as doubles.
  TVec& SetInteger(std::span<const std::int32_t> values);
  /// Complex vector holding the given values.
  TVec& SetCplx(std::span<const TCplx> values);
  TVec& SetCplx(std::initializer_list<TCplx> values) { return SetCplx(std::span<const TCplx>(values.begin(), values.size())); }
  /// Sizes to the array's length (real), without copying.
  template <class A>
  TVec& SizeFromArray(const A& array) { return Size(static_cast<std::int32_t>(array.size()), false); }
  /// Uses `len` elements at `data` without owning them, until Disown or the next change of capacity.
  TVec& Adopt(double* data, std::int32_t len, bool complex);
  /// Forgets adopted storage: length 0, nothing freed.
  TVec& Disown();
  /// Copy of size, Complex, IsInteger and values.
  TVec& Assign(const TVec& src);

  // --- views ----------------------------------------------------------------------------------
  /// Views elements Index .. Index+Len-1 of src (Len = -1: to src's end). Src must outlive the view
  /// and must not be resized while it lasts.
  TVec& SetSubRange(const TDenseQuorel& src, std::int32_t index, std::int32_t len);
  /// Views all of src.
  TVec& SetSubRange(const TDenseQuorel& src) { return SetSubRange(src, 0, -1); }
  /// Views src[beginIndex .. endIndex].
  TVec& SetSubIndex(const TDenseQuorel& src, std::int32_t beginIndex, std::int32_t endIndex) {
    return SetSubRange(src, beginIndex, endIndex - beginIndex + 1);
  }

  // --- element access -------------------------------------------------------------------------
  double& operator[](std::int32_t i) { return fValues[i]; }
  double operator[](std::int32_t i) const { return fValues[i]; }
  double* PValues(std::int32_t i) const { return PValues1D(i); }
  TCplx* PCValues(std::int32_t i) const { return PCValues1D(i); }
  std::int32_t* PIValues(std::int32_t i) const { return PIValues1D(i); }
  // --- matrix members ------------------------------------------------------------------------
  /// Copies len consecutive storage elements of mtx from (row, col) into Self from index; Self
  /// keeps its length and must have mtx's Complex.
  TVec& CopyMtx(const TMtx& mtx, std::int32_t row, std::int32_t col, std::int32_t index, std::int32_t len);
  /// Self := column col of mtx.
  TVec& GetCol(const TMtx& mtx, std::int32_t col);
  /// Self := len elements of column col of mtx from row `row`.
  TVec& GetCol(const TMtx& mtx, std::int32_t row, std::int32_t col, std::int32_t len);
  /// Self := row `row` of mtx.
  TVec& GetRow(const TMtx& mtx, std::int32_t row);
  /// Self := len elements of row `row` of mtx from column col.
  TVec& GetRow(const TMtx& mtx, std::int32_t row, std::int32_t col, std::int32_t len);
  /// Self := diagonal k of mtx (k > 0 above the main diagonal, k < 0 below).
  TVec& Diag(const TMtx* mtx, std::int32_t k);
  /// Kronecker product of two vectors: Self[i * b.Length + j] = a[i] * b[j].
  TVec& Kron(const TDenseQuorel& a, const TDenseQuorel& b);
  /// Self := A * vec, A being mtx read as mtxType says: general; symmetric or Hermitian from the
  /// TriangleForm triangle; triangular (TriangleUnit: unit diagonal); banded types from the band
  /// storage of mtx (a square Cols x Cols matrix; the symmetric band types from the TriangleForm
  /// half of the band). A real operand is promoted when the other is complex.
  TVec& TensorProd(const TMtx& mtx, const TDenseQuorel& vec, TMtxType mtxType);
  /// Self := mtx * vec for a general matrix of vec's kind, without promotion.
  TVec& TensorProdInt(const TMtx& mtx, const TDenseQuorel& vec);

  /// Net count of switches to real minus switches to complex.
  std::int32_t ComplexSwitches() const { return fComplexSwitches; }

  // --- persistence ----------------------------------------------------------------------------
  // Binary layout and value encodings: quorel/objects/persist.h. Readers raise before changing
  // anything when the header is short or foreign; a short values block is not reported.
  /// Header, caption and values in the vector's own Precision and Rounding.
  void SaveToStream(TQuorelStream& stream) const;
  /// Reads one vector: header, caption, values.
  void LoadFromStream(TQuorelStream& stream);
  /// Creates (or truncates) the file and saves into it.
  void SaveToFile(const std::string& fileName) const { SaveToFile(fileName, false); }
  /// With append, adds to the end of an existing file instead.
  void SaveToFile(const std::string& fileName, bool append) const;
  /// Loads the first vector of the file.
  void LoadFromFile(const std::string& fileName);
  /// Same as SaveToStream / LoadFromStream (the "DataValues" property).
  void SaveBinaryStream(TQuorelStream& stream) const { SaveToStream(stream); }
  void LoadBinaryStream(TQuorelStream& stream) { LoadFromStream(stream); }
  /// The 44-byte header (values announced in the given precision) and the caption block.
  void WriteHeader(TQuorelStream& stream, TPrecision precision, TRounding rounding) const;
  /// Reads header and caption, sizes the vector and returns the precision of the values.
  TPrecision ReadHeader(TQuorelStream& stream);
  /// All elements encoded in the given precision and rounding.
  void WriteValues(TQuorelStream& stream, TPrecision precision, TRounding rounding) const;
  /// Length elements in the given precision.
  void ReadValues(TQuorelStream& stream, TPrecision precision);

 protected:
  void DoSetComplex() override;
  double* CachePointer() const override;
  std::int32_t CacheLength() const override;
  void FreeToCache() override;

 private:
  void MoveFrom(TVec& other) noexcept;

  std::int32_t fComplexSwitches = 0;
  bool fAdopted = false;
};

}  // namespace quorel
