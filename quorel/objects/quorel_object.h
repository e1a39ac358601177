#pragma once
// TQuorel: the storage, sizing, sub-range and argument-check state shared by every vector and
// matrix. One 32-byte aligned block of doubles per object; complex element k is doubles 2k, 2k+1.

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "quorel/core/constants.h"
#include "quorel/core/types.h"

namespace quorel {

class TQuorel;
class TQuorelStream;

/// Called after every change of size or of `Complex`.
using TNotifyEvent = std::function<void(TQuorel& sender)>;

/// Abstract base of all numeric objects: storage block, length, real/complex flag, sub-ranges,
/// block-wise processing, argument checks and cache reference counts.
class TQuorel {
 public:
  virtual ~TQuorel();
  TQuorel(const TQuorel&) = delete;
  TQuorel& operator=(const TQuorel&) = delete;

  // --- properties ---------------------------------------------------------------------------
  /// Elements in use: real elements when real, complex elements when complex.
  std::int32_t Length() const { return fLength; }
  /// Sets the length (vectors resize; matrices refuse any other length).
  virtual void SetLength(std::int32_t value) = 0;
  /// The elements are complex pairs (re, im).
  bool Complex() const { return fComplex; }
  /// Switches real/complex by reinterpreting the same doubles (real 2n <-> complex n).
  void set_Complex(bool value);
  /// Capacity of the storage in doubles (always even).
  std::int32_t ActualSize() const { return fActualSize; }
  /// Sets the capacity (raised to even); contents are not kept.
  virtual void SetActualSize(std::int32_t value);
  /// Values are meant as integers (persistence and printing). Integer vectors (masks, index
  /// lists) hold 32-bit integers, and arithmetic and math read every operand as doubles: call
  /// IntToFloat before using one as a number.
  bool IsInteger() const { return fIsInteger; }
  void SetIsInteger(bool value) { fIsInteger = value; }
  /// -1 for an object outside the object cache, else its position in the pool.
  std::int32_t CacheIndex() const { return fCacheIndex; }
  /// Index of the cache memory this object uses (fixed for its life); -1 outside the pool.
  std::int32_t CacheSlot() const { return fCacheSlot; }
  /// Free text saved with the object.
  const std::string& Caption() const { return fCaption; }
  void SetCaption(std::string value) { fCaption = std::move(value); }
  /// Free integer for the caller's use, saved with the object.
  std::int32_t Tag() const { return fTag; }
  void SetTag(std::int32_t value) { fTag = value; }
  /// Free flag for the caller's use (not set by the library).
  bool Dirty() const { return fDirty; }
  void SetDirty(bool value) { fDirty = value; }
  /// Precision of the values when saved (SaveToStream, SaveToFile).
  TPrecision Precision() const { return fPrecision; }
  void SetPrecision(TPrecision value) { fPrecision = value; }
  /// Rounding used when saving in a lower precision.
  TRounding Rounding() const { return fRounding; }
  void SetRounding(TRounding value) { fRounding = value; }
  /// Magnitudes below this count as zero in relative comparisons.
  double ZeroTolerance() const { return fZeroTolerance; }
  void SetZeroTolerance(double value) { fZeroTolerance = value; }
  /// State of the RandGauss/RandUniform sequence; 0 until the object is first seeded.
  std::uint32_t RandSeed() const { return fRandSeed; }
  /// Identity, complex, length and range checks of the arguments are made. Off, the caller
  /// guarantees them: an out-of-range Index or Len then reads or writes outside the data.
  bool ConditionCheck() const { return fConditionCheck; }
  void SetConditionCheck(bool value) { fConditionCheck = value; }
  /// Layout of a real signal's half spectrum for the FromReal/ToReal transforms.
  TFFTStorageFormat FFTStorageFormat() const { return fFFTStorageFormat; }
  void SetFFTStorageFormat(TFFTStorageFormat value) { fFFTStorageFormat = value; }
  /// Transforms are planned with the scrambled-order flag (the data stay in natural order).
  bool FFTScrambledOrder() const { return fFFTScrambledOrder; }
  void SetFFTScrambledOrder(bool value) { fFFTScrambledOrder = value; }
  /// The real signal behind a CCS spectrum had odd length (set by FromReal, read by ToReal).
  bool FFTOddLength() const { return fFFTOddLength; }
  void SetFFTOddLength(bool value) { fFFTOddLength = value; }
  /// True while a sub-range is active.
  bool IsSubRange() const { return fIsSubRange; }
  /// Called after every change of size or of `Complex`.
  TNotifyEvent OnSetSize;

