#pragma once
// TVec: the one-dimensional real or complex dense vector.

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "quorel/core/errors.h"
#include "quorel/objects/controller.h"
#include "quorel/objects/dense.h"
#include "quorel/objects/mtx_types.h"

namespace quorel {

class TQuorelStream;

/// Real or complex dense vector. Usable on the stack or the heap; a copy is Assign. A subclass
/// may add its own header data (InternalWriteHeader / InternalReadHeader); the storage
/// overrides stay final, so calls through a TVec are still direct.
class TVec : public TDenseOf<TVec> {
 public:
  TVec();
  ~TVec() override;
  /// Copies size, Complex, IsInteger and values.
  TVec(const TVec& other);
  /// Copies size, Complex, IsInteger and values.
  TVec& operator=(const TVec& other);
  /// Takes over the storage of an ordinary vector; cached, adopted or sub-ranged sources are copied.
  TVec(TVec&& other) noexcept;
  /// Takes over the storage of an ordinary vector; otherwise (cached, adopted or sub-ranged source,
  /// cached or sub-ranged Self) a copy-assignment, raising what that raises.
  TVec& operator=(TVec&& other);
  /// A vector of len zeros, real or complex: TVec v(5). (Braces list values: TVec v{5} is one 5.)
  explicit TVec(std::int32_t len, bool complex = false) : TVec() { Size(len, complex).SetZero(); }
  /// A real vector holding the values: TVec v{1, 2, 3}.
  TVec(std::initializer_list<double> values) : TVec() { SetDouble(std::span<const double>(values.begin(), values.size())); }
  /// A complex vector holding the values: TVec v{TCplx(1, 2), TCplx(3, 0)}.
  TVec(std::initializer_list<TCplx> values) : TVec() { SetCplx(values); }
  /// A work vector from the object cache (CreateIt); give it back with FreeToCache.
  static TVec* CreateFromCache();
  /// Gives this cached vector back to the cache (FreeIt on itself).
  void FreeToCache() final;

  using TQuorel::Size;
  using TQuorel::SetSubRange;
  /// Views elements beginIndex .. endIndex of Self's own storage.
  using TQuorel::SetSubIndex;
  using TDenseOf<TVec>::SetCplx;
  using TDenseOf<TVec>::SetIt;

  // --- sizing -------------------------------------------------------------------------------
  void SetLength(std::int32_t value) final;
  void SetActualSize(std::int32_t value) final;
  void Clear() final { SetLength(0); }
  void Reset() final;
  /// Sets Complex, then the length. Contents are not kept.
  TVec& Size(std::int32_t len, bool complex);
  /// Sets Complex, Src's IsInteger, then Src's length; every check comes first.
  void Size(const TQuorel& src, bool complex) final;
  void RequireSizable(const TQuorel& src, bool complex) const final { RequireSizable(src.Length(), complex); }
  /// Raises now, changing nothing, what Size(len, complex) would raise.
  void RequireSizable(std::int32_t len, bool complex) const;
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

  // --- operations -----------------------------------------------------------------------------
  // Integer vectors (IsInteger: index lists and masks) hold 32-bit integers and are moved as such.
  // A result that mixes kinds takes the widest, integer < real < complex (x becomes (x, 0)). An
  // input that is Self itself is read from a copy, so Self may be an input wherever no identity
  // check forbids it (or ConditionCheck is off).

  // Assembly.
  using TDenseOf<TVec>::Copy;
  /// Self = Vec1 followed by Vec2; complex when either is.
  TVec& Copy(const TVec& vec1, const TVec& vec2);
  /// Self = the sources one after another; all share Complex with the first.
  TVec& Concat(std::span<const TVec* const> src);
  TVec& Concat(std::initializer_list<const TVec*> src) { return Concat(std::span(src.begin(), src.size())); }
  /// Writes the sources one after another into Self from Index on; Self keeps its size.
  TVec& Concat(std::int32_t index, std::span<const TVec* const> src);
  TVec& Concat(std::int32_t index, std::initializer_list<const TVec*> src) {
    return Concat(index, std::span(src.begin(), src.size()));
  }
  /// Vec1 = the first Offset elements of Self, Vec2 = the rest.
  TVec& Split(TVec& vec1, TVec& vec2, std::int32_t offset);
  /// Cuts Self into consecutive pieces of the destinations' current lengths; a tail beyond the
  /// last piece is left out.
  TVec& Split(std::span<TVec* const> dst);
  TVec& Split(std::initializer_list<TVec*> dst) { return Split(std::span(dst.begin(), dst.size())); }
  /// Sizes dst[i] to dstSize[i], then cuts Self as above.
  TVec& Split(std::span<TVec* const> dst, std::span<const std::int32_t> dstSize);
  TVec& Split(std::initializer_list<TVec*> dst, std::initializer_list<std::int32_t> dstSize) {
    return Split(std::span(dst.begin(), dst.size()), std::span(dstSize.begin(), dstSize.size()));
  }

