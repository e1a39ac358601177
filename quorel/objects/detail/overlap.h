#pragma once
// Whether two objects' elements share memory: the test for "must this source be copied before
// Self is written". Identity (&a == &b) is not enough: a sub-range view (SetSubRange over another
// object's storage) is a second object over the same doubles.

#include <cstdint>

#include "quorel/objects/quorel_object.h"

namespace quorel::detail {

/// True when the elements a shows and the elements b shows overlap in memory (or a is b).
inline bool SharesStorage(const TQuorel& a, const TQuorel& b) {
  if (&a == &b) return true;
  const auto bytes = [](const TQuorel& q) {
    return std::uintptr_t(q.Length()) * (q.Complex() ? 16u : q.IsInteger() ? 4u : 8u);
  };
  const auto pa = reinterpret_cast<std::uintptr_t>(a.PValues1D(0));
  const auto pb = reinterpret_cast<std::uintptr_t>(b.PValues1D(0));
  const std::uintptr_t na = bytes(a), nb = bytes(b);
  return na != 0 && nb != 0 && pa < pb + nb && pb < pa + na;
}

}  // namespace quorel::detail