  // --- typed views of the same data ----------------------------------------------------------
  /// The doubles in use (Length, or 2*Length when complex).
  std::span<double> Values() { return {fValues, DoublesInUse()}; }
  std::span<const double> Values() const { return {fValues, DoublesInUse()}; }
  /// The complex elements in use (Length when complex, Length/2 when real).
  std::span<TCplx> CValues() { return {reinterpret_cast<TCplx*>(fValues), CplxInUse()}; }
  std::span<const TCplx> CValues() const { return {reinterpret_cast<const TCplx*>(fValues), CplxInUse()}; }
  /// The data as 32-bit integers (index lists and masks): Length entries.
  std::span<std::int32_t> IValues() { return {reinterpret_cast<std::int32_t*>(fValues), IntsInUse()}; }
  std::span<const std::int32_t> IValues() const { return {reinterpret_cast<const std::int32_t*>(fValues), IntsInUse()}; }
  /// The data as singles: Length entries.
  std::span<float> SValues() { return {reinterpret_cast<float*>(fValues), IntsInUse()}; }
  /// Element i of the double view.
  double& DefaultArray(std::int32_t i) { return fValues[i]; }
  /// Address of real element i, complex element i, integer element i.
  double* PValues1D(std::int32_t i) const { return fValues + i; }
  /// Address of complex element i.
  TCplx* PCValues1D(std::int32_t i) const { return reinterpret_cast<TCplx*>(fValues) + i; }
  /// Address of integer element i.
  std::int32_t* PIValues1D(std::int32_t i) const { return reinterpret_cast<std::int32_t*>(fValues) + i; }
  /// The block's 32-byte aligned data start (the data base when no sub-range is active).
  double* AllignedAPoint() const;

  // --- sizing ---------------------------------------------------------------------------------
  /// Makes Self the size of Src with the given `Complex`.
  virtual void Size(const TQuorel& src, bool complex);
  /// Raises now, changing nothing, what Size(src, complex) would raise: a method with several
  /// outputs checks them all before it writes the first.
  virtual void RequireSizable(const TQuorel& src, bool complex) const;
  /// Changes the length keeping the leading min(len, Length) elements; zeroes growth when asked.
  void InternalResize(std::int32_t len, bool zeroIt);
  /// Length 0.
  virtual void Clear() = 0;

  // --- sub-ranges -----------------------------------------------------------------------------
  /// Views elements Index .. Index+Len-1 of the own storage; Len = -1 means to the end.
  virtual void SetSubRange(std::int32_t index, std::int32_t len);
  void SetSubRange() { SetFullRange(); }
  /// Views elements beginIndex .. endIndex of the own storage.
  void SetSubIndex(std::int32_t beginIndex, std::int32_t endIndex) { SetSubRange(beginIndex, endIndex - beginIndex + 1); }
  /// Same as SetSubRange(index, len).
  void Select(std::int32_t index, std::int32_t len) { SetSubRange(index, len); }
  /// Same as SetFullRange.
  void Select() { SetFullRange(); }
  /// Same as SetFullRange.
  void SelectAll() { SetFullRange(); }
  /// Restores the full range and allows sub-ranges again.
  virtual void SetFullRange();
  /// Allows sub-ranges.
  void EnableSubrange() { fSubRangeAllowed = true; }
  /// Forbids sub-ranges.
  void DisableSubrange() { fSubRangeAllowed = false; }
  /// Forbids sub-ranges (the mirror of its name, kept so deliberately).
  void EnableSelect() { fSubRangeAllowed = false; }
  /// Allows sub-ranges (the mirror of its name, kept so deliberately).
  void DisableSelect() { fSubRangeAllowed = true; }
  /// True when sub-ranges are allowed.
  bool SubRangeAllowed() const { return fSubRangeAllowed; }

