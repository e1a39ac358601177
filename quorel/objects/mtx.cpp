#include "quorel/core/detail/checks.h"
#include "quorel/objects/mtx.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "quorel/core/errors.h"
#include "quorel/objects/detail/mtx_detail.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/kernels/move.h"

namespace quorel {

using detail::Require;

using detail::RequireState;

namespace {
// The largest element count a matrix may have, complex or not.
constexpr std::int64_t kMaxMtxElements = 0x0FFFFFFF;
}  // namespace

TMtx::TMtx() {
  fConditionCheck = header_detail::mtx_condition_check;
  header_detail::mtx_count.fetch_add(1, std::memory_order_relaxed);
}

TMtx::TMtx(std::int32_t rows, std::int32_t cols, bool complex) : TMtx() { Size(rows, cols, complex).SetZero(); }

TMtx::~TMtx() {
  SetFullRange();
  ReleaseMemory();
  header_detail::mtx_count.fetch_sub(1, std::memory_order_relaxed);
}

TMtx::TMtx(const TMtx& other) : TMtx() { Assign(other); }

TMtx& TMtx::operator=(const TMtx& other) {
  if (this != &other) Assign(other);
  return *this;
}

TMtx::TMtx(TMtx&& other) noexcept : TMtx() {
  // A fresh matrix can only fail to copy a view for want of memory; a noexcept move keeps
  // containers of matrices moving rather than copying.
  if (!MoveStorage(other)) {
    try {
      Assign(other);
    } catch (...) {
    }
  }
}

TMtx& TMtx::operator=(TMtx&& other) {
  // Not noexcept: into a sub-range this is a copy, refused like one.
  if (this != &other && !MoveStorage(other)) Assign(other);
  return *this;
}

bool TMtx::MoveStorage(TMtx& other) noexcept {
  // Cache memory and views stay with their object.
  if (!TakeStorage(other)) return false;
  fSettings = other.fSettings;
  SetShape(other.fRows, other.fCols);
  other.SetShape(0, 0);
  NotifySetSize();
  other.NotifySetSize();
  return true;
}

// --- sizing ----------------------------------------------------------------------------------------

void TMtx::SetShape(std::int32_t rows, std::int32_t cols) {
  fRows = rows;
  fCols = cols;
  fLeadingCols = cols;
  fQuadratic = rows == cols;
}

void TMtx::RequireSizable(std::int32_t rows, std::int32_t cols, bool complex) const {
  if (rows == fRows && cols == fCols && complex == fComplex) return;
  Require(!(rows < 0 || cols < 0), "Value < 0");
  RequireState(std::int64_t{rows} * cols <= kMaxMtxElements, "Out of memory! Attempted to allocate over 2GB!");
  RequireState(!fIsSubRange, "IsSubRange = True!");
}

void TMtx::RequireSizable(const TQuorel& src, bool complex) const {
  if (const auto* m = dynamic_cast<const TMtx*>(&src)) return RequireSizable(m->fRows, m->fCols, complex);
  if (src.Length() != fLength)
    EInvalidArgumentRaise("TQuorel.Size: Initializing matrix with vector having different length!");
  RequireSizable(fRows, fCols, complex);
}

TMtx& TMtx::Size(std::int32_t rows, std::int32_t cols, bool isInteger, bool complex) {
  if (rows == fRows && cols == fCols && complex == fComplex) {
    fIsInteger = isInteger;
    return *this;
  }
  RequireSizable(rows, cols, complex);
  const std::int64_t count = std::int64_t{rows} * cols;
  fIsInteger = isInteger;
  fSizeChanged = true;
  fComplex = complex;
  fLength = static_cast<std::int32_t>(count);
  SetActualSize(static_cast<std::int32_t>(DoublesFor(count)));
  fLength = static_cast<std::int32_t>(count);  // SetActualSize may have cleared the shape
  SetShape(rows, cols);
  WriteArrayHeader();
  NotifySetSize();
  return *this;
}

TMtx& TMtx::Size(std::int32_t rows, std::int32_t cols, bool complex) {
  return Size(rows, cols, fIsInteger, complex);
}

TMtx& TMtx::Size(std::int32_t rows, std::int32_t cols) { return Size(rows, cols, fIsInteger, fComplex); }

void TMtx::Size(const TQuorel& src, bool complex) {
  RequireSizable(src, complex);
  if (const auto* m = dynamic_cast<const TMtx*>(&src)) {
    Size(m->fRows, m->fCols, m->fIsInteger, complex);
    return;
  }
  Size(fRows, fCols, src.IsInteger(), complex);
}

void TMtx::SetLength(std::int32_t value) {
  Require(value == fLength, "TMtx: Length can not be set. Use Size!");
}

void TMtx::SetActualSize(std::int32_t value) {
  RequireState(!fIsSubRange, "IsSubRange = True!");
  try {
    TQuorel::SetActualSize(value);
  } catch (...) {
    // A failed allocation leaves no storage: the shape must say so too.
    fLength = 0;
    SetShape(0, 0);
    throw;
  }
  if (DoublesFor(fLength) > fActualSize) {
    fLength = 0;
    SetShape(0, 0);
  }
}

void TMtx::Reset() {
  RequireState(fBlockLevel <= 0, "BlockLevel > 0");
  SetFullRange();
  fIsInteger = false;
  Size(0, 0, false, false);
  fCaption.clear();
  fTag = 0;
  ResetFFTLayout();
  fSettings = {};  // the next borrower starts from the defaults
  fConditionCheck = header_detail::mtx_condition_check;
}

void TMtx::DoSetComplex() {
  // Same doubles, row by row: a complex row holds half as many elements as a real one.
  const std::int32_t cols = fComplex ? fCols / 2 : fCols * 2;
  fLength = static_cast<std::int32_t>(std::int64_t{fRows} * cols);
  SetShape(fRows, cols);
  WriteArrayHeader();
  NotifySetSize();
}

// --- sub-ranges ------------------------------------------------------------------------------------

void TMtx::SetSubRange(std::int32_t index, std::int32_t len) {
  const bool first = !fIsSubRange;
  const std::int32_t rows = fRows;
  const std::int32_t cols = fCols;
  TQuorel::SetSubRange(index, len);
  if (first) {
    fSavedRows = rows;
    fSavedCols = cols;
  }
  const std::int32_t fullCols = fSavedComplex == fComplex ? fSavedCols
                                : fSavedComplex           ? fSavedCols * 2
                                                          : fSavedCols / 2;
  if (fullCols > 0 && index % fullCols == 0 && fLength % fullCols == 0) {
    SetShape(fLength / fullCols, fullCols);
  } else {
    SetShape(fLength > 0 ? 1 : 0, fLength);
  }
}

void TMtx::SetFullRange() {
  const bool wasSubRange = fIsSubRange;
  TQuorel::SetFullRange();
  if (wasSubRange) SetShape(fSavedRows, fSavedCols);
}

// --- whole-object copies ---------------------------------------------------------------------------

TMtx& TMtx::Assign(const TMtx& src) {
  if (Is(src)) {
    if (fConditionCheck) EInvalidArgumentRaise("Mtx = Self");
    return *this;
  }
  Size(src.fRows, src.fCols, src.fIsInteger, src.fComplex);
  fSettings = src.fSettings;
  fFFTStorageFormat = src.fFFTStorageFormat;
  fFFTScrambledOrder = src.fFFTScrambledOrder;
  fFFTOddLength = src.fFFTOddLength;
  if (fLength > 0) std::memcpy(fValues, src.fValues, static_cast<std::size_t>(DoublesFor(fLength)) * sizeof(double));
  return *this;
}

TMtx& TMtx::SetIt(std::int32_t rows, std::int32_t cols, bool complex, std::span<const double> values) {
  Require(!(rows < 0 || cols < 0), "Value < 0");
  const std::int64_t doubles = std::int64_t{rows} * cols * (complex ? 2 : 1);
  if (static_cast<std::int64_t>(values.size()) < doubles)
    ERangeErrorRaise(FormatMsg("TMtx.SetIt: %d values for %d doubles", static_cast<int>(values.size()),
                               static_cast<int>(doubles)));
  Size(rows, cols, false, complex);
  if (doubles > 0) kern::Copy(values.data(), fValues, doubles);
  return *this;
}

TMtx& TMtx::SetIt(bool complex, std::span<const double> values) {
  const std::int64_t count = complex ? static_cast<std::int64_t>(values.size() / 2) : static_cast<std::int64_t>(values.size());
  Require(count == fLength, "TMtx: Length can not be set. Use Size!");
  return SetIt(fRows, fCols, complex, values);
}

TMtx& TMtx::SetVal(const TCplx& value) {
  Size(fRows, fCols, true);
  TDenseOf<TMtx>::SetVal(value, 0, fLength);
  return *this;
}

// --- sizing that keeps data ------------------------------------------------------------------------

TMtx& TMtx::Resize(std::int32_t rows, std::int32_t cols, bool zeroIt) {
  if (rows == fRows && cols == fCols) return *this;
  const std::int32_t keepRows = std::min(rows, fRows);
  const std::int32_t keepCols = std::min(cols, fCols);
  TWorkMtx saved;
  if (keepRows > 0 && keepCols > 0) saved->Copy(*this);
  Size(rows, cols);
  if (zeroIt) SetZero();
  if (keepRows > 0 && keepCols > 0) Copy(*saved, 0, 0, 0, 0, keepRows, keepCols);
  return *this;
}

void TMtx::ValidateRange(std::int32_t row, std::int32_t col, std::int32_t toRow, std::int32_t toCol) const {
  Require(!(row < 0 || col < 0), "(Row < 0) or (Col < 0)");
  Require(row <= toRow, "Row > ToRow");
  Require(col <= toCol, "Col > ToCol");
  Require(toRow < fRows, "ToRows >= Rows");
  Require(toCol < fCols, "ToCols >= Cols");
}

// --- cache -----------------------------------------------------------------------------------------

double* TMtx::CachePointer() const {
  if (fCacheSlot < 0 || Controller == nullptr) return nullptr;
  return Controller->MtxCachePointer(fCacheSlot);
}

std::int32_t TMtx::CacheLength() const {
  if (fCacheSlot < 0 || Controller == nullptr) return 0;
  return Controller->MtxCacheElements();
}

void TMtx::FreeToCache() {
  TMtx* self = this;
  FreeIt(self);
}

}  // namespace quorel
