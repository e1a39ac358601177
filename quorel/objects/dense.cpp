#include "quorel/core/detail/checks.h"
#include "quorel/objects/dense.h"

#include <algorithm>
#include <cstring>

#include "quorel/core/errors.h"
#include "quorel/objects/vec.h"

namespace quorel {

using detail::Require;
using detail::RequireChecked;
using detail::RequireState;

// --- resizing that keeps data ----------------------------------------------------------------------

void TQuorel::InternalResize(std::int32_t len, bool zeroIt) {
  if (len == fLength) return;
  const std::int32_t oldLen = fLength;
  const std::int32_t capacity = fComplex ? CacheLength() / 2 : CacheLength();
  const std::int64_t keep = DoublesFor(std::min(len, oldLen));
  if (capacity < len || capacity < oldLen) {
    // A new block does not keep the old contents: park the kept part in a work vector.
    TWorkVec saved;
    saved->Size(static_cast<std::int32_t>(keep), false);
    if (keep > 0) std::memcpy(saved->PValues1D(0), fValues, static_cast<std::size_t>(keep) * sizeof(double));
    SetLength(len);
    if (keep > 0) std::memcpy(fValues, saved->PValues1D(0), static_cast<std::size_t>(keep) * sizeof(double));
  } else {
    SetLength(len);
  }
  if (zeroIt && len > oldLen) {
    if (fIsInteger && !fComplex) {
      // Integer elements are 4 bytes: the new ones start inside the kept doubles.
      std::int32_t* ints = PIValues1D(0);
      std::fill(ints + oldLen, ints + len, 0);
    } else {
      std::fill(fValues + keep, fValues + DoublesFor(len), 0.0);
    }
  }
}

// --- filling ---------------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::SetVal(double value) { return SetVal(value, 0, fLength); }

TDenseQuorel& TDenseQuorel::SetVal(double value, std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  if (fComplex) {
    std::fill_n(PCValues1D(index), len, TCplx{value, 0.0});
  } else {
    std::fill_n(PValues1D(index), len, value);
  }
  return *this;
}

TDenseQuorel& TDenseQuorel::SetVal(const TCplx& value) {
  if (!fComplex) {
    // A real object becomes complex of the same shape rather than reinterpreted to half.
    RequireState(!fIsSubRange, "IsSubRange = True!");
    Size(*this, true);
  }
  return SetVal(value, 0, fLength);
}

TDenseQuorel& TDenseQuorel::SetVal(const TCplx& value, std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  Require(fComplex, "Complex = False");
  std::fill_n(PCValues1D(index), len, value);
  return *this;
}

TDenseQuorel& TDenseQuorel::SetZero() { return SetZero(0, fLength); }

TDenseQuorel& TDenseQuorel::SetZero(std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  std::fill_n(fValues + DoublesFor(index), DoublesFor(len), 0.0);
  return *this;
}

TDenseQuorel& TDenseQuorel::SetCplx(std::int32_t index, std::span<const TCplx> values) {
  std::int32_t len = static_cast<std::int32_t>(values.size());
  ValidateCplxArrayIndexes(0, len, index, len);
  std::copy(values.begin(), values.end(), PCValues1D(index));
  return *this;
}

TDenseQuorel& TDenseQuorel::SetIt(bool complex, std::span<const double> values) {
  const std::int64_t n = complex ? static_cast<std::int64_t>(values.size() / 2) : static_cast<std::int64_t>(values.size());
  CheckCapacity(n);
  set_Complex(complex);
  SetLength(static_cast<std::int32_t>(n));
  fIsInteger = false;
  std::copy_n(values.begin(), DoublesFor(n), fValues);
  return *this;
}

TDenseQuorel& TDenseQuorel::SetIt(bool complex, std::initializer_list<double> values) {
  return SetIt(complex, std::span<const double>(values.begin(), values.size()));
}

// --- copying ---------------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::Copy(const TDenseQuorel& src) {
  if (Is(src)) return *this;
  Size(src, src.fComplex);
  // A spectrum is read by the layout it was written in.
  fFFTStorageFormat = src.fFFTStorageFormat;
  fFFTScrambledOrder = src.fFFTScrambledOrder;
  fFFTOddLength = src.fFFTOddLength;
  // memmove: src may be a sub-range view over Self's own storage.
  if (fLength > 0)
    std::memmove(fValues, src.fValues, static_cast<std::size_t>(DoublesFor(fLength)) * sizeof(double));
  return *this;
}

TDenseQuorel& TDenseQuorel::Copy(const TDenseQuorel& src, std::int32_t srcIndex, std::int32_t index,
                                 std::int32_t len) {
  ValidateParams2(src, srcIndex, index, len);
  RequireChecked(*this, src.fComplex == fComplex, "Copy: Self.Complex <> Src.Complex");
  if (len > 0)
    std::memmove(fValues + DoublesFor(index), src.fValues + DoublesFor(srcIndex),
                 static_cast<std::size_t>(DoublesFor(len)) * sizeof(double));
  return *this;
}

}  // namespace quorel