  // Gathering and scattering. A gather sizes Self to the gathered elements of X (X's kind); a
  // scatter writes into Self in place (Self keeps its size, Src is converted to Self's kind) and is
  // the exact inverse of the gather with the same arguments. Mask entries are true when non-zero;
  // with repeated scatter indexes the last write wins. Index values outside the addressed vector
  // raise EQuorelRangeError whatever ConditionCheck says.
  /// IndexType 0: GatherByIncr (Increment, Offset); 1: GatherByIndex; 2: GatherByMask.
  TVec& Gather(const TVec& x, const TVec* indexes, std::int32_t indexType, std::int32_t increment,
               std::int32_t offset);
  /// Self = X[Offset], X[Offset + Increment], ... up to the end of X.
  TVec& GatherByIncr(const TVec& x, std::int32_t increment, std::int32_t offset);
  /// Self[i] = X[Indexes[i]].
  TVec& GatherByIndex(const TVec& x, const TVec& indexes);
  /// Self = the elements of X whose mask entry is true, in order.
  TVec& GatherByMask(const TVec& x, const TVec* mask);
  /// Self[i] = the next element of MaskVec where Mask[i] is true, else the next of NotMaskVec.
  TVec& GatherSplit(const TVec& mask, const TVec& maskVec, const TVec& notMaskVec);
  /// The inverse of Gather; IndexType as there.
  TVec& Scatter(const TVec& src, const TVec* indexes, std::int32_t indexType, std::int32_t increment,
                std::int32_t offset);
  /// Self[Offset + k*Increment] = Src[k] for every element of Src.
  TVec& ScatterByIncr(const TVec& src, std::int32_t increment, std::int32_t offset);
  /// Self[Indexes[i]] = Src[i].
  TVec& ScatterByIndex(const TVec& src, const TVec& indexes);
  /// Writes Src's elements in order to the positions where the mask is true.
  TVec& ScatterByMask(const TVec& src, const TVec* mask);
  /// The inverse of GatherSplit: MaskVec = Self's elements where Mask is true, NotMaskVec = the rest.
  TVec& SplitByMask(const TVec& mask, TVec& maskVec, TVec& notMaskVec);

  // Comparison family. op is "<", "<=" or "=<", ">", ">=" or "=>", "=" or "==", "<>". A real pair
  // with a NaN counts as "less"; "=" matches NaN with NaN and an infinity with an infinity of either
  // sign. Complex values compare by the complex ordering (modulus, then phase from -pi). A vector b
  // compares min(a.Length, b.Length) elements, a value b every element of a.
  /// Self = integer 0/1 mask of the relation.
  TVec& FindMask(const TVec& a, std::string_view op, const TVec& b);
  TVec& FindMask(const TVec& a, std::string_view op, double b);
  TVec& FindMask(const TVec& a, std::string_view op, const TCplx& b);
  /// Self = integer list of the positions where the relation holds, ascending.
  TVec& FindIndexes(const TVec& a, std::string_view op, const TVec& b);
  TVec& FindIndexes(const TVec& a, std::string_view op, double b);
  TVec& FindIndexes(const TVec& a, std::string_view op, const TCplx& b);
  /// Self = the elements of a where the relation holds; Indexes = their positions.
  TVec& FindAndGather(const TVec& a, std::string_view op, const TVec& b, TVec& indexes);
  TVec& FindAndGather(const TVec& a, std::string_view op, double b, TVec& indexes);
  TVec& FindAndGather(const TVec& a, std::string_view op, const TCplx& b, TVec& indexes);
  /// Self = the 0/1 mask; MaskVec = the elements of a where it holds, NotMaskVec = the others.
  TVec& FindAndSplit(const TVec& a, std::string_view op, const TVec& b, TVec& maskVec, TVec& notMaskVec);
  TVec& FindAndSplit(const TVec& a, std::string_view op, double b, TVec& maskVec, TVec& notMaskVec);
  TVec& FindAndSplit(const TVec& a, std::string_view op, const TCplx& b, TVec& maskVec, TVec& notMaskVec);

  // Generation and ordering.
  /// Self[i] = i; Length and Complex are kept.
  TVec& Ramp();
  /// Self[i] = Offset + i*Step (a complex Self gets zero imaginary parts, an integer one the
  /// values truncated toward zero).
  TVec& Ramp(double offset, double step);
  /// Self[Index + k] = Offset + k*Step for k < Len.
  TVec& Ramp(double offset, double step, std::int32_t index, std::int32_t len);
  /// Self[i] = Offset + i*Step, complex (a real Self becomes complex of the same length).
  TVec& Ramp(const TCplx& offset, double step);
  TVec& Ramp(const TCplx& offset, const TCplx& step);
  /// Self[Index + k] = Offset + k*Step for k < Len; Self must be complex.
  TVec& Ramp(const TCplx& offset, double step, std::int32_t index, std::int32_t len);
  TVec& Ramp(const TCplx& offset, const TCplx& step, std::int32_t index, std::int32_t len);
  /// Self = Src[Offset + k*Step] for k < Len (Step < 0 walks backward; Len = -1 takes as many as
  /// fit), in Src's kind.
  TVec& SliceIt(const TVec& src, std::int32_t step, std::int32_t offset, std::int32_t len);
  /// As SliceIt, but reads Src's storage as (re, im) pairs whatever its Complex; Self is complex.
  TVec& SliceItc(const TVec& src, std::int32_t step, std::int32_t offset, std::int32_t len);
  /// Sorts Self in place. NaNs (complex: either part) go last in both directions; complex values
  /// follow the complex ordering.
  TVec& SortAscend();
  /// Sorts Self descending in place (NaNs last).
  TVec& SortDescend();
  /// Same, stable; IndexVec receives each element's original position.
  TVec& SortAscend(TVec* indexVec);
  /// Sorts descending, stable; indexVec receives each element's original position.
  TVec& SortDescend(TVec* indexVec);
  /// Self = the primes up to N, ascending, as real values (empty when N < 2).
  TVec& PrimeNumbers(std::int32_t n);
  /// Flips an integer mask in place: 0 becomes 1, anything else 0.
  TVec& NotMask();

