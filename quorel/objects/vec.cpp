#include "quorel/core/detail/checks.h"
#include "quorel/objects/vec.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "quorel/core/errors.h"

namespace quorel {

using detail::Require;
using detail::RequireState;

TVec::TVec() {
  fConditionCheck = header_detail::vec_condition_check;
  header_detail::vec_count.fetch_add(1, std::memory_order_relaxed);
}

TVec::~TVec() {
  SetFullRange();
  ReleaseMemory();
  header_detail::vec_count.fetch_sub(1, std::memory_order_relaxed);
}

TVec::TVec(const TVec& other) : TVec() { Assign(other); }

TVec& TVec::operator=(const TVec& other) { return Assign(other); }

TVec::TVec(TVec&& other) noexcept : TVec() {
  // A fresh vector can only fail to copy a view for want of memory; a noexcept move keeps
  // containers of vectors moving rather than copying.
  if (!MoveStorage(other)) {
    try {
      Assign(other);
    } catch (...) {
    }
  }
}

TVec& TVec::operator=(TVec&& other) {
  // Not noexcept: into a sub-range this is a copy, refused like one.
  if (this != &other && !MoveStorage(other)) Assign(other);
  return *this;
}

bool TVec::MoveStorage(TVec& other) noexcept {
  // Cache memory, views and adopted storage stay with their object.
  if (!TakeStorage(other)) return false;
  NotifySetSize();
  other.NotifySetSize();
  return true;
}

// --- sizing ----------------------------------------------------------------------------------------

void TVec::SetActualSize(std::int32_t value) {
  RequireState(!fIsSubRange, "IsSubRange = True!");
  if (value != fActualSize) fAdopted = false;
  TQuorel::SetActualSize(value);
  if (DoublesFor(fLength) > fActualSize) fLength = fComplex ? fActualSize / 2 : fActualSize;
}

void TVec::SetLength(std::int32_t value) {
  Require(value >= 0, "Value < 0");
  if (value == fLength) return;
  RequireState(!fIsSubRange, "IsSubRange = True!");
  const std::int64_t doubles = DoublesFor(value);
  CheckCapacity(doubles);
  fSizeChanged = true;
  SetActualSize(static_cast<std::int32_t>(doubles));
  fLength = value;
  WriteArrayHeader();
  NotifySetSize();
}

void TVec::DoSetComplex() {
  fComplexSwitches += fComplex ? -1 : 1;
  TQuorel::DoSetComplex();
}

void TVec::Reset() {
  TQuorel::Reset();
  fConditionCheck = header_detail::vec_condition_check;
}

void TVec::RequireSizable(std::int32_t len, bool complex) const {
  Require(len >= 0, "Value < 0");
  RequireSubRangeKeeps(len, complex);
  CheckCapacity(complex ? 2 * std::int64_t{len} : len);
}

TVec& TVec::Size(std::int32_t len, bool complex) {
  RequireSizable(len, complex);
  set_Complex(complex);
  SetLength(len);
  return *this;
}

void TVec::Size(const TQuorel& src, bool complex) {
  const std::int32_t len = src.Length();
  const bool isInteger = src.IsInteger();
  RequireSizable(len, complex);
  set_Complex(complex);
  fIsInteger = isInteger;
  SetLength(len);
}

TVec& TVec::Resize(std::int32_t len, bool zeroIt) {
  Require(len >= 0, "Value < 0");
  RequireState(!(fIsSubRange && len != fLength), "IsSubRange = True!");
  InternalResize(len, zeroIt);
  return *this;
}

namespace {
template <class T>
void ConvertInto(double* dst, std::span<const T> src) {
  std::transform(src.begin(), src.end(), dst, [](T x) { return static_cast<double>(x); });
}
}  // namespace

TVec& TVec::SetDouble(std::span<const double> values) {
  Size(static_cast<std::int32_t>(values.size()), false);
  fIsInteger = false;  // the storage now holds doubles
  ConvertInto(fValues, values);
  return *this;
}

TVec& TVec::SetSingle(std::span<const float> values) {
  Size(static_cast<std::int32_t>(values.size()), false);
  fIsInteger = false;  // the storage now holds doubles
  ConvertInto(fValues, values);
  return *this;
}

TVec& TVec::SetInteger(std::span<const std::int32_t> values) {
  Size(static_cast<std::int32_t>(values.size()), false);
  fIsInteger = false;  // the storage now holds doubles
  ConvertInto(fValues, values);
  return *this;
}

TVec& TVec::SetCplx(std::span<const TCplx> values) {
  Size(static_cast<std::int32_t>(values.size()), true);
  fIsInteger = false;  // the storage now holds doubles
  std::copy(values.begin(), values.end(), PCValues1D(0));
  return *this;
}

TVec& TVec::Adopt(double* data, std::int32_t len, bool complex) {
  Require(len >= 0, "Value < 0");
  RequireState(!fIsSubRange, "IsSubRange = True!");
  CheckCapacity(complex ? 2 * std::int64_t{len} : len);
  SetActualSize(0);
  fMemory = data;
  fValues = data;
  fAllocatedBytes = 0;
  fComplex = complex;
  fLength = len;
  fActualSize = static_cast<std::int32_t>(DoublesFor(len));
  fAdopted = true;
  fArrayHeader = nullptr;  // foreign memory has no room for a header in front
  NotifySetSize();
  return *this;
}

TVec& TVec::Disown() {
  if (!fAdopted) return *this;
  RequireState(!fIsSubRange, "IsSubRange = True!");
  fMemory = nullptr;
  fValues = nullptr;
  fActualSize = 0;
  fLength = 0;
  fAdopted = false;
  UpdatePointers();
  NotifySetSize();
  return *this;
}

TVec& TVec::Assign(const TVec& src) {
  if (&src == this) return *this;
  Size(src.fLength, src.fComplex);
  fIsInteger = src.fIsInteger;
  fFFTStorageFormat = src.fFFTStorageFormat;
  fFFTScrambledOrder = src.fFFTScrambledOrder;
  fFFTOddLength = src.fFFTOddLength;
  if (fLength > 0) std::memcpy(fValues, src.fValues, static_cast<std::size_t>(DoublesFor(fLength)) * sizeof(double));
  return *this;
}

// --- views -----------------------------------------------------------------------------------------

TVec& TVec::SetSubRange(const TDenseQuorel& src, std::int32_t index, std::int32_t len) {
  // Checked against src always: a view past its end would read foreign memory.
  if (len == -1) len = src.Length() - index;
  if (index < 0 || len < 0 || std::int64_t{index} + len > src.Length())
    ERangeErrorRaise(
        FormatMsg("Self params out of range: Index: %d, Len: %d, Length: %d", index, len, src.Length()));
  // Integer data (index lists, masks) is addressed in 32-bit steps; the view stays integer.
  double* base = nullptr;
  if (src.Length() > 0) {
    if (src.Complex()) base = &src.PCValues1D(index)->Re;
    else if (src.IsInteger()) base = reinterpret_cast<double*>(src.PIValues1D(index));
    else base = src.PValues1D(index);
  }
  ViewStorage(base, len, src.Complex());
  fIsInteger = src.IsInteger();
  return *this;
}

// --- cache -----------------------------------------------------------------------------------------

double* TVec::CachePointer() const {
  if (fCacheSlot < 0 || Controller == nullptr) return nullptr;
  return Controller->VecCachePointer(fCacheSlot);
}

std::int32_t TVec::CacheLength() const {
  if (fCacheSlot < 0 || Controller == nullptr) return 0;
  return Controller->VecCacheElements();
}

TVec* TVec::CreateFromCache() { return CreateIt(); }

void TVec::FreeToCache() {
  TVec* self = this;
  FreeIt(self);
}

}  // namespace quorel