  // --- block-wise processing -------------------------------------------------------------------
  /// Starts (or joins, when nested) block-wise processing with the global block size.
  void BlockInit() { BlockInit(0); }
  /// Same with a block size; <= 0 takes QuorelBlockSize.
  void BlockInit(std::int32_t blockSize);
  /// Moves to the next block; restores the full range after the last one.
  void BlockNext();
  /// True when block-wise processing has finished.
  bool BlockEnd() const { return fBlockLevel < 1 || fBlockEnd; }
  /// Nesting depth of block-wise processing (0 outside it).
  std::int32_t BlockLevel() const { return fBlockLevel; }

  // --- argument checks --------------------------------------------------------------------------
  /// Checks Index and Len against Length; a Len past the end is cut to fit.
  void ValidateParams(std::int32_t index, std::int32_t& len) const;
  /// Checks the ranges of x (from xIndex) and Self (from index) for len elements.
  void ValidateParams(const TQuorel& x, std::int32_t xIndex, std::int32_t index, std::int32_t& len) const;
  /// As ValidateParams(x, ...), with Len cut to the shorter range.
  void ValidateParams2(const TQuorel& x, std::int32_t xIndex, std::int32_t index, std::int32_t& len) const;
  /// Checks the ranges of x1, x2 and Self for len elements.
  void ValidateParams(const TQuorel& x1, const TQuorel& x2, std::int32_t xIndex1, std::int32_t xIndex2,
                      std::int32_t index, std::int32_t& len) const;
  /// Checks that realSrcLen real values fit into Self from index.
  void ValidateRealIndexLen(std::int32_t index, std::int32_t realSrcLen) const;
  /// Checks a copy of len elements from an array of srcLen reals into Self; len returns as the
  /// count of reals (doubled when Self is complex).
  void ValidateRealArrayIndexes(std::int32_t srcIndex, std::int32_t srcLen, std::int32_t index, std::int32_t& len) const;
  /// Checks a copy of len complex values from an array of srcLen into Self.
  void ValidateCplxArrayIndexes(std::int32_t srcIndex, std::int32_t srcLen, std::int32_t index, std::int32_t& len) const;
  /// Saves ConditionCheck and switches it off (one level).
  void CondDisable();
  /// Restores the ConditionCheck saved by CondDisable.
  void CondEnable();

  // --- reference counts (cached objects return to the cache at zero) ---------------------------
  /// Counts one more user of this object.
  void AddRefUsage() { ++fUsageRefs; }
  /// Counts one more view of this object.
  void AddRefSubrange() { ++fSubRangeRefs; }
  /// Counts one user less; a cached object returns to the cache at zero.
  void ReleaseUsage();
  /// Counts one view less.
  void ReleaseSubrange();

  /// Returns the object to default state (length 0, real, full range).
  virtual void Reset();

 protected:
  TQuorel();
  /// Back to the CCS layout with no scrambling: a pooled object's next borrower must not read
  /// its data in the layout a previous borrower chose.
  void ResetFFTLayout() {
    fFFTStorageFormat = fsfCCS;
    fFFTScrambledOrder = false;
    fFFTOddLength = false;
  }

  /// Reinterprets the storage after a switch of `Complex`.
  virtual void DoSetComplex();
  /// Start of the object's cache memory (nullptr outside the pool).
  virtual double* CachePointer() const = 0;
  /// Capacity of the cache memory in doubles (0 outside the pool).
  virtual std::int32_t CacheLength() const = 0;
  /// Gives the object back to the cache.
  virtual void FreeToCache() = 0;
  /// A block of `bytes` bytes: heap up to 65,536 bytes, page allocator above. An override must
  /// return private anonymous memory: a short load hands whole pages back to the system to zero them.
  virtual void* AllocateMemory(std::int64_t bytes);
  /// Frees the own block (never cache memory).
  virtual void ReleaseMemory();
  /// Re-points the views and the array header at the data base.
  virtual void UpdatePointers();
  /// A subclass's own header data, written by the vector header right after the caption.
  virtual void InternalWriteHeader(TQuorelStream& /*stream*/) const {}
  /// Reads back what InternalWriteHeader wrote, once the vector header has been applied.
  virtual void InternalReadHeader(TQuorelStream& /*stream*/) {}

