#pragma once
// Reading a source that may be the object being written.

#include <optional>

#include "quorel/objects/controller.h"
#include "quorel/objects/mtx.h"
#include "quorel/objects/vec.h"

namespace quorel::detail {

/// `src`, or when `src` is `out` itself a copy of it in `keep`: a source that stays readable while
/// `out` is re-sized and written. Only the aliased call takes a work object; sources that may both
/// be `out` share one `keep` and so one copy.
template <class T>
const T& Unaliased(const TQuorel& out, const T& src, std::optional<TWorkObject<T>>& keep) {
  if (static_cast<const TQuorel*>(&src) != &out) return src;
  if (!keep) {
    keep.emplace();
    (*keep)->Assign(src);
  }
  return **keep;
}

}  // namespace quorel::detail
