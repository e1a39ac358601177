#pragma once
// Internals shared by the vector operations (vec_assembly, vec_gather, vec_find, vec_order.cpp).

#include <cstdint>
#include <optional>
#include <type_traits>

#include "quorel/objects/detail/kind.h"
#include "quorel/objects/detail/overlap.h"
#include "quorel/objects/vec.h"

namespace quorel::detail {

/// Truncates toward zero, saturating at the int32 limits; NaN gives 0.
inline std::int32_t SaturateToInt(double x) {
  if (!(x == x)) return 0;
  if (x >= 2147483647.0) return 2147483647;
  if (x <= -2147483648.0) return -2147483647 - 1;
  return static_cast<std::int32_t>(x);
}

/// One element converted: widening is exact; complex to real keeps Re, real to integer saturates.
template <class To, class From>
To ConvertElem(const From& x) {
  if constexpr (std::is_same_v<To, From>) {
    return x;
  } else if constexpr (std::is_same_v<From, TCplx>) {
    return ConvertElem<To>(x.Re);
  } else if constexpr (std::is_same_v<To, TCplx>) {
    return TCplx{static_cast<double>(x), 0.0};
  } else if constexpr (std::is_same_v<To, double>) {
    return static_cast<double>(x);
  } else {
    return SaturateToInt(x);
  }
}

/// dst[dstPos(k)] = src[srcPos(k)] for k < n, both read as elements of `kind`; the positions are
/// called once per k, in order, and must be in range.
template <class DstPos, class SrcPos>
void MoveElements(TElemKind kind, const TQuorel& src, TQuorel& dst, std::int32_t n, DstPos dstPos, SrcPos srcPos) {
  OnKind(kind, [&](auto tag) {
    using T = decltype(tag);
    const T* in = Ptr<T>(src);
    T* out = Ptr<T>(dst);
    for (std::int32_t k = 0; k < n; ++k) out[dstPos(k)] = in[srcPos(k)];
  });
}

/// Position k itself.
struct SamePos {
  std::int32_t operator()(std::int32_t k) const { return k; }
};

/// Sizes v for len elements of `kind`.
void SizeAs(TVec& v, TElemKind kind, std::int32_t len);
/// Raises now what SizeAs(v, kind, len) would raise later for a sub-range ("IsSubRange = True!").
void CheckSizable(const TVec& v, TElemKind kind, std::int32_t len);
/// dst[dstIndex + k] = src[srcIndex + k] for k < n, converted to dst's kind; ranges are the caller's.
void CopyElements(const TVec& src, std::int32_t srcIndex, TVec& dst, std::int32_t dstIndex, std::int32_t n);
/// `in` as elements of `kind`, safe to read while Self is written: a work copy in `keep` when `in`
/// is aliased or of another kind, else `in` itself.
const TVec& Readable(const TVec& in, TElemKind kind, bool aliased, std::optional<TWorkVec>& keep);
/// Number of non-zero entries among the first n of an integer mask.
std::int32_t CountNonZero(const TVec& mask, std::int32_t n);

}  // namespace quorel::detail