  /// Doubles that hold `len` elements of this object's kind.
  std::int64_t DoublesFor(std::int64_t len) const { return fComplex ? 2 * len : len; }
  /// Writes reference count 1 and the element count in front of the data.
  void WriteArrayHeader();
  /// Throws unless the capacity `doubles` is representable.
  static void CheckCapacity(std::int64_t doubles);
  /// Raises "IsSubRange = True!" when a sub-range is active and sizing to `len` elements of kind
  /// `complex` would change its length; a switch of kind that reinterprets the same doubles as
  /// exactly `len` elements passes.
  void RequireSubRangeKeeps(std::int32_t len, bool complex) const;
  void NotifySetSize() {
    if (OnSetSize) OnSetSize(*this);
  }
  /// Takes over other's own block (other becomes empty) when both are ordinary full-range objects
  /// and other owns its block; false, with nothing changed, otherwise.
  bool TakeStorage(TQuorel& other) noexcept;
  /// Same-object test used by every identity check.
  bool Is(const TQuorel& other) const { return this == &other; }
  /// Points the data base at another object's element (a view) and saves the full range.
  void ViewStorage(double* base, std::int32_t len, bool complex);
  /// Sets the data base to element `index` of the block's aligned start.
  void PlaceSubRange(std::int32_t index, std::int32_t len);
  /// Sub-range of the current block during block-wise processing.
  void SetBlockRange();
  /// A pooled object's private block becomes its spare (or is freed past the process budget).
  void StashPrivateBlock() noexcept;
  /// Takes the spare block as the private block when it holds `bytes`.
  bool TakeSpareBlock(std::int64_t bytes) noexcept;
  /// Frees the spare block.
  void FreeSpareBlock() noexcept;
  void SetCacheSlot(std::int32_t cacheIndex, std::int32_t slot) {
    fCacheIndex = cacheIndex;
    fCacheSlot = slot;
  }

  std::int32_t fLength = 0;
  bool fComplex = false;
  std::int32_t fActualSize = 0;
  void* fMemory = nullptr;   // the block (own allocation or cache memory)
  double* fValues = nullptr; // the data base: 32-byte aligned start, or a sub-range start
  std::int64_t fAllocatedBytes = 0;  // 0 when the block belongs to the cache
  // A pooled object's last private block, kept while the object is back in the pool so that a
  // work object larger than its cache memory does not go to the allocator on every loan.
  void* fSpareMemory = nullptr;
  std::int64_t fSpareBytes = 0;
  bool fIsInteger = false;
  bool fSavedConditionCheck = true;
  bool fConditionCheck = true;
  std::int32_t fCacheIndex = -1;
  std::int32_t* fArrayHeader = nullptr;  // two words in front of the data: count 1, Length
  bool fSubRangeAllowed = true;
  std::int32_t fSavedActualSize = 0;
  std::int32_t fSavedLength = 0;
  bool fSavedComplex = false;
  bool fSavedIsInteger = false;  // a view of another object takes its element kind
  std::int32_t fBlockSize = 0;
  std::int32_t fBlockIndex = 0;
  std::int32_t fBlockLevel = 0;
  bool fSizeChanged = false;
  bool fIsSubRange = false;
  bool fBlockEnd = true;
  TPrecision fPrecision = prDouble;
  TRounding fRounding = rnTrunc;
  std::int32_t fCacheSlot = -1;
  std::int32_t fSubRangeRefs = 0;
  std::int32_t fUsageRefs = 1;
  std::string fCaption;
  std::int32_t fTag = 0;
  bool fDirty = false;
  double fZeroTolerance = MACHEP;
  std::uint32_t fRandSeed = 0;
  TFFTStorageFormat fFFTStorageFormat = fsfCCS;
  bool fFFTScrambledOrder = false;
  bool fFFTOddLength = false;

  friend class TQuorelController;

 private:
  std::size_t DoublesInUse() const { return fValues ? static_cast<std::size_t>(DoublesFor(fLength)) : 0; }
  std::size_t CplxInUse() const { return fValues ? static_cast<std::size_t>(fComplex ? fLength : fLength / 2) : 0; }
  std::size_t IntsInUse() const { return fValues ? static_cast<std::size_t>(fLength) : 0; }
};

}  // namespace quorel
