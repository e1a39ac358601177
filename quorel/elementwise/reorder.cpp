// Element-wise members that move values rather than compute them: real to complex, rotation,
// shifts and differences.
#include <algorithm>
#include <cstdlib>

#include "quorel/core/detail/checks.h"
#include "quorel/elementwise/detail/frame.h"
#include "quorel/objects/vec.h"
#include "quorel/platform/kernels/arith.h"
#include "quorel/platform/kernels/cplx.h"
#include "quorel/platform/kernels/move.h"

namespace quorel {

using detail::C;
using detail::In;
using detail::Out;
using detail::R;
using detail::Require;
using detail::Same;

// --- real to complex ---------------------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::ExtendToComplex(bool zeros) {
  detail::ExtendToComplex(*this, zeros);
  return *this;
}

TDenseQuorel& TDenseQuorel::ExtendToComplex(const TDenseQuorel& vec, bool zeros) {
  if (fConditionCheck) Require(!Same(*this, vec), "ExtendToComplex: X = Self");
  const bool complex = vec.fComplex;
  const detail::SafeSource src(*this, vec);
  Size(vec, true);
  if (fLength == 0) return *this;
  if (complex) kern::Copy(C(*src), C(*this), fLength);
  else if (zeros) kern::SampleUp2(R(*src), C(*this), fLength);
  else kern::Duplicate(R(*src), C(*this), fLength);
  return *this;
}

TDenseQuorel& TDenseQuorel::ExtendToComplex(const TDenseQuorel& vec, bool zeros, std::int32_t vecIndex,
                                            std::int32_t index, std::int32_t len) {
  ValidateParams(vec, vecIndex, index, len);
  if (fConditionCheck) Require(fComplex, "ExtendToComplex: Complex <> Src.Complex");
  if (len == 0) return *this;
  const detail::SafeSource src(*this, vec);
  if (vec.fComplex) kern::Copy(C(*src, vecIndex), C(*this, index), len);
  else if (zeros) kern::SampleUp2(R(*src, vecIndex), C(*this, index), len);
  else kern::Duplicate(R(*src, vecIndex), C(*this, index), len);
  return *this;
}

// --- reordering --------------------------------------------------------------------------------------

namespace {
// Element count of a cyclic move by offset within len, in [0, len).
std::int32_t CyclicOffset(std::int32_t offset, std::int32_t len) {
  const std::int32_t k = offset % len;
  return k < 0 ? k + len : k;
}

// dst[(i + k) mod n] = src[i] with two block copies; src and dst must not overlap.
template <class T>
void RotateCopy(const T* src, T* dst, std::int32_t k, std::int32_t n) {
  kern::Copy(src, dst + k, n - k);
  kern::Copy(src + (n - k), dst, k);
}
}  // namespace

TDenseQuorel& TDenseQuorel::Rotate(std::int32_t offset) { return Rotate(offset, 0, fLength); }

TDenseQuorel& TDenseQuorel::Rotate(std::int32_t offset, std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  if (len <= 1) return *this;
  const std::int32_t k = CyclicOffset(offset, len);
  if (k == 0) return *this;
  TWorkVec copy;
  copy->Size(len, fComplex);
  detail::OnKind(fComplex, [&](auto t) { kern::Copy(In<decltype(t)>(*this, index), Out<decltype(t)>(*copy), len); });
  if (fComplex) RotateCopy(C(*copy), C(*this, index), k, len);
  else RotateCopy(R(*copy), R(*this, index), k, len);
  return *this;
}

TDenseQuorel& TDenseQuorel::Rotate(const TDenseQuorel& vec, std::int32_t offset) {
  if (Same(*this, vec)) return Rotate(offset);  // the in-place form reads from a copy
  const detail::SafeSource src(*this, vec);      // a view over Self's storage
  Size(vec, vec.fComplex);
  return Rotate(*src, offset, 0, 0, fLength);
}

TDenseQuorel& TDenseQuorel::Rotate(const TDenseQuorel& vec, std::int32_t offset, std::int32_t vecIndex,
                                   std::int32_t index, std::int32_t len) {
  ValidateParams(vec, vecIndex, index, len);
  detail::RequireSourceRange(*this, vec, nullptr, "Rotate: Self.Complex <> X.Complex");
  if (len == 0) return *this;
  const std::int32_t k = CyclicOffset(offset, len);
  const detail::SafeSource src(*this, vec);
  if (fComplex) RotateCopy(C(*src, vecIndex), C(*this, index), k, len);
  else RotateCopy(R(*src, vecIndex), R(*this, index), k, len);
  return *this;
}

TDenseQuorel& TDenseQuorel::Shift(std::int32_t offset) { return Shift(offset, 0, fLength); }

TDenseQuorel& TDenseQuorel::Shift(std::int32_t offset, std::int32_t index, std::int32_t len) {
  ValidateParams(index, len);
  if (std::abs(static_cast<long>(offset)) >= len) return *this;
  // The vacated places keep their old values, deliberately.
  const std::int32_t n = len - std::abs(offset);
  const std::int32_t from = offset > 0 ? index : index - offset;
  const std::int32_t to = offset > 0 ? index + offset : index;
  if (n > 0) detail::OnKind(fComplex, [&](auto t) { kern::Move(In<decltype(t)>(*this, from), Out<decltype(t)>(*this, to), n); });
  return *this;
}

// --- running sums and differences -----------------------------------------------------------------------

TDenseQuorel& TDenseQuorel::Difference(const TDenseQuorel& vec) {
  const std::int32_t n = vec.fLength;
  const std::int32_t out = std::max(n - 1, 0);
  const detail::SafeSource src(*this, vec);  // Self is shortened before the source is read
  // Every refusal comes before the first write: a vector checks inside Size; a matrix keeps its
  // shape, so any other length or kind is refused here.
  if (auto* v = dynamic_cast<TVec*>(this)) v->Size(out, vec.fComplex);
  else Require(out == fLength && vec.fComplex == fComplex, "TMtx: Length can not be set. Use Size!");
  CondDisable();  // the sizes below are consistent by construction
  try {
    Difference(*src, 0, 0, n);
  } catch (...) {
    CondEnable();
    throw;
  }
  CondEnable();
  return *this;
}

TDenseQuorel& TDenseQuorel::Difference(const TDenseQuorel& vec, std::int32_t vecIndex, std::int32_t index,
                                       std::int32_t len) {
  // Len - 1 differences land at Index .. Index + Len - 2.
  std::int32_t out = len == -1 ? -1 : std::max(len - 1, 0);
  ValidateParams2(vec, vecIndex, index, out);
  if (len == -1) len = out + 1;  // to the end: as many sources as the resolved differences need
  if (fConditionCheck && (vecIndex < 0 || std::int64_t{vecIndex} + len > vec.fLength))
    ERangeErrorRaise(FormatMsg("X params out of range: XIndex: %d, Len: %d, X.Length: %d", vecIndex, len,
                               vec.fLength));
  Require(vec.fComplex == fComplex, "Difference: Complex <> Src.Complex");
  if (len - 1 < 1) return *this;
  const detail::SafeSource src(*this, vec);
  if (fComplex) kern::Sub(C(*src, vecIndex + 1), C(*src, vecIndex), C(*this, index), len - 1);
  else kern::Sub(R(*src, vecIndex + 1), R(*src, vecIndex), R(*this, index), len - 1);
  return *this;
}

}  // namespace quorel