  // --- element access -------------------------------------------------------------------------
  /// Element i (real data).
  double& operator[](std::int32_t i) { return fValues[i]; }
  /// Element i (real data).
  double operator[](std::int32_t i) const { return fValues[i]; }
  /// Real element i, checked: EQuorelRangeError outside 0 .. Length - 1, EQuorelInvalidArgument
  /// when the vector is complex.
  double& at(std::int32_t i) { return *PValues1D(CheckedIndex(i, false)); }
  /// Real element i of a const vector, checked alike.
  double at(std::int32_t i) const { return *PValues1D(CheckedIndex(i, false)); }
  /// Complex element i, checked alike (EQuorelInvalidArgument when the vector is real).
  TCplx& atc(std::int32_t i) { return *PCValues1D(CheckedIndex(i, true)); }
  /// Complex element i of a const vector, checked alike.
  const TCplx& atc(std::int32_t i) const { return *PCValues1D(CheckedIndex(i, true)); }
  /// The real elements of the current range, for range-for and standard algorithms; a complex vector
  /// raises EQuorelInvalidArgument here (iterate CValues() instead).
  double* begin() { return RealRangeStart("TVec.begin"); }
  /// Same, read-only.
  const double* begin() const { return RealRangeStart("TVec.begin"); }
  /// One past the last real element of the current range.
  double* end() { return RealRangeStart("TVec.end") + fLength; }
  /// Same, read-only.
  const double* end() const { return RealRangeStart("TVec.end") + fLength; }
  /// Address of real element i.
  double* PValues(std::int32_t i) const { return PValues1D(i); }
  /// Address of complex element i.
  TCplx* PCValues(std::int32_t i) const { return PCValues1D(i); }
  /// Address of integer element i.
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

  // --- persistence: the header of this kind (saving and loading are TDenseQuorel's) ---------
  /// The 44-byte header (values announced in the given precision) and the caption block.
  void WriteHeader(TQuorelStream& stream, TPrecision precision, TRounding rounding) const final;
  /// Reads header and caption, sizes the vector and returns the precision of the values.
  TPrecision ReadHeader(TQuorelStream& stream) final;

  // --- values as lines of text (quorel/io/text_values.h has the same as free functions) ----------
  /// Appends one line per element of [index, index + len) (len = -1: to the end), by the patterns.
  void ValuesToStrings(TStringList& list, const std::string& reFormat, const std::string& imFormat,
                       std::int32_t index, std::int32_t len) const;
  void ValuesToStrings(TStringList& list, const std::string& reFormat, const std::string& imFormat) const;
  /// Same, each value in the shortest text that reads back exactly.
  void ValuesToStrings(TStringList& list, std::int32_t index, std::int32_t len) const;
  void ValuesToStrings(TStringList& list) const;
  /// Parses list[listIndex .. listIndex + len - 1] into elements index.. (unchanged on any error).
  void StringsToValues(const TStringList& list, std::int32_t listIndex, std::int32_t index, std::int32_t len);
  /// Sizes the vector to the line count (keeping Complex) and parses every line.
  void StringsToValues(const TStringList& list);

  // Members added by the subsystems, each from its own fragment.
#include "quorel/signal/vec_signal.inc"

 protected:
  void DoSetComplex() final;
  double* CachePointer() const final;
  std::int32_t CacheLength() const final;

 private:
  /// Takes over other's block as a move; false, with nothing changed, when it cannot.
  bool MoveStorage(TVec& other) noexcept;
  std::int32_t CheckedIndex(std::int32_t i, bool complex) const {
    if (fComplex != complex) [[unlikely]]
      EInvalidArgumentRaise(complex ? "TVec.atc: Complex = False" : "TVec.at: Complex = True");
    if (i < 0 || i >= fLength) [[unlikely]]
      ERangeErrorRaise(FormatMsg("TVec.at: Index out of range: Index: %d, Length: %d", i, fLength));
    return i;
  }
  double* RealRangeStart(const char* method) const {
    if (fComplex) [[unlikely]]
      EInvalidArgumentRaise(std::string(method) + ": Complex = True (iterate CValues())");
    return fValues;
  }

  std::int32_t fComplexSwitches = 0;
  bool fAdopted = false;
};

}  // namespace quorel
