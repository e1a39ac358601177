#pragma once
// Reading a source that may share its elements with the object being written: the object itself,
// or a sub-range view over its storage.

#include <cstdint>
#include <cstring>
#include <optional>

#include "quorel/objects/controller.h"
#include "quorel/objects/detail/overlap.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel::detail {

/// A copy of `src` in `keep` (taken once; later calls return the same copy).
template <class T>
const T& KeptCopy(const T& src, std::optional<TWorkObject<T>>& keep) {
  if (!keep) {
    keep.emplace();
    (*keep)->Assign(src);
  }
  return **keep;
}

/// `src`, or when its elements share memory with `out` a copy of it in `keep`: a source that stays
/// readable while `out` is re-sized and written. Only the aliased call takes a work object. Give
/// each distinct source its own `keep` (see UnaliasedSecond).
template <class T>
const T& Unaliased(const TQuorel& out, const T& src, std::optional<TWorkObject<T>>& keep) {
  if (!SharesStorage(out, src)) [[likely]]
    return src;
  return KeptCopy(src, keep);
}

/// The second source of a two-source call, readable as Unaliased makes it: the first source's
/// result when both are one object (one copy for both), else `src` with its own `keep`.
template <class T>
const T& UnaliasedSecond(const TQuorel& out, const T& src, const T& firstIn, const T& first,
                         std::optional<TWorkObject<T>>& keep) {
  return &src == &firstIn ? first : Unaliased(out, src, keep);
}

/// Where a range form reads its source: `Src` from element `Index`.
struct TRangeSource {
  const TDenseQuorel* Src;
  std::int32_t Index;
};

/// `len` elements of `src` from `srcIndex` as a range form reads them: src itself, or, when src
/// shares memory with `out`, a copy of just that range in `keep`. The range must already be checked.
inline TRangeSource UnaliasedRange(const TQuorel& out, const TDenseQuorel& src, std::int32_t srcIndex,
                                   std::int32_t len, std::optional<TWorkVec>& keep) {
  if (!SharesStorage(out, src)) [[likely]]
    return {&src, srcIndex};
  const std::size_t per = src.Complex() ? 2 : 1;
  keep.emplace();
  (*keep)->Size(len, src.Complex());
  if (len > 0)
    std::memcpy((*keep)->PValues1D(0), src.PValues1D(0) + per * srcIndex,
                sizeof(double) * per * static_cast<std::size_t>(len));
  return {keep->get(), 0};
}

}  // namespace quorel::detail
