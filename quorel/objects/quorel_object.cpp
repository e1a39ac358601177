#include "quorel/core/detail/checks.h"
#include "quorel/objects/quorel_object.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "quorel/core/errors.h"
#include "quorel/core/memory.h"
#include "quorel/core/startup.h"

namespace quorel {

using detail::Require;
using detail::RequireChecked;
using detail::RequireState;

TQuorel::TQuorel() = default;

TQuorel::~TQuorel() {
  ReleaseMemory();
  FreeSpareBlock();
}

// --- storage -------------------------------------------------------------------------------------

void* TQuorel::AllocateMemory(std::int64_t bytes) {
  if (static_cast<std::uint64_t>(bytes) <= HeapBlockLimit) return std::malloc(static_cast<std::size_t>(bytes));
  return GlobalAllocUnmanaged(static_cast<std::intptr_t>(bytes));
}

void TQuorel::ReleaseMemory() {
  if (fAllocatedBytes <= 0) return;
  if (static_cast<std::uint64_t>(fAllocatedBytes) <= HeapBlockLimit) {
    std::free(fMemory);
  } else {
    GlobalFreeUnmanaged(fMemory);
  }
  fMemory = nullptr;
  fAllocatedBytes = 0;
}

namespace {
// Spare blocks held by pooled objects across the process: past this, a block is freed instead.
constexpr std::int64_t kSpareBudgetBytes = std::int64_t{64} << 20;
std::atomic<std::int64_t> spare_bytes{0};

void FreeBlock(void* block, std::int64_t bytes) noexcept {
  if (static_cast<std::uint64_t>(bytes) <= HeapBlockLimit) std::free(block);
  else GlobalFreeUnmanaged(block);
}
}  // namespace

void TQuorel::StashPrivateBlock() noexcept {
  if (fAllocatedBytes <= 0) return;
  void* block = std::exchange(fMemory, nullptr);
  const std::int64_t bytes = std::exchange(fAllocatedBytes, 0);
  // The larger of the two blocks stays, if the budget has room (the old spare still counts while
  // the new one is reserved, which errs on the safe side).
  if (bytes > fSpareBytes) {
    if (spare_bytes.fetch_add(bytes) + bytes <= kSpareBudgetBytes) {
      FreeSpareBlock();
      fSpareMemory = block;
      fSpareBytes = bytes;
      return;
    }
    spare_bytes.fetch_sub(bytes);
  }
  FreeBlock(block, bytes);
}

bool TQuorel::TakeSpareBlock(std::int64_t bytes) noexcept {
  if (fSpareMemory == nullptr || fSpareBytes < bytes) return false;
  spare_bytes.fetch_sub(fSpareBytes);
  fMemory = std::exchange(fSpareMemory, nullptr);
  fAllocatedBytes = std::exchange(fSpareBytes, 0);
  return true;
}

void TQuorel::FreeSpareBlock() noexcept {
  if (fSpareMemory == nullptr) return;
  spare_bytes.fetch_sub(fSpareBytes);
  FreeBlock(std::exchange(fSpareMemory, nullptr), std::exchange(fSpareBytes, 0));
}

void TQuorel::CheckCapacity(std::int64_t doubles) {
  if (doubles > std::numeric_limits<std::int32_t>::max() - 1) EOutOfMemoryRaise("Quorel: Out of memory!");
}

void TQuorel::SetActualSize(std::int32_t value) {
  RequireState(value >= 0, "SetActualSize: Value < 0");
  if (value == fActualSize) return;
  const std::int32_t capacity = value + (value & 1);
  fValues = nullptr;
  // Pooled objects are known by their cache slot, which is fixed for their life: recollection
  // rewrites the pool index of objects other threads are using.
  double* cache = CachePointer();
  const bool pooled = cache != nullptr;
  if (!pooled) ReleaseMemory();
  else if (fMemory != cache) StashPrivateBlock();
  fMemory = nullptr;
  fActualSize = capacity;
  if (capacity > 0) {
    if (pooled && capacity <= CacheLength()) {
      // The cache memory is already aligned with room for the header in front.
      fMemory = cache;
      fValues = cache;
      fActualSize = CacheLength();
      fAllocatedBytes = 0;
    } else {
      // Sized from the requested count: the two spare doubles of the formula absorb the even
      // rounding, and an odd request just below the heap limit stays on the heap.
      const std::int64_t bytes = (static_cast<std::int64_t>(value) + 2) * 8 + 40;
      if (pooled && TakeSpareBlock(bytes)) {
        fValues = static_cast<double*>(AllignMem(fMemory));
        UpdatePointers();
        return;
      }
      fMemory = AllocateMemory(bytes);
      if (fMemory == nullptr) {
        // Empty, not a length without storage that every range check would pass.
        fAllocatedBytes = 0;
        fActualSize = 0;
        fLength = 0;
        UpdatePointers();
        EOutOfMemoryRaise("Quorel: Out of memory!");
      }
      fAllocatedBytes = bytes;
      fValues = static_cast<double*>(AllignMem(fMemory));
    }
  }
  UpdatePointers();
}

double* TQuorel::AllignedAPoint() const {
  if (fMemory == nullptr) return nullptr;
  if (fAllocatedBytes == 0) return static_cast<double*>(fMemory);  // cache memory is pre-aligned
  return static_cast<double*>(AllignMem(fMemory));
}

void TQuorel::UpdatePointers() {
  fArrayHeader = fValues ? reinterpret_cast<std::int32_t*>(fValues) - 2 : nullptr;
}

void TQuorel::WriteArrayHeader() {
  if (fArrayHeader == nullptr || fIsSubRange) return;
  fArrayHeader[0] = 1;
  fArrayHeader[1] = fLength;
}

bool TQuorel::TakeStorage(TQuorel& other) noexcept {
  // Cache memory, views and adopted storage stay with their object.
  if (other.fAllocatedBytes <= 0 || other.fIsSubRange || fCacheSlot >= 0 || fIsSubRange) return false;
  ReleaseMemory();
  fMemory = std::exchange(other.fMemory, nullptr);
  fValues = std::exchange(other.fValues, nullptr);
  fAllocatedBytes = std::exchange(other.fAllocatedBytes, 0);
  fActualSize = std::exchange(other.fActualSize, 0);
  fLength = std::exchange(other.fLength, 0);
  fComplex = other.fComplex;
  fIsInteger = other.fIsInteger;
  UpdatePointers();
  other.UpdatePointers();
  return true;
}

// --- real/complex ----------------------------------------------------------------------------------

void TQuorel::set_Complex(bool value) {
  if (value == fComplex) return;
  fComplex = value;
  DoSetComplex();
}

void TQuorel::DoSetComplex() {
  // The doubles stay where they are: an odd real length loses its last double from view.
  fLength = fComplex ? fLength / 2 : fLength * 2;
  WriteArrayHeader();
  NotifySetSize();
}

void TQuorel::RequireSubRangeKeeps(std::int32_t len, bool complex) const {
  if (!fIsSubRange) return;
  const std::int64_t viewed = complex == fComplex ? fLength : complex ? fLength / 2 : 2 * std::int64_t{fLength};
  RequireState(viewed == len, "IsSubRange = True!");
}

void TQuorel::RequireSizable(const TQuorel& src, bool complex) const { RequireSubRangeKeeps(src.fLength, complex); }

void TQuorel::Size(const TQuorel& src, bool complex) {
  // Read first: src may be Self, whose length the switch of Complex changes.
  const std::int32_t len = src.fLength;
  const bool isInteger = src.fIsInteger;
  // A refusal must come before the switch, or the caller is left with reinterpreted data.
  RequireSubRangeKeeps(len, complex);
  set_Complex(complex);
  fIsInteger = isInteger;
  SetLength(len);
}

// --- sub-ranges ----------------------------------------------------------------------------------

void TQuorel::SetSubRange(std::int32_t index, std::int32_t len) {
  RequireState(fSubRangeAllowed, "Subrange is blocked!");
  if (!fIsSubRange) {
    if (len == -1) len = fLength - index;
    if (index < 0 || len < 0 || std::int64_t{index} + len > fLength)
      ERangeErrorRaise(FormatMsg("Self params out of range: Index: %d, Len: %d, Length: %d", index, len, fLength));
    fSavedActualSize = fActualSize;
    fSavedLength = fLength;
    fSavedComplex = fComplex;
    fSavedIsInteger = fIsInteger;
  } else {
    // A nested range is placed anew relative to the saved full range, in the current element kind.
    const std::int64_t full = fSavedComplex == fComplex ? fSavedLength
                              : fSavedComplex           ? 2 * std::int64_t{fSavedLength}
                                                        : fSavedLength / 2;
    if (len == -1) len = static_cast<std::int32_t>(full - index);
    if (index < 0 || len < 0 || std::int64_t{index} + len > full) {
      if (!fSavedComplex && fComplex)
        ERangeErrorRaise(FormatMsg("Self params out of range: 2*Index: %d, 2*Len: %d, SavedLength: %d",
                                   2 * index, 2 * len, fSavedLength));
      ERangeErrorRaise(FormatMsg("Self params out of range: Index: %d, Len: %d, SavedLength: %d", index, len,
                                 fSavedLength));
    }
  }
  PlaceSubRange(index, len);
}

void TQuorel::PlaceSubRange(std::int32_t index, std::int32_t len) {
  double* base = AllignedAPoint();
  fValues = base ? base + DoublesFor(index) : nullptr;
  UpdatePointers();
  fActualSize = len;
  fLength = len;
  fIsSubRange = true;
  NotifySetSize();
}

void TQuorel::ViewStorage(double* base, std::int32_t len, bool complex) {
  if (!fIsSubRange) {
    fSavedActualSize = fActualSize;
    fSavedLength = fLength;
    fSavedComplex = fComplex;
    fSavedIsInteger = fIsInteger;
  }
  fComplex = complex;
  fValues = base;
  UpdatePointers();
  fActualSize = len;
  fLength = len;
  fIsSubRange = true;
  NotifySetSize();
}

void TQuorel::SetFullRange() {
  if (fIsSubRange) {
    fValues = AllignedAPoint();
    UpdatePointers();
    fActualSize = fSavedActualSize;
    fLength = fSavedLength;
    fComplex = fSavedComplex;
    fIsInteger = fSavedIsInteger;
    fIsSubRange = false;
    NotifySetSize();
  }
  fSubRangeAllowed = true;
}

// --- block-wise processing -------------------------------------------------------------------------

void TQuorel::SetBlockRange() {
  const std::int64_t start = std::int64_t{fBlockIndex} * fBlockSize;
  const std::int64_t full = fIsSubRange ? fSavedLength : fLength;
  const std::int64_t len = std::min<std::int64_t>(fBlockSize, std::max<std::int64_t>(full - start, 0));
  SetSubRange(static_cast<std::int32_t>(start), static_cast<std::int32_t>(len));
  fBlockEnd = false;
}

void TQuorel::BlockInit(std::int32_t blockSize) {
  if (blockSize <= 0) blockSize = QuorelBlockSize;
  if (fBlockLevel == 0) {
    RequireState(!fIsSubRange, "IsSubRange = True!");
    fBlockSize = blockSize;
    fBlockIndex = 0;
    if (std::int64_t{fBlockIndex} * fBlockSize < fLength) SetBlockRange();
  }
  ++fBlockLevel;
}

void TQuorel::BlockNext() {
  fBlockEnd = true;
  if (fBlockLevel == 1) {
    ++fBlockIndex;
    if (std::int64_t{fBlockIndex} * fBlockSize >= fSavedLength) {
      fBlockIndex = 0;
      fBlockLevel = 0;
      SetFullRange();
    } else {
      SetBlockRange();
    }
  } else if (fBlockLevel > 1) {
    --fBlockLevel;
  }
}

// --- argument checks -------------------------------------------------------------------------------

namespace {
bool OutOfRange(std::int32_t index, std::int32_t len, std::int32_t length) {
  return index < 0 || len < 0 || std::int64_t{index} + len > length;
}
}  // namespace

void TQuorel::ValidateParams(std::int32_t index, std::int32_t& len) const {
  if (len == -1) len = fLength - index;
  if (fConditionCheck && OutOfRange(index, len, fLength))
    ERangeErrorRaise(FormatMsg("Self params out of range: Index: %d, Len: %d, Length: %d", index, len, fLength));
}

void TQuorel::ValidateParams2(const TQuorel& x, std::int32_t xIndex, std::int32_t index, std::int32_t& len) const {
  if (len == -1) len = fLength - index;
  if (!fConditionCheck) return;
  // A negative Len is Self's fault: the Self test below names it.
  if (xIndex < 0 || std::int64_t{xIndex} + len > x.fLength)
    ERangeErrorRaise(
        FormatMsg("X params out of range: XIndex: %d, Len: %d, X.Length: %d", xIndex, len, x.fLength));
  ValidateParams(index, len);
}

void TQuorel::ValidateParams(const TQuorel& x, std::int32_t xIndex, std::int32_t index, std::int32_t& len) const {
  RequireChecked(*this, !Is(x), "Invalid params: X is equal to Self");
  ValidateParams2(x, xIndex, index, len);
}

void TQuorel::ValidateParams(const TQuorel& x1, const TQuorel& x2, std::int32_t xIndex1, std::int32_t xIndex2,
                             std::int32_t index, std::int32_t& len) const {
  if (len == -1) len = fLength - index;
  if (!fConditionCheck) return;
  Require(!(Is(x1) || Is(x2)), "Invalid params: X1 or X2 is equal to Self");
  if (xIndex1 < 0 || std::int64_t{xIndex1} + len > x1.fLength)
    ERangeErrorRaise(FormatMsg("X1 params out of range: Index: %d, Len: %d, Length: %d", xIndex1, len, x1.fLength));
  if (xIndex2 < 0 || std::int64_t{xIndex2} + len > x2.fLength)
    ERangeErrorRaise(FormatMsg("X2 params out of range: Index: %d, Len: %d, Length: %d", xIndex2, len, x2.fLength));
  ValidateParams(index, len);
}

void TQuorel::ValidateRealIndexLen(std::int32_t index, std::int32_t realSrcLen) const {
  if (!fConditionCheck) return;
  const std::int64_t k = fComplex ? 2 : 1;
  if (index < 0 || index * k + realSrcLen > fLength * k)
    ERangeErrorRaise(FormatMsg("Index params out of range: Index: %d, RealSrcLen: %d, Self.Length: %d", index,
                               realSrcLen, fLength));
}

void TQuorel::ValidateRealArrayIndexes(std::int32_t srcIndex, std::int32_t srcLen, std::int32_t index,
                                       std::int32_t& len) const {
  ValidateParams(index, len);
  len = static_cast<std::int32_t>(DoublesFor(len));
  if (!fConditionCheck) return;
  if (std::int64_t{srcIndex} + len > srcLen)
    ERangeErrorRaise(
        FormatMsg("ValidateRealArrayIndexes: SrcIndex + Len > SrcLen (%d + %d > %d)", srcIndex, len, srcLen));
  if (srcIndex < 0) ERangeErrorRaise(FormatMsg("ValidateRealArrayIndexes: SrcIndex < 0 (%d)", srcIndex));
}

void TQuorel::ValidateCplxArrayIndexes(std::int32_t srcIndex, std::int32_t srcLen, std::int32_t index,
                                       std::int32_t& len) const {
  ValidateParams(index, len);
  if (!fConditionCheck) return;
  Require(fComplex, "ValidateCplxArrayIndexes: Self must be Complex");
  if (std::int64_t{srcIndex} + len > srcLen)
    ERangeErrorRaise(
        FormatMsg("ValidateCplxArrayIndexes: SrcIndex + Len > SrcLen (%d + %d > %d)", srcIndex, len, srcLen));
  if (srcIndex < 0) ERangeErrorRaise(FormatMsg("ValidateCplxArrayIndexes: SrcIndex < 0 (%d)", srcIndex));
}

void TQuorel::CondDisable() {
  fSavedConditionCheck = fConditionCheck;
  fConditionCheck = false;
}

void TQuorel::CondEnable() { fConditionCheck = fSavedConditionCheck; }

// --- reference counts ------------------------------------------------------------------------------

void TQuorel::ReleaseUsage() {
  --fUsageRefs;
  if (fUsageRefs + fSubRangeRefs == 0) {
    fUsageRefs = 1;
    fSubRangeRefs = 0;
    FreeToCache();
  }
}

void TQuorel::ReleaseSubrange() {
  --fSubRangeRefs;
  if (fUsageRefs + fSubRangeRefs == 0) {
    fUsageRefs = 1;
    fSubRangeRefs = 0;
    FreeToCache();
  }
}

void TQuorel::Reset() {
  RequireState(fBlockLevel <= 0, "BlockLevel > 0");
  SetFullRange();
  fIsInteger = false;
  set_Complex(false);
  SetLength(0);
  fCaption.clear();
  fTag = 0;
  ResetFFTLayout();
}

}  // namespace quorel
